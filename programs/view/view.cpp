#include "view.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <random>
#include <span>
#include <string_view>
#include <system_error>

#include "support/paths.h"
#include "template.h"

namespace view
{
namespace
{

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

constexpr std::string_view kPlaceholder = "@SCAPI_SCENE@";

static_assert(std::endian::native == std::endian::little, "the page reads little-endian arrays");

std::string Base64(std::span<const std::byte> bytes)
{
    constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text((bytes.size() + 2) / 3 * 4, '=');
    std::size_t at = 0;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = group << 8 | (k < count ? std::to_integer<std::uint32_t>(bytes[i + k]) : 0);
        for (std::size_t k = 0; k <= count; ++k) text[at + k] = digits[group >> (18 - 6 * k) & 63];
        at += 4;
    }
    return text;
}

template <class Number>
std::string Base64(const std::vector<Number>& numbers)
{
    return Base64(std::as_bytes(std::span(numbers)));
}

const char* Name(Status status)
{
    constexpr const char* names[] = {"clear", "warning", "hit", "undecided"};
    return names[static_cast<std::size_t>(status)];
}

const char* Name(Kind kind)
{
    constexpr const char* names[] = {"hit", "warning", "fault", "undecided", "note"};
    return names[static_cast<std::size_t>(kind)];
}

Json ToJson(const Body& body)
{
    Json json{{"name", body.name}, {"mesh", body.mesh}};
    if (!body.group.empty()) json["group"] = body.group;
    if (!body.color.empty()) json["color"] = body.color;
    json["opacity"] = body.opacity;
    json["pivot"] = body.pivot;
    if (body.poses.size() == 1) {
        json["poses"] = body.poses[0];
        return json;
    }
    std::vector<float> numbers;
    numbers.reserve(12 * body.poses.size());
    for (const Pose& pose : body.poses)
        for (const double number : pose) numbers.push_back(static_cast<float>(number));
    json["poses"] = Base64(numbers);
    return json;
}

Json ToJson(const Step& step)
{
    Json json = Json::object();
    if (!step.label.empty()) json["label"] = step.label;
    if (step.time) json["time"] = *step.time;
    if (!step.line.empty()) json["line"] = step.line;
    return json;
}

Json ToJson(const Mark& mark)
{
    Json json{{"kind", Name(mark.kind)}, {"step", mark.step}, {"point", mark.point}};
    if (mark.point2) json["point2"] = *mark.point2;
    if (mark.normal) json["normal"] = *mark.normal;
    if (!mark.bodies.empty()) json["bodies"] = mark.bodies;
    if (mark.attach) json["attach"] = *mark.attach;
    json["text"] = mark.text;
    return json;
}

Json ToJson(const Segments& segments)
{
    Json json{{"kind", Name(segments.kind)}};
    if (segments.body) json["body"] = *segments.body;
    json["lines"] = Base64(segments.lines);
    return json;
}

Json ToJson(const Plot& plot)
{
    Json json{{"label", plot.label}, {"unit", plot.unit}, {"values", Json::array()}};
    for (const double value : plot.values)
        json["values"].push_back(std::isnan(value) ? Json(nullptr) : Json(value));
    if (plot.limit) json["limit"] = *plot.limit;
    return json;
}

template <class Items>
Json ToArray(const Items& items)
{
    Json array = Json::array();
    for (const auto& item : items) array.push_back(ToJson(item));
    return array;
}

/// A "<" could end the script element, or begin a comment in it.
std::string EscapeForScript(const std::string& json)
{
    std::string out;
    out.reserve(json.size() + json.size() / 64);
    for (const char c : json) {
        if (c == '<')
            out += "\\u003c";
        else
            out += c;
    }
    return out;
}

bool Finite(std::span<const double> numbers)
{
    return std::all_of(numbers.begin(), numbers.end(), [](double x) { return std::isfinite(x); });
}

std::string Problem(const Mesh& mesh)
{
    if (mesh.vertices.size() % 3 != 0 || mesh.indices.size() % 3 != 0) return "holds no triples";
    const std::size_t count = mesh.vertices.size() / 3;
    for (const std::uint32_t index : mesh.indices)
        if (index >= count) return "has an index without a vertex";
    return {};
}

std::string Problem(const Body& body, const Scene& scene)
{
    if (body.mesh >= scene.meshes.size()) return "names no mesh";
    if (body.poses.size() != 1 && body.poses.size() != scene.steps.size())
        return "needs one pose, or one for each step";
    for (const Pose& pose : body.poses)
        if (!Finite(pose)) return "has a pose that is not finite";
    if (!Finite(body.pivot) || !std::isfinite(body.opacity))
        return "has a number that is not finite";
    return {};
}

std::string Problem(const Mark& mark, const Scene& scene)
{
    if (!(0 <= mark.step && mark.step <= double(scene.steps.size() - 1))) return "has no such step";
    for (const std::size_t body : mark.bodies)
        if (body >= scene.bodies.size()) return "names no body";
    if (mark.attach && *mark.attach >= scene.bodies.size()) return "is attached to no body";
    if (!Finite(mark.point) || (mark.point2 && !Finite(*mark.point2)) ||
        (mark.normal && !Finite(*mark.normal)))
        return "has a point that is not finite";
    return {};
}

std::string Problem(const Segments& segments, const Scene& scene)
{
    if (segments.lines.size() % 6 != 0) return "has half a segment";
    if (segments.body && *segments.body >= scene.bodies.size()) return "names no body";
    return {};
}

template <class Items, class Test>
std::string FirstProblem(const char* what, const Items& items, Test test)
{
    for (std::size_t i = 0; i < items.size(); ++i) {
        const std::string problem = test(items[i]);
        if (!problem.empty()) return std::string(what) + " " + std::to_string(i) + " " + problem;
    }
    return {};
}

std::string ProblemOfPlot(const Plot& plot, std::size_t stepCount)
{
    if (plot.values.size() != stepCount) return "the plot needs a value for each step";
    for (const double value : plot.values)
        if (std::isinf(value)) return "the plot has an infinite value";
    return {};
}

bool WriteFile(const fs::path& path, const std::string& text)
{
    std::ofstream file(path, std::ios::binary);
    return file && file.write(text.data(), std::streamsize(text.size())) && file.flush();
}

/// @return false
bool Refuse(const std::string& path, int code, std::string& error)
{
    error = path + ": the page cannot be written: " + std::generic_category().message(code);
    return false;
}

/// A file that is removed unless it is renamed to its place.
struct TemporaryFile {
    fs::path path;
    ~TemporaryFile()
    {
        std::error_code ignored;
        if (!path.empty()) fs::remove(path, ignored);
    }
};

} // namespace

std::string Problem(const Scene& scene)
{
    if (scene.steps.empty()) return "a scene needs a step";
    std::string problem =
        FirstProblem("mesh", scene.meshes, [](const Mesh& mesh) { return Problem(mesh); });
    if (problem.empty())
        problem = FirstProblem("body", scene.bodies,
                               [&](const Body& body) { return Problem(body, scene); });
    if (problem.empty())
        problem = FirstProblem("mark", scene.marks,
                               [&](const Mark& mark) { return Problem(mark, scene); });
    if (problem.empty())
        problem = FirstProblem("set of segments", scene.segments,
                               [&](const Segments& lines) { return Problem(lines, scene); });
    if (problem.empty() && scene.plot) problem = ProblemOfPlot(*scene.plot, scene.steps.size());
    return problem;
}

std::string SceneJson(const Scene& scene)
{
    Json json{
        {"format", "scapi-scene"}, {"version", 1}, {"title", scene.title}, {"unit", scene.unit}};
    if (!scene.timeUnit.empty()) json["timeUnit"] = scene.timeUnit;
    json["verdict"] = {{"status", Name(scene.status)}, {"text", scene.verdict}};
    json["summary"] = Json::array();
    for (const auto& [name, value] : scene.summary)
        json["summary"].push_back(Json::array({name, value}));
    json["meshes"] = Json::array();
    for (const Mesh& mesh : scene.meshes)
        json["meshes"].push_back(
            {{"vertices", Base64(mesh.vertices)}, {"indices", Base64(mesh.indices)}});
    json["bodies"] = ToArray(scene.bodies);
    json["steps"] = ToArray(scene.steps);
    json["marks"] = ToArray(scene.marks);
    json["segments"] = ToArray(scene.segments);
    if (scene.plot) json["plot"] = ToJson(*scene.plot);
    return EscapeForScript(json.dump(-1, ' ', false, Json::error_handler_t::replace));
}

std::string Page(const Scene& scene)
{
    const std::string_view page(reinterpret_cast<const char*>(kTemplate), kTemplateSize);
    const std::size_t at = page.find(kPlaceholder);
    const std::string json = SceneJson(scene);
    std::string out;
    out.reserve(page.size() + json.size());
    out.append(page.substr(0, at)).append(json).append(page.substr(at + kPlaceholder.size()));
    return out;
}

bool WritePage(const std::string& path, const Scene& scene, std::string& error)
{
    error = Problem(scene);
    if (!error.empty()) return false;
    // A link stays, and what is no plain file, such as a pipe, is written to and never replaced.
    std::error_code none;
    fs::path target = fs::canonical(ToPath(path), none);
    if (none) target = ToPath(path);
    const fs::file_status status = fs::status(target, none);
    if (fs::exists(status) && !fs::is_regular_file(status))
        return WriteFile(target, Page(scene)) || Refuse(path, errno, error);

    TemporaryFile temporary{target};
    temporary.path += ".tmp-" + std::to_string(std::random_device{}());
    if (!WriteFile(temporary.path, Page(scene))) return Refuse(path, errno, error);
    std::error_code failed;
    fs::rename(temporary.path, target, failed);
    if (failed) return Refuse(path, failed.default_error_condition().value(), error);
    temporary.path.clear();
    return true;
}

} // namespace view
