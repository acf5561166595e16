#include "files/swap_marker.h"

#include <array>
#include <string_view>

int StlSwapMode = 0;

namespace
{

constexpr std::array<std::string_view, 2> kMarkers{"(STL_SWAP_ZXY)", "(STL_SWAP_YZX)"};

} // namespace

int FindSwapMarker(const char* path, std::string& name)
{
    name = path;
    for (std::size_t i = 0; i < kMarkers.size(); ++i) {
        const std::size_t at = name.find(kMarkers[i]);
        if (at == name.npos || at + kMarkers[i].size() != name.size()) continue;
        name.resize(at);
        return static_cast<int>(i) + 1;
    }
    return 0;
}

void CycleAxes(float* triple, int mode)
{
    const std::array<float, 3> old{triple[0], triple[1], triple[2]};
    for (std::size_t axis = 0; axis < 3; ++axis)
        triple[axis] = old[(axis + static_cast<std::size_t>(mode)) % 3];
}

std::string StlStripSwapMarker(const char* path)
{
    std::string name;
    StlSwapMode = FindSwapMarker(path, name);
    return name;
}

void CycleAxes(float* triple) { CycleAxes(triple, StlSwapMode); }
