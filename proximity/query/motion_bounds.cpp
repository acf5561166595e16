#include "proximity/query/motion_bounds.h"

namespace proximity
{

Rates RatesAt(const MovingBody& body, double time)
{
    const Vec spin = body.angle * body.axis;
    return {body.path, spin, Length(spin), body.pivotStart + time * body.path};
}

} // namespace proximity
