#include "arguments.h"

#include <cmath>
#include <cstdlib>
#include <utility>

namespace
{

/// Numbers between commas; empty when anything else stands there.
std::vector<double> ParseNumbers(const std::string& text)
{
    std::vector<double> numbers;
    const char* at = text.c_str();
    for (;;) {
        char* after = nullptr;
        numbers.push_back(std::strtod(at, &after));
        if (after == at || !std::isfinite(numbers.back())) return {};
        if (*after == 0) return numbers;
        if (*after != ',') return {};
        at = after + 1;
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

/// Reads `prefix` and exactly `count` numbers. @return false when the text is something else
bool ParseNumbered(const std::string& text, const std::string& prefix, std::size_t count,
                   SolidSource& source)
{
    const std::vector<double> numbers = ParseNumbers(text.substr(prefix.size()));
    if (numbers.size() != count) return false;
    for (std::size_t i = 0; i < count; ++i) source.numbers[i] = static_cast<float>(numbers[i]);
    return true;
}

/// @return an error message, empty when all is well
std::string ParseSolid(const std::string& text, Request& request)
{
    SolidSource source;
    source.text = text;
    if (text.rfind("box:", 0) == 0) {
        source.kind = SolidSource::kBox;
        if (!ParseNumbered(text, "box:", 6, source)) return text + ": a box takes 6 numbers";
    } else if (text.rfind("cyl:", 0) == 0) {
        source.kind = SolidSource::kCylinder;
        if (!ParseNumbered(text, "cyl:", 7, source)) return text + ": a cylinder takes 7 numbers";
    }
    request.solids.push_back(source);
    return {};
}

std::string ParsePoseOption(const std::string& option, const std::string& value, Request& request)
{
    const auto pose = ParsePose(value);
    if (!pose) return option + " needs a pose of 3, 6 or 16 numbers";
    if (option == "--start")
        request.start = *pose;
    else
        request.end = *pose;
    return {};
}

std::string ParseSave(const std::string& value, Request& request)
{
    if (value.size() < 3 || value[1] != '=' || (value[0] != 'A' && value[0] != 'B'))
        return "--save needs A=FILE or B=FILE";
    request.save[value[0] == 'B'] = value.substr(2);
    return {};
}

/// An option that is followed by a value.
std::string ParseValue(const std::string& option, const std::string& value, Request& request)
{
    if (option == "--start" || option == "--end") return ParsePoseOption(option, value, request);
    if (option == "--save") return ParseSave(value, request);
    request.saveSweep = value;
    return {};
}

bool TakesValue(const std::string& option)
{
    return option == "--start" || option == "--end" || option == "--save" ||
           option == "--save-sweep";
}

} // namespace

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

std::string ParseArguments(int argc, char** argv, Request& request)
{
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        std::string error;
        if (argument == "--help" || argument == "-h")
            request.help = true;
        else if (argument == "--simple")
            request.simple = true;
        else if (TakesValue(argument) && i + 1 == argc)
            error = argument + " needs a value";
        else if (TakesValue(argument))
            error = ParseValue(argument, argv[++i], request);
        else if (argument.size() > 1 && argument[0] == '-')
            error = "unknown option " + argument;
        else
            error = ParseSolid(argument, request);
        if (!error.empty()) return error;
    }
    if (!request.help && request.solids.size() != 2) return "two solids are needed";
    return {};
}
