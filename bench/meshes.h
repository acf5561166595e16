// Meshes to measure with, written as STL files.
#ifndef SCAPI_BENCH_MESHES_H
#define SCAPI_BENCH_MESHES_H

#include <string>

/// Writes a closed, bumpy sphere of about `triangles` triangles, radius 100. @return their number
int WriteSphere(const std::string& path, int triangles, bool text);

#endif
