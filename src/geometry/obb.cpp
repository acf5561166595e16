#include "geometry/obb.h"

#include <algorithm>
#include <cmath>

#include "geometry/bbox.h"
#include "geometry/vector.h"

namespace
{

Point3 Cross(const Point3& a, const Point3& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double Length(const Point3& v) { return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]); }

Point3 MiddleOf(std::span<const Point3> points)
{
    Point3 low = points[0], high = low;
    for (const Point3& p : points)
        for (std::size_t i = 0; i < 3; ++i)
            low[i] = std::min(low[i], p[i]), high[i] = std::max(high[i], p[i]);
    return {0.5 * (low[0] + high[0]), 0.5 * (low[1] + high[1]), 0.5 * (low[2] + high[2])};
}

Point3 NarrowestAxis(std::span<const Point3> points, const Point3& middle)
{
    Point3 extent{};
    for (const Point3& p : points)
        for (std::size_t i = 0; i < 3; ++i)
            extent[i] = std::max(extent[i], std::fabs(p[i] - middle[i]));
    Point3 axis{};
    axis[std::size_t(std::min_element(extent.begin(), extent.end()) - extent.begin())] = 1;
    return axis;
}

Point3 ChooseNormal(const NormalBounds& normals, std::span<const Point3> points,
                    const Point3& middle)
{
    constexpr double kMinMean = 1e-3;
    Point3 mean{};
    for (std::size_t i = 0; i < 3; ++i) mean[i] = 0.5 * (double(normals.low[i]) + normals.high[i]);
    const double length = Length(mean);
    if (!(length > kMinMean)) return NarrowestAxis(points, middle);
    for (double& x : mean) x /= length;
    return mean;
}

/// The principal axes of the points in the plane across a normal: there their mixed second moment
/// is zero.
void ChooseOthers(const Point3& normal, std::span<const Point3> points, const Point3& middle,
                  Point3& u, Point3& v)
{
    Point3 least{};
    const auto smaller = [](double a, double b) { return std::fabs(a) < std::fabs(b); };
    least[std::size_t(std::min_element(normal.begin(), normal.end(), smaller) - normal.begin())] =
        1;
    Point3 p = Cross(normal, least);
    const double length = Length(p);
    for (double& x : p) x /= length;
    const Point3 q = Cross(normal, p);
    double pp = 0, pq = 0, qq = 0;
    // A sample is enough.
    constexpr std::size_t kSample = 256;
    const std::size_t step = 1 + points.size() / kSample;
    for (std::size_t n = 0; n < points.size(); n += step) {
        double a = 0, b = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            a += (points[n][i] - middle[i]) * p[i];
            b += (points[n][i] - middle[i]) * q[i];
        }
        pp += a * a, pq += a * b, qq += b * b;
    }
    const double angle = 0.5 * std::atan2(2 * pq, pp - qq);
    const double c = std::cos(angle), s = std::sin(angle);
    for (std::size_t i = 0; i < 3; ++i) u[i] = c * p[i] + s * q[i], v[i] = c * q[i] - s * p[i];
}

float HalfAreaOf(const Obb& box)
{
    return box.half[0] * box.half[1] + box.half[1] * box.half[2] + box.half[2] * box.half[0];
}

} // namespace

float RoundDown(double value)
{
    const auto rounded = static_cast<float>(value);
    return rounded > value ? std::nextafter(rounded, -HUGE_VALF) : rounded;
}

float RoundUp(double value)
{
    const auto rounded = static_cast<float>(value);
    return rounded < value ? std::nextafter(rounded, HUGE_VALF) : rounded;
}

void ClearNormals(NormalBounds& bounds)
{
    std::fill_n(bounds.low, 3, kEmptyExtreme);
    std::fill_n(bounds.high, 3, -kEmptyExtreme);
}

void AddNormals(NormalBounds& bounds, const float* low, const float* high)
{
    for (int axis = 0; axis < 3; ++axis) {
        bounds.low[axis] = std::min(bounds.low[axis], low[axis]);
        bounds.high[axis] = std::max(bounds.high[axis], high[axis]);
    }
}

double FarthestNormal(const NormalBounds& bounds, const float* other)
{
    double square = 0;
    for (int axis = 0; axis < 3; ++axis) {
        const double d = std::max(std::fabs(double(bounds.low[axis]) - other[axis]),
                                  std::fabs(double(bounds.high[axis]) - other[axis]));
        square += d * d;
    }
    return std::sqrt(square);
}

Obb FitBox(const NormalBounds& normals, std::span<const Point3> points, double pad)
{
    constexpr double kRounding = 1e-6; // of axes and centre, relative (Lemma 1)
    Obb box;
    const Point3 middle = MiddleOf(points);
    std::array<Point3, 3> axes{};
    axes[0] = ChooseNormal(normals, points, middle);
    ChooseOthers(axes[0], points, middle, axes[1], axes[2]);
    double low[3] = {HUGE_VAL, HUGE_VAL, HUGE_VAL}, high[3] = {-HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
    for (const Point3& p : points)
        for (std::size_t i = 0; i < 3; ++i) {
            const double height = (p[0] - middle[0]) * axes[i][0] +
                                  (p[1] - middle[1]) * axes[i][1] + (p[2] - middle[2]) * axes[i][2];
            low[i] = std::min(low[i], height);
            high[i] = std::max(high[i], height);
        }
    double margin = pad;
    for (std::size_t i = 0; i < 3; ++i) {
        double centre = middle[i];
        for (std::size_t j = 0; j < 3; ++j) {
            box.axis[i][j] = float(axes[i][j]);
            centre += 0.5 * (low[j] + high[j]) * axes[j][i];
        }
        box.centre[i] = float(centre);
        margin += kRounding * (high[i] - low[i]) + 0.1 * kRounding * std::fabs(centre);
    }
    for (std::size_t i = 0; i < 3; ++i) box.half[i] = RoundUp(0.5 * (high[i] - low[i]) + margin);
    box.halfArea = HalfAreaOf(box);
    return box;
}

Obb AlignedBox(const NormalBounds& normals, const float* box)
{
    float mean[3];
    for (int i = 0; i < 3; ++i) mean[i] = normals.low[i] + normals.high[i];
    const int first = LargestAxis(mean);
    Obb aligned{};
    for (int i = 0; i < 3; ++i) {
        const int axis = (first + i) % 3;
        const double low = box[axis], high = box[axis + 3];
        aligned.axis[i][axis] = mean[axis] < 0 ? -1.0f : 1.0f;
        aligned.centre[axis] = float(0.5 * (low + high));
        aligned.half[i] =
            RoundUp(std::max(high - aligned.centre[axis], aligned.centre[axis] - low));
    }
    aligned.halfArea = HalfAreaOf(aligned);
    return aligned;
}

std::array<Point3, 8> CornersOf(const Obb& box)
{
    std::array<Point3, 8> corners{};
    for (std::size_t c = 0; c < 8; ++c)
        for (std::size_t j = 0; j < 3; ++j) {
            corners[c][j] = box.centre[j];
            for (std::size_t i = 0; i < 3; ++i)
                corners[c][j] += (c >> i & 1 ? 1.0 : -1.0) * box.half[i] * box.axis[i][j];
        }
    return corners;
}
