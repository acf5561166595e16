#include "proximity/query/node_bounds.h"

#include <cfloat>

namespace proximity
{
namespace
{

constexpr double kNodeRoundings = 96; ///< of numbers no larger than the pair, in Lemmas N1 and N2

} // namespace

FrameChange MakeFrameChange(const Placement& x, const Placement& y)
{
    FrameChange change;
    const Vec between = y.center - x.center;
    const Vec inX = TransposedTimes(x.rotation, between);
    const Vec inY = TransposedTimes(y.rotation, between);
    for (int i = 0; i < 3; ++i) {
        const Vec column = Column(x.rotation, i);
        for (int j = 0; j < 3; ++j) {
            change.m[i][j] = static_cast<float>(Dot(column, Column(y.rotation, j)));
            change.size[i][j] = std::fabs(change.m[i][j]);
        }
        change.inX[i] = static_cast<float>(inX[i]);
        change.inY[i] = static_cast<float>(-inY[i]);
    }
    return change;
}

NodeSlack MakeNodeSlack(const Body& a, const Body& b, const PlacedPair& pair, double unit)
{
    const double off = pair.a.offRigid + pair.b.offRigid;
    const double size = a.reach + b.reach + SumOfSizes(pair.b.center - pair.a.center);
    return {kNodeRoundings * unit * size + off * size + pair.Error(), 1 + off};
}

float PruneLimit(const NodeSlack& slack, double limit)
{
    const double far = (limit + slack.length) * slack.factor;
    // Squares of floats below 1e-18 lose themselves among the denormal numbers, or become 0; and a
    // limit of 0 would pass over everything.
    const double square = far * far * (1 + 0x1p-20) + 1e-36;
    return square < double(FLT_MAX) ? static_cast<float>(square) : FLT_MAX;
}

} // namespace proximity
