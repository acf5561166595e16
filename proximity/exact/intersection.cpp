#include "exact/intersection.h"

#include <algorithm>

#include "exact/predicates.h"

namespace proximity
{
namespace
{

/// Of three signs: is none of them against another?
bool NoneOpposed(int a, int b, int c)
{
    return (a >= 0 && b >= 0 && c >= 0) || (a <= 0 && b <= 0 && c <= 0);
}

/// An axis along which the plane through three points projects one to one, or -1.
int ProjectionAxisOf(const double* a, const double* b, const double* c)
{
    for (int axis = 0; axis < 3; ++axis)
        if (Orient2d(a, b, c, axis) != 0) return axis;
    return -1;
}

/// Of segments on one line. Along an axis on which the line does not stand still they overlap just
/// where they do in space; along the others they are points, and equal.
bool CollinearSegmentsMeet(const double* p, const double* q, const double* r, const double* s)
{
    for (int axis = 0; axis < 3; ++axis) {
        if (std::max(p[axis], q[axis]) < std::min(r[axis], s[axis])) return false;
        if (std::max(r[axis], s[axis]) < std::min(p[axis], q[axis])) return false;
    }
    return true;
}

/// Of segments in one plane, not all on one line, seen along an axis that keeps the plane a plane.
bool PlanarSegmentsMeet(const double* p, const double* q, const double* r, const double* s,
                        int axis)
{
    const int pSide = Orient2d(r, s, p, axis), qSide = Orient2d(r, s, q, axis);
    const int rSide = Orient2d(p, q, r, axis), sSide = Orient2d(p, q, s, axis);
    return pSide * qSide <= 0 && rSide * sSide <= 0;
}

bool PlanarPointInTriangle(const double* p, const double (*triangle)[3], int axis)
{
    return NoneOpposed(Orient2d(triangle[0], triangle[1], p, axis),
                       Orient2d(triangle[1], triangle[2], p, axis),
                       Orient2d(triangle[2], triangle[0], p, axis));
}

/// In one plane: does an edge of `t` keep all of `other` strictly on its outer side?
bool EdgeKeepsOut(const double (*t)[3], const double (*other)[3], int axis)
{
    const int turn = Orient2d(t[0], t[1], t[2], axis);
    for (int i = 0; i < 3; ++i) {
        bool outside = true;
        for (int j = 0; j < 3 && outside; ++j)
            outside = Orient2d(t[i], t[(i + 1) % 3], other[j], axis) * turn < 0;
        if (outside) return true;
    }
    return false;
}

/// The side of a plane on which all corners lie, or kBothSides.
constexpr int kBothSides = 2;
int SideOf(const double (*t)[3], const double (*plane)[3])
{
    const auto side = [&](int i) { return Orient3d(plane[0], plane[1], plane[2], t[i]); };
    const int first = side(0);
    return side(1) == first && side(2) == first ? first : kBothSides;
}

bool MeetsAnEdge(const double* p, const double* q, const double (*triangle)[3])
{
    for (int i = 0; i < 3; ++i)
        if (SegmentsMeet(p, q, triangle[i], triangle[(i + 1) % 3])) return true;
    return false;
}

} // namespace

bool IsDegenerate(const double (*triangle)[3]) { return ProjectionAxis(triangle) < 0; }

int ProjectionAxis(const double (*triangle)[3])
{
    return ProjectionAxisOf(triangle[0], triangle[1], triangle[2]);
}

bool SegmentsMeet(const double* p, const double* q, const double* r, const double* s)
{
    if (Orient3d(p, q, r, s) != 0) return false;
    int axis = ProjectionAxisOf(p, q, r);
    if (axis < 0) axis = ProjectionAxisOf(p, q, s);
    if (axis < 0) axis = ProjectionAxisOf(r, s, p);
    if (axis < 0) axis = ProjectionAxisOf(r, s, q);
    return axis < 0 ? CollinearSegmentsMeet(p, q, r, s) : PlanarSegmentsMeet(p, q, r, s, axis);
}

bool SegmentMeetsTriangle(const double* p, const double* q, const double (*triangle)[3])
{
    const double *a = triangle[0], *b = triangle[1], *c = triangle[2];
    const int pSide = Orient3d(a, b, c, p), qSide = Orient3d(a, b, c, q);
    if (pSide * qSide > 0) return false;
    // Where the segment leaves the plane, its line meets the triangle or passes it by, to the same
    // side of all three edges or not.
    if (pSide != 0 || qSide != 0)
        return NoneOpposed(Orient3d(p, q, a, b), Orient3d(p, q, b, c), Orient3d(p, q, c, a));
    const int axis = ProjectionAxis(triangle);
    return (axis >= 0 && PlanarPointInTriangle(p, triangle, axis)) || MeetsAnEdge(p, q, triangle);
}

// An edge of the one meets the other: of two triangles that share a point, the border of one has a
// point of the other, or one plane holds both and the border of the inner one lies in the outer.
//
// Faces that lie on each other are the dear case of that, and an easy one in their plane: triangles
// are convex, so where they share no point the line of an edge is between them.
bool TrianglesMeet(const double (*a)[3], const double (*b)[3])
{
    const int sideA = SideOf(a, b), sideB = SideOf(b, a);
    if (sideA * sideA == 1 || sideB * sideB == 1) return false;
    if (sideA == 0 && sideB == 0 && !IsDegenerate(b)) {
        const int axis = ProjectionAxis(a);
        if (axis >= 0) return !EdgeKeepsOut(a, b, axis) && !EdgeKeepsOut(b, a, axis);
    }
    for (int i = 0; i < 3; ++i) {
        if (SegmentMeetsTriangle(a[i], a[(i + 1) % 3], b)) return true;
        if (SegmentMeetsTriangle(b[i], b[(i + 1) % 3], a)) return true;
    }
    return false;
}

} // namespace proximity
