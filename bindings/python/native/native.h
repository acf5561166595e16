// What the parts of the module share: arguments, buffers, handles, the lock of the interpreter.
//
// The package around this module is its only caller: it checks what users pass and documents it.
// What is checked here guards memory alone.
#ifndef SCAPI_PYTHON_NATIVE_H
#define SCAPI_PYTHON_NATIVE_H

// One module for Python 3.11 and all later ones.
#define Py_LIMITED_API 0x030B0000
#define PY_SSIZE_T_CLEAN
#include <Python.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

#include "scapi/proximity.h"

using Args = PyObject* const*;

/// Raises the exception of a code of the library. Returns null, for the caller to return.
/// @param what    null, or what `number` counts: "facet", "pose"
PyObject* Fail(int code, const char* what = nullptr, std::int64_t number = -1);

/// The members of the package's enumerations. Borrowed; null with an error set for a number that
/// has none.
PyObject* Verdict(int number);
PyObject* Relation(int number);

/// (x, y, z). Null with an error set when memory runs out.
PyObject* Point(const double* point);

/// A handle of the library as an object that frees it.
PyObject* Own(scapi_mesh* mesh);
PyObject* Own(scapi_query* query);
PyObject* Own(scapi_scene* scene);

/// Bytes of an object with the buffer protocol, held until the end of the scope.
class Buffer {
public:
    Buffer() = default;
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;
    ~Buffer()
    {
        if (view_.obj) PyBuffer_Release(&view_);
    }
    bool Take(PyObject* object, bool writable);
    void* Data() const { return view_.buf; }
    Py_ssize_t Size() const { return view_.len; }

private:
    Py_buffer view_{};
};

/// Reads arguments in their order. After a wrong one the error of Python is set, Failed() is true,
/// and all that follows is zero.
class Arguments {
public:
    Arguments(Args first, Py_ssize_t count, Py_ssize_t wanted);
    bool Failed() const { return failed_; }
    PyObject* Object();
    double Number();
    std::int64_t Integer();
    /// One that an int holds: a number must never wrap to that of another body or group.
    int Int();
    /// Exactly so many doubles, from bytes.
    bool Doubles(double* out, int count);
    bool Read(Buffer& buffer, Py_ssize_t elementSize);
    bool Write(Buffer& buffer, Py_ssize_t elementSize);
    scapi_mesh* Mesh() { return static_cast<scapi_mesh*>(Handle("mesh")); }
    scapi_query* Query() { return static_cast<scapi_query*>(Handle("query")); }
    scapi_scene* Scene() { return static_cast<scapi_scene*>(Handle("scene")); }
    /// flags, tolerance, resolution, upper bound, budget
    scapi_options Options();

private:
    void* Handle(const char* kind);
    bool Take(Buffer& buffer, Py_ssize_t elementSize, bool writable);
    Args next_;
    bool failed_;
};

/// Lets other threads of Python run until the end of the scope.
class Unlocked {
public:
    Unlocked() : state_(PyEval_SaveThread()) {}
    Unlocked(const Unlocked&) = delete;
    Unlocked& operator=(const Unlocked&) = delete;
    ~Unlocked() { PyEval_RestoreThread(state_); }

private:
    PyThreadState* state_;
};

/// Within a scope without the lock: some ten times a second takes it, looks for Ctrl-C and reports
/// progress. Other threads run in between.
class Ticker {
public:
    explicit Ticker(PyObject* progress) : progress_(progress == Py_None ? nullptr : progress) {}
    /// @return false to stop: the error of Python is set
    bool Tick(std::int64_t done, std::int64_t of);
    bool Last(std::int64_t of) { return Report(of, of); }

private:
    bool Report(std::int64_t done, std::int64_t of);
    PyObject* progress_;
    std::chrono::steady_clock::time_point next_{}; // the first tick reports
};

/// Room for records, not set. Null where there is none, also for a count that no memory holds.
template <class T>
std::unique_ptr<T[]> Room(std::int64_t count)
{
    if (count < 0 || count > PY_SSIZE_T_MAX / std::int64_t(sizeof(T))) return nullptr;
    return std::unique_ptr<T[]>(new (std::nothrow) T[std::size_t(count)]);
}

extern PyMethodDef kMeshFunctions[];
extern PyMethodDef kMotionFunctions[];
extern PyMethodDef kQueryFunctions[];
extern PyMethodDef kSceneFunctions[];
extern PyMethodDef kClassicFunctions[];

/// An entry of these tables.
template <PyObject* (*function)(PyObject*, Args, Py_ssize_t)>
PyMethodDef Entry(const char* name)
{
    return {name, reinterpret_cast<PyCFunction>(reinterpret_cast<void*>(function)), METH_FASTCALL,
            nullptr};
}

#endif
