#include <gtest/gtest.h>

#include <clocale>
#include <cstring>
#include <filesystem>
#include <tuple>

#include "files/file_info.h"
#include "files/stl_stream.h"
#include "support/meshes.h"

namespace
{

TEST(StlWriter, BinaryFileIsTwoBytesShort)
{
    for (const int count : {0, 1, 5}) {
        const Mesh mesh = SoupMesh(1, count, 10);
        const auto solid = BareSolid(mesh, 1);
        TemporaryFile file("", "out.stl");
        EXPECT_EQ(solid->SC_SaveSTLfile(file.Path()), 0);
        std::string expected = "Binary STL file (fixed)\n";
        expected += '\0';
        expected += std::string(55, ' ') + std::string({static_cast<char>(count), 0, 0, 0});
        for (int t = 0; t < count; ++t) {
            const T_LIST& triangle = solid->triangles[t];
            expected.append(reinterpret_cast<const char*>(triangle.normal), 12);
            expected.append(reinterpret_cast<const char*>(triangle.corners), 36);
            if (t + 1 < count) expected.append(2, '\0');
        }
        EXPECT_EQ(ReadFile(file.path), expected) << count;
    }
}

TEST(StlWriter, MarkerIsCutAndUnwritablePathsAreReported)
{
    const auto solid = BareSolid(SoupMesh(1, 4, 10), 1);
    TemporaryFile file("previous", "out.stl");
    std::string marked = file.path + "(STL_SWAP_ZXY)";
    EXPECT_EQ(solid->SC_SaveSTLfile(reinterpret_cast<unsigned char*>(marked.data())), 0);
    EXPECT_EQ(ReadFile(file.path).size(), 84u + 4 * 50 - 2);
    EXPECT_EQ(solid->sourceFileSize, 0) << "of the path with its marker";
    EXPECT_EQ(solid->SC_SaveSTLfile(file.Path()), 0);
    EXPECT_EQ(solid->sourceFileSize, 282) << "of the file that was replaced";
    const std::string folder = std::filesystem::path(file.path).parent_path().string();
    for (std::string path :
         {std::string(), folder + "/no/such.stl", folder, folder + "/" + std::string(700, 'x')})
        EXPECT_EQ(solid->SC_SaveSTLfile(reinterpret_cast<unsigned char*>(path.data())), 1) << path;
}

TEST(StlWriter, SweptSurfacesOfTwoSolidsShareAFile)
{
    const auto a = LoadedSolid(BoxMesh({0, 0, 0}, {2, 3, 4})),
               b = LoadedSolid(BoxMesh({9, 9, 9}, {10, 10, 10}));
    Matrix rest = Translation(0, 0, 0), end = Translation(10, 0, 0);
    a->SC_GTsweep(Rows(rest), Rows(end));
    b->SC_GTsweep(Rows(rest), Rows(rest));
    TemporaryFile file("", "out.stl");
    ASSERT_EQ(a->SC_SaveSweepSTLfiles(file.Path(), b.get()), 0);
    SOLIDC read;
    ASSERT_EQ(read.SC_LoadSTLfile(file.Path(), 0), 0);
    EXPECT_NE(read.octree, nullptr) << "both surfaces are closed";
    const float box[6] = {0, 0, 0, 12, 10, 10};
    EXPECT_TRUE(std::equal(box, box + 6, read.bbox));
}

TEST(StlWriter, TextFormHasAPointInEveryLocale)
{
    if (!std::setlocale(LC_ALL, "de_DE.UTF-8")) std::setlocale(LC_ALL, "German");
    TemporaryFile file("", "out.stl");
    StlStream stream{};
    SetStlPath(stream, file.path.c_str());
    ASSERT_EQ(StlOpenWrite(stream, kWriteText), 1);
    const float normal[3] = {0, -1, 0.5f},
                corners[9] = {1, 2, 3, 0.000005f, -0.000015f, 1e6f, 0.125f, -0.0f, 9.999995f};
    EXPECT_EQ(StlWriteFacet(stream, normal, corners), 1);
    EXPECT_EQ(StlWriteFacet(stream, nullptr, corners), 0);
    EXPECT_EQ(stream.facetCount, 1);
    StlClose(stream);
    EXPECT_EQ(StlWriteFacet(stream, normal, corners), 0);
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(ReadFile(file.path), "solid (fixed STL File. ASCII mode)\n"
                                   "   facet normal 0.000000 -1.000000 0.500000\n"
                                   "      outer loop\n"
                                   "         vertex 1.00000 2.00000 3.00000\n"
                                   "         vertex 0.00000 -0.00001 1000000.00000\n"
                                   "         vertex 0.12500 -0.00000 10.00000\n"
                                   "      endloop\n"
                                   "   endfacet\n"
                                   "endsolid\n");
}

TEST(Paths, ExtensionIsReplacedAfterTheLastDotOfTheName)
{
    const std::tuple<std::string, const char*, bool> rows[] = {
        {"/a/b.stl", "/a/b.SLD", true},  {"b.stl", "b.SLD", false},
        {"/a/b.stl", "/a/b.stl", false}, {"/a.d/b", "/a.d/b.SLD", true},
        {"a.b.stl", "a.b.SLD", true},    {"b.stl(STL_SWAP_ZXY)", "b.SLD", true},
        {"/a/.stl", "/a/.SLD", true},    {"/a/b.", "/a/b.SLD", true}};
    for (auto [path, expected, force] : rows) {
        ChangePathExtension(path, "SLD", force);
        EXPECT_EQ(path, expected);
    }
}

} // namespace
