#!/usr/bin/python3
"""Random jobs through scapi-check and through a second reading of them, which must not contradict it.

Usage: twin_test.py SCAPI_CHECK PROXIMITY_LIBRARY [JOBS [FIRST_SEED [SAMPLES]]]"""
import json
import math
import pathlib
import random
import subprocess
import sys
import tempfile

import twin

SKEWED = {"X": [1, 0, 0], "Y": [0, 1, 0], "Z": [0, 0, 1], "A": [1, 0, 0], "B": [0, 1, 0], "C": [0, 0, 1]}
MACHINES = [("", "XYZ"), ("XY", "Z"), ("YX", "Z"), ("X", "YZ"), ("XYZ", ""), ("AC", "XYZ"), ("BC", "XYZ"), ("XAC", "YZ"),
            ("YXC", "ZB"), ("XC", "YZB"), ("C", "XYZA"), ("", "XYZCA"), ("XY", "ZCB"), ("AXYZC", ""), ("", "XYZCBA")]


class Writer:
    """A job, and a program that keeps to the rules of G-code."""

    def __init__(self, random_):
        self.random = random_
        self.inch = self.random.random() < 0.25
        self.table, self.head = self.random.choice(MACHINES)
        self.axes = self.table + self.head
        self.unit = 25.4 if self.inch else 1.0
        self.program_unit, self.plane, self.absolute = self.unit, 17, True
        self.lines = []

    def between(self, low, high, digits=3):
        return round(self.random.uniform(low, high), digits)

    def vector(self, size, digits=3):
        return [self.between(-size, size, digits) for _ in range(3)]

    # ----------------------------------------------------------------------------------------------- job

    def axis(self, letter):
        sign = -1 if letter in self.table and letter in "XYZ" else self.random.choice((1, 1, -1)) if letter in "ABC" else 1
        direction = [sign * v for v in SKEWED[letter]]
        if self.random.random() < 0.15:
            direction = [v + d for v, d in zip(direction, self.vector(0.5))]
        axis = {"axis": letter, "direction": direction,
                "rapid": self.between(3000, 40000) / (1 if letter in "ABC" else self.unit)}
        if letter in "ABC":
            axis["through"] = [v / self.unit for v in self.vector(60)]
        if letter == "Z":
            axis["home"] = 90 / self.unit
        return axis

    def solid(self, at, size):
        pose = {"at": [v / self.unit for v in at]}
        if self.random.random() < 0.5:
            pose["turn"] = self.vector(180, 1)
        half = [self.between(2, size) / self.unit for _ in range(3)]
        if self.random.random() < 0.6:
            return {"box": {"low": [-v for v in half], "high": half}, "pose": pose}
        if self.random.random() < 0.5:
            return {"cylinder": {"radius": half[0], "height": 2 * half[1]}, "pose": pose}
        return {"profile": [[half[0], 0], [half[1], half[2]], [half[2], 2 * half[2]]], "pose": pose}

    def bodies(self):
        out = [{"name": "part", "group": "part", "box": {"low": [v / self.unit for v in (-40, -30, -20)],
                                                        "high": [v / self.unit for v in (40, 30, self.between(-5, 5))]}}]
        for i in range(self.random.randint(2, 4)):
            at = [self.between(-100, 100), self.between(-100, 100), self.between(-30, 50)]
            out.append({"name": f"clamp {i}", "group": "fixture", **self.solid(at, 25)})
        if self.random.random() < 0.5:
            on = self.random.choice(["base", "table", *self.axes])
            out.append({"name": "column", "group": "machine", "on": on, **self.solid(self.vector(150), 60)})
        if self.random.random() < 0.7:
            out.append({"name": "nose", "group": "spindle", "on": "spindle", "cylinder": {"radius": 40 / self.unit, "height": 80 / self.unit}})
        return out

    def tool(self, number):
        radius, length = self.between(1, 10), self.between(50, 120)
        tool = {"number": number, "length": length / self.unit, "cutting_length": self.between(5, 30) / self.unit}
        if self.random.random() < 0.5:
            tool["cylinder"] = {"radius": radius / self.unit, "height": (length - 20) / self.unit}
        else:
            tool["profile"] = [[v / self.unit for v in p] for p in
                               ((self.between(0, radius), 0), (radius, radius), (radius, 25), (radius - 0.5, 25), (radius - 0.5, length - 20))]
        if self.random.random() < 0.8:
            tool["holder"] = {"profile": [[v / self.unit for v in p] for p in ((radius + 5, -40), (radius + 15, -20), (25, 0))]}
        return tool

    def job(self):
        gauge = [self.between(-9, 9), self.between(-9, 9), 300]
        machine = {"table": [self.axis(a) for a in self.table], "head": [self.axis(a) for a in self.head], "units": "inch" if self.inch else "mm",
                   "spindle": {"at": [v / self.unit for v in gauge]}}
        if self.random.random() < 0.1:
            machine["spindle"]["axis"] = [self.between(-0.3, 0.3), self.between(-0.3, 0.3), 1]
        offsets = {}
        for i in range(54, 60):
            offset = {"X": self.between(-20, 20), "Y": self.between(-20, 20), "Z": -300 + self.between(-5, 15)}
            offset.update({a: self.between(-20, 20) for a in self.axes if a in "ABC"})
            offsets[f"G{i}"] = {a: v / (1 if a in "ABC" else self.unit) for a, v in offset.items() if a in self.axes}
        job = {"machine": machine, "bodies": self.bodies(), "tools": [self.tool(1), self.tool(2)], "offsets": offsets,
               "units": "inch" if self.inch else "mm", "program": "job.nc", "lengths": {"9": self.between(40, 130) / self.unit},
               "rapids": self.random.choice(("dog-leg", "straight")), "start": {"tool": self.random.choice((1, 2))},
               "chord": 0.01 / self.unit, "tolerance": self.random.choice((0, 0.001, 0.1)) / self.unit, "precision": self.random.choice((0.001, 0.02)) / self.unit,
               "clearance": {"limit": 1 / self.unit, "range": self.random.choice((1, 5, 20)) / self.unit}}
        if self.random.random() < 0.3:
            job["rules"] = [{"between": self.random.sample(["cutter", "holder", "clamp 0", "fixture", "part", "shank"], 2),
                             "rapid": self.random.choice(("hit", "allow")), "feed": self.random.choice(("hit", "allow"))}]
        return job

    # ------------------------------------------------------------------------------------------- program

    def word(self, letter, value):
        unit = 1 if letter in "ABC" else self.program_unit
        return f"{letter}{value / unit:.{4 if unit == 1 else 6}f}"

    def put(self, text):
        if self.random.random() < 0.1:
            text = text.lower()
        if self.random.random() < 0.1:
            text = f"N{len(self.lines)} {text} (G0 X999)"
        if self.random.random() < 0.05:
            text += " ; Z-999"
        self.lines.append(text)

    def place(self, letters, far=1.0):
        """Words that send axes somewhere about the part."""
        ranges = {"X": (-90, 90), "Y": (-80, 80), "Z": (-12, 70), "A": (-50, 50), "B": (-50, 50), "C": (-200, 200)}
        out = []
        for a in letters:
            low, high = ranges[a]
            middle = (low + high) / 2 if self.absolute else 0
            out.append(self.word(a, middle + far * self.random.uniform(low - middle, high - middle) * (1 if self.absolute else 0.3)))
        return " ".join(out)

    def some_axes(self):
        return "".join(self.random.sample(self.axes, self.random.randint(1, len(self.axes))))

    def line(self, motion):
        self.put(f"{motion} {self.place(self.some_axes())} F{self.random.randint(100, 900)}")

    def arc(self):
        first, second, third = {17: "XYZ", 18: "ZXY", 19: "YZX"}[self.plane]
        if not {first, second} <= set(self.axes):
            return
        a, b = [self.between(-40, 40), self.between(0, 50)], self.absolute
        self.put(f"G90 G1 {self.word(first, a[0])} {self.word(second, a[1])} F300")
        self.absolute = b
        radius, at, sweep = self.between(2, 40), self.random.uniform(0, 6.3), self.random.uniform(0.1, 6.2)
        center = [round(radius * math.cos(at), 4), round(radius * math.sin(at), 4)]
        exact = math.hypot(*center)
        turn = math.atan2(-center[1], -center[0]) + sweep
        end = [center[0] + exact * math.cos(turn), center[1] + exact * math.sin(turn)]
        more = self.place(self.random.sample([x for x in self.axes if x not in first + second], 1), 0.3) if self.random.random() < 0.4 and len(self.axes) > 2 else ""
        kind = self.random.randint(0, 3)
        mode, base = ("G91", [0, 0]) if self.random.random() < 0.5 else ("G90", a)
        if self.absolute != (mode == "G90"):
            more = ""
        ends = f"{self.word(first, base[0] + end[0])} {self.word(second, base[1] + end[1])}"
        letters = {"X": "I", "Y": "J", "Z": "K"}
        if kind > 1:
            # As much as a control takes: the circles of both ends differ.
            center[0] += self.random.choice((0, 0, 0.004))
        centers = f"{self.word(letters[first], center[0])} {self.word(letters[second], center[1])}"
        g = self.random.choice(("G2", "G3"))
        if kind == 0:
            self.put(f"{mode} {g} {centers} {more}")
        elif kind == 1 and math.hypot(*end) > 1:
            least = math.hypot(*end) / 2
            self.put(f"{mode} {g} {ends} {self.word('R', self.random.choice((1, -1)) * (least + self.between(0, 30)))} {more}")
        else:
            self.put(f"{mode} {g} {ends} {centers} {more}")
        self.put("G90" if self.absolute else "G91")

    def cycle(self):
        first, second, third = {17: "XYZ", 18: "ZXY", 19: "YZX"}[self.plane]
        if not {first, second, third} <= set(self.axes):
            return
        g, level = self.random.choice((81, 82, 83)), self.random.choice(("G98", "G99"))
        top, deep = self.between(5, 40), self.between(2, 20)
        if self.absolute:
            heights = f"{self.word('R', top)} {self.word(third, top - deep)}"
        else:
            heights = f"{self.word('R', -self.between(1, 10))} {self.word(third, -deep)}"
        self.put(f"{level} G{g} {self.place(first)} {heights} {self.word('Q', deep / 2.5) if g == 83 else ''} F99")
        for _ in range(self.random.randint(0, 2)):
            self.put(self.place(first + second))
        self.put("G80")

    def change(self):
        what = self.random.randint(0, 8)
        if what == 0:
            self.plane = self.random.choice((17, 18, 19))
            self.put(f"G{self.plane}")
        elif what == 1:
            self.program_unit = self.random.choice((25.4, 1.0))
            self.put("G20" if self.program_unit > 1 else "G21")
        elif what == 2:
            self.absolute = not self.absolute
            self.put("G90" if self.absolute else "G91")
        elif what == 3:
            self.put(f"G{self.random.randint(54, 59)}")
        elif what == 4:
            self.put(self.random.choice(("G43 H1", "G43 H2", "G43 H9", "G43 H0", "G49")) if "Z" in self.axes else "G49")
        elif what == 5:
            self.put(f"G53 G90 {self.random.choice(('G0', 'G1'))} {self.word('Z', self.between(-120, 50))}" if "Z" in self.axes else "G54")
            self.put("G90" if self.absolute else "G91")
        elif what == 6:
            self.put(f"G28 {self.place(self.some_axes())}")
        else:
            self.put("G90 G53 G0 Z80" if self.program_unit == 1 else "G90 G53 G0 Z3")
            self.put(self.random.choice(("T1 M6", "T2 M6", "T2\nM6", "T0 M6")))
            self.put("G90" if self.absolute else "G91")

    def program(self):
        self.put(f"G{21 if self.program_unit == 1 else 20} G90 G54 G43 H1 F500")
        for _ in range(self.random.randint(8, 25)):
            self.random.choice((lambda: self.line("G0"), lambda: self.line("G1"), lambda: self.line("G1"), self.arc, self.arc, self.cycle, self.change))()
        self.put("M30")
        return "\n".join(self.lines) + "\n"


def main(check, library, jobs=8, first=1, samples=40):
    library, met, bad = twin.Library(library), {}, 0
    for seed in range(int(first), int(first) + int(jobs)):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            writer = Writer(random.Random(seed))
            job = writer.job()
            (folder / "job.json").write_text(json.dumps(job, indent=1))
            (folder / "job.nc").write_text(writer.program())
            run = subprocess.run([check, "path", folder / "job.json", "--json", "-"], capture_output=True, text=True, timeout=600)
            if run.returncode not in (0, 1, 3):
                faults = [f"exit status {run.returncode}: {run.stderr}"]
            else:
                compared = twin.compare(folder / "job.json", json.loads(run.stdout), library, int(samples))
                faults = compared.faults
                for key, number in compared.met.items():
                    met[key] = met.get(key, 0) + number
        for fault in faults:
            print(f"seed {seed} ({writer.table}|{writer.head}): {fault}", flush=True)
        bad += bool(faults)
        if sys.stderr.isatty():
            print(f"\r{seed - int(first) + 1} of {jobs} jobs, {bad} contradicted", end="", file=sys.stderr)
    print(f"{jobs} jobs, {bad} contradicted:", ", ".join(f"{number} {key}" for key, number in met.items()))
    return 1 if bad or not met.get("hits") or not met.get("clearances") else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
