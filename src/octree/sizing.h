#ifndef SCAPI_OCTREE_SIZING_H
#define SCAPI_OCTREE_SIZING_H

/// No tree is deeper: never more than nine calls deep.
constexpr int kMaxDepth = 8;

/// Levels below the root for a mesh: log2 of the square root of triangleCount / 200, rounded, but 0
/// up to 1000 triangles.
int OctreeDepthFor(int triangleCount);

#endif
