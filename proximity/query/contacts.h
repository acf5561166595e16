// All pairs of triangles of two placed bodies within a tolerance.
#ifndef PROXIMITY_QUERY_CONTACTS_H
#define PROXIMITY_QUERY_CONTACTS_H

#include "proximity/query/search.h"

namespace proximity
{

struct ContactPair {
    std::int32_t sourceA, sourceB; ///< in the order of the input
    std::int32_t a, b;             ///< in the order of the trees

    bool operator<(const ContactPair& other) const
    {
        return sourceA != other.sourceA ? sourceA < other.sourceA : sourceB < other.sourceB;
    }
};

struct ContactSearchResult {
    std::vector<ContactPair> pairs; ///< the first ones by source numbers, sorted
    std::int64_t count = 0;         ///< of all
    std::int64_t certain = 0;       ///< of those whose distance is shown to be in the tolerance
    bool finished = false;          ///< within the budget
    std::int64_t tests = 0;
    double apart = 0; ///< where count is 0 and the search finished, a lower bound on the distance
};

/// @param within    pairs that are shown to be farther apart are left out
/// @param capacity  how many pairs are kept
ContactSearchResult FindContacts(const Body& a, const Body& b, const PlacedPair& pair,
                                 const Limits& limits, double within, std::int64_t capacity,
                                 Scratch& scratch);

/// Fills in what is to be told of a pair.
scapi_contact DescribeContact(const Body& a, const Body& b, const PlacedPair& pair,
                              const Limits& limits, const ContactPair& contact);

} // namespace proximity

#endif
