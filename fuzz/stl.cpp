// A source file of any content: loaded from itself and then from the cache that it left.
#include "api/table.h"
#include "host.h"

namespace
{

std::string Records(int slot)
{
    const SOLIDC& solid = *SolidIn(slot);
    const auto bytes = [](const auto* records, int count) {
        return std::string(reinterpret_cast<const char*>(records),
                           records ? sizeof *records * static_cast<std::size_t>(count) : 0);
    };
    std::string all = bytes(solid.vertices, solid.vertexCount) +
                      bytes(solid.edges, solid.edgeCount) + bytes(solid.bbox, 6);
    // Chains in the leaves may differ: the cache hands superseded triangles to the tree too.
    for (int t = 0; t < solid.triangleCount; ++t)
        all += bytes(&solid.triangles[t].corners, 1) + bytes(&solid.triangles[t].normal, 1);
    return all;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Choices choices{data, size};
    const int simple = choices.Of(3), marked = choices.Of(8);
    Choices use{choices.at, choices.left < 64 ? choices.left : 64};
    std::string path = FreshFile("m.stl", choices.at, choices.left);
    if (marked < 2) path += marked ? "(STL_SWAP_ZXY)" : "(STL_SWAP_YZX)";
    auto* name = reinterpret_cast<unsigned char*>(path.data());
    const int result = SCAPI_LoadSTL(0, name, simple);
    RequireResult(result, {0, SCAPI_OPEN_SIDE, SCAPI_UNREADABLE});
    RequireSound(0);
    const std::string first = Records(0);
    Require(SCAPI_LoadSTL(0, name, simple) == result, "a cache changes no result");
    Require(Records(0) == first, "a cache changes no record");
    UseAsHost(use);
    return 0;
}
