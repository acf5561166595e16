// A motion as data of the solid: two matrices, two positions a vertex, an orientation a triangle.
// Only a translation is swept; a rotation between the poses is averaged away.
#include "sweep/define.h"

#include <cstring>

#include "interference/moved_pieces.h"
#include "interference/query_trees.h"
#include "solid/matrix.h"
#include "solid/orientation.h"
#include "solid/vector.h"

namespace
{

struct Centers {
    float start[3], end[3], mean[3];
};

/// The centre where a matrix puts it; where it cannot, the centre itself.
void MapCenter(const float* center, const float (*matrix)[4], float* out)
{
    std::memcpy(out, center, 3 * sizeof *out);
    TransformPoint(out, matrix, center);
}

/// The mean matrix, shifted so that the centre lands where the pose puts it.
void ShiftMean(const float (*mean)[4], const float* target, const float* centerMean,
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
    ShiftMean(mean, centers.start, centers.mean, solid.sweepStart);
    ShiftMean(mean, centers.end, centers.mean, solid.sweepEnd);
    return centers;
}

/// A vertex that a matrix cannot map keeps its older position.
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

/// All that a motion says about the solid as a whole.
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

/// With this fourth row every finite point has a place.
bool HasAffineRow(const float (*m)[4])
{
    return m[3][0] == 0 && m[3][1] == 0 && m[3][2] == 0 && m[3][3] == 1;
}

} // namespace

void DefineSweepLate(SOLIDC& solid, float (*start)[4], float (*end)[4])
{
    // A vertex that a matrix cannot map keeps the place that the motion before gave it, which must
    // then be paid for first. Movers have finite vertices only.
    if (solid.isSimple || !HasAffineRow(start) || !HasAffineRow(end) || !MoverBounds(solid)) {
        solid.SC_GTsweep(start, end);
        return;
    }
    DefineMotion(solid, start, end);
    solid.sweepOwed = 1;
}

void SettleSweep(SOLIDC& solid)
{
    if (!solid.sweepOwed) return;
    solid.sweepOwed = 0;
    if (solid.isSimple) return;
    MoveVertices(solid);
    solid.SC_BuildOrientList();
    solid.SC_CalcSweepBbox();
    solid.SC_CalcSweepTrianglesBbox();
}

void BeforeRecordsChange(SOLIDC& solid)
{
    SettleSweep(solid);
    ReleaseQueryTrees(solid);
}

int SOLIDC::SC_GTsweep(float (*const start)[4], float (*const end)[4])
{
    SettleSweep(*this);
    DefineMotion(*this, start, end);
    sweepOwed = 1;
    SettleSweep(*this);
    return 0;
}
