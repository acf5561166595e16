// The calls that read a solid back.
#include "api/table.h"

namespace
{

/// The frame of the three cursor calls; `read` takes the solid and the cursor and gives the next.
template <class Read>
int WalkCall(int solidId, int* cursor, Read read)
{
    if (!IsSolidId(solidId)) return SCAPI_BAD_SOLID_ID;
    SOLIDC* solid = SolidIn(solidId);
    if (!solid) {
        *cursor = SCAPI_END_OF_WALK;
        return SCAPI_EMPTY_SLOT;
    }
    *cursor = read(*solid, *cursor);
    return 0;
}

} // namespace

int SCAPI_GetVertex(int solidId, int* cursor, float* xyz)
{
    return WalkCall(solidId, cursor,
                    [&](SOLIDC& solid, int index) { return solid.SC_GetVertex(index, xyz); });
}

int SCAPI_GetTriangles(int solidId, int* cursor, float (*corners)[3], float* normal)
{
    return WalkCall(solidId, cursor, [&](SOLIDC& solid, int index) {
        return solid.SC_GetTriangle(index, corners, normal);
    });
}

int SCAPI_GetLoop(int solidId, int* cursor, int* vertexIndices, float* spare)
{
    return WalkCall(solidId, cursor, [&](SOLIDC& solid, int index) {
        return solid.SC_GetLoop(index, vertexIndices, spare);
    });
}

int SCAPI_GetBbox(int solidId, float* bbox)
{
    if (!IsSolidId(solidId)) return SCAPI_BAD_SOLID_ID;
    SOLIDC* solid = SolidIn(solidId);
    if (!solid) return SCAPI_EMPTY_SLOT;
    return solid->SC_GetSolidBbox(bbox) ? 0 : SCAPI_EMPTY_SLOT;
}
