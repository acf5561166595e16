// Four floats, or four truth values, computed at once. gcc and clang have such types on every
// machine.
#ifndef SCAPI_GEOMETRY_SIMD_H
#define SCAPI_GEOMETRY_SIMD_H

#include <cstddef>
#include <cstdint>

using Lanes = float __attribute__((vector_size(16)));
using LaneMask = std::int32_t __attribute__((vector_size(16))); ///< -1 for true, 0 for false

constexpr int kLanes = 4;

/// Arrays of them come from calloc, which must know their alignment.
static_assert(alignof(Lanes) <= alignof(std::max_align_t));

inline Lanes Splat(float x) { return Lanes{x, x, x, x}; }

inline Lanes Abs(Lanes v)
{
    return reinterpret_cast<Lanes>(reinterpret_cast<LaneMask>(v) & 0x7fffffff);
}

inline Lanes Min(Lanes a, Lanes b) { return a < b ? a : b; }
inline Lanes Max(Lanes a, Lanes b) { return a > b ? a : b; }

inline bool AllOf(LaneMask mask) { return (mask[0] & mask[1] & mask[2] & mask[3]) != 0; }

/// Of two vectors of three, in each lane.
inline Lanes Dot(const Lanes* a, const Lanes* b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

#endif
