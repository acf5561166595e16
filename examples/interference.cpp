// Do two solids interfere? A host written against scapi.h alone.
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "scapi/scapi.h"

namespace
{

constexpr const char* kUsage =
    R"(Usage: interference [options] SOLID_A SOLID_B

Asks whether SOLID_B, placed or moved, touches SOLID_A where it stands.

A solid is the path of an STL file, or box:x0,y0,z0,x1,y1,z1 (minimum, maximum).

Options:
  --start POSE  pose of SOLID_B, or where its motion starts (default: where it was loaded)
  --end POSE    where its motion ends (default: as --start, no motion)
  --help        this text

A pose is tx,ty,tz (a translation), or tx,ty,tz,rx,ry,rz (then turned by rx about x, ry about y, rz
about z, in that order, in degrees, before it is moved), or 16 numbers, a matrix row by row. A
motion is a straight line: a rotation between the two poses is averaged away.

Exit status: 0 no interference, 1 interference, 2 error.
)";

enum ExitStatus { kClear = 0, kHit = 1, kError = 2 };

struct Matrix {
    float row[4][4];
};

constexpr Matrix kIdentity{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};

struct Request {
    std::vector<std::string> solids;
    Matrix start = kIdentity;
    std::optional<Matrix> end;
    bool help = false;
};

int Fail(const std::string& message)
{
    std::fprintf(stderr, "interference: %s\nTry: interference --help\n", message.c_str());
    return kError;
}

/// Numbers between commas; empty when anything else stands there.
std::vector<double> ParseNumbers(const std::string& text)
{
    std::vector<double> numbers;
    const char* at = text.c_str();
    for (;;) {
        char* behind = nullptr;
        numbers.push_back(std::strtod(at, &behind));
        if (behind == at || !std::isfinite(numbers.back())) return {};
        if (*behind == 0) return numbers;
        if (*behind != ',') return {};
        at = behind + 1;
    }
}

Matrix Multiply(const Matrix& a, const Matrix& b)
{
    Matrix product{};
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            for (int k = 0; k < 4; ++k) product.row[i][j] += a.row[i][k] * b.row[k][j];
    return product;
}

Matrix Rotation(int axis, double degrees)
{
    const double angle = degrees * std::acos(-1.0) / 180;
    const auto c = static_cast<float>(std::cos(angle)), s = static_cast<float>(std::sin(angle));
    const int u = (axis + 1) % 3, v = (axis + 2) % 3;
    Matrix m = kIdentity;
    m.row[u][u] = c, m.row[u][v] = -s;
    m.row[v][u] = s, m.row[v][v] = c;
    return m;
}

std::optional<Matrix> ParsePose(const std::string& text)
{
    const std::vector<double> n = ParseNumbers(text);
    Matrix m = kIdentity;
    if (n.size() == 16) {
        for (std::size_t i = 0; i < 16; ++i) m.row[i / 4][i % 4] = static_cast<float>(n[i]);
        return m;
    }
    if (n.size() != 3 && n.size() != 6) return std::nullopt;
    if (n.size() == 6)
        for (int axis = 0; axis < 3; ++axis)
            m = Multiply(Rotation(axis, n[static_cast<std::size_t>(axis) + 3]), m);
    for (std::size_t axis = 0; axis < 3; ++axis) m.row[axis][3] = static_cast<float>(n[axis]);
    return m;
}

/// Gauss-Jordan elimination with pivots by row; nothing for a singular matrix.
std::optional<Matrix> Invert(const Matrix& m)
{
    std::array<std::array<double, 8>, 4> a{};
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t j = 0; j < 4; ++j) a[i][j] = m.row[i][j];
        a[i][4 + i] = 1;
    }
    for (std::size_t column = 0; column < 4; ++column) {
        std::size_t pivot = column;
        for (std::size_t i = column; i < 4; ++i)
            if (std::fabs(a[i][column]) > std::fabs(a[pivot][column])) pivot = i;
        if (std::fabs(a[pivot][column]) < 1e-12) return std::nullopt;
        std::swap(a[pivot], a[column]);
        const double scale = 1 / a[column][column];
        for (double& x : a[column]) x *= scale;
        for (std::size_t i = 0; i < 4; ++i) {
            if (i == column) continue;
            const double factor = a[i][column];
            for (std::size_t j = 0; j < 8; ++j) a[i][j] -= factor * a[column][j];
        }
    }
    Matrix inverse{};
    for (std::size_t i = 0; i < 4; ++i)
        for (std::size_t j = 0; j < 4; ++j) inverse.row[i][j] = static_cast<float>(a[i][4 + j]);
    return inverse;
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
        return "is thinner than 1e-4 on some axis";
    case SCAPI_LOOSE_VERTEX:
    case SCAPI_OPEN_SIDE:
        return "is not a closed mesh";
    default:
        return "cannot be loaded, code " + std::to_string(code);
    }
}

int Load(int slot, const std::string& solid)
{
    if (solid.rfind("box:", 0) == 0) {
        const std::vector<double> numbers = ParseNumbers(solid.substr(4));
        if (numbers.size() != 6) return SCAPI_TOO_SMALL;
        std::array<float, 6> box{};
        for (std::size_t i = 0; i < 6; ++i) box[i] = static_cast<float>(numbers[i]);
        return SCAPI_LoadBox(slot, box.data());
    }
    std::vector<unsigned char> path(solid.begin(), solid.end());
    path.push_back(0);
    return SCAPI_LoadSTL(slot, path.data(), 0);
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
bool LoadAndReport(int slot, const std::string& solid)
{
    int result = 0;
    const std::int32_t before = SCAPI_GetUsedRAM();
    const double milliseconds = Time([&] { result = Load(slot, solid); });
    float box[6];
    if (result == 0 && SCAPI_GetBbox(slot, box) != 0) {
        Fail(solid + " holds no triangles");
        return false;
    }
    if (result != 0) {
        Fail(solid + " " + LoadFailure(result));
        return false;
    }
    std::printf("%c  %s\n   %d triangles, %.1f kB, loaded in %.2f ms\n", 'A' + slot, solid.c_str(),
                CountTriangles(slot), (SCAPI_GetUsedRAM() - before) / 1000.0, milliseconds);
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

int Run(const Request& request)
{
    const Matrix start = request.start, end = request.end.value_or(start);
    const auto startBack = Invert(start), endBack = Invert(end);
    if (!startBack || !endBack) return Fail("a pose is a singular matrix");
    for (int slot = 0; slot < 2; ++slot)
        if (!LoadAndReport(slot, request.solids[static_cast<std::size_t>(slot)])) return kError;
    const bool forth = Ask(0, 1, start, end);
    // The other way round B stands still where it was loaded, and A makes the opposite motion.
    const bool back = Ask(1, 0, *startBack, *endBack);
    return forth || back ? kHit : kClear;
}

/// @return an error message, empty when all is well
std::string ParseArguments(int argc, char** argv, Request& request)
{
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--help") {
            request.help = true;
        } else if (argument == "--start" || argument == "--end") {
            if (i + 1 == argc) return argument + " needs a pose";
            const auto pose = ParsePose(argv[++i]);
            if (!pose) return argument + " needs a pose of 3, 6 or 16 numbers";
            if (argument == "--start")
                request.start = *pose;
            else
                request.end = *pose;
        } else if (argument.rfind("--", 0) == 0) {
            return "unknown option " + argument;
        } else {
            request.solids.push_back(argument);
        }
    }
    if (!request.help && request.solids.size() != 2) return "two solids are needed";
    return {};
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
