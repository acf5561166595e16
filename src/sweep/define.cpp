// Defines a motion on a solid: two matrices, two positions per vertex, one orientation per
// triangle. The averaged motion (docs/behaviour.md) is a translation: rotation between the poses is
// lost.
#include "sweep/define.h"

#include <cstring>

#include "geometry/matrix.h"
#include "geometry/vector.h"
#include "mesh/orientation.h"

namespace
{

struct Centers {
    float start[3], end[3], mean[3];
};

/// Maps the centre through a matrix; a centre that has no image (w near 0) stays unchanged.
void MapCenter(const float* center, const float (*matrix)[4], float* out)
{
    std::memcpy(out, center, 3 * sizeof *out);
    TransformPoint(out, matrix, center);
}

/// The mean matrix, translated so that it maps the centre to `target`.
/// @param centerMean  the centre mapped by the mean matrix
void TranslateMean(const float (*mean)[4], const float* target, const float* centerMean,
                   float (*out)[4])
{
    std::memcpy(out, mean, 16 * sizeof(float));
    for (int row = 0; row < 3; ++row)
        out[row][3] = float(out[row][3] + (double(target[row]) - centerMean[row]));
}

Centers SetMatrices(SOLIDC& solid, const float (*start)[4], const float (*end)[4])
{
    float mean[4][4];
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            mean[row][column] = float((double(start[row][column]) + end[row][column]) * 0.5f);
    Centers centers{};
    MapCenter(solid.center, start, centers.start);
    MapCenter(solid.center, end, centers.end);
    MapCenter(solid.center, mean, centers.mean);
    TranslateMean(mean, centers.start, centers.mean, solid.sweepStart);
    TranslateMean(mean, centers.end, centers.mean, solid.sweepEnd);
    return centers;
}

/// Kept position (docs/behaviour.md): a vertex that has no image (w near 0) keeps the position that
/// its record holds.
void MoveVertices(SOLIDC& solid)
{
    for (int v = 0; v < solid.vertexCount; ++v) {
        VertexRec& vertex = solid.vertices[v];
        TransformPoint(vertex.sweepStart, solid.sweepStart, vertex.position);
        if (solid.isSwept)
            TransformPoint(vertex.sweepEnd, solid.sweepEnd, vertex.position);
        else
            std::memcpy(vertex.sweepEnd, vertex.sweepStart, sizeof vertex.sweepEnd);
    }
}

} // namespace

void DefineMotion(SOLIDC& solid, const float (*start)[4], const float (*end)[4])
{
    solid.SC_BuildVertexList();
    solid.SC_BuildEdgesList();
    const Centers centers = SetMatrices(solid, start, end);
    const double length = distance(centers.start, centers.end);
    solid.sweepLength = float(length);
    solid.isSwept = !solid.isSimple && length > solid.tolerance;
    if (!solid.isSwept) return;
    Subtract(centers.end, centers.start, solid.sweepDirection);
    Normalise(solid.sweepDirection);
}

void CompleteSweep(SOLIDC& solid)
{
    if (!solid.sweepPending) return;
    solid.sweepPending = 0;
    if (solid.isSimple) return;
    MoveVertices(solid);
    solid.SC_BuildOrientList();
    solid.SC_CalcSweepBbox();
    solid.SC_CalcSweepTrianglesBbox();
}

int SOLIDC::SC_GTsweep(float (*const start)[4], float (*const end)[4])
{
    CompleteSweep(*this);
    DefineMotion(*this, start, end);
    sweepPending = 1;
    CompleteSweep(*this);
    return 0;
}
