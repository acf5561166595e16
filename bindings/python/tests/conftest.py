import numpy as np
import pytest

import scapi

UNIT = (0, 0, 0), (1, 1, 1)


@pytest.fixture
def cube():
    """The unit cube."""
    return scapi.Mesh.box(*UNIT)


@pytest.fixture
def away():
    """A unit cube whose nearest face lies 2 beyond that of `cube`, in x."""
    return scapi.Mesh.box((3, 0, 0), (4, 1, 1))


@pytest.fixture
def stl(tmp_path):
    """An STL file of the unit cube, binary."""
    path = tmp_path / "cube.stl"
    corners = scapi.Mesh.box(*UNIT).triangles
    facets = np.zeros(len(corners), [("normal", "<f4", 3), ("corners", "<f4", (3, 3)), ("", "<u2")])
    facets["corners"] = corners
    path.write_bytes(bytes(80) + len(corners).to_bytes(4, "little") + facets.tobytes())
    return path


@pytest.fixture
def shifts():
    """(200, 4, 4): translations by -3 to 3 in x."""
    poses = np.tile(np.eye(4), (200, 1, 1))
    poses[:, 0, 3] = np.linspace(-3, 3, 200)
    return poses
