// The fast way against the plain walk where its bounds rest on more than the mesh.
#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "support/treatment.h"

namespace
{

/// More, and others, for a longer run: SCAPI_SCENES=first:count.
struct SceneRange {
    unsigned first = 1, count;

    explicit SceneRange(unsigned usual) : count(usual)
    {
        if (const char* scenes = std::getenv("SCAPI_SCENES"))
            (void)std::sscanf(scenes, "%u:%u", &first, &count);
    }
};

/// Neither answer may be rare, or the test would prove little.
void ExpectBothAnswers(int hits, unsigned count)
{
    EXPECT_GT(hits, int(count / 10));
    EXPECT_LT(hits, int(count - count / 10));
}

TEST(Treated, FacetsWithoutAreaAreJudgedAsTheirChainJudgesThem)
{
    const SceneRange range(2000);
    int hits = 0;
    for (unsigned seed = range.first; seed != range.first + range.count; ++seed) {
        std::mt19937 random(seed);
        Scene scene = RandomCrowdedScene([&] { return random(); });
        Treatment asIs{};
        asIs.start = scene.start, asIs.end = scene.end;
        const auto [fast, plain] = AskTreated(scene, asIs);
        ASSERT_EQ(fast, plain) << "seed " << seed;
        hits += plain;
    }
    ExpectBothAnswers(hits, range.count);
}

TEST(Treated, RotatedAndGarbledSolidsAreAnsweredAsByThePlainWalk)
{
    const SceneRange range(2000);
    int hits = 0, swept = 0;
    for (unsigned seed = range.first; seed != range.first + range.count; ++seed) {
        std::mt19937 random(seed);
        const auto draw = [&] { return random(); };
        Scene scene = random() % 2 ? RandomCrowdedScene(draw) : RandomScene(draw);
        if (random() % 2) std::swap(scene.a, scene.b);
        const auto [fast, plain] = AskTreated(scene, RandomTreatment(draw, scene));
        ASSERT_EQ(fast, plain) << "seed " << seed;
        hits += plain;
        swept += scene.a->isSwept && scene.b->isSwept && plain;
    }
    ExpectBothAnswers(hits, range.count);
    EXPECT_GT(swept, int(range.count / 100));
}

} // namespace
