#include "proximity/mesh/weld.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "proximity/mesh/disjoint_sets.h"

namespace proximity
{
namespace
{

/// Finds or adds points of three words by open addressing, under half full.
struct PointTable {
    using Key = std::array<std::int32_t, 3>;

    explicit PointTable(std::size_t most)
        : slot(std::bit_ceil(std::max<std::size_t>(16, 2 * most)), -1)
    {
    }

    /// @return the number of the key, which is keys.size() - 1 if it was new
    std::int32_t Find(const Key& key)
    {
        const std::size_t mask = slot.size() - 1;
        for (std::size_t at = Hash(key) & mask;; at = (at + 1) & mask) {
            if (slot[at] < 0) {
                slot[at] = static_cast<std::int32_t>(keys.size());
                keys.push_back(key);
                return slot[at];
            }
            if (keys[static_cast<std::size_t>(slot[at])] == key) return slot[at];
        }
    }
    /// @return -1 where it is not there
    std::int32_t Lookup(const Key& key) const
    {
        const std::size_t mask = slot.size() - 1;
        for (std::size_t at = Hash(key) & mask; slot[at] >= 0; at = (at + 1) & mask)
            if (keys[static_cast<std::size_t>(slot[at])] == key) return slot[at];
        return -1;
    }
    static std::size_t Hash(const Key& key)
    {
        std::uint64_t h = 0;
        for (const std::int32_t word : key) {
            h = (h ^ static_cast<std::uint32_t>(word)) * 0x9e3779b97f4a7c15u;
            h ^= h >> 29;
        }
        return static_cast<std::size_t>(h);
    }

    std::vector<std::int32_t> slot;
    std::vector<Key> keys;
};

PointTable::Key BitsOf(const float* corner)
{
    PointTable::Key key;
    for (std::size_t axis = 0; axis < 3; ++axis)
        key[axis] = std::bit_cast<std::int32_t>(corner[axis] + 0.0f); // -0 becomes 0
    return key;
}

bool AreNear(const std::array<float, 3>& a, const std::array<float, 3>& b, double tolerance)
{
    for (std::size_t axis = 0; axis < 3; ++axis)
        if (!(std::fabs(double(a[axis]) - b[axis]) <= tolerance)) return false;
    return true;
}

/// Cells of the size of the tolerance: points of one cell are near each other, and near points lie
/// in cells that touch.
struct Grid {
    double pitch;
    PointTable table;
    std::vector<std::vector<std::int32_t>> points; ///< of each cell

    PointTable::Key CellOf(const std::array<float, 3>& p) const
    {
        PointTable::Key key;
        for (std::size_t axis = 0; axis < 3; ++axis)
            key[axis] = static_cast<std::int32_t>(std::floor(p[axis] / pitch));
        return key;
    }
};

/// Joins a point with those near it that the grid holds.
void JoinNear(const Grid& grid, const std::vector<std::array<float, 3>>& vertex, std::int32_t point,
              DisjointSets& sets)
{
    const auto& at = vertex[static_cast<std::size_t>(point)];
    const PointTable::Key cell = grid.CellOf(at);
    for (int k = 0; k < 27; ++k) {
        const std::int32_t there =
            grid.table.Lookup({cell[0] + k % 3 - 1, cell[1] + k / 3 % 3 - 1, cell[2] + k / 9 - 1});
        if (there < 0) continue;
        const auto& points = grid.points[static_cast<std::size_t>(there)];
        // A cell is one set, so it is looked through once at most for each set that meets it.
        if (sets.Find(points[0]) == sets.Find(point)) continue;
        for (const std::int32_t other : points)
            if (AreNear(at, vertex[static_cast<std::size_t>(other)], grid.pitch)) {
                sets.Join(point, other);
                break;
            }
    }
}

} // namespace

Welded WeldEqual(std::span<const FloatTriangle> triangles)
{
    Welded welded;
    welded.triangle.resize(triangles.size());
    // A closed mesh has half as many vertices as triangles, a soup three times as many.
    PointTable table(3 * triangles.size());
    for (std::size_t t = 0; t < triangles.size(); ++t)
        for (std::size_t corner = 0; corner < 3; ++corner) {
            const float* at = triangles[t].corner[corner];
            const std::int32_t found = table.Find(BitsOf(at));
            if (static_cast<std::size_t>(found) == welded.vertex.size())
                welded.vertex.push_back({at[0], at[1], at[2]});
            welded.triangle[t][corner] = found;
        }
    return welded;
}

Welded WeldNear(std::span<const FloatTriangle> triangles, double tolerance)
{
    Welded welded = WeldEqual(triangles);
    double most = 0;
    for (const auto& p : welded.vertex)
        for (const float x : p) most = std::max(most, std::fabs(double(x)));
    // Cell numbers must fit into 31 bits; floats of that size are coarser.
    Grid grid{std::max(tolerance, most * 0x1p-29), PointTable(welded.vertex.size()), {}};
    DisjointSets sets(welded.vertex.size());
    for (std::size_t v = 0; v < welded.vertex.size(); ++v) {
        JoinNear(grid, welded.vertex, static_cast<std::int32_t>(v), sets);
        const auto cell = static_cast<std::size_t>(grid.table.Find(grid.CellOf(welded.vertex[v])));
        if (cell == grid.points.size()) grid.points.emplace_back();
        grid.points[cell].push_back(static_cast<std::int32_t>(v));
    }
    for (auto& triangle : welded.triangle)
        for (std::int32_t& v : triangle) v = sets.Find(v);
    return welded;
}

} // namespace proximity
