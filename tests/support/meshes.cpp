#include "support/meshes.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>

#include "geometry/bbox.h"
#include "geometry/vector.h"
#include "mesh/finish.h"
#include "mesh/memory.h"
#include "mesh/triangle.h"
#include "support/grid.h"

Mesh BoxMesh(const Point& low, const Point& high)
{
    Mesh mesh;
    for (std::size_t axis = 0; axis < 3; ++axis)
        for (const bool upper : {false, true}) {
            const std::size_t u = (axis + 1) % 3, v = (axis + 2) % 3;
            Point p00 = low, p10 = low, p11 = high, p01 = low;
            p10[u] = high[u], p01[v] = high[v];
            for (Point* p : {&p00, &p10, &p11, &p01}) (*p)[axis] = upper ? high[axis] : low[axis];
            if (!upper) std::swap(p10, p01);
            mesh.push_back({p00, p10, p11});
            mesh.push_back({p00, p11, p01});
        }
    return mesh;
}

/// A point of the unit circle: `sector` of 4 * `quarter`. Without sine and cosine, which round
/// differently from platform to platform.
static std::array<double, 2> OnCircle(int sector, int quarter)
{
    const double t = double(sector % quarter) / quarter;
    const double c = (1 - t * t) / (1 + t * t), s = 2 * t / (1 + t * t);
    const std::array<double, 4> x{c, -s, -c, s}, y{s, c, -s, -c};
    const auto quadrant = static_cast<std::size_t>(sector / quarter % 4);
    return {x[quadrant], y[quadrant]};
}

Mesh TubeMesh(int quarter, float inner, float outer, float height)
{
    const auto at = [&](int sector, int corner) -> Point {
        const auto [x, y] = OnCircle(sector, quarter);
        const double radius = corner % 4 == 0 || corner % 4 == 3 ? outer : inner;
        return {static_cast<float>(radius * x), static_cast<float>(radius * y),
                corner % 4 < 2 ? height : 0};
    };
    return GridMesh(4 * quarter, 4, at);
}

Mesh SphereMesh(int rings, float radius)
{
    const int quarter = (rings + 1) / 2, sectors = 4 * quarter;
    const auto at = [&](int ring, int sector) -> Point {
        const double height = 1 - 2.0 * ring / rings, width = std::sqrt(1 - height * height);
        const auto [x, y] = OnCircle(sector, quarter);
        const double bump = radius * (1 + 0.02 * ((7 * ring + 3 * (sector % sectors)) % 5));
        if (ring == 0 || ring == rings) return {0, 0, static_cast<float>(radius * height)};
        return {static_cast<float>(bump * width * x), static_cast<float>(bump * width * y),
                static_cast<float>(bump * height)};
    };
    return GridMesh(rings, sectors, at);
}

Mesh TetraMesh(const Point& A, const Point& B, const Point& X, const Point& Y)
{
    return {{A, X, B}, {B, Y, A}, {A, Y, X}, {B, X, Y}};
}

Mesh Joined(std::initializer_list<Mesh> meshes)
{
    Mesh all;
    for (const Mesh& mesh : meshes) all.insert(all.end(), mesh.begin(), mesh.end());
    return all;
}

Mesh Flipped(Mesh mesh, std::size_t every)
{
    for (std::size_t i = 0; i < mesh.size(); i += every) std::swap(mesh[i][1], mesh[i][2]);
    return mesh;
}

Mesh SoupMesh(unsigned seed, int count, float size)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> coordinate(0, size);
    Mesh mesh(static_cast<std::size_t>(count));
    for (Triangle& triangle : mesh)
        for (Point& corner : triangle)
            for (float& x : corner) x = coordinate(random);
    return mesh;
}

std::string ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string BinaryStl(const Mesh& mesh)
{
    std::string bytes(80, ' ');
    const auto put = [&](const void* data, std::size_t size) {
        bytes.append(static_cast<const char*>(data), size);
    };
    const auto count = static_cast<std::int32_t>(mesh.size());
    put(&count, sizeof count);
    for (const Triangle& triangle : mesh) {
        const float normal[3] = {0, 0, 0};
        put(normal, sizeof normal);
        put(triangle.data(), sizeof triangle);
        bytes.append(2, '\0');
    }
    return bytes;
}

std::string TextStl(const Mesh& mesh)
{
    std::ostringstream text;
    text.precision(9);
    text << "solid test\n";
    for (const Triangle& t : mesh) {
        text << "facet normal 0 0 0\nouter loop\n";
        for (const Point& p : t) text << "vertex " << p[0] << ' ' << p[1] << ' ' << p[2] << '\n';
        text << "endloop\nendfacet\n";
    }
    text << "endsolid test\n";
    return text.str();
}

TemporaryFile::TemporaryFile(const std::string& content, const std::string& name)
{
    static int number = 0;
    const auto folder = std::filesystem::temp_directory_path() /
                        ("scapi_test_" + std::to_string(getpid()) + "_" + std::to_string(++number));
    std::filesystem::remove_all(folder); // of a process of this number that was killed
    std::filesystem::create_directories(folder);
    path = (folder / name).generic_string();
    std::ofstream(path, std::ios::binary) << content;
}

TemporaryFile::~TemporaryFile()
{
    std::filesystem::remove_all(std::filesystem::path(path).parent_path());
}

std::unique_ptr<SOLIDC> BareSolid(const Mesh& mesh, int simple)
{
    auto solid = std::make_unique<SOLIDC>();
    solid->isSimple = simple;
    solid->triangleCapacity = static_cast<int>(mesh.size()) + 16;
    solid->triangles = AllocateTriangles(solid->triangleCapacity);
    for (const Triangle& triangle : mesh) {
        SolidInternals::AddTriangle(*solid, triangle);
        MergeBbox(solid->bbox, solid->triangles[solid->triangleCount - 1].bbox);
    }
    solid->baseTriangleCount = solid->triangleCount;
    solid->tolerance = float(distance(solid->bbox, solid->bbox + 3) * 2e-7f);
    return solid;
}

std::unique_ptr<SOLIDC> LoadedSolid(const Mesh& mesh, int simple)
{
    auto solid = BareSolid(mesh, simple);
    FinishLoad(*solid);
    return solid;
}

void ExpectClosedMesh(const SOLIDC& solid)
{
    int corners = 0;
    for (int v = 0; v < solid.vertexCount; ++v) corners += solid.vertices[v].useCount;
    EXPECT_EQ(corners, 3 * solid.triangleCount);
    EXPECT_EQ(2 * solid.edgeCount, 3 * solid.triangleCount);
    for (int e = 0; e < solid.edgeCount; ++e)
        for (int side = 0; side < 2; ++side) {
            const EdgeRec& edge = solid.edges[e];
            const T_LIST& triangle = solid.triangles[edge.triangle[side]];
            const int slot = SlotOfEdge(triangle, e);
            ASSERT_EQ(triangle.edge[slot], e);
            ASSERT_EQ(triangle.vertex[slot], edge.vertex[side]) << "edge " << e;
            ASSERT_EQ(triangle.vertex[PreviousSlot(slot)], edge.vertex[1 - side]) << "edge " << e;
        }
}

void ExpectRefined(const SOLIDC& solid)
{
    for (int e = 0; e < solid.edgeCount; ++e)
        for (int axis = 0; axis < 3; ++axis) {
            const float a = solid.vertices[solid.edges[e].vertex[0]].position[axis];
            const float b = solid.vertices[solid.edges[e].vertex[1]].position[axis];
            ASSERT_LE(float(std::fabs(double(a) - b) / solid.octreeCellSize[axis]), 1.0f)
                << "edge " << e << ", axis " << axis;
        }
}

std::uint64_t Digest(const SOLIDC& solid)
{
    std::uint64_t hash = 14695981039346656037u;
    const auto add = [&](const void* data, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i)
            hash = (hash ^ static_cast<const unsigned char*>(data)[i]) * 1099511628211u;
    };
    add(solid.triangles, sizeof(T_LIST) * static_cast<std::size_t>(solid.triangleCount));
    add(solid.vertices, sizeof(VertexRec) * static_cast<std::size_t>(solid.vertexCount));
    add(solid.edges, sizeof(EdgeRec) * static_cast<std::size_t>(solid.edgeCount));
    add(solid.bbox, sizeof solid.bbox);
    add(solid.sweepBbox, sizeof solid.sweepBbox);
    return hash;
}

Matrix Translation(float x, float y, float z)
{
    return {{{1, 0, 0, x}, {0, 1, 0, y}, {0, 0, 1, z}, {0, 0, 0, 1}}};
}
