// All moves of a job, by several threads.
#ifndef SCAPI_CHECK_RUN_H
#define SCAPI_CHECK_RUN_H

#include "checker.h"

namespace check
{

/// Part `index` of `count` parts, from 0: its moves follow each other.
struct Shard {
    std::size_t index = 0, count = 1;
};

/// The first move of a shard; that of shard `count` is the number of moves.
std::size_t FirstMove(const Shard& shard, std::size_t moves);

/// Checks the moves of a shard. The findings are the same for any number of threads. An interrupt
/// ends the run; moves that were not checked say so.
Findings CheckMoves(const Job& job, const Pairs& pairs, const Shard& shard, unsigned threads,
                    Work& work);

/// By move, then by pair.
void Sort(Findings& findings);

} // namespace check

#endif
