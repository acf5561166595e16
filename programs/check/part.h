// Findings of one shard as a file, and the way back.
#ifndef SCAPI_CHECK_PART_H
#define SCAPI_CHECK_PART_H

#include "run.h"

namespace check
{

/// JSON from which the findings come back bit for bit.
std::string PartJson(const Job& job, const Shard& shard, const Findings& findings);

/// Puts parts together. They must be of this job, of one number of shards, and each shard must be
/// there once.
/// @return whether they fit; else problems
bool MergeParts(const Job& job, const std::vector<std::string>& paths, Findings& findings,
                Problems& problems);

} // namespace check

#endif
