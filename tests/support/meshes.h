// Meshes for tests, STL files of them, and checks of a solid's invariants.
#ifndef SCAPI_TESTS_MESHES_H
#define SCAPI_TESTS_MESHES_H

#include <array>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "scapi/solid.h"

using Point = std::array<float, 3>;
using Triangle = std::array<Point, 3>;
using Mesh = std::vector<Triangle>;

/// Access to the private methods of a solid.
struct SolidInternals {
    static int WalkPlainly(SOLIDC& a, SOLIDC& b) { return a.IntersectWithEdgesFrom(&b); }
    static int GetSweptEdge(SOLIDC& s, int triangle, int piece, float (*out)[3])
    {
        return s.GetSweptEdge(triangle, piece, out);
    }
    /// Runs every piece getter with these indices, in range or not. @return the sum of the results
    static int AllPieces(SOLIDC& s, int triangle, int part, float (*out)[3])
    {
        return s.GetTriangleEdge(triangle, part, out) + s.GetSweptEdge(triangle, part, out) +
               s.GetSweptTriangle(triangle, part, out) + s.GetSweptEdgeTriangle(part, 1, out) +
               s.EdgeNeedsSweep(triangle, part) + s.EdgeIntersectingBbox(out, s.bbox) +
               s.TriangleIntersectingBbox(out, s.bbox);
    }
    static int Invert(SOLIDC& s) { return s.InvertTreeTriangle(0); }
    static int AddTriangle(SOLIDC& s, Triangle t)
    {
        return s.AddTriangle(t[0].data(), t[1].data(), t[2].data());
    }
};

Mesh BoxMesh(const Point& low, const Point& high);
/// A closed sphere with bumps, centred on the origin, of about 4 * rings * rings triangles.
Mesh SphereMesh(int rings, float radius);
/// A closed tube around the z axis, from z = 0 upwards, of 4 * `quarter` columns of thin triangles.
Mesh TubeMesh(int quarter, float inner, float outer, float height);
/// A tetrahedron with the triangles (A, X, B) and (B, Y, A) on the edge from A to B.
Mesh TetraMesh(const Point& A, const Point& B, const Point& X, const Point& Y);
/// `count` random triangles in the cube from 0 to `size`.
Mesh SoupMesh(unsigned seed, int count, float size);

Mesh Joined(std::initializer_list<Mesh> meshes);
/// With the winding of every `every`-th triangle reversed.
Mesh Flipped(Mesh mesh, std::size_t every = 1);

std::string ReadFile(const std::string& path);
std::string BinaryStl(const Mesh& mesh);
std::string TextStl(const Mesh& mesh);

/// A file in a folder of its own, removed with this object.
struct TemporaryFile {
    std::string path;
    explicit TemporaryFile(const std::string& content, const std::string& name = "mesh.stl");
    ~TemporaryFile();
    unsigned char* Path() { return reinterpret_cast<unsigned char*>(path.data()); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
};

/// A solid with triangles, their boxes, bbox and tolerance, without lists or octree.
std::unique_ptr<SOLIDC> BareSolid(const Mesh& mesh, int simple = 0);
/// The same with lists and octree, as after a load.
std::unique_ptr<SOLIDC> LoadedSolid(const Mesh& mesh, int simple = 0);

/// Each edge has two triangles that refer to it and run it in opposite directions, and edge and use
/// counts match the number of triangles.
void ExpectClosedMesh(const SOLIDC& solid);
/// No edge of a full solid exceeds octreeCellSize.
void ExpectRefined(const SOLIDC& solid);
/// FNV-1a hash of the arrays and boxes of a solid.
std::uint64_t Digest(const SOLIDC& solid);

using Matrix = std::array<std::array<float, 4>, 4>;
inline float (*Rows(Matrix& m))[4] { return reinterpret_cast<float(*)[4]>(m.data()); }
Matrix Translation(float x, float y, float z);

#endif
