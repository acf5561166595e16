#include "kernel_pairs.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

using proximity::Triangle;

namespace
{

int Below(Random& random, int count) { return static_cast<int>(random() % unsigned(count)); }

void SetCorner(Random& random, double size, double* corner)
{
    for (int k = 0; k < 3; ++k) corner[k] = Uniform(random, -size, size);
}

Triangle RandomTriangle(Random& random, double size)
{
    Triangle out;
    for (auto& corner : out.corner) SetCorner(random, size, corner);
    return out;
}

void Move(Triangle& t, const double* by)
{
    for (auto& corner : t.corner)
        for (int k = 0; k < 3; ++k) corner[k] += by[k];
}

/// Onto a point of the triangle, rounded.
void Project(Random& random, const Triangle& t, double* out)
{
    const double s = Uniform(random, 0, 1), r = Uniform(random, 0, 1 - s);
    for (int k = 0; k < 3; ++k)
        out[k] = t.corner[0][k] + s * (t.corner[1][k] - t.corner[0][k]) +
                 r * (t.corner[2][k] - t.corner[0][k]);
}

/// 2^low to 2^high.
double Power(Random& random, double low, double high)
{
    return std::exp2(Uniform(random, low, high));
}

Pair Anywhere(Random& random)
{
    Pair out{RandomTriangle(random, 1), RandomTriangle(random, Power(random, -6, 6))};
    double by[3];
    SetCorner(random, Power(random, -3, 6), by);
    Move(out.b, by);
    return out;
}

/// Small integers: corners and edges that meet, coplanar and collinear sets, all kinds of ties.
Pair OnGrid(Random& random)
{
    Pair out;
    const int size = 2 + Below(random, 3);
    for (Triangle* t : {&out.a, &out.b})
        for (auto& corner : t->corner)
            for (double& x : corner) x = Below(random, size);
    return out;
}

Pair Coplanar(Random& random)
{
    Pair out = OnGrid(random);
    const int a = Below(random, 3), b = Below(random, 3), c = Below(random, 3);
    for (Triangle* t : {&out.a, &out.b})
        for (auto& corner : t->corner) {
            corner[0] += Below(random, 4);
            corner[1] += Below(random, 4);
            corner[2] = a * corner[0] + b * corner[1] + c;
        }
    return out;
}

Pair Parallel(Random& random)
{
    Pair out{RandomTriangle(random, 1), {}};
    out.b = out.a;
    double by[3];
    SetCorner(random, Power(random, -30, 1), by);
    Move(out.b, by);
    return out;
}

void MakeNeedle(Random& random, Triangle& t)
{
    for (int k = 0; k < 3; ++k)
        t.corner[2][k] = t.corner[1][k] + Power(random, -30, -5) * Uniform(random, -1, 1);
}

void MakeCap(Random& random, Triangle& t)
{
    const double s = Uniform(random, 0, 1);
    for (int k = 0; k < 3; ++k)
        t.corner[2][k] = t.corner[0][k] + s * (t.corner[1][k] - t.corner[0][k]) +
                         Power(random, -20, -5) * Uniform(random, -1, 1);
}

Pair Needles(Random& random)
{
    Pair out = Anywhere(random);
    MakeNeedle(random, out.a);
    if (Below(random, 2)) MakeNeedle(random, out.b);
    return out;
}

Pair Caps(Random& random)
{
    Pair out = Anywhere(random);
    MakeCap(random, out.a);
    if (Below(random, 2)) MakeCap(random, out.b);
    return out;
}

Pair FarOff(Random& random)
{
    Pair out = Anywhere(random);
    double by[3];
    SetCorner(random, Power(random, 20, 40), by);
    Move(out.a, by);
    Move(out.b, by);
    return out;
}

/// A corner or edge of b, moved to within rounding or a little more of the face of a.
Pair Grazing(Random& random)
{
    Pair out{RandomTriangle(random, 1), RandomTriangle(random, 1)};
    for (int corner = 0; corner <= Below(random, 2); ++corner) {
        Project(random, out.a, out.b.corner[corner]);
        const double away = Power(random, -60, -10);
        if (Below(random, 3))
            for (double& x : out.b.corner[corner]) x += away * Uniform(random, -1, 1);
    }
    return out;
}

/// Two edges that pass within rounding or a little more.
Pair EdgesGrazing(Random& random)
{
    Pair out{RandomTriangle(random, 1), RandomTriangle(random, 1)};
    const double s = Uniform(random, 0, 1), t = Uniform(random, 0.2, 1);
    const double away = Below(random, 3) ? Power(random, -60, -10) : 0;
    for (int k = 0; k < 3; ++k) {
        const double x = out.a.corner[0][k] + s * (out.a.corner[1][k] - out.a.corner[0][k]) +
                         away * Uniform(random, -1, 1);
        out.b.corner[1][k] = out.b.corner[0][k] + (x - out.b.corner[0][k]) / t;
    }
    return out;
}

/// Neighbours in a mesh, rounded to floats as a file would have them, one perhaps moved a little.
Pair Neighbours(Random& random)
{
    Pair out{RandomTriangle(random, 100), RandomTriangle(random, 100)};
    for (Triangle* t : {&out.a, &out.b})
        for (auto& corner : t->corner)
            for (double& x : corner) x = static_cast<float>(x);
    const int count = 1 + Below(random, 3), first = Below(random, 3);
    for (int i = 0; i < count; ++i)
        std::copy(out.a.corner[(first + i) % 3], out.a.corner[(first + i) % 3] + 3,
                  out.b.corner[i]);
    double by[3];
    SetCorner(random, Power(random, -45, -5), by);
    if (Below(random, 2)) Move(out.b, by);
    return out;
}

Pair Degenerate(Random& random)
{
    Pair out = Below(random, 2) ? Anywhere(random) : OnGrid(random);
    for (Triangle* t : {&out.a, &out.b}) switch (Below(random, 4)) {
        case 0:
            std::copy(t->corner[0], t->corner[0] + 3, t->corner[1]);
            [[fallthrough]];
        case 1:
            std::copy(t->corner[1], t->corner[1] + 3, t->corner[2]);
            break;
        case 2:
            for (int k = 0; k < 3; ++k) t->corner[2][k] = (t->corner[0][k] + t->corner[1][k]) / 2;
            break;
        default:
            break;
        }
    return out;
}

/// Another family, scaled to the ends of the range and, at times, beyond what keeps all bits.
Pair ExtremeScale(Random& random)
{
    Pair out = kFamilies[Below(random, 11)].make(random);
    const int exponent = Below(random, 2) ? 1018 - Below(random, 900) : Below(random, 900) - 1074;
    for (Triangle* t : {&out.a, &out.b})
        for (auto& corner : t->corner)
            for (double& x : corner)
                x = std::clamp(std::ldexp(x, exponent), -0x1.fffp1023, 0x1.fffp1023);
    return out;
}

/// Each coordinate of a scale of its own.
Pair MixedScales(Random& random)
{
    Pair out{RandomTriangle(random, 1), RandomTriangle(random, 1)};
    const int range = 1 + Below(random, 300);
    for (Triangle* t : {&out.a, &out.b})
        for (auto& corner : t->corner)
            for (double& x : corner)
                x = Below(random, 4) ? std::ldexp(x, Below(random, range) - range / 2) : 0;
    return out;
}

} // namespace

const Family kFamilies[13] = {
    {"Anywhere", Anywhere, true},
    {"OnGrid", OnGrid, true},
    {"Coplanar", Coplanar, true},
    {"Parallel", Parallel, true},
    {"Needles", Needles, true},
    {"Caps", Caps, true},
    {"FarOff", FarOff, true},
    {"Grazing", Grazing, true},
    {"EdgesGrazing", EdgesGrazing, true},
    {"Neighbours", Neighbours, true},
    {"Degenerate", Degenerate, true},
    {"ExtremeScale", ExtremeScale, false},
    {"MixedScales", MixedScales, false},
};

double Uniform(Random& random, double low, double high)
{
    return low + (high - low) * (static_cast<double>(random() >> 11) * 0x1p-53);
}

long PairCount(long usual)
{
    const char* text = std::getenv("PROXIMITY_PAIRS");
    return text ? std::atol(text) : usual;
}

std::string Print(const Pair& pair)
{
    std::string out;
    char text[120];
    for (const Triangle* t : {&pair.a, &pair.b})
        for (const auto& c : t->corner) {
            std::snprintf(text, sizeof text, "%a %a %a\n", c[0], c[1], c[2]);
            out += text;
        }
    return out;
}
