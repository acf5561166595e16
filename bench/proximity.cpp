// Time of the calls of the proximity library, and of FCL on the same meshes and poses where it is
// there: two bumpy spheres apart, one inside the other, 0.01 apart, in contact; linked tori; a gear
// 0.01 above a plate, and lying on it; a shaft in a bore with 0.05 of air all round, or 1 % of the
// radius; and any files, given in pairs as arguments behind those of the benchmarks, 1 % of their
// size apart. Each iteration asks for another pose, so that what a query remembers of the last one
// helps no more than it does in use. `sum` is of distances or times found, or a count of contacts,
// so that a change of an answer shows.
#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "meshes.h"
#include "scapi/proximity.h"

#ifdef BENCH_WITH_FCL
#include <fcl/fcl.h>
#endif

namespace
{

constexpr int kPoses = 12;

struct Pose {
    double m[12];
};

/// Turned about x and moved along it: the gap along x stays nearly alike.
Pose MakePose(double angle, double x)
{
    const double c = std::cos(angle), s = std::sin(angle);
    return {{1, 0, 0, x, 0, c, -s, 0, 0, s, c, 0}};
}

enum Situation { kApart, kNested, kNear, kHit, kLinked, kFlat, kLying, kFit, kLoose, kFiles };
const char* const kNames[] = {"apart", "nested", "near", "hit",  "linked",
                              "flat",  "lying",  "fit",  "loose"};

std::vector<std::array<std::string, 2>> files; ///< pairs; situation kFiles + n has pair n

struct Case {
    scapi_mesh *a, *b;
    std::array<Pose, kPoses> poses;
};

scapi_query* Query()
{
    static scapi_query* query = [] {
        scapi_query* made = nullptr;
        scapi_query_create(&made);
        return made;
    }();
    return query;
}

/// The plane faces of a gear and a plate, against each other.
bool IsFlat(int situation) { return situation == kFlat || situation == kLying; }

std::string Write(int situation, int triangles, bool second)
{
    if (situation >= kFiles) return files[static_cast<std::size_t>(situation - kFiles)][second];
    const auto folder = std::filesystem::temp_directory_path() / "scapi_bench_proximity";
    std::filesystem::create_directories(folder);
    const char* const shape = situation == kLinked ? "torus"
                              : IsFlat(situation)  ? (second ? "gear" : "plate")
                              : situation < kFit   ? "sphere"
                              : !second            ? "bore"
                              : situation == kFit  ? "shaft"
                                                   : "loose_shaft";
    const std::string path = (folder / (shape + std::to_string(triangles))).string();
    if (std::filesystem::exists(path)) return path;
    if (situation == kLinked)
        WriteTorus(path, triangles, 80, 20);
    else if (IsFlat(situation) && second)
        WriteGear(path, triangles);
    else if (IsFlat(situation))
        WritePlate(path, triangles, 0);
    else if (situation < kFit)
        WriteSphere(path, triangles, false);
    else if (second)
        WriteTube(path, triangles, 5, situation == kFit ? 17.95 : 17.82, 60);
    else
        WriteTube(path, triangles, 18, 60, 24);
    return path;
}

scapi_mesh* Load(int situation, int triangles, bool second)
{
    scapi_mesh_options options{};
    options.size = sizeof options;
    if (situation == kNested && second) options.scale = 0.5;
    scapi_mesh* mesh = nullptr;
    scapi_mesh_from_stl(Write(situation, triangles, second).c_str(), &options, nullptr, &mesh);
    return mesh;
}

scapi_result Distance(const Case& c, const Pose& pose)
{
    const Pose still = MakePose(0, 0);
    scapi_result result{};
    scapi_distance(Query(), c.a, still.m, c.b, pose.m, nullptr, &result);
    return result;
}

scapi_mesh_info InfoOf(const scapi_mesh* mesh)
{
    scapi_mesh_info info{};
    scapi_mesh_get_info(mesh, &info);
    return info;
}

double SizeOf(const scapi_mesh* mesh)
{
    const scapi_mesh_info info = InfoOf(mesh);
    double size = 0;
    for (int i = 0; i < 3; ++i) size = std::max(size, double(info.high[i]) - info.low[i]);
    return size;
}

/// Where the second body, coming along x, is at a distance of the first.
double PlaceAtDistance(const Case& c, double angle, double distance)
{
    double x = double(InfoOf(c.a).high[0]) - InfoOf(c.b).low[0] + 60;
    for (int i = 0; i < 60; ++i) x -= Distance(c, MakePose(angle, x)).lower - distance;
    return x;
}

const Case& GetCase(int situation, int triangles)
{
    static std::map<std::pair<int, int>, Case> cases;
    if (situation >= kFiles) triangles = 0;
    const auto [at, isNew] = cases.try_emplace({situation, triangles});
    Case& c = at->second;
    if (!isNew) return c;
    c.a = Load(situation, triangles, false), c.b = Load(situation, triangles, true);
    for (int i = 0; i < kPoses; ++i) {
        const double angle = 0.37 * i;
        double x = situation == kApart ? 400.0 + i : situation == kNested ? i : 0.5 * i;
        if (situation == kNear || situation == kHit) x = PlaceAtDistance(c, angle, 0.01);
        if (situation == kHit) x -= 0.5;
        if (situation >= kFiles)
            x = PlaceAtDistance(c, angle, 0.01 * std::max(SizeOf(c.a), SizeOf(c.b)));
        Pose& pose = c.poses[static_cast<std::size_t>(i)] = MakePose(angle, x);
        if (situation == kLinked) pose = {{1, 0, 0, 80.0 + 0.5 * i, 0, 0, -1, 0.3 * i, 0, 1, 0, 0}};
        if (IsFlat(situation)) {
            const double c_ = std::cos(angle), s_ = std::sin(angle);
            const double z = situation == kFlat ? 10.01 : 10;
            pose = {{c_, -s_, 0, 120.0 + i, s_, c_, 0, 100, 0, 0, 1, z}};
        }
    }
    return c;
}

scapi_options AtAThousandth()
{
    scapi_options options{};
    options.size = sizeof options;
    options.tolerance = 0.001;
    return options;
}

void Within(benchmark::State& state, int situation)
{
    const Case& c = GetCase(situation, static_cast<int>(state.range(0)));
    const Pose still = MakePose(0, 0);
    scapi_options options = AtAThousandth();
    double sum = 0;
    std::size_t next = 0;
    for (auto _ : state) {
        scapi_result result{};
        scapi_within(Query(), c.a, still.m, c.b, c.poses[next].m, &options, &result);
        sum += result.verdict == SCAPI_CONTACT;
        next = (next + 1) % kPoses;
    }
    state.counters["sum"] = sum / double(state.iterations());
}

void Closest(benchmark::State& state, int situation)
{
    const Case& c = GetCase(situation, static_cast<int>(state.range(0)));
    double sum = 0, tests = 0;
    std::size_t next = 0;
    for (auto _ : state) {
        const scapi_result result = Distance(c, c.poses[next]);
        sum += result.upper, tests += double(result.tests);
        next = (next + 1) % kPoses;
    }
    state.counters["sum"] = sum / double(state.iterations());
    state.counters["tests"] = tests / double(state.iterations());
}

void Contacts(benchmark::State& state, int situation)
{
    const Case& c = GetCase(situation, static_cast<int>(state.range(0)));
    const Pose still = MakePose(0, 0);
    scapi_options options = AtAThousandth();
    std::vector<scapi_contact> contacts(1000);
    double sum = 0;
    std::size_t next = 0;
    for (auto _ : state) {
        scapi_contacts_result result{};
        scapi_contacts(Query(), c.a, still.m, c.b, c.poses[next].m, &options, contacts.data(),
                       static_cast<std::int64_t>(contacts.size()), &result);
        sum += double(result.count);
        next = (next + 1) % kPoses;
    }
    state.counters["sum"] = sum / double(state.iterations());
}

enum Move { kTo, kTurn, kLift };

/// From 30 away to the pose and 10 beyond, along x or, where it comes to lie on the other body,
/// down; or a quarter turn about x at the pose; or up from where it lies.
void Impact(benchmark::State& state, int situation, Move move)
{
    const Case& c = GetCase(situation, static_cast<int>(state.range(0)));
    scapi_motion still{};
    const Pose rest = MakePose(0, 0);
    std::copy(rest.m, rest.m + 12, still.start);
    scapi_options options = AtAThousandth();
    options.resolution = 4e-5;
    double sum = 0, tests = 0, clearance = 0;
    std::size_t next = 0;
    for (auto _ : state) {
        scapi_motion motion = still;
        std::copy(c.poses[next].m, c.poses[next].m + 12, motion.start);
        if (move == kTurn) {
            motion.axis[0] = 1, motion.angle = 1.5707963267948966;
        } else if (move == kLift) {
            motion.path[2] = 40, options.flags = SCAPI_IGNORE_START_CONTACT;
        } else {
            const int axis = situation == kLying ? 2 : 0;
            motion.start[4 * axis + 3] += 30, motion.path[axis] = -40;
        }
        scapi_impact result{};
        scapi_time_of_impact(Query(), c.a, &still, c.b, &motion, &options, &result);
        sum += result.t_clear, tests += double(result.tests), clearance += result.clearance;
        next = (next + 1) % kPoses;
    }
    state.counters["sum"] = sum / double(state.iterations());
    state.counters["clearance"] = clearance / double(state.iterations());
    state.counters["tests"] = tests / double(state.iterations());
}

void Make(benchmark::State& state)
{
    const int triangles = static_cast<int>(state.range(0));
    Write(kNear, triangles, false);
    double bytes = 0;
    for (auto _ : state) {
        scapi_mesh* mesh = Load(kNear, triangles, false);
        state.PauseTiming();
        scapi_mesh_info info{};
        scapi_mesh_get_info(mesh, &info);
        bytes = double(info.bytes) / double(info.triangles);
        scapi_mesh_release(mesh);
        state.ResumeTiming();
    }
    state.counters["bytes_per_triangle"] = bytes;
}

void Diagnose(benchmark::State& state, bool crossings)
{
    const Case& c = GetCase(kNear, static_cast<int>(state.range(0)));
    scapi_diagnose_options options{};
    options.size = sizeof options;
    options.flags = crossings ? SCAPI_SELF_CROSSINGS : 0;
    double sum = 0;
    for (auto _ : state) {
        scapi_diagnosis diagnosis{};
        scapi_diagnose(c.a, &options, &diagnosis);
        sum += double(diagnosis.edges + diagnosis.self_crossings.count);
    }
    state.counters["sum"] = sum / double(state.iterations());
}

#ifdef BENCH_WITH_FCL

using Model = fcl::BVHModel<fcl::OBBRSSd>;

std::shared_ptr<Model> ModelOf(const scapi_mesh* mesh)
{
    static std::map<const scapi_mesh*, std::shared_ptr<Model>> models;
    std::shared_ptr<Model>& model = models[mesh];
    if (model) return model;
    scapi_mesh_info info{};
    scapi_mesh_get_info(mesh, &info);
    std::vector<float> vertices(static_cast<std::size_t>(9 * info.triangles));
    std::vector<std::int32_t> indices(static_cast<std::size_t>(3 * info.triangles));
    const auto count = scapi_mesh_indexed(mesh, vertices.data(), indices.data());
    std::vector<fcl::Vector3d> points;
    for (std::size_t v = 0; v < static_cast<std::size_t>(count); ++v)
        points.emplace_back(vertices[3 * v], vertices[3 * v + 1], vertices[3 * v + 2]);
    std::vector<fcl::Triangle> triangles;
    for (std::size_t t = 0; t < indices.size(); t += 3)
        triangles.emplace_back(indices[t], indices[t + 1], indices[t + 2]);
    model = std::make_shared<Model>();
    model->beginModel();
    model->addSubModel(points, triangles);
    model->endModel();
    return model;
}

fcl::Transform3d TransformOf(const Pose& pose)
{
    fcl::Transform3d transform = fcl::Transform3d::Identity();
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 4; ++j) transform.matrix()(i, j) = pose.m[4 * i + j];
    return transform;
}

void Fcl(benchmark::State& state, int situation, bool distance)
{
    const Case& c = GetCase(situation, static_cast<int>(state.range(0)));
    const auto a = ModelOf(c.a), b = ModelOf(c.b);
    const fcl::Transform3d still = fcl::Transform3d::Identity();
    double sum = 0;
    std::size_t next = 0;
    for (auto _ : state) {
        const fcl::Transform3d pose = TransformOf(c.poses[next]);
        if (distance) {
            fcl::DistanceRequestd request;
            fcl::DistanceResultd result;
            sum += fcl::distance(a.get(), still, b.get(), pose, request, result);
        } else {
            fcl::CollisionRequestd request;
            fcl::CollisionResultd result;
            sum += fcl::collide(a.get(), still, b.get(), pose, request, result) > 0;
        }
        next = (next + 1) % kPoses;
    }
    state.counters["sum"] = sum / double(state.iterations());
}

#endif

void Register(int situation, const std::string& name)
{
    const auto add = [=](const std::string& row, auto&& run) {
        auto* rows = benchmark::RegisterBenchmark(row.c_str(), run)->Unit(benchmark::kMicrosecond);
        if (situation < kFiles)
            rows->RangeMultiplier(10)->Range(1000, 1000000);
        else
            rows->Arg(static_cast<int>(InfoOf(GetCase(situation, 0).a).triangles));
    };
    add("within/" + name, [=](benchmark::State& s) { Within(s, situation); });
    add("distance/" + name, [=](benchmark::State& s) { Closest(s, situation); });
    if (situation == kHit || situation == kLying)
        add("contacts/" + name, [=](benchmark::State& s) { Contacts(s, situation); });
    add("straight/" + name, [=](benchmark::State& s) { Impact(s, situation, kTo); });
    if (situation == kLying)
        add("lift/" + name, [=](benchmark::State& s) { Impact(s, situation, kLift); });
    if (situation != kHit && situation != kLying)
        add("quarter_turn/" + name, [=](benchmark::State& s) { Impact(s, situation, kTurn); });
#ifdef BENCH_WITH_FCL
    add("fcl_collide/" + name, [=](benchmark::State& s) { Fcl(s, situation, false); });
    add("fcl_distance/" + name, [=](benchmark::State& s) { Fcl(s, situation, true); });
#endif
}

} // namespace

int main(int count, char** arguments)
{
    benchmark::Initialize(&count, arguments);
    for (int situation = 0; situation < kFiles; ++situation) Register(situation, kNames[situation]);
    for (int i = 1; i + 1 < count; i += 2) {
        files.push_back({arguments[i], arguments[i + 1]});
        const auto stem = [&](int k) {
            return std::filesystem::path(arguments[k]).stem().string();
        };
        Register(kFiles + i / 2, stem(i) + "+" + stem(i + 1));
    }
    const auto add = [](const char* row, auto&& run) {
        benchmark::RegisterBenchmark(row, run)
            ->RangeMultiplier(10)
            ->Range(1000, 1000000)
            ->Unit(benchmark::kMillisecond);
    };
    add("make_mesh", Make);
    add("diagnose", [](benchmark::State& s) { Diagnose(s, false); });
    add("diagnose_self_crossings", [](benchmark::State& s) { Diagnose(s, true); });
    benchmark::RunSpecifiedBenchmarks();
}
