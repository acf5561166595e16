// Many bodies at once, and many threads on shared meshes.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <tuple>

#include "support.h"

namespace
{

TEST(ProximityScene, FindsThePairsThatASearchOfAllPairsFinds)
{
    std::mt19937 random(17);
    const MeshPtr meshes[] = {Box({-1, -1, -1}, {1, 1, 1}), FromFloats(SphereFloats(5, 1.5, 0.1))};
    const ScenePtr scene = MakeScene();
    const QueryPtr query = MakeQuery();
    std::vector<scapi_motion> motions;
    constexpr int kBodies = 40;
    std::uniform_real_distribution<double> along(-3, 3);
    for (int i = 0; i < kBodies; ++i) {
        motions.push_back(i % 3 ? Rest(RandomPose(random, 12))
                                : Turn(RandomPose(random, 12), {1, 0, 0}, {0, 0, 1}, along(random),
                                       {along(random), along(random), along(random)}));
        ASSERT_EQ(scapi_scene_add(scene.get(), meshes[i % 2].get(), i % 5 == 0 ? 7 : 0), i);
        ASSERT_EQ(scapi_scene_move(scene.get(), i, &motions.back()), SCAPI_OK);
    }
    ASSERT_EQ(scapi_scene_ignore(scene.get(), 3, 1), SCAPI_OK);
    const scapi_options options = Within(0.3);
    std::vector<scapi_pair> pairs(kBodies * kBodies);
    scapi_scene_result result{};
    ASSERT_EQ(scapi_scene_check(scene.get(), query.get(), &options, pairs.data(), kBodies * kBodies,
                                nullptr, nullptr, &result),
              SCAPI_OK);
    std::int64_t at = 0, all = 0;
    for (int i = 0; i < kBodies; ++i)
        for (int j = i + 1; j < kBodies; ++j) {
            if ((i % 5 == 0 && j % 5 == 0) || (i == 1 && j == 3)) continue;
            ++all;
            const auto m = static_cast<std::size_t>(i), n = static_cast<std::size_t>(j);
            const scapi_impact alone =
                Impact(meshes[i % 2], motions[m], meshes[j % 2], motions[n], options);
            if (alone.verdict == SCAPI_CLEAR) continue;
            ASSERT_LT(at, result.stored);
            const scapi_pair& pair = pairs[static_cast<std::size_t>(at++)];
            EXPECT_TRUE(pair.body_a == i && pair.body_b == j);
            EXPECT_EQ(pair.impact.verdict, alone.verdict);
        }
    EXPECT_EQ(at, result.count);
    EXPECT_EQ(all, result.pairs);
    EXPECT_LT(result.examined, all);
    EXPECT_GT(at, 3);
    EXPECT_EQ(result.verdict, SCAPI_CONTACT);
}

TEST(ProximityScene, VerdictIsTheGravestInAnyOrder)
{
    // A box without its last facet, which may hold the small one within it or not; one that is hit;
    // and one that moves beside them all.
    Floats open = BoxFloats({-5, -5, -5}, {5, 5, 5});
    open.resize(open.size() - 9);
    const MeshPtr hull = FromFloats(open), small = Box({-1, -1, -1}, {1, 1, 1});
    const scapi_motion rests = Rest(kIdentity), hits = Straight(At(20, 0, 0), {-17, 0, 0}),
                       passes = Straight(At(0, 5, 6.5), {0, -9, 0});
    const std::pair<std::vector<const scapi_motion*>, int> cases[] = {
        {{&rests}, SCAPI_INDETERMINATE},          {{&passes}, SCAPI_CLEAR},
        {{&passes, &rests}, SCAPI_INDETERMINATE}, {{&rests, &passes}, SCAPI_INDETERMINATE},
        {{&rests, &hits}, SCAPI_CONTACT},         {{&hits, &rests}, SCAPI_CONTACT},
    };
    for (const auto& [motions, verdict] : cases) {
        const ScenePtr scene = MakeScene();
        scapi_scene_add(scene.get(), hull.get(), 0);
        for (const scapi_motion* motion : motions)
            scapi_scene_move(scene.get(), scapi_scene_add(scene.get(), small.get(), 1), motion);
        const scapi_options options = Within(0.1);
        scapi_scene_result result{};
        EXPECT_EQ(scapi_scene_check(scene.get(), MakeQuery().get(), &options, nullptr, 0, nullptr,
                                    nullptr, &result),
                  SCAPI_OK);
        EXPECT_EQ(result.verdict, verdict);
    }
    // Nothing is shown inside or outside on the way either.
    EXPECT_EQ(Impact(hull, rests, small, Straight(kIdentity, {2, 0, 0}), Within(0.1)).verdict,
              SCAPI_INDETERMINATE);
}

TEST(ProximityScene, BodyOnAnArmIsHeldAgainstAllThatItSwingsThrough)
{
    // Half a turn about a pivot far outside of the body, which itself is small.
    const MeshPtr head = Box({10, -1, -1}, {12, 1, 1}), post = Box({-0.5, -0.5, -9}, {0.5, 0.5, 9});
    const scapi_motion swings = Turn(At(3, 4, 5), {0, 0, 0}, {0, 0, 1}, 3.14159);
    for (const auto& [x, y, verdict] : {std::tuple{11.0, 12.0, SCAPI_CONTACT},
                                        {3.0, 15.0, SCAPI_CONTACT},
                                        {-8.0, 4.0, SCAPI_CONTACT},
                                        {3.0, -7.0, SCAPI_CLEAR},
                                        {3.0, 4.0, SCAPI_CLEAR}}) {
        const ScenePtr scene = MakeScene();
        scapi_scene_move(scene.get(), scapi_scene_add(scene.get(), head.get(), 0), &swings);
        scapi_scene_place(scene.get(), scapi_scene_add(scene.get(), post.get(), 0),
                          At(x, y, 5).data());
        const scapi_options options = Within(0.1);
        scapi_scene_result result{};
        scapi_scene_check(scene.get(), MakeQuery().get(), &options, nullptr, 0, nullptr, nullptr,
                          &result);
        EXPECT_EQ(result.verdict, verdict) << x << ' ' << y;
    }
}

TEST(ProximityScene, CancelEndsAndIsNotClear)
{
    const MeshPtr box = Box({0, 0, 0}, {1, 1, 1});
    const ScenePtr scene = MakeScene();
    for (int i = 0; i < 6; ++i) {
        scapi_scene_add(scene.get(), box.get(), 0);
        scapi_scene_place(scene.get(), i, At(1.1 * i, 0, 0).data());
    }
    int calls = 0;
    scapi_scene_result result{};
    scapi_pair few[2];
    const auto check = [&](double tolerance, auto stop) {
        const scapi_options options = Within(tolerance);
        return scapi_scene_check(scene.get(), MakeQuery().get(), &options, few, 2, stop, &calls,
                                 &result);
    };
    const auto stopAtThird = [](void* user, std::int64_t, std::int64_t) {
        return int(++*static_cast<int*>(user) == 3);
    };
    EXPECT_EQ(check(0.2, stopAtThird), SCAPI_ERROR_CANCELLED);
    EXPECT_EQ(calls, 3);
    EXPECT_EQ(result.verdict, SCAPI_INDETERMINATE);
    EXPECT_EQ(check(0.2, nullptr), SCAPI_OK);
    EXPECT_TRUE(result.count == 5 && result.stored == 2 && result.truncated);
    EXPECT_EQ(check(0.05, nullptr), SCAPI_OK);
    EXPECT_EQ(result.verdict, SCAPI_CLEAR);
    EXPECT_EQ(scapi_scene_place(scene.get(), 6, kIdentity.data()), SCAPI_ERROR_BODY);
}

TEST(ProximityThreads, ShareMeshesAndGetTheAnswersOfOne)
{
    const Floats large = SphereFloats(20, 5, 0.1), small = SphereFloats(10, 1, 0.1);
    const MeshPtr a = FromFloats(large), b = FromFloats(small);
    // On copies, so that the threads are the first to ask the shared ones for their shells.
    const MeshPtr x = FromFloats(large), y = FromFloats(small);
    std::mt19937 random(23);
    std::vector<Pose> poses;
    std::vector<scapi_result> expected;
    for (int i = 0; i < 30; ++i) {
        poses.push_back(RandomPose(random, 4));
        expected.push_back(Distance(x, kIdentity, y, poses.back()));
    }
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            const QueryPtr query = MakeQuery();
            scapi_mesh_retain(a.get());
            for (std::size_t k = 0; k < poses.size(); ++k) {
                const std::size_t i = (k + static_cast<std::size_t>(7 * t)) % poses.size();
                scapi_result result{};
                scapi_distance(query.get(), a.get(), kIdentity.data(), b.get(), poses[i].data(),
                               nullptr, &result);
                if (result.verdict != expected[i].verdict ||
                    result.relation != expected[i].relation || result.lower > expected[i].upper ||
                    result.upper < expected[i].lower)
                    ++wrong;
            }
            scapi_mesh_release(a.get());
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong, 0);
}

} // namespace
