// Meshes for tests, files of them, and what must hold of a solid at any time.
#ifndef SCAPI_TESTS_MESHES_H
#define SCAPI_TESTS_MESHES_H

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "scapi/solid.h"

using Point = std::array<float, 3>;
using Triangle = std::array<Point, 3>;
using Mesh = std::vector<Triangle>;

/// Names for the private methods of a solid.
struct SolidInternals {
    static int WalkPlainly(SOLIDC& a, SOLIDC& b) { return a.IntersectWithEdgesFrom(&b); }
    static int GetSweptEdge(SOLIDC& s, int triangle, int piece, float (*out)[3])
    {
        return s.GetSweptEdge(triangle, piece, out);
    }
    /// Every piece that a triangle and an edge of these numbers can give.
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
/// A closed, bumpy sphere round the origin, of about 4 * rings * rings triangles.
Mesh SphereMesh(int rings, float radius);
/// A closed tube round the z axis from z = 0, of 4 * `quarter` columns of long thin triangles.
Mesh TubeMesh(int quarter, float inner, float outer, float height);
/// `count` random triangles in a cube of the given size.
Mesh SoupMesh(unsigned seed, int count, float size);

std::string BinaryStl(const Mesh& mesh);
std::string TextStl(const Mesh& mesh);

/// A file that lives as long as this object.
struct TemporaryFile {
    std::string path;
    explicit TemporaryFile(const std::string& content, const std::string& name = "mesh.stl");
    ~TemporaryFile();
    unsigned char* Path() { return reinterpret_cast<unsigned char*>(path.data()); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
};

/// A solid with its triangles, their boxes, bbox and tolerance, and nothing built.
std::unique_ptr<SOLIDC> BareSolid(const Mesh& mesh, int simple = 0);
/// The same as a load leaves it.
std::unique_ptr<SOLIDC> LoadedSolid(const Mesh& mesh, int simple = 0);

/// Each edge has two triangles that name it and run it in opposite directions, each side names an
/// edge, and the use counts sum up.
void ExpectClosedMesh(const SOLIDC& solid);
/// No edge of a full solid exceeds octreeCellSize.
void ExpectRefined(const SOLIDC& solid);
/// FNV-1a over the arrays and boxes of a solid.
std::uint64_t Digest(const SOLIDC& solid);

using Matrix = std::array<std::array<float, 4>, 4>;
inline float (*Rows(Matrix& m))[4] { return reinterpret_cast<float(*)[4]>(m.data()); }
Matrix Translation(float x, float y, float z);

#endif
