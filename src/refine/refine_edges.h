// Refinement of a full solid, with a count of what it took.
#ifndef SCAPI_REFINE_REFINE_EDGES_H
#define SCAPI_REFINE_REFINE_EDGES_H

#include <cstdint>

#include "scapi/solid.h"

/// A judgement is the unit of work: the rest of a break or a flip is bounded.
struct RefinementSteps {
    std::int64_t breakJudgements, flipJudgements, breaks, flips;
    int passes;
};

/// SOLIDC::SubdivideEdges.
RefinementSteps RefineEdges(SOLIDC& solid, const float* limit);

#endif
