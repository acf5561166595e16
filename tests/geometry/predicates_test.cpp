#include "geometry/predicates.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "geometry/status.h"
#include "geometry/vector.h"
#include "support/meshes.h"

namespace
{

using Edge = std::array<Point, 2>;

Point Rotated(const Point& p, std::size_t by)
{
    return {p[by % 3], p[(by + 1) % 3], p[(by + 2) % 3]};
}
const float (*Rows(const Point* points))[3] { return reinterpret_cast<const float(*)[3]>(points); }

struct EdgeRow {
    const char* fault;
    Edge edge;
    int hit;
};

// Against the triangle (0,0,0), (1,0,0), (0,1,0).
const EdgeRow kEdges[] = {
    {"ThroughTheFace", {{{0.25f, 0.25f, -1}, {0.25f, 0.25f, 1}}}, 1},
    {"PassesOutsideTheFace", {{{0.75f, 0.75f, -1}, {0.75f, 0.75f, 1}}}, 0},
    {"EndsOnTheFace", {{{0.25f, 0.25f, 0}, {0.25f, 0.25f, 1}}}, 1},
    {"EndsWithinTheTolerance", {{{0.25f, 0.25f, 0.9e-4f}, {0.25f, 0.25f, 1}}}, 1},
    {"EndsShortOfTheFace", {{{0.25f, 0.25f, 0.001f}, {0.25f, 0.25f, 1}}}, 0},
    {"ThroughASide", {{{0.5f, 0, -1}, {0.5f, 0, 1}}}, 1},
    {"ThroughTheMarginOfASide", {{{0.5f, -0.9e-4f, -1}, {0.5f, -0.9e-4f, 1}}}, 1},
    {"OutsideTheMarginOfASide", {{{0.5f, -1.2e-4f, -1}, {0.5f, -1.2e-4f, 1}}}, 0},
    {"LiesWhollyInside", {{{0.1f, 0.1f, 0}, {0.2f, 0.2f, 0}}}, 0},
    {"LeavesThroughASideInPlane", {{{0.2f, 0.2f, 0}, {2, 2, 0}}}, 1},
    {"LiesAlongASide", {{{0.2f, 0, 0}, {0.8f, 0, 0}}}, 1},
    {"LiesOutsideInPlane", {{{0.2f, -0.1f, 0}, {0.8f, -0.1f, 0}}}, 0},
    {"NaNNeverHits", {{{std::nanf(""), 0, -1}, {0.2f, 0.2f, 1}}}, 0},
};

TEST(EdgeCrossesTriangle, InEveryRotationOfCornersAndAxes)
{
    for (const EdgeRow& row : kEdges)
        for (std::size_t axes = 0; axes < 3; ++axes)
            for (std::size_t first = 0; first < 3; ++first) {
                const Point corners[3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
                Point rotated[3];
                for (std::size_t c = 0; c < 3; ++c)
                    rotated[c] = Rotated(corners[(c + first) % 3], axes);
                for (const std::size_t e : {0u, 1u}) {
                    const Point edge[2] = {Rotated(row.edge[e], axes),
                                           Rotated(row.edge[1 - e], axes)};
                    EXPECT_EQ(EdgeCrossesTriangle(Rows(edge), Rows(rotated)), row.hit)
                        << row.fault << ' ' << axes << ' ' << first << ' ' << e;
                }
            }
}

// The carried plane (docs/behaviour.md): a triangle without area is tested with the plane and the
// crossing point of the triangle before it.
TEST(EdgeCrossesTriangle, DegenerateTriangleUsesThePlaneOfItsPredecessor)
{
    const Point beside[3] = {{5, 5, 0}, {6, 5, 0}, {5, 6, 0}},
                spot[3] = {{3, 3, 0}, {3, 3, 0}, {3, 3, 0}};
    const Point edge[2] = {{1, 1, -1}, {1, 1, 1}};
    CrossingState state;
    EXPECT_EQ(EdgeCrossesTriangle(Rows(edge), Rows(beside), state), 0);
    EXPECT_EQ(EdgeCrossesTriangle(Rows(edge), Rows(spot), state), 1);
    EXPECT_EQ(EdgeCrossesTriangle(Rows(edge), Rows(spot)), 0);
}

TEST(PointInsideTriangle, MarginShrinksWithTheLengthOfTheSide)
{
    const Point corners[3] = {{0, 0, 0}, {10, 0, 0}, {0, 10, 0}};
    const float normal[3] = {0, 0, 1}, in[3] = {5, -0.9e-5f, 0}, out[3] = {5, -1.1e-5f, 0};
    EXPECT_EQ(PointInsideTriangle(Rows(corners), normal, in, 1e-4f), 1);
    EXPECT_EQ(PointInsideTriangle(Rows(corners), normal, out, 1e-4f), 0);
}

struct SegmentRow {
    const char* fault;
    float length; ///< of the first, which runs from the origin along x
    Edge other;
    int result;
    float box[6];
};

const SegmentRow kSegments[] = {
    {"Cross", 2, {{{1, -1, 0}, {1, 1, 0}}}, 1, {1, 0, 0, 1, 0, 0}},
    {"PassWithinTheTolerance", 2, {{{1, -1, 9e-5f}, {1, 1, 9e-5f}}}, 1, {1, 0, 0, 1, 0, 0}},
    {"PassApart", 2, {{{1, -1, 1.1e-4f}, {1, 1, 1.1e-4f}}}, 0, {}},
    {"TeeJunction", 2, {{{1, 0, 0}, {1, 1, 0}}}, 0, {}},
    {"CrossBeyondTheEnd", 2, {{{3, -1, 0}, {3, 1, 0}}}, 0, {}},
    {"ShareAnEndInLine", 1, {{{1, 0, 0}, {2, 0, 0}}}, 0, {}},
    {"OverlapInLine", 2, {{{1, 0, 0}, {3, 0, 0}}}, 1, {1, 0, 0, 2, 0, 0}},
    {"OneInsideTheOther", 9, {{{6, 0, 0}, {3, 0, 0}}}, 1, {3, 0, 0, 6, 0, 0}},
    {"ParallelApart", 2, {{{0, 0.1f, 0}, {2, 0.1f, 0}}}, 0, {}},
    {"ShortCountAsParallel", 0.05f, {{{0.025f, -0.025f, 0}, {0.025f, 0.025f, 0}}}, 0, {}},
};

TEST(SegmentsIntersecting, CrossingCountsOnlyAwayFromEnds)
{
    for (const SegmentRow& row : kSegments) {
        float out[6] = {7, 7, 7, 7, 7, 7};
        const float from[3] = {0, 0, 0}, to[3] = {row.length, 0, 0};
        const auto& [p, q] = row.other;
        EXPECT_EQ(SegmentsIntersecting(from, to, p.data(), q.data(), 1e-4f, out), row.result)
            << row.fault;
        EXPECT_TRUE(row.result ? std::equal(out, out + 6, row.box) : out[0] == 7) << row.fault;
    }
}

} // namespace
