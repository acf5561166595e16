// Meshes over a grid of points, for tests and measurements.
#ifndef SCAPI_TESTS_GRID_H
#define SCAPI_TESTS_GRID_H

#include <array>
#include <vector>

/// Two triangles for each cell; those of which two corners are one point, as at a pole, are left
/// out. @param at  a point for a row and a column
template <class At>
std::vector<std::array<std::array<float, 3>, 3>> GridMesh(int rows, int columns, const At& at)
{
    std::vector<std::array<std::array<float, 3>, 3>> mesh;
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < columns; ++j) {
            const auto a = at(i, j), b = at(i + 1, j), c = at(i + 1, j + 1), d = at(i, j + 1);
            if (b != c) mesh.push_back({a, b, c});
            if (a != d) mesh.push_back({a, c, d});
        }
    return mesh;
}

#endif
