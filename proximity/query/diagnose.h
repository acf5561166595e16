#ifndef PROXIMITY_QUERY_DIAGNOSE_H
#define PROXIMITY_QUERY_DIAGNOSE_H

#include "proximity/query/body.h"

namespace proximity
{

struct DiagnoseLimits {
    double weld = 0;
    bool selfCrossings = false;
    std::int64_t budget = 0;
};

scapi_diagnosis Diagnose(const Body& body, const DiagnoseLimits& limits);

} // namespace proximity

#endif
