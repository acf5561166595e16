#ifndef SCAPI_OCTREE_SIZING_H
#define SCAPI_OCTREE_SIZING_H

/// Depth limit of the leaves. Recursion over a tree is at most kMaxDepth + 1 calls deep.
constexpr int kMaxDepth = 8;

/// Octree depth for a mesh: 0 up to 1000 triangles, above that log2(sqrt(triangleCount / 200)),
/// rounded, at most kMaxDepth.
int OctreeDepthFor(int triangleCount);

#endif
