// Zero-filled arrays of records. When memory is short, the handler of std::get_new_handler is
// called until it frees enough or does not return. Without a handler the Try functions return null;
// the others abort the process, because no caller of theirs can go on.
#ifndef SCAPI_MESH_MEMORY_H
#define SCAPI_MESH_MEMORY_H

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "scapi/records.h"

void* AllocateRecords(std::size_t count, std::size_t size);
/// For counts from a file, which may be wrong: null when memory is short and there is no handler.
void* TryAllocateRecords(std::size_t count, std::size_t size);
void ReleaseRecords(void* records);
/// Asks for large pages for a fresh block that is large enough for them.
void PreferLargePagesIfLarge(void* block, std::size_t bytes);

/// Grows a block to `newCount` records; the added ones are zero.
/// @pre     oldCount <= newCount
/// @return  the block, moved or not
void* ResizeRecords(void* records, std::size_t oldCount, std::size_t newCount, std::size_t size);

template <class Record>
Record* Allocate(int count)
{
    return static_cast<Record*>(AllocateRecords(static_cast<std::size_t>(count), sizeof(Record)));
}

/// Allocates one record more than the capacity, zeroed: the inversion walk (docs/behaviour.md)
/// starts from the record after the last triangle.
inline T_LIST* AllocateTriangles(int capacity)
{
    return static_cast<T_LIST*>(
        AllocateRecords(static_cast<std::size_t>(capacity) + 1, sizeof(T_LIST)));
}
inline T_LIST* TryAllocateTriangles(int capacity)
{
    return static_cast<T_LIST*>(
        TryAllocateRecords(static_cast<std::size_t>(capacity) + 1, sizeof(T_LIST)));
}

struct ReleaseScratch {
    void operator()(void* records) const { ReleaseRecords(records); }
};
/// An owned zero-filled array.
template <class Record>
using Scratch = std::unique_ptr<Record[], ReleaseScratch>;

template <class Record>
Scratch<Record> MakeScratch(std::size_t count)
{
    return Scratch<Record>(static_cast<Record*>(AllocateRecords(count, sizeof(Record))));
}

/// Truncates to an integer in low to high; NaN gives `low`. A plain cast is undefined for values
/// that do not fit.
inline int ClampToInt(double value, int low, int high)
{
    return value > low ? static_cast<int>(std::min(value, static_cast<double>(high))) : low;
}

/// Capacity of a new vertex or edge list: a tenth more than `records`, plus 100, so that a
/// refinement that adds little does not have to grow it.
inline int ListCapacity(std::int64_t records)
{
    return ClampToInt(static_cast<double>(records) * static_cast<double>(1.1f) + 100.0, 0, INT_MAX);
}

#endif
