// What a file, a caller or an unlucky mesh can do, through the exported calls.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <thread>

#include "support.h"

namespace
{

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

struct StlFile {
    std::string path;

    explicit StlFile(const std::string& bytes, const char* name = "proximity.stl")
        : path((std::filesystem::temp_directory_path() /
                (std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
                 std::to_string(std::hash<std::thread::id>()(std::this_thread::get_id())) + name))
                   .string())
    {
        std::ofstream(path, std::ios::binary) << bytes;
    }
    ~StlFile() { std::remove(path.c_str()); }
};

std::string Binary(const std::vector<float>& corners, std::uint32_t claimed)
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
    int code;
    std::int64_t facet, triangles;
};

Loaded Load(const std::string& path, std::uint32_t flags = 0, double scale = 0)
{
    scapi_mesh_options options{};
    options.size = sizeof options, options.flags = flags, options.scale = scale;
    scapi_mesh_report report{};
    scapi_mesh* mesh = nullptr;
    const int code = scapi_mesh_from_stl(path.c_str(), &options, &report, &mesh);
    EXPECT_EQ(mesh == nullptr, code != SCAPI_OK);
    scapi_mesh_release(mesh);
    return {code, report.facet, report.triangles};
}

TEST(ProximityStl, DamagedFilesNameTheFacet)
{
    std::vector<float> box = BoxFloats({0, 0, 0}, {1, 1, 1});
    std::vector<float> bad = box;
    bad[9 * 7 + 4] = kNaN;
    std::vector<float> infinite = box;
    infinite[9 * 11] = -kInfinity;
    std::vector<float> huge = box;
    huge[9 * 2] = 3e38f;
    const std::string good = TextFacet("0 1 0"), head = "solid x\n", tail = "endsolid x\n";
    struct Case {
        const char* fault;
        std::string bytes;
        int code;
        std::int64_t facet;
    };
    const Case cases[] = {
        {"Good", Binary(box, 12), SCAPI_OK, -1},
        {"NaN", Binary(bad, 12), SCAPI_ERROR_COORDINATE, 7},
        {"Infinite", Binary(infinite, 12), SCAPI_ERROR_COORDINATE, 11},
        {"Huge", Binary(huge, 12), SCAPI_ERROR_COORDINATE, 2},
        {"FewerFacetsThanClaimed", Binary(box, 13), SCAPI_ERROR_TRUNCATED, 12},
        {"CountThatNoFileCanHold", Binary(box, 0xffffffffu), SCAPI_ERROR_FILE, -1},
        {"NoFacets", Binary({}, 0), SCAPI_ERROR_EMPTY, -1},
        {"NoBytes", "", SCAPI_ERROR_FILE, -1},
        {"GoodText", head + good + good + tail, SCAPI_OK, -1},
        {"SeveralSolidsInOneText", head + good + tail + head + good + tail, SCAPI_OK, -1},
        {"TextWithoutAnEnd", head + good + good, SCAPI_OK, -1},
        {"TextWithADamagedFacet", head + good + good + good + "facet nrmal 0\n" + good + tail,
         SCAPI_ERROR_FACET, 3},
        {"TextCutInAFacet", (head + good + good + good + good).substr(0, 300), SCAPI_ERROR_FACET,
         3},
        {"TextWithNaN", head + good + good + good + TextFacet("nan 1 0") + tail,
         SCAPI_ERROR_COORDINATE, 3},
        {"TextWithTwoNumbers", head + good + good + good + TextFacet("5 1") + tail,
         SCAPI_ERROR_COORDINATE, 3},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fault);
        const StlFile file(c.bytes);
        const Loaded loaded = Load(file.path);
        EXPECT_EQ(loaded.code, c.code);
        EXPECT_EQ(loaded.facet, c.facet);
        EXPECT_TRUE(c.code != SCAPI_OK || loaded.triangles == (c.bytes[0] == 'b' ? 12 : 2));
    }
    EXPECT_EQ(Load("/nonexistent/file.stl").code, SCAPI_ERROR_FILE);
    EXPECT_EQ(Load(std::filesystem::temp_directory_path().string()).code, SCAPI_ERROR_FILE);
}

TEST(ProximityStl, EveryTruncationIsAnErrorOrWhole)
{
    const std::string whole = Binary(BoxFloats({0, 0, 0}, {1, 1, 1}), 12);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const StlFile file(whole.substr(0, length));
        const int code = Load(file.path).code;
        // The attribute bytes of the last facet hold nothing.
        EXPECT_EQ(code == SCAPI_OK, length + 2 >= whole.size()) << length;
    }
}

TEST(ProximityStl, UnitsAndSwapMarkersAreOptions)
{
    std::vector<float> box = BoxFloats({0, 0, 0}, {1, 2, 3});
    const StlFile file(Binary(box, 12));
    const auto extents = [&](const std::string& path, std::uint32_t flags, double scale) {
        scapi_mesh_options options{};
        options.size = sizeof options, options.flags = flags, options.scale = scale;
        scapi_mesh* mesh = nullptr;
        scapi_mesh_info info{};
        EXPECT_EQ(scapi_mesh_from_stl(path.c_str(), &options, nullptr, &mesh), SCAPI_OK);
        EXPECT_EQ(scapi_mesh_get_info(mesh, &info), SCAPI_OK);
        scapi_mesh_release(mesh);
        return std::array<float, 3>{info.high[0], info.high[1], info.high[2]};
    };
    EXPECT_EQ(extents(file.path, 0, 25.4), (std::array<float, 3>{25.4f, 50.8f, 76.2f}));
    EXPECT_EQ(extents(file.path + "(STL_SWAP_ZXY)", SCAPI_SWAP_MARKERS, 0),
              (std::array<float, 3>{2, 3, 1}));
    EXPECT_EQ(Load(file.path + "(STL_SWAP_ZXY)").code, SCAPI_ERROR_FILE);
}

TEST(ProximityMesh, IsReadBackAsItWasGiven)
{
    const std::vector<float> sphere = SphereFloats(9, 5, 0.1);
    const MeshPtr mesh = FromFloats(sphere);
    std::vector<float> back(sphere.size()), part(9 * 5);
    const auto count = static_cast<std::int64_t>(sphere.size() / 9);
    EXPECT_EQ(scapi_mesh_triangles(mesh.get(), 0, count + 7, back.data()), count);
    EXPECT_EQ(back, sphere);
    EXPECT_EQ(scapi_mesh_triangles(mesh.get(), 20, 5, part.data()), 5);
    EXPECT_TRUE(std::equal(part.begin(), part.end(), sphere.begin() + 180));
    std::vector<std::int32_t> indices(sphere.size() / 3);
    std::vector<float> vertices(sphere.size());
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
    const auto volume = [](scapi_mesh* mesh) {
        scapi_diagnosis found{};
        EXPECT_EQ(scapi_diagnose(mesh, nullptr, &found), SCAPI_OK);
        EXPECT_TRUE(found.closed);
        EXPECT_FALSE(found.inside_out);
        EXPECT_EQ(found.without_area.count, 0);
        scapi_mesh_release(mesh);
        return found.volume;
    };
    const double low[] = {-1, -2, -3}, high[] = {1, 2, 3};
    scapi_mesh_options options{};
    options.size = sizeof options, options.segments = 12;
    const double disc = 12 * 0.5 * std::sin(2 * M_PI / 12); // area of the polygon of radius 1
    scapi_mesh* mesh = nullptr;
    ASSERT_EQ(scapi_mesh_box(low, high, nullptr, &mesh), SCAPI_OK);
    EXPECT_NEAR(volume(mesh), 48, 1e-5);
    ASSERT_EQ(scapi_mesh_cylinder(2, 5, &options, &mesh), SCAPI_OK);
    EXPECT_NEAR(volume(mesh), disc * 20, 1e-4);
    ASSERT_EQ(scapi_mesh_cone(2, 0, 3, &options, &mesh), SCAPI_OK);
    EXPECT_NEAR(volume(mesh), disc * 4, 1e-4);
    ASSERT_EQ(scapi_mesh_cone(1, 2, 3, &options, &mesh), SCAPI_OK);
    EXPECT_NEAR(volume(mesh), disc * 7, 1e-4);
    const double ring[] = {2, 0, 3, 0, 3, 1, 2, 1, 2, 0};
    ASSERT_EQ(scapi_mesh_revolved(ring, 5, &options, &mesh), SCAPI_OK);
    EXPECT_NEAR(volume(mesh), disc * 5, 1e-4);
    options.segments = 0, options.chord_tolerance = 0.01;
    ASSERT_EQ(scapi_mesh_cylinder(10, 1, &options, &mesh), SCAPI_OK);
    const double sides = std::ceil(M_PI / std::acos(1 - 0.001));
    EXPECT_NEAR(volume(mesh), 100 * sides * 0.5 * std::sin(2 * M_PI / sides), 1e-3);
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
        std::vector<float> corners;
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
        EXPECT_LE(result.lower, c.distance);
        EXPECT_GE(result.upper, c.distance);
        EXPECT_NEAR(result.upper, c.distance, 1e-12);
    }
    // Sizes whose squares are no floats.
    for (const double size : {1e-10, 1e-20, 1e-30, 1e-37}) {
        const MeshPtr small = Box({0, 0, 0}, {size, size, size});
        EXPECT_EQ(
            AskWithin(small, kIdentity, small, At(0.5 * size, 0.4 * size, 0.3 * size), Within(0))
                .verdict,
            SCAPI_CONTACT)
            << size;
        const int apart = AskWithin(small, kIdentity, small, At(3 * size, 0, 0), Within(0)).verdict;
        EXPECT_EQ(apart, SCAPI_CLEAR) << size;
    }
    // One facet without area among many good ones changes nothing.
    std::vector<float> sphere = SphereFloats(60, 5, 0.05);
    const scapi_result before = Distance(FromFloats(sphere), kIdentity, box, At(8, 0, 0));
    for (int k = 0; k < 3; ++k) sphere.insert(sphere.end(), {1, 2, 3});
    const scapi_result after = Distance(FromFloats(sphere), kIdentity, box, At(8, 0, 0));
    EXPECT_EQ(before.upper, after.upper);
}

TEST(ProximityMesh, AMillionTrianglesOnOnePointEnd)
{
    std::vector<float> corners(9000000, 1.5f);
    for (std::size_t i = 0; i < corners.size(); i += 9) corners[i] = 2.5f;
    const MeshPtr mesh = FromFloats(corners);
    scapi_mesh_info info{};
    ASSERT_EQ(scapi_mesh_get_info(mesh.get(), &info), SCAPI_OK);
    EXPECT_LE(info.bytes, 100 * info.triangles);
    scapi_options options = Within(0.1);
    options.budget = 100000;
    // All pairs are equally far apart: more than can be looked at, and that is said.
    const scapi_result far = Distance(mesh, kIdentity, mesh, At(0, 3, 0), options);
    EXPECT_NEAR(far.upper, 3, 1e-6);
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
    const QueryPtr query = MakeQuery();
    const double nan = kNaN;
    Pose transposed{1, 0, 0, 0, 0, -1,
                    0, 1, 0, 5, 6, 7}; // nine of a rotation, by columns, then three
    struct Case {
        const char* fault;
        Pose pose;
        int code;
    };
    Pose scaled = At(5, 0, 0), mirrored = At(5, 0, 0), sheared = At(5, 0, 0);
    for (std::size_t k : {0u, 5u, 10u}) scaled[k] = 2;
    mirrored[10] = -1;
    sheared[1] = 0.3;
    Pose sloppy = At(5, 0, 0);
    sloppy[1] = 1e-7;
    const Case cases[] = {
        {"Transposed", transposed, SCAPI_ERROR_POSE_TRANSPOSED},
        {"Scaled", scaled, SCAPI_ERROR_POSE_SCALED},
        {"Mirrored", mirrored, SCAPI_ERROR_POSE_MIRRORED},
        {"Sheared", sheared, SCAPI_ERROR_POSE_NOT_RIGID},
        {"Zeros", Pose{}, SCAPI_ERROR_POSE_NOT_RIGID},
        {"NaN", At(nan, 0, 0), SCAPI_ERROR_POSE_NUMBER},
        {"Infinite", At(0, kInfinity, 0), SCAPI_ERROR_POSE_NUMBER},
        {"FarAway", At(0, 2e9, 0), SCAPI_ERROR_POSE_NUMBER},
        {"RigidWithinRounding", sloppy, SCAPI_OK},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fault);
        scapi_result result;
        std::memset(&result, 1, sizeof result); // what was there reads CLEAR
        EXPECT_EQ(scapi_distance(query.get(), box.get(), kIdentity.data(), box.get(), c.pose.data(),
                                 nullptr, &result),
                  c.code);
        EXPECT_EQ(result.verdict == SCAPI_CLEAR, c.code == SCAPI_OK);
        const scapi_motion motion = Rest(c.pose), rest = Rest(kIdentity);
        scapi_impact impact;
        std::memset(&impact, 1, sizeof impact);
        EXPECT_EQ(scapi_time_of_impact(query.get(), box.get(), &rest, box.get(), &motion, nullptr,
                                       &impact),
                  c.code);
        EXPECT_EQ(impact.verdict == SCAPI_CLEAR, c.code == SCAPI_OK);
    }
    scapi_motion turn = Turn(At(5, 0, 0), {0, 0, 0}, {0, 0, 2}, 1);
    scapi_impact impact{};
    const scapi_motion rest = Rest(kIdentity);
    EXPECT_EQ(
        scapi_time_of_impact(query.get(), box.get(), &rest, box.get(), &turn, nullptr, &impact),
        SCAPI_ERROR_AXIS);
    turn.angle = nan;
    EXPECT_EQ(
        scapi_time_of_impact(query.get(), box.get(), &rest, box.get(), &turn, nullptr, &impact),
        SCAPI_ERROR_POSE_NUMBER);
    for (const double tolerance : {-1.0, nan, 1e300}) {
        const scapi_options options = Within(tolerance);
        scapi_result result{};
        EXPECT_EQ(scapi_within(query.get(), box.get(), kIdentity.data(), box.get(),
                               At(5, 0, 0).data(), &options, &result),
                  SCAPI_ERROR_TOLERANCE);
        EXPECT_EQ(result.verdict, SCAPI_INDETERMINATE);
    }
    scapi_result result{};
    EXPECT_EQ(scapi_within(query.get(), nullptr, kIdentity.data(), box.get(), kIdentity.data(),
                           nullptr, &result),
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
    scapi_options options = Within(1);
    EXPECT_EQ(ask(&options), SCAPI_CONTACT);
    options.size = 16; // an older one, that ended with the tolerance
    options.resolution = kNaN;
    EXPECT_EQ(ask(&options), SCAPI_CONTACT);
    options.size = 8; // without a tolerance
    EXPECT_EQ(ask(&options), SCAPI_CLEAR);
    struct {
        scapi_options known;
        std::int64_t added;
    } newer{Within(1), 0};
    newer.known.size = sizeof newer;
    EXPECT_EQ(ask(&newer), SCAPI_CONTACT);
    newer.added = 1;
    EXPECT_EQ(ask(&newer), SCAPI_ERROR_OPTIONS) << "a wish that isn't understood";
    for (const std::uint32_t size : {0u, 7u, 4097u, 0xffffffffu}) {
        options.size = size;
        EXPECT_EQ(ask(&options), SCAPI_ERROR_OPTIONS);
    }
    options = Within(1);
    options.flags = 1u << 20;
    EXPECT_EQ(ask(&options), SCAPI_ERROR_OPTIONS);
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

TEST(ProximityCalls, EveryCodeHasAText)
{
    for (int code = -2050; code <= 0; ++code) {
        const char* text = scapi_error_text(code);
        ASSERT_NE(text, nullptr);
        EXPECT_GT(std::strlen(text), 5u);
    }
    for (int code = SCAPI_ERROR_POSE_NOT_RIGID; code <= SCAPI_ERROR_POSE_NUMBER; ++code)
        EXPECT_STRNE(scapi_error_text(code), scapi_error_text(1));
}

TEST(ProximityDiagnose, FindsWhatIsWrongAndWhere)
{
    const auto diagnose = [](const std::vector<float>& corners, double weld = 0,
                             std::uint32_t flags = SCAPI_SELF_CROSSINGS) {
        scapi_diagnose_options options{};
        options.size = sizeof options, options.weld = weld, options.flags = flags;
        scapi_diagnosis found{};
        EXPECT_EQ(scapi_diagnose(FromFloats(corners).get(), &options, &found), SCAPI_OK);
        return found;
    };
    const std::vector<float> box = BoxFloats({0, 0, 0}, {2, 2, 2});
    const auto with = [&](const std::vector<float>& more) {
        std::vector<float> all = box;
        all.insert(all.end(), more.begin(), more.end());
        return all;
    };
    scapi_diagnosis found = diagnose(box);
    EXPECT_TRUE(found.closed);
    EXPECT_EQ(found.vertices, 8);
    EXPECT_EQ(found.edges, 18);
    EXPECT_NEAR(found.volume, 8, 1e-9);
    EXPECT_NEAR(found.area, 24, 1e-9);
    EXPECT_NEAR(found.extent_if_inches[0], 50.8, 1e-9);
    EXPECT_EQ(found.self_crossings.count, 0);
    EXPECT_TRUE(found.self_crossings_complete);

    found = diagnose({box.begin() + 9, box.end()});
    EXPECT_EQ(found.open_edges.count, 3);
    EXPECT_FALSE(found.closed);

    found = diagnose(with({box.begin() + 18, box.begin() + 27}));
    EXPECT_EQ(found.duplicates.count, 1);
    EXPECT_EQ(found.duplicates.facet[0], 12);
    EXPECT_EQ(found.duplicates.facet[1], -1);
    EXPECT_EQ(found.crowded_edges.count, 3);

    std::vector<float> flipped = box;
    std::swap_ranges(flipped.begin() + 36, flipped.begin() + 39, flipped.begin() + 39);
    found = diagnose(flipped);
    EXPECT_EQ(found.reversed_edges.count, 3);
    EXPECT_FALSE(found.closed);

    found = diagnose(BoxFloats({0, 0, 0}, {2, 2, 2}, true));
    EXPECT_TRUE(found.closed);
    EXPECT_TRUE(found.inside_out);

    found = diagnose(with(BoxFloats({0.5, 0.5, 0.5}, {1, 1, 1}, true)));
    EXPECT_EQ(found.shells, 2);
    EXPECT_EQ(found.inverted_shells, 1);
    EXPECT_EQ(found.nested_shells, 1);
    EXPECT_NEAR(found.volume, 8 - 0.125, 1e-9);

    found = diagnose(with(BoxFloats({1, 1, 1}, {3, 3, 3})));
    EXPECT_GE(found.self_crossings.count, 6) << "each of six faces meets another";

    found = diagnose(with({5, 5, 5, 6, 6, 6, 7, 7, 7}));
    EXPECT_EQ(found.without_area.count, 1);
    EXPECT_EQ(found.without_area.facet[0], 12);

    // A seam that a weld closes.
    std::vector<float> seam = box;
    for (std::size_t i = 0; i < 9; ++i) seam[i] += 1e-4f;
    EXPECT_FALSE(diagnose(seam).closed);
    EXPECT_TRUE(diagnose(seam, 1e-3).closed);
}

} // namespace
