// Do two solids touch, at rest or on their way? Asks the proximity library.
#include <cstdio>
#include <string>
#include <vector>

#include "report.h"
#include "scene.h"
#include "support/arguments_utf8.h"
#include "support/terminal.h"

namespace pair
{
namespace
{

constexpr const char* kUsage =
    R"(Usage: scapi-pair [options] A B

Tells whether two solids touch, at rest or on their way, and how far apart they stay. CLEAR is
proven, with all rounding counted; what cannot be shown is UNDECIDED.

A and B are STL files, box:x0,y0,z0,x1,y1,z1 (minimum, maximum), or cyl:x0,y0,z0,x1,y1,z1,r (the
ends of the axis, the radius; 32 segments).

Where they are and how they move, for A; the same with -b for B:
  --pose-a POSE      where A stands, or where its motion starts (default: as in its file)
  --to-a POSE        its motion ends there; turns the shortest way
  --path-a X,Y,Z     or: it goes straight by this much
  --turn-a X,Y,Z,D   and turns by D degrees, of any number of turns, about this direction
  --pivot-a X,Y,Z    the point of A that goes straight while A turns about it, in coordinates of its
                     file (default: the origin)
A POSE is x,y,z (moved), x,y,z,rx,ry,rz (turned by rx degrees about the x axis, then ry about y, rz
about z, then moved), or a matrix row by row: 12 numbers, or 16 that end in 0,0,0,1. Both motions
take the same time; rotations are followed truly.

Options:
  --units UNIT       unit of all numbers given and shown, mm (default) or inch
  --units-a UNIT     unit of the file of A where it is another; the same with -b
  --tolerance T      contact at this distance or less (default: 0.01 mm)
  --surfaces         judge the surfaces alone: needs no closed meshes, finds nothing inside
  --budget N         give up after N tests of pairs of triangles or boxes (default: 50 million)
  --compare          ask the fifteen calls of scapi.h too, and warn where they say something else
  --json             print the answer as JSON
  --html FILE        write a page that shows both solids in 3D, the contact and the motion
  --                 what follows is a solid, even if it starts with -
  -h, --help         this text

Exit status: 0 clear, 1 contact or inside, 2 error, 3 undecided.
)";

constexpr int kError = 2;

int Fail(const std::string& message)
{
    std::fprintf(stderr, "scapi-pair: %s\n", message.c_str());
    return kError;
}

void ProgressOfSteps(std::size_t done, std::size_t of)
{
    if (done % 16 == 0) ShowLine("step " + std::to_string(done) + " of " + std::to_string(of));
}

void CollectWarnings(Report& report)
{
    if (!report.calls) return;
    const std::string warning = Disagreement(report.answer, *report.calls);
    if (!warning.empty()) report.warnings.push_back(warning);
}

void Print(const Request& request, const Report& report)
{
    for (const std::string& warning : report.warnings)
        std::fprintf(stderr, "scapi-pair: warning: %s\n", warning.c_str());
    if (request.json) {
        std::printf("%s\n", ToJson(request, report).c_str());
        return;
    }
    for (std::size_t i = 0; i < 2; ++i) std::printf("%s\n", SolidLine(request, report, i).c_str());
    if (report.calls) std::printf("fifteen calls: %s\n", CallsText(*report.calls).c_str());
    std::printf("%s\n", VerdictLine(request, report.answer).c_str());
}

int Run(const Request& request)
{
    Report report;
    for (std::size_t i = 0; i < 2; ++i) {
        ShowLine("reading " + request.sources[i].text);
        const std::string error = LoadSolid(request.sources[i], report.solids[i]);
        if (!error.empty()) return ShowLine(""), Fail(error);
    }
    ShowLine("judging");
    std::string error = Judge(request, report.solids, report.answer);
    if (!error.empty()) return ShowLine(""), Fail(error);
    if (request.compare) {
        ShowLine("asking the fifteen calls");
        report.calls = AskFifteenCalls(request, report.solids);
    }
    CollectWarnings(report);
    ShowLine("");
    Print(request, report);
    std::fflush(stdout);
    if (std::ferror(stdout)) return Fail("the answer could not be printed");
    if (request.html.empty()) return ExitStatus(report.answer.verdict);
    const bool written =
        view::WritePage(request.html, MakeScene(request, report, ProgressOfSteps), error);
    ShowLine("");
    return written ? ExitStatus(report.answer.verdict) : Fail(error);
}

} // namespace
} // namespace pair

int main(int argc, char** argv)
{
    pair::Request request;
    PrepareStreams();
    const std::vector<std::string> words = Utf8Arguments(argc, argv);
    const std::string error =
        pair::ParseArguments({words.begin() + !words.empty(), words.end()}, request);
    if (!error.empty()) return pair::Fail(error + "\nTry: scapi-pair --help");
    if (request.help) {
        std::fputs(pair::kUsage, stdout);
        return 0;
    }
    return pair::Run(request);
}
