#include "mesh/sort.h"

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

#include "geometry/bbox.h"
#include "mesh/memory.h"
#include "scapi/solid.h"

namespace
{

struct SortEntry {
    std::uint32_t key;
    std::int32_t from; ///< index of the triangle before the sort
};

/// An unsigned key that orders as the float does. Adding 0 gives -0 the key of 0.
std::uint32_t KeyOf(float value)
{
    const auto bits = std::bit_cast<std::uint32_t>(value + 0.0f);
    return bits & 0x80000000u ? ~bits : bits | 0x80000000u;
}

/// Least significant digit radix sort by key, stable.
void RadixSort(Scratch<SortEntry>& entries, std::size_t count)
{
    constexpr int kDigitBits = 11;
    constexpr std::size_t kDigits = std::size_t{1} << kDigitBits;
    auto other = MakeScratch<SortEntry>(count);
    for (int shift = 0; shift < 32; shift += kDigitBits) {
        const auto digit = [shift](const SortEntry& e) { return (e.key >> shift) & (kDigits - 1); };
        std::array<std::size_t, kDigits + 1> start{};
        for (std::size_t i = 0; i < count; ++i) ++start[digit(entries[i]) + 1];
        for (std::size_t d = 0; d < kDigits; ++d) start[d + 1] += start[d];
        for (std::size_t i = 0; i < count; ++i) other[start[digit(entries[i])]++] = entries[i];
        std::swap(entries, other);
    }
}

/// Moves each record to its sorted index, one cycle of the permutation at a time. An entry is done
/// once `from` is its own index.
void Permute(T_LIST* triangles, Scratch<SortEntry>& entries, int count)
{
    const auto from = [&](int i) -> std::int32_t& {
        return entries[static_cast<std::size_t>(i)].from;
    };
    for (int first = 0; first < count; ++first) {
        if (from(first) == first) continue;
        const T_LIST saved = triangles[first];
        int hole = first;
        while (from(hole) != first) {
            const int next = from(hole);
            triangles[hole] = triangles[next];
            from(hole) = hole;
            hole = next;
        }
        triangles[hole] = saved;
        from(hole) = hole;
    }
}

/// The longest axis of a box; ties favour x, then y.
int LongestAxis(const float* bbox)
{
    const int axis = Extent(bbox, 0) < Extent(bbox, 1) ? 1 : 0;
    return Extent(bbox, axis) < Extent(bbox, 2) ? 2 : axis;
}

/// Bisects word `word` of the triangle boxes for `key`. @return indices low and high, where low is
/// 0 or not above `key`, and high is triangleCount or above it
std::pair<int, int> Bisect(const SOLIDC& solid, int word, double key)
{
    int low = 0, high = solid.triangleCount;
    while (high > low + 1) {
        const int mid = low + (high - low) / 2;
        (solid.triangles[mid].bbox[word] > key ? high : low) = mid;
    }
    return {low, high};
}

} // namespace

int CompareTriangleBbox(const T_LIST& a, const T_LIST& b, int axis)
{
    if (a.bbox[axis] > b.bbox[axis]) return 1;
    return a.bbox[axis] < b.bbox[axis] ? -1 : 0;
}

void SOLIDC::SortTriangles(void)
{
    const int axis = sortAxis = LongestAxis(bbox);
    if (std::is_sorted(triangles, triangles + triangleCount, [axis](const auto& a, const auto& b) {
            return CompareTriangleBbox(a, b, axis) < 0;
        }))
        return;
    // Leaf chains link records by distance, which the sort changes.
    Release_Octree();
    const auto count = static_cast<std::size_t>(triangleCount);
    auto entries = MakeScratch<SortEntry>(count);
    for (std::size_t i = 0; i < count; ++i)
        entries[i] = {KeyOf(triangles[i].bbox[axis]), static_cast<std::int32_t>(i)};
    RadixSort(entries, count);
    Permute(triangles, entries, triangleCount);
}

int SOLIDC::FindTriangles(float* const box, int* first, int* last)
{
    *first = 0;
    *last = triangleCount;
    // A file can hold any sortAxis. Without a valid one no triangle can be excluded.
    if (0 <= sortAxis && sortAxis < 3) {
        *first = Bisect(*this, sortAxis, double(box[sortAxis]) - maxTriangleSize[sortAxis]).first;
        // The unsorted bisection (docs/behaviour.md): maxima are not in sorted order.
        *last = Bisect(*this, sortAxis + 3, box[sortAxis + 3]).second;
    }
    return *last - *first;
}
