#include <algorithm>
#include <map>

#include "gcode_block.h"
#include "mesh_check.h"
#include "page_mesh.h"

namespace check
{
namespace
{

/// How often each edge is run, from its lower vertex to its higher and back.
using Edges = std::map<std::pair<std::uint32_t, std::uint32_t>, std::array<int, 2>>;

Edges EdgesOf(const view::Mesh& mesh)
{
    Edges edges;
    for (std::size_t i = 0; i < mesh.indices.size(); ++i) {
        const std::uint32_t from = mesh.indices[i];
        const std::uint32_t to = mesh.indices[i % 3 == 2 ? i - 2 : i + 1];
        if (from != to) ++edges[{std::min(from, to), std::max(from, to)}][from < to ? 0 : 1];
    }
    return edges;
}

/// Edges that are not run once each way.
std::vector<float> FaultyEdges(const view::Mesh& mesh)
{
    std::vector<float> lines;
    for (const auto& [edge, runs] : EdgesOf(mesh)) {
        if (runs[0] == 1 && runs[1] == 1) continue;
        for (const std::uint32_t vertex : {edge.first, edge.second})
            lines.insert(lines.end(), mesh.vertices.begin() + std::ptrdiff_t(3 * vertex),
                         mesh.vertices.begin() + std::ptrdiff_t(3 * vertex + 3));
    }
    return lines;
}

void AddMarks(const MeshReport& report, std::size_t body, double shift, view::Scene& scene)
{
    for (const MeshFault& fault : kMeshFaults) {
        const scapi_finding& finding = report.diagnosis.*fault.finding;
        for (int i = 0; i < SCAPI_PLACES && finding.facet[i] >= 0; ++i) {
            view::Mark mark;
            mark.kind = view::Kind::kFault;
            mark.point = {finding.point[i][0] + shift, finding.point[i][1], finding.point[i][2]};
            mark.bodies = {body};
            mark.text = std::string(fault.name) + ": facet " + std::to_string(finding.facet[i]);
            scene.marks.push_back(mark);
        }
    }
}

/// @param shift  along x, so that meshes stand beside each other
void AddMesh(const MeshReport& report, double shift, view::Scene& scene)
{
    const std::size_t index = scene.bodies.size();
    view::Body body;
    body.name = report.path, body.group = report.IsFaulty() ? "faulty" : "sound";
    body.mesh = index;
    body.poses = {Shift({shift, 0, 0})};
    scene.meshes.push_back(PageMesh(report.mesh.get()));
    scene.bodies.push_back(body);
    view::Segments edges;
    edges.body = index;
    edges.lines = FaultyEdges(scene.meshes.back());
    if (!edges.lines.empty()) scene.segments.push_back(edges);
    AddMarks(report, index, shift, scene);
    scene.summary.push_back({report.path, std::to_string(report.diagnosis.triangles) +
                                              " triangles, " +
                                              (report.diagnosis.closed ? "closed" : "not closed")});
}

} // namespace

bool WriteMeshPage(const std::string& path, const std::vector<MeshReport>& reports,
                   Problems& problems)
{
    view::Scene scene;
    scene.title = "Meshes";
    scene.unit.append("mm");
    scene.steps.resize(1);
    const auto faulty = std::count_if(reports.begin(), reports.end(),
                                      [](const auto& report) { return report.IsFaulty(); });
    scene.status = faulty > 0 ? view::Status::kHit : view::Status::kClear;
    scene.verdict =
        std::to_string(faulty) + " of " + std::to_string(reports.size()) + " meshes faulty";
    double next = 0;
    for (const MeshReport& report : reports) {
        scapi_mesh_info info{};
        scapi_mesh_get_info(report.mesh.get(), &info);
        const double width = double(info.high[0]) - double(info.low[0]);
        AddMesh(report, reports.size() == 1 ? 0 : next - double(info.low[0]), scene);
        next += 1.1 * width;
    }
    std::string error = view::Problem(scene);
    if (error.empty() && view::WritePage(path, scene, error)) return true;
    problems.push_back({path, 0, "", error});
    return false;
}

} // namespace check
