#include "compare.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "poses.h"
#include "scapi/scapi.h"
#include "support/paths.h"
#include "support/temporary_folder.h"

namespace pair
{
namespace
{

namespace fs = std::filesystem;

bool WriteStl(const fs::path& path, const Solid& solid)
{
    std::ofstream file(path, std::ios::binary);
    const std::vector<float> corners = Corners(solid);
    const std::array<char, 80> header{};
    const std::array<float, 3> normal{};
    const auto count = static_cast<std::uint32_t>(solid.info.triangles);
    file.write(header.data(), header.size());
    file.write(reinterpret_cast<const char*>(&count), sizeof count);
    for (std::size_t i = 0; i < corners.size(); i += 9) {
        file.write(reinterpret_cast<const char*>(normal.data()), sizeof normal);
        file.write(reinterpret_cast<const char*>(&corners[i]), 9 * sizeof(float));
        file.write("\0", 2);
    }
    return bool(file.flush());
}

/// A file in its own unit is loaded as it is; what the calls cannot make, or not scale, is written
/// out first.
std::string LoadSlot(int slot, const Source& source, const Solid& solid, const fs::path& folder)
{
    const fs::path path = folder / (std::to_string(slot) + ".stl");
    std::error_code failed;
    if (source.kind == Source::kFile && source.scale == 1)
        fs::copy_file(ToPath(source.text), path, failed);
    else if (!WriteStl(path, solid))
        failed = std::make_error_code(std::errc::io_error);
    const std::string which = std::string("AB").substr(static_cast<std::size_t>(slot), 1);
    if (failed) return which + " cannot be copied for them: " + failed.message();
    std::string name = ToUtf8(path);
    const int code = SCAPI_LoadSTL(slot, reinterpret_cast<unsigned char*>(name.data()), 0);
    float box[6];
    if ((code == SCAPI_SUCCESS || code == SCAPI_NOT_WRITTEN) && SCAPI_GetBbox(slot, box) == 0)
        return {};
    if (code == SCAPI_OPEN_SIDE) return which + " is not closed";
    return which + " cannot be loaded by them, code " + std::to_string(code);
}

struct Matrix {
    float row[4][4];
};

Matrix ToMatrix(const Pose& pose)
{
    Matrix matrix{{{}, {}, {}, {0, 0, 0, 1}}};
    for (std::size_t i = 0; i < 12; ++i) matrix.row[i / 4][i % 4] = static_cast<float>(pose[i]);
    return matrix;
}

/// Does an edge of `moved`, swept from start to end, hit a face of `fixed`?
bool Ask(int fixed, int moved, const Pose& start, const Pose& end)
{
    Matrix rest = ToMatrix(kRest), from = ToMatrix(start), to = ToMatrix(end);
    SCAPI_DefSweep(fixed, rest.row, rest.row);
    SCAPI_DefSweep(moved, from.row, to.row);
    return SCAPI_DetectInterference(fixed, moved) == SCAPI_INTERFERENCE;
}

/// The pose of B as seen from A.
Pose Relative(const Request& request, double time)
{
    Pose a, b;
    scapi_motion_pose(&request.motions[0], time, a.data());
    scapi_motion_pose(&request.motions[1], time, b.data());
    return Multiply(Inverse(a), b);
}

} // namespace

FifteenCalls AskFifteenCalls(const Request& request, const std::array<Solid, 2>& solids)
{
    FifteenCalls calls;
    const TemporaryFolder folder("scapi-pair");
    if (folder.path.empty()) calls.problem = "there is no folder for temporary files";
    for (std::size_t i = 0; i < 2 && calls.problem.empty(); ++i)
        calls.problem = LoadSlot(int(i), request.sources[i], solids[i], folder.path);
    if (calls.problem.empty()) {
        const Pose start = Relative(request, 0), end = Relative(request, 1);
        calls.edgesOfB = Ask(0, 1, start, end);
        calls.edgesOfA = Ask(1, 0, Inverse(start), Inverse(end));
    }
    SCAPI_Close();
    return calls;
}

std::string Disagreement(const Answer& answer, const FifteenCalls& calls)
{
    const bool safe = answer.verdict == Verdict::kClear;
    if (!calls.problem.empty()) return "the fifteen calls have no answer, since " + calls.problem;
    if (!safe && !calls.Contact())
        return answer.verdict == Verdict::kUndecided
                   ? "the fifteen calls would have said \"no interference\", which is not shown"
                   : "the fifteen calls would have said \"no interference\"";
    if (safe && calls.Contact()) return "the fifteen calls would have said \"interference\"";
    return {};
}

} // namespace pair
