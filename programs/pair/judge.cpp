#include "judge.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

namespace pair
{
namespace
{

constexpr std::int64_t kDefaultBudget = 50'000'000;
constexpr std::size_t kContactRoom = 20'000;

struct QueryDestroy {
    void operator()(scapi_query* query) const { scapi_query_destroy(query); }
};

using QueryOwner = std::unique_ptr<scapi_query, QueryDestroy>;

/// What every call to the library needs.
struct Question {
    const Request& request;
    const scapi_mesh* a;
    const scapi_mesh* b;
    QueryOwner query;

    Question(const Request& asked, const std::array<Solid, 2>& solids)
        : request(asked), a(solids[0].mesh.get()), b(solids[1].mesh.get())
    {
        scapi_query* made = nullptr;
        scapi_query_create(&made);
        query.reset(made);
    }
};

scapi_options Options(const Request& request)
{
    scapi_options options{};
    options.size = sizeof options;
    options.flags = SCAPI_WANT_RELATION;
    if (request.surfaces) options.flags |= SCAPI_SURFACES_ONLY;
    options.tolerance = request.tolerance;
    options.budget = request.budget;
    return options;
}

Vector ToVector(const double* numbers) { return {numbers[0], numbers[1], numbers[2]}; }

std::string WhyUndecided(const Request& request, const std::array<Solid, 2>& solids, int relation,
                         std::int64_t tests)
{
    const std::int64_t budget = request.budget > 0 ? request.budget : kDefaultBudget;
    if (tests >= budget)
        return "the budget of " + std::to_string(budget) + " tests ran out: give more by --budget";
    for (std::size_t i = 0; i < 2; ++i)
        if (relation == SCAPI_UNKNOWN && !solids[i].info.closed)
            return std::string("AB").substr(i, 1) +
                   " is not closed, so that it has no inside to be told from outside: repair the "
                   "mesh, or judge the surfaces alone by --surfaces";
    return "the distance is too near the tolerance to be told from it by rounded arithmetic: "
           "choose "
           "a tolerance a little smaller or larger";
}

Verdict FromLibrary(int verdict)
{
    switch (verdict) {
    case SCAPI_CLEAR:
        return Verdict::kClear;
    case SCAPI_CONTACT:
    case SCAPI_START_CONTACT:
        return Verdict::kContact;
    case SCAPI_INSIDE:
        return Verdict::kInside;
    default:
        return Verdict::kUndecided;
    }
}

void Extend(ContactRegion& region, bool first, const double* point)
{
    for (std::size_t axis = 0; axis < 3; ++axis) {
        region.low[axis] = first ? point[axis] : std::min(region.low[axis], point[axis]);
        region.high[axis] = first ? point[axis] : std::max(region.high[axis], point[axis]);
    }
}

/// All contacts of the placed solids, and their relation.
int FindRegion(const Question& question, const double* poseA, const double* poseB,
               ContactRegion& region, int& relation)
{
    std::vector<scapi_contact> contacts(kContactRoom);
    const scapi_options options = Options(question.request);
    scapi_contacts_result result;
    const int code =
        scapi_contacts(question.query.get(), question.a, poseA, question.b, poseB, &options,
                       contacts.data(), std::int64_t(contacts.size()), &result);
    if (code != SCAPI_OK) return code;
    contacts.resize(static_cast<std::size_t>(result.stored));
    // The other calls stop at the first contact, which may be a mere touch of solids that cross.
    relation = result.relation;
    region.pairs = result.count;
    region.complete = !result.truncated && !result.exhausted;
    bool first = true;
    for (const scapi_contact& contact : contacts) {
        for (const auto& end : contact.segment) Extend(region, first, end), first = false;
        if (contact.kind == SCAPI_KIND_CROSSING)
            region.intersection.push_back(
                {ToVector(contact.segment[0]), ToVector(contact.segment[1])});
    }
    return SCAPI_OK;
}

int JudgeAtRest(const Question& question, const std::array<Solid, 2>& solids, Answer& answer)
{
    const scapi_options options = Options(question.request);
    const double* poseA = question.request.motions[0].start;
    const double* poseB = question.request.motions[1].start;
    scapi_result result;
    const int code = scapi_distance(question.query.get(), question.a, poseA, question.b, poseB,
                                    &options, &result);
    if (code != SCAPI_OK) return code;
    answer.verdict = FromLibrary(result.verdict);
    answer.relation = result.relation;
    answer.atLeast = result.lower;
    answer.nearest = result.upper;
    answer.triangles = {result.triangle_a, result.triangle_b};
    if (std::isfinite(result.upper))
        answer.points = Nearest{ToVector(result.point_a), ToVector(result.point_b)};
    answer.contactTime = 0;
    if (answer.verdict == Verdict::kUndecided)
        answer.reason = WhyUndecided(question.request, solids, result.relation, result.tests);
    if (answer.verdict != Verdict::kContact) return SCAPI_OK;
    return FindRegion(question, poseA, poseB, answer.region.emplace(), answer.relation);
}

int AskForImpact(const Question& question, double tolerance, double resolution,
                 scapi_impact& impact)
{
    scapi_options options = Options(question.request);
    options.tolerance = tolerance;
    options.resolution = resolution;
    return scapi_time_of_impact(question.query.get(), question.a, &question.request.motions[0],
                                question.b, &question.request.motions[1], &options, &impact);
}

/// A clear motion was shown to be farther away than the tolerance. Narrows the least distance down
/// to two thousandths: with a larger tolerance the motion is either still clear, which raises the
/// bound from below, or meets it, which lowers the one from above.
int NarrowClearance(const Question& question, Answer& answer)
{
    constexpr double kPrecision = 0.002;
    for (int attempt = 0; attempt < 16 && std::isfinite(answer.nearest); ++attempt) {
        const double gap = answer.nearest - answer.atLeast;
        if (!(gap > kPrecision * answer.nearest)) break;
        const double tolerance =
            attempt == 0 ? (1 - kPrecision) * answer.nearest : answer.atLeast + gap / 2;
        scapi_impact impact;
        const int code = AskForImpact(question, tolerance, gap / 64, impact);
        if (code != SCAPI_OK) return code;
        if (impact.verdict == SCAPI_CLEAR)
            answer.atLeast = tolerance;
        else if (impact.verdict == SCAPI_CONTACT || impact.verdict == SCAPI_START_CONTACT)
            answer.nearest = std::min({answer.nearest, impact.upper, impact.clearance});
        else
            break;
    }
    return SCAPI_OK;
}

int JudgeMotion(const Question& question, const std::array<Solid, 2>& solids, Answer& answer)
{
    scapi_impact impact;
    int code = AskForImpact(question, question.request.tolerance, 0, impact);
    if (code != SCAPI_OK) return code;
    answer.verdict = FromLibrary(impact.verdict);
    answer.relation = impact.relation;
    // Surfaces apart are not clear where one body may be inside the other.
    answer.clearUntil = impact.relation == SCAPI_UNKNOWN ? 0 : impact.t_clear;
    answer.contactTime = impact.t_contact;
    answer.nearest = impact.clearance;
    if (answer.verdict == Verdict::kUndecided)
        answer.reason = WhyUndecided(question.request, solids, impact.relation, impact.tests);
    if (answer.verdict == Verdict::kClear) {
        answer.atLeast = question.request.tolerance;
        return NarrowClearance(question, answer);
    }
    if (answer.verdict != Verdict::kContact) return SCAPI_OK;
    answer.atLeast = impact.lower;
    answer.nearest = impact.upper;
    answer.triangles = {impact.triangle_a, impact.triangle_b};
    answer.points = Nearest{ToVector(impact.point_a), ToVector(impact.point_b)};
    answer.normal = ToVector(impact.normal);
    if (impact.verdict != SCAPI_START_CONTACT) return SCAPI_OK;
    return FindRegion(question, question.request.motions[0].start,
                      question.request.motions[1].start, answer.region.emplace(), answer.relation);
}

} // namespace

std::string Judge(const Request& request, const std::array<Solid, 2>& solids, Answer& answer)
{
    const Question question(request, solids);
    answer = {};
    answer.moving = request.moves[0] || request.moves[1];
    answer.tolerance = request.tolerance;
    int code = SCAPI_ERROR_MEMORY;
    if (question.query)
        code = answer.moving ? JudgeMotion(question, solids, answer)
                             : JudgeAtRest(question, solids, answer);
    answer.whole = solids[answer.relation == SCAPI_A_IN_B ? 0 : 1].info.shells == 1;
    return code == SCAPI_OK ? std::string() : scapi_error_text(code);
}

std::vector<double> DistancesOnTheWay(const Request& request, const std::array<Solid, 2>& solids,
                                      std::size_t count, void (*progress)(std::size_t, std::size_t))
{
    const Question question(request, solids);
    const scapi_options options = Options(request);
    std::vector<double> distances(count, std::numeric_limits<double>::quiet_NaN());
    for (std::size_t i = 0; question.query && i < count; ++i) {
        const double time = count > 1 ? double(i) / double(count - 1) : 0;
        double poseA[12], poseB[12];
        scapi_motion_pose(&request.motions[0], time, poseA);
        scapi_motion_pose(&request.motions[1], time, poseB);
        scapi_result result;
        if (scapi_distance(question.query.get(), question.a, poseA, question.b, poseB, &options,
                           &result) == SCAPI_OK &&
            std::isfinite(result.upper))
            distances[i] = result.upper;
        progress(i + 1, count);
    }
    return distances;
}

} // namespace pair
