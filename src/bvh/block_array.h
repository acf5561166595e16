// An array that grows while references into it stay good.
#ifndef SCAPI_BVH_BLOCK_ARRAY_H
#define SCAPI_BVH_BLOCK_ARRAY_H

#include <vector>

#include "mesh/memory.h"

template <class Record>
struct Blocks {
    static constexpr std::size_t kSize = 64;
    std::vector<Scratch<Record>> block;

    /// Makes room for records below a number. New ones are zero.
    void Reach(int count)
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
