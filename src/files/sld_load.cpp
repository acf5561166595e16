#include <algorithm>
#include <cstdio>
#include <type_traits>

#include "files/sld_layout.h"
#include "mesh/finish.h"
#include "mesh/memory.h"
#include "mesh/triangle.h"
#include "octree/sizing.h"
#include "platform/files.h"
#include "scapi/scapi.h"

namespace
{

constexpr int kTriangleLimit = 10000000;
constexpr int kListLimit = 100000000; ///< of vertices and of edges

/// Reads blocks; one that is cut short is remembered and does not stop the others.
struct BlockReader {
    File file;
    int status = 0;

    void Read(void* data, std::size_t size, std::size_t count = 1)
    {
        if (std::fread(data, size, count, file.get()) != count) status |= 1;
    }

    /// Half a word could pass for a whole one, so what is not read whole stays as it was.
    void ReadWord(std::int32_t& word)
    {
        std::int32_t read = 0;
        if (std::fread(&read, sizeof read, 1, file.get()) == 1)
            word = read;
        else
            status |= 1;
    }
};

bool IsCount(int count, int limit) { return 0 < count && count < limit; }

/// What the three counts say by themselves: 0, or -400 when a list is out of range or only one of
/// the two is there. A count out of range is made 0, and edges decide the kind of solid.
int JudgeLists(SOLIDC& solid)
{
    int status = 0;
    const bool hasVertices = solid.vertexCount != 0, hasEdges = solid.edgeCount != 0;
    if (hasVertices && !IsCount(solid.vertexCount, kListLimit)) {
        solid.vertexCount = 0;
        status = SCAPI_DAMAGED_FILE;
    }
    if (!hasEdges) {
        solid.isSimple = 1;
    } else if (IsCount(solid.edgeCount, kListLimit)) {
        solid.isSimple = 0;
    } else {
        solid.edgeCount = 0;
        status = SCAPI_DAMAGED_FILE;
    }
    return hasVertices != hasEdges ? SCAPI_DAMAGED_FILE : status;
}

/// Makes the arrays for the counts. @return false when there is not the memory for them
bool AllocateArrays(SOLIDC& solid)
{
    solid.triangleCapacity = solid.triangleCount;
    solid.triangles = TryAllocateTriangles(solid.triangleCount);
    const auto allocate = [](auto*& array, int& capacity, int count) {
        if (count == 0) return true;
        using Record = std::remove_reference_t<decltype(*array)>;
        capacity = count;
        array = static_cast<Record*>(
            TryAllocateRecords(static_cast<std::size_t>(count), sizeof(Record)));
        return array != nullptr;
    };
    return solid.triangles && allocate(solid.vertices, solid.vertexCapacity, solid.vertexCount) &&
           allocate(solid.edges, solid.edgeCapacity, solid.edgeCount);
}

/// A fault in the counts or before them: "Kept counts" in docs/behaviour.md. A simple solid keeps
/// its arrays, all zero, and its counts; so does a full one whose counts are good. But a file of a
/// few bytes must not take gigabytes: of counts far beyond its length nothing stays.
int RefuseCounts(SOLIDC& solid, std::int64_t length, int status)
{
    constexpr std::int64_t kAlwaysKept = 16 << 20;
    const bool keeps = solid.isSimple || status != SCAPI_DAMAGED_FILE;
    if (!keeps) return SCAPI_DAMAGED_FILE;
    if (SldFileBytes(solid.triangleCount, solid.vertexCount, solid.edgeCount) >
        std::max(length, kAlwaysKept))
        solid.triangleCount = solid.vertexCount = solid.edgeCount = 0;
    if (!AllocateArrays(solid)) return SCAPI_DAMAGED_FILE;
    return solid.isSimple ? SCAPI_DAMAGED_SIMPLE_FILE : status;
}

void ReadArraysAndTail(BlockReader& in, SOLIDC& solid)
{
    const auto read = [&](auto* records, int count) {
        if (records) in.Read(records, sizeof *records, static_cast<std::size_t>(count));
    };
    read(solid.triangles, solid.triangleCount);
    read(solid.vertices, solid.vertexCount);
    read(solid.edges, solid.edgeCount);
    for (const SldField& field : SldTail(solid)) in.Read(field.data, field.bytes);
}

bool NamesOnlyRecords(const SOLIDC& solid, const T_LIST& triangle)
{
    bool good = true;
    for (int slot = 0; slot < 3; ++slot)
        good = good && InRange(triangle.vertex[slot], solid.vertexCount) &&
               (triangle.edge[slot] == -1 || InRange(triangle.edge[slot], solid.edgeCount));
    return good;
}

bool NamesOnlyRecords(const SOLIDC& solid, const EdgeRec& edge)
{
    bool good = true;
    for (int side = 0; side < 2; ++side)
        good = good && InRange(edge.vertex[side], solid.vertexCount) &&
               InRange(edge.triangle[side], solid.triangleCount);
    return good;
}

/// Whether no index leads outside the arrays. An edge slot of a triangle may be open.
bool StaysInside(const SOLIDC& solid)
{
    if (!InRange(solid.octreeDepth, kMaxDepth + 1)) return false;
    if (solid.isSimple) return true;
    const auto names = [&](const auto& record) { return NamesOnlyRecords(solid, record); };
    return std::all_of(solid.edges, solid.edges + solid.edgeCount, names) &&
           std::all_of(solid.triangles, solid.triangles + solid.triangleCount, names);
}

/// Superseded triangles go in as well: "More in the leaves" in docs/behaviour.md.
void RefillOctree(SOLIDC& solid)
{
    solid.Release_Octree();
    solid.octree = new OCTREEC(solid.bbox, solid.octreeDepth, solid.octreeCellSize, &solid);
    for (int t = 0; t < solid.triangleCount; ++t) solid.octree->OC_AddTriangle(&solid.triangles[t]);
}

/// All but the octree. @return 0, -400, -401, -905 or 1
int ReadSolid(BlockReader& in, SOLIDC& solid)
{
    unsigned char header[kSldHeaderBytes];
    in.Read(header, sizeof header);
    in.ReadWord(solid.sourceTime);
    solid.fileVersion = 0;
    in.ReadWord(solid.fileVersion);
    if (solid.fileVersion != kFormatVersion) return SCAPI_OTHER_VERSION;
    for (std::int32_t* field :
         {&solid.triangleCount, &solid.vertexCount, &solid.edgeCount, &solid.baseTriangleCount})
        in.ReadWord(*field);
    if (!IsCount(solid.triangleCount, kTriangleLimit)) return SCAPI_DAMAGED_FILE;
    const int lists = JudgeLists(solid);
    const std::int64_t length = StreamLength(in.file.get());
    if (lists != 0 || in.status != 0)
        return RefuseCounts(solid, length, lists != 0 ? lists : in.status);
    // Memory only for what the file can fill.
    if (length < SldFileBytes(solid.triangleCount, solid.vertexCount, solid.edgeCount) ||
        !AllocateArrays(solid))
        return SCAPI_DAMAGED_FILE;
    ReadArraysAndTail(in, solid);
    return in.status == 0 && StaysInside(solid) ? 0 : SCAPI_DAMAGED_FILE;
}

} // namespace

int SOLIDC::SC_LoadSLDfile(unsigned char* path)
{
    BlockReader in{File(OpenForReading(reinterpret_cast<const char*>(path)))};
    if (!in.file) return SCAPI_NO_FILE;
    // The blocks go straight into the arrays.
    std::setvbuf(in.file.get(), nullptr, _IONBF, 0);
    Release_Octree();
    Release_Lists();
    // Nothing of a damaged file stays, nor counts without arrays where a handler of failed
    // allocations unwinds.
    struct Reading {
        SOLIDC& solid;
        int result = SCAPI_DAMAGED_FILE;
        ~Reading()
        {
            if (result == SCAPI_DAMAGED_FILE) solid.Release_Lists();
        }
    } reading{*this};
    reading.result = ReadSolid(in, *this);
    if (reading.result == 0) RefillOctree(*this);
    return reading.result;
}
