#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

#include "geometry/bbox.h"
#include "geometry/matrix.h"
#include "geometry/vector.h"
#include "mesh/triangle.h"

namespace
{

const float kNaN = std::nanf("");

TEST(Axes, TiesAndNaNsGiveTheAxisThatRefinementNeeds)
{
    struct Row {
        float v[3];
        int smallest, largest;
    };
    const Row rows[] = {{{1, 1, 1}, 0, 0},    {{2, 1, 1}, 1, 0},    {{2, 2, 1}, 2, 0},
                        {{1, 2, 2}, 0, 1},    {{0, 0, 0}, 0, 0},    {{-3, 2, -1}, 2, 0},
                        {{3, kNaN, 5}, 0, 1}, {{kNaN, 2, 5}, 0, 2}, {{4, 2, kNaN}, 1, 0},
                        {{0, kNaN, 0}, 0, 1}};
    for (const Row& row : rows) {
        EXPECT_EQ(LargestAxis(row.v), row.largest)
            << row.v[0] << ' ' << row.v[1] << ' ' << row.v[2];
        const bool finite = std::isfinite(row.v[0] + row.v[1] + row.v[2]);
        EXPECT_TRUE(!finite || SmallestAxis(row.v) == row.smallest);
    }
}

TEST(Boxes, TieOfZeroAndMinusZeroTakesTheRightOperand)
{
    const float triangle[3][3] = {{0.0f, 1, 1}, {-0.0f, 1, 1}, {-0.0f, 1, 1}};
    const float minusZero[3] = {-0.0f, 1, 1};
    float box[6], other[6] = {-0.0f, 1, 1, -0.0f, 1, 1};
    TriangleBbox(triangle, box);
    EXPECT_FALSE(std::signbit(box[0])) << "a tie keeps the first corner";
    ExtendBbox(box, minusZero);
    EXPECT_FALSE(std::signbit(box[0])) << "a tie keeps the box";
    MergeBbox(box, other);
    EXPECT_TRUE(std::signbit(box[0]) && std::signbit(box[3])) << "a tie takes the other box";
    MergeBbox(box, nullptr);
    EXPECT_EQ(box[0], 1e10f);
    MergeBbox(box, other);
    EXPECT_EQ(box[5], 1.0f);
    EXPECT_FALSE(BboxesMeet(other, other, 0))
        << "touching does not count, not even for a flat box and itself";
    EXPECT_TRUE(BboxesMeet(other, other, 1e-6));
}

TEST(Matrices, PointIsDividedOnlyWhenWIsNotOne)
{
    float m[4][4] = {{0, -1, 0, 5}, {1, 0, 0, 6}, {0, 0, 1, 7}, {0, 0, 0, 1}}, product[16];
    const float p[3] = {1, 2, 3};
    const std::tuple<float, int, float> rows[] = {{1, 1, 3},     {2, 1, 1.5f}, {1.000002f, 1, 3},
                                                  {1e-6f, 0, 9}, {0, 0, 9},    {-2, 1, -1.5f}};
    for (const auto& [w, result, x] : rows) {
        float out[3] = {9, 9, 9};
        m[3][3] = w;
        EXPECT_EQ(TransformPoint(out, m, p), result) << w;
        EXPECT_EQ(out[0], x) << w;
    }
    m[3][3] = 1;
    MatrixMultiply(product, m[0], m[0]);
    const float expected[16] = {-1, 0, 0, -1, 0, -1, 0, 11, 0, 0, 1, 14, 0, 0, 0, 1};
    EXPECT_TRUE(std::equal(product, product + 16, expected));
}

} // namespace
