#include "proximity/mesh/read_stl.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <string>

#include "files/read_buffer.h"
#include "files/stl_text.h"
#include "files/swap_marker.h"
#include "platform/files.h"

namespace proximity
{
namespace
{

constexpr int kTrialFacets = 3;
constexpr std::int64_t kHeaderBytes = 80 + 4;
constexpr std::int64_t kFacetBytes = 50;

struct Source {
    StlReadBuffer* buffer;
    int swapMode;
    double scale;
};

/// Scales and cycles a facet. @return whether its coordinates are good
bool Finish(const Source& source, FloatTriangle& facet)
{
    if (source.scale != 1.0)
        for (auto& corner : facet.corner)
            for (float& x : corner) x = static_cast<float>(x * source.scale);
    if (!IsGoodTriangle(facet)) return false;
    if (source.swapMode)
        for (auto& corner : facet.corner) CycleAxes(corner, source.swapMode);
    return true;
}

/// A coordinate that the text doesn't give stays NaN, and so is refused.
bool TakeText(const Source& source, FloatTriangle& facet)
{
    float normal[3];
    for (auto& corner : facet.corner)
        std::fill_n(corner, 3, std::numeric_limits<float>::quiet_NaN());
    return TakeTextFacet(*source.buffer, normal, facet.corner[0]);
}

bool IsBlankLine(std::string_view line)
{
    return std::all_of(line.begin(), line.end(),
                       [](char c) { return c == ' ' || ('\t' <= c && c <= '\r'); });
}

/// Whether a line is one of those that may stand between facets: "solid", "endsolid", nothing.
bool StandsBetweenFacets(std::string_view line)
{
    while (!line.empty() && IsBlankLine(line.substr(0, 1))) line.remove_prefix(1);
    const auto starts = [&](std::string_view word) {
        return line.size() >= word.size() &&
               std::equal(word.begin(), word.end(), line.begin(),
                          [](char a, char b) { return a == (b | 0x20); });
    };
    return line.empty() || starts("solid") || starts("endsolid");
}

enum class Next { kFacet, kEnd, kDamage };

Next TakeNextText(const Source& source, FloatTriangle& facet)
{
    for (;;) {
        const std::int64_t here = Position(*source.buffer);
        if (TakeText(source, facet)) return Next::kFacet;
        GoBack(*source.buffer, here);
        std::string_view line;
        NextLine(*source.buffer, line);
        if (Position(*source.buffer) == here) return Next::kEnd;
        if (!StandsBetweenFacets(line)) return Next::kDamage;
    }
}

bool LooksLikeText(const Source& source)
{
    const std::int64_t first = Position(*source.buffer);
    FloatTriangle facet;
    std::string_view line;
    NextLine(*source.buffer, line);
    bool good = true;
    int taken = 0;
    for (; good && taken < kTrialFacets; ++taken) {
        const Next next = TakeNextText(source, facet);
        if (next == Next::kEnd) break;
        good = next == Next::kFacet;
    }
    GoBack(*source.buffer, first);
    return good && taken > 0;
}

Failure ReadText(const Source& source, Triangles& triangles)
{
    std::string_view line;
    NextLine(*source.buffer, line);
    for (;;) {
        FloatTriangle facet;
        const auto number = static_cast<std::int64_t>(triangles.size());
        const Next next = TakeNextText(source, facet);
        if (next == Next::kEnd) return {};
        if (next == Next::kDamage) return {SCAPI_ERROR_FACET, number};
        if (number == SCAPI_MAX_TRIANGLES) return {SCAPI_ERROR_TOO_MANY, number};
        if (!Finish(source, facet)) return {SCAPI_ERROR_COORDINATE, number};
        triangles.push_back(facet);
    }
}

Failure ReadBinary(const Source& source, std::int64_t length, Triangles& triangles)
{
    SkipBytes(*source.buffer, 80);
    std::uint32_t count = 0;
    if (!TakeBytes(*source.buffer, &count, sizeof count)) return {SCAPI_ERROR_FILE, -1};
    if (count > SCAPI_MAX_TRIANGLES) return {SCAPI_ERROR_FILE, -1};
    // What the length doesn't bear out is not worth memory.
    const std::int64_t borne = std::max<std::int64_t>(0, (length - kHeaderBytes + 2) / kFacetBytes);
    triangles.reserve(static_cast<std::size_t>(std::min<std::int64_t>(count, borne)));
    for (std::uint32_t i = 0; i < count; ++i) {
        float normal[3];
        FloatTriangle facet;
        if (!TakeBytes(*source.buffer, normal, sizeof normal) ||
            !TakeBytes(*source.buffer, &facet, sizeof facet))
            return {SCAPI_ERROR_TRUNCATED, i};
        SkipBytes(*source.buffer, 2);
        if (!Finish(source, facet)) return {SCAPI_ERROR_COORDINATE, i};
        triangles.push_back(facet);
    }
    return {};
}

} // namespace

Failure ReadStl(const char* path, bool swapMarkers, double scale, Triangles& triangles)
{
    std::string name = path;
    const int swapMode = swapMarkers ? FindSwapMarker(path, name) : 0;
    const File file(OpenForReading(name.c_str()));
    if (!file) return {SCAPI_ERROR_FILE, -1};
    const auto buffer = std::make_unique<StlReadBuffer>();
    StartBuffer(*buffer, file.get());
    const Source source{buffer.get(), swapMode, scale};
    const Failure failure = LooksLikeText(source)
                                ? ReadText(source, triangles)
                                : ReadBinary(source, StreamLength(file.get()), triangles);
    if (failure.code == SCAPI_OK && triangles.empty()) return {SCAPI_ERROR_EMPTY, -1};
    return failure;
}

} // namespace proximity
