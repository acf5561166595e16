#include "proximity/query/placement.h"

#include <algorithm>
#include <cstring>

#include "proximity/kernel/angles.h"

namespace proximity
{
namespace
{

constexpr double kRigidWithin = 1e-6;

Mat RotationOf(const double* pose) { return {{VecOf(pose), VecOf(pose + 4), VecOf(pose + 8)}}; }
Vec TranslationOf(const double* pose) { return {{pose[3], pose[7], pose[11]}}; }

double Determinant(const Mat& m) { return Dot(m.row[0], Cross(m.row[1], m.row[2])); }

/// The largest absolute row sum of m^T m - I, which bounds its norm; what computing it can lose is
/// added.
double OffRigid(const Mat& m)
{
    double off[3][3];
    for (int i = 0; i < 3; ++i)
        for (int j = i; j < 3; ++j)
            off[i][j] = off[j][i] =
                std::fabs(Dot(Column(m, i), Column(m, j)) - (i == j ? 1.0 : 0.0));
    double most = 0;
    for (const auto& row : off) most = std::max(most, row[0] + row[1] + row[2]);
    return most + 32 * kUnit;
}

/// Orthogonal rows of another length than 1.
bool LooksScaled(const Mat& m)
{
    const double size = std::max({Length(m.row[0]), Length(m.row[1]), Length(m.row[2])});
    for (int i = 0; i < 3; ++i)
        if (!(std::fabs(Dot(m.row[i], m.row[(i + 1) % 3])) <= 1e-4 * size * size)) return false;
    return size > 0;
}

/// Nine words of a rotation followed by three of a translation: a matrix that was stored column
/// behind column. A rotation that is transposed in its place is rigid itself and cannot be told.
bool LooksTransposed(const double* pose)
{
    const Mat packed{{VecOf(pose), VecOf(pose + 3), VecOf(pose + 6)}};
    return OffRigid(packed) <= 16 * kRigidWithin;
}

bool IsGoodMagnitude(const double* numbers, int count)
{
    return std::all_of(numbers, numbers + count, IsGoodCoordinate);
}

Mat RotationBy(const Vec& axis, double angle)
{
    const auto [s, c] = SineCosineOf(angle);
    Mat m;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) m.row[i][j] = (1 - c) * axis[i] * axis[j];
    for (int i = 0; i < 3; ++i) m.row[i][i] += c;
    m.row[0][1] -= s * axis[2], m.row[1][0] += s * axis[2];
    m.row[0][2] += s * axis[1], m.row[2][0] -= s * axis[1];
    m.row[1][2] -= s * axis[0], m.row[2][1] += s * axis[0];
    return m;
}

Mat operator*(const Mat& a, const Mat& b)
{
    Mat m;
    for (int i = 0; i < 3; ++i) m.row[i] = TransposedTimes(b, a.row[i]);
    return m;
}

Vec CenterOf(const Body& body) { return VecOf(body.tree.center); }

/// Lemma P1: 16 roundings of numbers no larger than these together.
double PlacingError(double reach, const Vec& bodyCenter, const Vec& translation, const Vec& center)
{
    return 16 * kUnit *
           (reach + SumOfSizes(bodyCenter) + SumOfSizes(translation) + SumOfSizes(center));
}

MovingBody MakeMoving(const Body& body, const scapi_motion& motion, const Vec& origin)
{
    MovingBody moving{};
    moving.start = RotationOf(motion.start);
    const Vec pivot = VecOf(motion.pivot), translation = TranslationOf(motion.start);
    moving.arm = CenterOf(body) - pivot;
    moving.pivotStart = moving.start * pivot + translation - origin;
    moving.path = VecOf(motion.path);
    moving.angle = motion.angle;
    if (motion.angle != 0) {
        const Vec axis = VecOf(motion.axis);
        moving.axis = (1 / Length(axis)) * axis;
    }
    moving.offRigid = OffRigid(moving.start) + 64 * kUnit;
    const double turned = body.reach + SumOfSizes(moving.arm);
    moving.error = 64 * kUnit *
                       (turned + SumOfSizes(CenterOf(body)) + SumOfSizes(pivot) +
                        SumOfSizes(translation) + SumOfSizes(origin) + SumOfSizes(moving.path)) +
                   8 * kUnit * std::fabs(motion.angle) * turned;
    return moving;
}

} // namespace

int CheckPose(const double* pose)
{
    if (!IsGoodMagnitude(pose, 12)) return SCAPI_ERROR_POSE_NUMBER;
    const Mat rotation = RotationOf(pose);
    if (OffRigid(rotation) <= kRigidWithin)
        return Determinant(rotation) > 0 ? SCAPI_OK : SCAPI_ERROR_POSE_MIRRORED;
    if (LooksTransposed(pose)) return SCAPI_ERROR_POSE_TRANSPOSED;
    return LooksScaled(rotation) ? SCAPI_ERROR_POSE_SCALED : SCAPI_ERROR_POSE_NOT_RIGID;
}

int CheckMotion(const scapi_motion& motion)
{
    const int code = CheckPose(motion.start);
    if (code != SCAPI_OK) return code;
    if (!IsGoodMagnitude(motion.pivot, 3) || !IsGoodMagnitude(motion.path, 3) ||
        !IsGoodMagnitude(motion.axis, 3) || !(std::fabs(motion.angle) <= SCAPI_MAX_ANGLE))
        return SCAPI_ERROR_POSE_NUMBER;
    if (motion.angle != 0 && !(std::fabs(Length(VecOf(motion.axis)) - 1) <= kRigidWithin))
        return SCAPI_ERROR_AXIS;
    return SCAPI_OK;
}

PlacedPair PlacePair(const Body& a, const double* poseA, const Body& b, const double* poseB)
{
    PlacedPair pair{};
    pair.a.rotation = RotationOf(poseA);
    pair.b.rotation = RotationOf(poseB);
    pair.origin = pair.a.rotation * CenterOf(a) + TranslationOf(poseA);
    pair.b.center = (pair.b.rotation * CenterOf(b) + TranslationOf(poseB)) - pair.origin;
    pair.a.error = PlacingError(a.reach, CenterOf(a), TranslationOf(poseA), pair.a.center);
    pair.b.error = PlacingError(b.reach, CenterOf(b), TranslationOf(poseB), pair.b.center);
    pair.a.offRigid = OffRigid(pair.a.rotation);
    pair.b.offRigid = OffRigid(pair.b.rotation);
    return pair;
}

MovingPair MakeMovingPair(const Body& a, const scapi_motion& motionA, const Body& b,
                          const scapi_motion& motionB)
{
    const Vec origin = RotationOf(motionA.start) * CenterOf(a) + TranslationOf(motionA.start);
    return {MakeMoving(a, motionA, origin), MakeMoving(b, motionB, origin), origin};
}

Placement PlaceAt(const MovingBody& body, double time)
{
    Placement placement{};
    placement.rotation =
        body.angle != 0 ? RotationBy(body.axis, time * body.angle) * body.start : body.start;
    placement.center = body.pivotStart + time * body.path + placement.rotation * body.arm;
    placement.error = body.error;
    placement.offRigid = body.offRigid;
    return placement;
}

void PoseAt(const scapi_motion& motion, double time, double* pose)
{
    Mat rotation = RotationOf(motion.start);
    const Vec pivot = VecOf(motion.pivot);
    const Vec from = rotation * pivot + TranslationOf(motion.start);
    if (motion.angle != 0) {
        const Vec axis = VecOf(motion.axis);
        rotation = RotationBy((1 / Length(axis)) * axis, time * motion.angle) * rotation;
    }
    const Vec translation = from + time * VecOf(motion.path) - rotation * pivot;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) pose[4 * i + j] = rotation.row[i][j];
        pose[4 * i + 3] = translation[i];
    }
}

int MotionBetween(const double* start, const double* end, const double* pivot, scapi_motion& motion)
{
    motion = {};
    std::copy(start, start + 12, motion.start);
    if (pivot) std::copy(pivot, pivot + 3, motion.pivot);
    const Mat from = RotationOf(start), to = RotationOf(end);
    Mat turn; // to times from transposed
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) turn.row[i][j] = Dot(to.row[i], from.row[j]);
    const Vec twice{{turn.row[2][1] - turn.row[1][2], turn.row[0][2] - turn.row[2][0],
                     turn.row[1][0] - turn.row[0][1]}};
    const double sine = 0.5 * Length(twice);
    const double cosine = 0.5 * (turn.row[0][0] + turn.row[1][1] + turn.row[2][2] - 1);
    // Half a turn: either way round is as short, and rounding would choose.
    if (cosine < 0 && sine < 1e-6) return SCAPI_ERROR_HALF_TURN;
    // Poses are rotations within 1e-6 only; what is less than rounding is no turn.
    if (sine > 1e-12) {
        motion.angle = AngleOf(sine, cosine);
        const Vec axis = (1 / Length(twice)) * twice;
        std::copy(axis.x, axis.x + 3, motion.axis);
    }
    const Vec at = VecOf(motion.pivot);
    const Vec path = (to * at + TranslationOf(end)) - (from * at + TranslationOf(start));
    std::copy(path.x, path.x + 3, motion.path);
    return SCAPI_OK;
}

Vec PlacePoint(const Tree& tree, const Placement& placement, const float* point)
{
    return placement.rotation * (VecOf(point) - VecOf(tree.center)) + placement.center;
}

Triangle PlaceTriangle(const Tree& tree, const Placement& placement, std::int32_t triangle)
{
    Triangle placed;
    const FloatTriangle& t = tree.triangle[static_cast<std::size_t>(triangle)];
    for (int corner = 0; corner < 3; ++corner) {
        const Vec at = PlacePoint(tree, placement, t.corner[corner]);
        std::memcpy(placed.corner[corner], at.x, sizeof at.x);
    }
    return placed;
}

} // namespace proximity
