"""A second reading of jobs, slow and plain, that scapi-check is held against.

It reads the job and its G-code anew, samples each move, places the bodies and asks for their distances. Its
bodies lie inside the true ones, so what it meets is met in truth: a sampled contact that scapi-check doesn't
tell, or a distance below the clearance that it certifies, is a fault. The other way round each hit has to be
one at its time."""
import cmath
import ctypes
import json
import math
import pathlib
import re

import numpy

MARGIN = 2e-6  # mm: what meshes of floats and JSON's six digits round
SIDES = 256    # of round bodies
FEEDS = ("feed", "arc", "retract")


class Options(ctypes.Structure):
    _fields_ = [("size", ctypes.c_uint32), ("flags", ctypes.c_uint32), ("tolerance", ctypes.c_double),
                ("resolution", ctypes.c_double), ("upper_bound", ctypes.c_double), ("budget", ctypes.c_int64)]


class Result(ctypes.Structure):
    _fields_ = [("verdict", ctypes.c_int32), ("relation", ctypes.c_int32), ("lower", ctypes.c_double),
                ("upper", ctypes.c_double), ("points", ctypes.c_double * 6), ("triangles", ctypes.c_int32 * 2),
                ("tests", ctypes.c_int64)]


class Library:
    SURFACES, INSIDE = 1, 3

    def __init__(self, path):
        self.calls = ctypes.CDLL(str(path))
        self.query = ctypes.c_void_p()
        self.calls.scapi_query_create(ctypes.byref(self.query))

    def mesh(self, corners):
        corners = numpy.ascontiguousarray(corners, numpy.float32)
        made = ctypes.c_void_p()
        code = self.calls.scapi_mesh_from_arrays(corners.ctypes.data_as(ctypes.c_void_p), ctypes.c_int64(corners.size // 3),
                                                 None, ctypes.c_int64(corners.size // 9), None, None, ctypes.byref(made))
        assert code == 0, code
        return made

    def ask(self, call, a, b, poses, bound, flags):
        options = Options(ctypes.sizeof(Options), flags, 0, 1e-7, bound, 0)
        result = Result()
        rows = [numpy.ascontiguousarray(pose[:3], numpy.float64).ctypes.data_as(ctypes.c_void_p) for pose in poses]
        assert call(self.query, a.mesh, rows[0], b.mesh, rows[1], ctypes.byref(options), ctypes.byref(result)) == 0
        return result

    def distance(self, a, b, poses, bound):
        return self.ask(self.calls.scapi_distance, a, b, poses, bound, self.SURFACES).upper

    def inside(self, a, b, poses):
        return self.ask(self.calls.scapi_within, a, b, poses, 0, 0).verdict == self.INSIDE


# ---------------------------------------------------------------------------------------- bodies and machine

def shift(by):
    out = numpy.eye(4)
    out[:3, 3] = by
    return out


def turn(axis, degrees, through=(0, 0, 0)):
    """Rodrigues' formula, of many angles at once."""
    x, y, z = numpy.array(axis, float) / numpy.linalg.norm(axis)
    k = numpy.array([[0, -z, y], [z, 0, -x], [-y, x, 0]])
    angle = numpy.radians(degrees)[..., None, None]
    out = numpy.zeros(numpy.shape(degrees) + (4, 4))
    out[..., :3, :3] = numpy.eye(3) + numpy.sin(angle) * k + (1 - numpy.cos(angle)) * (k @ k)
    out[..., 3, 3] = 1
    return shift(through) @ out @ shift(-numpy.array(through, float))


def box_corners(low, high):
    p = numpy.array([[(high if i >> k & 1 else low)[k] for k in range(3)] for i in range(8)])
    faces = [(0, 2, 3, 1), (4, 5, 7, 6), (0, 1, 5, 4), (2, 6, 7, 3), (0, 4, 6, 2), (1, 3, 7, 5)]
    return numpy.array([p[[f[0], f[i], f[i + 1]]] for f in faces for i in (1, 2)])


def round_corners(profile):
    """With its corners on the true circle."""
    outline = [(0, profile[0][1])] + [tuple(p) for p in profile] + [(0, profile[-1][1])]
    angles = 2 * math.pi * numpy.arange(SIDES + 1) / SIDES
    rings = [numpy.stack([r * numpy.cos(angles), r * numpy.sin(angles), numpy.full(SIDES + 1, z)], 1) for r, z in outline]
    for ring in rings:
        ring[-1] = ring[0]
    out = []
    for (r, _), (s, _), low, high in zip(outline, outline[1:], rings, rings[1:]):
        for i in range(SIDES):
            if r > 0:
                out.append((low[i], low[i + 1], high[i + 1]))
            if s > 0:
                out.append((low[i], high[i + 1], high[i]))
    return numpy.array(out)


class Body:
    def __init__(self, name, group, side, link, mount, corners, tool, library):
        self.name, self.group, self.side, self.link, self.mount, self.tool = name, group, side, link, mount, tool
        self.mesh = library.mesh(corners)
        points = numpy.asarray(corners).reshape(-1, 3)
        self.middle = numpy.append((points.min(0) + points.max(0)) / 2, 1)
        self.radius = numpy.linalg.norm(points - self.middle[:3], axis=1).max()
        self.error = (1 - math.cos(math.pi / SIDES)) * numpy.linalg.norm(points[:, :2], axis=1).max() * (len(points) > 36)


class Machine:
    def __init__(self, job, folder):
        machine = job["machine"]
        if isinstance(machine, str):
            machine = json.loads((folder / machine).read_text())
        unit = 25.4 if machine.get("units") == "inch" else 1
        self.chains = {"table": [a["axis"] for a in machine["table"]], "head": [a["axis"] for a in machine["head"]]}
        self.axes = {}
        for axis in machine["table"] + machine["head"]:
            scale = 1 if axis["axis"] in "ABC" else unit
            self.axes[axis["axis"]] = {"direction": numpy.array(axis["direction"], float), "scale": scale,
                                       "through": unit * numpy.array(axis.get("through", [0, 0, 0]), float),
                                       "rapid": scale * axis.get("rapid", 0), "home": scale * axis.get("home", 0)}
        spindle = machine.get("spindle", {})
        self.gauge = shift(unit * numpy.array(spindle.get("at", [0, 0, 0]), float)) @ self.upright(spindle.get("axis", [0, 0, 1]))

    @staticmethod
    def upright(z):
        z = numpy.array(z, float) / numpy.linalg.norm(z)
        x = numpy.array([1.0, 0, 0]) if abs(z[0]) < 0.9 else numpy.array([0, 1.0, 0])
        x -= x.dot(z) * z
        x /= numpy.linalg.norm(x)
        out = numpy.eye(4)
        out[:3, :3] = numpy.stack([x, numpy.cross(z, x), z], 1)
        return out

    def carrying(self, on):
        """The axes from the base to what carries a body."""
        if on == "base":
            return []
        if on in ("table", "spindle"):
            return self.chains["table" if on == "table" else "head"]
        chain = self.chains["table" if on in self.chains["table"] else "head"]
        return chain[:chain.index(on) + 1]

    def poses(self, link, positions):
        count = len(next(iter(positions.values())))
        out = numpy.broadcast_to(numpy.eye(4), (count, 4, 4))
        for letter in link:
            axis = self.axes[letter]
            direction = axis["direction"] / numpy.linalg.norm(axis["direction"])
            if letter in "ABC":
                step = turn(direction, positions[letter], axis["through"])
            else:
                step = numpy.broadcast_to(numpy.eye(4), (count, 4, 4)).copy()
                step[:, :3, 3] = positions[letter][:, None] * direction
            out = out @ step
        return out


def cut(profile, low, high):
    """The part of a profile between two heights."""
    out = []
    for (r, z), (s, w) in zip(profile, profile[1:]):
        if w > z and min(w, high) > max(z, low):
            out += [(r + (s - r) * (h - z) / (w - z), h) for h in (max(z, low), min(w, high))]
    return out


def profile_of(shape, unit):
    if "cylinder" in shape:
        radius, height = unit * shape["cylinder"]["radius"], unit * shape["cylinder"]["height"]
        return [(radius, 0), (radius, height)]
    return [(unit * r, unit * z) for r, z in shape["profile"]]


# ------------------------------------------------------------------------------------------------- program

class Move:
    def __init__(self, line, kind, tool, start, end, arc=None):
        self.line, self.kind, self.tool, self.start, self.end, self.arc = line, kind, tool, dict(start), dict(end), arc

    def positions(self, machine, times, dog_leg):
        times = numpy.asarray(times, float)
        out = {k: self.start[k] + (self.end[k] - self.start[k]) * times for k in self.start}
        if self.kind == "rapid" and dog_leg:
            seconds = {k: abs(self.end[k] - self.start[k]) / machine.axes[k]["rapid"] for k in self.start}
            longest = max(seconds.values())
            for k, needed in seconds.items():
                if needed > 0:
                    out[k] = self.start[k] + (self.end[k] - self.start[k]) * numpy.minimum(1, times * longest / needed)
        if self.arc:
            # All the way on the circle of its start; the program may take any between those of both ends.
            first, second, center, sweep = self.arc
            way = center + (complex(self.start[first], self.start[second]) - center) * numpy.exp(1j * sweep * times)
            out[first], out[second] = way.real, way.imag
        return out


class Control:
    """The state of a control that runs a program."""
    PLANES = {17: "XYZ", 18: "ZXY", 19: "YZX"}
    CENTER = {"X": "I", "Y": "J", "Z": "K"}

    def __init__(self, machine, job, unit):
        self.machine, self.moves = machine, []
        self.unit, self.motion, self.plane, self.absolute, self.work, self.length = unit, None, 17, True, "G54", 0.0
        self.initial_level, self.cycle, self.waiting, self.tool = True, {}, 0, job.start_tool
        self.at, self.job = dict(job.start), job
        self.line = 0
        self.emit("place", self.at)

    def emit(self, kind, end, arc=None):
        if kind == "place" or end != self.at or arc:
            self.moves.append(Move(self.line, kind, self.tool, self.at, end, arc))
        self.at = dict(end)

    def zero(self, axis):
        return self.job.offsets.get(self.work, {}).get(axis, 0.0) + (self.length if axis == "Z" else 0)

    def target(self, words, machine_coordinates=False):
        end = dict(self.at)
        for axis in set(words) & set(self.machine.axes):
            value = words[axis] * (1 if axis in "ABC" else self.unit)
            end[axis] = value + (0 if machine_coordinates else self.zero(axis) if self.absolute else self.at[axis])
        return end

    def go(self, kind, axis, to):
        self.emit(kind, {**self.at, axis: to})

    def take(self, line, text):
        self.line = line
        text = re.sub(r"\(.*?\)|;.*", "", text).upper().replace(" ", "").lstrip("/")
        found = [(letter, float(number)) for letter, number in re.findall(r"([A-Z])([-+.0-9]+)", text)]
        codes = [(letter, number) for letter, number in found if letter in "GM"]
        words = {letter: number for letter, number in found if letter not in "GMNFSO"}
        g = [number for letter, number in codes if letter == "G"]
        m = [number for letter, number in codes if letter == "M"]
        if "T" in words:
            self.waiting = int(words["T"])
        if 6 in m:
            self.tool = self.waiting
            self.emit("place", self.at)
        for code in g:
            self.take_mode(code, words)
        self.take_motion(g, words)
        return 30 in m or 2 in m

    def take_mode(self, code, words):
        if code in (20, 21):
            self.unit = 25.4 if code == 20 else 1
        elif code in self.PLANES:
            self.plane = code
        elif code in (90, 91):
            self.absolute = code == 90
        elif code in (98, 99):
            self.initial_level = code == 98
        elif 54 <= code <= 59:
            self.work = f"G{code:.0f}"
        elif code == 49:
            self.length = 0.0
        elif code == 43:
            self.length = self.job.lengths.get(int(words["H"]), 0.0)
        elif code in (0, 1, 2, 3, 80, 81, 82, 83):
            if code > 80 and (self.motion or 0) <= 80:
                self.cycle = {"initial": self.at[self.PLANES[self.plane][2]]}
            self.motion = code

    def take_motion(self, g, words):
        axes = {k: v for k, v in words.items() if k in "XYZABC"}
        if 28 in g:
            self.emit("rapid", self.target(axes))
            self.emit("rapid", {k: self.machine.axes[k]["home"] if k in axes else v for k, v in self.at.items()})
        elif 53 in g:
            self.emit("rapid" if self.motion == 0 else "feed", self.target(axes, True))
        elif self.motion in (2, 3) and (axes or set(words) & set("IJK")):
            self.arc(words)
        elif self.motion and self.motion > 80 and (axes or self.motion in g):
            self.drill(words)
        elif axes:
            self.emit("rapid" if self.motion == 0 else "feed", self.target(axes))

    def arc(self, words):
        first, second, _ = self.PLANES[self.plane]
        end = self.target({k: v for k, v in words.items() if k in "XYZABC"})
        a, b = complex(self.at[first], self.at[second]), complex(end[first], end[second])
        left = self.motion == 3
        if "R" in words:
            radius = self.unit * words["R"]
            height = math.sqrt(max(0.0, radius * radius - abs(b - a) ** 2 / 4))
            side = 1j * (b - a) / abs(b - a)
            center = (a + b) / 2 + (height if left == (radius > 0) else -height) * side
        else:
            center = a + self.unit * complex(words.get(self.CENTER[first], 0), words.get(self.CENTER[second], 0))
        sweep = cmath.phase((b - center) / (a - center)) % (2 * math.pi)
        if abs(a - b) < 1e-9:
            sweep = 2 * math.pi if left else 0
        self.emit("arc", end, (first, second, center, sweep if left else sweep - 2 * math.pi))

    def drill(self, words):
        deep = self.PLANES[self.plane][2]
        for letter in ("R", "Q", deep):
            if letter in words:
                self.cycle[letter] = self.unit * words[letter]
        level = self.zero(deep) if self.absolute else self.cycle["initial"]
        top = level + self.cycle["R"]
        bottom = self.cycle[deep] + (level if self.absolute else top)
        self.emit("rapid", self.target({k: v for k, v in words.items() if k in "XYZABC" and k != deep}))
        self.go("rapid", deep, top)
        depth = top
        while depth > bottom:
            if depth < top:
                self.go("retract", deep, top)
                self.go("retract", deep, min(top, depth + 0.25))
            depth = max(bottom, depth - (self.cycle["Q"] if self.motion == 83 else top - bottom))
            self.go("feed", deep, depth)
        self.go("retract", deep, top)
        if self.initial_level:
            self.go("rapid", deep, max(top, self.cycle["initial"]))


# ----------------------------------------------------------------------------------------------------- job

class Job:
    def __init__(self, path, library):
        self.folder = pathlib.Path(path).parent
        job = json.loads(pathlib.Path(path).read_text())
        self.library, self.unit = library, 25.4 if job.get("units") == "inch" else 1
        self.machine = Machine(job, self.folder)
        self.dog_leg = job.get("rapids", "dog-leg") == "dog-leg"
        self.rules = job.get("rules", [])
        scaled = lambda position: {k: v * (1 if k in "ABC" else self.unit) for k, v in position.items() if k in "XYZABC"}
        self.offsets = {name: scaled(position) for name, position in job.get("offsets", {}).items()}
        self.start = {k: axis["home"] for k, axis in self.machine.axes.items()}
        self.start.update(scaled(job.get("start", {})))
        self.start_tool = job.get("start", {}).get("tool", 0)
        self.lengths = {tool["number"]: self.unit * tool["length"] for tool in job.get("tools", [])}
        self.lengths.update({int(h): self.unit * length for h, length in job.get("lengths", {}).items()})
        self.bodies = [self.body(body) for body in job["bodies"]]
        for tool in job.get("tools", []):
            self.bodies += self.tool_bodies(tool)
        control = Control(self.machine, self, self.unit)
        for number, line in enumerate((self.folder / job["program"]).read_text().splitlines(), 1):
            if control.take(number, line):
                break
        self.moves = control.moves

    def body(self, body):
        on = body.get("on", "table")
        pose = body.get("pose", {})
        x, y, z = pose.get("turn", [0, 0, 0])
        mount = shift(self.unit * numpy.array(pose.get("at", [0, 0, 0]), float))
        mount = mount @ turn([0, 0, 1], z) @ turn([0, 1, 0], y) @ turn([1, 0, 0], x)
        if on == "spindle":
            mount = self.machine.gauge @ mount
        corners = box_corners(*(self.unit * numpy.array(body["box"][k], float) for k in ("low", "high"))) if "box" in body \
            else round_corners(profile_of(body, self.unit))
        side = "base" if on == "base" else "head" if on == "spindle" or on in self.machine.chains["head"] else "table"
        return Body(body["name"], body["group"], side, self.machine.carrying(on), mount, corners, None, self.library)

    def tool_bodies(self, tool):
        outline, number = profile_of(tool, self.unit), tool["number"]
        cutting, length = self.unit * tool["cutting_length"], self.unit * tool["length"]
        parts = [("cutter", cut(outline, 0, cutting), -length), ("shank", cut(outline, cutting, outline[-1][1]), -length)]
        if "holder" in tool:
            parts.append(("holder", profile_of(tool["holder"], self.unit), 0))
        return [Body(f"T{number} {group}", group, "head", self.machine.carrying("spindle"), self.machine.gauge @ shift([0, 0, z]),
                     round_corners(profile), number, self.library) for group, profile, z in parts if profile]

    def may_touch(self, a, b):
        """In rapids, and in feeds."""
        if a.link == b.link:
            return True, True
        for rule in reversed(self.rules):
            x, y = rule["between"]
            for p, q in ((a, b), (b, a)):
                if x in (p.name, p.group) and y in (q.name, q.group):
                    return rule["rapid"] == "allow", rule["feed"] == "allow"
        groups = {a.group, b.group}
        if groups <= {"machine", "spindle"}:
            if "spindle" in groups:
                same = a.side == b.side == "head"
            else:
                same = a.side == b.side or "base" in (a.side, b.side)
            if same:
                return True, True
        return False, groups == {"cutter", "part"}


# -------------------------------------------------------------------------------------------------- compare

class Comparison:
    """Faults of a report, as texts. `met` counts what it was held against."""

    def __init__(self, job, report, samples):
        self.job, self.report, self.samples, self.faults = job, report, samples, []
        self.met = {"pairs": 0, "contacts": 0, "hits": 0, "clearances": 0, "left": 0}
        self.near = report["settings"]["tolerance"] + report["settings"]["precision"]
        self.hits = {(hit["move"], hit["a"], hit["b"]): hit for hit in report["hits"]}
        self.open = {(row["move"], row["a"], row["b"]) for row in report["undecided"]}
        self.touched = set()
        if len(job.moves) != report["moves"]:
            self.faults.append(f"{report['moves']} moves, {len(job.moves)} in the second reading")
            return
        for index in range(len(job.moves)):
            self.compare(index)
        for key in set(self.hits) - self.touched:
            self.faults.append(f"a hit of a pair that is not to be checked: {key}")

    def tell(self, index, a, b, text):
        move = self.job.moves[index]
        self.faults.append(f"line {move.line}, move {index} ({move.kind}), {a.name} / {b.name}: {text}")

    def poses(self, body, positions):
        return self.job.machine.poses(body.link, positions) @ body.mount

    def poses_at(self, move, body, times):
        """Kept for the even times, which all pairs of a move share."""
        if times is not self.times:
            return self.poses(body, move.positions(self.job.machine, times, self.job.dog_leg))
        if body not in self.placed:
            self.placed[body] = self.poses(body, move.positions(self.job.machine, times, self.job.dog_leg))
        return self.placed[body]

    def distances(self, move, a, b, times, bound):
        """At the times; infinite where the balls round the bodies are farther apart than the bound."""
        at = [self.poses_at(move, body, times) for body in (a, b)]
        apart = numpy.linalg.norm((at[0] @ a.middle - at[1] @ b.middle)[:, :3], axis=1) - a.radius - b.radius
        if apart.min() > bound:
            return numpy.full(len(times), math.inf)
        return numpy.array([math.inf if apart[i] > bound else self.job.library.distance(a, b, (at[0][i], at[1][i]), bound)
                            for i in range(len(times))])

    def least(self, move, a, b, bound):
        """Distances at even times, and at the bottom of the deepest dips between them."""
        times = self.times
        found = self.distances(move, a, b, times, bound)
        dips = [i for i in numpy.argsort(found)[:3] if found[i] < bound and found[i] > 0 and len(times) > 1]
        for i in dips:
            low, high = times[max(i - 1, 0)], times[min(i + 1, len(times) - 1)]
            for _ in range(6):
                more = numpy.linspace(low, high, 7)
                values = self.distances(move, a, b, more, bound)
                times, found = numpy.append(times, more), numpy.append(found, values)
                best = int(numpy.argmin(values))
                low, high = more[max(best - 1, 0)], more[min(best + 1, 6)]
        order = numpy.argsort(times, kind="stable")
        return times[order], found[order]

    def leaves(self, index, touch, first, a, b):
        before = self.job.moves[index - 1] if index else None
        allowed = before is not None and before.tool == self.job.moves[index].tool and touch[before.kind in FEEDS]
        return allowed and first <= self.near + 2 * (a.error + b.error) + 0.02

    def compare(self, index):
        move, bodies = self.job.moves[index], self.job.bodies
        self.times, self.placed = numpy.linspace(0, 1, self.samples if move.kind != "place" else 1), {}
        for i, a in enumerate(bodies):
            for b in bodies[i + 1:]:
                touch = self.job.may_touch(a, b)
                if touch[move.kind in FEEDS] or not {a.tool, b.tool} <= {None, move.tool}:
                    continue
                moving = {k for k in move.start if move.start[k] != move.end[k]} | set(move.arc[:2] if move.arc else ())
                if move.kind == "place" or moving & set(a.link + b.link):
                    self.compare_pair(index, a, b, touch)

    def compare_pair(self, index, a, b, touch):
        move, settings = self.job.moves[index], self.report["settings"]
        key = (index, a.name, b.name)
        certified = self.report["clearance"][index]
        bound = settings["range"] + 1 if certified is None else max(certified, settings["tolerance"]) + 1
        self.touched.add(key)
        self.met["pairs"] += 1
        times, found = self.least(move, a, b, bound)
        start = [self.placed[body][0] for body in (a, b)]
        leaves = self.leaves(index, touch, found[0], a, b)
        if leaves:
            self.met["left"] += 1
            # From where the bodies are surely apart on, contact counts again.
            apart = numpy.flatnonzero(found > self.near + 2 * (a.error + b.error) + 0.05)
            found = found[apart[0]:] if len(apart) else numpy.array([math.inf])
        self.met["contacts"] += bool(found.min() <= max(0.0, settings["tolerance"] - MARGIN))
        contact = found.min() <= max(0.0, settings["tolerance"] - MARGIN) or (not leaves and self.job.library.inside(a, b, start))
        if key in self.hits:
            self.compare_hit(self.hits[key], a, b)
        elif key in self.open:
            return
        elif contact:
            self.tell(index, a, b, f"no hit, but {found.min():.6f} mm apart at {times[-len(found):][found.argmin()]:.6f}")
        elif certified is not False and not leaves:
            self.met["clearances"] += certified is not None
            if found.min() < (settings["range"] if certified is None else certified) - MARGIN:
                self.tell(index, a, b, f"clearance {certified}, but {found.min():.6f} mm apart")

    def compare_hit(self, hit, a, b):
        move = self.job.moves[hit["move"]]
        self.met["hits"] += 1
        positions = move.positions(self.job.machine, [hit["fraction"]], self.job.dog_leg)
        poses = [self.poses(body, positions)[0] for body in (a, b)]
        distance = self.job.library.distance(a, b, poses, 100)
        slack = 0.01 if move.arc else 0
        most = self.near + slack + a.error + b.error + 0.1 * (self.report["settings"]["chord"] + MARGIN) + 2 * self.report["settings"]["chord"]
        off = max(abs(positions[k][0] - v) for k, v in hit["axes"].items())
        if (hit["line"], hit["kind"]) != (move.line, move.kind) or off > 1e-6 + slack:
            self.tell(hit["move"], a, b, f"told of line {hit['line']}, {hit['kind']}, axes off by {off}")
        if hit["inside"]:
            if not self.job.library.inside(a, b, poses):
                self.tell(hit["move"], a, b, "told to be inside")
        elif distance > most:
            self.tell(hit["move"], a, b, f"a hit at a distance of {distance:.6f} mm, expected {most:.6f} at the most")


def compare(job_path, report, library, samples):
    return Comparison(Job(job_path, library), report, samples)
