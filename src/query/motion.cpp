#include "query/motion.h"

#include <algorithm>
#include <cmath>

#include "query/margins.h"

namespace
{

/// Bounds the eigenvalues of the Gram matrix by Gershgorin's circles (Lemma 3).
void ReadStretch(const SOLIDC& b, Motion& motion)
{
    double most = 0, least = HUGE_VAL, deviation = 0;
    for (int i = 0; i < 3; ++i) {
        double sum = 0, diagonal = 0;
        for (int j = 0; j < 3; ++j) {
            double product = 0;
            for (int r = 0; r < 3; ++r)
                product += double(b.sweepStart[r][i]) * double(b.sweepStart[r][j]);
            sum += std::fabs(product);
            if (i == j) diagonal = product;
        }
        most = std::max(most, sum);
        least = std::min(least, 2 * diagonal - sum);
        deviation = std::max(deviation, sum - std::fabs(diagonal) + std::fabs(diagonal - 1));
    }
    motion.maxStretch = Splat(RoundUp(std::sqrt(most) * (1 + kPlacingRounding)));
    motion.minStretch = Splat(RoundDown(std::sqrt(std::max(least, 0.0)) * (1 - kPlacingRounding)));
    motion.gramDeviation = Splat(RoundUp(deviation + kPlacingRounding));
}

/// The greatest magnitude of a coordinate in the first of some boxes.
double MaxCoordinateIn(const ObbLanes& boxes, int r)
{
    double most = std::fabs(boxes.centre[r][0]);
    for (int i = 0; i < 3; ++i)
        most += double(boxes.half[i][0]) * std::fabs(double(boxes.axis[i][r][0]));
    return most;
}

} // namespace

Motion ReadMotion(const SOLIDC& b, const ObbLanes& rest)
{
    Motion motion{};
    motion.isSwept = b.isSwept;
    double error = 0;
    for (int r = 0; r < 3; ++r) {
        const float* row = b.sweepStart[r];
        for (int c = 0; c < 3; ++c) motion.matrix[r][c] = Splat(row[c]);
        const double displacement = b.isSwept ? double(b.sweepEnd[r][3]) - row[3] : 0;
        motion.start[r] = Splat(row[3]);
        motion.displacement[r] = Splat(float(displacement));
        motion.direction[r] = Splat(b.sweepDirection[r]);
        double size = std::fabs(double(row[3])) + 2 * std::fabs(displacement);
        for (int c = 0; c < 3; ++c) size += std::fabs(double(row[c])) * MaxCoordinateIn(rest, c);
        error += kPlacingRounding * size;
    }
    motion.error = Splat(RoundUp(error));
    ReadStretch(b, motion);
    return motion;
}

bool IsModerate(const Motion& motion)
{
    constexpr float kMax = 1e6;
    return motion.error[0] < kMax && motion.maxStretch[0] < kMax;
}

void SetPass(Motion& motion, Pass pass)
{
    motion.pass = pass;
    motion.hasSweptQuads = pass == Pass::kSweptQuads || pass == Pass::kAll;
    const bool quads = motion.hasSweptQuads;
    const float part = quads ? 0.5f : pass == Pass::kEnd ? 1.0f : 0.0f;
    double square = 0;
    for (int r = 0; r < 3; ++r) {
        motion.origin[r] = motion.start[r] + part * motion.displacement[r];
        motion.halfDisplacement[r] = (quads ? 0.5f : 0.0f) * motion.displacement[r];
        square += double(motion.displacement[r][0]) * motion.displacement[r][0];
    }
    motion.sweptLength = Splat(quads ? RoundUp(std::sqrt(square) * (1 + kPlacingRounding)) : 0);
}
