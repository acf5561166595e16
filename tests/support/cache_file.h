// The cache file of a source, and what else stands beside it.
#ifndef SCAPI_TESTS_CACHE_FILE_H
#define SCAPI_TESTS_CACHE_FILE_H

#include <filesystem>

#include "api/table.h"
#include "support/meshes.h"

inline std::filesystem::path CacheOf(const TemporaryFile& file)
{
    return std::filesystem::path(file.path).replace_extension("SLD");
}

/// Files in the folder of a file.
inline std::ptrdiff_t FilesBeside(const TemporaryFile& file)
{
    return std::distance(
        std::filesystem::directory_iterator(std::filesystem::path(file.path).parent_path()), {});
}

/// Loads into slot 0. @return 0 for a result other than the one expected
inline std::uint64_t LoadedDigest(TemporaryFile& file, int expected = 0)
{
    return SCAPI_LoadSTL(0, file.Path(), 0) == expected ? Digest(*SolidIn(0)) : 0;
}

#endif
