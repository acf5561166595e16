// Poses of bodies: three rows (R | t), as in the proximity library.
#ifndef SCAPI_PROGRAMS_PAIR_POSES_H
#define SCAPI_PROGRAMS_PAIR_POSES_H

#include <array>
#include <string>
#include <vector>

namespace pair
{

using Vector = std::array<double, 3>;
using Pose = std::array<double, 12>;

constexpr Pose kRest{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};

/// A pose from 3 numbers (translation), 6 (translation, and degrees about the fixed axes x, y, z,
/// turned in this order before it is moved), 12 (three rows) or 16 (four rows, the last 0, 0, 0,
/// 1). Whether 12 or 16 numbers are a rotation is left to scapi_pose_check.
/// @return an error message, empty when all is well
std::string PoseFromNumbers(const std::vector<double>& numbers, Pose& pose);

/// The pose that does `second` after `first`.
Pose Multiply(const Pose& second, const Pose& first);

/// The pose that undoes a rigid one.
Pose Inverse(const Pose& pose);

} // namespace pair

#endif
