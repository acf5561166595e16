#ifndef SCAPI_PLATFORM_MEMORY_H
#define SCAPI_PLATFORM_MEMORY_H

#include <cstddef>

/// Asks for large pages for a fresh block, where the system has them: filling it then costs a
/// quarter of the time. A hint, without a result.
void PreferLargePages(void* block, std::size_t bytes);

/// Leads failed allocations of the C run time to its handler, where it has one; elsewhere the
/// handler of C++ is asked without that.
void RouteFailedAllocations();

/// Calls the handler of failed allocations, that of C++ or, where the run time of C++ is the
/// library's own and no host can reach it, that of the C run time. It may unwind.
/// @return false when there is none, or it gives up: there is no more memory
bool CallAllocationHandler(std::size_t bytes);

#endif
