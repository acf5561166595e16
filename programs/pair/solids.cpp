#include "solids.h"

#include <algorithm>
#include <cmath>

#include "support/paths.h"

namespace pair
{
namespace
{

using Vector = std::array<double, 3>;

Vector Cross(const Vector& a, const Vector& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Vector Scaled(const Vector& a, double factor)
{
    return {a[0] * factor, a[1] * factor, a[2] * factor};
}

double Length(const Vector& a) { return std::hypot(a[0], a[1], a[2]); }

/// The library makes cylinders round z, with z = 0 at one end; this one has its axis anywhere.
int MakeCylinder(const std::vector<double>& numbers, scapi_mesh** out)
{
    const Vector from{numbers[0], numbers[1], numbers[2]};
    const Vector axis{numbers[3] - from[0], numbers[4] - from[1], numbers[5] - from[2]};
    const double height = Length(axis);
    int code = scapi_mesh_cylinder(numbers[6], height, nullptr, out);
    if (code != SCAPI_OK) return code;
    const MeshOwner upright(*out);
    *out = nullptr;

    const Vector w = Scaled(axis, 1 / height);
    std::size_t least = 0;
    for (std::size_t i = 1; i < 3; ++i)
        if (std::fabs(w[i]) < std::fabs(w[least])) least = i;
    Vector other{};
    other[least] = 1;
    const Vector across = Cross(other, w);
    const Vector u = Scaled(across, 1 / Length(across)), v = Cross(w, u);
    scapi_mesh_info info;
    code = scapi_mesh_get_info(upright.get(), &info);
    if (code != SCAPI_OK) return code;
    std::vector<float> corners(static_cast<std::size_t>(9 * info.triangles));
    scapi_mesh_triangles(upright.get(), 0, info.triangles, corners.data());
    for (std::size_t i = 0; i < corners.size(); i += 3) {
        const Vector p{corners[i], corners[i + 1], corners[i + 2]};
        for (std::size_t k = 0; k < 3; ++k)
            corners[i + k] = static_cast<float>(from[k] + p[0] * u[k] + p[1] * v[k] + p[2] * w[k]);
    }
    return scapi_mesh_from_arrays(corners.data(), 3 * info.triangles, nullptr, info.triangles,
                                  nullptr, nullptr, out);
}

int Make(const Source& source, scapi_mesh_report& report, scapi_mesh** out)
{
    const std::vector<double>& n = source.numbers;
    switch (source.kind) {
    case Source::kBox:
        return scapi_mesh_box(n.data(), n.data() + 3, nullptr, out);
    case Source::kCylinder:
        return MakeCylinder(n, out);
    default: {
        scapi_mesh_options options{};
        options.size = sizeof options;
        options.scale = source.scale;
        return scapi_mesh_from_stl(source.text.c_str(), &options, &report, out);
    }
    }
}

} // namespace

std::string LoadSolid(const Source& source, Solid& solid)
{
    solid.name = source.text;
    if (source.kind == Source::kFile) solid.name = ToUtf8(ToPath(source.text).filename());
    scapi_mesh_report report{-1, 0};
    scapi_mesh* mesh = nullptr;
    int code = Make(source, report, &mesh);
    solid.mesh.reset(mesh);
    if (code == SCAPI_OK) code = scapi_mesh_get_info(mesh, &solid.info);
    if (code == SCAPI_OK) return {};
    const std::string facet =
        report.facet < 0 ? "" : " (facet " + std::to_string(report.facet + 1) + ")";
    return source.text + facet + ": " + scapi_error_text(code);
}

std::vector<float> Corners(const Solid& solid)
{
    std::vector<float> corners(static_cast<std::size_t>(9 * solid.info.triangles));
    scapi_mesh_triangles(solid.mesh.get(), 0, solid.info.triangles, corners.data());
    return corners;
}

} // namespace pair
