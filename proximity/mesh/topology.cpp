#include "proximity/mesh/topology.h"

#include <algorithm>
#include <tuple>

#include "proximity/mesh/disjoint_sets.h"

namespace proximity
{

std::vector<EdgeUse> SortedEdgeUses(const Welded& welded)
{
    std::vector<EdgeUse> uses;
    uses.reserve(3 * welded.triangle.size());
    for (std::size_t t = 0; t < welded.triangle.size(); ++t)
        for (std::size_t side = 0; side < 3; ++side) {
            const std::int32_t from = welded.triangle[t][side];
            const std::int32_t to = welded.triangle[t][(side + 1) % 3];
            if (from != to)
                uses.push_back({std::min(from, to), std::max(from, to),
                                static_cast<std::int32_t>(t), from < to});
        }
    std::sort(uses.begin(), uses.end(), [](const EdgeUse& a, const EdgeUse& b) {
        return std::tie(a.low, a.high, a.triangle) < std::tie(b.low, b.high, b.triangle);
    });
    return uses;
}

bool IsBalanced(std::span<const EdgeUse> uses)
{
    const auto forward =
        std::count_if(uses.begin(), uses.end(), [](const EdgeUse& use) { return use.forward; });
    return 2 * forward == static_cast<std::ptrdiff_t>(uses.size());
}

std::vector<std::int32_t> ShellsOf(const Welded& welded, std::int32_t& count)
{
    DisjointSets sets(welded.vertex.size());
    for (const auto& triangle : welded.triangle) {
        sets.Join(triangle[0], triangle[1]);
        sets.Join(triangle[0], triangle[2]);
    }
    std::vector<std::int32_t> number(welded.vertex.size(), -1), shell;
    shell.reserve(welded.triangle.size());
    count = 0;
    for (const auto& triangle : welded.triangle) {
        std::int32_t& of = number[static_cast<std::size_t>(sets.Find(triangle[0]))];
        if (of < 0) of = count++;
        shell.push_back(of);
    }
    return shell;
}

Topology TopologyOf(std::span<const FloatTriangle> triangles)
{
    const Welded welded = WeldEqual(triangles);
    Topology topology{true, {}};
    ForEachEdge(SortedEdgeUses(welded), [&](std::span<const EdgeUse> uses) {
        topology.closed = topology.closed && IsBalanced(uses);
    });
    std::int32_t count = 0;
    const std::vector<std::int32_t> shell = ShellsOf(welded, count);
    for (std::size_t t = 0; t < shell.size(); ++t)
        if (static_cast<std::size_t>(shell[t]) == topology.shellPoint.size())
            topology.shellPoint.push_back(
                welded.vertex[static_cast<std::size_t>(welded.triangle[t][0])]);
    return topology;
}

} // namespace proximity
