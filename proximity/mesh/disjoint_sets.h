#ifndef PROXIMITY_MESH_DISJOINT_SETS_H
#define PROXIMITY_MESH_DISJOINT_SETS_H

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <vector>

namespace proximity
{

/// Sets of the numbers 0 to count - 1, each named by its least member (Tarjan's union-find, with
/// halving of paths).
struct DisjointSets {
    explicit DisjointSets(std::size_t count) : parent(count)
    {
        std::iota(parent.begin(), parent.end(), 0);
    }
    std::int32_t Find(std::int32_t member)
    {
        while (Parent(member) != member) member = Parent(member) = Parent(Parent(member));
        return member;
    }
    void Join(std::int32_t a, std::int32_t b)
    {
        a = Find(a), b = Find(b);
        Parent(std::max(a, b)) = std::min(a, b);
    }
    std::int32_t& Parent(std::int32_t member) { return parent[static_cast<std::size_t>(member)]; }

    std::vector<std::int32_t> parent;
};

} // namespace proximity

#endif
