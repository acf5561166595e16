// Poses, motions and the questions about two bodies: one at a time, or arrays of them.
#include <algorithm>
#include <memory>

#include "native.h"
#include "numbers.h"

namespace
{

PyObject* PoseCheck(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 1);
    double pose[kPoseNumbers];
    if (!arguments.Doubles(pose, kPoseNumbers)) return nullptr;
    if (const int code = scapi_pose_check(pose)) return Fail(code);
    Py_RETURN_NONE;
}

/// Checks an array of poses.
PyObject* PosesCheck(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 1);
    Buffer poses;
    if (!arguments.Read(poses, sizeof(double) * kPoseNumbers)) return nullptr;
    const auto* numbers = static_cast<const double*>(poses.Data());
    const Py_ssize_t n = poses.Size() / Py_ssize_t(sizeof(double) * kPoseNumbers);
    for (Py_ssize_t i = 0; i < n; ++i)
        if (const int code = scapi_pose_check(numbers + i * kPoseNumbers))
            return Fail(code, "pose", i);
    Py_RETURN_NONE;
}

/// Motions from start to end poses, with one pivot: fills an array of motions.
PyObject* MotionsBetween(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 4);
    Numbers<kPoseNumbers> starts, ends;
    double pivot[3];
    Buffer out;
    starts.Read(arguments), ends.Read(arguments);
    arguments.Doubles(pivot, 3);
    if (!arguments.Write(out, sizeof(scapi_motion))) return nullptr;
    const Py_ssize_t n = out.Size() / Py_ssize_t(sizeof(scapi_motion));
    if (!starts.Fit(n) || !ends.Fit(n)) return nullptr;
    auto* motions = static_cast<scapi_motion*>(out.Data());
    for (Py_ssize_t i = 0; i < n; ++i)
        if (const int code = scapi_motion_between(starts.At(i), ends.At(i), pivot, &motions[i]))
            return Fail(code, n == 1 ? nullptr : "motion", i);
    Py_RETURN_NONE;
}

/// The pose of a motion at a time, as bytes.
PyObject* MotionPose(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 2);
    scapi_motion motion;
    arguments.Doubles(AsNumbers(motion), kMotionNumbers);
    const double time = arguments.Number();
    if (arguments.Failed()) return nullptr;
    double pose[kPoseNumbers];
    if (const int code = scapi_motion_pose(&motion, time, pose)) return Fail(code);
    return PyBytes_FromStringAndSize(reinterpret_cast<const char*>(pose), sizeof pose);
}

PyObject* QueryCreate(PyObject*, Args args, Py_ssize_t count)
{
    if (Arguments(args, count, 0).Failed()) return nullptr;
    scapi_query* query = nullptr;
    if (const int code = scapi_query_create(&query)) return Fail(code);
    return Own(query);
}

/// A tuple of new references, which it takes; null when one of them is.
template <class... Objects>
PyObject* Tuple(Objects*... objects)
{
    PyObject* const items[] = {objects...};
    PyObject* tuple = std::find(std::begin(items), std::end(items), nullptr) == std::end(items)
                          ? PyTuple_New(sizeof...(objects))
                          : nullptr;
    Py_ssize_t i = 0;
    for (PyObject* item : items)
        if (tuple)
            PyTuple_SetItem(tuple, i++, item);
        else
            Py_XDECREF(item);
    return tuple;
}

PyObject* NewReference(PyObject* object)
{
    Py_XINCREF(object);
    return object;
}

PyObject* AsTuple(const scapi_result& result)
{
    return Tuple(NewReference(Verdict(result.verdict)), NewReference(Relation(result.relation)),
                 PyFloat_FromDouble(result.lower), PyFloat_FromDouble(result.upper),
                 Point(result.point_a), Point(result.point_b), PyLong_FromLong(result.triangle_a),
                 PyLong_FromLong(result.triangle_b), PyLong_FromLongLong(result.tests));
}

PyObject* AsTuple(const scapi_impact& impact)
{
    return Tuple(NewReference(Verdict(impact.verdict)), NewReference(Relation(impact.relation)),
                 PyFloat_FromDouble(impact.t_clear), PyFloat_FromDouble(impact.t_contact),
                 PyFloat_FromDouble(impact.lower), PyFloat_FromDouble(impact.upper),
                 Point(impact.point_a), Point(impact.point_b), Point(impact.normal),
                 PyFloat_FromDouble(impact.clearance), PyLong_FromLong(impact.triangle_a),
                 PyLong_FromLong(impact.triangle_b), PyLong_FromLongLong(impact.tests));
}

/// Where two bodies are, for one question: poses, or motions.
template <int count>
struct Place {
    double a[count], b[count];
};

int Within(scapi_query* query, const scapi_mesh* a, const scapi_mesh* b,
           const Place<kPoseNumbers>& place, const scapi_options& options, scapi_result* result)
{
    return scapi_within(query, a, place.a, b, place.b, &options, result);
}

int Distance(scapi_query* query, const scapi_mesh* a, const scapi_mesh* b,
             const Place<kPoseNumbers>& place, const scapi_options& options, scapi_result* result)
{
    return scapi_distance(query, a, place.a, b, place.b, &options, result);
}

int TimeOfImpact(scapi_query* query, const scapi_mesh* a, const scapi_mesh* b,
                 const Place<kMotionNumbers>& place, const scapi_options& options,
                 scapi_impact* result)
{
    scapi_motion motionA, motionB;
    std::copy_n(place.a, kMotionNumbers, AsNumbers(motionA));
    std::copy_n(place.b, kMotionNumbers, AsNumbers(motionB));
    return scapi_time_of_impact(query, a, &motionA, b, &motionB, &options, result);
}

template <int numbers, class Result>
using Question = int (*)(scapi_query*, const scapi_mesh*, const scapi_mesh*, const Place<numbers>&,
                         const scapi_options&, Result*);

/// query, a, place of a, b, place of b, options -> fields of the result
template <int numbers, class Result, Question<numbers, Result> ask>
PyObject* One(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 10);
    Place<numbers> place;
    scapi_query* query = arguments.Query();
    const scapi_mesh* a = arguments.Mesh();
    arguments.Doubles(place.a, numbers);
    const scapi_mesh* b = arguments.Mesh();
    arguments.Doubles(place.b, numbers);
    const scapi_options options = arguments.Options();
    if (arguments.Failed()) return nullptr;
    Result result;
    int code = SCAPI_OK;
    {
        Unlocked unlocked;
        code = ask(query, a, b, place, options, &result);
    }
    return code ? Fail(code) : AsTuple(result);
}

/// Whether it is a pose or a motion, and not all of a call, that is wrong.
bool IsOfPlace(int code)
{
    return SCAPI_ERROR_HALF_TURN <= code && code <= SCAPI_ERROR_POSE_NUMBER;
}

/// a, places of a, b, places of b, options, progress, results: fills an array of results. A query
/// of its own makes them independent of what the thread asked before.
template <int numbers, class Result, Question<numbers, Result> ask>
PyObject* Many(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 11);
    Numbers<numbers> placesA, placesB;
    Buffer out;
    const scapi_mesh* a = arguments.Mesh();
    placesA.Read(arguments);
    const scapi_mesh* b = arguments.Mesh();
    placesB.Read(arguments);
    const scapi_options options = arguments.Options();
    PyObject* progress = arguments.Object();
    if (!arguments.Write(out, sizeof(Result))) return nullptr;
    const Py_ssize_t n = out.Size() / Py_ssize_t(sizeof(Result));
    if (!placesA.Fit(n) || !placesB.Fit(n)) return nullptr;

    scapi_query* created = nullptr;
    if (const int code = scapi_query_create(&created)) return Fail(code);
    const std::unique_ptr<scapi_query, decltype(&scapi_query_destroy)> query(created,
                                                                             scapi_query_destroy);
    auto* results = static_cast<Result*>(out.Data());
    int code = SCAPI_OK;
    bool goOn = true;
    Py_ssize_t done = 0;
    {
        Unlocked unlocked;
        Ticker ticker(progress);
        for (; done < n && goOn && !code; ++done) {
            goOn = ticker.Tick(done, n);
            // Copied: another thread may write to the array of the caller meanwhile.
            Place<numbers> place;
            placesA.Copy(done, place.a), placesB.Copy(done, place.b);
            if (goOn) code = ask(query.get(), a, b, place, options, &results[done]);
        }
        if (goOn && !code) goOn = ticker.Last(n);
    }
    if (!goOn) return nullptr;
    if (code && !IsOfPlace(code)) return Fail(code);
    if (code) return Fail(code, numbers == kPoseNumbers ? "pose" : "motion", done - 1);
    Py_RETURN_NONE;
}

/// query, a, pose of a, b, pose of b, options, limit -> (verdict, relation, count, truncated,
/// exhausted, tests, records)
PyObject* Contacts(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 11);
    Place<kPoseNumbers> place;
    scapi_query* query = arguments.Query();
    const scapi_mesh* a = arguments.Mesh();
    arguments.Doubles(place.a, kPoseNumbers);
    const scapi_mesh* b = arguments.Mesh();
    arguments.Doubles(place.b, kPoseNumbers);
    const scapi_options options = arguments.Options();
    const std::int64_t limit = arguments.Integer();
    if (arguments.Failed()) return nullptr;
    scapi_contacts_result result{};
    std::unique_ptr<scapi_contact[]> contacts;
    // Most answers fit the first time; else their count is known for the second.
    for (std::int64_t capacity = std::min<std::int64_t>(limit, 256);;) {
        contacts = Room<scapi_contact>(capacity);
        if (!contacts) return PyErr_NoMemory();
        int code = SCAPI_OK;
        {
            Unlocked unlocked;
            code = scapi_contacts(query, a, place.a, b, place.b, &options, contacts.get(), capacity,
                                  &result);
        }
        if (code) return Fail(code);
        const std::int64_t wanted = std::min(result.count, limit);
        if (wanted <= capacity) break;
        capacity = wanted;
    }
    return Tuple(NewReference(Verdict(result.verdict)), NewReference(Relation(result.relation)),
                 PyLong_FromLongLong(result.count), PyBool_FromLong(result.truncated),
                 PyBool_FromLong(result.exhausted), PyLong_FromLongLong(result.tests),
                 PyByteArray_FromStringAndSize(reinterpret_cast<const char*>(contacts.get()),
                                               Py_ssize_t(sizeof(scapi_contact)) *
                                                   Py_ssize_t(result.stored)));
}

} // namespace

PyMethodDef kMotionFunctions[] = {Entry<PoseCheck>("pose_check"),
                                  Entry<PosesCheck>("poses_check"),
                                  Entry<MotionsBetween>("motions_between"),
                                  Entry<MotionPose>("motion_pose"),
                                  {}};

PyMethodDef kQueryFunctions[] = {
    Entry<QueryCreate>("query_create"),
    Entry<One<kPoseNumbers, scapi_result, Within>>("within"),
    Entry<One<kPoseNumbers, scapi_result, Distance>>("distance"),
    Entry<One<kMotionNumbers, scapi_impact, TimeOfImpact>>("time_of_impact"),
    Entry<Many<kPoseNumbers, scapi_result, Within>>("within_many"),
    Entry<Many<kPoseNumbers, scapi_result, Distance>>("distance_many"),
    Entry<Many<kMotionNumbers, scapi_impact, TimeOfImpact>>("time_of_impact_many"),
    Entry<Contacts>("contacts"),
    {}};
