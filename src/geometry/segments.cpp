#include <cstring>

#include "geometry/bbox.h"
#include "geometry/predicates.h"
#include "geometry/vector.h"

namespace
{

constexpr double kParallelDirections = 0.0005;
constexpr double kParallelSegments = 1e-5; ///< of u x v squared; so short segments are parallel too

bool AreParallel(const float* u, const float* v)
{
    const auto nearOnAllAxes = [&](double sign) {
        for (int i = 0; i < 3; ++i)
            if (!(std::fabs(u[i] + sign * v[i]) < kParallelDirections)) return false;
        return true;
    };
    return nearOnAllAxes(-1.0) || nearOnAllAxes(1.0);
}

/// Not scaled by length: at distances a and b from the ends a point must have a * b > tolerance.
bool IsStrictlyBetween(const float* x, const float* q, const float* r, float tolerance)
{
    float fromQ[3], fromR[3];
    Subtract(x, q, fromQ);
    Subtract(x, r, fromR);
    return dot(fromQ, fromR) < -tolerance;
}

int ParallelOverlap(const float* a0, const float* a1, const float* b0, const float* b1,
                    float tolerance, float* out)
{
    float box[6];
    ClearBbox(box);
    bool any = false;
    const auto test = [&](const float* x, const float* q, const float* r) {
        if (!IsStrictlyBetween(x, q, r, tolerance)) return;
        ExtendBbox(box, x);
        any = true;
    };
    test(b0, a0, a1);
    test(b1, a0, a1);
    test(a0, b0, b1);
    test(a1, b0, b1);
    if (any) std::memcpy(out, box, sizeof box);
    return any;
}

} // namespace

int ClosestLinePoints(const float* lineA, const float* lineB, float* pointA, float* pointB)
{
    const float *P = lineA, *U = lineA + 3, *Q = lineB, *V = lineB + 3;
    float w[3];
    Subtract(Q, P, w);
    const double d = dot(w, U);
    if (AreParallel(U, V)) {
        for (int i = 0; i < 3; ++i) pointA[i] = float(P[i] + d * U[i]), pointB[i] = Q[i];
        return 2;
    }
    const double c = dot(U, V), e = dot(w, V);
    const double r = 1 / (1 - c * c);
    const double s = (d - c * e) * r, t = (c * d - e) * r;
    for (int i = 0; i < 3; ++i)
        pointA[i] = float(P[i] + s * U[i]), pointB[i] = float(Q[i] + t * V[i]);
    return 2;
}

int SegmentsIntersecting(const float* a0, const float* a1, const float* b0, const float* b1,
                         float tolerance, float* out)
{
    float u[3], v[3], w[3], n[3];
    Subtract(a1, a0, u);
    Subtract(b1, b0, v);
    Subtract(b1, a0, w);
    cross(u, v, n);
    if (dot(n, n) < kParallelSegments) {
        float m[3];
        cross(u, w, m);
        if (!(dot(m, m) < kParallelSegments)) return 0;
        return ParallelOverlap(a0, a1, b0, b1, tolerance, out);
    }
    Normalise(u);
    Normalise(v);
    const float lineA[6] = {a0[0], a0[1], a0[2], u[0], u[1], u[2]};
    const float lineB[6] = {b0[0], b0[1], b0[2], v[0], v[1], v[2]};
    float pa[3], pb[3];
    ClosestLinePoints(lineA, lineB, pa, pb);
    if (!(distance(pa, pb) < tolerance)) return 0;
    // Both by pa: pb has served its turn.
    if (!IsStrictlyBetween(pa, a0, a1, tolerance)) return 0;
    if (!IsStrictlyBetween(pa, b0, b1, tolerance)) return 0;
    std::memcpy(out, pa, sizeof pa);
    std::memcpy(out + 3, pa, sizeof pa);
    return 1;
}
