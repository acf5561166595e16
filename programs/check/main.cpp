// scapi-check: holds a tool path against a machine, and looks at meshes.
#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <string_view>
#include <thread>

#include "mesh_check.h"
#include "part.h"
#include "report.h"
#include "support/arguments_utf8.h"
#include "support/paths.h"
#include "support/terminal.h"
#include "terminal.h"

namespace
{

using namespace check;

constexpr char kUsage[] =
    "scapi-check path JOB [--jobs N] [--json FILE] [--html FILE] [--stats]\n"
    "scapi-check path JOB --shard I/N --part FILE [--jobs N]\n"
    "scapi-check merge JOB PART... [--json FILE] [--html FILE]\n"
    "scapi-check mesh FILE... [--json FILE] [--html FILE]\n"
    "\n"
    "path   checks the program of a job: every pair of bodies that must not touch, along every "
    "move\n"
    "merge  puts the parts of all shards together; tells what one run would have told\n"
    "mesh   tells what is wrong with STL files, and where\n"
    "\n"
    "--jobs N     threads; all processors if it is not given. The result is the same\n"
    "--shard I/N  only the I-th of N parts of the program, from 1\n"
    "--part FILE  where the findings of a shard go\n"
    "--json FILE  the report as JSON, - for standard output in place of the text\n"
    "--html FILE  the report as a page with the scene in 3D\n"
    "--stats      where the time went, on standard error\n"
    "\n"
    "Exit status: 0 clear (mesh: sound), 1 hits (mesh: faults), 2 error, 3 undecided\n";

struct Arguments {
    std::string command;
    std::vector<std::string> files;
    std::string json, html, part;
    unsigned jobs = 0;
    Shard shard;
    bool sharded = false, stats = false;
};

bool ToNumber(std::string_view text, unsigned low, unsigned high, unsigned& number)
{
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    return result.ec == std::errc() && result.ptr == text.data() + text.size() && low <= number &&
           number <= high;
}

bool ToShard(std::string_view text, Shard& shard)
{
    const std::size_t slash = text.find('/');
    unsigned index = 0, count = 0;
    if (slash == std::string_view::npos || !ToNumber(text.substr(slash + 1), 1, 1000000, count) ||
        !ToNumber(text.substr(0, slash), 1, count, index))
        return false;
    shard = {index - 1, count};
    return true;
}

/// @return what is wrong
std::string TakeOption(std::string_view option, const std::string& value, Arguments& arguments)
{
    if (option == "--json")
        arguments.json = value;
    else if (option == "--html")
        arguments.html = value;
    else if (option == "--part")
        arguments.part = value;
    else if (option == "--jobs") {
        if (!ToNumber(value, 1, 1024, arguments.jobs))
            return "--jobs needs a number from 1 to 1024";
    } else if (option == "--shard") {
        arguments.sharded = true;
        if (!ToShard(value, arguments.shard)) return "--shard needs I/N, such as 2/8";
    } else {
        return std::string(option) + " is not known";
    }
    return value.empty() ? std::string(option) + " needs a value" : "";
}

std::string Check(const Arguments& arguments)
{
    const bool path = arguments.command == "path";
    if (!path && arguments.command != "merge" && arguments.command != "mesh")
        return "the first word must be path, merge or mesh";
    if (arguments.files.empty()) return arguments.command + " needs a file";
    if (path && arguments.files.size() > 1) return "path takes one job";
    if (arguments.command == "merge" && arguments.files.size() < 2)
        return "merge needs a job and its parts";
    if (!path &&
        (arguments.sharded || arguments.jobs || arguments.stats || !arguments.part.empty()))
        return "--shard, --part, --jobs and --stats belong to path";
    if (arguments.sharded == arguments.part.empty()) return "--shard and --part go together";
    if (arguments.sharded && !(arguments.json.empty() && arguments.html.empty()))
        return "a shard writes its part; --json and --html belong to merge";
    return {};
}

/// @param words  the name of the program first
std::string ReadArguments(const std::vector<std::string>& words, Arguments& arguments)
{
    if (words.size() > 1) arguments.command = words[1];
    for (std::size_t i = 2; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (word.size() < 2 || word[0] != '-') {
            arguments.files.push_back(word);
        } else if (word == "--stats") {
            arguments.stats = true;
        } else {
            const std::string fault =
                TakeOption(word, i + 1 < words.size() ? words[i + 1] : "", arguments);
            if (!fault.empty()) return fault;
            ++i;
        }
    }
    return Check(arguments);
}

int Fail(const Problems& problems)
{
    for (const Problem& problem : problems)
        std::fprintf(stderr, "scapi-check: %s\n", Describe(problem).c_str());
    return static_cast<int>(Verdict::kError);
}

bool Write(const std::string& path, const std::string& text, Problems& problems)
{
    if (path == "-") {
        std::fwrite(text.data(), 1, text.size(), stdout);
        return std::fflush(stdout) == 0;
    }
    std::ofstream out(ToPath(path), std::ios::binary);
    out << text << std::flush;
    if (!out) problems.push_back({path, 0, "", "cannot be written"});
    return out.good();
}

/// Text, JSON and page of a check. @return the exit status
int Tell(const Arguments& arguments, const Report& report)
{
    Problems problems;
    if (arguments.json != "-") Write("-", TextReport(report), problems);
    if (!arguments.json.empty()) Write(arguments.json, JsonReport(report), problems);
    if (!arguments.html.empty()) WritePathPage(arguments.html, report, problems);
    return problems.empty() ? static_cast<int>(VerdictOf(report)) : Fail(problems);
}

void TellStats(const Work& work, std::size_t moves, double read, double checked)
{
    std::fprintf(
        stderr,
        "read in %.2f s; checked %zu moves in %.2f s: %.0f a second\n"
        "pairs along moves %lld; pieces clear by boxes %lld, by one placement %lld; times of "
        "impact %lld\n"
        "seconds of all threads: placements %.2f, times of impact %.2f; of these for "
        "measuring clearances %.2f\n",
        read, moves, checked, static_cast<double>(moves) / std::max(checked, 1e-9),
        static_cast<long long>(work.pairs), static_cast<long long>(work.byBoxes),
        static_cast<long long>(work.byPlace), static_cast<long long>(work.impacts),
        work.placeSeconds, work.impactSeconds, work.measureSeconds);
}

int RunPath(const Arguments& arguments)
{
    const auto seconds = [from = std::chrono::steady_clock::now()] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - from).count();
    };
    Problems problems;
    Job job;
    if (!ReadJob(arguments.files[0], job, problems)) return Fail(problems);
    const double read = seconds();
    CatchInterrupts();
    const Pairs pairs = PairsOf(job);
    if (std::all_of(pairs.ofTool.begin(), pairs.ofTool.end(), [](auto& of) { return of.empty(); }))
        return Fail(
            {{job.path, 0, "", "no two bodies move against each other and must not touch"}});
    const unsigned threads =
        arguments.jobs ? arguments.jobs : std::max(1u, std::thread::hardware_concurrency());
    Work work;
    const Findings findings = CheckMoves(job, pairs, arguments.shard, threads, work);
    const Report report{job, pairs, findings};
    if (arguments.stats) TellStats(work, CheckedMoves(findings), read, seconds() - read);
    if (!arguments.sharded) return Tell(arguments, report);
    Write(arguments.part, PartJson(job, arguments.shard, findings), problems);
    if (!problems.empty()) return Fail(problems);
    if (Interrupted()) return static_cast<int>(Verdict::kUndecided);
    const bool hits = !findings.hits.empty();
    return static_cast<int>(hits                         ? Verdict::kHits
                            : findings.undecided.empty() ? Verdict::kClear
                                                         : Verdict::kUndecided);
}

int RunMerge(const Arguments& arguments)
{
    Problems problems;
    Job job;
    Findings findings;
    const std::vector<std::string> parts(arguments.files.begin() + 1, arguments.files.end());
    if (!ReadJob(arguments.files[0], job, problems)) return Fail(problems);
    if (!MergeParts(job, parts, findings, problems)) return Fail(problems);
    const Pairs pairs = PairsOf(job);
    return Tell(arguments, {job, pairs, findings});
}

int RunMesh(const Arguments& arguments)
{
    Problems problems;
    std::vector<MeshReport> reports;
    {
        Progress progress("checking meshes", static_cast<std::int64_t>(arguments.files.size()));
        for (std::size_t i = 0; i < arguments.files.size(); ++i) {
            progress.Show(static_cast<std::int64_t>(i));
            MeshReport report;
            if (CheckMesh(arguments.files[i], report, problems))
                reports.push_back(std::move(report));
        }
    }
    if (arguments.json != "-")
        for (const MeshReport& report : reports) Write("-", MeshText(report), problems);
    if (!arguments.json.empty()) Write(arguments.json, MeshJson(reports), problems);
    if (!arguments.html.empty()) WriteMeshPage(arguments.html, reports, problems);
    if (!problems.empty()) return Fail(problems);
    const bool faulty =
        std::any_of(reports.begin(), reports.end(), [](const auto& r) { return r.IsFaulty(); });
    return faulty ? 1 : 0;
}

} // namespace

int main(int count, char** given)
{
    PrepareStreams();
    const std::vector<std::string> words = Utf8Arguments(count, given);
    Arguments arguments;
    const std::string_view first = words.size() > 1 ? std::string_view(words[1]) : "";
    if (first == "--help" || first == "-h") {
        std::fputs(kUsage, stdout);
        return 0;
    }
    const std::string fault = ReadArguments(words, arguments);
    if (!fault.empty()) {
        std::fprintf(stderr, "scapi-check: %s\n\n%s", fault.c_str(), kUsage);
        return static_cast<int>(Verdict::kError);
    }
    if (arguments.command == "path") return RunPath(arguments);
    return arguments.command == "merge" ? RunMerge(arguments) : RunMesh(arguments);
}
