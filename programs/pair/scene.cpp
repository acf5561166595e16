#include "scene.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "numbers.h"

namespace pair
{
namespace
{

constexpr std::size_t kLeastSteps = 60, kMostSteps = 2000;
constexpr double kTurnOfAStep = 5 * std::numbers::pi / 180;

/// Steps between the start and the end. The page turns bodies evenly from step to step, so they are
/// there for the plot, and to keep each turn well below half a circle.
std::size_t StepsOfTheWay(const Request& request)
{
    const double angle =
        std::max(std::fabs(request.motions[0].angle), std::fabs(request.motions[1].angle));
    const double steps = std::min(std::ceil(angle / kTurnOfAStep), double(kMostSteps));
    return std::max(kLeastSteps, static_cast<std::size_t>(steps));
}

view::Mesh ToMesh(const Solid& solid)
{
    const auto triangles = static_cast<std::size_t>(solid.info.triangles);
    view::Mesh mesh;
    mesh.vertices.resize(9 * triangles);
    std::vector<std::int32_t> indices(3 * triangles);
    const std::int64_t count =
        scapi_mesh_indexed(solid.mesh.get(), mesh.vertices.data(), indices.data());
    mesh.vertices.resize(count < 0 ? 0 : 3 * static_cast<std::size_t>(count));
    if (count > 0) mesh.indices.assign(indices.begin(), indices.end());
    return mesh;
}

view::Body ToBody(const Request& request, const Report& report, std::size_t index,
                  std::size_t stepCount)
{
    constexpr const char* colors[] = {"#8aa4bf", "#e0a458"};
    const Answer& answer = report.answer;
    view::Body body;
    body.name = std::string("AB").substr(index, 1) + "  " + report.solids[index].name;
    body.mesh = index;
    body.color = colors[index];
    // What hides the contact, or the solid inside, is seen through.
    if (answer.verdict == Verdict::kInside)
        body.opacity = (answer.relation == SCAPI_A_IN_B) == (index == 1) ? 0.3 : 1;
    const scapi_motion& motion = request.motions[index];
    std::copy_n(motion.pivot, 3, body.pivot.begin());
    body.poses.resize(request.moves[index] ? stepCount : 1);
    for (std::size_t i = 0; i < body.poses.size(); ++i)
        scapi_motion_pose(&motion, i == 0 ? 0 : double(i) / double(stepCount - 1),
                          body.poses[i].data());
    return body;
}

/// The contact, or the nearest points of solids at rest.
void AddMark(const Request& request, const Answer& answer, std::size_t stepCount,
             view::Scene& scene)
{
    view::Mark mark;
    mark.bodies = {0, 1};
    mark.attach = 0;
    mark.text = "Contact";
    if (answer.region) {
        for (std::size_t axis = 0; axis < 3; ++axis)
            mark.point[axis] = (answer.region->low[axis] + answer.region->high[axis]) / 2;
    } else if (answer.points) {
        mark.point = answer.points->a;
        mark.point2 = answer.points->b;
        mark.normal = answer.normal;
    } else {
        return;
    }
    if (answer.moving) mark.step = answer.contactTime * double(stepCount - 1);
    if (answer.verdict != Verdict::kContact) {
        mark.kind =
            answer.verdict == Verdict::kUndecided ? view::Kind::kUndecided : view::Kind::kNote;
        mark.text =
            "Nearest points, " + Format(answer.nearest) + " " + Name(request.unit) + " apart";
    }
    scene.marks.push_back(mark);
}

void AddIntersection(const ContactRegion& region, view::Scene& scene)
{
    view::Segments segments;
    segments.kind = view::Kind::kHit;
    for (const auto& ends : region.intersection)
        for (const Vector& end : ends)
            for (const double number : end) segments.lines.push_back(static_cast<float>(number));
    scene.segments.push_back(segments);
}

view::Status ToStatus(Verdict verdict)
{
    switch (verdict) {
    case Verdict::kClear:
        return view::Status::kClear;
    case Verdict::kContact:
    case Verdict::kInside:
        return view::Status::kHit;
    default:
        return view::Status::kUndecided;
    }
}

void AddSummary(const Request& request, const Report& report, view::Scene& scene)
{
    const std::string unit = std::string(" ") + Name(request.unit);
    for (std::size_t i = 0; i < 2; ++i) {
        const Solid& solid = report.solids[i];
        scene.summary.emplace_back(std::string("AB").substr(i, 1),
                                   solid.name + ", " + std::to_string(solid.info.triangles) +
                                       " triangles" + (solid.info.closed ? "" : ", not closed"));
    }
    scene.summary.emplace_back("Tolerance", Format(report.answer.tolerance) + unit);
    if (report.answer.region)
        scene.summary.emplace_back("Pairs of triangles in contact",
                                   (report.answer.region->complete ? "" : "at least ") +
                                       std::to_string(report.answer.region->pairs));
    if (report.calls) scene.summary.emplace_back("Fifteen calls", CallsText(*report.calls));
    for (const std::string& warning : report.warnings)
        scene.summary.emplace_back("Warning", warning);
}

} // namespace

view::Scene MakeScene(const Request& request, const Report& report,
                      void (*progress)(std::size_t, std::size_t))
{
    const Answer& answer = report.answer;
    const std::size_t stepCount = answer.moving ? StepsOfTheWay(request) + 1 : 1;
    view::Scene scene;
    scene.title = report.solids[0].name + " and " + report.solids[1].name;
    scene.unit = Name(request.unit);
    scene.status = ToStatus(answer.verdict);
    scene.verdict = VerdictLine(request, answer);
    AddSummary(request, report, scene);
    for (std::size_t i = 0; i < 2; ++i) {
        scene.meshes.push_back(ToMesh(report.solids[i]));
        scene.bodies.push_back(ToBody(request, report, i, stepCount));
    }
    for (std::size_t i = 0; i < stepCount; ++i)
        scene.steps.push_back(
            {answer.moving ? Format(100 * double(i) / double(stepCount - 1)) + " % of the way" : "",
             {},
             {}});
    AddMark(request, answer, stepCount, scene);
    if (answer.region) AddIntersection(*answer.region, scene);
    if (answer.moving)
        scene.plot = view::Plot{"Distance of the surfaces", Name(request.unit),
                                DistancesOnTheWay(request, report.solids, stepCount, progress),
                                request.tolerance};
    return scene;
}

} // namespace pair
