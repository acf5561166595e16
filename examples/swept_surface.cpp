// Writes the surface that a solid sweeps on a straight way, with a solid that stands still, as an
// STL file to look at. No SCAPI_ call offers this: an example of the classes, with solids of one's
// own beside those in the slots.
#include <cstdio>
#include <cstdlib>

#include "scapi/solid.h"

static unsigned char* Path(char* argument) { return reinterpret_cast<unsigned char*>(argument); }

int main(int argc, char** argv)
{
    if (argc != 7) {
        std::fputs("Usage: swept_surface FIXED.stl MOVED.stl DX DY DZ OUTPUT.stl\n", stderr);
        return 2;
    }
    float rest[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
    float end[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
    for (int axis = 0; axis < 3; ++axis) end[axis][3] = std::strtof(argv[3 + axis], nullptr);
    SOLIDC fixed, moved;
    if (fixed.SC_LoadSTLfile(Path(argv[1]), 0) != 0 ||
        moved.SC_LoadSTLfile(Path(argv[2]), 0) != 0) {
        std::fputs("swept_surface: both solids have to be closed STL files\n", stderr);
        return 2;
    }
    fixed.SC_GTsweep(rest, rest);
    moved.SC_GTsweep(rest, end);
    if (fixed.SC_SaveSweepSTLfiles(Path(argv[6]), &moved) != 0) {
        std::fprintf(stderr, "swept_surface: %s cannot be written\n", argv[6]);
        return 2;
    }
    return 0;
}
