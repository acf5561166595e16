#!/usr/bin/python3
"""Whole runs of `scapi-check path` on jobs whose answers are worked out by hand.

Usage: path_test.py SCAPI_CHECK EXAMPLES SCHEMA [unittest arguments]"""
import contextlib
import json
import math
import os
import pathlib
import pty
import re
import signal
import subprocess
import sys
import unittest

from support import TOOL, X, Y, Z, Runs, box

WINDOWS = "SCAPI_WINE" in os.environ
Runs.PROGRAM, EXAMPLES = sys.argv[1], pathlib.Path(sys.argv[2]).resolve()
A = {"axis": "A", "direction": [1, 0, 0], "through": [0, 0, 0], "rapid": 3600}
B = {"axis": "B", "direction": [0, 1, 0], "through": [0, 0, 100], "rapid": 3600}
C = {"axis": "C", "direction": [0, 0, 1], "through": [0, 0, 0], "rapid": 3600}
HOLDER = {**TOOL, "holder": {"profile": [[20, -40], [20, 0]]}}
PART = {"group": "part", "name": "part"}
START = "G21 G90 G54 G43 H1 F500\n"


def early(radius, depth=0.01):
    """Degrees before the lowest point at which a point on a circle is `depth` above it."""
    return math.degrees(math.acos(1 - depth / radius))


def trunnion(bodies):
    machine = {"table": [A, C], "head": [X, Y, Z], "spindle": {"at": [0, 0, 150]}}
    return {"machine": machine, "bodies": bodies}


def tilting_head(bodies):
    machine = {"table": [X, Y], "head": [Z, B], "spindle": {"at": [0, 0, 100]}}
    return {"machine": machine, "bodies": bodies, "offsets": {"G54": {"Z": -100}}, "start": {"tool": 1, "B": -45}}


# Name, program, job with a gap of g, and where the gap -0.01 is hit first: line of the program, fraction of
# the move. What is missed is at most the precision and the chord, 0.002 mm, hence the delta.
WALL, RING = math.hypot(30, 10), math.hypot(20, 30)
TIP = math.hypot(100, 5)
GAPS = [
    ("feed along a wall", "G0 X-50 Y0 Z-10\nG1 X50",
     lambda g: {"bodies": [box([0, 5 + g, -20], [10, 20, 20])]}, 3, (50 - 0.316) / 100),
    ("feed down to a plate", "G1 Z-10",
     lambda g: {"bodies": [box([-9, -9, -30], [9, 9, -10 - g])]}, 2, 59.99 / 60),
    ("arc in XY", "G0 X0 Y-20\nG0 Z0\nG3 Y20 J20",
     lambda g: {"bodies": [box([25 + g, -50, -20], [40, 50, 9])]}, 4, (90 - early(20)) / 180),
    ("arc in ZX", "G0 X20\nZ0\nG18 G3 X-20 I-20",
     lambda g: {"bodies": [box([-50, -9, -30], [50, 9, -20 - g])]}, 4, (90 - early(20)) / 180),
    ("arc in YZ", "G0 Y20\nZ0\nG19 G2 Y-20 J-20",
     lambda g: {"bodies": [box([-9, -50, -30], [9, 50, -20 - g])]}, 4, (90 - early(20)) / 180),
    ("major arc by R", "G0 X0 Y-20\nZ0\nG3 X-20 Y0 R-20",
     lambda g: {"bodies": [box([25 + g, -50, -20], [40, 50, 9])]}, 4, (90 - early(20)) / 270),
    ("helix", "G0 X20\nZ0\nG3 I-20 Z-10",
     lambda g: {"bodies": [box([-50, -50, -30], [50, 50, -10 - g])]}, 4, 0.999),
    ("G81", "G0 Z10\nG81 X9 Z-5 R2",
     lambda g: {"bodies": [box([0, -9, -30], [20, 9, -5 - g])]}, 3, 6.99 / 7),
    ("G83, last peck", "G0 Z10\nG83 Z-5 R2 Q3",
     lambda g: {"bodies": [box([-9, -9, -30], [9, 9, -5 - g])]}, 3, 1.24 / 1.25),
    ("G28 in rapid", "G0 X0 Y0 Z10\nG28 Z-3",
     lambda g: {"bodies": [box([-9, -9, -30], [9, 9, -3 - g])]}, 3, 12.99 / 13),
    ("table tilts", f"G0 Z{WALL}\nG1 A90",
     lambda g: trunnion([box([-40, -30, -5], [40, 30, 10 - g * WALL / 10])]), 3, None),
    ("table tilts and turns", f"G0 Z{RING}\nG1 A90 C720",
     lambda g: trunnion([{"name": "drum", "group": "fixture", "cylinder": {"radius": 20, "height": 50},
                          "pose": {"at": [0, 0, -20 - g * RING / 30]}}]), 3, None),
    ("head tilts", f"G0 Z0\nG1 B45",
     lambda g: tilting_head([box([-40, -30, -30], [40, 30, 100 - TIP - g])]), 3,
     (45 - math.degrees(math.atan(0.05)) - early(TIP)) / 90),
]


class Path(Runs):
    def test_clear_by_a_hundredth_and_hit_by_a_hundredth(self):
        for name, program, build, line, fraction in GAPS:
            with self.subTest(name):
                for gap, status in ((0.01, 0), (-0.01, 1)):
                    found, report = self.check(self.job(START + program + "\nM30", **build(gap)))
                    self.assertEqual(found, status, (gap, report["summary"]))
                    if status == 0:
                        self.assertGreater(min(filter(None, report["clearance"])), 0.003)
                        self.assertLess(min(filter(None, report["clearance"])), 0.011)
                        continue
                    hit = report["hits"][0]
                    self.assertEqual(hit["line"], line)
                    self.assertLessEqual(hit["distance"], 0.002)
                    if fraction is not None:
                        self.assertAlmostEqual(hit["fraction"], fraction, delta=0.003)
                    # Not where the contact is at a corner, or its point is turned away.
                    if name not in ("feed along a wall", "table tilts and turns"):
                        self.assertAlmostEqual(hit["approach"], 0.01, delta=0.004)

    def test_five_axis_hit_is_where_the_corner_comes_up(self):
        for radius, height, half, program in ((30, 10, WALL, "G1 A90"), (20, 30, RING, "G1 A90 C-360")):
            body = {"name": "drum", "group": "fixture", "cylinder": {"radius": radius, "height": 2 * height},
                    "pose": {"at": [0, 0, -height]}}
            job = self.job(f"{START}G0 Z{half - 0.2}\n{program}\nM30", **trunnion([body]))
            status, report = self.check(job)
            self.assertEqual(status, 1)
            self.assertEqual(len(report["hits"]), 1)
            corner = math.degrees(math.atan2(radius, height)) - early(half, 0.2)
            self.assertAlmostEqual(report["hits"][0]["axes"]["A"], corner, delta=0.04)

    def test_what_may_touch_what_and_when(self):
        into = "G0 X-50\nZ-10\n{} X50\nM30"
        low = {"bodies": [box([20, -9, -20], [29, 9, 15], **PART)]}
        high = {"bodies": [box([20, -9, 25], [29, 9, 28], **PART)]}
        top = {"bodies": [box([20, -9, 55], [29, 9, 59], **PART)], "tools": [HOLDER]}
        rule = [{"between": ["cutter", "block"], "rapid": "hit", "feed": "allow"}]
        for name, mode, job, pairs in (
                ("the cutter cuts", "G1", low, []), ("but not in rapids", "G0", low, [("part", "T1 cutter")]),
                ("the shank never", "G1", high, [("part", "T1 shank")]),
                ("the holder never", "G1", top, [("part", "T1 holder"), ("part", "T1 shank")]),
                ("a clamp never", "G1", {"bodies": [box([20, -9, -20], [29, 9, 9])]}, [("block", "T1 cutter")]),
                ("but by a rule", "G1", {"bodies": [box([20, -9, -20], [29, 9, 9])], "rules": rule}, [])):
            with self.subTest(name):
                status, report = self.check(self.job(START + into.format(mode), **job))
                self.assertEqual(sorted((hit["a"], hit["b"]) for hit in report["hits"]), pairs)
                self.assertEqual(status, 1 if pairs else 0)

    def test_rapid_may_leave_what_feed_has_cut_but_go_no_deeper(self):
        part = {"bodies": [box([-50, -50, -20], [50, 50, -10], **PART)]}
        turning = {**trunnion([box([-50, -50, -20], [50, 50, -10], **PART)])}
        self.assertEqual(self.check(self.job(f"{START}G1 Z-10\nG0 A20\nM30", **turning))[0], 1)
        for move, status in (("G0 Z20", 0), ("G0 Z-11", 1), ("G1 Z-15\nG0 Z20\nX9\nZ-12", 1)):
            found, _ = self.check(self.job(f"{START}G1 Z-10\n{move}\nM30", **part))
            self.assertEqual(found, status, move)

    def test_inside_is_a_hit_and_an_open_mesh_is_undecided(self):
        around = [[-60, -60, -60], [60, 60, 260]]
        status, report = self.check(self.job("G0 X1\nM30", [box(*around)]))
        self.assertEqual((status, report["hits"][0]["inside"]), (1, True))
        corners = [(0, 0, 0), (400, 0, 0), (0, 400, 0), (0, 0, 900)]
        facets = [(0, 2, 1), (0, 1, 3), (0, 3, 2)]
        for facets, surface, expected in ((facets, False, 3), (facets, True, 0), (facets + [(1, 2, 3)], False, 1)):
            text = "".join("facet normal 0 0 0\nouter loop\n" + "".join("vertex %g %g %g\n" % corners[i] for i in f) +
                           "endloop\nendfacet\n" for f in facets)
            (self.folder / "open.stl").write_text(f"solid a\n{text}endsolid a\n")
            sheet = {"name": "sheet", "group": "fixture", "stl": "open.stl", "surface": surface}
            # The tool lies within the box of the mesh, and touches none of its facets.
            program = START + "G0 X9 Y9 Z20\nX8.9\nG2 X18.9 I5\nM30"
            status, report = self.check(self.job(program, [sheet], start={"tool": 1, "X": 9, "Y": 9}))
            self.assertEqual(status, expected, report["summary"])
            # No chord of the arc settles it either.
            self.assertEqual(4 in [u["line"] for u in report["undecided"]], expected == 3)
            self.assertFalse(any(u["clear_until"] for u in report["undecided"]), report["undecided"])

    def test_dog_leg_meets_what_the_straight_way_misses(self):
        # X is there at half time: the dog-leg has its corner at X20 Y20.
        post = [box([20, 10, -50], [26, 14, 50])]
        program = START + "G0 Z0\nX20 Y40\nM30"
        self.assertEqual(self.check(self.job(program, post))[0], 1)
        self.assertEqual(self.check(self.job(program, post, rapids="straight"))[0], 0)

    def test_warning_has_the_least_clearance(self):
        status, report = self.check(self.job(START + "G0 X-50 Z0\nG1 X50\nM30", [box([0, 5.3, -9], [9, 9, 9])]))
        self.assertEqual(status, 0)
        self.assertEqual([(row["line"], row["a"], row["b"]) for row in report["near"]], [(3, "block", "T1 cutter")])
        self.assertTrue(0.29 < report["near"][0]["clearance"] <= 0.3, report["near"])

    def test_table_of_positions(self):
        (self.folder / "p.csv").write_text("# a comment\nkind;X;Z\nrapid;-50;-110\n\nfeed;50;-110\nrapid;50,0\n")
        job = self.job(bodies=[box([0, -9, 0], [9, 9, 60])], positions="p.csv")
        text = json.loads(job.read_text())
        del text["program"]
        job.write_text(json.dumps(text))
        status, report = self.check(job)
        self.assertEqual((status, [(h["line"], h["kind"]) for h in report["hits"]]), (1, [(5, "feed")]))
        self.assertAlmostEqual(report["hits"][0]["fraction"], 0.45, delta=0.001)

    def test_inches_are_the_same_job(self):
        inch = 25.4
        scaled = lambda number: [v / inch for v in number]
        machine = {"units": "inch", "table": [], "head": [X, Y, Z], "spindle": {"at": [0, 0, 150 / inch]}}
        tool = {**TOOL, "length": 100 / inch, "cutting_length": 30 / inch,
                "cylinder": {"radius": 5 / inch, "height": 80 / inch}}
        mm = self.check(self.job("G0 X-50 Z-140\nG1 X50 F9\nM30", [box([0, -9, 0], [9, 9, 60])]))[1]
        inches = self.check(self.job("G20 G0 X%.9f Z%.9f\nG1 X%.9f F9\nM30" % (-50 / inch, -140 / inch, 50 / inch),
                                     [box(scaled([0, -9, 0]), scaled([9, 9, 60]))], machine, [tool], units="inch",
                                     chord=0.001 / inch, offsets=None))[1]
        self.assertEqual(len(mm["hits"]), len(inches["hits"]))
        self.assertGreater(len(mm["hits"]), 0)
        for a, b in zip(mm["hits"], inches["hits"]):
            self.assertAlmostEqual(a["fraction"], b["fraction"], delta=1e-5)

    def test_examples_have_the_planted_hits_and_no_other(self):
        status, report = self.check(EXAMPLES / "trunnion.json", "--jobs", 2)
        self.assertEqual(status, 1)
        first = {hit["incident"]: hit for hit in reversed(report["hits"])}
        lines = (EXAMPLES / "trunnion.nc").read_text().split("\n")
        self.assertEqual([(hit["a"], hit["b"]) for _, hit in sorted(first.items())],
                         [("right clamp", "T1 cutter"), ("part", "T2 holder"), ("rear jaw", "T3 cutter")])
        for _, hit in sorted(first.items()):
            before = "".join(lines[max(0, hit["line"] - 4):hit["line"]])
            self.assertIn("PLANTED", before)
        for name in ("three_axis", "head_table"):
            self.assertEqual(self.check(EXAMPLES / f"{name}.json")[0], 0)

    def test_any_number_of_jobs_and_shards_tells_the_same(self):
        job = EXAMPLES / "trunnion.json"
        out = [self.run_program("path", job, "--jobs", n, "--json", "-").stdout for n in (1, 2, 5)]
        parts = []
        for i in range(1, 5):
            parts.append(self.folder / f"{i}.json")
            self.run_program("path", job, "--shard", f"{i}/4", "--part", parts[-1])
        out.append(self.run_program("merge", job, *reversed(parts), "--json", "-").stdout)
        texts = [self.run_program(*words).stdout for words in (("path", job), ("merge", job, *parts))]
        self.assertEqual(len(set(out)), 1)
        self.assertEqual(texts[0], texts[1])
        for wrong in (parts[:3], parts + parts[:1], [job]):
            run = self.run_program("merge", job, *wrong)
            self.assertEqual(run.returncode, 2, wrong)
        other = self.run_program("merge", EXAMPLES / "three_axis.json", *parts)
        self.assertIn("another job", other.stderr)

    def long_job(self):
        """It takes minutes: circles that pass the block at less than the limit."""
        program = START + "G0 Z-10\nX50\nX5.5 Y5.5\n" + "G2 I5 J5\n" * 300000 + "M30"
        return self.job(program, [box([-9, -9, -30], [0, 0, 30])])

    @unittest.skipIf(WINDOWS, "Wine's console is another than the terminal that it runs on")
    def test_terminal_shows_the_time_left_and_takes_an_interrupt(self):
        job, report = self.long_job(), self.folder / "r.json"
        pid, terminal = pty.fork()
        if pid == 0:
            os.execv(self.PROGRAM, [self.PROGRAM, "path", str(job), "--jobs", "2", "--json", str(report)])
        shown = b""
        while not re.search(rb"checking 300004 moves \[#* *\] +\d+ %, \d+:\d\d left", shown):
            shown += os.read(terminal, 4096)
        os.write(terminal, b"\x03")
        # Behind the end of the program a terminal gives an error.
        with contextlib.suppress(OSError):
            while part := os.read(terminal, 4096):
                shown += part
        status = os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1])
        self.assertRegex(shown[shown.rindex(b"left"):], rb"\r {60,}\r", "the bar is left on the screen")
        self.assertIn(b"of them checked", shown)
        found = json.loads(report.read_text())
        self.assertLess(0, found["checked"])
        self.assertLess(found["checked"], found["moves"])
        self.assertEqual(status, {"hits": 1, "undecided": 3}[found["verdict"]])

    def test_interrupt_leaves_what_was_found(self):
        job = self.long_job()
        run = subprocess.Popen([self.PROGRAM, "path", job, "--jobs", "1", "--json", self.folder / "r.json"],
                               stdout=subprocess.PIPE, text=True)
        # The handler stands before the first move is checked, and the moves take far longer than this.
        # Under Wine an interrupt of the system is Ctrl-C, and what stands is seen by the time spent alone.
        def caught():
            if WINDOWS:
                return sum(map(int, pathlib.Path(f"/proc/{run.pid}/stat").read_text().split()[13:15])) > 150
            status = pathlib.Path(f"/proc/{run.pid}/status").read_text()
            return int(status.split("SigCgt:\t")[1].split()[0], 16) >> (signal.SIGINT - 1) & 1
        while not caught():
            self.assertIsNone(run.poll(), "it has ended by itself")
        run.send_signal(signal.SIGINT)
        text, _ = run.communicate(timeout=60)
        report = json.loads((self.folder / "r.json").read_text())
        self.assertLess(report["checked"], report["moves"])
        self.assertIn("of them checked", text)
        self.assertEqual(run.returncode, {"hits": 1, "undecided": 3}[report["verdict"]])
        self.assertEqual(report["clearance"].count(False), report["moves"] - report["checked"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
