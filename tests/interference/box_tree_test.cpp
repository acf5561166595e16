#include "interference/box_tree.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>
#include <vector>

namespace
{

/// Sees each node on the way down, and counts how often the quads come by each item.
struct TreeWalk {
    const BoxTree& tree;
    std::vector<int> seen = std::vector<int>(static_cast<std::size_t>(tree.itemCount));
    int deepest = 0;

    void Quad(int q, int depth)
    {
        deepest = std::max(deepest, depth);
        const BoxQuad& quad = tree.Quad(q);
        ASSERT_GE(quad.count, 1);
        for (int lane = 0; lane < quad.count; ++lane) {
            if (quad.below[lane] > 0) {
                Quad(quad.below[lane], depth + 1);
                continue;
            }
            const BoxNode& leaf = tree.At(quad.node[lane]);
            ASSERT_LE(leaf.last - leaf.first, kItemsPerLeaf);
            for (int i = leaf.first; i < leaf.last; ++i)
                ++seen[static_cast<std::size_t>(tree.item[static_cast<std::size_t>(i)])];
        }
    }
};

TEST(BoxTree, CrowdedItemsNeitherGetLostNorMakeItDeep)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<float> any(-1, 1);
    struct Case {
        const char* name;
        std::function<float(int)> place, facing;
    };
    const Case cases[] = {
        {"spread", [&](int) { return any(random); }, [&](int) { return any(random); }},
        {"all in one place", [](int) { return 7.0f; }, [](int) { return 0.0f; }},
        {"each ten times nearer than the last", [](int i) { return std::pow(0.1f, float(i % 40)); },
         [](int) { return 1.0f; }},
        {"one far away", [](int i) { return i ? float(i) * 1e-6f : 9e8f; },
         [](int i) { return i % 3 ? 1.0f : -1.0f; }},
        {"facing ever nearer to one way", [](int) { return 1.0f; },
         [](int i) { return std::pow(0.5f, float(i % 30)); }},
    };
    for (const Case& one : cases)
        for (const int count : {1, 4, 5, 6, 17, 3000}) {
            SCOPED_TRACE(testing::Message() << one.name << ' ' << count);
            auto items = MakeScratch<BoxItem>(static_cast<std::size_t>(count));
            for (int i = 0; i < count; ++i) {
                BoxItem& item = items[static_cast<std::size_t>(i)];
                item.item = i;
                for (auto& corner : item.corner) corner[i % 3] = one.place(i);
                item.normal[i % 2] = one.facing(i);
            }
            const BoxTree tree = BuildBoxTree(items, count);
            TreeWalk walk{tree};
            walk.Quad(0, 0);
            EXPECT_EQ(walk.seen, std::vector<int>(static_cast<std::size_t>(count), 1));
            EXPECT_LT(walk.deepest, 50);
        }
}

} // namespace
