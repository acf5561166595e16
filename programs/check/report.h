// What a check tells: as text, as JSON, as a page.
#ifndef SCAPI_CHECK_REPORT_H
#define SCAPI_CHECK_REPORT_H

#include <string>

#include "checker.h"

namespace check
{

/// Exit statuses of the program.
enum class Verdict { kClear = 0, kHits = 1, kError = 2, kUndecided = 3 };
const char* NameOf(Verdict verdict);

struct Report {
    const Job& job;
    const Pairs& pairs;
    const Findings& findings;
};

/// A pair that touches along moves that follow each other: the hit that began it, and the last.
struct Incident {
    std::size_t first = 0; ///< into Findings::hits
    std::uint32_t lastMove = 0;
    double approach = 0; ///< the most of all
};
/// @param incidentOf  null, or takes the incident of each hit
std::vector<Incident> IncidentsOf(const Findings& findings,
                                  std::vector<std::size_t>* incidentOf = nullptr);

std::size_t CheckedMoves(const Findings& findings);

/// The moves whose clearance is below the limit of the job.
std::vector<std::uint32_t> NearMoves(const Report& report);

/// Hits; else undecided where a pair is, or where moves were not checked; else clear.
Verdict VerdictOf(const Report& report);

/// In one line, such as "3 hits in 412 moves".
std::string Summary(const Report& report);

std::string TextReport(const Report& report);
std::string JsonReport(const Report& report);

/// The page with the scene. @return false, with a problem, where it cannot be written
bool WritePathPage(const std::string& path, const Report& report, Problems& problems);

/// "T1 holder / clamp".
std::string PairName(const Job& job, std::int32_t a, std::int32_t b);

} // namespace check

#endif
