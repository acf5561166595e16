// Writing STL files. A gap of two bytes stands between binary facets, none after the last: "Two
// bytes short" in docs/behaviour.md.
#include <cstdio>
#include <cstring>
#include <string>

#include "files/decimal.h"
#include "files/file_info.h"
#include "files/stl_stream.h"
#include "files/swap_marker.h"
#include "mesh/memory.h"
#include "mesh/triangle.h"
#include "platform/files.h"
#include "scapi/scapi.h"
#include "scapi/solid.h"

namespace
{

constexpr std::size_t kTitleBytes = 80;
constexpr int kFacetsAt = 84, kFacetBytes = 50, kGapBytes = 2;
constexpr char kGap[kGapBytes] = {};

bool WriteBytes(std::FILE* file, const void* data, std::size_t bytes)
{
    return std::fwrite(data, 1, bytes, file) == bytes;
}

bool WriteText(std::FILE* file, const std::string& text)
{
    return WriteBytes(file, text.data(), text.size());
}

bool WriteBinaryTitle(std::FILE* file)
{
    char title[kTitleBytes];
    std::memset(title, ' ', sizeof title);
    std::memcpy(title, "Binary STL file (fixed)\n", 25);
    const bool written = WriteBytes(file, title, sizeof title) && std::fflush(file) == 0;
    const std::int32_t noCount = 0;
    WriteBytes(file, &noCount, sizeof noCount);
    return written;
}

bool WriteBinaryFacet(StlStream& stream, const float* normal, const float* corners)
{
    // The gap comes before each facet but the first, which leaves the file two bytes short.
    const bool first = stream.writePosition == kFacetsAt;
    return (first || WriteBytes(stream.file, kGap, sizeof kGap)) &&
           WriteBytes(stream.file, normal, 3 * sizeof *normal) &&
           WriteBytes(stream.file, corners, 9 * sizeof *corners);
}

std::string TextLine(const char* words, const float* numbers, int digits)
{
    std::string line = words;
    for (int i = 0; i < 3; ++i) {
        line += ' ';
        AppendDecimal(line, numbers[i], digits);
    }
    return line + '\n';
}

bool WriteTextFacet(StlStream& stream, const float* normal, const float* corners)
{
    bool good = WriteText(stream.file, TextLine("   facet normal", normal, 6));
    good = WriteText(stream.file, "      outer loop\n") && good;
    for (int corner = 0; good && corner < 3; ++corner)
        good = WriteText(stream.file, TextLine("         vertex", corners + 3 * corner, 5));
    WriteText(stream.file, "      endloop\n");
    WriteText(stream.file, "   endfacet\n");
    return good;
}

/// Puts the count right: the facets that the file holds in full, should a disk have filled up.
void PatchCount(StlStream& stream)
{
    std::fflush(stream.file);
    const std::int64_t whole = (StreamLength(stream.file) - kFacetsAt + kGapBytes) / kFacetBytes;
    const std::int32_t count =
        whole < stream.facetCount ? static_cast<std::int32_t>(whole) : stream.facetCount;
    std::fseek(stream.file, kTitleBytes, SEEK_SET);
    WriteBytes(stream.file, &count, sizeof count);
}

/// Creates the file. sourceFileSize: "Size of the replaced" in docs/behaviour.md.
bool OpenForSolid(SOLIDC& solid, const char* path)
{
    const bool fits = SetStlPath(*solid.stlStream, path);
    solid.sourceFileSize = fits ? ClampLength(GetFileLength(path)) : 0;
    return fits && StlOpenWrite(*solid.stlStream, kWriteBinary);
}

void WriteSweptTriangles(StlStream& stream, SOLIDC& solid)
{
    float corners[3][3], normal[3];
    int cursor = 0;
    while ((cursor = solid.SC_GetSweepTrianglesInBbox(cursor, solid.triangleCount * 10, corners,
                                                      nullptr)) >= 0) {
        CalcTriangleNormal(corners[0], normal);
        StlWriteFacet(stream, normal, corners[0]);
    }
}

} // namespace

int StlOpenWrite(StlStream& stream, int mode)
{
    stream.file = nullptr;
    if (!*stream.path) return 0;
    // The marker is no part of the name; nothing is cycled back.
    stream.file = OpenForWriting(StlStripSwapMarker(stream.path).c_str());
    if (!stream.file) return 0;
    const bool titled = mode == kWriteBinary
                            ? WriteBinaryTitle(stream.file)
                            : WriteText(stream.file, "solid (fixed STL File. ASCII mode)\n");
    if (!titled) {
        std::fclose(stream.file);
        stream.file = nullptr;
        return 0;
    }
    stream.mode = mode;
    stream.facetCount = 0;
    stream.writePosition = StreamPosition(stream.file);
    return 1;
}

int StlWriteFacet(StlStream& stream, const float* normal, const float* corners)
{
    if (!stream.file || !normal || !corners) return 0;
    if (stream.mode == kWriteBinary) {
        if (!WriteBinaryFacet(stream, normal, corners)) return 0;
        stream.writePosition += kFacetBytes;
    } else {
        if (!WriteTextFacet(stream, normal, corners)) return 0;
        stream.writePosition = StreamPosition(stream.file);
    }
    ++stream.facetCount;
    return 1;
}

void StlFinishWrite(StlStream& stream)
{
    if (stream.mode == kWriteBinary) PatchCount(stream);
    if (stream.mode == kWriteText) WriteText(stream.file, "endsolid\n");
}

int SOLIDC::SC_SaveSTLfile(unsigned char* path)
{
    if (!OpenForSolid(*this, reinterpret_cast<const char*>(path))) return SCAPI_NOT_WRITTEN;
    // "Superseded written" and "Facets lost in silence" in docs/behaviour.md.
    for (int t = 0; t < triangleCount; ++t)
        StlWriteFacet(*stlStream, triangles[t].normal, triangles[t].corners[0]);
    StlClose(*stlStream);
    return 0;
}

int SOLIDC::SC_SaveSweepSTLfiles(unsigned char* path, SOLIDC* other)
{
    if (!OpenForSolid(*this, reinterpret_cast<const char*>(path))) return SCAPI_NOT_WRITTEN;
    WriteSweptTriangles(*stlStream, *this);
    WriteSweptTriangles(*stlStream, *other);
    StlClose(*stlStream);
    return 0;
}
