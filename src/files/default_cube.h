// The unit cube that is built when no path is given.
#ifndef SCAPI_FILES_DEFAULT_CUBE_H
#define SCAPI_FILES_DEFAULT_CUBE_H

#include <array>

struct CubeFacet {
    std::array<float, 9> corners;
    std::array<float, 3> normal;
};

inline constexpr std::array<CubeFacet, 12> DefaultCube{{
    {{0, 0, 0, 0, 0, 1, 0, 1, 0}, {-1, 0, 0}},
    {{0, 1, 0, 0, 0, 1, 0, 1, 1}, {-1, 0, 0}},
    {{1, 0, 0, 1, 0, 1, 0, 0, 0}, {0, -1, 0}},
    {{0, 0, 0, 1, 0, 1, 0, 0, 1}, {0, -1, 0}},
    {{0, 0, 0, 1, 1, 0, 1, 0, 0}, {0, 0, -1}},
    {{1, 1, 0, 0, 0, 0, 0, 1, 0}, {0, 0, -1}},
    {{1, 0, 0, 1, 1, 0, 1, 1, 1}, {1, 0, 0}},
    {{1, 0, 0, 1, 1, 1, 1, 0, 1}, {1, 0, 0}},
    {{1, 1, 0, 0, 1, 0, 0, 1, 1}, {0, 1, 0}},
    {{1, 1, 0, 0, 1, 1, 1, 1, 1}, {0, 1, 0}},
    {{0, 0, 1, 1, 0, 1, 1, 1, 1}, {0, 0, 1}},
    {{1, 1, 1, 0, 1, 1, 0, 0, 1}, {0, 0, 1}},
}};

#endif
