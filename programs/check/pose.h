// Vectors and rigid poses in doubles: three rows (R | t).
#ifndef SCAPI_CHECK_POSE_H
#define SCAPI_CHECK_POSE_H

#include <array>
#include <cmath>
#include <cstddef>

namespace check
{

using Vec = std::array<double, 3>;
using Pose = std::array<double, 12>;

constexpr double kPi = 3.14159265358979323846;
constexpr double kRadians = kPi / 180; ///< of a degree
constexpr Pose kRest{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};

inline Vec operator+(const Vec& a, const Vec& b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
inline Vec operator-(const Vec& a, const Vec& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
inline Vec operator*(double s, const Vec& a) { return {s * a[0], s * a[1], s * a[2]}; }
inline double Dot(const Vec& a, const Vec& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
inline double Length(const Vec& a) { return std::sqrt(Dot(a, a)); }
inline Vec Cross(const Vec& a, const Vec& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

/// A direction, turned by the rotation of a pose.
inline Vec Turned(const Pose& pose, const Vec& v)
{
    Vec out{};
    for (std::size_t i = 0; i < 3; ++i)
        out[i] = pose[4 * i] * v[0] + pose[4 * i + 1] * v[1] + pose[4 * i + 2] * v[2];
    return out;
}

inline Vec Translation(const Pose& pose) { return {pose[3], pose[7], pose[11]}; }

/// A point of the body, placed.
inline Vec Placed(const Pose& pose, const Vec& p) { return Turned(pose, p) + Translation(pose); }

/// The point of the body that stands at `p`.
inline Vec Unplaced(const Pose& pose, const Vec& p)
{
    const Vec d = p - Translation(pose);
    Vec out{};
    for (std::size_t i = 0; i < 3; ++i)
        out[i] = pose[i] * d[0] + pose[4 + i] * d[1] + pose[8 + i] * d[2];
    return out;
}

/// First `inner`, then `outer`.
inline Pose Composed(const Pose& outer, const Pose& inner)
{
    Pose out{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 4; ++j)
            out[4 * i + j] = outer[4 * i] * inner[j] + outer[4 * i + 1] * inner[4 + j] +
                             outer[4 * i + 2] * inner[8 + j];
        out[4 * i + 3] += outer[4 * i + 3];
    }
    return out;
}

inline Pose Shift(const Vec& by) { return {1, 0, 0, by[0], 0, 1, 0, by[1], 0, 0, 1, by[2]}; }

/// The turn by `angle` radians about the line through a point along a unit vector.
inline Pose TurnAbout(const Vec& through, const Vec& axis, double angle)
{
    const double c = std::cos(angle), s = std::sin(angle), v = 1 - c;
    const double x = axis[0], y = axis[1], z = axis[2];
    Pose out{c + v * x * x,     v * x * y - s * z, v * x * z + s * y, 0,
             v * x * y + s * z, c + v * y * y,     v * y * z - s * x, 0,
             v * x * z - s * y, v * y * z + s * x, c + v * z * z,     0};
    const Vec t = through - Turned(out, through);
    out[3] = t[0], out[7] = t[1], out[11] = t[2];
    return out;
}

} // namespace check

#endif
