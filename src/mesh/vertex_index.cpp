#include "mesh/vertex_index.h"

#include <array>
#include <bit>
#include <cmath>
#include <utility>

#include "mesh/hash.h"

namespace
{

constexpr double kTolerancesPerCell = 8.0;

// Widens the search radius by more than what rounding coordinate - radius can take off it. From
// 2^33 tolerances upwards the double could lose the radius altogether, but there floats are further
// apart than the tolerance, so that only an equal coordinate, in the same cell, is near.
constexpr double kRadiusSlack = 1.0 + 1.0 / (1 << 20);

bool CanMerge(const VertexIndex& index, const float* corner)
{
    return index.squaredTolerance > 0 && std::isfinite(corner[0]) && std::isfinite(corner[1]) &&
           std::isfinite(corner[2]);
}

std::array<std::uint32_t, 3> BitsOf(const float* corner)
{
    return {std::bit_cast<std::uint32_t>(corner[0]), std::bit_cast<std::uint32_t>(corner[1]),
            std::bit_cast<std::uint32_t>(corner[2])};
}

std::size_t KnownHash(const VertexIndex& index, const std::uint32_t* bits)
{
    const std::uint64_t pair = (std::uint64_t{bits[0]} << 32) | bits[1];
    return HashPair(pair, bits[2]) & index.knownMask;
}

/// The entry of these bits, or the free entry in which to store them. Linear probing ends, because
/// InsertKnown keeps half of the table free.
KnownCorner& FindKnown(VertexIndex& index, const std::uint32_t* bits)
{
    std::size_t at = KnownHash(index, bits);
    for (;; at = (at + 1) & index.knownMask) {
        KnownCorner& entry = index.known[at];
        if (entry.vertex == 0 ||
            (entry.bits[0] == bits[0] && entry.bits[1] == bits[1] && entry.bits[2] == bits[2]))
            return entry;
    }
}

void GrowKnown(VertexIndex& index)
{
    const Scratch<KnownCorner> old = std::move(index.known);
    const std::size_t oldSize = index.knownMask + 1;
    index.knownMask = 2 * oldSize - 1;
    index.known = MakeScratch<KnownCorner>(2 * oldSize);
    for (std::size_t i = 0; i < oldSize; ++i)
        if (old[i].vertex) FindKnown(index, old[i].bits) = old[i];
}

void InsertKnown(VertexIndex& index, const float* corner, int vertex)
{
    if (2 * index.knownCount > index.knownMask) GrowKnown(index);
    const auto bits = BitsOf(corner);
    KnownCorner& entry = FindKnown(index, bits.data());
    entry = {{bits[0], bits[1], bits[2]}, vertex + 1};
    ++index.knownCount;
}

/// A cell coordinate. Adding 0 turns -0 into 0, because cells are compared by their bits. With an
/// infinite tolerance there is one cell.
double CellOf(const VertexIndex& index, double coordinate)
{
    return std::isfinite(index.cell) ? std::floor(coordinate / index.cell) + 0.0 : 0.0;
}

std::size_t BucketOf(const VertexIndex& index, double x, double y, double z)
{
    const auto hash = HashPair(std::bit_cast<std::uint64_t>(x), std::bit_cast<std::uint64_t>(y));
    return HashPair(hash, std::bit_cast<std::uint64_t>(z)) & index.bucketMask;
}

bool IsNear(const VertexIndex& index, const float* a, const float* b)
{
    const double dx = double(a[0]) - b[0], dy = double(a[1]) - b[1], dz = double(a[2]) - b[2];
    return dx * dx + dy * dy + dz * dz < index.squaredTolerance;
}

/// The cells within the search radius of a coordinate: one, or two neighbours, since a cell is
/// wider than twice the radius.
struct CellRange {
    double cell[2];
    int count;
};

CellRange CellsAround(const VertexIndex& index, float coordinate)
{
    const double radius = index.tolerance * kRadiusSlack;
    const double low = CellOf(index, coordinate - radius),
                 high = CellOf(index, coordinate + radius);
    return {{low, high}, low == high ? 1 : 2};
}

} // namespace

VertexIndex MakeVertexIndex(float tolerance, std::int64_t corners)
{
    VertexIndex index{};
    index.tolerance = std::fabs(double(tolerance));
    index.squaredTolerance = double(tolerance) * tolerance;
    index.cell = kTolerancesPerCell * index.tolerance;
    // A closed mesh has about half as many vertices as triangles, a sixth of its corners: with a
    // third of them entries seldom collide and the table seldom grows.
    const auto size = std::bit_ceil(static_cast<std::uint64_t>(corners / 3 + 64));
    index.knownMask = 2 * size - 1;
    index.known = MakeScratch<KnownCorner>(2 * size);
    index.bucketMask = size - 1;
    index.bucket = MakeScratch<std::int32_t>(size);
    index.next = MakeScratch<std::int32_t>(static_cast<std::size_t>(corners));
    return index;
}

int FindVertex(VertexIndex& index, const VertexRec* vertices, const float* corner)
{
    if (!CanMerge(index, corner)) return -1;
    const KnownCorner& known = FindKnown(index, BitsOf(corner).data());
    if (known.vertex) return known.vertex - 1;

    const CellRange x = CellsAround(index, corner[0]), y = CellsAround(index, corner[1]),
                    z = CellsAround(index, corner[2]);
    int found = -1;
    for (int i = 0; i < x.count; ++i)
        for (int j = 0; j < y.count; ++j)
            for (int k = 0; k < z.count; ++k) {
                const std::size_t bucket = BucketOf(index, x.cell[i], y.cell[j], z.cell[k]);
                for (int v = index.bucket[bucket] - 1; v >= 0;
                     v = index.next[static_cast<std::size_t>(v)] - 1)
                    if ((found < 0 || v < found) && IsNear(index, vertices[v].position, corner))
                        found = v;
            }
    if (found >= 0) InsertKnown(index, corner, found);
    return found;
}

void PrefetchCorner(const VertexIndex& index, const float* corner)
{
    Prefetch(&index.known[KnownHash(index, BitsOf(corner).data())]);
}

void AddVertex(VertexIndex& index, int vertex, const float* corner)
{
    if (!CanMerge(index, corner)) return;
    InsertKnown(index, corner, vertex);
    std::int32_t& head = index.bucket[BucketOf(index, CellOf(index, corner[0]),
                                               CellOf(index, corner[1]), CellOf(index, corner[2]))];
    index.next[static_cast<std::size_t>(vertex)] = head;
    head = vertex + 1;
}
