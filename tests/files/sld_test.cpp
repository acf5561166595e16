// Cache files: their bytes, and what becomes of damaged ones.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>

#include "support/treatment.h"

namespace
{

std::string SldOf(SOLIDC& solid)
{
    TemporaryFile file("");
    EXPECT_EQ(solid.SC_SaveSLDfile(file.Path()), 0);
    return ReadFile(file.path);
}

int LoadSld(SOLIDC& solid, const std::string& bytes)
{
    static TemporaryFile file("");      // one folder for thousands of loads
    std::filesystem::remove(file.path); // emptying a file can cost a write to the disk
    std::ofstream(file.path, std::ios::binary) << bytes;
    return solid.SC_LoadSLDfile(file.Path());
}

std::int32_t WordAt(const std::string& bytes, std::size_t offset)
{
    std::int32_t word;
    std::memcpy(&word, &bytes[offset], sizeof word);
    return word;
}

std::string WithWord(std::string bytes, std::size_t offset, std::int32_t word)
{
    std::memcpy(&bytes[offset], &word, sizeof word);
    return bytes;
}

const Mesh kTetra = TetraMesh({0, 0, 0}, {9, 0, 0}, {0, 9, 0}, {0, 0, 9});

TEST(SldFile, LayoutIsThatOfTheFormat)
{
    float box[6] = {-1, 0, 0.5f, 1e5f, 2.00005f, 3};
    SOLIDC solid;
    solid.LoadBox(box);
    solid.sourceTime = 0x12345678;
    const std::string bytes = SldOf(solid);
    const std::string text =
        "SLD file. Version 1,01,18\r\nBINARY FILE. DO NOT MODIFY\r\nTamarack Software Inc.\r\n"
        "--------------------------\r\n#Triangles:     48\r\n#Vertex:        26\r\n"
        "#Edges:         72\r\nBbox:[-1.0000 0.0000 0.5000, 100000.0000 2.0000 3.0000]\r\n"
        " \x1a \r\n\r\n\r\n\r\n\r\n";
    const std::size_t T = static_cast<std::size_t>(solid.triangleCount),
                      V = static_cast<std::size_t>(solid.vertexCount),
                      E = static_cast<std::size_t>(solid.edgeCount);
    ASSERT_EQ(bytes.size(), 1048 + 140 * T + 40 * V + 40 * E + 72);
    EXPECT_EQ(bytes.substr(0, 190), (text + std::string(200, '\0')).substr(0, 190));
    EXPECT_EQ(bytes.substr(text.size(), 1024 - text.size()), std::string(1024 - text.size(), '\0'));
    const std::int32_t fixed[] = {0x12345678, 10118, int(T), int(V), int(E), int(T)};
    for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(WordAt(bytes, 1024 + 4 * i), fixed[i]);
    EXPECT_EQ(std::memcmp(&bytes[1048], solid.triangles, 140 * T), 0);
    EXPECT_EQ(std::memcmp(&bytes[1048 + 140 * T], solid.vertices, 40 * V), 0);
    EXPECT_EQ(std::memcmp(&bytes[1048 + 140 * T + 40 * V], solid.edges, 40 * E), 0);
    const std::size_t tail = bytes.size() - 72;
    EXPECT_EQ(std::memcmp(&bytes[tail], solid.bbox, 24), 0);
    EXPECT_EQ(std::memcmp(&bytes[tail + 24], solid.center, 12), 0);
    EXPECT_EQ(std::memcmp(&bytes[tail + 36], &solid.tolerance, 4), 0);
    EXPECT_EQ(WordAt(bytes, tail + 52), solid.sortAxis);
    EXPECT_EQ(WordAt(bytes, tail + 56), solid.octreeDepth);
    EXPECT_EQ(std::memcmp(&bytes[tail + 60], solid.octreeCellSize, 12), 0);
    EXPECT_EQ(SldOf(solid), bytes) << "twice the same";
}

TEST(SldFile, DamageGetsItsCode)
{
    const std::string full = SldOf(*LoadedSolid(kTetra));
    const std::string simple = SldOf(*LoadedSolid(kTetra, 1));
    const auto T = static_cast<std::size_t>(WordAt(full, 1032)),
               V = static_cast<std::size_t>(WordAt(full, 1036));
    const std::size_t triangle = 1048, edge = 1048 + 140 * T + 40 * V;
    const struct {
        const char* fault;
        const std::string& file;
        std::size_t offset;
        std::int32_t word;
        int result;
    } rows[] = {
        {"NewerVersion", full, 1028, 10119, -401},
        {"NoTriangles", full, 1032, 0, -400},
        {"NegativeTriangles", full, 1032, -1, -400},
        {"TooManyTriangles", full, 1032, 10000000, -400},
        {"TrianglesThatTheFileCannotHold", full, 1032, 9999999, -400},
        {"VerticesThatTheFileCannotHold", full, 1036, 99999999, -400},
        {"TooManyVertices", full, 1036, 100000000, -400},
        {"VerticesWithoutEdges", full, 1040, 0, -905},
        {"EdgesWithoutVertices", full, 1036, 0, -400},
        {"TooManyEdges", full, 1040, 100000000, -400},
        {"VerticesOfASimpleSolid", simple, 1036, 5, -905},
        {"NegativeVerticesOfASimpleSolid", simple, 1036, -5, -905},
        {"NegativeEdgesOfASimpleSolid", simple, 1040, -5, -400},
        {"VertexBeyondTheList", full, triangle + 48, std::int32_t(V), -400},
        {"NegativeVertex", full, triangle + 56, -1, -400},
        {"EdgeBeyondTheList", full, triangle + 64, 2147483647, -400},
        {"OpenEdge", full, triangle + 64, -1, 0},
        {"EdgeBelowOpen", full, triangle + 64, -2, -400},
        {"EdgeWithBadVertex", full, edge, -1, -400},
        {"EdgeWithBadTriangle", full, edge + 12, std::int32_t(T), -400},
        {"DepthBelowZero", full, full.size() - 16, -1, -400},
        {"DepthAboveEight", full, full.size() - 16, 9, -400},
        {"DepthEight", full, full.size() - 16, 8, 0},
        {"ChangedText", full, 0, 0, 0},
    };
    for (const auto& row : rows) {
        SOLIDC solid;
        EXPECT_EQ(LoadSld(solid, WithWord(row.file, row.offset, row.word)), row.result)
            << row.fault;
        EXPECT_EQ(solid.triangles != nullptr, row.result == 0 || row.result == -905) << row.fault;
        EXPECT_EQ(solid.octree != nullptr, row.result == 0) << row.fault;
        EXPECT_EQ(solid.triangleCount > 0, solid.triangles != nullptr) << row.fault;
        EXPECT_EQ(solid.vertexCount > 0, solid.vertices != nullptr) << row.fault;
    }
    SOLIDC solid;
    unsigned char missing[] = "no/such.SLD";
    EXPECT_EQ(solid.SC_LoadSLDfile(missing), -1);
    EXPECT_EQ(LoadSld(solid, full + "more"), 0) << "nothing is read after the tail";
}

TEST(SldFile, EveryTruncationIsRefused)
{
    for (const int simple : {0, 1}) {
        const std::string bytes = SldOf(*LoadedSolid(kTetra, simple));
        for (std::size_t length = 0; length < bytes.size(); length += length < 1060 ? 1 : 7) {
            SOLIDC solid;
            // Without its last counts a file passes for one without edges, or ends after them.
            const int expected = length < 1032   ? -401
                                 : length < 1036 ? -400
                                 : length < 1044 ? -905
                                 : length < 1048 ? (simple ? -905 : 1)
                                                 : -400;
            ASSERT_EQ(LoadSld(solid, bytes.substr(0, length)), expected) << length;
        }
    }
}

TEST(SldFile, AnyWordMayBeWrong)
{
    for (const int simple : {0, 1}) {
        const std::string bytes = SldOf(*LoadedSolid(kTetra, simple));
        const std::int32_t nan = 0x7fc00000, words[] = {0, -1, 2147483647, nan};
        for (std::size_t at = 1024; at < bytes.size(); at += 4)
            for (const std::int32_t word : words) {
                SOLIDC solid;
                if (LoadSld(solid, WithWord(bytes, at, word)) == 0) UseFully(solid);
            }
    }
}

TEST(SldFile, MeshWithoutListsIsEmptiedAndWrittenEmpty)
{
    // Two triangles: their vertices are used too seldom, and their sides are open.
    auto open = LoadedSolid({kTetra[0], kTetra[1]});
    TemporaryFile file("");
    EXPECT_EQ(open->SC_SaveSLDfile(file.Path()), -101);
    EXPECT_EQ(open->triangleCount, 0);
    EXPECT_EQ(ReadFile(file.path).size(), 1048u + 72u);
    EXPECT_EQ(open->SC_LoadSLDfile(file.Path()), -400);
}

} // namespace
