#include "mesh/side_index.h"

#include <algorithm>
#include <bit>

#include "mesh/hash.h"
#include "mesh/triangle.h"

namespace
{

std::int32_t& BucketOf(const SideIndex& index, int from, int to)
{
    return index.bucket[HashPair(static_cast<std::uint32_t>(from), static_cast<std::uint32_t>(to)) &
                        index.mask];
}

constexpr int kTrianglesAhead = 8;

} // namespace

SideIndex MakeSideIndex(const SOLIDC& solid)
{
    const auto count = 3 * static_cast<std::size_t>(solid.triangleCount);
    SideIndex index{};
    index.mask = std::bit_ceil(count + 1) - 1;
    index.bucket = MakeScratch<std::int32_t>(index.mask + 1);
    index.side = MakeScratch<Side>(count);
    // From the last side to the first, because each one is inserted at the head of its chain.
    for (int t = solid.triangleCount - 1; t >= 0; --t) {
        const int* ahead = solid.triangles[std::max(t - kTrianglesAhead, 0)].vertex;
        for (int slot = 0; slot < 3; ++slot)
            PrefetchBucket(index, ahead[PreviousSlot(slot)], ahead[slot]);
        for (int slot = 2; slot >= 0; --slot) {
            const int from = solid.triangles[t].vertex[PreviousSlot(slot)];
            const int to = solid.triangles[t].vertex[slot];
            std::int32_t& head = BucketOf(index, from, to);
            index.side[3 * static_cast<std::size_t>(t) + static_cast<std::size_t>(slot)] = {
                from, to, head};
            head = 3 * t + slot + 1;
        }
    }
    return index;
}

int FindSide(SideIndex& index, int from, int to, int except)
{
    std::int32_t* link = &BucketOf(index, from, to);
    while (*link) {
        Side& side = index.side[static_cast<std::size_t>(*link - 1)];
        if (side.from < 0) {
            *link = side.next;
            continue;
        }
        if (side.from == from && side.to == to && (*link - 1) / 3 != except) return *link - 1;
        link = &side.next;
    }
    return -1;
}

void PrefetchBucket(const SideIndex& index, int from, int to)
{
    Prefetch(&BucketOf(index, from, to));
}

void PrefetchSide(const SideIndex& index, int from, int to)
{
    if (const std::int32_t head = BucketOf(index, from, to))
        Prefetch(&index.side[static_cast<std::size_t>(head - 1)]);
}

void CloseSide(SideIndex& index, int side) { index.side[static_cast<std::size_t>(side)].from = -1; }
