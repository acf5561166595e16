#ifndef SCAPI_MESH_HASH_H
#define SCAPI_MESH_HASH_H

#include <cstddef>
#include <cstdint>

/// Mixes two words so that the low bits depend on all of both (the finaliser of MurmurHash3).
inline std::size_t HashPair(std::uint64_t a, std::uint64_t b)
{
    std::uint64_t h = a * 0x9E3779B97F4A7C15u ^ b;
    h = (h ^ (h >> 33)) * 0xFF51AFD7ED558CCDu;
    h = (h ^ (h >> 33)) * 0xC4CEB9FE1A85EC53u;
    return static_cast<std::size_t>(h ^ (h >> 33));
}

/// Starts to bring a place of a large table into the cache, for a look-up that comes soon.
inline void Prefetch(const void* place) { __builtin_prefetch(place); }

#endif
