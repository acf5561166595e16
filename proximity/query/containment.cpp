#include "proximity/query/containment.h"

#include <algorithm>
#include <numbers>

#include "proximity/exact/predicates.h"
#include "proximity/kernel/angles.h"
#include "proximity/query/node_bounds.h"

namespace proximity
{
namespace
{

constexpr int kMostRays = 16;

/// From the point to beyond the body, in body coordinates.
struct Ray {
    Vec from, to;
};

struct Crossings {
    bool degenerate = false;
    int winding = 0;
};

/// Points all round, no two alike: a spiral of the golden angle on the sphere.
Vec Direction(int k)
{
    const double z = 1 - (2 * k + 1.0) / kMostRays;
    const double turn = k * std::numbers::pi * (3 - std::sqrt(5.0)) + 0.1234;
    const double radius = std::sqrt(1 - z * z);
    const auto [sine, cosine] = SineCosineOf(turn);
    return {{radius * cosine, radius * sine, z}};
}

/// Separating axes of a segment and a box (Ericson 2005, 5.3.3), with room for rounding.
bool MeetsBox(const Vec& middle, const Vec& half, const Vec& size, const Box& box, double slack)
{
    Vec m{};
    for (int i = 0; i < 3; ++i) m[i] = middle[i] - box.center[i];
    for (int i = 0; i < 3; ++i)
        if (std::fabs(m[i]) > box.half[i] + size[i] + slack) return false;
    for (int i = 0; i < 3; ++i) {
        const int j = (i + 1) % 3, k = (i + 2) % 3;
        if (std::fabs(m[j] * half[k] - m[k] * half[j]) >
            (box.half[j] + slack) * size[k] + (box.half[k] + slack) * size[j])
            return false;
    }
    return true;
}

void CountCrossing(const Ray& ray, const FloatTriangle& triangle, Crossings& crossings)
{
    double c[3][3];
    for (int i = 0; i < 3; ++i) std::copy(triangle.corner[i], triangle.corner[i] + 3, c[i]);
    int sign[3];
    for (int i = 0; i < 3; ++i) sign[i] = Orient3d(ray.from.x, ray.to.x, c[i], c[(i + 1) % 3]);
    const int most = std::max({sign[0], sign[1], sign[2]});
    const int least = std::min({sign[0], sign[1], sign[2]});
    if (most > 0 && least < 0) return; // the line passes by
    if (most == 0 || least == 0) {
        // Through an edge or a corner; or along the triangle.
        if (most * least == 0) crossings.degenerate = true;
        return;
    }
    const int from = Orient3d(c[0], c[1], c[2], ray.from.x);
    const int to = Orient3d(c[0], c[1], c[2], ray.to.x);
    if (from == 0 || to == 0) crossings.degenerate = true;
    if (from != to) crossings.winding += to;
}

Crossings CountCrossings(const Tree& tree, const Ray& ray)
{
    Vec middle = 0.5 * (ray.from + ray.to);
    const Vec half = 0.5 * (ray.to - ray.from);
    for (int i = 0; i < 3; ++i) middle[i] -= tree.center[i];
    const Vec size{{std::fabs(half[0]), std::fabs(half[1]), std::fabs(half[2])}};
    const double slack = 1e-12 * (SumOfSizes(half) + SumOfSizes(middle) + SumOfSizes(ray.to));
    Crossings crossings;
    std::vector<Handle> stack{kRoot};
    while (!stack.empty() && !crossings.degenerate) {
        const Handle at = stack.back();
        stack.pop_back();
        if (!MeetsBox(middle, half, size, tree.BoxOf(at), slack)) continue;
        const std::int32_t child = tree.Child(at);
        if (IsLeaf(child)) {
            const Leaf leaf = LeafOf(child);
            for (int i = leaf.first; i < leaf.first + leaf.count; ++i)
                CountCrossing(ray, tree.triangle[static_cast<std::size_t>(i)], crossings);
            continue;
        }
        for (int lane = 0; lane < kLanes; ++lane)
            if (tree.Child(HandleOf(child, lane)) != kNoChild)
                stack.push_back(HandleOf(child, lane));
    }
    return crossings;
}

bool IsInBox(const Tree& tree, const Vec& p)
{
    for (int axis = 0; axis < 3; ++axis)
        if (!(tree.low[axis] <= p[axis] && p[axis] <= tree.high[axis])) return false;
    return true;
}

/// The point of body coordinates that is placed at x. The inverse, not the transpose: a pose that
/// is rigid within 1e-6 only would move the point by more than rounding.
Vec BodyPoint(const Tree& tree, const Placement& placement, const Vec& x)
{
    const Mat& r = placement.rotation;
    const Vec c0 = Column(r, 0), c1 = Column(r, 1), c2 = Column(r, 2);
    const Vec d = x - placement.center;
    const double determinant = Dot(c0, Cross(c1, c2));
    Vec p{{Dot(d, Cross(c1, c2)), Dot(d, Cross(c2, c0)), Dot(d, Cross(c0, c1))}};
    for (int axis = 0; axis < 3; ++axis) p[axis] = p[axis] / determinant + tree.center[axis];
    return p;
}

/// Whether a connected part of the inner body lies in the outer one.
Side AnyShellInside(const Body& outer, const Placement& outerAt, const Body& inner,
                    const Placement& innerAt, bool exactEnough)
{
    Side side = Side::kOutside;
    for (const auto& point : inner.GetTopology().shellPoint) {
        const Vec p = BodyPoint(outer.tree, outerAt, PlacePoint(inner.tree, innerAt, point.data()));
        if (exactEnough && !IsInBox(outer.tree, p)) continue;
        const Side here =
            exactEnough && outer.GetTopology().closed ? SideOf(outer, p.x) : Side::kUnknown;
        if (here == Side::kInside) return here;
        if (here == Side::kUnknown) side = here;
    }
    return side;
}

} // namespace

Side SideOf(const Body& body, const double* point)
{
    const Tree& tree = body.tree;
    const Vec from = VecOf(point);
    if (!IsInBox(tree, from)) return Side::kOutside;
    int winding[2], found = 0;
    for (int k = 0; k < kMostRays && found < 2; ++k) {
        // From one end of the sphere and from the other: the two rays share nothing.
        const Vec direction = Direction(k % 2 ? kMostRays - 1 - k / 2 : k / 2);
        const Ray ray{from, from + (4 * body.reach) * direction};
        if (IsInBox(tree, ray.to)) return Side::kUnknown;
        const Crossings crossings = CountCrossings(tree, ray);
        if (!crossings.degenerate) winding[found++] = crossings.winding;
    }
    if (found < 2 || winding[0] != winding[1]) return Side::kUnknown;
    if (winding[0] == 0) return Side::kOutside;
    return winding[0] == 1 || winding[0] == -1 ? Side::kInside : Side::kUnknown;
}

double ContainmentMargin(const Body& a, const Body& b, const PlacedPair& pair)
{
    double size = a.reach + b.reach + SumOfSizes(pair.b.center - pair.a.center);
    for (int axis = 0; axis < 3; ++axis)
        size += std::fabs(double(a.tree.center[axis])) + std::fabs(double(b.tree.center[axis]));
    return 2 * pair.Error() + 64 * kUnit * size;
}

int RelationApart(const Body& a, const Body& b, const PlacedPair& pair, double apart)
{
    const float limit = PruneLimit(MakeNodeSlack(a, b, pair, kFloatUnit), 0);
    if (BodiesAreFarther(a, b, MakeFrameChange(pair.a, pair.b), limit)) return SCAPI_APART;
    // A point that rounding moves by less than the distance stays on its side of the surface.
    const bool exactEnough = apart > ContainmentMargin(a, b, pair);
    const Side aInB = AnyShellInside(b, pair.b, a, pair.a, exactEnough);
    if (aInB == Side::kInside) return SCAPI_A_IN_B;
    const Side bInA = AnyShellInside(a, pair.a, b, pair.b, exactEnough);
    if (bInA == Side::kInside) return SCAPI_B_IN_A;
    return aInB == Side::kUnknown || bInA == Side::kUnknown ? SCAPI_UNKNOWN : SCAPI_APART;
}

} // namespace proximity
