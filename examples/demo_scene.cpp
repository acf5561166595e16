// Writes the scene of ./demo: a plate with a step clamp on it, as a text STL file, and a milling
// tool, as a binary one.
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace
{

using Point = std::array<float, 3>;
using Triangle = std::array<Point, 3>;
using Mesh = std::vector<Triangle>;

void AddQuad(Mesh& mesh, const Point& a, const Point& b, const Point& c, const Point& d)
{
    mesh.push_back({a, b, c});
    mesh.push_back({a, c, d});
}

/// A closed prism between y = y0 and y = y1 over a convex outline in (x, z), counter-clockwise seen
/// from -y.
void AddPrism(Mesh& mesh, const std::vector<std::array<float, 2>>& outline, float y0, float y1)
{
    const std::size_t n = outline.size();
    const auto at = [&](std::size_t i, float y) {
        return Point{outline[i % n][0], y, outline[i % n][1]};
    };
    for (std::size_t i = 0; i < n; ++i)
        AddQuad(mesh, at(i + 1, y0), at(i, y0), at(i, y1), at(i + 1, y1));
    for (std::size_t i = 1; i + 1 < n; ++i) {
        mesh.push_back({at(0, y0), at(i, y0), at(i + 1, y0)});
        mesh.push_back({at(0, y1), at(i + 1, y1), at(i, y1)});
    }
}

/// A closed body of revolution about z from a profile of (radius, height), bottom to top.
void AddTurned(Mesh& mesh, const std::vector<std::array<float, 2>>& profile, int segments)
{
    const auto at = [&](std::size_t level, int i) {
        const double angle = 2 * std::acos(-1.0) * (i % segments) / segments;
        return Point{profile[level][0] * static_cast<float>(std::cos(angle)),
                     profile[level][0] * static_cast<float>(std::sin(angle)), profile[level][1]};
    };
    const std::size_t top = profile.size() - 1;
    const Point bottomCentre{0, 0, profile[0][1]}, topCentre{0, 0, profile[top][1]};
    for (int i = 0; i < segments; ++i) {
        mesh.push_back({bottomCentre, at(0, i + 1), at(0, i)});
        mesh.push_back({topCentre, at(top, i), at(top, i + 1)});
        for (std::size_t level = 0; level < top; ++level)
            AddQuad(mesh, at(level, i), at(level, i + 1), at(level + 1, i + 1), at(level + 1, i));
    }
}

Mesh PlateWithClamp()
{
    Mesh mesh;
    AddPrism(mesh, {{-100, 0}, {100, 0}, {100, 20}, {-100, 20}}, -60, 60);
    AddPrism(mesh, {{-40, 20.5f}, {-10, 20.5f}, {40, 40}, {40, 48}, {-40, 34}}, -12, 12);
    return mesh;
}

Mesh MillingTool()
{
    Mesh mesh;
    AddTurned(mesh, {{6, 0}, {6, 40}, {16, 46}, {16, 80}, {25, 80.5f}, {25, 95}}, 48);
    return mesh;
}

void WriteText(const std::string& path, const Mesh& mesh)
{
    std::ofstream file(path);
    file << "solid scene\n";
    for (const Triangle& triangle : mesh) {
        file << "  facet normal 0 0 0\n    outer loop\n";
        for (const Point& p : triangle)
            file << "      vertex " << p[0] << ' ' << p[1] << ' ' << p[2] << '\n';
        file << "    endloop\n  endfacet\n";
    }
    file << "endsolid scene\n";
}

void WriteBinary(const std::string& path, const Mesh& mesh)
{
    std::ofstream file(path, std::ios::binary);
    const std::array<char, 80> header{};
    const auto count = static_cast<std::uint32_t>(mesh.size());
    const std::array<float, 3> normal{};
    file.write(header.data(), header.size());
    file.write(reinterpret_cast<const char*>(&count), sizeof count);
    for (const Triangle& triangle : mesh) {
        file.write(reinterpret_cast<const char*>(normal.data()), sizeof normal);
        file.write(reinterpret_cast<const char*>(triangle.data()), sizeof triangle);
        file.write("\0", 2);
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "Usage: demo_scene FOLDER\n");
        return 2;
    }
    const std::string folder = argv[1];
    WriteText(folder + "/plate_with_clamp.stl", PlateWithClamp());
    WriteBinary(folder + "/tool.stl", MillingTool());
    return 0;
}
