#include <algorithm>
#include <array>

#include "geometry/vector.h"
#include "mesh/finish.h"
#include "mesh/memory.h"

namespace
{

constexpr int kSegments = 32;
constexpr int kTriangles = 4 * kSegments;

// Cosine and sine of i / 16 * 3.14159274f for i = 0 to 32, correctly rounded: a table, because math
// libraries differ in the last bit. The float is above pi, so the last ring lies 1.75e-7 * radius
// beyond the first one. The tolerance of the solid is at least 4e-7 * radius, so that merging
// vertices closes the mesh.
constexpr std::array<std::array<double, 2>, kSegments + 1> kAngles{{
    {{1.0, 0.0}},
    {{0.9807852793372718, 0.19509032737506427}},
    {{0.9238795283293805, 0.38268344246110436}},
    {{0.8314696031957649, 0.5555702466488618}},
    {{0.7071067657322372, 0.7071067966408575}},
    {{0.5555702103041692, 0.8314696274805119}},
    {{0.38268340207704565, 0.9238795450570049}},
    {{0.1950902845035762, 0.9807852878649402}},
    {{-4.371139000186241e-08, 0.999999999999999}},
    {{-0.19509037024655193, 0.9807852708096014}},
    {{-0.3826834828451624, 0.9238795116017544}},
    {{-0.5555702829935534, 0.8314695789110165}},
    {{-0.7071068275494764, 0.7071067348236155}},
    {{-0.8314696517652572, 0.5555701739594755}},
    {{-0.9238795617846274, 0.38268336169298617}},
    {{-0.9807852963926068, 0.1950902416320878}},
    {{-0.9999999999999962, -8.742278000372475e-08}},
    {{-0.9807852622819293, -0.1950904131180392}},
    {{-0.9238794948741266, -0.38268352322921967}},
    {{-0.8314695546262664, -0.555570319338244}},
    {{-0.7071067039149926, -0.7071068584580941}},
    {{-0.5555701376147808, -0.831469676050001}},
    {{-0.38268332130892596, -0.9238795785122482}},
    {{-0.19509019876059902, -0.9807853049202715}},
    {{1.3113417000558692e-07, -0.9999999999999915}},
    {{0.19509045598952612, -0.9807852537542552}},
    {{0.3826835636132762, -0.923879478146497}},
    {{0.5555703556829333, -0.8314695303415146}},
    {{0.7071068893667103, -0.7071066730063682}},
    {{0.8314697003347431, -0.555570101270085}},
    {{0.9238795952398672, -0.38268328092486503}},
    {{0.9807853134479343, -0.19509015588910986}},
    {{0.9999999999999847, 1.7484556000744883e-07}},
}};

/// Two vectors perpendicular to the axis and to each other. `side` has unit length, `up` only up to
/// rounding.
struct CrossSection {
    float side[3], up[3];
};

CrossSection MakeCrossSection(const float* axisStart, const float* axisEnd)
{
    float axis[3], seedAxis[3] = {};
    Subtract(axisEnd, axisStart, axis);
    Normalise(axis);
    seedAxis[SmallestAxis(axis)] = 1.0f;
    CrossSection section{};
    cross(axis, seedAxis, section.side);
    Normalise(section.side);
    cross(section.side, axis, section.up);
    // The second normalisation (docs/behaviour.md) repeats `side` and leaves `up` as the cross
    // product. Normalising `up` would change the last bits of vertices in existing SLD files.
    Normalise(section.side);
    return section;
}

/// A point of the ring around `center`. @param angle  index into kAngles
void RingPoint(const CrossSection& section, const float* center, float radius, std::size_t angle,
               float* out)
{
    const auto [cosine, sine] = kAngles[angle];
    for (int axis = 0; axis < 3; ++axis)
        out[axis] =
            float(center[axis] + radius * (section.up[axis] * cosine + section.side[axis] * sine));
}

} // namespace

int SOLIDC::LoadCyl(float* const axisStart, float* const axisEnd, float radius)
{
    isSimple = 0;
    sourceTime = 0;
    Release_Octree();
    Release_Lists();
    triangles = AllocateTriangles(kTriangles);
    const CrossSection section = MakeCrossSection(axisStart, axisEnd);
    float lowPrev[3], highPrev[3], lowNext[3], highNext[3];
    RingPoint(section, axisStart, radius, 0, lowPrev);
    RingPoint(section, axisEnd, radius, 0, highPrev);
    for (std::size_t i = 1; i <= kSegments; ++i) {
        RingPoint(section, axisStart, radius, i, lowNext);
        RingPoint(section, axisEnd, radius, i, highNext);
        AddTriangle(axisStart, lowNext, lowPrev);
        AddTriangle(axisEnd, highPrev, highNext);
        AddTriangle(lowPrev, lowNext, highPrev);
        AddTriangle(highPrev, lowNext, highNext);
        for (int axis = 0; axis < 3; ++axis)
            lowPrev[axis] = lowNext[axis], highPrev[axis] = highNext[axis];
    }
    // Unsorted primitives (docs/behaviour.md): with empty boxes all sort keys are equal, so that
    // the triangles keep the order above. Refinement computes the boxes.
    for (int t = 0; t < triangleCount; ++t) std::fill_n(triangles[t].bbox, 6, 0.0f);
    FinishPrimitive(*this);
    return 0;
}
