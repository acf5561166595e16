#include <memory>

#include "proximity/api/handles.h"
#include "proximity/api/options.h"
#include "proximity/query/answers.h"

using namespace proximity;

namespace
{

/// Checks what the calls on two placed bodies share, then lets answer(limits) fill the result. A
/// failure leaves zeros, whose verdict is INDETERMINATE.
template <class Pose, class Check, class Result, class Answer>
int Ask(const scapi_query* query, const scapi_mesh* a, const Pose* poseA, const scapi_mesh* b,
        const Pose* poseB, const scapi_options* options, Check check, Result* result, Answer answer)
{
    if (!result) return SCAPI_ERROR_NULL;
    *result = {};
    if (!query || !a || !b || !poseA || !poseB) return SCAPI_ERROR_NULL;
    Limits limits;
    if (const int code = ReadLimits(options, limits); code != SCAPI_OK) return code;
    if (const int code = check(poseA); code != SCAPI_OK) return code;
    if (const int code = check(poseB); code != SCAPI_OK) return code;
    return Guard([&]() -> int {
        *result = answer(limits);
        return SCAPI_OK;
    });
}

int CheckMotionAt(const scapi_motion* motion) { return CheckMotion(*motion); }

} // namespace

extern "C" {

int scapi_query_create(scapi_query** out)
{
    if (!out) return SCAPI_ERROR_NULL;
    *out = nullptr;
    return Guard([&]() -> int {
        *out = new scapi_query;
        return SCAPI_OK;
    });
}

void scapi_query_destroy(scapi_query* query) { delete query; }

int scapi_pose_check(const double pose[12])
{
    return pose ? CheckPose(pose) : int(SCAPI_ERROR_NULL);
}

int scapi_motion_between(const double start[12], const double end[12], const double pivot[3],
                         scapi_motion* motion)
{
    if (!motion) return SCAPI_ERROR_NULL;
    *motion = {};
    if (!start || !end) return SCAPI_ERROR_NULL;
    if (const int code = CheckPose(start); code != SCAPI_OK) return code;
    if (const int code = CheckPose(end); code != SCAPI_OK) return code;
    for (int axis = 0; pivot && axis < 3; ++axis)
        if (!IsGoodCoordinate(pivot[axis])) return SCAPI_ERROR_POSE_NUMBER;
    return MotionBetween(start, end, pivot, *motion);
}

int scapi_motion_pose(const scapi_motion* motion, double time, double pose[12])
{
    if (!motion || !pose) return SCAPI_ERROR_NULL;
    std::fill_n(pose, 12, 0.0);
    if (const int code = CheckMotion(*motion); code != SCAPI_OK) return code;
    if (!(0 <= time && time <= 1)) return SCAPI_ERROR_POSE_NUMBER;
    PoseAt(*motion, time, pose);
    return SCAPI_OK;
}

int scapi_within(scapi_query* query, const scapi_mesh* a, const double pose_a[12],
                 const scapi_mesh* b, const double pose_b[12], const scapi_options* options,
                 scapi_result* result)
{
    return Ask(query, a, pose_a, b, pose_b, options, CheckPose, result, [&](const Limits& limits) {
        return AnswerWithin(a->body, pose_a, b->body, pose_b, limits, query->scratch);
    });
}

int scapi_distance(scapi_query* query, const scapi_mesh* a, const double pose_a[12],
                   const scapi_mesh* b, const double pose_b[12], const scapi_options* options,
                   scapi_result* result)
{
    return Ask(query, a, pose_a, b, pose_b, options, CheckPose, result, [&](const Limits& limits) {
        return AnswerDistance(a->body, pose_a, b->body, pose_b, limits, query->scratch);
    });
}

int scapi_contacts(scapi_query* query, const scapi_mesh* a, const double pose_a[12],
                   const scapi_mesh* b, const double pose_b[12], const scapi_options* options,
                   scapi_contact* contacts, std::int64_t capacity, scapi_contacts_result* result)
{
    if (result) *result = {};
    if (capacity < 0) return SCAPI_ERROR_INDEX;
    if (capacity > 0 && !contacts) return SCAPI_ERROR_NULL;
    return Ask(query, a, pose_a, b, pose_b, options, CheckPose, result, [&](const Limits& limits) {
        return AnswerContacts(a->body, pose_a, b->body, pose_b, limits, query->scratch, contacts,
                              capacity);
    });
}

int scapi_time_of_impact(scapi_query* query, const scapi_mesh* a, const scapi_motion* motion_a,
                         const scapi_mesh* b, const scapi_motion* motion_b,
                         const scapi_options* options, scapi_impact* result)
{
    return Ask(
        query, a, motion_a, b, motion_b, options, CheckMotionAt, result, [&](const Limits& limits) {
            return AnswerImpact(a->body, *motion_a, b->body, *motion_b, limits, query->scratch);
        });
}

} // extern "C"
