// The STL reader, from whole files to single numbers.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <random>

#include "files/stl_stream.h"
#include "files/swap_marker.h"
#include "support/meshes.h"

namespace
{

/// Result of a simple load and its triangles before refinement.
using Loaded = std::pair<int, int>;

constexpr Loaded kRefused{65535, 0};

Loaded Load(const std::string& content)
{
    TemporaryFile file(content);
    SOLIDC solid;
    const int result = solid.SC_LoadSTLfile(file.Path(), 1);
    return {result, solid.baseTriangleCount};
}

std::string Facet(const std::string& corner = "0 0 0", const std::string& end = "\n")
{
    return "facet normal 0 0 1" + end + "outer loop" + end + "vertex " + corner + end +
           "vertex 5 0 0" + end + "vertex 0 5 0" + end + "endloop" + end + "endfacet" + end;
}

std::string Replaced(std::string text, const std::string& what, const std::string& by)
{
    for (std::size_t at = 0; (at = text.find(what, at)) != text.npos; at += by.size())
        text.replace(at, what.size(), by);
    return text;
}

const std::string kTwo = Facet() + Facet(), kThree = kTwo + Facet(), kFour = kTwo + kTwo;

TEST(StlText, FormsThatRealFilesTake)
{
    const auto with = [](const char* what, const std::string& by) {
        return "solid\n" + Replaced(kFour, what, by);
    };
    const std::string cut = Replaced(Facet(), "endloop\n", ""),
                      loopless = Replaced(Facet(), "endloop\nendfacet\n", "endfacet"),
                      rest = "vertex 5 0 0\nvertex 0 5 0\nendloop\n";
    const struct {
        const char* fault;
        Loaded expected;
        std::string text;
    } rows[] = {
        {"Plain", {0, 4}, "solid x\n" + kFour + "endsolid x\n"},
        {"NoSolidLine", {0, 4}, "\n" + kFour},
        {"CarriageReturns", {0, 4}, "solid x\r\n" + Replaced(kFour, "\n", "\r\n")},
        {"Capitals",
         {0, 4},
         Replaced(Replaced(with("vertex", "VerTEX"), "loop", "LOOP"), "solid", "SOLID")},
        {"Indented", {0, 4}, with("vertex", "  \t vertex")},
        {"NoFacetWord", {0, 4}, with("facet normal", "normal")},
        {"NoLastNewline", {0, 4}, "solid\n" + kFour.substr(0, kFour.size() - 1)},
        {"TwoFacetsOnly", kRefused, "solid\n" + kTwo},
        {"BlankLineBeforeTheFourth", {0, 3}, "solid\n" + kThree + "\n" + Facet()},
        {"LineMissing", {0, 3}, "solid\n" + kThree + cut + Facet()},
        {"AnythingForEndloop", {0, 4}, with("endloop", "whatever")},
        {"SecondSolid", {0, 4}, "solid\n" + kFour + "endsolid\nsolid\n" + kFour},
        {"LongLines", {0, 4}, with("outer", std::string(900, 'x'))},
        {"LineBeyondTheBuffer", kRefused, with("outer", std::string(1100, 'x'))},
        {"FirstLineBeyondTheBuffer", kRefused, std::string(1024, 'x') + "\n" + kFour},
        {"Empty", kRefused, ""},
        {"ByteOrderMark", {0, 4}, "\xef\xbb\xbfsolid\n" + kFour},
        {"Utf16", kRefused, Replaced("solid\n" + kFour, "e", std::string("e\0", 2))},
        {"CarriageReturnsOnly", kRefused, "solid\r" + Replaced(kFour, "\n", "\r")},
        {"OneLineOfMegabytes", kRefused, std::string(3 << 20, 'v') + "\n" + kFour},
        {"BytesAbove127", {0, 4}, "solid \xff\x80\n" + Replaced(kFour, "outer", "\xe9")},
        {"LoopInTwoWords", {0, 4}, with("endloop", "end loop")},
        {"NoEnd", {0, 4}, "solid\n" + kFour + "facet normal 0 0 1\nouter loop\nvertex 1"},
        {"ZeroBytes", {0, 4}, with("0 0 1", std::string("0 0 1\0junk", 10))},
        {"DegenerateFacet", {0, 3}, "solid\n" + kTwo + Facet("5 0 9e-6") + Facet("5 0 2e-5")},
        {"CoordinateOf100000", {0, 3}, "solid\n" + kThree + Facet("100000 0 0") + Facet()},
        {"CoordinateBelow100000", {0, 5}, "solid\n" + kFour + Facet("99999.99 0 0")},
        {"LargeNegative", {0, 5}, "solid\n" + kFour + Facet("-1e30 0 0")},
        {"InfiniteCoordinate", {0, 4}, "solid\n" + kFour + Facet("-inf 0 0")},
        {"NaNCoordinate", {0, 4}, "solid\n" + kFour + Facet("nan 0 0")},
        {"FacetEndsOnTheSixthLineAtTheEnd", {0, 4}, "solid\n" + kThree + loopless},
        {"VerticesMissing", {0, 4}, "solid\n" + kFour + Replaced(Facet("1 2 3"), rest, "x\ny\n")},
    };
    for (const auto& row : rows) EXPECT_EQ(Load(row.text), row.expected) << row.fault;
}

std::string WithCount(std::string binary, std::int32_t count)
{
    std::memcpy(&binary[80], &count, sizeof count);
    return binary;
}

TEST(StlBinary, CountsThatLie)
{
    const std::string five = BinaryStl(SoupMesh(1, 5, 10)), two = BinaryStl(SoupMesh(2, 2, 10));
    const std::pair<std::string, Loaded> rows[] = {
        {five, {0, 5}},
        {WithCount(five, 2), {0, 5}},
        {WithCount(five, 0), {0, 5}},
        {WithCount(five, -7), {0, 5}},
        {WithCount(five, 2147483647), {0, 5}},
        {two, {0, 2}},
        {WithCount(two, 5), kRefused},
        {BinaryStl({}), {0, 0}},
        {std::string("solid") + five.substr(5), {0, 5}},
        {five + "trailing", {0, 5}},
        {BinaryStl({Triangle{}, Triangle{}, Triangle{}}), {0, 0}},
    };
    for (const auto& [bytes, expected] : rows) EXPECT_EQ(Load(bytes), expected);
}

TEST(StlFile, EveryTruncationKeepsTheWholeFacets)
{
    const struct {
        std::string content;
        std::size_t head, facet, spare; ///< in bytes; spare ones may be missing from a facet's end
    } rows[] = {{"solid\n" + kFour, 6, Facet().size(), 1}, // "endfacet" needs no line end
                {BinaryStl(SoupMesh(1, 4, 10)), 84, 50, 2}};
    for (const auto& [content, head, facet, spare] : rows)
        for (std::size_t length = 0; length <= content.size(); ++length) {
            const int whole = length < head ? 0 : int((length - head + spare) / facet);
            ASSERT_EQ(Load(content.substr(0, length)), whole < 3 ? kRefused : Loaded({0, whole}))
                << length;
        }
}

TEST(StlBinary, NormalsAreClampedAndTheBufferEdgeIsCrossed)
{
    const int many = 9000; // more bytes than the read-ahead holds
    std::string bytes = BinaryStl(SoupMesh(1, many, 10));
    const float wild[3] = {2, -3, std::nanf("")}, low[3] = {0.5f, -INFINITY, -0.25f};
    std::memcpy(&bytes[84], wild, sizeof wild);
    std::memcpy(&bytes[84 + 50 * (many - 1)], low, sizeof low);
    bytes.resize(bytes.size() - 2); // as the library itself ends a file; the position counts on
    TemporaryFile file(bytes);
    StlStream stream{};
    std::int32_t count = 0;
    ASSERT_TRUE(SetStlPath(stream, file.path.c_str()));
    ASSERT_EQ(StlOpenRead(stream, &count), 1);
    EXPECT_EQ(count, many);
    float normal[3], corners[9];
    for (int i = 0; i < many; ++i) {
        ASSERT_EQ(StlReadFacet(stream, i % 2 ? nullptr : normal, corners), 1);
        ASSERT_EQ(stream.writePosition, 84 + 50 * (i + 1));
        ASSERT_EQ(std::memcmp(corners, &bytes[static_cast<std::size_t>(84 + 50 * i + 12)], 36), 0);
        if (i == 0) {
            EXPECT_TRUE(normal[0] == 1 && normal[1] == -1 && normal[2] == 0);
        }
    }
    EXPECT_EQ(StlReadFacet(stream, normal, corners), 0);
    StlClose(stream);
    EXPECT_EQ(stream.file, nullptr);
}

TEST(StlPath, MarkersCycleTheAxesAndAreNoPartOfTheName)
{
    const Mesh mesh = BoxMesh({1, 2, 3}, {11, 22, 33});
    TemporaryFile file(BinaryStl(mesh));
    const struct {
        const char* marker;
        float low[3];
    } rows[] = {{"", {1, 2, 3}}, {"(STL_SWAP_ZXY)", {2, 3, 1}}, {"(STL_SWAP_YZX)", {3, 1, 2}}};
    for (const auto& row : rows) {
        std::string path = file.path + row.marker;
        SOLIDC solid;
        ASSERT_EQ(solid.SC_LoadSTLfile(reinterpret_cast<unsigned char*>(path.data()), 0), 0);
        EXPECT_TRUE(std::equal(row.low, row.low + 3, solid.bbox)) << row.marker;
        EXPECT_NE(solid.octree, nullptr) << "a cycle keeps the winding";
        EXPECT_EQ(solid.sourceFileSize, *row.marker ? 0 : 684);
        EXPECT_EQ(solid.sourceTime != 0, !*row.marker);
    }
    EXPECT_EQ(StlStripSwapMarker("a(STL_SWAP_ZXY)b(STL_SWAP_ZXY)"),
              "a(STL_SWAP_ZXY)b(STL_SWAP_ZXY)");
    EXPECT_EQ(StlSwapMode, 0);
}

TEST(StlPath, WhatIsNoFileIsRefusedAtOnce)
{
    TemporaryFile file(BinaryStl(SoupMesh(1, 5, 10)));
    const std::string folder = file.path.substr(0, file.path.rfind('/'));
    std::string fits = file.path;
    while (fits.size() < 595) fits.insert(fits.rfind('/'), fits.size() == 594 ? "/" : "/.");
    const std::pair<std::string, int> rows[] = {
        {"", 65535}, {folder, 65535}, {fits, 0}, {"/" + fits, 65535}};
    for (auto [path, result] : rows) {
        SOLIDC solid;
        EXPECT_EQ(solid.SC_LoadSTLfile(reinterpret_cast<unsigned char*>(path.data()), 1), result)
            << path.size();
    }
}

} // namespace
