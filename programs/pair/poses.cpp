#include "poses.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace pair
{
namespace
{

/// By whole quarter turns without rounding, so that boxes stay aligned.
Pose RotationAbout(std::size_t axis, double degrees)
{
    const double quarters = degrees / 90;
    double c = std::cos(degrees * std::numbers::pi / 180);
    double s = std::sin(degrees * std::numbers::pi / 180);
    if (quarters == std::floor(quarters)) c = std::round(c), s = std::round(s);
    const std::size_t u = (axis + 1) % 3, v = (axis + 2) % 3;
    Pose pose = kRest;
    pose[4 * u + u] = c, pose[4 * u + v] = -s;
    pose[4 * v + u] = s, pose[4 * v + v] = c;
    return pose;
}

} // namespace

std::string PoseFromNumbers(const std::vector<double>& numbers, Pose& pose)
{
    pose = kRest;
    switch (numbers.size()) {
    case 16:
        if (numbers[12] != 0 || numbers[13] != 0 || numbers[14] != 0 || numbers[15] != 1)
            return "the last four of 16 numbers have to be 0,0,0,1; a translation there means that "
                   "the matrix was written by columns: write it row by row";
        [[fallthrough]];
    case 12:
        std::copy_n(numbers.begin(), 12, pose.begin());
        return {};
    case 6:
        for (std::size_t axis = 0; axis < 3; ++axis)
            pose = Multiply(RotationAbout(axis, numbers[3 + axis]), pose);
        [[fallthrough]];
    case 3:
        for (std::size_t axis = 0; axis < 3; ++axis) pose[4 * axis + 3] = numbers[axis];
        return {};
    default:
        return "a pose takes 3, 6, 12 or 16 numbers, not " + std::to_string(numbers.size());
    }
}

Pose Multiply(const Pose& second, const Pose& first)
{
    Pose product{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 4; ++j)
            for (std::size_t k = 0; k < 3; ++k)
                product[4 * i + j] += second[4 * i + k] * first[4 * k + j];
        product[4 * i + 3] += second[4 * i + 3];
    }
    return product;
}

Pose Inverse(const Pose& pose)
{
    Pose inverse{};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j) {
            inverse[4 * i + j] = pose[4 * j + i];
            inverse[4 * i + 3] -= pose[4 * j + i] * pose[4 * j + 3];
        }
    return inverse;
}

} // namespace pair
