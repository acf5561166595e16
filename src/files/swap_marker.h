// A path may end in a marker that is no part of the file's name and cycles the axes of what is read
// from it.
#ifndef SCAPI_FILES_SWAP_MARKER_H
#define SCAPI_FILES_SWAP_MARKER_H

#include <string>

/// Whether a path ends in a marker, without a trace of it: for readers on many threads.
/// @param name  takes the path without its marker
/// @return the cycle, numbered as StlSwapMode is
int FindSwapMarker(const char* path, std::string& name);

/// Cycles a triple: (y, z, x) in mode 1, (z, x, y) in mode 2, not at all in mode 0.
void CycleAxes(float* triple, int mode);

/// Of the path last stripped: 0 no cycle, 1 "(STL_SWAP_ZXY)", 2 "(STL_SWAP_YZX)".
extern int StlSwapMode;

/// Sets StlSwapMode and returns the path without its marker. Only the first occurrence of a marker
/// counts, and only at the path's end.
std::string StlStripSwapMarker(const char* path);

/// Cycles a triple as StlSwapMode tells: (y, z, x) in mode 1, (z, x, y) in mode 2.
void CycleAxes(float* triple);

#endif
