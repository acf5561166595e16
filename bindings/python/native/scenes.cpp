// Scenes. The package sees to it that one thread at a time uses a scene.
#include <memory>

#include "native.h"
#include "numbers.h"

namespace
{

PyObject* Done(int code)
{
    if (code) return Fail(code);
    Py_RETURN_NONE;
}

PyObject* Create(PyObject*, Args args, Py_ssize_t count)
{
    if (Arguments(args, count, 0).Failed()) return nullptr;
    scapi_scene* scene = nullptr;
    if (const int code = scapi_scene_create(&scene)) return Fail(code);
    return Own(scene);
}

PyObject* Add(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 3);
    scapi_scene* scene = arguments.Scene();
    scapi_mesh* mesh = arguments.Mesh();
    const int group = arguments.Int();
    if (arguments.Failed()) return nullptr;
    const int body = scapi_scene_add(scene, mesh, group);
    return body < 0 ? Fail(body) : PyLong_FromLong(body);
}

PyObject* Place(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 3);
    scapi_scene* scene = arguments.Scene();
    const int body = arguments.Int();
    double pose[kPoseNumbers];
    if (!arguments.Doubles(pose, kPoseNumbers)) return nullptr;
    return Done(scapi_scene_place(scene, body, pose));
}

PyObject* Move(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 3);
    scapi_scene* scene = arguments.Scene();
    const int body = arguments.Int();
    scapi_motion motion;
    if (!arguments.Doubles(AsNumbers(motion), kMotionNumbers)) return nullptr;
    return Done(scapi_scene_move(scene, body, &motion));
}

PyObject* Ignore(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 3);
    scapi_scene* scene = arguments.Scene();
    const int a = arguments.Int(), b = arguments.Int();
    return arguments.Failed() ? nullptr : Done(scapi_scene_ignore(scene, a, b));
}

int Report(void* user, std::int64_t done, std::int64_t of)
{
    return static_cast<Ticker*>(user)->Tick(done, of) ? 0 : 1;
}

/// scene, options, limit, progress -> (verdict, truncated, pairs, examined, count, records)
PyObject* Check(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 8);
    scapi_scene* scene = arguments.Scene();
    const scapi_options options = arguments.Options();
    const std::int64_t limit = arguments.Integer();
    PyObject* progress = arguments.Object();
    if (arguments.Failed()) return nullptr;
    // Not the query of the thread: the progress callback may ask questions with that one.
    scapi_query* created = nullptr;
    if (const int code = scapi_query_create(&created)) return Fail(code);
    const std::unique_ptr<scapi_query, decltype(&scapi_query_destroy)> query(created,
                                                                             scapi_query_destroy);
    const auto pairs = Room<scapi_pair>(limit);
    if (!pairs) return PyErr_NoMemory();
    scapi_scene_result result{};
    int code = SCAPI_OK;
    {
        Unlocked unlocked;
        Ticker ticker(progress);
        code = scapi_scene_check(scene, query.get(), &options, pairs.get(), limit, Report, &ticker,
                                 &result);
        if (!code && !ticker.Last(result.examined)) code = SCAPI_ERROR_CANCELLED;
    }
    // Ctrl-C, or what the progress callback raised.
    if (code == SCAPI_ERROR_CANCELLED && PyErr_Occurred()) return nullptr;
    if (code) return Fail(code);
    return Py_BuildValue(
        "OOLLLN", Verdict(result.verdict), result.truncated ? Py_True : Py_False,
        static_cast<long long>(result.pairs), static_cast<long long>(result.examined),
        static_cast<long long>(result.count),
        PyByteArray_FromStringAndSize(reinterpret_cast<const char*>(pairs.get()),
                                      Py_ssize_t(sizeof(scapi_pair)) * Py_ssize_t(result.stored)));
}

} // namespace

PyMethodDef kSceneFunctions[] = {Entry<Create>("scene_create"),
                                 Entry<Add>("scene_add"),
                                 Entry<Place>("scene_place"),
                                 Entry<Move>("scene_move"),
                                 Entry<Ignore>("scene_ignore"),
                                 Entry<Check>("scene_check"),
                                 {}};
