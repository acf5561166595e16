// Meshes: made, read back and diagnosed.
#include "native.h"

namespace
{

scapi_mesh_options MeshOptions(Arguments& arguments)
{
    scapi_mesh_options options{};
    options.size = sizeof options;
    options.flags = std::uint32_t(arguments.Int());
    options.scale = arguments.Number();
    options.chord_tolerance = arguments.Number();
    options.segments = arguments.Int();
    return options;
}

/// Makes a mesh without the lock of the interpreter.
template <class Make>
PyObject* MakeMesh(Make make)
{
    scapi_mesh* mesh = nullptr;
    scapi_mesh_report report{-1, 0};
    int code = SCAPI_OK;
    {
        Unlocked unlocked;
        code = make(&report, &mesh);
    }
    return code ? Fail(code, report.facet < 0 ? nullptr : "facet", report.facet) : Own(mesh);
}

PyObject* FromStl(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 5);
    PyObject* path = arguments.Object();
    const scapi_mesh_options options = MeshOptions(arguments);
    if (arguments.Failed()) return nullptr;
    char* name = nullptr; // null for the size: a path with a zero in it is refused
    if (PyBytes_AsStringAndSize(path, &name, nullptr)) return nullptr;
    return MakeMesh([&](scapi_mesh_report* report, scapi_mesh** mesh) {
        return scapi_mesh_from_stl(name, &options, report, mesh);
    });
}

PyObject* FromArrays(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 2);
    Buffer vertices, faces;
    arguments.Read(vertices, 3 * sizeof(float));
    arguments.Read(faces, 3 * sizeof(std::int32_t));
    if (arguments.Failed()) return nullptr;
    return MakeMesh([&](scapi_mesh_report* report, scapi_mesh** mesh) {
        return scapi_mesh_from_arrays(
            static_cast<float*>(vertices.Data()), vertices.Size() / Py_ssize_t(3 * sizeof(float)),
            static_cast<std::int32_t*>(faces.Data()),
            faces.Size() / Py_ssize_t(3 * sizeof(std::int32_t)), nullptr, report, mesh);
    });
}

PyObject* Box(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 1);
    double corners[6];
    if (!arguments.Doubles(corners, 6)) return nullptr;
    return MakeMesh([&](scapi_mesh_report*, scapi_mesh** mesh) {
        return scapi_mesh_box(corners, corners + 3, nullptr, mesh);
    });
}

/// A cylinder is the frustum of equal radii, but not the same triangles.
PyObject* Cylinder(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 6);
    const double radius = arguments.Number(), height = arguments.Number();
    const scapi_mesh_options options = MeshOptions(arguments);
    if (arguments.Failed()) return nullptr;
    return MakeMesh([&](scapi_mesh_report*, scapi_mesh** mesh) {
        return scapi_mesh_cylinder(radius, height, &options, mesh);
    });
}

PyObject* Cone(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 7);
    const double low = arguments.Number(), high = arguments.Number(), height = arguments.Number();
    const scapi_mesh_options options = MeshOptions(arguments);
    if (arguments.Failed()) return nullptr;
    return MakeMesh([&](scapi_mesh_report*, scapi_mesh** mesh) {
        return scapi_mesh_cone(low, high, height, &options, mesh);
    });
}

PyObject* Revolved(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 5);
    Buffer profile;
    arguments.Read(profile, 2 * sizeof(double));
    const scapi_mesh_options options = MeshOptions(arguments);
    if (arguments.Failed()) return nullptr;
    const Py_ssize_t points = profile.Size() / Py_ssize_t(2 * sizeof(double));
    if (points > INT32_MAX) return Fail(SCAPI_ERROR_SHAPE);
    return MakeMesh([&](scapi_mesh_report*, scapi_mesh** mesh) {
        return scapi_mesh_revolved(static_cast<double*>(profile.Data()), std::int32_t(points),
                                   &options, mesh);
    });
}

/// (triangles, bytes, low, high, closed, shells)
PyObject* Info(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 1);
    const scapi_mesh* mesh = arguments.Mesh();
    if (arguments.Failed()) return nullptr;
    scapi_mesh_info info{};
    int code = SCAPI_OK;
    {
        Unlocked unlocked;
        code = scapi_mesh_get_info(mesh, &info);
    }
    if (code) return Fail(code);
    return Py_BuildValue("LL(ddd)(ddd)Oi", static_cast<long long>(info.triangles),
                         static_cast<long long>(info.bytes), double(info.low[0]),
                         double(info.low[1]), double(info.low[2]), double(info.high[0]),
                         double(info.high[1]), double(info.high[2]),
                         info.closed ? Py_True : Py_False, int(info.shells));
}

/// Fills an array of nine floats a triangle. Returns the number of triangles.
PyObject* Triangles(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 2);
    const scapi_mesh* mesh = arguments.Mesh();
    Buffer corners;
    if (!arguments.Write(corners, 9 * sizeof(float))) return nullptr;
    std::int64_t copied = 0;
    {
        Unlocked unlocked;
        copied = scapi_mesh_triangles(mesh, 0, corners.Size() / Py_ssize_t(9 * sizeof(float)),
                                      static_cast<float*>(corners.Data()));
    }
    return copied < 0 ? Fail(int(copied)) : PyLong_FromLongLong(copied);
}

/// Fills arrays of nine floats and of three indices a triangle. Returns the number of vertices.
PyObject* Indexed(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 4);
    const scapi_mesh* mesh = arguments.Mesh();
    const std::int64_t triangles = arguments.Integer();
    Buffer vertices, faces;
    arguments.Write(vertices, 9 * sizeof(float));
    arguments.Write(faces, 3 * sizeof(std::int32_t));
    if (arguments.Failed()) return nullptr;
    if (vertices.Size() < triangles * Py_ssize_t(9 * sizeof(float)) ||
        faces.Size() < triangles * Py_ssize_t(3 * sizeof(std::int32_t)))
        return PyErr_SetString(PyExc_ValueError, "too little room"), nullptr;
    std::int64_t found = 0;
    {
        Unlocked unlocked;
        found = scapi_mesh_indexed(mesh, static_cast<float*>(vertices.Data()),
                                   static_cast<std::int32_t*>(faces.Data()));
    }
    return found < 0 ? Fail(int(found)) : PyLong_FromLongLong(found);
}

/// Fills the record of a diagnosis.
PyObject* Diagnose(PyObject*, Args args, Py_ssize_t count)
{
    Arguments arguments(args, count, 5);
    const scapi_mesh* mesh = arguments.Mesh();
    scapi_diagnose_options options{};
    options.size = sizeof options;
    options.flags = std::uint32_t(arguments.Int());
    options.weld = arguments.Number();
    options.budget = arguments.Integer();
    Buffer out;
    if (!arguments.Write(out, sizeof(scapi_diagnosis))) return nullptr;
    if (!out.Size()) return PyErr_SetString(PyExc_ValueError, "no room"), nullptr;
    int code = SCAPI_OK;
    {
        Unlocked unlocked;
        code = scapi_diagnose(mesh, &options, static_cast<scapi_diagnosis*>(out.Data()));
    }
    if (code) return Fail(code);
    Py_RETURN_NONE;
}

} // namespace

PyMethodDef kMeshFunctions[] = {Entry<FromStl>("mesh_from_stl"),
                                Entry<FromArrays>("mesh_from_arrays"),
                                Entry<Box>("mesh_box"),
                                Entry<Cylinder>("mesh_cylinder"),
                                Entry<Cone>("mesh_cone"),
                                Entry<Revolved>("mesh_revolved"),
                                Entry<Info>("mesh_info"),
                                Entry<Triangles>("mesh_triangles"),
                                Entry<Indexed>("mesh_indexed"),
                                Entry<Diagnose>("mesh_diagnose"),
                                {}};
