#include <algorithm>
#include <cstring>

#include "mesh/before_change.h"
#include "mesh/memory.h"
#include "mesh/triangle.h"
#include "mesh/vertex_index.h"
#include "scapi/scapi.h"

namespace
{

constexpr int kMinUseCount = 3;    ///< of a vertex of a closed mesh
constexpr int kTrianglesAhead = 6; ///< prefetch distance

/// Appends a vertex at a corner. The nine-word copy (docs/behaviour.md) also fills the sweep
/// positions, with the words that follow the corner in its record. SLD files hold them; nothing
/// reads them before a sweep has written them.
void AppendVertex(SOLIDC& solid, const T_LIST& triangle, int slot)
{
    constexpr std::size_t kWords = 9 * sizeof(float);
    static_assert(offsetof(T_LIST, corners) == 0 && offsetof(VertexRec, position) == 0);
    const auto* from = reinterpret_cast<const unsigned char*>(&triangle) +
                       static_cast<std::size_t>(slot) * sizeof triangle.corners[0];
    std::memcpy(static_cast<void*>(&solid.vertices[solid.vertexCount]), from, kWords);
    solid.vertices[solid.vertexCount++].useCount = 0;
}

} // namespace

int SOLIDC::SC_BuildVertexList(void)
{
    if (isSimple) return SCAPI_SIMPLE_SOLID;
    if (vertices) return 0;
    ReleaseQueryTrees(*this);
    const std::int64_t corners = 3 * std::int64_t{triangleCount};
    vertexCapacity = ListCapacity(corners);
    vertices = Allocate<VertexRec>(vertexCapacity);
    vertexCount = 0;

    VertexIndex index = MakeVertexIndex(tolerance, corners);
    for (int t = 0; t < triangleCount; ++t) {
        // The array has a spare record after the last triangle, so this stays inside it.
        const T_LIST& ahead = triangles[std::min(t + kTrianglesAhead, triangleCount)];
        for (const auto& corner : ahead.corners) PrefetchCorner(index, corner);
        for (int slot = 0; slot < 3; ++slot) {
            T_LIST& triangle = triangles[t];
            int v = FindVertex(index, vertices, triangle.corners[slot]);
            if (v < 0) {
                v = vertexCount;
                // Before the slot is written: the nine words from corner 2 include `vertex`.
                AppendVertex(*this, triangle, slot);
                AddVertex(index, v, triangle.corners[slot]);
            }
            triangle.vertex[slot] = v;
            ++vertices[v].useCount;
        }
    }

    const bool hasLooseVertex =
        std::any_of(vertices, vertices + vertexCount,
                    [](const VertexRec& vertex) { return vertex.useCount < kMinUseCount; });
    return hasLooseVertex ? SCAPI_LOOSE_VERTEX : 0;
}
