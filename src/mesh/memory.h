// Zero-filled arrays of records. A failed allocation goes to the handler of std::get_new_handler,
// again and again; without one the process is aborted, unless only a file's word stood for the
// size.
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
/// For sizes that only a file vouches for: null when there is not that much memory, and no handler.
void* TryAllocateRecords(std::size_t count, std::size_t size);
void ReleaseRecords(void* records);

/// Grows a block of `oldCount` records to `newCount`; the new tail is zero.
void* ResizeRecords(void* records, std::size_t oldCount, std::size_t newCount, std::size_t size);

template <class Record>
Record* Allocate(int count)
{
    return static_cast<Record*>(AllocateRecords(static_cast<std::size_t>(count), sizeof(Record)));
}

/// One zeroed record more than the capacity: the inversion walk reads one past the last.
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
/// A zero-filled array that is given back with its owner.
template <class Record>
using Scratch = std::unique_ptr<Record[], ReleaseScratch>;

template <class Record>
Scratch<Record> MakeScratch(std::size_t count)
{
    return Scratch<Record>(static_cast<Record*>(AllocateRecords(count, sizeof(Record))));
}

/// An integer from a float, for every value: NaN and what lies below come out as `low`.
inline int ClampToInt(double value, int low, int high)
{
    return value > low ? static_cast<int>(std::min(value, static_cast<double>(high))) : low;
}

/// Capacity of a list of `records` that is about to be built: a tenth more and 100.
inline int ListCapacity(std::int64_t records)
{
    return ClampToInt(static_cast<double>(records) * static_cast<double>(1.1f) + 100.0, 0, INT_MAX);
}

#endif
