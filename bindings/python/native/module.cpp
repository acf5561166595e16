#include <algorithm>

#include "native.h"

namespace
{

// Set once, by the package when it is imported.
PyObject* errorFactory;
PyObject* verdicts;
PyObject* relations;

template <class T, void (*destroy)(T*)>
PyObject* Capsule(T* handle, const char* kind)
{
    PyObject* capsule = PyCapsule_New(handle, kind, [](PyObject* self) {
        destroy(static_cast<T*>(PyCapsule_GetPointer(self, PyCapsule_GetName(self))));
    });
    if (!capsule) destroy(handle);
    return capsule;
}

PyObject* ErrorText(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 1);
    const int code = arguments.Int();
    return arguments.Failed() ? nullptr : PyUnicode_FromString(scapi_error_text(code));
}

/// The package's (code, what, number) -> exception, and the members of Verdict and Relation.
PyObject* Register(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 3);
    if (arguments.Failed()) return nullptr;
    PyObject** const places[] = {&errorFactory, &verdicts, &relations};
    for (PyObject** place : places) {
        PyObject* object = arguments.Object();
        Py_INCREF(object);
        Py_XDECREF(*place);
        *place = object;
    }
    Py_RETURN_NONE;
}

PyMethodDef kModuleFunctions[] = {Entry<ErrorText>("error_text"), Entry<Register>("register"), {}};

PyModuleDef kModule = {
    PyModuleDef_HEAD_INIT, "scapi._native", nullptr, -1, kModuleFunctions, {}, {}, {}, {}};

} // namespace

PyObject* Fail(int code, const char* what, std::int64_t number)
{
    PyObject* error =
        PyObject_CallFunction(errorFactory, "izL", code, what, static_cast<long long>(number));
    if (!error) return nullptr;
    PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(error)), error);
    Py_DECREF(error);
    return nullptr;
}

PyObject* Verdict(int number) { return PyTuple_GetItem(verdicts, number); }
PyObject* Relation(int number) { return PyTuple_GetItem(relations, number); }

PyObject* Point(const double* point)
{
    PyObject* tuple = PyTuple_New(3);
    for (int axis = 0; tuple && axis < 3; ++axis) {
        PyObject* number = PyFloat_FromDouble(point[axis]);
        if (!number || PyTuple_SetItem(tuple, axis, number)) Py_CLEAR(tuple);
    }
    return tuple;
}

PyObject* Own(scapi_mesh* mesh) { return Capsule<scapi_mesh, scapi_mesh_release>(mesh, "mesh"); }

PyObject* Own(scapi_query* query)
{
    return Capsule<scapi_query, scapi_query_destroy>(query, "query");
}

PyObject* Own(scapi_scene* scene)
{
    return Capsule<scapi_scene, scapi_scene_destroy>(scene, "scene");
}

bool Buffer::Take(PyObject* object, bool writable)
{
    return PyObject_GetBuffer(object, &view_, writable ? PyBUF_CONTIG : PyBUF_CONTIG_RO) == 0;
}

Arguments::Arguments(Args first, Py_ssize_t count, Py_ssize_t wanted)
    : next_(first), failed_(count != wanted)
{
    if (failed_) PyErr_Format(PyExc_TypeError, "%zd arguments instead of %zd", count, wanted);
}

PyObject* Arguments::Object() { return failed_ ? nullptr : *next_++; }

double Arguments::Number()
{
    if (failed_) return 0;
    const double number = PyFloat_AsDouble(*next_++);
    failed_ = number == -1 && PyErr_Occurred();
    return number;
}

std::int64_t Arguments::Integer()
{
    if (failed_) return 0;
    const long long number = PyLong_AsLongLong(*next_++);
    failed_ = number == -1 && PyErr_Occurred();
    return number;
}

int Arguments::Int()
{
    const std::int64_t number = Integer();
    if (!failed_ && number != int(number)) {
        failed_ = true;
        PyErr_SetString(PyExc_OverflowError, "the integer is too large");
    }
    return failed_ ? 0 : int(number);
}

bool Arguments::Doubles(double* out, int count)
{
    if (failed_) return false;
    char* bytes = nullptr;
    Py_ssize_t size = 0;
    failed_ = PyBytes_AsStringAndSize(*next_++, &bytes, &size) != 0;
    if (failed_) return false;
    failed_ = size != Py_ssize_t(sizeof(double)) * count;
    if (failed_) return PyErr_SetString(PyExc_ValueError, "wrong number of doubles"), false;
    std::copy_n(bytes, size, reinterpret_cast<char*>(out));
    return true;
}

bool Arguments::Take(Buffer& buffer, Py_ssize_t elementSize, bool writable)
{
    if (failed_) return false;
    failed_ = !buffer.Take(*next_++, writable);
    if (failed_) return false;
    failed_ = buffer.Size() % elementSize != 0;
    if (failed_) PyErr_SetString(PyExc_ValueError, "wrong size of a buffer");
    return !failed_;
}

bool Arguments::Read(Buffer& buffer, Py_ssize_t size) { return Take(buffer, size, false); }
bool Arguments::Write(Buffer& buffer, Py_ssize_t size) { return Take(buffer, size, true); }

void* Arguments::Handle(const char* kind)
{
    if (failed_) return nullptr;
    void* handle = PyCapsule_GetPointer(*next_++, kind);
    failed_ = !handle;
    return handle;
}

scapi_options Arguments::Options()
{
    scapi_options options{};
    options.size = sizeof options;
    options.flags = std::uint32_t(Int());
    options.tolerance = Number();
    options.resolution = Number();
    options.upper_bound = Number();
    options.budget = Integer();
    return options;
}

bool Ticker::Tick(std::int64_t done, std::int64_t of)
{
    const auto now = std::chrono::steady_clock::now();
    if (now < next_) return true;
    next_ = now + std::chrono::milliseconds(100);
    return Report(done, of);
}

bool Ticker::Report(std::int64_t done, std::int64_t of)
{
    const PyGILState_STATE state = PyGILState_Ensure();
    bool goOn = PyErr_CheckSignals() == 0;
    if (goOn && progress_) {
        PyObject* answer = PyObject_CallFunction(progress_, "LL", static_cast<long long>(done),
                                                 static_cast<long long>(of));
        goOn = answer != nullptr;
        Py_XDECREF(answer);
    }
    PyGILState_Release(state);
    return goOn;
}

PyMODINIT_FUNC PyInit__native()
{
    PyObject* module = PyModule_Create(&kModule);
    for (PyMethodDef* table :
         {kMeshFunctions, kMotionFunctions, kQueryFunctions, kSceneFunctions, kClassicFunctions})
        if (module && PyModule_AddFunctions(module, table)) Py_CLEAR(module);
    if (module && PyModule_AddStringConstant(module, "VERSION", SCAPI_VERSION)) Py_CLEAR(module);
    return module;
}
