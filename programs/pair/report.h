// The answer as text and as JSON.
#ifndef SCAPI_PROGRAMS_PAIR_REPORT_H
#define SCAPI_PROGRAMS_PAIR_REPORT_H

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "arguments.h"
#include "compare.h"
#include "judge.h"
#include "solids.h"

namespace pair
{

/// All that was found out.
struct Report {
    std::array<Solid, 2> solids;
    Answer answer;
    std::optional<FifteenCalls> calls; ///< with --compare
    std::vector<std::string> warnings;
};

/// 0 clear, 1 contact or inside, 3 undecided.
int ExitStatus(Verdict verdict);

/// The verdict in one line: how far apart at least; or where, when and how far on the way.
std::string VerdictLine(const Request& request, const Answer& answer);

/// "A  plate.stl: 240 triangles, x -100 to 100, ...", without control characters.
std::string SolidLine(const Request& request, const Report& report, std::size_t index);

/// What the fifteen calls said, in one line, or why they have no answer.
std::string CallsText(const FifteenCalls& calls);

/// The same as one JSON object: the verdict as in VerdictLine and as a word, numbers unrounded.
std::string ToJson(const Request& request, const Report& report);

} // namespace pair

#endif
