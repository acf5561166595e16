// The fast way against the plain walk where its bounds rest on more than the mesh.
#include <gtest/gtest.h>

#include <random>

#include "support/sampler.h"
#include "support/treatment.h"

namespace
{

/// @param ask  gives the answers of both ways from a source of numbers
/// @return how often it was asked
template <class Ask>
int ExpectAgreement(unsigned usualCount, Ask ask)
{
    const DrawRange range = DrawsFrom("SCAPI_SCENES", usualCount);
    int hits = 0, count = int(range.count);
    for (unsigned seed = range.first; seed != range.first + range.count; ++seed) {
        std::mt19937 random(seed);
        const auto [fast, plain] = ask([&] { return random(); });
        EXPECT_EQ(fast, plain) << "seed " << seed;
        hits += plain;
    }
    // Neither answer may be rare, or the test would prove little.
    EXPECT_GT(hits, count / 10);
    EXPECT_LT(hits, count - count / 10);
    return count;
}

TEST(Treated, FacetsWithoutAreaAreJudgedAsTheirChainJudgesThem)
{
    ExpectAgreement(2000, [](const auto& random) {
        const Scene scene = RandomCrowdedScene(random);
        return AskBothWays(*scene.a, *scene.b, scene.start, scene.end);
    });
}

TEST(Treated, RotatedAndGarbledSolidsAreAnsweredAsByThePlainWalk)
{
    int swept = 0;
    const int count = ExpectAgreement(2000, [&](const auto& random) {
        Scene scene = random() % 2 ? RandomCrowdedScene(random) : RandomScene(random);
        if (random() % 2) std::swap(scene.a, scene.b);
        const auto answers = AskTreated(scene, RandomTreatment(random, scene));
        swept += scene.a->isSwept && scene.b->isSwept && answers.second;
        return answers;
    });
    EXPECT_GT(swept, count / 100);
}

} // namespace
