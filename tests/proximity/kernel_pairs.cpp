#include "kernel_pairs.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <sstream>

using proximity::Triangle;

namespace
{

int Below(Random& random, int count) { return static_cast<int>(random() % unsigned(count)); }

/// 2^low to 2^high.
double Power(Random& random, double low, double high)
{
    return std::exp2(Uniform(random, low, high));
}

/// Of sizes a and b.
Pair RandomPair(Random& random, double a, double b)
{
    Pair out;
    int n = 0;
    ForEachCoordinate(out, [&](double& x) { x = Uniform(random, -1, 1) * (n++ < 9 ? a : b); });
    return out;
}

/// All by the same.
void Move(Random& random, double size, std::initializer_list<Triangle*> triangles)
{
    for (int k = 0; k < 3; ++k) {
        const double by = Uniform(random, -size, size);
        for (Triangle* t : triangles)
            for (auto& corner : t->corner) corner[k] += by;
    }
}

double Between(const Triangle& t, int from, int to, double part, int axis)
{
    return t.corner[from][axis] + part * (t.corner[to][axis] - t.corner[from][axis]);
}

Pair Anywhere(Random& random)
{
    Pair out = RandomPair(random, 1, Power(random, -6, 6));
    Move(random, Power(random, -3, 6), {&out.b});
    return out;
}

/// Small integers: corners and edges that meet, coplanar and collinear sets, all kinds of ties.
Pair OnGrid(Random& random)
{
    Pair out;
    const int size = 2 + Below(random, 3);
    ForEachCoordinate(out, [&](double& x) { x = Below(random, size); });
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
    Pair out = RandomPair(random, 1, 1);
    out.b = out.a;
    Move(random, Power(random, -30, 1), {&out.b});
    return out;
}

/// The third corner on the first edge, but for a little: a needle at its end, else a cap.
template <bool kNeedle>
Pair Flat(Random& random)
{
    Pair out = Anywhere(random);
    for (Triangle* t : {&out.a, &out.b}) {
        if (t == &out.b && Below(random, 2)) break;
        const double part = kNeedle ? 1 : Uniform(random, 0, 1);
        for (int k = 0; k < 3; ++k)
            t->corner[2][k] = Between(*t, 0, 1, part, k) +
                              Power(random, kNeedle ? -30 : -20, -5) * Uniform(random, -1, 1);
    }
    return out;
}

Pair FarOff(Random& random)
{
    Pair out = Anywhere(random);
    Move(random, Power(random, 20, 40), {&out.a, &out.b});
    return out;
}

/// A corner or edge of b, moved to within rounding or a little more of the face of a.
Pair Grazing(Random& random)
{
    Pair out = RandomPair(random, 1, 1);
    for (int corner = 0; corner <= Below(random, 2); ++corner) {
        const double s = Uniform(random, 0, 1), r = Uniform(random, 0, 1 - s);
        const double away = Below(random, 3) ? Power(random, -60, -10) : 0;
        for (int k = 0; k < 3; ++k)
            out.b.corner[corner][k] = Between(out.a, 0, 1, s, k) +
                                      r * (out.a.corner[2][k] - out.a.corner[0][k]) +
                                      away * Uniform(random, -1, 1);
    }
    return out;
}

/// Two edges that pass within rounding or a little more.
Pair EdgesGrazing(Random& random)
{
    Pair out = RandomPair(random, 1, 1);
    const double s = Uniform(random, 0, 1), t = Uniform(random, 0.2, 1);
    const double away = Below(random, 3) ? Power(random, -60, -10) : 0;
    for (int k = 0; k < 3; ++k) {
        out.b.corner[1][k] = Between(out.a, 0, 1, s, k) + away * Uniform(random, -1, 1);
        out.b.corner[1][k] = Between(out.b, 0, 1, 1 / t, k);
    }
    return out;
}

/// Neighbours in a mesh, rounded to floats as a file would have them, one perhaps moved a little.
Pair Neighbours(Random& random)
{
    Pair out = RandomPair(random, 100, 100);
    ForEachCoordinate(out, [](double& x) { x = static_cast<float>(x); });
    const int count = 1 + Below(random, 3), first = Below(random, 3);
    for (int i = 0; i < count; ++i) std::copy_n(out.a.corner[(first + i) % 3], 3, out.b.corner[i]);
    if (Below(random, 2)) Move(random, Power(random, -45, -5), {&out.b});
    return out;
}

/// A point, or a segment with two corners at an end or with one in the middle.
Pair Degenerate(Random& random)
{
    Pair out = Below(random, 2) ? Anywhere(random) : OnGrid(random);
    for (Triangle* t : {&out.a, &out.b}) {
        const int kind = Below(random, 4);
        for (int k = 0; k < 3; ++k) {
            if (kind == 0) t->corner[1][k] = t->corner[0][k];
            if (kind < 3) t->corner[2][k] = Between(*t, 1, 0, kind == 2 ? 0.5 : 0, k);
        }
    }
    return out;
}

/// Another family, scaled to the ends of the range and, at times, beyond what keeps all bits.
Pair ExtremeScale(Random& random)
{
    Pair out = kFamilies[Below(random, 11)].make(random);
    const int exponent = Below(random, 2) ? 1018 - Below(random, 900) : Below(random, 900) - 1074;
    ForEachCoordinate(out, [&](double& x) {
        x = std::clamp(std::ldexp(x, exponent), -0x1.fffp1023, 0x1.fffp1023);
    });
    return out;
}

/// Each coordinate of a scale of its own.
Pair MixedScales(Random& random)
{
    Pair out = RandomPair(random, 1, 1);
    const int range = 1 + Below(random, 300);
    ForEachCoordinate(out, [&](double& x) {
        x = Below(random, 4) ? std::ldexp(x, Below(random, range) - range / 2) : 0;
    });
    return out;
}

} // namespace

const Family kFamilies[13] = {
    {"Anywhere", Anywhere, true},
    {"OnGrid", OnGrid, true},
    {"Coplanar", Coplanar, true},
    {"Parallel", Parallel, true},
    {"Needles", Flat<true>, true},
    {"Caps", Flat<false>, true},
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
    std::ostringstream out;
    out << std::hexfloat;
    ForEachCoordinate(pair, [&](double x) { out << x << '\n'; });
    return out.str();
}
