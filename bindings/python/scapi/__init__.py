"""Certified distance, contacts and time of impact of triangle meshes.

    import scapi

    clamp = scapi.Mesh.from_stl("clamp.stl", unit="inch")
    tool = scapi.Mesh.cylinder(radius=10, height=60)
    start = scapi.Pose.translation(-90, 0, 15)

    answer = scapi.time_of_impact(clamp, tool, motion_b=scapi.Motion(start, path=(180, 0, 0)),
                                  tolerance=0.01)
    if answer.verdict is scapi.Verdict.CLEAR:
        print("clear, by 0.01 at least")
    else:
        print(answer.verdict, answer.t_clear, answer.point_b)

CLEAR is a proof: a lower bound on the distance, with all rounding counted, was above the tolerance,
for a motion at every moment. What cannot be shown is INDETERMINATE, and its truth value raises.

Make bodies     Mesh: from_stl, from_arrays, from_trimesh, box, cylinder, cone, revolved; diagnose
Place them      Pose, Motion, motions_between
Ask             within, distance, contacts, time_of_impact; at many poses in one call within_many,
                distance_many, time_of_impact_many
Many bodies     Scene: add, move, ignore, check; show, save_html
Many processes  batch, Task, MeshFile
The old calls   classic: the fifteen calls on numbered slots

Lengths are in the unit of the meshes (files are read into mm), angles in radians. Poses are 4x4
matrices with the translation in the last column. Meshes are shared freely between threads, and
queries let other threads run. Errors are exceptions of `scapi.errors` that say what to do.
"""

from __future__ import annotations

from . import classic, errors
from ._batch import MeshFile, Task, WorkerLostError, WorkerLostWarning, batch
from ._mesh import Diagnosis, Finding, Mesh
from ._native import VERSION as __version__
from ._pose import Motion, Pose, motions_between
from ._progress import TerminalProgress
from ._query import (contacts, distance, distance_many, time_of_impact, time_of_impact_many, within,
                     within_many)
from ._results import (Contacts, Distance, Impact, Impacts, Kind, Relation, Result, Results,
                       Verdict)
from ._scene import Body, Pair, Scene, SceneResult
from ._view import Page
from .errors import Error, IndeterminateError

__all__ = [
    "Body", "Contacts", "Diagnosis", "Distance", "Error", "Finding", "Impact", "Impacts",
    "IndeterminateError", "Kind", "Mesh", "MeshFile", "Motion", "Page", "Pair", "Pose", "Relation",
    "Result", "Results", "Scene", "SceneResult", "Task", "TerminalProgress", "Verdict",
    "WorkerLostError", "WorkerLostWarning", "__version__", "batch", "classic", "contacts",
    "distance", "distance_many", "errors", "motions_between", "time_of_impact",
    "time_of_impact_many", "within", "within_many",
]
