#include "proximity/api/options.h"

namespace proximity
{
namespace
{

constexpr std::int64_t kDefaultBudget = 50000000;

/// False for NaN.
bool IsLength(double x) { return 0 <= x && x <= SCAPI_MAX_COORDINATE; }

} // namespace

bool ReadBudget(std::int64_t given, std::int64_t& budget)
{
    budget = given ? given : kDefaultBudget;
    return given >= 0;
}

int ReadLimits(const scapi_options* given, Limits& limits)
{
    scapi_options options;
    const int code = CopyOptions(
        given, SCAPI_SURFACES_ONLY | SCAPI_WANT_RELATION | SCAPI_IGNORE_START_CONTACT, options);
    if (code != SCAPI_OK) return code;
    if (!IsLength(options.tolerance) || !IsLength(options.resolution) ||
        !(options.upper_bound >= 0))
        return SCAPI_ERROR_TOLERANCE;
    limits.tolerance = options.tolerance;
    limits.resolution = options.resolution;
    limits.upperBound = options.upper_bound > 0 ? options.upper_bound : HUGE_VAL;
    limits.surfacesOnly = (options.flags & SCAPI_SURFACES_ONLY) != 0;
    limits.wantRelation = (options.flags & SCAPI_WANT_RELATION) != 0;
    limits.ignoreStartContact = (options.flags & SCAPI_IGNORE_START_CONTACT) != 0;
    return ReadBudget(options.budget, limits.budget) ? SCAPI_OK : SCAPI_ERROR_OPTIONS;
}

} // namespace proximity
