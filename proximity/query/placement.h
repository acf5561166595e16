// Poses and motions: what is refused, and bodies placed at a moment, with the bound of what placing
// rounds.
#ifndef PROXIMITY_QUERY_PLACEMENT_H
#define PROXIMITY_QUERY_PLACEMENT_H

#include "proximity/kernel/triangle_pair.h"
#include "proximity/query/body.h"
#include "proximity/query/vector.h"
#include "scapi/proximity.h"

namespace proximity
{

/// Unit roundoff of doubles, and of floats.
constexpr double kUnit = 0x1p-53, kFloatUnit = 0x1p-24;

/// @return SCAPI_OK or the code that tells what the pose looks like
int CheckPose(const double* pose);
int CheckMotion(const scapi_motion& motion);

/// A body at a moment: its point p lies at origin + rotation (p - tree.center) + center, where
/// `origin` is of the pair, near the bodies, so that nothing is lost to distant coordinates.
struct Placement {
    Mat rotation;
    Vec center;
    double error;    ///< no placed point is farther from its true place (Lemma P1)
    double offRigid; ///< bounds the norm of R^T R - I
};

struct PlacedPair {
    Placement a, b;
    Vec origin; ///< world

    double Error() const { return a.error + b.error; }
};

PlacedPair PlacePair(const Body& a, const double* poseA, const Body& b, const double* poseB);

/// What changes a placement along a motion, relative to the pair's origin.
struct MovingBody {
    Mat start;
    Vec arm;        ///< tree.center - pivot, body coordinates
    Vec pivotStart; ///< world, relative to the origin
    Vec path;
    Vec axis; ///< unit, or zeros
    double angle;
    double error; ///< Lemma P2
    double offRigid;
};

struct MovingPair {
    MovingBody a, b;
    Vec origin;
};

MovingPair MakeMovingPair(const Body& a, const scapi_motion& motionA, const Body& b,
                          const scapi_motion& motionB);
Placement PlaceAt(const MovingBody& body, double time);

/// The pose of a motion at a time.
void PoseAt(const scapi_motion& motion, double time, double* pose);

/// @return SCAPI_OK or SCAPI_ERROR_HALF_TURN
int MotionBetween(const double* start, const double* end, const double* pivot,
                  scapi_motion& motion);

Vec PlacePoint(const Tree& tree, const Placement& placement, const float* point);
Triangle PlaceTriangle(const Tree& tree, const Placement& placement, std::int32_t triangle);

} // namespace proximity

#endif
