#include <memory>

#include "proximity/api/handles.h"
#include "proximity/api/options.h"
#include "proximity/mesh/read_stl.h"
#include "proximity/mesh/shapes.h"
#include "proximity/mesh/weld.h"
#include "proximity/query/diagnose.h"

using namespace proximity;

namespace
{

constexpr int kMostSegments = 100000;
constexpr std::int32_t kMostProfile = 1000000;

/// Checked, with scale filled in.
int ReadMeshOptions(const scapi_mesh_options* given, scapi_mesh_options& options)
{
    const int code = CopyOptions(given, SCAPI_SWAP_MARKERS, options);
    if (code != SCAPI_OK) return code;
    if (options.scale == 0) options.scale = 1;
    const bool good =
        options.scale > 0 && options.scale <= SCAPI_MAX_COORDINATE &&
        options.chord_tolerance >= 0 && options.reserved == 0 &&
        (options.segments == 0 || (3 <= options.segments && options.segments <= kMostSegments));
    return good ? SCAPI_OK : SCAPI_ERROR_OPTIONS;
}

/// Makes a mesh of what fill(options, triangles) gives.
template <class Fill>
int MakeMesh(const scapi_mesh_options* given, scapi_mesh_report* report, scapi_mesh** out,
             Fill fill)
{
    if (report) *report = {-1, 0};
    if (!out) return SCAPI_ERROR_NULL;
    *out = nullptr;
    return Guard([&]() -> int {
        scapi_mesh_options options;
        if (const int code = ReadMeshOptions(given, options); code != SCAPI_OK) return code;
        Triangles triangles;
        const Failure failure = fill(options, triangles);
        if (report) *report = {failure.facet, static_cast<std::int64_t>(triangles.size())};
        if (failure.code != SCAPI_OK) return failure.code;
        *out = new scapi_mesh(std::move(triangles));
        return SCAPI_OK;
    });
}

Failure CopyTriangles(const float* vertices, std::int64_t vertexCount, const std::int32_t* indices,
                      std::int64_t triangleCount, double scale, Triangles& triangles)
{
    if (triangleCount <= 0 || vertexCount <= 0) return {SCAPI_ERROR_EMPTY, -1};
    if (triangleCount > SCAPI_MAX_TRIANGLES) return {SCAPI_ERROR_TOO_MANY, -1};
    if (!indices && vertexCount / 3 < triangleCount) return {SCAPI_ERROR_INDEX, vertexCount / 3};
    triangles.reserve(static_cast<std::size_t>(triangleCount));
    for (std::int64_t t = 0; t < triangleCount; ++t) {
        FloatTriangle triangle;
        for (int corner = 0; corner < 3; ++corner) {
            const std::int64_t v = indices ? indices[3 * t + corner] : 3 * t + corner;
            if (v < 0 || v >= vertexCount) return {SCAPI_ERROR_INDEX, t};
            for (int axis = 0; axis < 3; ++axis)
                triangle.corner[corner][axis] = static_cast<float>(vertices[3 * v + axis] * scale);
        }
        if (!IsGoodTriangle(triangle)) return {SCAPI_ERROR_COORDINATE, t};
        triangles.push_back(triangle);
    }
    return {};
}

int MakeTurned(std::span<const ProfilePoint> profile, const scapi_mesh_options* options,
               scapi_mesh** out)
{
    return MakeMesh(options, nullptr, out,
                    [&](const scapi_mesh_options& read, Triangles& triangles) -> Failure {
                        const Chords chords{read.chord_tolerance, read.segments};
                        return {MakeRevolved(profile, chords, read.scale, triangles), -1};
                    });
}

} // namespace

extern "C" {

int scapi_mesh_from_stl(const char* path, const scapi_mesh_options* options,
                        scapi_mesh_report* report, scapi_mesh** out)
{
    return MakeMesh(
        options, report, out, [&](const scapi_mesh_options& read, Triangles& triangles) -> Failure {
            if (!path) return {SCAPI_ERROR_NULL, -1};
            return ReadStl(path, (read.flags & SCAPI_SWAP_MARKERS) != 0, read.scale, triangles);
        });
}

int scapi_mesh_from_arrays(const float* vertices, std::int64_t vertex_count,
                           const std::int32_t* indices, std::int64_t triangle_count,
                           const scapi_mesh_options* options, scapi_mesh_report* report,
                           scapi_mesh** out)
{
    return MakeMesh(options, report, out,
                    [&](const scapi_mesh_options& read, Triangles& triangles) -> Failure {
                        if (!vertices) return {SCAPI_ERROR_NULL, -1};
                        return CopyTriangles(vertices, vertex_count, indices, triangle_count,
                                             read.scale, triangles);
                    });
}

int scapi_mesh_box(const double low[3], const double high[3], const scapi_mesh_options* options,
                   scapi_mesh** out)
{
    return MakeMesh(options, nullptr, out,
                    [&](const scapi_mesh_options& read, Triangles& triangles) -> Failure {
                        if (!low || !high) return {SCAPI_ERROR_NULL, -1};
                        return {MakeBox(low, high, read.scale, triangles), -1};
                    });
}

int scapi_mesh_cylinder(double radius, double height, const scapi_mesh_options* options,
                        scapi_mesh** out)
{
    return scapi_mesh_cone(radius, radius, height, options, out);
}

int scapi_mesh_cone(double low_radius, double high_radius, double height,
                    const scapi_mesh_options* options, scapi_mesh** out)
{
    if (out) *out = nullptr;
    if (!(height > 0)) return SCAPI_ERROR_SHAPE;
    const ProfilePoint profile[] = {{low_radius, 0}, {high_radius, height}};
    return MakeTurned(profile, options, out);
}

int scapi_mesh_revolved(const double* profile, std::int32_t count,
                        const scapi_mesh_options* options, scapi_mesh** out)
{
    if (out) *out = nullptr;
    if (!profile) return SCAPI_ERROR_NULL;
    if (count < 2 || count > kMostProfile) return SCAPI_ERROR_SHAPE;
    return Guard([&] {
        std::vector<ProfilePoint> points;
        points.reserve(static_cast<std::size_t>(count));
        for (std::int32_t i = 0; i < count; ++i)
            points.push_back({profile[2 * i], profile[2 * i + 1]});
        return MakeTurned(points, options, out);
    });
}

void scapi_mesh_retain(scapi_mesh* mesh)
{
    if (mesh) mesh->references.fetch_add(1, std::memory_order_relaxed);
}

void scapi_mesh_release(scapi_mesh* mesh)
{
    // The last owner must see what the others did with it before they let go.
    if (mesh && mesh->references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete mesh;
}

int scapi_mesh_get_info(const scapi_mesh* mesh, scapi_mesh_info* info)
{
    if (!mesh || !info) return SCAPI_ERROR_NULL;
    *info = {};
    return Guard([&]() -> int {
        const Tree& tree = mesh->body.tree;
        const Topology& topology = mesh->body.GetTopology();
        info->triangles = static_cast<std::int64_t>(tree.triangle.size());
        info->bytes = static_cast<std::int64_t>(sizeof *mesh + tree.node.capacity() * sizeof(Node) +
                                                tree.triangle.capacity() * sizeof(FloatTriangle) +
                                                tree.source.capacity() * sizeof(std::int32_t) +
                                                topology.shellPoint.capacity() *
                                                    sizeof topology.shellPoint[0] +
                                                mesh->body.ExtentsBytes());
        std::copy(tree.low, tree.low + 3, info->low);
        std::copy(tree.high, tree.high + 3, info->high);
        info->closed = topology.closed;
        info->shells = static_cast<std::int32_t>(topology.shellPoint.size());
        return SCAPI_OK;
    });
}

std::int64_t scapi_mesh_triangles(const scapi_mesh* mesh, std::int64_t first, std::int64_t count,
                                  float* corners)
{
    if (!mesh || !corners) return SCAPI_ERROR_NULL;
    if (first < 0 || count < 0) return SCAPI_ERROR_INDEX;
    const Tree& tree = mesh->body.tree;
    const auto total = static_cast<std::int64_t>(tree.triangle.size());
    const std::int64_t last = first < total ? first + std::min(count, total - first) : first;
    if (first == last) return 0;
    // The tree keeps its own order; a part is picked out of all.
    for (std::size_t i = 0; i < tree.source.size(); ++i) {
        const std::int64_t source = tree.source[i];
        if (first <= source && source < last)
            std::memcpy(corners + 9 * (source - first), &tree.triangle[i], sizeof(FloatTriangle));
    }
    return last - first;
}

std::int64_t scapi_mesh_indexed(const scapi_mesh* mesh, float* vertices, std::int32_t* indices)
{
    if (!mesh) return SCAPI_ERROR_NULL;
    return Guard([&]() -> std::int64_t {
        const Tree& tree = mesh->body.tree;
        Triangles triangles(tree.triangle.size());
        for (std::size_t i = 0; i < triangles.size(); ++i)
            triangles[static_cast<std::size_t>(tree.source[i])] = tree.triangle[i];
        const Welded welded = WeldEqual(triangles);
        if (vertices)
            std::memcpy(vertices, welded.vertex.data(),
                        welded.vertex.size() * sizeof welded.vertex[0]);
        if (indices)
            std::memcpy(indices, welded.triangle.data(),
                        welded.triangle.size() * sizeof welded.triangle[0]);
        return static_cast<std::int64_t>(welded.vertex.size());
    });
}

int scapi_diagnose(const scapi_mesh* mesh, const scapi_diagnose_options* options,
                   scapi_diagnosis* result)
{
    if (!result) return SCAPI_ERROR_NULL;
    *result = {};
    if (!mesh) return SCAPI_ERROR_NULL;
    scapi_diagnose_options read;
    if (const int code = CopyOptions(options, SCAPI_SELF_CROSSINGS, read); code != SCAPI_OK)
        return code;
    if (!(0 <= read.weld && read.weld <= SCAPI_MAX_COORDINATE)) return SCAPI_ERROR_TOLERANCE;
    DiagnoseLimits limits{read.weld, (read.flags & SCAPI_SELF_CROSSINGS) != 0, 0};
    if (!ReadBudget(read.budget, limits.budget)) return SCAPI_ERROR_OPTIONS;
    return Guard([&]() -> int {
        *result = Diagnose(mesh->body, limits);
        return SCAPI_OK;
    });
}

} // extern "C"
