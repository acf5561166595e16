#include "sweep_file.h"

// The one thing of this host that no SCAPI_ call offers, and so an example of the classes: solids
// of one's own, beside those in the slots.
#include "scapi/solid.h"

namespace
{

void Load(SOLIDC& solid, SolidSource& source)
{
    float* numbers = source.numbers.data();
    switch (source.kind) {
    case SolidSource::kBox:
        solid.LoadBox(numbers);
        break;
    case SolidSource::kCylinder:
        solid.LoadCyl(numbers, numbers + 3, numbers[6]);
        break;
    case SolidSource::kFile:
        solid.SC_LoadSTLfile(source.Path(), 0);
        break;
    }
}

} // namespace

bool WriteSweepFile(Request request)
{
    Matrix rest = kIdentity, end = request.end.value_or(request.start);
    SOLIDC a, b;
    Load(a, request.solids[0]);
    Load(b, request.solids[1]);
    a.SC_GTsweep(rest.row, rest.row);
    b.SC_GTsweep(request.start.row, end.row);
    return a.SC_SaveSweepSTLfiles(reinterpret_cast<unsigned char*>(request.saveSweep.data()), &b) ==
           0;
}
