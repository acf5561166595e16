// Meshes to measure with, written as STL files.
#ifndef SCAPI_BENCH_MESHES_H
#define SCAPI_BENCH_MESHES_H

#include <string>

/// Writes a closed, bumpy sphere of about `triangles` triangles, radius 100. @return their number
int WriteSphere(const std::string& path, int triangles, bool text);

/// Writes a closed tube round the x axis, of about `triangles` triangles, long and thin ones.
void WriteTube(const std::string& path, int triangles, double inner, double outer, double length);

/// Writes a sphere of radius 10 of about `triangles` triangles, so small in a frame of 2,000 that
/// one cell of an octree holds it, with a cube beside it that has one facet without area, or none.
void WriteCrowded(const std::string& path, int triangles, bool withoutArea);

#endif
