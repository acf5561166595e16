// Sines, cosines and angles with the same bits on every platform: those of the mathematical
// libraries differ in the last place from system to system, and even from processor to processor.
// Sums, products, quotients and roots alone do not.
#ifndef PROXIMITY_KERNEL_ANGLES_H
#define PROXIMITY_KERNEL_ANGLES_H

namespace proximity
{

struct SineCosine {
    double sine, cosine;
};

/// Each within 1 unit in the last place, or 2^-80 where that is more.
/// @param angle  radians, at most 2^24 in magnitude
SineCosine SineCosineOf(double angle);

/// The angle of a vector, -pi to pi, within 2^-50.
/// @param sine, cosine  finite, not both 0; of any common scale that squares
double AngleOf(double sine, double cosine);

} // namespace proximity

#endif
