#include "mesh/memory.h"

#include <cstdlib>

#include "platform/memory.h"

void PreferLargePagesIfLarge(void* block, std::size_t bytes)
{
    constexpr std::size_t kLarge = std::size_t{1} << 23;
    if (bytes >= kLarge) PreferLargePages(block, bytes);
}

void* TryAllocateRecords(std::size_t count, std::size_t size)
{
    for (;;) {
        if (void* records = std::calloc(std::max<std::size_t>(count, 1), size)) {
            PreferLargePagesIfLarge(records, count * size);
            return records;
        }
        if (!CallAllocationHandler(count * size)) return nullptr;
    }
}

void* AllocateRecords(std::size_t count, std::size_t size)
{
    void* records = TryAllocateRecords(count, size);
    if (!records) std::abort();
    return records;
}

void ReleaseRecords(void* records) { std::free(records); }

void* ResizeRecords(void* records, std::size_t oldCount, std::size_t newCount, std::size_t size)
{
    if (newCount <= SIZE_MAX / size) {
        if (void* moved = std::realloc(records, newCount * size)) {
            std::memset(static_cast<char*>(moved) + oldCount * size, 0,
                        (newCount - oldCount) * size);
            return moved;
        }
    }
    // realloc has left the old block alone. Allocating anew goes through the handler, which may
    // free enough memory, and aborts where it cannot.
    void* fresh = AllocateRecords(newCount, size);
    if (oldCount) std::memcpy(fresh, records, oldCount * size);
    ReleaseRecords(records);
    return fresh;
}
