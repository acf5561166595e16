// The silent record of degenerate input: no result depends on it and no call reads it.
#ifndef SCAPI_GEOMETRY_STATUS_H
#define SCAPI_GEOMETRY_STATUS_H

#include <array>
#include <cstdint>

/// Eight words, numbered from 1 in the calls below, whose bits only accumulate.
extern std::array<std::uint32_t, 8> StatusFlags;

/// Bits of word 2.
constexpr std::uint32_t kNoUnitVector = 0x400; ///< a vector could not be made unit length
constexpr std::uint32_t kNoPlane = 0x200;      ///< a plane or an inverse could not be formed

/// @param command  0 clears all words, 1 to 6 ors `bits` into that word, all else does nothing
void SetStatus(int command, std::uint32_t bits);

/// @return 1 if any of `bits` is set in word 1 to 6, else 0
int TestStatus(int word, std::uint32_t bits);

/// Ors eight words into StatusFlags, each into its own.
void MergeStatus(const std::uint32_t* words);

#endif
