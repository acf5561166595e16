// Vectors and 3 x 3 matrices of doubles, by rows.
#ifndef PROXIMITY_QUERY_VECTOR_H
#define PROXIMITY_QUERY_VECTOR_H

#include <cmath>

namespace proximity
{

struct Vec {
    double x[3];

    double& operator[](int axis) { return x[axis]; }
    double operator[](int axis) const { return x[axis]; }
};

inline Vec VecOf(const double* p) { return {{p[0], p[1], p[2]}}; }
inline Vec VecOf(const float* p) { return {{p[0], p[1], p[2]}}; }
inline Vec operator+(const Vec& a, const Vec& b)
{
    return {{a[0] + b[0], a[1] + b[1], a[2] + b[2]}};
}
inline Vec operator-(const Vec& a, const Vec& b)
{
    return {{a[0] - b[0], a[1] - b[1], a[2] - b[2]}};
}
inline Vec operator*(double s, const Vec& a) { return {{s * a[0], s * a[1], s * a[2]}}; }
inline double Dot(const Vec& a, const Vec& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
inline Vec Cross(const Vec& a, const Vec& b)
{
    return {{a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]}};
}
inline double Length(const Vec& a) { return std::sqrt(Dot(a, a)); }
inline double SumOfSizes(const Vec& a)
{
    return std::fabs(a[0]) + std::fabs(a[1]) + std::fabs(a[2]);
}

struct Mat {
    Vec row[3];
};

inline Vec operator*(const Mat& m, const Vec& v)
{
    return {{Dot(m.row[0], v), Dot(m.row[1], v), Dot(m.row[2], v)}};
}
/// m transposed, times v.
inline Vec TransposedTimes(const Mat& m, const Vec& v)
{
    return v[0] * m.row[0] + v[1] * m.row[1] + v[2] * m.row[2];
}
inline Vec Column(const Mat& m, int k) { return {{m.row[0][k], m.row[1][k], m.row[2][k]}}; }

} // namespace proximity

#endif
