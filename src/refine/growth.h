// How the arrays of a mesh grow while it is refined.
#ifndef SCAPI_REFINE_GROWTH_H
#define SCAPI_REFINE_GROWTH_H

#include <cstdint>

/// The capacity to have before an element is treated: more by a third and 100 once 95 % are in
/// use, and in any case room for `needed` records behind `count`.
int GrownCapacity(int capacity, int count, std::int64_t needed);

#endif
