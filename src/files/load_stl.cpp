// From an STL file to a solid.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

#include "files/default_cube.h"
#include "files/file_info.h"
#include "files/stl_stream.h"
#include "geometry/bbox.h"
#include "mesh/finish.h"
#include "mesh/memory.h"
#include "mesh/triangle.h"
#include "scapi/scapi.h"
#include "scapi/solid.h"

namespace
{

constexpr double kSamePoint = 9.999999747378752e-06; ///< the float 1e-5, widened

/// A facet is dropped when two of its corners coincide: "Lines of facets stay" in
/// docs/behaviour.md.
bool IsDegenerate(const float (*corners)[3])
{
    const auto coincide = [&](int a, int b) {
        for (int axis = 0; axis < 3; ++axis)
            if (!(std::fabs(double(corners[a][axis]) - corners[b][axis]) < kSamePoint))
                return false;
        return true;
    };
    return coincide(0, 1) || coincide(0, 2) || coincide(1, 2);
}

/// Room for every facet that a file can hold: a binary one takes 50 bytes, a text one that is kept
/// more than 40, and there is a record for each 38.4.
int CapacityForFile(std::int64_t bytes)
{
    return ClampToInt(double(bytes) * 1.25f * 0.0208333339f + 1000.0f, 0, INT_MAX - 1);
}

/// Reads until a bad facet or the end of the file, straight into the records. A dropped facet is
/// overwritten by the next: "Line for the rest" in docs/behaviour.md.
void ReadFacets(SOLIDC& solid, StlStream& stream)
{
    // A file that grows while it is read ends at the capacity.
    while (solid.triangleCount < solid.triangleCapacity) {
        T_LIST& next = solid.triangles[solid.triangleCount];
        if (!StlReadFacet(stream, next.normal, next.corners[0])) break;
        if (!IsDegenerate(next.corners)) ++solid.triangleCount;
    }
}

/// @return whether the file could be read in either form
bool ReadFile(SOLIDC& solid, const char* path)
{
    StlStream& stream = *solid.stlStream;
    const bool fits = SetStlPath(stream, path);
    // Of the path as given: "Timeless marker" in docs/behaviour.md.
    solid.sourceFileSize = fits ? ClampLength(GetFileLength(path)) : 0;
    solid.sourceTime = fits ? GetFileModTime(path) : 0;
    std::int32_t count = 0;
    if (!StlOpenRead(stream, &count)) return false;
    const int capacity = CapacityForFile(stream.fileLength);
    // A file with holes can claim any length.
    solid.triangles = TryAllocateTriangles(capacity);
    solid.triangleCapacity = solid.triangles ? capacity : 0;
    if (solid.triangles) ReadFacets(solid, stream);
    StlClose(stream);
    return solid.triangles != nullptr;
}

void CopyDefaultCube(SOLIDC& solid)
{
    solid.triangleCapacity = static_cast<int>(DefaultCube.size());
    solid.vertexCapacity = solid.vertexCount;
    solid.edgeCapacity = solid.edgeCount;
    solid.triangles = AllocateTriangles(solid.triangleCapacity);
    for (const CubeFacet& facet : DefaultCube) {
        T_LIST& triangle = solid.triangles[solid.triangleCount++];
        std::copy(facet.corners.begin(), facet.corners.end(), triangle.corners[0]);
        std::copy(facet.normal.begin(), facet.normal.end(), triangle.normal);
    }
}

void MeasureTriangles(SOLIDC& solid)
{
    ClearBbox(solid.bbox);
    std::fill_n(solid.maxTriangleSize, 3, 0.0f);
    for (int t = 0; t < solid.triangleCount; ++t) {
        T_LIST& triangle = solid.triangles[t];
        TriangleBbox(triangle.corners, triangle.bbox);
        for (int axis = 0; axis < 3; ++axis)
            solid.maxTriangleSize[axis] =
                std::max(solid.maxTriangleSize[axis], float(Extent(triangle.bbox, axis)));
        MergeBbox(solid.bbox, triangle.bbox);
    }
}

} // namespace

int SOLIDC::SC_LoadSTLfile(unsigned char* path, int simple)
{
    isSimple = simple;
    Release_Octree();
    Release_Lists();
    if (!path) {
        CopyDefaultCube(*this);
    } else if (!ReadFile(*this, reinterpret_cast<const char*>(path))) {
        baseTriangleCount = triangleCount;
        return SCAPI_UNREADABLE;
    }
    baseTriangleCount = triangleCount;
    MeasureTriangles(*this);
    FinishLoad(*this);
    return 0;
}
