#ifndef SCAPI_PLATFORM_MEMORY_H
#define SCAPI_PLATFORM_MEMORY_H

#include <cstddef>

/// Asks for large pages for a fresh block, where the system has them: filling it then costs a
/// quarter of the time. A hint, without a result.
void PreferLargePages(void* block, std::size_t bytes);

#endif
