#include "files/stl_stream.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "files/stl_text.h"
#include "files/swap_marker.h"
#include "mesh/memory.h"
#include "platform/files.h"

namespace
{

constexpr int kPeekFacets = 3;
constexpr std::int32_t kUncounted = 1000000000; ///< the text form has no count
constexpr double kCoordinateLimit = 100000.0;

bool Open(StlStream& stream, StlMode mode)
{
    stream.file = OpenForReading(StlStripSwapMarker(stream.path).c_str());
    if (!stream.file) return false;
    stream.buffer = Allocate<StlReadBuffer>(1);
    StartBuffer(*stream.buffer, stream.file);
    stream.mode = mode;
    stream.fileLength = StreamLength(stream.file);
    return true;
}

/// "Trial of the form" in docs/behaviour.md: tries up to `count` facets and goes back to the first;
/// closes the file if one is bad.
bool PeekFacets(StlStream& stream, std::int32_t count)
{
    const std::int64_t first = Position(*stream.buffer);
    float normal[3] = {}, corners[9] = {};
    for (int i = 0; i < std::min(count, kPeekFacets); ++i)
        if (!StlReadFacet(stream, normal, corners)) {
            StlClose(stream);
            return false;
        }
    GoBack(*stream.buffer, first);
    return true;
}

bool OpenText(StlStream& stream)
{
    if (!Open(stream, kReadText)) return false;
    std::string_view description;
    NextLine(*stream.buffer, description);
    stream.facetCount = kUncounted;
    return PeekFacets(stream, stream.facetCount);
}

bool OpenBinary(StlStream& stream)
{
    if (!Open(stream, kReadBinary)) return false;
    char header[80];
    if (!TakeBytes(*stream.buffer, header, sizeof header) ||
        !TakeBytes(*stream.buffer, &stream.facetCount, sizeof stream.facetCount)) {
        StlClose(stream);
        return false;
    }
    return PeekFacets(stream, stream.facetCount);
}

bool TakeBinaryFacet(StlReadBuffer& buffer, float* normal, float* corners)
{
    if (!TakeBytes(buffer, normal, 3 * sizeof *normal)) return false;
    if (!TakeBytes(buffer, corners, 9 * sizeof *corners)) return false;
    // The attribute bytes; a last facet without them is good.
    SkipBytes(buffer, 2);
    return true;
}

/// "No lower limit" in docs/behaviour.md.
bool AreGoodCoordinates(const float* corners)
{
    return std::all_of(corners, corners + 9,
                       [](float x) { return x < kCoordinateLimit && std::isfinite(x); });
}

void RepairNormal(float* normal)
{
    for (int axis = 0; axis < 3; ++axis)
        normal[axis] = std::isfinite(normal[axis]) ? std::clamp(normal[axis], -1.0f, 1.0f) : 0.0f;
}

void CycleFacet(float* normal, float* corners)
{
    CycleAxes(normal);
    for (int corner = 0; corner < 3; ++corner) CycleAxes(corners + 3 * corner);
}

} // namespace

bool FitsStlPath(const char* path) { return std::strlen(path) < sizeof StlStream::path; }

bool SetStlPath(StlStream& stream, const char* path)
{
    const bool fits = FitsStlPath(path);
    std::snprintf(stream.path, sizeof stream.path, "%s", fits ? path : "");
    return fits;
}

int StlOpenRead(StlStream& stream, std::int32_t* count)
{
    const bool opened = *stream.path && (OpenText(stream) || OpenBinary(stream));
    if (opened) *count = stream.facetCount;
    return opened;
}

int StlReadFacet(StlStream& stream, float* normal, float* corners)
{
    float unwanted[3] = {};
    if (!normal) normal = unwanted;
    const bool taken = stream.mode == kReadText ? TakeTextFacet(*stream.buffer, normal, corners)
                                                : TakeBinaryFacet(*stream.buffer, normal, corners);
    if (!taken) return 0;
    const bool good = AreGoodCoordinates(corners);
    if (!good) std::fill_n(normal, 3, 0.0f);
    RepairNormal(normal);
    stream.writePosition = Position(*stream.buffer);
    if (good && StlSwapMode) CycleFacet(normal, corners);
    return good;
}

void StlClose(StlStream& stream)
{
    if (stream.file) StlFinishWrite(stream);
    StlAbandon(stream);
}

void StlAbandon(StlStream& stream)
{
    if (stream.file) std::fclose(stream.file);
    ReleaseRecords(stream.buffer);
    stream.file = nullptr;
    stream.buffer = nullptr;
}
