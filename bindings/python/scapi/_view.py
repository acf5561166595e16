"""Pictures of scenes: one page of HTML that holds all it needs."""

from __future__ import annotations

import base64
import html
import json
import math
import os
import sys
import tempfile
import webbrowser
from importlib import resources
from pathlib import Path
from typing import TYPE_CHECKING, Any

import numpy as np
from numpy.typing import NDArray

from ._mesh import Mesh, PathLike
from ._results import Verdict

if TYPE_CHECKING:
    from ._scene import Body, Pair, Scene, SceneResult

_PLACEHOLDER = "@SCAPI_SCENE@"
_STEPS = 20  # of a motion, for those who go from one to the next
_MOST_STEPS = 2000  # enough for 500 turns
_STATUS = {Verdict.CLEAR: "clear", Verdict.INDETERMINATE: "undecided"}  # else "hit"


class Page:
    """A picture of a scene. In a notebook it shows itself as an inline frame."""

    def __init__(self, text: str) -> None:
        self.text = text

    def save(self, path: PathLike) -> None:
        """Writes one HTML file of about 1 MB more than the meshes; opens without a network."""
        Path(os.fsdecode(path)).write_text(self.text, encoding="utf-8")

    def open(self) -> Path:
        """Opens the page in a browser. Returns the file, which stays."""
        number, name = tempfile.mkstemp(prefix="scapi-", suffix=".html")
        os.close(number)
        path = Path(name)
        self.save(path)
        if not webbrowser.open(path.as_uri()):
            print(f"No browser was found: open {path}", file=sys.stderr)
        return path

    def _repr_html_(self) -> str:
        return (f'<iframe srcdoc="{html.escape(self.text)}" '
                'style="width:100%;height:600px;border:0"></iframe>')

    def __repr__(self) -> str:
        return f"<Page: {len(self.text)} characters>"


def page_of(scene: Scene, result: SceneResult | None, title: str) -> Page:
    template = resources.files("scapi").joinpath("viewer.html").read_text(encoding="utf-8")
    # A < could end the element of the page that holds the JSON.
    data = json.dumps(_scene_json(scene, result, title), allow_nan=False).replace("<", "\\u003c")
    return Page(template.replace(_PLACEHOLDER, data))


def _scene_json(scene: Scene, result: SceneResult | None, title: str) -> dict[str, Any]:
    meshes = list({id(body.mesh): body.mesh for body in scene.bodies}.values())
    last = _last_step(scene)
    return {
        "format": "scapi-scene", "version": 1, "title": title, "unit": "mm",
        "verdict": _verdict(result),
        "summary": _summary(scene, result),
        "meshes": [_mesh(mesh) for mesh in meshes],
        "bodies": [_body(body, meshes, last) for body in scene.bodies],
        "steps": [{"label": f"time {step / last:.4g}" if last else ""} for step in range(last + 1)],
        "marks": [_mark(pair, last) for pair in (result.pairs if result is not None else ())],
    }


def _last_step(scene: Scene) -> int:
    """From 0. Between two steps the page turns a body the shorter way: less than half a turn."""
    moving = [body.motion for body in scene.bodies if body.motion.angle or body.motion.path.any()]
    if not moving:
        return 0
    turns = max(abs(motion.angle) for motion in moving)
    return min(max(_STEPS, math.ceil(turns / (math.pi / 4))), _MOST_STEPS)


def _verdict(result: SceneResult | None) -> dict[str, str]:
    if result is None:
        return {"status": "undecided", "text": "not checked"}
    open_pairs = "1 pair is not clear" if result.count == 1 else (
        f"{result.count} pairs are not clear")
    text = {Verdict.CLEAR: "clear", Verdict.INDETERMINATE: "not decided for all pairs"}
    return {"status": _STATUS.get(result.verdict, "hit"),
            "text": text.get(result.verdict, open_pairs)}


def _summary(scene: Scene, result: SceneResult | None) -> list[list[str]]:
    rows = [["bodies", str(len(scene))]]
    if result is not None:
        rows += [["pairs", str(result.pair_count)], ["examined", str(result.examined)]]
        rows += [[f"{pair.a.name}, {pair.b.name}", pair.impact.verdict.name]
                 for pair in result.pairs[:20]]
    return rows


def _base64(array: NDArray[Any], dtype: str) -> str:
    return base64.b64encode(array.astype(dtype).tobytes()).decode("ascii")


def _mesh(mesh: Mesh) -> dict[str, str]:
    return {"vertices": _base64(mesh.vertices, "<f4"), "indices": _base64(mesh.faces, "<u4")}


def _body(body: Body, meshes: list[Mesh], last: int) -> dict[str, Any]:
    times = np.linspace(0, 1, last + 1)
    poses = np.array([body.motion.at(time).matrix[:3] for time in times])
    return {
        "name": body.name, "group": f"group {body.group}" if body.group else "",
        "mesh": next(i for i, mesh in enumerate(meshes) if mesh is body.mesh),
        "pivot": body.motion.pivot.tolist(),
        "poses": _base64(poses, "<f4") if last else poses.ravel().tolist(),
    }


def _mark(pair: Pair, last: int) -> dict[str, Any]:
    impact = pair.impact
    mark: dict[str, Any] = {
        "kind": "undecided" if impact.verdict is Verdict.INDETERMINATE else "hit",
        "bodies": [pair.a.number, pair.b.number],
        "text": f"{pair.a.name}, {pair.b.name}: {impact.verdict.name}",
    }
    if impact.triangle_a >= 0:
        return mark | {"step": impact.t_contact * last, "point": impact.point_a,
                       "point2": impact.point_b}
    # No contact is named: the middle of the second body, where it is last known to be clear.
    time = impact.t_clear if impact.verdict is Verdict.INDETERMINATE else 0.0
    middle = pair.b.motion.at(time).apply(pair.b.mesh.bounds.mean(axis=0))
    return mark | {"step": time * last, "point": middle.tolist()}
