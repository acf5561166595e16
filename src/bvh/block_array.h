// An array that grows while references into it stay valid.
#ifndef SCAPI_BVH_BLOCK_ARRAY_H
#define SCAPI_BVH_BLOCK_ARRAY_H

#include <vector>

#include "mesh/memory.h"

template <class Record>
struct BlockArray {
    static constexpr std::size_t kSize = 64;
    std::vector<Scratch<Record>> block;

    /// Grows to at least `count` records. New ones are zero.
    void EnsureSize(int count)
    {
        while (block.size() * kSize < static_cast<std::size_t>(count))
            block.push_back(MakeScratch<Record>(kSize));
    }
    Record& operator[](int i) const
    {
        const auto at = static_cast<std::size_t>(i);
        return block[at / kSize][at % kSize];
    }
};

#endif
