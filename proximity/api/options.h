// Options of the caller, of any version, checked.
#ifndef PROXIMITY_API_OPTIONS_H
#define PROXIMITY_API_OPTIONS_H

#include <cstring>

#include "proximity/query/search.h"

namespace proximity
{

/// Copies options of an older library (fewer fields: the rest is zero, which is the default) or of
/// a newer one (fields that are not known here must be zero).
/// @param given  null for defaults
template <class Options>
int CopyOptions(const Options* given, std::uint32_t knownFlags, Options& options)
{
    constexpr std::uint32_t kLeast = 8, kMost = 4096;
    options = {};
    if (!given) return SCAPI_OK;
    const std::uint32_t size = given->size;
    if (size < kLeast || size > kMost) return SCAPI_ERROR_OPTIONS;
    const auto* bytes = reinterpret_cast<const unsigned char*>(given);
    for (std::size_t at = sizeof(Options); at < size; ++at)
        if (bytes[at]) return SCAPI_ERROR_OPTIONS;
    std::memcpy(&options, bytes, std::min<std::size_t>(size, sizeof(Options)));
    return options.flags & ~knownFlags ? SCAPI_ERROR_OPTIONS : SCAPI_OK;
}

/// @return SCAPI_OK, SCAPI_ERROR_OPTIONS or SCAPI_ERROR_TOLERANCE
int ReadLimits(const scapi_options* given, Limits& limits);

/// A budget as given, or the default for 0. @return false when it is negative
bool ReadBudget(std::int64_t given, std::int64_t& budget);

} // namespace proximity

#endif
