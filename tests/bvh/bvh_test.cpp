#include "bvh/bvh.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <random>
#include <tuple>
#include <vector>

namespace
{

/// Sees each node on the way down, grows what is not, and counts how often it comes by each item.
struct TreeWalk {
    Bvh& tree;
    std::vector<BvhItem>& items;
    std::vector<int> seen = std::vector<int>(items.size());
    int deepest = 0, grown = 0;

    void Quad(int q, int depth)
    {
        deepest = std::max(deepest, depth);
        const WideNode& wide = tree.wide[q];
        ASSERT_GE(wide.count, 1);
        for (int lane = 0; lane < wide.count; ++lane) {
            const auto own =
                std::span(items).subspan(static_cast<std::size_t>(wide.items[lane].first),
                                         static_cast<std::size_t>(wide.items[lane].Count()));
            if (wide.below[lane] == WideNode::kUnbuilt) {
                ASSERT_LE(own.size(), kLazyItems);
                tree.wide[q].below[lane] = BuildSubtree(tree, q, lane, own);
                ++grown;
            }
            if (!wide.IsLeaf(lane)) {
                Quad(wide.below[lane], depth + 1);
                continue;
            }
            ASSERT_LE(own.size(), kItemsPerLeaf);
            for (const BvhItem& item : own) ++seen[static_cast<std::size_t>(item.item)];
        }
    }
};

TEST(Bvh, CrowdedItemsNeitherGetLostNorMakeItDeep)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<float> any(-1, 1);
    using Draw = std::function<float(int)>;
    const std::tuple<const char*, Draw, Draw> cases[] = {
        {"spread", [&](int) { return any(random); }, [&](int) { return any(random); }},
        {"all in one place", [](int) { return 7.0f; }, [](int) { return 0.0f; }},
        {"each ten times nearer than the last", [](int i) { return std::pow(0.1f, float(i % 40)); },
         [](int) { return 1.0f; }},
        {"one far away", [](int i) { return i ? float(i) * 1e-6f : 9e8f; },
         [](int i) { return i % 3 ? 1.0f : -1.0f; }},
        {"facing ever nearer to one way", [](int) { return 1.0f; },
         [](int i) { return std::pow(0.5f, float(i % 30)); }},
    };
    for (const auto& [name, place, facing] : cases)
        for (const int count : {1, 4, 5, 6, 17, 3000, 5000}) {
            SCOPED_TRACE(testing::Message() << name << ' ' << count);
            std::vector<BvhItem> items(static_cast<std::size_t>(count), BvhItem{});
            for (int i = 0; i < count; ++i) {
                BvhItem& item = items[static_cast<std::size_t>(i)];
                item.item = i;
                for (auto& corner : item.corner) corner[i % 3] = place(i);
                item.normal[i % 2] = facing(i);
            }
            Bvh tree = BuildBvh(items);
            TreeWalk walk{tree, items};
            walk.Quad(0, 0);
            EXPECT_EQ(walk.seen, std::vector<int>(static_cast<std::size_t>(count), 1));
            EXPECT_LT(2 * walk.deepest, 100);
            EXPECT_EQ(walk.grown > 0, count > kItemsPerLeaf);
        }
}

} // namespace
