#include "geometry/transformed_boxes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "geometry/matrix.h"
#include "geometry/status.h"

namespace
{

TEST(MatricesDiffer, RotationHasATighterToleranceThanTranslation)
{
    const struct {
        int element;
        float a, b;
        int differ;
    } rows[] = {{3, 0, 5e-5f, 0},       {3, 0, 1e-3f, 1},       {1, 0, 1e-5f, 1},
                {1, 0, 2e-6f, 0},       {7, 1000, 1000.05f, 0}, {4, 1000, 1000.05f, 1},
                {11, 1000, 1000.2f, 1}, {14, 0, 1e-5f, 1},      {15, 1, 1.00005f, 0}};
    for (const auto& row : rows) {
        float a[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}, b[16];
        std::copy_n(a, 16, b);
        a[row.element] = row.a;
        b[row.element] = row.b;
        EXPECT_EQ(MatricesDiffer(a, b), row.differ) << row.element << ' ' << row.b;
        EXPECT_EQ(MatricesDiffer(b, a), row.differ) << row.element << ' ' << row.b;
    }
}

TEST(TransformBox, RotatesTranslatesAndDivides)
{
    const float box[6] = {1, 2, 3, 4, 5, 6};
    const struct {
        float matrix[16], box[6];
    } rows[] = {{{0, -1, 0, 10, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}, {5, 1, 3, 8, 4, 6}},
                {{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 2}, {0.5f, 1, 1.5f, 2, 2.5f, 3}},
                {{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0}, {1, 2, 3, 1, 2, 3}}};
    for (const auto& row : rows) {
        float out[6];
        TransformBox(out, row.matrix, box);
        EXPECT_TRUE(std::equal(out, out + 6, row.box)) << row.box[0];
    }
    EXPECT_EQ(BoxesOverlap(box, box), 1);
}

} // namespace
