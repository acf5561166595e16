// Fast detection against the plain walk, both ways round.
#include "host.h"
#include "query/deferred_sweep.h"
#include "query/fast_detect.h"
#include "support/scenes.h"
#include "sweep/define.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Choices choices{data, size};
    Scene scene = RandomScene([&] { return choices.Take<std::uint32_t>(); });
    for (int order = 0; order < 2; ++order) {
        DefineSweepDeferred(*scene.b, Rows(scene.start), Rows(scene.end));
        const int fast = DetectFast(*scene.a, *scene.b);
        CompleteSweep(*scene.b);
        Require(fast == SolidInternals::WalkPlainly(*scene.a, *scene.b), "one answer");
        std::swap(scene.a, scene.b);
        if (choices.Of(2)) scene.a->isSwept = 0;
    }
    return 0;
}
