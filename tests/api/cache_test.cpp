// Which loads come from the cache file, and which files they leave.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>

#include "api/table.h"
#include "support/meshes.h"

namespace
{

namespace fs = std::filesystem;

/// Side by side.
Mesh Tetrahedra(int count)
{
    Mesh mesh;
    for (int i = 0; i < count; ++i) {
        const float x = 20 * float(i);
        mesh = Joined({mesh, TetraMesh({x, 0, 0}, {x + 9, 0, 0}, {x, 9, 0}, {x, 0, 9})});
    }
    return mesh;
}

struct Cache : testing::Test {
    TemporaryFile file{TextStl(Tetrahedra(1)), "part.stl"};
    fs::path source = file.path, folder = source.parent_path(), sld = folder / "part.SLD";
    fs::file_time_type written = fs::file_time_type::clock::now() - std::chrono::hours(5);

    void SetUp() override { WriteSource(1, 0); }
    void TearDown() override
    {
        SCAPI_ReleaseSolids();
        fs::permissions(folder, fs::perms::owner_all);
    }
    void WriteSource(int tetrahedra, int secondsLater)
    {
        std::ofstream(source, std::ios::binary) << TextStl(Tetrahedra(tetrahedra));
        fs::last_write_time(source, written + std::chrono::seconds(secondsLater));
    }
    int Load(int simple = 0, const std::string& marker = "")
    {
        std::string path = source.string() + marker;
        return SCAPI_LoadSTL(0, reinterpret_cast<unsigned char*>(path.data()), simple);
    }
    /// Right end of the box, by which the sources differ.
    static float End() { return SolidIn(0)->bbox[3]; }
    static bool IsFull() { return SolidIn(0)->vertexCount > 0; }
    /// Makes the next load tell by its answer whether it took the cache: the source is another one,
    /// with the old time.
    void ChangeSourceUnnoticed() { WriteSource(2, 0); }
};

TEST_F(Cache, CurrentFileIsTakenAndEqualTimesMakeItCurrent)
{
    EXPECT_EQ(Load(), 0);
    EXPECT_TRUE(fs::exists(sld));
    ChangeSourceUnnoticed();
    EXPECT_EQ(Load(), 0);
    EXPECT_EQ(End(), 9);
    for (const int seconds : {-1, 1}) {
        WriteSource(2, seconds);
        EXPECT_EQ(Load(), 0);
        EXPECT_EQ(End(), 29) << seconds;
        WriteSource(1, 0);
        EXPECT_EQ(Load(), 0);
        EXPECT_EQ(End(), 9);
    }
}

TEST_F(Cache, KindsServeEachOtherAsTheTableSays)
{
    const struct {
        int cached, wanted;
        bool fromCache, full;
    } rows[] = {{0, 0, true, true},  {0, 1, true, true},  {0, 2, true, true},  {1, 0, false, true},
                {1, 1, true, false}, {1, 2, true, false}, {2, 0, false, true}, {2, 1, true, false}};
    for (const auto& row : rows) {
        fs::remove(sld);
        WriteSource(1, 0);
        ASSERT_EQ(Load(row.cached), 0);
        ChangeSourceUnnoticed();
        ASSERT_EQ(Load(row.wanted), 0);
        EXPECT_EQ(End(), row.fromCache ? 9 : 29) << row.cached << ' ' << row.wanted;
        EXPECT_EQ(IsFull(), row.full) << row.cached << ' ' << row.wanted;
    }
}

TEST_F(Cache, CacheAloneLoadsNothing)
{
    EXPECT_EQ(Load(), 0);
    fs::remove(source);
    EXPECT_EQ(Load(), 65535);
    EXPECT_TRUE(fs::exists(sld));
}

TEST_F(Cache, DamagedFileIsWrittenAnew)
{
    EXPECT_EQ(Load(), 0);
    const auto size = fs::file_size(sld);
    for (const auto length : {size - 1, size / 2, std::uintmax_t{1040}, std::uintmax_t{0}}) {
        fs::resize_file(sld, length);
        EXPECT_EQ(Load(), 0);
        EXPECT_TRUE(IsFull());
        EXPECT_EQ(fs::file_size(sld), size);
    }
    fs::resize_file(sld, 1040);
    EXPECT_EQ(Load(1), 0);
    EXPECT_EQ(End(), -1e10f)
        << "a simple wish takes a file cut before its edges: zeros, an empty box";
    EXPECT_EQ(Load(2), 0);
    EXPECT_EQ(End(), 9);
}

TEST_F(Cache, MarkedPathsShareTheFileAndStayCurrent)
{
    EXPECT_EQ(Load(0, "(STL_SWAP_ZXY)"), 0);
    ChangeSourceUnnoticed();
    WriteSource(2, 77);
    EXPECT_EQ(Load(0, "(STL_SWAP_YZX)"), 0);
    EXPECT_EQ(End(), 9) << "a marked path has no time, so its cache never ages";
    EXPECT_EQ(Load(), 0);
    EXPECT_EQ(End(), 29) << "the plain path has one";
}

TEST_F(Cache, FileThatCannotBeWrittenIsReportedWithAGoodSolid)
{
    fs::create_directory(sld);
    EXPECT_EQ(Load(), 1);
    EXPECT_EQ(End(), 9);
    EXPECT_TRUE(IsFull());
    fs::remove(sld);
    std::ofstream(source, std::ios::binary) << TextStl(Tetrahedra(1)).substr(0, 150);
    EXPECT_EQ(Load(), 65535);
    EXPECT_FALSE(fs::exists(sld));
}

TEST_F(Cache, OpenMeshIsEmptiedAndReadAgainEachTime)
{
    Mesh open = Tetrahedra(1);
    open.pop_back();
    std::ofstream(source, std::ios::binary) << TextStl(open);
    EXPECT_EQ(Load(), -101);
    float box[6];
    EXPECT_EQ(SCAPI_GetBbox(0, box), -901);
    EXPECT_EQ(fs::file_size(sld), 1120u);
    EXPECT_EQ(Load(1), 0) << "as a simple solid it loads";
    EXPECT_EQ(Load(0), -101);
}

TEST_F(Cache, SourceIsNeverOverwritten)
{
    const std::string text = TextStl(Tetrahedra(1));
    for (const std::string marker : {"", "(STL_SWAP_ZXY)"}) {
        source = folder / "alone.SLD";
        std::ofstream(source, std::ios::binary) << text;
        EXPECT_EQ(Load(0, marker), 0);
        EXPECT_EQ(fs::file_size(source), text.size());
    }
    source = folder / "linked.stl";
    std::ofstream(source, std::ios::binary) << text;
    fs::create_hard_link(source, folder / "linked.SLD");
    EXPECT_EQ(Load(), 0);
    EXPECT_EQ(fs::file_size(source), text.size());
}

TEST_F(Cache, LinksStayLinksAndLongNamesAreWrittenInPlace)
{
    const fs::path elsewhere = folder / "elsewhere";
#ifdef _WIN32
    const bool kinds[] = {false}; // the other takes a privilege there
#else
    const bool kinds[] = {false, true};
#endif
    for (const bool symbolic : kinds) {
        std::ofstream(elsewhere) << "old";
        symbolic ? fs::create_symlink(elsewhere, sld) : fs::create_hard_link(elsewhere, sld);
        EXPECT_EQ(Load(), 0);
        EXPECT_EQ(fs::is_symlink(sld), symbolic);
        EXPECT_TRUE(fs::equivalent(sld, elsewhere));
        EXPECT_GT(fs::file_size(elsewhere), 1024u);
        fs::remove(sld);
    }
    source = folder / (std::string(251, 'x') + ".stl"); // a name with no room for a longer one
    WriteSource(1, 0);
    EXPECT_EQ(Load(), 0);
    EXPECT_TRUE(fs::exists(fs::path(source).replace_extension("SLD")));
}

} // namespace
