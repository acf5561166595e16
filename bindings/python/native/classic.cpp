// The calls on numbered slots. Their library takes no lock, so one is taken here, while other
// threads of Python go on.
#include <mutex>
#include <new>
#include <vector>

#include "native.h"
#include "scapi/scapi.h"

namespace
{

std::mutex oneCallAtATime;

template <class Call>
int Locked(Call call)
{
    Unlocked unlocked;
    const std::lock_guard<std::mutex> lock(oneCallAtATime);
    return call();
}

PyObject* LoadStl(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 3);
    const int slot = arguments.Int();
    PyObject* path = arguments.Object();
    const int simple = arguments.Int();
    if (arguments.Failed()) return nullptr;
    char* name = nullptr;
    if (path != Py_None && PyBytes_AsStringAndSize(path, &name, nullptr)) return nullptr;
    return PyLong_FromLong(Locked(
        [&] { return SCAPI_LoadSTL(slot, reinterpret_cast<unsigned char*>(name), simple); }));
}

PyObject* SaveStl(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 2);
    const int slot = arguments.Int();
    PyObject* path = arguments.Object();
    char* name = nullptr;
    if (arguments.Failed() || PyBytes_AsStringAndSize(path, &name, nullptr)) return nullptr;
    return PyLong_FromLong(
        Locked([&] { return SCAPI_SaveSTL(slot, reinterpret_cast<unsigned char*>(name)); }));
}

/// Exactly so many floats.
bool Floats(Arguments& arguments, float* out, int count)
{
    Buffer buffer;
    if (!arguments.Read(buffer, sizeof(float))) return false;
    if (buffer.Size() != Py_ssize_t(sizeof(float)) * count)
        return PyErr_SetString(PyExc_ValueError, "wrong number of floats"), false;
    const auto* floats = static_cast<const float*>(buffer.Data());
    for (int i = 0; i < count; ++i) out[i] = floats[i];
    return true;
}

PyObject* LoadBox(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 2);
    const int slot = arguments.Int();
    float box[6];
    if (!Floats(arguments, box, 6)) return nullptr;
    return PyLong_FromLong(Locked([&] { return SCAPI_LoadBox(slot, box); }));
}

PyObject* LoadCylinder(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 4);
    const int slot = arguments.Int();
    float start[3], end[3];
    if (!Floats(arguments, start, 3) || !Floats(arguments, end, 3)) return nullptr;
    const auto radius = float(arguments.Number());
    if (arguments.Failed()) return nullptr;
    return PyLong_FromLong(Locked([&] { return SCAPI_LoadCylinder(slot, start, end, radius); }));
}

PyObject* DefSweep(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 3);
    const int slot = arguments.Int();
    float start[4][4], end[4][4];
    if (!Floats(arguments, start[0], 16) || !Floats(arguments, end[0], 16)) return nullptr;
    return PyLong_FromLong(Locked([&] { return SCAPI_DefSweep(slot, start, end); }));
}

PyObject* Rotate(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 2);
    const int slot = arguments.Int();
    float matrix[4][4];
    if (!Floats(arguments, matrix[0], 16)) return nullptr;
    return PyLong_FromLong(Locked([&] { return SCAPI_Rotate(slot, matrix); }));
}

PyObject* DetectInterference(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 2);
    const int a = arguments.Int(), b = arguments.Int();
    if (arguments.Failed()) return nullptr;
    return PyLong_FromLong(Locked([&] { return SCAPI_DetectInterference(a, b); }));
}

PyObject* BboxesInterference(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 6);
    float poses[4][16];
    const int a = arguments.Int();
    if (!Floats(arguments, poses[0], 16) || !Floats(arguments, poses[1], 16)) return nullptr;
    const int b = arguments.Int();
    if (!Floats(arguments, poses[2], 16) || !Floats(arguments, poses[3], 16)) return nullptr;
    return PyLong_FromLong(Locked(
        [&] { return SCAPI_BboxesInterference(a, poses[0], poses[1], b, poses[2], poses[3]); }));
}

PyObject* GetBbox(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 1);
    const int slot = arguments.Int();
    if (arguments.Failed()) return nullptr;
    float box[6] = {};
    const int code = Locked([&] { return SCAPI_GetBbox(slot, box); });
    return Py_BuildValue("i(ffffff)", code, double(box[0]), double(box[1]), double(box[2]),
                         double(box[3]), double(box[4]), double(box[5]));
}

/// Walks with a cursor to its end: (code, records).
/// @param read  (slot, cursor, record) -> code; on the call that ends the walk the record is void
template <class Record, class ReadOne>
PyObject* Walk(Args args, Py_ssize_t count, ReadOne read)
{
    Arguments arguments(args, count, 1);
    const int slot = arguments.Int();
    if (arguments.Failed()) return nullptr;
    std::vector<Record> records;
    int code = SCAPI_SUCCESS;
    try {
        code = Locked([&] {
            for (int cursor = 0;;) {
                Record record;
                const int result = read(slot, &cursor, record);
                if (result || cursor == SCAPI_END_OF_WALK) return result;
                records.push_back(record);
            }
        });
    } catch (const std::bad_alloc&) {
        return PyErr_NoMemory();
    }
    return Py_BuildValue(
        "iN", code,
        PyByteArray_FromStringAndSize(reinterpret_cast<const char*>(records.data()),
                                      Py_ssize_t(sizeof(Record)) * Py_ssize_t(records.size())));
}

struct Vertex {
    float xyz[3];
};
struct Facet {
    float corners[3][3], normal[3];
};
struct Loop {
    int vertices[3];
};

PyObject* Vertices(PyObject*, Args args, Py_ssize_t count)
{
    return Walk<Vertex>(args, count, [](int slot, int* cursor, Vertex& vertex) {
        return SCAPI_GetVertex(slot, cursor, vertex.xyz);
    });
}

PyObject* Triangles(PyObject*, Args args, Py_ssize_t count)
{
    return Walk<Facet>(args, count, [](int slot, int* cursor, Facet& facet) {
        return SCAPI_GetTriangles(slot, cursor, facet.corners, facet.normal);
    });
}

PyObject* Loops(PyObject*, Args args, Py_ssize_t count)
{
    return Walk<Loop>(args, count, [](int slot, int* cursor, Loop& loop) {
        return SCAPI_GetLoop(slot, cursor, loop.vertices, nullptr);
    });
}

PyObject* UsedRam(PyObject*, Args args, Py_ssize_t count)
{
    if (Arguments(args, count, 0).Failed()) return nullptr;
    return PyLong_FromLong(Locked([] { return int(SCAPI_GetUsedRAM()); }));
}

PyObject* ReleaseSolids(PyObject*, Args args, Py_ssize_t count)
{
    if (Arguments(args, count, 0).Failed()) return nullptr;
    return PyLong_FromLong(Locked([] { return SCAPI_ReleaseSolids(); }));
}

PyObject* Close(PyObject*, Args args, Py_ssize_t count)
{
    if (Arguments(args, count, 0).Failed()) return nullptr;
    return PyLong_FromLong(Locked([] { return SCAPI_Close(); }));
}

} // namespace

PyMethodDef kClassicFunctions[] = {Entry<LoadStl>("classic_load_stl"),
                                   Entry<SaveStl>("classic_save_stl"),
                                   Entry<LoadBox>("classic_load_box"),
                                   Entry<LoadCylinder>("classic_load_cylinder"),
                                   Entry<DefSweep>("classic_def_sweep"),
                                   Entry<Rotate>("classic_rotate"),
                                   Entry<DetectInterference>("classic_detect_interference"),
                                   Entry<BboxesInterference>("classic_bboxes_interference"),
                                   Entry<GetBbox>("classic_get_bbox"),
                                   Entry<Vertices>("classic_vertices"),
                                   Entry<Triangles>("classic_triangles"),
                                   Entry<Loops>("classic_loops"),
                                   Entry<UsedRam>("classic_used_ram"),
                                   Entry<ReleaseSolids>("classic_release_solids"),
                                   Entry<Close>("classic_close"),
                                   {}};
