// Fetches into the cache what a pass over edges reads next. The records around an edge lie anywhere
// in arrays of hundreds of megabytes, so a pass would else wait for memory most of its time.
#ifndef SCAPI_REFINE_READ_AHEAD_H
#define SCAPI_REFINE_READ_AHEAD_H

#include <array>
#include <cstddef>

#include "mesh/triangle.h"
#include "refine/index_set.h"
#include "scapi/solid.h"

/// Goes over the same set as a pass, a few members ahead of it. Each record tells where the next
/// ones are, so an edge, its ends and triangles, and their corners are fetched one after the other,
/// some members apart.
class ReadAhead {
public:
    ReadAhead(const SOLIDC& readSolid, const IndexSet& passSet) : solid(readSolid), set(passSet)
    {
        ring.fill(IndexSet::kNone);
        for (std::size_t i = 0; i < kAhead; ++i) Advance();
    }

    /// To be called with each edge that the pass comes to.
    void Reach(int e)
    {
        while (ring[oldest] <= e) Advance();
    }

private:
    static constexpr std::size_t kAhead = 16;
    static constexpr std::size_t kAround = 5, kCorners = 10; ///< members behind the first stage
    const SOLIDC& solid;
    const IndexSet& set;
    std::array<int, kAhead> ring; ///< the members ahead of the pass
    std::size_t oldest = 0;
    int last = -1;

    int Behind(std::size_t members) const { return ring[(oldest + kAhead - 1 - members) % kAhead]; }

    void Advance()
    {
        if (last != IndexSet::kNone) last = set.Next(last + 1);
        ring[oldest] = last;
        oldest = (oldest + 1) % kAhead;
        // In one function: of one that does nothing but fetch a compiler drops the calls.
        if (InRange(last, solid.edgeCount)) __builtin_prefetch(&solid.edges[last]);
        if (const int e = Behind(kAround); InRange(e, solid.edgeCount)) {
            for (const int v : solid.edges[e].vertex) __builtin_prefetch(&solid.vertices[v]);
            for (const int t : solid.edges[e].triangle) {
                __builtin_prefetch(solid.triangles[t].normal);
                __builtin_prefetch(&solid.triangles[t].edge[2]);
            }
        }
        if (const int e = Behind(kCorners); InRange(e, solid.edgeCount))
            for (const int t : solid.edges[e].triangle)
                for (const int v : solid.triangles[t].vertex)
                    __builtin_prefetch(&solid.vertices[v]);
    }
};

#endif
