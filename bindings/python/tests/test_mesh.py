import pickle
import types

import numpy as np
import pytest

import scapi
from scapi import errors

TETRAHEDRON = np.array([[0, 0, 0], [1, 0, 0], [0, 1, 0], [0, 0, 1]])
FACES = np.array([[0, 2, 1], [0, 1, 3], [0, 3, 2], [1, 2, 3]])


def test_arrays_that_come_back_in_another_order_or_shape():
    mesh = scapi.Mesh.from_arrays(TETRAHEDRON, FACES)
    assert mesh.vertices.dtype == np.float32 and mesh.faces.dtype == np.int32
    assert np.array_equal(mesh.triangles, TETRAHEDRON[FACES])
    assert np.array_equal(mesh.vertices[mesh.faces], TETRAHEDRON[FACES])
    assert (mesh.triangle_count, len(mesh.vertices), mesh.closed, mesh.shells) == (4, 4, True, 1)
    assert mesh.bounds.tolist() == [[0, 0, 0], [1, 1, 1]]
    with pytest.raises(ValueError, match="read-only"):
        mesh.vertices[0] = 1


@pytest.mark.parametrize("vertices, faces", [
    pytest.param(TETRAHEDRON.astype(np.float64), FACES.astype(np.uint8), id="small unsigned"),
    pytest.param(np.asfortranarray(TETRAHEDRON), np.asfortranarray(FACES), id="columns"),
    pytest.param(np.repeat(TETRAHEDRON, 2, 0)[::2], np.repeat(FACES, 3, 1)[:, ::3], id="steps"),
    pytest.param(TETRAHEDRON[::-1], (3 - FACES), id="negative strides"),
    pytest.param(TETRAHEDRON.tolist(), FACES.tolist(), id="lists"),
    pytest.param(TETRAHEDRON[FACES].reshape(-1, 3), None, id="no indices"),
])
def test_layouts_of_arrays_that_would_be_read_wrongly(vertices, faces):
    assert np.array_equal(scapi.Mesh.from_arrays(vertices, faces).triangles, TETRAHEDRON[FACES])


@pytest.mark.parametrize("vertices, faces, error, number", [
    (TETRAHEDRON, [[0, 1, 4]], errors.IndexRangeError, 0),
    (TETRAHEDRON, [[0, 1, 2], [0, 1, -1]], errors.IndexRangeError, 1),
    (TETRAHEDRON, [[0, 1, 2**32 + 1]], errors.IndexRangeError, 0),
    (TETRAHEDRON, [[0, 1, 2.0]], TypeError, None),
    (TETRAHEDRON, [[0, 1]], ValueError, None),
    (TETRAHEDRON, [], errors.EmptyMeshError, None),
    (np.empty((0, 3)), None, errors.EmptyMeshError, None),
    ([[0, 0, 0], [1, 0, 0], [0, np.nan, 0]], None, errors.CoordinateError, 0),
    ([[0, 0, 0], [1, 0, 0], [0, 1e300, 0]], None, errors.CoordinateError, 0),
    (TETRAHEDRON * 1j, FACES, TypeError, None),
    (TETRAHEDRON, np.ma.masked_equal(FACES, 3), TypeError, None),
    (np.ma.masked_equal(TETRAHEDRON, 0), FACES, TypeError, None),
    (TETRAHEDRON.astype(str), FACES, TypeError, None),
    (TETRAHEDRON[:, :2], FACES, ValueError, None),
    (TETRAHEDRON, None, ValueError, None),
])
def test_arrays_that_are_taken_for_a_mesh_but_are_none(vertices, faces, error, number):
    with pytest.raises(error) as caught:
        scapi.Mesh.from_arrays(vertices, faces)
    assert getattr(caught.value, "number", None) == number


@pytest.mark.parametrize("make, volume, triangles", [
    (lambda: scapi.Mesh.box((0, 0, 0), (2, 3, 4)), 24, 12),
    (lambda: scapi.Mesh.cylinder(1, 3, segments=4), 6, None),
    (lambda: scapi.Mesh.cone(1, 0, 3, segments=4), 2, None),
    (lambda: scapi.Mesh.revolved([(0, 0), (1, 0), (1, 3), (0, 3)], segments=4), 6, None),
    (lambda: scapi.Mesh.from_trimesh(types.SimpleNamespace(vertices=TETRAHEDRON, faces=FACES)),
     1 / 6, 4),
])
def test_shapes_with_arguments_in_the_wrong_order(make, volume, triangles):
    diagnosis = make().diagnose(self_crossings=True)
    assert diagnosis.volume == pytest.approx(volume, rel=1e-6)
    assert diagnosis.closed and not diagnosis.faults and diagnosis.self_crossings_complete
    assert triangles in (None, diagnosis.triangles)


def test_diagnosis_fields_that_are_mixed_up():
    # One face is missing, one is there twice.
    diagnosis = scapi.Mesh.from_arrays(TETRAHEDRON, FACES[[0, 1, 2, 2]]).diagnose()
    assert not diagnosis.closed and diagnosis.extent == (1, 1, 1)
    assert diagnosis.extent_if_inches == (25.4, 25.4, 25.4)
    assert diagnosis.duplicates.count == 1 and diagnosis.duplicates.facets[0] in (2, 3)
    assert set(diagnosis.faults) >= {"duplicates", "open_edges"}
    assert all(len(f.facets) == len(f.points) <= 8 for f in diagnosis.faults.values())
    assert "duplicates" in str(diagnosis) and "not closed" in str(diagnosis)
    assert scapi.Mesh.from_arrays(TETRAHEDRON, FACES[:, ::-1]).diagnose().inside_out


@pytest.mark.parametrize("unit, size", [("mm", 1), ("inch", 25.4), ("m", 1000), (0.5, 0.5)])
def test_a_unit_that_is_not_applied(stl, unit, size):
    assert scapi.Mesh.from_stl(stl, unit).bounds[1] == pytest.approx([size] * 3)


def test_axes_that_are_cycled_the_wrong_way(tmp_path):
    path = tmp_path / "bar (1).stl"
    bar = "".join(f"facet normal 0 0 1\nouter loop\nvertex {a}\nvertex {b}\nvertex {c}\nendloop\n"
                  "endfacet\n" for a, b, c in [("0 0 0", "1 0 0", "0 2 3")] * 3)
    path.write_text(f"solid bar\n{bar}endsolid\n")
    assert scapi.Mesh.from_stl(path, axes="yzx").bounds[1].tolist() == [2, 3, 1]
    assert scapi.Mesh.from_stl(path, axes="zxy").bounds[1].tolist() == [3, 1, 2]


@pytest.mark.parametrize("damage, error", [
    (lambda path: path.unlink(), errors.MeshFileError),
    (lambda path: path.write_bytes(path.read_bytes()[:200]), errors.TruncatedFileError),
    (lambda path: path.write_bytes(b"no mesh"), errors.MeshFileError),
])
def test_a_bad_file_that_is_not_named(stl, damage, error):
    damage(stl)
    with pytest.raises(error, match="cube.stl") as caught:
        scapi.Mesh.from_stl(stl)
    assert isinstance(caught.value, OSError) and caught.value.code == error.code


@pytest.mark.parametrize("arguments, error", [
    (("a\0b",), ValueError), (("x.stl", "furlong"), ValueError), (("x.stl", -1.0), ValueError),
    (("x.stl", float("nan")), ValueError), (("x.stl", "mm", "xzy"), ValueError),
])
def test_arguments_of_a_file_that_are_guessed(arguments, error):
    with pytest.raises(error):
        scapi.Mesh.from_stl(*arguments)


def test_a_copy_with_other_triangle_numbers():
    mesh = scapi.Mesh.cylinder(3, 7, segments=50)
    assert np.array_equal(pickle.loads(pickle.dumps(mesh)).triangles, mesh.triangles)
