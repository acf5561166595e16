#include "exact/predicates.h"

#include <algorithm>
#include <climits>

#include "exact/filter.h"
#include "exact/wide_integer.h"

namespace proximity
{
namespace
{

/// Sets out[n] = points[n + 1] - points[0] along one axis, in units of the lowest bit of them all.
/// Each axis has its own unit: it scales a determinant as a whole.
template <int kPoints>
void SetDifferences(const double* const (&points)[kPoints], int axis, WideInteger* out)
{
    int unit = INT_MAX;
    for (const double* point : points)
        if (point[axis] != 0) unit = std::min(unit, LowestBit(point[axis]));
    WideInteger origin, coordinate;
    SetWide(points[0][axis], unit, origin);
    for (int n = 1; n < kPoints; ++n) {
        SetWide(points[n][axis], unit, coordinate);
        AddWide(coordinate, origin, -1, out[n - 1]);
    }
}

/// out = a * d - b * c
void SetMinor(const WideInteger& a, const WideInteger& b, const WideInteger& c,
              const WideInteger& d, WideInteger& out)
{
    WideInteger ad, bc;
    MultiplyWide(a, d, ad);
    MultiplyWide(b, c, bc);
    AddWide(ad, bc, -1, out);
}

/// out = normal . w
void SetDot(const WideInteger* normal, const WideInteger* const* w, WideInteger& out)
{
    WideInteger product[3], sum;
    for (int k = 0; k < 3; ++k) MultiplyWide(normal[k], *w[k], product[k]);
    AddWide(product[0], product[1], 1, sum);
    AddWide(sum, product[2], 1, out);
}

/// The determinants of a, b, c with each point that follows them.
template <int kPoints>
void SetOrientations(const double* const (&points)[kPoints], WideInteger* out)
{
    WideInteger difference[3][kPoints - 1], normal[3];
    for (int axis = 0; axis < 3; ++axis) SetDifferences(points, axis, difference[axis]);
    for (int k = 0; k < 3; ++k) {
        const WideInteger *l = difference[(k + 1) % 3], *m = difference[(k + 2) % 3];
        SetMinor(l[0], l[1], m[0], m[1], normal[k]);
    }
    for (int n = 2; n < kPoints - 1; ++n) {
        const WideInteger* w[3] = {&difference[0][n], &difference[1][n], &difference[2][n]};
        SetDot(normal, w, out[n - 2]);
    }
}

/// Is component k of u x v 0 in each of its products? Differences of doubles are 0 just where those
/// are equal.
bool ComponentVanishes(const double* u, const double* v, int k)
{
    const int l = (k + 1) % 3, m = (k + 2) % 3;
    return (u[l] == 0 || v[m] == 0) && (u[m] == 0 || v[l] == 0);
}

/// Four points that share a coordinate, or the fourth of which is one of the others: faces along
/// the axes and neighbours in a mesh, which no filter can tell, and which need no wide integers.
bool ArePlainlyFlat(const double* a, const double* b, const double* c, const double* d)
{
    double u[3], v[3], w[3];
    bool isB = true, isC = true;
    for (int k = 0; k < 3; ++k) {
        u[k] = b[k] - a[k], v[k] = c[k] - a[k], w[k] = d[k] - a[k];
        isB = isB && d[k] == b[k], isC = isC && d[k] == c[k];
    }
    if (isB || isC) return true;
    for (int k = 0; k < 3; ++k)
        if (w[k] != 0 && !ComponentVanishes(u, v, k)) return false;
    return true;
}

int ExactOrient2d(const double* a, const double* b, const double* c, int axis)
{
    const double* const points[3] = {a, b, c};
    WideInteger l[2], m[2], minor;
    SetDifferences(points, (axis + 1) % 3, l);
    SetDifferences(points, (axis + 2) % 3, m);
    SetMinor(l[0], l[1], m[0], m[1], minor);
    return minor.sign;
}

} // namespace

int Orient3d(const double* a, const double* b, const double* c, const double* d)
{
    const Filtered filtered = FilteredOrient3d(a, b, c, d);
    if (filtered.value > filtered.error) return 1;
    if (filtered.value < -filtered.error) return -1;
    if (ArePlainlyFlat(a, b, c, d)) return 0;
    WideInteger exact;
    const double* const points[4] = {a, b, c, d};
    SetOrientations(points, &exact);
    return exact.sign;
}

int Orient2d(const double* a, const double* b, const double* c, int axis)
{
    const Filtered filtered = FilteredOrient2d(a, b, c, axis);
    if (filtered.value > filtered.error) return 1;
    if (filtered.value < -filtered.error) return -1;
    double u[3], v[3];
    for (int k = 0; k < 3; ++k) u[k] = b[k] - a[k], v[k] = c[k] - a[k];
    return ComponentVanishes(u, v, axis) ? 0 : ExactOrient2d(a, b, c, axis);
}

double CrossingParameter(const double* a, const double* b, const double* c, const double* p,
                         const double* q)
{
    WideInteger volume[2], span;
    const double* const points[5] = {a, b, c, p, q};
    SetOrientations(points, volume);
    AddWide(volume[0], volume[1], -1, span);
    return WideRatio(volume[0], span);
}

} // namespace proximity
