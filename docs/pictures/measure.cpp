// Runs both libraries through what the pictures of the guide show, and writes the figures as JSON.
// Usage: measure FOLDER: FOLDER holds the files of demo_scene, and takes files of its own.
#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "../../bench/meshes.h"
#include "scapi/proximity.h"
#include "scapi/scapi.h"
#include "scapi/solid.h"

namespace
{

struct Matrix {
    float row[4][4];
};

constexpr double kPi = 3.14159265358979323846;

/// Turned about z by an angle in degrees, then moved.
Matrix Pose(double x, double y, double z, double degrees = 0)
{
    const auto c = static_cast<float>(std::cos(degrees * kPi / 180)),
               s = static_cast<float>(std::sin(degrees * kPi / 180));
    return {{{c, -s, 0, static_cast<float>(x)},
             {s, c, 0, static_cast<float>(y)},
             {0, 0, 1, static_cast<float>(z)},
             {0, 0, 0, 1}}};
}

std::array<double, 12> Rows(const Matrix& m)
{
    std::array<double, 12> rows{};
    for (std::size_t i = 0; i < 12; ++i) rows[i] = double(m.row[i / 4][i % 4]);
    return rows;
}

/// A call that has to succeed for the figures to mean anything.
void Need(bool done, const char* what)
{
    if (done) return;
    std::fprintf(stderr, "measure: %s failed\n", what);
    std::exit(1);
}

using Box = std::array<float, 6>;

void LoadBox(int slot, Box box) { Need(SCAPI_LoadBox(slot, box.data()) == 0, "LoadBox"); }

int LoadFile(int slot, std::string path)
{
    return SCAPI_LoadSTL(slot, reinterpret_cast<unsigned char*>(path.data()), 0);
}

/// The fifteen calls: do edges of slot b, moved from start to end, hit faces of slot a?
bool Hits(int a, int b, Matrix start, Matrix end)
{
    Matrix rest = Pose(0, 0, 0);
    SCAPI_DefSweep(a, rest.row, rest.row);
    SCAPI_DefSweep(b, start.row, end.row);
    const int answer = SCAPI_DetectInterference(a, b);
    Need(answer == SCAPI_INTERFERENCE || answer == SCAPI_NO_INTERFERENCE, "DetectInterference");
    return answer == SCAPI_INTERFERENCE;
}

/// A mesh of the proximity library, and the query that all share.
struct Mesh {
    scapi_mesh* handle = nullptr;
    explicit Mesh(const std::string& path)
    {
        Need(scapi_mesh_from_stl(path.c_str(), nullptr, nullptr, &handle) == 0, path.c_str());
    }
    explicit Mesh(const Box& box)
    {
        const double low[3] = {double(box[0]), double(box[1]), double(box[2])},
                     high[3] = {double(box[3]), double(box[4]), double(box[5])};
        Need(scapi_mesh_box(low, high, nullptr, &handle) == 0, "scapi_mesh_box");
    }
    Mesh(const Mesh&) = delete;
    Mesh& operator=(const Mesh&) = delete;
    ~Mesh() { scapi_mesh_release(handle); }
};

scapi_query* Query()
{
    static scapi_query* query = [] {
        scapi_query* made = nullptr;
        Need(scapi_query_create(&made) == 0, "scapi_query_create");
        return made;
    }();
    return query;
}

scapi_options Options(double tolerance)
{
    scapi_options options{};
    options.size = sizeof options;
    options.flags = SCAPI_WANT_RELATION;
    options.tolerance = tolerance;
    return options;
}

scapi_result Distance(const Mesh& a, const Matrix& at_a, const Mesh& b, const Matrix& at_b)
{
    const auto rest = Rows(at_a), placed = Rows(at_b);
    const scapi_options options = Options(1e-4);
    scapi_result result;
    Need(scapi_distance(Query(), a.handle, rest.data(), b.handle, placed.data(), &options,
                        &result) == 0,
         "scapi_distance");
    return result;
}

scapi_result Within(const Mesh& a, const Matrix& at_a, const Mesh& b, const Matrix& at_b)
{
    const auto rest = Rows(at_a), placed = Rows(at_b);
    const scapi_options options = Options(1e-4);
    scapi_result result;
    Need(scapi_within(Query(), a.handle, rest.data(), b.handle, placed.data(), &options, &result) ==
             0,
         "scapi_within");
    return result;
}

scapi_impact Impact(const Mesh& a, const Mesh& b, const scapi_motion& moves)
{
    const auto rest = Rows(Pose(0, 0, 0));
    scapi_motion still;
    Need(scapi_motion_between(rest.data(), rest.data(), nullptr, &still) == 0, "motion_between");
    const scapi_options options = Options(1e-4);
    scapi_impact impact;
    Need(scapi_time_of_impact(Query(), a.handle, &still, b.handle, &moves, &options, &impact) == 0,
         "scapi_time_of_impact");
    return impact;
}

/// Pairs of solids: do edges of B hit A, edges of A hit B, and what the proximity library says.
void Situations()
{
    struct Row {
        const char* name;
        Box a, b;
        double place_a[3], place_b[3]; ///< of A, and of B; A at rest is at zeros
    };
    const Box cube{-10, -10, -10, 10, 10, 10}, pin{-2, -2, 0, 2, 2, 20}, bead{-3, -3, -3, 3, 3, 3},
        plate{-30, -30, -6, 30, 30, 6};
    const Row rows[] = {
        {"cross", cube, cube, {0, 0, 0}, {9, 3, 11}},
        {"pin", pin, plate, {0, 0, 0}, {12, -21, -1}},
        {"inside", cube, bead, {0, 0, 0}, {2, 0, 3}},
        {"touch", cube, cube, {0, 0, 0}, {20, 0, 4}},
        {"copy", cube, cube, {0, 0, 0}, {0, 0, 0}},
        {"world", cube, cube, {60, 0, 0}, {69, 3, 11}},
    };
    std::printf("\"situations\":{");
    for (const Row& row : rows) {
        Matrix a = Pose(row.place_a[0], row.place_a[1], row.place_a[2]),
               b = Pose(row.place_b[0], row.place_b[1], row.place_b[2]);
        LoadBox(0, row.a), LoadBox(1, row.b);
        int answers[2];
        SCAPI_DefSweep(0, a.row, a.row), SCAPI_DefSweep(1, b.row, b.row);
        answers[0] = SCAPI_DetectInterference(0, 1);
        Matrix rest = Pose(0, 0, 0),
               back = Pose(row.place_a[0] - row.place_b[0], row.place_a[1] - row.place_b[1],
                           row.place_a[2] - row.place_b[2]);
        // Where A was placed, a host that trusts the poses asks the same the other way round.
        SCAPI_DefSweep(0, row.place_a[0] == 0 ? back.row : a.row,
                       row.place_a[0] == 0 ? back.row : a.row);
        SCAPI_DefSweep(1, row.place_a[0] == 0 ? rest.row : b.row,
                       row.place_a[0] == 0 ? rest.row : b.row);
        answers[1] = SCAPI_DetectInterference(1, 0);
        const Mesh mesh_a(row.a), mesh_b(row.b);
        const scapi_result result = Within(mesh_a, a, mesh_b, b);
        std::printf("%s\"%s\":[%d,%d,%d,%d]", &row == rows ? "" : ",", row.name, answers[0],
                    answers[1], result.verdict, result.relation);
    }
    std::printf("},\n");

    // The pin at many places of the plate: how often the edges of each find the other.
    int found[2] = {}, places = 0;
    LoadBox(0, pin), LoadBox(1, plate);
    for (int x = -27; x <= 27; x += 3)
        for (int y = -27; y <= 27; y += 3, ++places) {
            found[0] += Hits(0, 1, Pose(x, y, -1), Pose(x, y, -1));
            found[1] += Hits(1, 0, Pose(-x, -y, 1), Pose(-x, -y, 1));
        }
    std::printf("\"pin\":[%d,%d,%d],\n", found[0], found[1], places);
}

/// The tip of a tool, 8 long, goes straight through the clamp of the example scene.
void Pass(const std::string& folder)
{
    constexpr double kFrom = -60, kTo = 60, kHeight = 25.5;
    float low[3] = {0, 0, 0}, high[3] = {0, 0, 8};
    const std::string clamp = folder + "/plate_with_clamp.stl", tip = folder + "/tip.stl";
    Need(LoadFile(0, clamp) == 0, "load");
    Need(SCAPI_LoadCylinder(1, low, high, 3) == 0, "LoadCylinder");
    std::string path = tip;
    Need(SCAPI_SaveSTL(1, reinterpret_cast<unsigned char*>(path.data())) == 0, "SaveSTL");
    const Mesh a(clamp), b(tip);
    std::printf("\"pass\":{\"from\":%g,\"to\":%g,\"height\":%g,\"steps\":[", kFrom, kTo, kHeight);
    for (int step = 0; step <= 240; ++step) {
        const double x = kFrom + (kTo - kFrom) * step / 240;
        const Matrix pose = Pose(x, 0, kHeight);
        const scapi_result result = Distance(a, Pose(0, 0, 0), b, pose);
        std::printf("%s[%g,%.5g,%d,%d,%d]", step ? "," : "", x, result.upper,
                    Hits(0, 1, pose, pose),
                    Hits(1, 0, Pose(-x, 0, -kHeight), Pose(-x, 0, -kHeight)),
                    Within(a, Pose(0, 0, 0), b, pose).verdict);
    }
    scapi_motion motion;
    const auto start = Rows(Pose(kFrom, 0, kHeight)), end = Rows(Pose(kTo, 0, kHeight));
    Need(scapi_motion_between(start.data(), end.data(), nullptr, &motion) == 0, "motion_between");
    const scapi_impact impact = Impact(a, b, motion);
    std::printf("],\"t_clear\":%.9f,\"t_contact\":%.9f,\"verdict\":%d},\n", impact.t_clear,
                impact.t_contact, impact.verdict);
}

/// Prints corners seen along z.
void Corners(const std::vector<std::array<double, 2>>& corners)
{
    std::printf("[");
    for (std::size_t i = 0; i < corners.size(); ++i)
        std::printf("%s[%.4g,%.4g]", i ? "," : "", corners[i][0], corners[i][1]);
    std::printf("]");
}

/// A bar goes along x and turns: what the fifteen calls sweep, where it really goes, and a post.
void Rotation()
{
    Box bar{-45, -6, -5, 45, 6, 5}, post{-3, -3, -10, 3, 3, 10};
    const Mesh mesh_bar(bar);
    std::printf("\"rotation\":[");
    for (const double degrees : {90.0, 180.0}) {
        Matrix start = Pose(0, 0, 0), end = Pose(130, 0, 0, degrees);
        SOLIDC solid;
        solid.LoadBox(bar.data());
        solid.SC_GTsweep(start.row, end.row);
        std::vector<std::array<double, 2>> from, to;
        for (int v = 0; v < solid.vertexCount; ++v) {
            from.push_back(
                {double(solid.vertices[v].sweepStart[0]), double(solid.vertices[v].sweepStart[1])});
            to.push_back(
                {double(solid.vertices[v].sweepEnd[0]), double(solid.vertices[v].sweepEnd[1])});
        }
        std::printf("%s{\"degrees\":%g,\"start\":", degrees == 90 ? "" : ",", degrees);
        Corners(from), std::printf(",\"end\":"), Corners(to);

        // Half a turn has no shortest rotation, so the motion is written out.
        scapi_motion motion{};
        const auto rows = Rows(start);
        std::copy(rows.begin(), rows.end(), motion.start);
        motion.path[0] = 130, motion.axis[2] = 1, motion.angle = degrees * kPi / 180;
        std::printf(",\"poses\":[");
        for (int step = 0; step <= 12; ++step) {
            double pose[12];
            Need(scapi_motion_pose(&motion, step / 12.0, pose) == 0, "motion_pose");
            std::vector<std::array<double, 2>> corners;
            for (const auto& c : {std::array{-45, -6}, {45, -6}, {45, 6}, {-45, 6}})
                corners.push_back({pose[0] * c[0] + pose[1] * c[1] + pose[3],
                                   pose[4] * c[0] + pose[5] * c[1] + pose[7]});
            std::printf(step ? "," : ""), Corners(corners);
        }
        std::printf("],\"posts\":[");
        // A post at the end of the bar's way, and one where it starts.
        bool first = true;
        for (const auto& at : {std::array<float, 2>{130, 36}, {-24, -26}, {64, -32}, {64, 40}}) {
            Box placed = post;
            for (std::size_t i = 0; i < 6; ++i) placed[i] += i % 3 < 2 ? at[i % 3] : 0;
            LoadBox(0, placed), LoadBox(1, bar);
            const Mesh mesh_post(placed);
            std::printf("%s[%g,%g,%d,%d]", first ? "" : ",", double(at[0]), double(at[1]),
                        Hits(0, 1, start, end), Impact(mesh_post, mesh_bar, motion).verdict);
            first = false;
        }
        std::printf("]}");
    }
    std::printf("],\n");
}

/// Boxes as one binary STL file, written with the library, since a slot holds one box.
void WriteBoxes(const std::string& path, const std::vector<Box>& boxes)
{
    std::vector<std::array<float, 9>> triangles;
    for (const Box& box : boxes) {
        const Mesh mesh(box);
        std::array<std::array<float, 9>, 12> corners;
        Need(scapi_mesh_triangles(mesh.handle, 0, 12, corners[0].data()) == 12, "triangles");
        triangles.insert(triangles.end(), corners.begin(), corners.end());
    }
    std::ofstream file(path, std::ios::binary);
    const std::string header(80, '\0');
    const auto count = static_cast<std::uint32_t>(triangles.size());
    const float normal[3] = {};
    file.write(header.data(), 80).write(reinterpret_cast<const char*>(&count), 4);
    for (const auto& triangle : triangles) {
        file.write(reinterpret_cast<const char*>(normal), 12);
        file.write(reinterpret_cast<const char*>(triangle.data()), 36).write("\0\0", 2);
    }
}

/// The greatest gap at which slot 1, moved along x by it, is still reported by slot 0.
double Margin(double most)
{
    double hit = 0, clear = most;
    const auto reported = [](double gap) { return Hits(0, 1, Pose(gap, 0, 0), Pose(gap, 0, 0)); };
    if (reported(clear)) return most;
    // Downwards from far away, since contact need not hold all the way.
    while (clear > 1e-7 && !reported(clear)) hit = clear, clear /= 1.03;
    if (clear <= 1e-7) return 0;
    std::swap(hit, clear);
    for (int i = 0; i < 30; ++i) {
        const double middle = 0.5 * (hit + clear);
        (reported(middle) ? hit : clear) = middle;
    }
    return hit;
}

/// The margin beside the sides of a small box: against an edge that crosses the plane of its face,
/// and of its own edges where they run in the plane of a face of a block.
void Margins(const std::string& folder)
{
    const std::string path = folder + "/framed.stl";
    const Box near{-600, -600, -600, -590, -590, -590}, far{590, 590, 590, 600, 600, 600};
    std::printf("\"margins\":[");
    for (int i = 0; i <= 16; ++i) {
        const double side = std::pow(10, -3 + i * 0.25);
        const auto s = static_cast<float>(side);
        std::filesystem::remove(folder + "/framed.SLD");
        WriteBoxes(path, {near, far, {-s, 0, 0, 0, s, s}});
        Need(LoadFile(0, path) == 0, "load");
        double crossing = 0, along = 0;
        for (const float part : {0.05f, 0.33f, 0.95f}) {
            LoadBox(1, {0, -5, -5, 10, part * s, s / 3});
            crossing = std::max(crossing, Margin(50));
        }
        std::filesystem::remove(folder + "/framed.SLD");
        WriteBoxes(path, {near, far, {-10, -5, -5, 0, 5, 5}});
        Need(LoadFile(0, path) == 0, "load");
        for (float y = -5; y + s <= 5; y += 0.1f + 0.1f * s) {
            LoadBox(1, {0, y, 5 - s, s, y + s, 5});
            along = std::max(along, Margin(50));
        }
        std::printf("%s[%.4g,%.4g,%.4g]", i ? "," : "", side, crossing, along);
    }
    std::printf("],\n");
}

/// What loads do with the cache beside a file.
void Cache(const std::string& folder)
{
    namespace fs = std::filesystem;
    using namespace std::chrono_literals;
    const std::string path = folder + "/part.stl", cache = folder + "/part.SLD";
    const fs::file_time_type mark = fs::file_time_type::clock::now() - 1h;
    const auto write = [&](float size, std::chrono::seconds age) {
        WriteBoxes(path, {{0, 0, 0, size, size, size}});
        fs::last_write_time(path, mark - 1h + age);
    };
    const auto load = [&](const char* name) {
        const bool there = fs::is_regular_file(cache);
        if (there) fs::last_write_time(cache, mark);
        const int result = LoadFile(0, path);
        float box[6];
        Need(SCAPI_GetBbox(0, box) == 0, "GetBbox");
        const bool written = fs::is_regular_file(cache) && fs::last_write_time(cache) != mark;
        std::printf("%s\"%s\":[%d,%g,%d]", std::string(name) == "first" ? "" : ",", name, result,
                    double(box[3]), written);
    };
    std::printf("\"cache\":{");
    fs::remove_all(cache);
    write(10, 0s), load("first");
    load("again");
    write(20, 2s), load("newer");
    write(30, 0s), load("older");
    write(40, 0s), load("same second");
    fs::resize_file(cache, fs::file_size(cache) / 2), load("damaged");
    fs::remove_all(cache), fs::create_directory(cache), load("no place");
    fs::remove_all(cache);
    std::printf("},\n");
}

/// The least processor time of some runs of a call, in milliseconds.
double Least(int runs, const std::function<void()>& before, const std::function<void()>& call)
{
    double least = 1e300;
    for (int run = 0; run < runs; ++run) {
        before();
        const std::clock_t start = std::clock();
        call();
        least = std::min(least, 1e3 * double(std::clock() - start) / CLOCKS_PER_SEC);
    }
    return least;
}

/// Loads of bumpy spheres: the first, from the cache, as a mesh; then the first query, and bytes.
void Loads(const std::string& folder)
{
    const std::string path = folder + "/sphere.stl", cache = folder + "/sphere.SLD";
    std::printf("\"loads\":[");
    for (const int about : {1000, 3000, 10000, 30000, 100000, 300000, 1000000}) {
        const int triangles = WriteSphere(path, about, false), runs = about > 200000 ? 8 : 12;
        const auto empty = [] { SCAPI_ReleaseSolids(); };
        const auto load = [&] { Need(LoadFile(0, path) == 0, "load"); };
        const double first = Least(
            runs, [&] { empty(), std::filesystem::remove(cache); }, load);
        const double again = Least(runs, empty, load);
        const int bytes = SCAPI_GetUsedRAM();
        const double query = Least(
            runs, [&] { empty(), load(), Need(LoadFile(1, path) == 0, "load"); },
            [] { Hits(0, 1, Pose(150, 0, 0), Pose(150, 0, 0)); });
        const double mesh = Least(
            runs, [] {}, [&] { const Mesh made(path); });
        std::printf("%s[%d,%.4g,%.4g,%.4g,%d,%.4g]", about == 1000 ? "" : ",", triangles, first,
                    again, mesh, bytes, query);
    }
    std::printf("]");
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "Usage: measure FOLDER\n");
        return 2;
    }
    std::printf("{");
    Situations();
    Pass(argv[1]);
    Rotation();
    Margins(argv[1]);
    Cache(argv[1]);
    Loads(argv[1]);
    std::printf("}\n");
    return 0;
}
