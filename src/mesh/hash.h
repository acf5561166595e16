#ifndef SCAPI_MESH_HASH_H
#define SCAPI_MESH_HASH_H

#include <cstddef>
#include <cstdint>

/// Mixes two words so that the low bits of the result depend on all bits of both (the finaliser of
/// MurmurHash3). Not stable across word sizes: never store it.
inline std::size_t HashPair(std::uint64_t a, std::uint64_t b)
{
    std::uint64_t h = a * 0x9E3779B97F4A7C15u ^ b;
    h = (h ^ (h >> 33)) * 0xFF51AFD7ED558CCDu;
    h = (h ^ (h >> 33)) * 0xC4CEB9FE1A85EC53u;
    return static_cast<std::size_t>(h ^ (h >> 33));
}

/// Starts loading an entry of a large table into the cache, ahead of its look-up.
inline void Prefetch(const void* entry) { __builtin_prefetch(entry); }

#endif
