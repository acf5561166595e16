// What is wrong with the input, and where.
#ifndef SCAPI_CHECK_PROBLEMS_H
#define SCAPI_CHECK_PROBLEMS_H

#include <string>
#include <vector>

namespace check
{

struct Problem {
    std::string file;
    int line = 0;     ///< from 1; 0 where none can be told
    std::string key;  ///< of a JSON file, such as /tools/0/length; else empty
    std::string text; ///< what is wrong, and what would be right
};
using Problems = std::vector<Problem>;

/// "job.json:12: /tools/0/length: ...".
inline std::string Describe(const Problem& problem)
{
    std::string out = problem.file;
    if (problem.line > 0) out += ':' + std::to_string(problem.line);
    if (!problem.key.empty()) out += ": " + problem.key;
    return out + ": " + problem.text;
}

} // namespace check

#endif
