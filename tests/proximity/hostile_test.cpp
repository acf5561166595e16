// What a file, a caller or an unlucky mesh can do, through the exported calls.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <limits>
#include <set>

#include "support.h"

namespace
{

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

struct StlFile {
    std::string path = testing::TempDir() + std::to_string(std::random_device()()) + ".stl";
    explicit StlFile(const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; }
    ~StlFile() { std::remove(path.c_str()); }
};

std::string Binary(const Floats& corners, std::uint32_t claimed)
{
    std::string bytes(80, 'b');
    bytes.append(reinterpret_cast<const char*>(&claimed), 4);
    for (std::size_t t = 0; t + 9 <= corners.size(); t += 9) {
        bytes.append(12, '\0');
        bytes.append(reinterpret_cast<const char*>(&corners[t]), 36);
        bytes.append(2, '\0');
    }
    return bytes;
}

std::string TextFacet(const std::string& last)
{
    return "facet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\nvertex " + last +
           "\nendloop\nendfacet\n";
}

struct Loaded {
    int code = 0;
    scapi_mesh_report report{};
    scapi_mesh_info info{};
};

Loaded Load(const std::string& path, std::uint32_t flags = 0, double scale = 0)
{
    const scapi_mesh_options options{sizeof options, flags, scale, 0, 0, 0};
    scapi_mesh* mesh = nullptr;
    Loaded out;
    out.code = scapi_mesh_from_stl(path.c_str(), &options, &out.report, &mesh);
    EXPECT_EQ(scapi_mesh_get_info(mesh, &out.info), out.code ? SCAPI_ERROR_NULL : SCAPI_OK);
    scapi_mesh_release(mesh);
    return out;
}

TEST(ProximityStl, DamagedFilesNameTheFacet)
{
    const Floats box = BoxFloats({0, 0, 0}, {1, 1, 1});
    const auto with = [&](std::size_t place, float value) {
        Floats bad = box;
        bad[place] = value;
        return Binary(bad, 12);
    };
    const std::string good = TextFacet("0 1 0"), head = "solid x\n", tail = "endsolid x\n";
    const std::string three = head + good + good + good;
    struct Case {
        const char* fault;
        std::string bytes;
        int code;
        std::int64_t facet;
    };
    const Case cases[] = {
        {"Good", Binary(box, 12), SCAPI_OK, -1},
        {"NaN", with(9 * 7 + 4, kNaN), SCAPI_ERROR_COORDINATE, 7},
        {"Infinite", with(9 * 11, -kInfinity), SCAPI_ERROR_COORDINATE, 11},
        {"Huge", with(9 * 2, 3e38f), SCAPI_ERROR_COORDINATE, 2},
        {"FewerFacetsThanClaimed", Binary(box, 13), SCAPI_ERROR_TRUNCATED, 12},
        {"CountThatNoFileCanHold", Binary(box, 0xffffffffu), SCAPI_ERROR_FILE, -1},
        {"NoFacets", Binary({}, 0), SCAPI_ERROR_EMPTY, -1},
        {"NoBytes", "", SCAPI_ERROR_FILE, -1},
        {"GoodText", head + good + good + tail, SCAPI_OK, -1},
        {"SeveralSolidsInOneText", head + good + tail + head + good + tail, SCAPI_OK, -1},
        {"TextWithoutAnEnd", head + good + good, SCAPI_OK, -1},
        {"DamagedTextFacet", three + "facet nrmal 0\n" + good + tail, SCAPI_ERROR_FACET, 3},
        {"TextCutInAFacet", (three + good).substr(0, 300), SCAPI_ERROR_FACET, 3},
        {"TextWithNaN", three + TextFacet("nan 1 0") + tail, SCAPI_ERROR_COORDINATE, 3},
        {"TextWithTwoNumbers", three + TextFacet("5 1") + tail, SCAPI_ERROR_COORDINATE, 3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fault);
        const Loaded loaded = Load(StlFile(c.bytes).path);
        EXPECT_EQ(loaded.code, c.code);
        EXPECT_EQ(loaded.report.facet, c.facet);
        EXPECT_EQ(loaded.info.triangles, c.code ? 0 : c.bytes[0] == 'b' ? 12 : 2);
    }
    EXPECT_EQ(Load("/nonexistent/file.stl").code, SCAPI_ERROR_FILE);
    EXPECT_EQ(Load(testing::TempDir()).code, SCAPI_ERROR_FILE);
}

TEST(ProximityStl, EveryTruncationIsAnErrorOrWhole)
{
    const std::string whole = Binary(BoxFloats({0, 0, 0}, {1, 1, 1}), 12);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const int code = Load(StlFile(whole.substr(0, length)).path).code;
        // The attribute bytes of the last facet hold nothing.
        EXPECT_EQ(code == SCAPI_OK, length + 2 >= whole.size()) << length;
    }
}

TEST(ProximityStl, UnitsAndSwapMarkersAreOptions)
{
    const StlFile file(Binary(BoxFloats({0, 0, 0}, {1, 2, 3}), 12));
    const std::string marked = file.path + "(STL_SWAP_ZXY)";
    EXPECT_EQ(std::to_array(Load(file.path, 0, 25.4).info.high),
              std::to_array({25.4f, 50.8f, 76.2f}));
    EXPECT_EQ(std::to_array(Load(marked, SCAPI_SWAP_MARKERS).info.high),
              std::to_array({2.f, 3.f, 1.f}));
    EXPECT_EQ(Load(marked).code, SCAPI_ERROR_FILE);
}

TEST(ProximityMesh, IsReadBackAsItWasGiven)
{
    const Floats sphere = SphereFloats(9, 5, 0.1);
    const MeshPtr mesh = FromFloats(sphere);
    Floats back(sphere.size()), part(9 * 5);
    const auto count = static_cast<std::int64_t>(sphere.size() / 9);
    EXPECT_EQ(scapi_mesh_triangles(mesh.get(), 0, count + 7, back.data()), count);
    EXPECT_EQ(back, sphere);
    EXPECT_EQ(scapi_mesh_triangles(mesh.get(), 20, 5, part.data()), 5);
    EXPECT_TRUE(std::equal(part.begin(), part.end(), sphere.begin() + 180));
    std::vector<std::int32_t> indices(sphere.size() / 3);
    Floats vertices(sphere.size());
    const std::int64_t vertexCount =
        scapi_mesh_indexed(mesh.get(), vertices.data(), indices.data());
    EXPECT_EQ(2 * vertexCount - 4, count) << "Euler's formula";
    for (std::size_t i = 0; i < indices.size(); ++i)
        for (std::size_t axis = 0; axis < 3; ++axis)
            ASSERT_EQ(vertices[3 * static_cast<std::size_t>(indices[i]) + axis],
                      sphere[3 * i + axis]);
}

TEST(ProximityMesh, ShapesAreClosedAndHaveTheirVolume)
{
    const double low[] = {-1, -2, -3}, high[] = {1, 2, 3};
    const double ring[] = {2, 0, 3, 0, 3, 1, 2, 1, 2, 0};
    const scapi_mesh_options twelve = Sides(12);
    const scapi_mesh_options fine{sizeof fine, 0, 0, 0.01, 0, 0};
    const auto disc = [](double sides) { return 0.5 * sides * std::sin(2 * M_PI / sides); };
    struct Case {
        const char* shape;
        MeshPtr mesh;
        double volume;
    };
    const Case cases[] = {
        {"Box", Box({-1, -2, -3}, {1, 2, 3}), 48},
        {"Cylinder", Cylinder(2, 5, 12), disc(12) * 20},
        {"Cone", Make<MeshPtr>(scapi_mesh_cone, 2, 0, 3, &twelve), disc(12) * 4},
        {"CutCone", Make<MeshPtr>(scapi_mesh_cone, 1, 2, 3, &twelve), disc(12) * 7},
        {"Ring", Make<MeshPtr>(scapi_mesh_revolved, ring, 5, &twelve), disc(12) * 5},
        {"OfFineChords", Make<MeshPtr>(scapi_mesh_cylinder, 10, 1, &fine),
         disc(std::ceil(M_PI / std::acos(1 - 0.001))) * 100},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.shape);
        scapi_diagnosis found{};
        EXPECT_EQ(scapi_diagnose(c.mesh.get(), nullptr, &found), SCAPI_OK);
        EXPECT_TRUE(found.closed && !found.inside_out && found.degenerate_facets.count == 0);
        EXPECT_NEAR(found.volume, c.volume, 2e-7 * c.volume);
    }
    scapi_mesh* mesh = nullptr;
    EXPECT_EQ(scapi_mesh_cylinder(0, 1, nullptr, &mesh), SCAPI_ERROR_SHAPE);
    EXPECT_EQ(scapi_mesh_cylinder(1, kNaN, nullptr, &mesh), SCAPI_ERROR_SHAPE);
    EXPECT_EQ(scapi_mesh_cone(-1, 1, 1, nullptr, &mesh), SCAPI_ERROR_SHAPE);
    EXPECT_EQ(scapi_mesh_box(high, low, nullptr, &mesh), SCAPI_ERROR_SHAPE);
    EXPECT_EQ(mesh, nullptr);
}

TEST(ProximityMesh, ArraysThatLieAreRefused)
{
    const float vertices[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    const std::int32_t good[3] = {0, 1, 2}, beyond[6] = {0, 1, 2, 0, 1, 3}, below[3] = {-1, 1, 2};
    scapi_mesh_report report{};
    scapi_mesh* mesh = nullptr;
    const auto make = [&](const std::int32_t* indices, std::int64_t triangles, std::int64_t count) {
        const int code =
            scapi_mesh_from_arrays(vertices, count, indices, triangles, nullptr, &report, &mesh);
        scapi_mesh_release(mesh);
        return code;
    };
    EXPECT_EQ(make(good, 1, 3), SCAPI_OK);
    EXPECT_EQ(make(beyond, 2, 3), SCAPI_ERROR_INDEX);
    EXPECT_EQ(report.facet, 1);
    EXPECT_EQ(make(below, 1, 3), SCAPI_ERROR_INDEX);
    EXPECT_EQ(make(good, 0, 3), SCAPI_ERROR_EMPTY);
    EXPECT_EQ(make(good, -5, 3), SCAPI_ERROR_EMPTY);
    EXPECT_EQ(make(nullptr, 2, 3), SCAPI_ERROR_INDEX);
    EXPECT_EQ(make(good, INT64_MAX, 3), SCAPI_ERROR_TOO_MANY);
}

TEST(ProximityMesh, DegenerateOnesAnswerWhatIsTrue)
{
    const MeshPtr box = Box({0, 0, 0}, {1, 1, 1});
    const float tiny = std::numeric_limits<float>::denorm_min();
    struct Case {
        const char* fault;
        Floats corners;
        double distance;
    };
    const Case cases[] = {
        {"Point", {3, 0.5f, 0.5f, 3, 0.5f, 0.5f, 3, 0.5f, 0.5f}, 2},
        {"Segment", {3, 0, 0, 3, 1, 1, 3, 0.5f, 0.5f}, 2},
        {"Denormal", {3, tiny, 0, 3, 0, tiny, 3, tiny, tiny}, 2},
        {"DenormalAtTheOrigin", {tiny, tiny, tiny, 0, 0, 0, tiny, 0, 0}, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fault);
        const scapi_result result = Distance(box, kIdentity, FromFloats(c.corners), kIdentity);
        EXPECT_TRUE(result.lower <= c.distance && c.distance <= result.upper);
        EXPECT_NEAR(result.upper, c.distance, 1e-12);
    }
    // Sizes whose squares are no floats, and whose inverses are none.
    for (const double size : {1e-10, 1e-20, 1e-30, 1e-37, 1e-39, 1e-42}) {
        const MeshPtr small = Box({0, 0, 0}, {size, size, size});
        const Pose near = At(0.5 * size, 0.4 * size, 0.3 * size), far = At(3 * size, 0, 0);
        EXPECT_EQ(AskWithin(small, kIdentity, small, near).verdict, SCAPI_CONTACT) << size;
        EXPECT_EQ(AskWithin(small, kIdentity, small, far).verdict, SCAPI_CLEAR) << size;
    }
    // One facet without area among many good ones changes nothing.
    Floats sphere = SphereFloats(60, 5, 0.05);
    const scapi_result before = Distance(FromFloats(sphere), kIdentity, box, At(8, 0, 0));
    for (int k = 0; k < 3; ++k) sphere.insert(sphere.end(), {1, 2, 3});
    const scapi_result after = Distance(FromFloats(sphere), kIdentity, box, At(8, 0, 0));
    EXPECT_EQ(before.upper, after.upper);
}

TEST(ProximityMesh, AMillionTrianglesOnOnePointEnd)
{
    Floats corners(9000000, 1.5f);
    for (std::size_t i = 0; i < corners.size(); i += 9) corners[i] = 2.5f;
    const MeshPtr mesh = FromFloats(corners);
    scapi_mesh_info info{};
    ASSERT_EQ(scapi_mesh_get_info(mesh.get(), &info), SCAPI_OK);
    EXPECT_LE(info.bytes, 100 * info.triangles);
    scapi_options options = Within(0.1);
    options.budget = 100000;
    // All pairs are equally far apart, but along no axis: more than can be looked at, and that is
    // said.
    EXPECT_EQ(Distance(mesh, kIdentity, mesh, At(0, 3, 0), options).verdict, SCAPI_CLEAR);
    std::mt19937 random(5);
    const scapi_result far = Distance(mesh, kIdentity, mesh, RandomPose(random, 9), options);
    EXPECT_EQ(far.verdict, SCAPI_INDETERMINATE);
    EXPECT_EQ(AskWithin(mesh, kIdentity, mesh, At(0, 3, 0), options).verdict, SCAPI_CLEAR);
    EXPECT_EQ(AskWithin(mesh, kIdentity, mesh, kIdentity, options).verdict, SCAPI_CONTACT);
    scapi_contacts_result contacts{};
    scapi_contact first[3];
    ASSERT_EQ(scapi_contacts(MakeQuery().get(), mesh.get(), kIdentity.data(), mesh.get(),
                             kIdentity.data(), &options, first, 3, &contacts),
              SCAPI_OK);
    EXPECT_TRUE(contacts.exhausted);
    EXPECT_EQ(contacts.verdict, SCAPI_CONTACT);
}

TEST(ProximityCalls, BadArgumentsAreNeverClear)
{
    const MeshPtr box = Box({0, 0, 0}, {1, 1, 1});
    const Pose away = At(5, 0, 0);
    const auto changed = [&](std::initializer_list<std::size_t> places, double value) {
        Pose pose = away;
        for (const std::size_t k : places) pose[k] = value;
        return Rest(pose);
    };
    struct Case {
        const char* fault;
        scapi_motion motion;
        double tolerance;
        int code;
    };
    const Case cases[] = {
        {"Transposed", Rest({1, 0, 0, 0, 0, -1, 0, 1, 0, 5, 6, 7}), 0, SCAPI_ERROR_POSE_TRANSPOSED},
        {"Scaled", changed({0, 5, 10}, 2), 0, SCAPI_ERROR_POSE_SCALED},
        {"Mirrored", changed({10}, -1), 0, SCAPI_ERROR_POSE_MIRRORED},
        {"Sheared", changed({1}, 0.3), 0, SCAPI_ERROR_POSE_NOT_RIGID},
        {"Zeros", Rest({}), 0, SCAPI_ERROR_POSE_NOT_RIGID},
        {"NaN", changed({3}, kNaN), 0, SCAPI_ERROR_POSE_NUMBER},
        {"Infinite", changed({7}, kInfinity), 0, SCAPI_ERROR_POSE_NUMBER},
        {"FarAway", changed({7}, 2e9), 0, SCAPI_ERROR_POSE_NUMBER},
        {"RigidWithinRounding", changed({1}, 1e-7), 0, SCAPI_OK},
        {"LongAxis", Turn(away, {}, {0, 0, 2}, 1), 0, SCAPI_ERROR_AXIS},
        {"NaNAngle", Turn(away, {}, {0, 0, 1}, kNaN), 0, SCAPI_ERROR_POSE_NUMBER},
        {"BelowZero", Rest(away), -1, SCAPI_ERROR_TOLERANCE},
        {"NaNTolerance", Rest(away), kNaN, SCAPI_ERROR_TOLERANCE},
        {"HugeTolerance", Rest(away), 1e300, SCAPI_ERROR_TOLERANCE},
    };
    const QueryPtr query = MakeQuery();
    const scapi_motion rest = Rest(kIdentity);
    scapi_result result;
    scapi_impact impact;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fault);
        const scapi_options options = Within(c.tolerance);
        for (auto* call : {scapi_within, scapi_distance}) {
            if (c.motion.angle != 0) break;
            std::memset(&result, 1, sizeof result); // what was there reads CLEAR
            EXPECT_EQ(call(query.get(), box.get(), rest.start, box.get(), c.motion.start, &options,
                           &result),
                      c.code);
            EXPECT_EQ(result.verdict, c.code ? SCAPI_INDETERMINATE : SCAPI_CLEAR);
        }
        std::memset(&impact, 1, sizeof impact);
        EXPECT_EQ(scapi_time_of_impact(query.get(), box.get(), &rest, box.get(), &c.motion,
                                       &options, &impact),
                  c.code);
        EXPECT_EQ(impact.verdict, c.code ? SCAPI_INDETERMINATE : SCAPI_CLEAR);
    }
    EXPECT_EQ(
        scapi_within(query.get(), nullptr, rest.start, box.get(), away.data(), nullptr, &result),
        SCAPI_ERROR_NULL);
    EXPECT_EQ(result.verdict, SCAPI_INDETERMINATE);
}

TEST(ProximityCalls, OptionsOfOtherVersionsAreUnderstoodOrRefused)
{
    const MeshPtr box = Box({0, 0, 0}, {1, 1, 1});
    const auto ask = [&](const void* options) {
        scapi_result result{};
        const int code =
            scapi_within(MakeQuery().get(), box.get(), kIdentity.data(), box.get(),
                         At(1.5, 0, 0).data(), static_cast<const scapi_options*>(options), &result);
        return code == SCAPI_OK ? result.verdict : code;
    };
    struct {
        scapi_options known = Within(1);
        std::int64_t added = 0;
    } options;
    const auto sized = [&](std::size_t size) {
        options.known.size = static_cast<std::uint32_t>(size);
        return ask(&options);
    };
    EXPECT_EQ(sized(sizeof options), SCAPI_CONTACT);
    options.added = 1;
    EXPECT_EQ(sized(sizeof options), SCAPI_ERROR_OPTIONS) << "a wish that isn't understood";
    options.known.resolution = kNaN;
    EXPECT_EQ(sized(16), SCAPI_CONTACT) << "an older one, that ended with the tolerance";
    EXPECT_EQ(sized(8), SCAPI_CLEAR) << "without a tolerance";
    for (const std::uint32_t size : {0u, 7u, 4097u, 0xffffffffu})
        EXPECT_EQ(sized(size), SCAPI_ERROR_OPTIONS);
    const scapi_options unknown = Within(1, 0, 1u << 20);
    EXPECT_EQ(ask(&unknown), SCAPI_ERROR_OPTIONS);
}

TEST(ProximityCalls, MotionsOfAMillionTurnsEnd)
{
    const MeshPtr bar = Box({-5, -1, -1}, {5, 1, 1}), post = Box({-1, -1, -1}, {1, 1, 1});
    const scapi_motion turns = Turn(kIdentity, {0, 0, 0}, {0, 0, 1}, 2 * M_PI * 1e6);
    scapi_options options = Within(0.01);
    options.budget = 200000;
    // Beyond reach at any angle: no step is as long as a turn, but none is needed.
    EXPECT_EQ(Impact(bar, turns, post, Rest(At(7, 0, 0)), options).verdict, SCAPI_CLEAR);
    EXPECT_EQ(Impact(bar, turns, post, Rest(At(0, 5, 0)), options).verdict, SCAPI_CONTACT);
}

TEST(ProximityDiagnose, FindsWhatIsWrongAndWhere)
{
    const auto diagnose = [](const Floats& corners, double weld = 0) {
        const scapi_diagnose_options options{sizeof options, SCAPI_SELF_CROSSINGS, weld, 0};
        scapi_diagnosis found{};
        EXPECT_EQ(scapi_diagnose(FromFloats(corners).get(), &options, &found), SCAPI_OK);
        return found;
    };
    const Floats box = BoxFloats({0, 0, 0}, {2, 2, 2});
    const scapi_diagnosis sound = diagnose(box);
    EXPECT_TRUE(sound.closed && !sound.inside_out && sound.self_crossings_complete);
    EXPECT_TRUE(sound.vertices == 8 && sound.edges == 18);
    EXPECT_NEAR(sound.area, 24, 1e-9);
    EXPECT_NEAR(sound.extent_if_inches[0], 50.8, 1e-9);

    Floats flipped = box, seam = box;
    std::swap_ranges(&flipped[36], &flipped[39], &flipped[39]);
    for (std::size_t i = 0; i < 9; ++i) seam[i] += 1e-4f;
    struct Case {
        const char* fault;
        Floats corners;
        scapi_finding scapi_diagnosis::*finding;
        std::int64_t count;
        std::int32_t facet; ///< the first, or 0 for any
    };
    const Case cases[] = {
        {"Open", {box.begin() + 9, box.end()}, &scapi_diagnosis::open_edges, 3, 0},
        {"Twice", Joined(box, {&box[18], &box[27]}), &scapi_diagnosis::duplicates, 1, 12},
        {"Crowded", Joined(box, {&box[18], &box[27]}), &scapi_diagnosis::nonmanifold_edges, 3, 0},
        {"Reversed", flipped, &scapi_diagnosis::reversed_edges, 3, 0},
        {"NoArea", Joined(box, {5, 5, 5, 6, 6, 6, 7, 7, 7}), &scapi_diagnosis::degenerate_facets, 1,
         12},
        {"Sound", box, &scapi_diagnosis::self_crossings, 0, -1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fault);
        const scapi_diagnosis found = diagnose(c.corners);
        EXPECT_EQ((found.*c.finding).count, c.count);
        EXPECT_TRUE(c.facet == 0 || (found.*c.finding).facet[0] == c.facet);
        EXPECT_EQ((found.*c.finding).facet[c.count], -1);
        EXPECT_EQ(found.closed, c.count == 0);
    }
    EXPECT_TRUE(diagnose(BoxFloats({0, 0, 0}, {2, 2, 2}, true)).inside_out);
    EXPECT_FALSE(diagnose(seam).closed);
    EXPECT_TRUE(diagnose(seam, 1e-3).closed);

    const scapi_diagnosis hollow = diagnose(Joined(box, BoxFloats({.5, .5, .5}, {1, 1, 1}, true)));
    EXPECT_EQ(hollow.shells, 2);
    EXPECT_TRUE(hollow.inverted_shells == 1 && hollow.nested_shells == 1);
    EXPECT_NEAR(hollow.volume, 8 - 0.125, 1e-9);
}

TEST(ProximityDiagnose, SelfCrossingsAreThoseOfTheBodyAgainstItself)
{
    const Floats box = BoxFloats({0, 0, 0}, {2, 2, 2}), ball = SphereFloats(9, 5, 0.2);
    Floats moved = ball;
    for (std::size_t i = 0; i < moved.size(); i += 3) moved[i] += 3;
    for (const Floats& corners : {Joined(box, BoxFloats({1, 1, 1}, {3, 3, 3})), ball,
                                  Joined(ball, moved), Joined(box, BoxFloats({0, 1, 2}, {1, 4, 3})),
                                  Joined(ball, {1, 1, 1, 2, 2, 2, 9, 9, 9})}) {
        const MeshPtr mesh = FromFloats(corners);
        std::vector<scapi_contact> pairs(20000);
        const scapi_options options = Within(0, 1e-9);
        scapi_contacts_result all{};
        ASSERT_EQ(scapi_contacts(MakeQuery().get(), mesh.get(), kIdentity.data(), mesh.get(),
                                 kIdentity.data(), &options, pairs.data(), 20000, &all),
                  SCAPI_OK);
        ASSERT_FALSE(all.truncated);
        std::vector<std::int32_t> wanted;
        for (std::int64_t n = 0; n < all.stored; ++n) {
            const scapi_contact& pair = pairs[static_cast<std::size_t>(n)];
            const bool meet = pair.kind == SCAPI_KIND_CROSSING || pair.kind == SCAPI_KIND_COPLANAR;
            if (meet && pair.triangle_a < pair.triangle_b) wanted.push_back(pair.triangle_a);
        }
        const scapi_diagnose_options flags{sizeof flags, SCAPI_SELF_CROSSINGS, 0, 0};
        scapi_diagnosis found{};
        ASSERT_EQ(scapi_diagnose(mesh.get(), &flags, &found), SCAPI_OK);
        EXPECT_EQ(found.self_crossings.count, static_cast<std::int64_t>(wanted.size()));
        for (std::size_t n = 0; n < std::min<std::size_t>(wanted.size(), SCAPI_PLACES); ++n)
            EXPECT_EQ(found.self_crossings.facet[n], wanted[n]);
    }
}

TEST(ProximityErrors, HaveTextsOfTheirOwnThatSayWhatToDo)
{
    std::set<std::string> texts;
    for (int code = -2100; code < -2000; ++code) {
        const std::string text = scapi_error_text(code);
        if (text == scapi_error_text(1)) continue;
        EXPECT_TRUE(texts.insert(text).second) << text;
        const auto colon = text.find(": ");
        EXPECT_TRUE(colon != std::string::npos && text.size() > colon + 8) << text;
    }
    EXPECT_EQ(texts.size(), 21u) << "codes of the header";
}

} // namespace
