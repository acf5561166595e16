#!/usr/bin/python3
"""Whole runs of scapi-pair: verdicts worked out by hand, bad input, files.

Usage: pair_test.py SCAPI_PAIR [unittest arguments]"""
import base64
import json
import math
import os
import pathlib
import random
import struct
import subprocess
import sys
import tempfile
import unittest

PAIR = str(pathlib.Path(sys.argv[1]).resolve())
WINDOWS = "SCAPI_WINE" in os.environ
CUBE = "box:0,0,0,10,10,10"
NAN, FAR = "box:0,0,0,nan,1,1", "box:13,0,0,20,10,10"
CORNERS = [(x, y, z) for z in (0, 1) for y in (0, 1) for x in (0, 1)]
FACETS = [(0, 2, 1), (1, 2, 3), (4, 5, 6), (5, 7, 6), (0, 1, 4), (1, 5, 4),
          (2, 6, 3), (3, 6, 7), (0, 4, 2), (2, 4, 6), (1, 3, 5), (3, 7, 5)]
TOLERANCE, RESOLUTION = 0.01, 0.001

# A bar, half as wide as 2, turns by 180 degrees about z. The corner (2, 30) of a post lies in the
# direction psi; it is met when it is 2, and up to the tolerance more, from the middle of the bar.
BAR, POST = "box:-50,-2,0,50,2,10", "box:-2,30,0,2,40,10"
PSI, RADIUS = math.atan2(30, 2), math.hypot(30, 2)


def bar_meets_post(beyond):
    return (PSI - math.asin((2 + beyond) / RADIUS)) / math.pi


def write_cube(path, size, facets=FACETS):
    """A cube from the origin, as a binary STL file."""
    data = bytes(80) + struct.pack("<I", len(facets))
    for facet in facets:
        numbers = [size * c for corner in facet for c in CORNERS[corner]]
        data += struct.pack("<12fH", 0, 0, 0, *numbers, 0)
    path.write_bytes(data)
    return str(path)


def run(*arguments, **options):
    """A run whose texts are UTF-8 and whose lines end alike on every system."""
    found = subprocess.run([PAIR, *map(str, arguments)], capture_output=True, timeout=120, **options)
    found.stdout, found.stderr = found.stdout.decode(), found.stderr.decode()
    assert "\r" not in found.stdout + found.stderr
    return found


def read_scene(path):
    page = pathlib.Path(path).read_text()
    return json.loads(page.split('<script id="scene" type="application/json">')[1].split("</script>")[0])


def decode(text):
    data = base64.b64decode(text)
    return struct.unpack(f"<{len(data) // 4}f", data)


def gaps(a, b):
    """How far apart two boxes are on each axis; negative where they overlap."""
    return [max(b[axis] - a[3 + axis], a[axis] - b[3 + axis]) for axis in range(3)]


def meeting_time(a, b, path):
    """When box b, moving by path, first meets box a: it has to overlap it on all axes at once."""
    enter, leave = 0, 1
    for axis in range(3):
        low, high = a[axis] - b[3 + axis], a[3 + axis] - b[axis]
        if path[axis] == 0 and not low <= 0 <= high:
            return None
        if path[axis] != 0:
            times = sorted((low / path[axis], high / path[axis]))
            enter, leave = max(enter, times[0]), min(leave, times[1])
    return enter if enter <= leave else None


class Pair(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="夹具 ")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def judge(self, *arguments):
        """The answer as JSON; the text has to hold the same verdict and end in the same way."""
        found = run(*arguments, "--json")
        answer = json.loads(found.stdout)
        status = {"clear": 0, "contact": 1, "inside": 1, "undecided": 3}[answer["verdict"]]
        plain = run(*arguments)
        self.assertEqual([found.returncode, plain.returncode], [status, status], found.stderr)
        self.assertEqual(plain.stdout.splitlines()[-1], answer["text"])
        self.assertTrue(answer["text"].lower().startswith(answer["verdict"]))
        return answer

    def assert_between(self, low, value, high):
        self.assertLessEqual(low, value)
        self.assertLessEqual(value, high)

    def test_solids_at_rest(self):
        half_turned = "0,1,0,5, -1,0,0,0, 0,0,1,0".replace(" ", "")
        for arguments, verdict, relation, distance in (
                ([CUBE, FAR], "clear", "apart", 3),
                ([FAR, CUBE], "clear", "apart", 3),
                ([CUBE, "box:5,5,5,20,20,20"], "contact", "crossing", 0),
                ([CUBE, "box:10.009,0,0,12,10,10"], "contact", "apart", 0.009),
                ([CUBE, "box:10.009,0,0,12,10,10", "--tolerance", 0.005], "clear", "apart", 0.009),
                ([CUBE, "box:10,0,0,12,10,10"], "contact", "touching", 0),
                ([CUBE, "box:2,3,3,5,5,5"], "inside", "b_in_a", 2),
                (["box:2,3,3,5,5,5", CUBE], "inside", "a_in_b", 2),
                # Cylinder of radius 2 from the origin along x, beside a cube.
                ([CUBE, "cyl:0,-9,5,10,-9,5,2"], "clear", "apart", 7),
                # Turned by 90 degrees about z, the cube lies at x from -10 to 0.
                ([CUBE, CUBE, "--pose-a", "0,0,0,0,0,90", "--pose-b", "1,0,0"], "clear", "apart", 1),
                ([CUBE, CUBE, "--pose-b", "14,11,1,0,0,180"], "contact", "crossing", 0),
                # About x first, then y, then z: (0, 0, 10) goes to (0, -10, 0), stays, goes to (10, 0, 0).
                ([CUBE, "box:0,0,0,1,1,10", "--pose-b", "12,0,0,90,0,90"], "clear", "apart", 2),
                # Twelve numbers by rows: the cube lies at x from 5 to 15, y from -10 to 0.
                ([CUBE, CUBE, "--pose-b", half_turned, "--pose-a", "0,4,0"], "clear", "apart", 4),
                ([CUBE, CUBE, "--pose-b", half_turned + ",0,0,0,1", "--pose-a", "0,4,0"], "clear", "apart", 4)):
            with self.subTest(arguments):
                answer = self.judge(*arguments)
                self.assertEqual([answer["verdict"], answer["relation"]], [verdict, relation])
                self.assertLessEqual(answer["at_least"], distance + 1e-6)
                self.assertAlmostEqual(answer["at_least"], distance, delta=2e-6 + 5e-7 * distance)
                self.assertAlmostEqual(answer["nearest"], distance, delta=1e-6)

    def random_box(self, draw):
        low = [draw.randint(-12, 12) for _ in range(3)]
        return low + [number + draw.randint(1, 9) for number in low]

    def test_random_boxes_at_rest_as_by_hand(self):
        seed = 20
        draw = random.Random(seed)
        for _ in range(60):
            a, b = self.random_box(draw), self.random_box(draw)
            apart = gaps(a, b)
            distance = math.hypot(*(max(gap, 0) for gap in apart))
            inside = any(all(outer[k] < inner[k] and inner[3 + k] < outer[3 + k] for k in range(3))
                         for inner, outer in ((a, b), (b, a)))
            with self.subTest(seed=seed, a=a, b=b):
                names = ["box:" + ",".join(map(str, box)) for box in (a, b)]
                found = json.loads(run(*names, "--compare", "--json").stdout)
                expected = "clear" if distance > 0 else "inside" if inside else "contact"
                self.assertEqual(found["verdict"], expected)
                if expected == "clear":
                    # Pairs that are hardly nearer than the nearest are passed over: 5e-7 of the distance.
                    self.assert_between(distance * (1 - 5e-7) - 2e-6, found["at_least"], distance + 1e-12)
                    self.assertFalse(found["fifteen_calls"]["interference"])

    def test_random_boxes_on_their_way_as_by_hand(self):
        seed = 21
        draw = random.Random(seed)
        for _ in range(60):
            a, b = self.random_box(draw), self.random_box(draw)
            path = [draw.randint(-20, 20) for _ in range(3)]
            if max(gaps(a, b)) <= 0:
                continue
            # Both also go the same way, which changes nothing between them.
            shared = [draw.randint(-20, 20) for _ in range(3)]
            with self.subTest(seed=seed, a=a, b=b, path=path):
                names = ["box:" + ",".join(map(str, box)) for box in (a, b)]
                ways = [",".join(map(str, way)) for way in (shared, [p + s for p, s in zip(path, shared)])]
                found = json.loads(run(*names, "--path-a", ways[0], "--path-b", ways[1], "--tolerance", 1e-6,
                                       "--json").stdout)
                expected = meeting_time(a, b, path)
                self.assertEqual(found["verdict"], "clear" if expected is None else "contact")
                if expected is not None:
                    self.assert_between(expected - 1e-4, found["contact_time"], expected + 1e-9)

    def test_contact_at_rest_tells_where(self):
        answer = self.judge(CUBE, "box:5,4,3,20,20,20")
        self.assertEqual([answer["region"]["low"], answer["region"]["high"]], [[5, 4, 3], [10, 10, 10]])
        self.assertIn("around (7.5, 7, 6.5), over 5 x 6 x 7 mm", answer["text"])

    def test_motions_meet_when_they_must(self):
        for arguments, first, last in (
                ([CUBE, FAR, "--path-b", "-6,0,0"], (3 - 0.011) / 6, (3 - 0.01) / 6),
                ([CUBE, FAR, "--path-a", "3,0,0", "--path-b", "-3,0,0"], (3 - 0.011) / 6, (3 - 0.01) / 6),
                ([CUBE, FAR, "--to-b", "-6,0,0"], (3 - 0.011) / 6, (3 - 0.01) / 6),
                ([BAR, POST, "--turn-a", "0,0,2,180"], bar_meets_post(0.011), bar_meets_post(0.01)),
                ([POST, BAR, "--turn-b", "0,0,2,180"], bar_meets_post(0.011), bar_meets_post(0.01)),
                # Two and a half turns: the first contact is that of the first half turn.
                ([BAR, POST, "--turn-a", "0,0,1,900"], bar_meets_post(0.011) / 5, bar_meets_post(0.01) / 5),
                # The same about a pivot elsewhere, all moved by (7, 0, 0).
                ([BAR, POST, "--pose-b", "7,0,0", "--pose-a", "7,0,0", "--pivot-a", "0,0,0", "--turn-a", "0,0,1,180"],
                 bar_meets_post(0.011), bar_meets_post(0.01)),
                (["box:-43,-2,0,57,2,10", POST, "--pose-b", "7,0,0", "--pivot-a", "7,0,0", "--to-a", "7,-7,0,0,0,90"],
                 2 * bar_meets_post(0.011), 2 * bar_meets_post(0.01))):
            with self.subTest(arguments):
                answer = self.judge(*arguments)
                self.assertEqual(answer["verdict"], "contact")
                self.assert_between(first - 1e-6, answer["contact_time"], last + 1e-6)
                self.assert_between(first - 1e-3, answer["clear_until"], answer["contact_time"])

    def test_motions_stay_clear_by_what_they_must(self):
        for arguments, distance in (
                ([CUBE, FAR, "--path-b", "-2,0,0"], 1),
                ([CUBE, FAR, "--path-b", "0,500,0"], 3),
                # The corner (50, 2) of the bar passes a post whose near side lies at 60.
                ([BAR, "box:-2,60,0,2,70,10", "--turn-a", "0,0,1,360"], 60 - math.hypot(50, 2))):
            with self.subTest(arguments):
                answer = self.judge(*arguments)
                self.assertEqual(answer["verdict"], "clear")
                self.assert_between(0.99 * distance, answer["at_least"], distance)
                self.assert_between(distance - 1e-6, answer["nearest"], 1.01 * distance)
                self.assertIsNone(answer["contact_time"])

    def test_contact_at_the_start_is_told_apart(self):
        answer = self.judge(CUBE, "box:5,5,5,20,20,20", "--path-b", "100,0,0")
        self.assertEqual([answer["verdict"], answer["relation"], answer["contact_time"]], ["contact", "crossing", 0])
        self.assertIn("at the start", answer["text"])
        self.assertEqual(self.judge(CUBE, "box:2,2,2,5,5,5", "--path-b", "1,0,0")["verdict"], "inside")

    def test_units_scale_files_and_nothing_else(self):
        small = write_cube(self.folder / "small.stl", 1)
        other = write_cube(self.folder / "other.stl", 2)
        for arguments, unit, high, distance in (
                ([small, other, "--units-a", "inch", "--pose-b", "26.4,0,0"], "mm", 25.4, 1),
                ([small, other, "--pose-b", "3,0,0"], "mm", 1, 2),
                ([small, other, "--units", "inch", "--pose-b", "3,0,0"], "inch", 1, 2),
                ([small, other, "--units", "inch", "--units-a", "mm", "--pose-b", "1,0,0"], "inch", 1 / 25.4,
                 1 - 1 / 25.4),
                (["box:0,0,0,1,1,1", other, "--units", "inch", "--units-b", "mm", "--pose-b", "3,0,0"], "inch", 1, 2)):
            with self.subTest(arguments):
                answer = self.judge(*arguments)
                self.assertEqual(answer["unit"], unit)
                self.assertAlmostEqual(answer["solids"]["a"]["high"][0], high, delta=1e-5)
                self.assertAlmostEqual(answer["at_least"], distance, delta=1e-5)
                self.assertAlmostEqual(answer["tolerance"], 0.01 if unit == "mm" else 0.01 / 25.4)

    def test_what_cannot_be_shown_is_undecided(self):
        lidless = write_cube(self.folder / "lidless.stl", 10, FACETS[:10])
        within = "box:2,2,2,4,4,4"
        for arguments, reason in (([lidless, within], "A is not closed"), ([within, lidless], "B is not closed"),
                                  ([lidless, within, "--path-b", "1,0,0"], "A is not closed"),
                                  ([BAR, POST, "--turn-a", "0,0,1,180", "--budget", 2], "budget of 2")):
            with self.subTest(arguments):
                answer = self.judge(*arguments)
                self.assertEqual(answer["verdict"], "undecided")
                self.assertIn(reason, answer["text"])
                self.assertNotIn("clear" if "closed" in reason else "contact", answer["text"])
        self.assertEqual(self.judge(lidless, within, "--surfaces")["verdict"], "clear")

    def test_fifteen_calls_are_asked_with_care_and_contradicted(self):
        cube = write_cube(self.folder / "cube.stl", 10)
        # An arm swings a block by 90 degrees through a post on the arc; the chord is free.
        swung = ["box:65,65,0,76,76,10", "box:90,-5,0,110,5,10", "--to-b", "0,0,0,0,0,90", "--compare"]
        for arguments, interference, warning in (
                ([cube, FAR, "--compare"], False, None),
                ([cube, FAR, "--path-b", "-6,0,0", "--compare"], True, None),
                # Both poses count: the cubes are 100 from where they were loaded, and 1 apart or crossing.
                ([cube, cube, "--pose-a", "100,0,0", "--pose-b", "111,0,0", "--compare"], False, None),
                ([cube, CUBE, "--pose-a", "100,0,0,0,0,90", "--pose-b", "95,5,5", "--compare"], True, None),
                ([cube, "box:2,2,2,5,5,5", "--compare"], False, "no interference"),
                ([cube, "box:10,0,0,12,10,10", "--compare"], False, "no interference"),
                (swung, False, "no interference")):
            with self.subTest(arguments):
                answer = self.judge(*arguments)
                self.assertEqual(answer["fifteen_calls"]["interference"], interference)
                self.assertEqual(len(answer["warnings"]), 1 if warning else 0)
                if warning:
                    self.assertIn(warning, run(*arguments).stderr)
        lidless = write_cube(self.folder / "lidless.stl", 10, FACETS[:10])
        self.assertIn("not closed", self.judge(lidless, FAR, "--surfaces", "--compare")["fifteen_calls"]["problem"])
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), ["cube.stl", "lidless.stl"])

    def test_odd_names_are_files_like_others(self):
        nowhere_else = () if WINDOWS else ("line\nbreak\033[2J.stl", "<b>&.stl")
        for name in ("with blank.stl", "-dash.stl", "ümläut 面.stl", *nowhere_else):
            with self.subTest(name):
                path = pathlib.Path(write_cube(self.folder / name, 10))
                found = run("--html", "p.html", "--", path.name, FAR, cwd=self.folder)
                self.assertEqual(found.returncode, 0, found.stderr)
                self.assertEqual(len(found.stdout.splitlines()), 3)
                self.assertNotIn("\033", found.stdout)
                self.assertEqual(read_scene(self.folder / "p.html")["bodies"][0]["name"], "A  " + name)

    def test_page_holds_the_motion_and_the_distances(self):
        page = self.folder / "page.html"
        answer = self.judge(BAR, POST, "--turn-a", "0,0,1,180", "--pose-b", "0,1,0", "--html", page)
        scene = read_scene(page)
        self.assertEqual(len(scene["steps"]), 61)
        poses = decode(scene["bodies"][0]["poses"])
        for step in (0, 10, 30, 60):
            angle = math.pi * step / 60
            expected = [math.cos(angle), -math.sin(angle), 0, 0, math.sin(angle), math.cos(angle), 0, 0, 0, 0, 1, 0]
            for number, wanted in zip(poses[12 * step:12 * step + 12], expected):
                self.assertAlmostEqual(number, wanted, delta=1e-6)
        self.assertEqual(scene["bodies"][1]["poses"], [1, 0, 0, 0, 0, 1, 0, 1, 0, 0, 1, 0])
        self.assertAlmostEqual(scene["plot"]["values"][0], 29, delta=1e-5)
        self.assertAlmostEqual(scene["plot"]["values"][30], 0, delta=1e-5)
        self.assertEqual(scene["verdict"], {"status": "hit", "text": answer["text"]})
        self.assertAlmostEqual(scene["marks"][0]["step"], 60 * answer["contact_time"], delta=1e-9)
        box = decode(scene["meshes"][1]["vertices"])
        self.assertEqual([min(box[0::3]), max(box[1::3])], [-2, 40])

    def test_bad_input_is_refused_with_advice(self):
        empty = self.folder / "empty.stl"
        empty.touch()
        cut = self.folder / "cut.stl"
        cut.write_bytes(pathlib.Path(write_cube(self.folder / "cube.stl", 10)).read_bytes()[:300])
        mirrored, scaled = "1,0,0,0,0,1,0,0,0,0,-1,0", "2,0,0,0,0,2,0,0,0,0,2,0"
        for arguments, message in (
                ([], "two solids are needed, not 0"), ([CUBE], "not 1"), ([CUBE] * 3, "not 3"),
                ([CUBE, self.folder / "none.stl"], "check the path"), ([CUBE, self.folder], "regular file"),
                ([CUBE, empty], "empty.stl: "), ([CUBE, cut], "export it again"), ([CUBE, ""], "empty name"),
                ([CUBE, NAN], '"nan" is not finite'), ([CUBE, "box:0,0,0,1,1"], "6 numbers"),
                ([CUBE, "box:0,0,0,1,1,1e999"], "too large"), ([CUBE, "box:0,0,0,1,1,1.5x"], '"1.5x" is no number'),
                ([CUBE, "box:0,0,0,1,1,"], '"" is no number'), ([CUBE, "box:0,0,0,1,1,0x10"], "is no number"),
                ([CUBE, "box:0,0,0,1;1;1"], "is no number"), ([CUBE, "box:0,0,0,1, 1,1"], "is no number"),
                ([CUBE, "box:0,0,0,0,1,1"], "make no solid"), ([CUBE, "box:1,1,1,0,0,0"], "make no solid"),
                ([CUBE, "cyl:0,0,0,0,0,0,1"], "make no solid"), ([CUBE, "cyl:0,0,0,0,0,1,0"], "make no solid"),
                ([CUBE, "box:0,0,0,2e9,1,1"], "beyond 1e9"), ([CUBE, "cyl:0,0,0,0,0,1"], "7 numbers"),
                ([CUBE, FAR, "--pose-b", "1,2"], "3, 6, 12 or 16 numbers, not 2"),
                ([CUBE, FAR, "--pose-b", "1,0,0,0,0,1,0,0,0,0,1,0,5,6,7,1"], "written by columns"),
                ([CUBE, FAR, "--pose-b", "1,0,0,0,1,0,0,0,1,5,6,7"], "stored by columns"),
                ([CUBE, FAR, "--pose-a", mirrored], "mirrors"), ([CUBE, FAR, "--to-a", scaled], "scales"),
                ([CUBE, FAR, "--pose-a", "1,0.1,0,0,0,1,0,0,0,0,1,0"], "not orthonormal"),
                ([CUBE, FAR, "--pose-a", "1,nan,0"], "not finite"), ([CUBE, FAR, "--pose-c", "0,0,0"], "no option"),
                ([CUBE, FAR, "--path-a", "1,0"], "takes 3 numbers, not 2"), ([CUBE, FAR, "--path-a"], "needs a value"),
                ([CUBE, FAR, "--path-a", "1e300,0,0"], "beyond 1e9"),
                ([CUBE, FAR, "--turn-a", "0,0,0,90"], "needs an axis"), ([CUBE, FAR, "--turn-a", "0,0,1"], "4 numbers"),
                ([CUBE, FAR, "--pivot-a", "1,0,0"], "add --turn-a"),
                ([CUBE, FAR, "--to-a", "1,0,0", "--path-a", "1,0,0"], "does not go with"),
                ([CUBE, FAR, "--to-a", "0,0,0,180,0,0"], "half a turn away"),
                ([CUBE, FAR, "--tolerance", "-1"], "0 to 1e9"), ([CUBE, FAR, "--tolerance", "nan"], "not finite"),
                ([CUBE, FAR, "--budget", "0"], "whole number"), ([CUBE, FAR, "--budget", "1.5"], "whole number"),
                ([CUBE, FAR, "--units", "cm"], "mm or inch"), ([CUBE, FAR, "--units-a", "inch"], "is for files"),
                ([CUBE, FAR, "--json", "--json"], "given twice"), ([CUBE, FAR, "--html", ""], "path of a file"),
                ([CUBE, FAR, "-b"], "no option -b"), ([CUBE, FAR, "-"], "no option -")):
            with self.subTest(arguments):
                found = run(*arguments)
                self.assertEqual([found.returncode, found.stdout], [2, ""], found.stderr)
                self.assertIn(message, found.stderr)
        self.assertEqual(run("--help").returncode, 0)

    def test_page_that_cannot_be_written_loses_no_verdict(self):
        old = self.folder / "old"
        old.mkdir()
        for path in (self.folder / "none" / "page.html", old):
            found = run(CUBE, FAR, "--html", path)
            self.assertEqual(found.returncode, 2)
            self.assertIn("CLEAR by at least", found.stdout)
            self.assertIn(str(path), found.stderr)
        self.assertEqual([path.name for path in self.folder.iterdir()], ["old"])

    def test_page_goes_into_a_pipe_and_does_not_replace_it(self):
        pipe = self.folder / "pipe"
        os.mkfifo(pipe)
        writer = subprocess.Popen([PAIR, CUBE, FAR, "--html", pipe], stdout=subprocess.DEVNULL)
        page = subprocess.run(["cat", pipe], capture_output=True, timeout=120).stdout
        self.assertEqual(writer.wait(), 0)
        self.assertTrue(page.rstrip().endswith(b"</html>"))
        self.assertTrue(pipe.is_fifo())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[2:])
