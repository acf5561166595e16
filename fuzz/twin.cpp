// Fast detection against the plain walk, both ways round, on solids as loaded or as treated.
#include "host.h"
#include "support/treatment.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Choices choices{data, size};
    const auto take = [&] { return choices.Take<std::uint32_t>(); };
    Scene scene = RandomScene(take);
    for (int order = 0; order < 2; ++order) {
        const auto [fast, plain] = AskBothWays(*scene.a, *scene.b, scene.start, scene.end);
        Require(fast == plain, "one answer");
        std::swap(scene.a, scene.b);
        if (choices.Of(2)) scene.a->isSwept = 0;
    }
    if (choices.Of(2)) scene = RandomCrowdedScene(take);
    for (int order = 0; order < 2; ++order) {
        const auto [fast, plain] = AskTreated(scene, RandomTreatment(take, scene));
        Require(fast == plain, "one answer on treated solids");
        std::swap(scene.a, scene.b);
    }
    return 0;
}
