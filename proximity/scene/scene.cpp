#include "proximity/scene/scene.h"

#include <map>

#include "proximity/query/answers.h"

namespace proximity
{
namespace
{

/// A box around everything that a body passes along its motion, in world coordinates.
struct SweptBox {
    double low[3], high[3];
};

/// The pivot goes straight; around it, no point leaves the ball about the axis that it starts in,
/// or for a body that doesn't turn, the box that it starts in. Room for rounding and for poses that
/// are not quite rigid is added (Lemma S1).
SweptBox SweptBoxOf(const SceneBody& body)
{
    const scapi_motion& motion = body.motion;
    const MovingPair moving = MakeMovingPair(*body.body, motion, *body.body, motion);
    const Placement start = PlaceAt(moving.a, 0);
    const Box whole = body.body->tree.BoxOf(kRoot);
    const double turned = body.body->reach + Length(moving.a.arm);
    const double room = 1e-5 * turned + 1e-12 * SumOfSizes(moving.origin) + moving.a.error;
    SweptBox swept;
    for (int i = 0; i < 3; ++i) {
        double middle, half;
        if (motion.angle != 0) {
            middle = moving.a.pivotStart[i], half = turned;
        } else {
            middle = start.center[i], half = 0;
            for (int j = 0; j < 3; ++j)
                half += std::fabs(start.rotation.row[i][j]) *
                        (std::fabs(double(whole.center[j])) + whole.half[j]);
        }
        middle += moving.origin[i];
        const double path = motion.path[i];
        swept.low[i] = middle - half - room + std::min(0.0, path);
        swept.high[i] = middle + half + room + std::max(0.0, path);
    }
    return swept;
}

/// Written so that a NaN makes them meet.
bool AreApart(const SweptBox& a, const SweptBox& b, double distance)
{
    for (int axis = 0; axis < 3; ++axis)
        if (a.low[axis] > b.high[axis] + distance || b.low[axis] > a.high[axis] + distance)
            return true;
    return false;
}

using BodyPair = std::pair<std::int32_t, std::int32_t>;

bool IsLeftOut(const Scene& scene, const BodyPair& pair)
{
    const auto group = [&](std::int32_t body) {
        return scene.bodies[static_cast<std::size_t>(body)].group;
    };
    return (group(pair.first) > 0 && group(pair.first) == group(pair.second)) ||
           scene.ignored.contains(pair);
}

/// Pairs whose boxes come near each other, by a sweep along x (Baraff 1992), in order.
std::vector<BodyPair> NearPairs(const Scene& scene, double distance)
{
    std::vector<SweptBox> boxes;
    for (const SceneBody& body : scene.bodies) boxes.push_back(SweptBoxOf(body));
    std::vector<std::int32_t> order(boxes.size()), open;
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = static_cast<std::int32_t>(i);
    const auto box = [&](std::int32_t i) -> const SweptBox& {
        return boxes[static_cast<std::size_t>(i)];
    };
    std::sort(order.begin(), order.end(), [&](std::int32_t i, std::int32_t j) {
        return box(i).low[0] != box(j).low[0] ? box(i).low[0] < box(j).low[0] : i < j;
    });
    std::vector<BodyPair> pairs;
    for (const std::int32_t next : order) {
        std::erase_if(open, [&](std::int32_t other) {
            return box(other).high[0] + distance < box(next).low[0];
        });
        for (const std::int32_t other : open) {
            const BodyPair pair{std::min(other, next), std::max(other, next)};
            if (!AreApart(box(other), box(next), distance) && !IsLeftOut(scene, pair))
                pairs.push_back(pair);
        }
        open.push_back(next);
    }
    std::sort(pairs.begin(), pairs.end());
    return pairs;
}

/// All pairs without those left out, without going through them.
std::int64_t CountPairs(const Scene& scene)
{
    const auto pairsOf = [](std::int64_t bodies) { return bodies * (bodies - 1) / 2; };
    std::map<std::int32_t, std::int64_t> groups;
    for (const SceneBody& body : scene.bodies)
        if (body.group > 0) ++groups[body.group];
    std::int64_t count = pairsOf(static_cast<std::int64_t>(scene.bodies.size()));
    for (const auto& [group, bodies] : groups) count -= pairsOf(bodies);
    for (const BodyPair& pair : scene.ignored) {
        const std::int32_t group = scene.bodies[static_cast<std::size_t>(pair.first)].group;
        const bool counted =
            group > 0 && group == scene.bodies[static_cast<std::size_t>(pair.second)].group;
        count -= pair.first != pair.second && !counted;
    }
    return count;
}

int Graver(int a, int b)
{
    constexpr auto rank = [](int verdict) {
        return verdict == SCAPI_CLEAR ? 0 : verdict == SCAPI_INDETERMINATE ? 1 : 2;
    };
    if (rank(a) != rank(b)) return rank(a) > rank(b) ? a : b;
    return rank(a) == 2 ? int(SCAPI_CONTACT) : a;
}

} // namespace

int CheckScene(const Scene& scene, const Limits& limits, Scratch& scratch, scapi_pair* pairs,
               std::int64_t capacity, scapi_progress progress, void* user,
               scapi_scene_result& result)
{
    const std::vector<BodyPair> near = NearPairs(scene, limits.tolerance);
    result.pairs = CountPairs(scene);
    int verdict = SCAPI_CLEAR;
    for (const auto& [i, j] : near) {
        if (progress &&
            progress(user, result.examined, static_cast<std::int64_t>(near.size())) != 0)
            return SCAPI_ERROR_CANCELLED;
        const SceneBody& a = scene.bodies[static_cast<std::size_t>(i)];
        const SceneBody& b = scene.bodies[static_cast<std::size_t>(j)];
        scratch.lastA = scratch.lastB = -1;
        const scapi_impact impact =
            AnswerImpact(*a.body, a.motion, *b.body, b.motion, limits, scratch);
        ++result.examined;
        verdict = Graver(verdict, impact.verdict);
        if (impact.verdict == SCAPI_CLEAR) continue;
        ++result.count;
        if (result.stored < capacity) pairs[result.stored++] = {i, j, impact};
    }
    result.truncated = result.stored < result.count;
    result.verdict = verdict;
    return SCAPI_OK;
}

} // namespace proximity
