// The command line of the example host.
#ifndef SCAPI_EXAMPLES_ARGUMENTS_H
#define SCAPI_EXAMPLES_ARGUMENTS_H

#include <array>
#include <optional>
#include <string>
#include <vector>

struct Matrix {
    float row[4][4];
};

constexpr Matrix kIdentity{{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};

/// A box of six numbers, a cylinder of seven, or an STL file.
struct SolidSource {
    enum Kind { kFile, kBox, kCylinder } kind = kFile;
    std::string text;               ///< as it was given; the path of a file
    std::array<float, 7> numbers{}; ///< of a box or a cylinder

    /// The path as the library wants it.
    unsigned char* Path() { return reinterpret_cast<unsigned char*>(text.data()); }
};

struct Request {
    std::vector<SolidSource> solids;
    Matrix start = kIdentity;
    std::optional<Matrix> end;
    std::array<std::string, 2> save; ///< STL file to write of A and of B, or empty
    std::string saveSweep;
    bool simple = false;
    bool help = false;
};

/// @return an error message, empty when all is well
std::string ParseArguments(int argc, char** argv, Request& request);

/// Gauss-Jordan elimination; nothing for a singular matrix.
std::optional<Matrix> Invert(const Matrix& m);

#endif
