#include "mesh/triangle.h"

#include <cstring>

#include "geometry/bbox.h"
#include "geometry/vector.h"
#include "mesh/before_change.h"

int CalcTriangleNormal(const float* corners, float* normal)
{
    const double x0 = corners[0], y0 = corners[1], z0 = corners[2];
    const double x1 = corners[3], y1 = corners[4], z1 = corners[5];
    const double x2 = corners[6], y2 = corners[7], z2 = corners[8];
    const double nx = (y2 - y0) * (z2 + z0) + (y0 - y1) * (z0 + z1) + (y1 - y2) * (z1 + z2);
    const double ny = (z2 - z0) * (x2 + x0) + (z0 - z1) * (x0 + x1) + (z1 - z2) * (x1 + x2);
    const double nz = (x2 - x0) * (y2 + y0) + (x0 - x1) * (y0 + y1) + (x1 - x2) * (y1 + y2);
    const double s = nx * nx + ny * ny + nz * nz;
    if (s < 1e-20) {
        normal[0] = normal[1] = normal[2] = 0.0f;
        SetStatus(2, kNoUnitVector);
        return 1;
    }
    const double scale = 1.0 / std::sqrt(s);
    normal[0] = float(nx * scale), normal[1] = float(ny * scale), normal[2] = float(nz * scale);
    return 0;
}

void AppendTriangle(SOLIDC& solid, const float* a, const float* b, const float* c)
{
    T_LIST& triangle = solid.triangles[solid.triangleCount++];
    std::memcpy(triangle.corners[0], a, sizeof triangle.corners[0]);
    std::memcpy(triangle.corners[1], b, sizeof triangle.corners[1]);
    std::memcpy(triangle.corners[2], c, sizeof triangle.corners[2]);
    CalcTriangleNormal(triangle.corners[0], triangle.normal);
    TriangleBbox(triangle.corners, triangle.bbox);
    triangle.next = 0;
}

void* CopyBytes(void* dst, const void* src, int count)
{
    if (count <= 0 || !dst || !src) return nullptr;
    auto* to = static_cast<unsigned char*>(dst);
    const auto* from = static_cast<const unsigned char*>(src);
    for (int i = 0; i < count; ++i) to[i] = from[i];
    return dst;
}

int SOLIDC::CalcTriangleBbox(float (*const corners)[3], float* const box)
{
    TriangleBbox(corners, box);
    return 0;
}

int SOLIDC::AddTriangle(float* const a, float* const b, float* const c)
{
    BeforeRecordsChange(*this);
    AppendTriangle(*this, a, b, c);
    return 0;
}

void SOLIDC::Add_TriangleOffset(float (*const corners)[3], float* const offset)
{
    for (int corner = 0; corner < 3; ++corner)
        for (int axis = 0; axis < 3; ++axis)
            corners[corner][axis] = float(double(corners[corner][axis]) + offset[axis]);
}
