#include "view.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <sstream>

#include "support/paths.h"

namespace
{

view::Scene Triangle()
{
    view::Scene scene;
    scene.title = "t";
    scene.unit = "mm";
    scene.meshes.push_back({{0, 0, 0, 1, 0, 0, 0, 1, 0}, {0, 1, 2}});
    scene.bodies.push_back({"body", "", 0, "", 1, {}, {view::kRest}});
    scene.steps.resize(2);
    return scene;
}

std::string Read(const std::filesystem::path& path)
{
    std::stringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

TEST(View, EveryKindOfBrokenSceneIsRefused)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    using Damage = std::function<void(view::Scene&)>;
    const std::pair<const char*, Damage> damages[] = {
        {"needs a step", [](auto& s) { s.steps.clear(); }},
        {"index without a vertex", [](auto& s) { s.meshes[0].indices[1] = 3; }},
        {"no triples", [](auto& s) { s.meshes[0].vertices.pop_back(); }},
        {"names no mesh", [](auto& s) { s.bodies[0].mesh = 1; }},
        {"one for each step", [](auto& s) { s.bodies[0].poses.resize(3, view::kRest); }},
        {"pose that is not finite", [](auto& s) { s.bodies[0].poses[0][3] = infinity; }},
        {"no such step",
         [](auto& s) {
             s.marks.push_back({view::Kind::kHit, 1.5});
         }},
        {"no such step",
         [](auto& s) {
             s.marks.push_back({view::Kind::kHit, view::kGap});
         }},
        {"names no body", [](auto& s) { s.marks.emplace_back().bodies = {1}; }},
        {"attached to no body", [](auto& s) { s.marks.emplace_back().attach = 1; }},
        {"point that is not finite",
         [](auto& s) {
             s.marks.emplace_back().normal = {0, 0, view::kGap};
         }},
        {"half a segment",
         [](auto& s) {
             s.segments.push_back({view::Kind::kFault, {}, {1, 2, 3}});
         }},
        {"value for each step",
         [](auto& s) {
             s.plot = view::Plot{"", "", {1}, {}};
         }},
        {"infinite value",
         [](auto& s) {
             s.plot = view::Plot{"", "", {1, infinity}, {}};
         }},
    };
    EXPECT_EQ(view::Problem(Triangle()), "");
    for (const auto& [message, damage] : damages) {
        view::Scene scene = Triangle();
        damage(scene);
        EXPECT_NE(view::Problem(scene).find(message), std::string::npos)
            << message << ": " << view::Problem(scene);
    }
}

TEST(View, ArraysAndTextsAreGoldenBytes)
{
    view::Scene scene = Triangle();
    scene.title = "</script><!--\xff";
    scene.plot = view::Plot{"p", "mm", {1.5, view::kGap}, 2.0};
    const std::string json = view::SceneJson(scene);
    // 1.0f is 00 00 80 3f; padding of one and of no bytes.
    for (const char* part :
         {"\"vertices\":\"AAAAAAAAAAAAAAAAAACAPwAAAAAAAAAAAAAAAAAAgD8AAAAA\"",
          "\"indices\":\"AAAAAAEAAAACAAAA\"", "\"poses\":[1.0,0.0,0.0,0.0,0.0,1.0",
          "\"title\":\"\\u003c/script>\\u003c!--\xef\xbf\xbd\"",
          "\"values\":[1.5,null],\"limit\":2.0"})
        EXPECT_NE(json.find(part), std::string::npos) << part << "\n" << json;
    EXPECT_EQ(json.find('<'), std::string::npos);
}

TEST(View, FailedWriteKeepsWhatStoodThere)
{
    const std::filesystem::path folder =
        std::filesystem::path(testing::TempDir()) / u8"view test \u5939";
    std::filesystem::create_directories(folder);
    const std::string path = ToUtf8(folder / "page.html");
    std::string error;
    ASSERT_TRUE(view::WritePage(path, Triangle(), error)) << error;
    const std::string good = Read(ToPath(path));
    EXPECT_NE(good.find("</html>"), std::string::npos);

    view::Scene broken = Triangle();
    broken.bodies[0].mesh = 9;
    EXPECT_FALSE(view::WritePage(path, broken, error));
    EXPECT_FALSE(view::WritePage(ToUtf8(folder / "missing" / "page.html"), Triangle(), error));
    EXPECT_NE(error.find("missing"), std::string::npos) << error;
    // A folder stands in the place.
    EXPECT_FALSE(view::WritePage(ToUtf8(folder), Triangle(), error));
    EXPECT_EQ(Read(ToPath(path)), good);

    // A link goes on pointing to the page that it shows.
    const std::filesystem::path link = folder / "link.html";
    std::error_code none; // not every system lets everybody make one
    std::filesystem::create_symlink(ToPath(path), link, none);
    if (none) std::filesystem::remove_all(folder);
    if (none) GTEST_SKIP() << "no links: " << none.message();
    view::Scene other = Triangle();
    other.title = "changed";
    EXPECT_TRUE(view::WritePage(ToUtf8(link), other, error)) << error;
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_NE(Read(ToPath(path)).find("changed"), std::string::npos);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 2);
    std::filesystem::remove_all(folder);
}

} // namespace
