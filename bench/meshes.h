// Meshes to measure with, written as STL files.
#ifndef SCAPI_BENCH_MESHES_H
#define SCAPI_BENCH_MESHES_H

#include <string>

/// Writes a closed, bumpy sphere of about `triangles` triangles, radius 100. @return their number
int WriteSphere(const std::string& path, int triangles, bool text);

/// Writes a closed tube round the x axis, of about `triangles` triangles, long and thin ones.
void WriteTube(const std::string& path, int triangles, double inner, double outer, double length);

/// Writes a closed torus round the z axis, of about `triangles` triangles, bumpy in its thickness.
void WriteTorus(const std::string& path, int triangles, double radius, double thickness);

/// Writes closed cubes round each other, 12 triangles each: many refined triangles from few.
void WriteNestedCubes(const std::string& path, int cubes);

/// Writes a closed gear round the z axis of about `triangles` triangles: fans on its faces.
void WriteGear(const std::string& path, int triangles);

/// Writes a closed plate of about `triangles` triangles, a grid on its faces. Beside its front
/// edges stand `needles` pairs of triangles that are thinner than the distance within which corners
/// merge.
void WritePlate(const std::string& path, int triangles, int needles);

/// Writes a sphere of radius 10 of about `triangles` triangles, so small in a frame of 2,000 that
/// one cell of an octree holds it, with a cube beside it that has one facet without area, or none.
void WriteCrowded(const std::string& path, int triangles, bool withoutArea);

#endif
