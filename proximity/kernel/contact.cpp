#include <algorithm>
#include <cmath>

#include "exact/intersection.h"
#include "exact/predicates.h"
#include "kernel/shared_points.h"
#include "kernel/triangle_pair.h"

namespace proximity
{
namespace
{

constexpr int Next(int corner) { return (corner + 1) % 3; }

/// Sides of a plane on which the corners of a triangle lie.
struct Sides {
    int of[3];

    bool AreOne() const { return of[0] == of[1] && of[1] == of[2]; }
    bool AreBoth() const { return Has(1) && Has(-1); }
    bool Has(int side) const { return of[0] == side || of[1] == side || of[2] == side; }

    /// The corner that is alone on its side of the plane. @pre AreBoth()
    int Alone() const
    {
        for (int i = 0; i < 2; ++i)
            if (of[i] && of[i] != of[Next(i)] && of[i] != of[Next(Next(i))]) return i;
        return 2;
    }
};

Sides SidesOf(const Triangle& t, const Triangle& plane)
{
    Sides out;
    const auto* c = plane.corner;
    for (int i = 0; i < 3; ++i) out.of[i] = Orient3d(c[0], c[1], c[2], t.corner[i]);
    return out;
}

/// Each triangle has corners strictly on both sides of the other's plane. Then each cuts a segment
/// out of the line in which the planes meet; do the insides of those overlap? Guigue and Devillers,
/// "Fast and Robust Triangle-Triangle Overlap Test Using Orientation Predicates" (2003): with the
/// lone corner first, on the positive side of the other's plane, two signs tell.
bool CutsOverlap(const Triangle& a, const Sides& sidesA, const Triangle& b, const Sides& sidesB)
{
    const int i = sidesA.Alone(), j = sidesB.Alone();
    const double *a0 = a.corner[i], *a1 = a.corner[Next(i)], *a2 = a.corner[Next(Next(i))];
    const double *b0 = b.corner[j], *b1 = b.corner[Next(j)], *b2 = b.corner[Next(Next(j))];
    if (sidesA.of[i] < 0) std::swap(b1, b2);
    if (sidesB.of[j] < 0) std::swap(a1, a2);
    return Orient3d(a1, b0, a0, b1) < 0 && Orient3d(a0, b0, a2, b2) < 0;
}

/// Does a degenerate triangle, as an open segment, pass through the inside of a face?
bool SegmentCrosses(const Triangle& segment, const Triangle& face)
{
    int axis = 0;
    const auto* c = segment.corner;
    while (axis < 2 && c[0][axis] == c[1][axis] && c[1][axis] == c[2][axis]) ++axis;
    const auto less = [axis](const double* x, const double* y) { return x[axis] < y[axis]; };
    const double* p = std::min({c[0], c[1], c[2]}, less);
    const double* q = std::max({c[0], c[1], c[2]}, less);
    const auto* f = face.corner;
    if (Orient3d(f[0], f[1], f[2], p) * Orient3d(f[0], f[1], f[2], q) >= 0) return false;
    const Sides passes{
        {Orient3d(p, q, f[0], f[1]), Orient3d(p, q, f[1], f[2]), Orient3d(p, q, f[2], f[0])}};
    return passes.AreOne() && passes.of[0] != 0;
}

/// In one plane: does an edge of `t` keep all of `other` on the outer side, or on its line?
bool EdgeSeparates(const Triangle& t, const Triangle& other, int axis)
{
    const auto *c = t.corner, *o = other.corner;
    const int turn = Orient2d(c[0], c[1], c[2], axis);
    for (int i = 0; i < 3; ++i) {
        bool outside = true;
        for (int j = 0; j < 3 && outside; ++j)
            outside = Orient2d(c[i], c[Next(i)], o[j], axis) * turn <= 0;
        if (outside) return true;
    }
    return false;
}

/// Do the interiors cross? Of a degenerate triangle, which has no plane, the open segment.
bool InteriorsCross(const Triangle& a, const Sides& sidesA, const Triangle& b, const Sides& sidesB)
{
    if (sidesA.AreBoth() && sidesB.AreBoth()) return CutsOverlap(a, sidesA, b, sidesB);
    // What is degenerate has no sides.
    if (!sidesA.AreOne() && !sidesB.AreOne()) return false;
    const bool isSegmentA = IsDegenerate(a.corner);
    if (isSegmentA == IsDegenerate(b.corner)) return false;
    return isSegmentA ? SegmentCrosses(a, b) : SegmentCrosses(b, a);
}

bool AreOnOneSide(const Sides& sides) { return sides.AreOne() && sides.of[0] != 0; }

/// Do two faces overlap in one plane? @pre  neither is on one side of the other's plane
bool AreaIsShared(const Triangle& a, const Sides& sidesA, const Triangle& b)
{
    if (!sidesA.AreOne()) return false;
    // Where b is degenerate it turns no way, so that its edges separate.
    const int axis = ProjectionAxis(a.corner);
    return axis >= 0 && !EdgeSeparates(a, b, axis) && !EdgeSeparates(b, a, axis);
}

PairRelation RelationOf(const Triangle& a, const Triangle& b)
{
    const Sides sidesA = SidesOf(a, b);
    if (AreOnOneSide(sidesA)) return PairRelation::kApart;
    const Sides sidesB = SidesOf(b, a);
    if (AreOnOneSide(sidesB)) return PairRelation::kApart;
    if (InteriorsCross(a, sidesA, b, sidesB)) return PairRelation::kCrossing;
    if (AreaIsShared(a, sidesA, b)) return PairRelation::kCoplanar;
    return TrianglesMeet(a.corner, b.corner) ? PairRelation::kTouching : PairRelation::kApart;
}

/// Neither the difference nor its square may overflow, or vanish.
double HalfDistance(const double* p, const double* q)
{
    return std::hypot(q[0] / 2 - p[0] / 2, q[1] / 2 - p[1] / 2, q[2] / 2 - p[2] / 2);
}

/// The two points farthest from each other.
void SetSegment(const SharedPoints& shared, double (*out)[3])
{
    int first = 0, second = 0;
    double most = 0;
    for (int m = 0; m < shared.count; ++m)
        for (int n = m + 1; n < shared.count; ++n) {
            const double distance = HalfDistance(shared.point[m], shared.point[n]);
            if (most < distance) most = distance, first = m, second = n;
        }
    std::copy(shared.point[first], shared.point[first] + 3, out[0]);
    std::copy(shared.point[second], shared.point[second] + 3, out[1]);
}

} // namespace

bool InteriorsCross(const Triangle& a, const Triangle& b)
{
    const Sides sidesA = SidesOf(a, b);
    if (AreOnOneSide(sidesA)) return false;
    // What lies in a plane crosses nothing in it.
    if (sidesA.AreOne() && !IsDegenerate(b.corner)) return false;
    const Sides sidesB = SidesOf(b, a);
    return !AreOnOneSide(sidesB) && InteriorsCross(a, sidesA, b, sidesB);
}

bool InteriorsMeet(const Triangle& a, const Triangle& b)
{
    const Sides sidesA = SidesOf(a, b);
    if (AreOnOneSide(sidesA)) return false;
    const Sides sidesB = SidesOf(b, a);
    if (AreOnOneSide(sidesB)) return false;
    return InteriorsCross(a, sidesA, b, sidesB) || AreaIsShared(a, sidesA, b);
}

PairContact ContactOf(const Triangle& a, const Triangle& b)
{
    PairContact out{};
    out.relation = RelationOf(a, b);
    if (out.relation == PairRelation::kApart) return out;
    SharedPoints shared;
    SetSharedPoints(a, b, shared);
    SetSegment(shared, out.segment);
    std::copy(shared.mean, shared.mean + 3, out.point);
    return out;
}

} // namespace proximity
