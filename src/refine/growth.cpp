#include "refine/growth.h"

#include <climits>
#include <cstdlib>

#include "mesh/memory.h"

int GrownCapacity(int capacity, int count, std::int64_t needed)
{
    if (double(capacity) * 0.95f < count)
        capacity = ClampToInt(double(capacity) * 1.3f, 0, INT_MAX - 101) + 100;
    const std::int64_t least = count + needed;
    // Indices end here: as hopeless as an allocation that no handler can help.
    if (least >= INT_MAX) std::abort();
    return std::max(capacity, static_cast<int>(least));
}
