// The report page: a scene of bodies in 3D, with steps, marks and a plot, as one HTML file that
// needs nothing else and opens without a network.
//
// What the fields mean in the page stands in scene.schema.json, which other languages follow when
// they fill viewer.html themselves.
#ifndef SCAPI_PROGRAMS_VIEW_H
#define SCAPI_PROGRAMS_VIEW_H

#include <array>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace view
{

using Point = std::array<double, 3>;

/// Three rows (R | t) of four, R a rotation.
using Pose = std::array<double, 12>;

constexpr Pose kRest{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};

/// Stands for "no value" in Plot::values.
constexpr double kGap = std::numeric_limits<double>::quiet_NaN();

enum class Status { kClear, kWarning, kHit, kUndecided };
enum class Kind { kHit, kWarning, kFault, kUndecided, kNote };

struct Mesh {
    std::vector<float> vertices{};        ///< x, y, z of each
    std::vector<std::uint32_t> indices{}; ///< three of each triangle, into the vertices
};

struct Body {
    std::string name{};
    std::string group{};            ///< listed, shown and hidden together; may be empty
    std::size_t mesh = 0;           ///< into Scene::meshes
    std::string color{};            ///< "#rrggbb"; empty: the page chooses
    double opacity = 1;             ///< 0 to 1
    Point pivot{};                  ///< body coordinates: goes straight between two steps
    std::vector<Pose> poses{kRest}; ///< one, or one for each step
};

struct Step {
    std::string label{};          ///< may be empty
    std::optional<double> time{}; ///< never falling; all steps have one, or none
    std::string line{};           ///< of a program; may be empty
};

struct Mark {
    Kind kind = Kind::kHit;
    double step = 0; ///< 0 to the number of steps - 1; 2.25 lies between steps 2 and 3
    Point point{};   ///< world coordinates, at that step
    std::optional<Point> point2{};
    std::optional<Point> normal{};       ///< not zero
    std::vector<std::size_t> bodies{};   ///< into Scene::bodies
    std::optional<std::size_t> attach{}; ///< body that the point goes with at other steps
    std::string text{};
};

/// Line segments, such as the open edges of a mesh.
struct Segments {
    Kind kind = Kind::kFault;
    std::optional<std::size_t> body{}; ///< whose coordinates they have; else the world's
    std::vector<float> lines{};        ///< six of each: two ends
};

struct Plot {
    std::string label{};
    std::string unit{};
    std::vector<double> values{}; ///< one for each step, kGap for none
    std::optional<double> limit{};
};

/// Texts are UTF-8; what is not is shown as replacement characters. Numbers are finite.
struct Scene {
    std::string title{};
    std::string unit{};     ///< of lengths: "mm", "inch"
    std::string timeUnit{}; ///< of Step::time; may be empty
    Status status = Status::kUndecided;
    std::string verdict{}; ///< one line
    std::vector<std::pair<std::string, std::string>> summary{};
    std::vector<Mesh> meshes{};
    std::vector<Body> bodies{};
    std::vector<Step> steps{}; ///< at least one
    std::vector<Mark> marks{};
    std::vector<Segments> segments{};
    std::optional<Plot> plot{};
};

/// What keeps a scene from being shown: an index out of range, a wrong number of poses or values,
/// a number that is not finite. @return empty when all is well
std::string Problem(const Scene& scene);

/// The scene as JSON that follows scene.schema.json, safe inside a script element.
/// @pre Problem(scene) is empty
std::string SceneJson(const Scene& scene);

/// The whole page, about 1 MB more than SceneJson.
/// @pre Problem(scene) is empty
std::string Page(const Scene& scene);

/// Writes the page beside `path` and renames it, so that a failure leaves what stood there. A link
/// is followed; what is no plain file, such as a pipe or a device, is written to in place.
/// @param path   UTF-8
/// @param error  takes what went wrong and what to do
/// @return whether it was written
bool WritePage(const std::string& path, const Scene& scene, std::string& error);

} // namespace view

#endif
