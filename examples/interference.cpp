// Do two solids interfere? A host written against scapi.h.
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>

#include "arguments.h"
#include "scapi/scapi.h"
#include "sweep_file.h"

namespace
{

constexpr const char* kUsage =
    R"(Usage: interference [options] SOLID_A SOLID_B

Asks whether SOLID_B, placed or moved, touches SOLID_A where it stands.

A solid is the path of an STL file, box:x0,y0,z0,x1,y1,z1 (minimum, maximum), or
cyl:x0,y0,z0,x1,y1,z1,r (the ends of the axis, the radius).

Options:
  --start POSE       pose of SOLID_B, or where its motion starts (default: where it was loaded)
  --end POSE         where its motion ends (default: as --start, no motion)
  --simple           load SOLID_A as a simple solid: its file need not be closed, but its edges
                     are not asked
  --save A=FILE      write a solid, as refined, to an STL file; B=FILE for the other
  --save-sweep FILE  write the surfaces that both solids sweep to one STL file to look at
  -h, --help         this text

A pose is tx,ty,tz (a translation), or tx,ty,tz,rx,ry,rz (turned by rx about x, ry about y, rz
about z, in that order, in degrees, before it is moved), or 16 numbers, a matrix row by row. A
motion is a straight line: a rotation between the two poses is averaged away.

Exit status: 0 no interference, 1 interference, 2 error.
)";

enum ExitStatus { kClear = 0, kHit = 1, kError = 2 };

int Fail(const std::string& message)
{
    std::fprintf(stderr, "interference: %s\nTry: interference --help\n", message.c_str());
    return kError;
}

/// Milliseconds that a call takes.
template <class Call>
double Time(Call call)
{
    const auto from = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - from)
        .count();
}

std::string LoadFailure(int code)
{
    switch (code) {
    case SCAPI_UNREADABLE:
        return "cannot be read as an STL file";
    case SCAPI_TOO_SMALL:
        return "is not larger than 1e-4";
    case SCAPI_LOOSE_VERTEX:
    case SCAPI_OPEN_SIDE:
        return "is not a closed mesh; as solid A it may load with --simple";
    default:
        return "cannot be loaded, code " + std::to_string(code);
    }
}

int Load(int slot, SolidSource source, bool simple)
{
    float* numbers = source.numbers.data();
    switch (source.kind) {
    case SolidSource::kBox:
        return SCAPI_LoadBox(slot, numbers);
    case SolidSource::kCylinder:
        return SCAPI_LoadCylinder(slot, numbers, numbers + 3, numbers[6]);
    default:
        return SCAPI_LoadSTL(slot, source.Path(), simple);
    }
}

/// When the cache file beside a source was written; a load that leaves it alone has used it.
std::filesystem::file_time_type CacheTime(const SolidSource& source)
{
    std::error_code missing;
    return std::filesystem::last_write_time(
        std::filesystem::path(source.text).replace_extension("SLD"), missing);
}

int CountTriangles(int slot)
{
    int count = 0;
    float corners[3][3];
    for (int cursor = 0;; ++count) {
        SCAPI_GetTriangles(slot, &cursor, corners, nullptr);
        if (cursor < 0) return count;
    }
}

/// Loads a solid and says what came; false when it cannot be used.
bool LoadAndReport(int slot, const SolidSource& source, bool simple)
{
    int result = 0;
    const int32_t before = SCAPI_GetUsedRAM();
    const auto cacheTime = CacheTime(source);
    const double milliseconds = Time([&] { result = Load(slot, source, simple); });
    if (result == SCAPI_NOT_WRITTEN)
        std::fprintf(stderr, "interference: warning: the cache of %s could not be written\n",
                     source.text.c_str());
    else if (result != 0)
        return Fail(source.text + " " + LoadFailure(result)), false;
    float box[6];
    if (SCAPI_GetBbox(slot, box) != 0) return Fail(source.text + " holds no triangles"), false;
    const bool cached = source.kind == SolidSource::kFile && result == 0 &&
                        cacheTime != std::filesystem::file_time_type::min() &&
                        CacheTime(source) == cacheTime;
    std::printf("%c  %s\n   %d triangles, %.1f kB, %s in %.2f ms\n", 'A' + slot,
                source.text.c_str(), CountTriangles(slot), (SCAPI_GetUsedRAM() - before) / 1000.0,
                cached ? "loaded from the cache" : "loaded", milliseconds);
    std::printf("   x %g to %g, y %g to %g, z %g to %g\n", double(box[0]), double(box[3]),
                double(box[1]), double(box[4]), double(box[2]), double(box[5]));
    return true;
}

/// Places or moves `moved` and asks whether its edges hit `fixed`.
bool Ask(int fixed, int moved, Matrix start, Matrix end)
{
    Matrix rest = kIdentity;
    int answer = 0;
    SCAPI_DefSweep(fixed, rest.row, rest.row);
    const double define = Time([&] { SCAPI_DefSweep(moved, start.row, end.row); });
    const double detect = Time([&] { answer = SCAPI_DetectInterference(fixed, moved); });
    std::printf("edges of %c against faces of %c: %-15s (placed in %.3f ms, asked in %.3f ms)\n",
                'A' + moved, 'A' + fixed,
                answer == SCAPI_INTERFERENCE ? "interference" : "no interference", define, detect);
    return answer == SCAPI_INTERFERENCE;
}

/// @return an error message, empty when all files that were asked for are written
std::string SaveFiles(Request& request)
{
    for (int slot = 0; slot < 2; ++slot) {
        std::string& path = request.save[slot == 1];
        if (path.empty()) continue;
        if (SCAPI_SaveSTL(slot, reinterpret_cast<unsigned char*>(path.data())) != 0)
            return path + " cannot be written";
        std::printf("%c written to %s\n", 'A' + slot, path.c_str());
    }
    if (request.saveSweep.empty()) return {};
    if (!WriteSweepFile(request)) return request.saveSweep + " cannot be written";
    std::printf("swept surfaces written to %s\n", request.saveSweep.c_str());
    return {};
}

int Run(Request& request)
{
    const Matrix start = request.start, end = request.end.value_or(start);
    const auto startBack = Invert(start), endBack = Invert(end);
    if (!startBack || !endBack) return Fail("a pose is a singular matrix");
    for (int slot = 0; slot < 2; ++slot)
        if (!LoadAndReport(slot, request.solids[slot == 1], slot == 0 && request.simple))
            return kError;
    bool hit = Ask(0, 1, start, end);
    // The other way round B stands still where it was loaded, and A makes the opposite motion.
    if (!request.simple) hit |= Ask(1, 0, *startBack, *endBack);
    const std::string error = SaveFiles(request);
    if (!error.empty()) return Fail(error);
    return hit ? kHit : kClear;
}

} // namespace

int main(int argc, char** argv)
{
    Request request;
    const std::string error = ParseArguments(argc, argv, request);
    if (!error.empty()) return Fail(error);
    if (request.help) {
        std::fputs(kUsage, stdout);
        return kClear;
    }
    const int status = Run(request);
    SCAPI_Close();
    return status;
}
