#include "refine/size_ratio.h"

#include <algorithm>
#include <cmath>

#include "geometry/bbox.h"
#include "geometry/vector.h"
#include "mesh/memory.h"

namespace
{

constexpr int kMostPieces = 1000000;

/// Distance from a coordinate to the next float away from zero; infinite where there is none.
double FloatStep(float magnitude)
{
    if (!std::isfinite(magnitude)) return HUGE_VAL;
    return double(std::nextafter(magnitude, HUGE_VALF)) - magnitude;
}

/// Without two float steps in the limit a half can come out as large as the whole, and refinement
/// would never end.
bool IsReachable(float limit, double low, double high)
{
    const auto farthest = float(std::max(std::fabs(low), std::fabs(high)));
    return !(limit < 2 * FloatStep(farthest));
}

} // namespace

SizeLimit MakeSizeLimit(const SOLIDC& solid, const float* limit)
{
    SizeLimit result{};
    // What holds every element that will be judged. The bbox alone does, but after a rotation, and
    // in a solid from a cache file that contradicts itself.
    float bbox[6];
    std::copy_n(solid.bbox, 6, bbox);
    for (int t = 0; t < solid.triangleCount; ++t)
        for (const auto& corner : solid.triangles[t].corners) ExtendBbox(bbox, corner);
    for (int v = 0; v < solid.vertexCount; ++v) ExtendBbox(bbox, solid.vertices[v].position);
    for (int axis = 0; axis < 3; ++axis) {
        result.size[axis] = limit[axis];
        // Without any extent the ratio stays 0/0: LargestAxis knows what to make of that.
        result.reachable[axis] =
            !(Extent(bbox, axis) > 0) || IsReachable(limit[axis], bbox[axis], bbox[axis + 3]);
    }
    return result;
}

Cut DecideCut(const SizeLimit& limit, const float* box)
{
    float ratio[3];
    for (int axis = 0; axis < 3; ++axis)
        ratio[axis] = limit.reachable[axis] ? float(Extent(box, axis) / limit.size[axis]) : 0.0f;
    const int axis = LargestAxis(ratio);
    if (!(ratio[axis] > 1.0f)) return {axis, 0, ratio[axis]};
    return {axis, ClampToInt(std::ceil(double(ratio[axis])), 2, kMostPieces), ratio[axis]};
}
