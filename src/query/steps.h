// How much work queries have done, for tests that hold it against the size of the solids.
#ifndef SCAPI_QUERY_STEPS_H
#define SCAPI_QUERY_STEPS_H

#include <cstdint>

/// Counted since the library was loaded.
struct QuerySteps {
    std::int64_t nodePairs;  ///< tests of four pairs of nodes; of single edges only those against
                             ///< the root, one for each edge that is sent down alone
    std::int64_t edges;      ///< given by the generator to be looked at one by one
    std::int64_t triangles;  ///< tests of an edge against a triangle
    std::int64_t plainWalks; ///< queries that the plain walk has answered

    std::int64_t Total() const { return nodePairs + edges + triangles; }
};

inline QuerySteps querySteps;

#endif
