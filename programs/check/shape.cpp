#include "shape.h"

#include <algorithm>

#include "machine.h"
#include "support/paths.h"

namespace check
{
namespace
{

std::array<double, 2> Between(const std::array<double, 2>& a, const std::array<double, 2>& b,
                              double z)
{
    const double share = (z - a[1]) / (b[1] - a[1]);
    return {a[0] + share * (b[0] - a[0]), z};
}

/// So many sides that corners outside of the circle are no farther from it than the chord.
int SidesFor(double radius, double chord)
{
    const double sides = std::ceil(kPi / std::acos(1 / (1 + chord / radius)));
    return static_cast<int>(std::clamp(sides, 16.0, 100000.0));
}

/// A list of [radius, z], with z never falling: what lies inside at one angle then lies inside at
/// any smaller radius too, which Lemma C3 needs.
Profile ReadOutline(const Node& node, double unit)
{
    Profile out;
    for (const Node& element : Elements(node, 2)) {
        const std::vector<Node> pair = Elements(element, 2);
        if (pair.size() > 2) Complain(element, "must be a pair: radius and z");
        if (pair.size() != 2) return {};
        out.push_back({unit * Number(pair[0], 0, kMostLength / unit, 0),
                       unit * Number(pair[1], -kMostLength / unit, kMostLength / unit, 0)});
        if (out.size() > 1 && out[out.size() - 2][1] > out.back()[1]) {
            Complain(element, "z falls; a profile runs from bottom to top. Use an STL file for "
                              "undercuts");
            return {};
        }
    }
    return out;
}

Profile ReadCylinder(const Node& node, double unit)
{
    if (!IsObject(node, {"radius", "height"})) return {};
    const double radius = unit * Number(Need(node, "radius"), 1e-4, kMostLength / unit, 1);
    const double height = unit * Number(Need(node, "height"), 1e-4, kMostLength / unit, 1);
    return {{radius, 0}, {radius, height}};
}

MeshPtr ReadBox(const Node& node, double unit)
{
    if (!IsObject(node, {"low", "high"})) return {};
    const Vec low = unit * Triple(Need(node, "low"), kMostLength / unit, {});
    const Vec high = unit * Triple(Need(node, "high"), kMostLength / unit, {1, 1, 1});
    scapi_mesh* made = nullptr;
    const int code = scapi_mesh_box(low.data(), high.data(), nullptr, &made);
    if (code != SCAPI_OK) Complain(node, scapi_error_text(code));
    return MeshPtr(made);
}

MeshPtr ReadStl(const Node& node, double unit)
{
    const std::string name = Text(node);
    if (name.empty()) return {};
    const std::string path = BesideOf(node.file->path, name);
    scapi_mesh_options options{};
    options.size = sizeof options;
    options.scale = unit;
    scapi_mesh_report report{};
    scapi_mesh* made = nullptr;
    const int code = scapi_mesh_from_stl(path.c_str(), &options, &report, &made);
    if (code != SCAPI_OK) {
        const std::string facet =
            report.facet >= 0 ? " (facet " + std::to_string(report.facet) + ")" : "";
        Complain(node, path + ": " + scapi_error_text(code) + facet);
    }
    return MeshPtr(made);
}

} // namespace

MeshPtr Revolved(const Profile& profile, double chord)
{
    double most = 0;
    for (const auto& point : profile) most = std::max(most, point[0]);
    if (!(most > 0)) return {};
    const int sides = SidesFor(most, chord);
    const double outwards = 1 / std::cos(kPi / sides);
    std::vector<double> outline;
    for (const auto& point : profile)
        outline.insert(outline.end(), {outwards * point[0], point[1]});
    scapi_mesh_options options{};
    options.size = sizeof options;
    options.segments = sides;
    scapi_mesh* made = nullptr;
    scapi_mesh_revolved(outline.data(), static_cast<std::int32_t>(profile.size()), &options, &made);
    return MeshPtr(made);
}

Profile Cut(const Profile& profile, double low, double high)
{
    Profile out;
    for (std::size_t i = 0; i < profile.size(); ++i) {
        const auto& here = profile[i];
        if (i > 0)
            for (const double z : {low, high})
                if (profile[i - 1][1] < z && z < here[1])
                    out.push_back(Between(profile[i - 1], here, z));
        if (low <= here[1] && here[1] <= high) out.push_back(here);
    }
    // Of a shoulder at an end only the edge nearer to the rest belongs to this part.
    while (out.size() >= 2 && out[out.size() - 2][1] == out.back()[1]) out.pop_back();
    while (out.size() >= 2 && out[1][1] == out[0][1]) out.erase(out.begin());
    const bool solid = out.size() >= 2 && out.front()[1] < out.back()[1];
    return solid ? out : Profile{};
}

Profile ReadProfile(const Node& object, double unit)
{
    const Node cylinder = Find(object, "cylinder"), outline = Find(object, "profile");
    Profile out;
    if (!cylinder == !outline) {
        Complain(object, "needs one of \"cylinder\" and \"profile\"");
        return out;
    }
    out = cylinder ? ReadCylinder(cylinder, unit) : ReadOutline(outline, unit);
    const auto wide = std::find_if(out.begin(), out.end(), [](const auto& p) { return p[0] > 0; });
    if (!out.empty() && (wide == out.end() || !(out.front()[1] < out.back()[1]))) {
        Complain(outline, "makes no solid: it has no width or no height");
        out.clear();
    }
    return out;
}

MeshPtr ReadShape(const Node& object, double unit, double chord)
{
    const Node stl = Find(object, "stl"), box = Find(object, "box");
    const int kinds = !!stl + !!box + !!Find(object, "cylinder") + !!Find(object, "profile");
    if (kinds != 1) {
        Complain(object, "needs one of \"stl\", \"box\", \"cylinder\" and \"profile\"");
        return {};
    }
    if (const Node units = Find(object, "units"); units && !stl)
        Complain(units, "belongs to STL files; other shapes have the units of the job");
    if (stl) return ReadStl(stl, UnitOf(object, unit));
    if (box) return ReadBox(box, unit);
    const Profile profile = ReadProfile(object, unit);
    MeshPtr made = profile.empty() ? MeshPtr() : Revolved(profile, chord);
    if (!made && !profile.empty()) Complain(object, "makes no solid");
    return made;
}

std::string BesideOf(const std::string& file, const std::string& path)
{
    return ToUtf8(ToPath(file).parent_path() / ToPath(path));
}

} // namespace check
