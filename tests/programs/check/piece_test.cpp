// The bounds on how far a body goes and how far its one motion is off, against where its points
// truly are: by the machine's own matrices, at many times.
#include <gtest/gtest.h>

#include <random>

#include "piece.h"

namespace
{

using namespace check;

constexpr int kMachines = 400;
constexpr int kTimes = 24;

/// A chain of up to six axes of any kind and direction, all on the table's side.
Machine RandomMachine(std::mt19937& random)
{
    std::uniform_real_distribution<double> any(-1, 1);
    Machine machine;
    machine.tableAxes = 2 + random() % 5;
    for (std::size_t i = 0; i < machine.tableAxes; ++i) {
        Axis axis;
        axis.rotary = random() % 2 == 0;
        const Vec direction{any(random), any(random), any(random)};
        axis.direction = (1 / Length(direction)) * direction;
        axis.through = {200 * any(random), 200 * any(random), 200 * any(random)};
        machine.axes.push_back(axis);
    }
    return machine;
}

Path RandomPath(const Machine& machine, std::mt19937& random, Arc& arc)
{
    std::uniform_real_distribution<double> any(-1, 1);
    Path path;
    path.breaks = {0, 1};
    path.ends.fill(1);
    const double size = std::pow(10, -3 * std::fabs(any(random)));
    for (std::size_t i = 0; i < machine.axes.size(); ++i) {
        const double scale = random() % 3 == 0        ? 0
                             : machine.axes[i].rotary ? 150 * size
                                                      : 300 * size;
        path.from[i] = 100 * any(random);
        path.to[i] = path.from[i] + scale * any(random);
    }
    std::vector<std::size_t> linear;
    for (std::size_t i = 0; i < machine.axes.size(); ++i)
        if (!machine.axes[i].rotary) linear.push_back(i);
    if (linear.size() < 2 || random() % 2 == 0) return path;
    arc.first = linear[0], arc.second = linear[1];
    arc.radius[0] = 100 * std::fabs(any(random)) + 0.1,
    arc.radius[1] = arc.radius[0] + 0.01 * any(random);
    arc.angle = 3 * any(random), arc.sweep = 6 * size * any(random);
    path.arc = &arc;
    for (const auto& [time, end] : {std::pair{0.0, &path.from}, std::pair{1.0, &path.to}}) {
        const double radius = arc.radius[time > 0], angle = arc.angle + time * arc.sweep;
        (*end)[arc.first] = radius * std::cos(angle), (*end)[arc.second] = radius * std::sin(angle);
    }
    return path;
}

struct Worst {
    double displacement = 0, deviation = 0; ///< as parts of their bounds; 1 would be at the bound
    int approximate = 0;                    ///< motions that are not exact
};

void Attack(const Machine& machine, const Path& path, std::mt19937& random, Worst& worst)
{
    BodyFrame body{machine.axes.size(), kRest, {-20, -30, -10}, {40, 10, 60}};
    body.mount = TurnAbout({10, 20, 30}, {0, 0.6, 0.8}, double(random() % 7));
    const double start = 0.25 * double(random() % 3), end = start + 0.5;
    const Piece piece = PieceOf(machine, path, start, end);
    const BodyMotion motion = MotionOf(machine, piece, body);
    const double displacement = Displacement(machine, piece, body);
    const auto poseAt = [&](double time) {
        return Composed(PlaceLinks(machine, At(path, time)).at(body.link), body.mount);
    };
    const Pose middle = poseAt((start + end) / 2);
    if (motion.deviation < HUGE_VAL && motion.deviation > 1e-6) ++worst.approximate;
    for (int k = 0; k <= kTimes; ++k) {
        const double share = double(k) / kTimes;
        const Pose truth = poseAt(start + share * (end - start));
        Pose told{};
        const bool known = motion.deviation < HUGE_VAL;
        if (known) {
            ASSERT_EQ(scapi_motion_pose(&motion.motion, share, told.data()), SCAPI_OK);
        }
        for (int corner = 0; corner < 8; ++corner) {
            const Vec p{(corner & 1 ? body.high : body.low)[0],
                        (corner & 2 ? body.high : body.low)[1],
                        (corner & 4 ? body.high : body.low)[2]};
            const double gone = Length(Placed(truth, p) - Placed(middle, p));
            worst.displacement = std::max(worst.displacement, gone / displacement);
            if (known)
                worst.deviation = std::max(
                    worst.deviation, Length(Placed(truth, p) - Placed(told, p)) / motion.deviation);
        }
    }
}

TEST(CheckPiece, NoPointLeavesItsBounds)
{
    std::mt19937 random(4711);
    Worst worst;
    for (int i = 0; i < kMachines; ++i) {
        const Machine machine = RandomMachine(random);
        Arc arc;
        const Path path = RandomPath(machine, random, arc);
        Attack(machine, path, random, worst);
    }
    EXPECT_LE(worst.displacement, 1);
    EXPECT_LE(worst.deviation, 1);
    EXPECT_GT(worst.approximate, kMachines / 4);
    // A bound of half the size, or one without a term, would be left: the attack comes near.
    EXPECT_GT(worst.displacement, 0.95);
}

Axis Slide(const Vec& direction) { return {'X', false, direction, {}, 0, 0, 0, 0}; }
Axis TurnTable(const Vec& direction) { return {'C', true, direction, {}, 0, 0, 0, 0}; }

/// Of one piece, by many samples of the origin of a small body, as parts of the bounds.
Worst WorstOf(const Machine& machine, const Path& path)
{
    const Piece piece = PieceOf(machine, path, 0, 1);
    const BodyFrame body{machine.axes.size(), kRest, {-1e-3, -1e-3, -1e-3}, {1e-3, 1e-3, 1e-3}};
    const BodyMotion motion = MotionOf(machine, piece, body);
    const double displacement = Displacement(machine, piece, body);
    Worst worst;
    for (int k = 0; k <= 200; ++k) {
        const Vec truth = Translation(PlaceLinks(machine, At(path, k / 200.0)).at(body.link));
        Pose told{};
        EXPECT_EQ(scapi_motion_pose(&motion.motion, k / 200.0, told.data()), SCAPI_OK);
        worst.deviation =
            std::max(worst.deviation, Length(truth - Translation(told)) / motion.deviation);
        worst.displacement =
            std::max(worst.displacement,
                     Length(truth - Translation(piece.middle.at(body.link))) / displacement);
    }
    return worst;
}

struct ArcRow {
    const char* fault;
    std::vector<Axis> axes;
    std::size_t second;             ///< axis of the arc; the first is 0
    double radius[2];               ///< at the ends
    double sweep, middle;           ///< radians; the angle half way
    double deviation, displacement; ///< the least parts of the bounds that the arc reaches
};

const double kEighth = kPi / 4;
const ArcRow kArcs[] = {
    {"LessThanTheSagitta", {Slide({1, 0, 0}), Slide({0, 1, 0})}, 1, {50, 50}, 0.3, 1, 0.98, 0.98},
    {"SkewedAxesBend",
     {Slide({1, 0, 0}), Slide({0.5, std::sqrt(0.75), 0})},
     1,
     {50, 50},
     0.3,
     kEighth,
     0.98,
     0.5},
    {"SkewedAxesMove",
     {Slide({1, 0, 0}), Slide({0.5, std::sqrt(0.75), 0})},
     1,
     {50, 50},
     0.3,
     -kEighth,
     0.5,
     0.98},
    {"ARotaryAxisBetweenAlignsThemInABend",
     {Slide({1, 0, 0}), TurnTable({0, 0, 1}), Slide({0, 1, 0})},
     2,
     {50, 50},
     0.3,
     kEighth,
     0.98,
     0},
    {"ARotaryAxisBetweenAlignsThemInAMove",
     {Slide({1, 0, 0}), TurnTable({0, 0, 1}), Slide({0, 1, 0})},
     2,
     {50, 50},
     0.3,
     -kEighth,
     0,
     0.98},
    {"OneAxisOfTheArcIsOnTheOtherSide",
     {Slide({1, 0, 0}), Slide({0, 1, 0})},
     1,
     {50, 50},
     0.3,
     kPi / 2,
     0.98,
     0},
    {"GrowthOfTheRadiusIsLeftOut",
     {Slide({1, 0, 0}), Slide({0, 1, 0})},
     1,
     {10, 60},
     1,
     0,
     0.6,
     0.6},
};

TEST(CheckPiece, ArcsComeNearTheirBounds)
{
    for (const ArcRow& row : kArcs) {
        Machine machine;
        machine.axes = row.axes;
        const bool apart = row.fault == std::string("OneAxisOfTheArcIsOnTheOtherSide");
        machine.tableAxes = apart ? 1 : row.axes.size();
        const Arc arc{
            0,         row.second, {}, {row.radius[0], row.radius[1]}, row.middle - row.sweep / 2,
            row.sweep, 0};
        Path path{{}, {}, &arc, {1, 1, 1, 1, 1, 1}, {0, 1}};
        path.from[1] = path.to[1] = -90; // where that is a rotary axis
        for (const auto& [time, end] : {std::pair{0, &path.from}, std::pair{1, &path.to}}) {
            const double angle = arc.angle + time * arc.sweep;
            (*end)[0] = arc.radius[time] * std::cos(angle);
            (*end)[row.second] = arc.radius[time] * std::sin(angle);
        }
        const Worst worst = WorstOf(machine, path);
        EXPECT_LE(worst.deviation, 1) << row.fault;
        EXPECT_GE(worst.deviation, row.deviation) << row.fault;
        EXPECT_LE(worst.displacement, 1) << row.fault;
        EXPECT_GE(worst.displacement, row.displacement) << row.fault;
    }
}

/// Two tables on one line turn by 95 degrees each; the shortest rotation between the ends is 170
/// degrees the other way, so half way the motion is on the far side.
TEST(CheckPiece, TheLongerWayRoundIsFartherOff)
{
    Machine machine;
    machine.tableAxes = 2;
    machine.axes = {TurnTable({0, 0, 1}), TurnTable({0, 0, 1})};
    machine.axes[0].through = machine.axes[1].through = {50, 0, 0};
    const Path path{{0, 0}, {95, 95}, nullptr, {1, 1, 1, 1, 1, 1}, {0, 1}};
    const Worst worst = WorstOf(machine, path);
    EXPECT_LE(worst.deviation, 1);
    EXPECT_GE(worst.deviation, 0.7);
}

/// One rotary axis that is carried by linear ones that move is a motion of the library as it is.
TEST(CheckPiece, ScrewOfOneRotaryAxisIsExact)
{
    Machine machine;
    machine.tableAxes = 2;
    machine.axes.resize(2);
    machine.axes[1] = {'C', true, {0, 0, 1}, {30, 0, 0}, 0, 0, 0, 0};
    Path path{{0, 0}, {100, 700}, nullptr, {1, 1, 1, 1, 1, 1}, {0, 1}};
    const BodyFrame body{2, kRest, {-20, -30, -10}, {40, 10, 60}};
    EXPECT_LT(MotionOf(machine, PieceOf(machine, path, 0, 1), body).deviation, 1e-6);
    // With the linear axis beyond the rotary one its points run along spirals.
    std::swap(machine.axes[0], machine.axes[1]);
    std::swap(path.to[0], path.to[1]);
    EXPECT_GT(MotionOf(machine, PieceOf(machine, path, 0, 1), body).deviation, 1);
}

/// A slide on a turning table runs along a spiral. The rate of one axis times that of the other,
/// twice, is all that bends it when it turns slowly: a bound with less of it would be below the
/// truth.
TEST(CheckPiece, SpiralOfASlideOnATableIsNearItsBound)
{
    Machine machine;
    machine.tableAxes = 2;
    machine.axes.resize(2);
    machine.axes[0] = {'C', true, {0, 0, 1}, {0, 0, 0}, 0, 0, 0, 0};
    const Path path{{0, 0}, {0.6, 200}, nullptr, {1, 1, 1, 1, 1, 1}, {0, 1}};
    const BodyFrame body{2, kRest, {-1, -1, -1}, {1, 1, 1}};
    const Piece piece = PieceOf(machine, path, 0, 1);
    const BodyMotion motion = MotionOf(machine, piece, body);
    Pose told{};
    ASSERT_EQ(scapi_motion_pose(&motion.motion, 0.5, told.data()), SCAPI_OK);
    const double off = Length(Translation(told) - Translation(piece.middle[2]));
    EXPECT_LE(off, motion.deviation);
    EXPECT_GE(off, 0.95 * motion.deviation);
}

} // namespace
