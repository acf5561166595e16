#!/usr/bin/python3
"""Jobs, programs and arguments that are wrong: each gets a message that names its place, and status 2.

Usage: hostile_test.py SCAPI_CHECK EXAMPLES SCHEMA [unittest arguments]"""
import copy
import json
import os
import pathlib
import shutil
import sys
import unittest

import jsonschema

from support import Runs, TOOL, X, Y, Z, box

Runs.PROGRAM, EXAMPLES, SCHEMA = sys.argv[1], pathlib.Path(sys.argv[2]).resolve(), pathlib.Path(sys.argv[3])


def places(value, at=()):
    """Every value in a job, by the keys that lead there."""
    yield at
    for key, item in value.items() if isinstance(value, dict) else enumerate(value) if isinstance(value, list) else ():
        yield from places(item, (*at, key))


def changed(job, at, change):
    copied = copy.deepcopy(job)
    holder = copied
    for key in at[:-1]:
        holder = holder[key]
    change(holder, at[-1])
    return copied


class Hostile(Runs):
    def refused(self, job, *texts):
        run = self.run_program("path", job)
        self.assertEqual(run.returncode, 2, (texts, run.stdout))
        for text in texts:
            self.assertIn(text, run.stderr)

    def test_schema_and_reader_agree_on_every_key_of_the_examples(self):
        schema = jsonschema.Draft7Validator(json.loads(SCHEMA.read_text()))
        for name in ("trunnion", "three_axis", "head_table"):
            schema.validate(json.loads((EXAMPLES / f"{name}.json").read_text()))
        shutil.copytree(EXAMPLES, self.folder / "milling")
        whole = json.loads((EXAMPLES / "trunnion.json").read_text())
        whole["machine"] = json.loads((EXAMPLES / "machines/table_table.json").read_text())
        whole.update(rules=[{"between": ["cutter", "part"], "rapid": "hit", "feed": "allow"}], start={"Z": 150},
                     lengths={"7": 5}, units="mm", rapids="dog-leg", block_delete=False, tolerance=0.001,
                     precision=0.001, chord=0.01)
        (self.folder / "milling/trunnion.nc").write_text("T1 M6\nT2 M6\nT3 M6\nM30\n")
        job = self.folder / "milling/changed.json"

        def remove(holder, key):
            del holder[key]

        def misname(holder, key):
            if isinstance(holder, dict):
                holder[f"{key}_x"] = holder.pop(key)

        def mistype(holder, key):
            holder[key] = {"oops": 1} if not isinstance(holder[key], dict) else [1]

        wrong = 0
        for at in places(whole):
            # A name that is used elsewhere, a tool that the program wants: no matter of form.
            if not at or at[0] == "$schema" or at[:2] == ("machine", "$schema") or at in (("tools", 0), ("tools", 1), ("tools", 2)):
                continue
            # Of a list of alike things each second one is enough.
            if sum(key for key in at if isinstance(key, int)) % 2:
                continue
            for change in (remove, misname, mistype):
                text = changed(whole, at, change)
                job.write_text(json.dumps(text))
                # What is checked does not matter here, only whether it can be.
                fits, run = schema.is_valid(text), self.run_program("path", job, "--jobs", 1)
                if not fits:
                    wrong += 1
                    self.assertEqual(run.returncode, 2, (at, change.__name__))
                    self.assertRegex(run.stderr, r"changed\.json:\d+: /", (at, change.__name__))
                elif run.returncode == 2:
                    # The reader sees more than the form: an axis that is gone but has an offset, a tool's
                    # length that is not its number.
                    self.assertRegex(run.stderr, r"no axis|second|needs min|rapid|must begin|no axes|no tool|no length|an axis of the machine",
                                     (at, change.__name__))
        self.assertGreater(wrong, 150)

    def test_broken_json_is_named_with_its_line(self):
        for text, message in ((b'{\n"units": "mm",\n}', "job.json:3: "), (b"", "job.json:1: "), (b"[" * 100000, "job.json:1"),
                              (b"[\n" * 100000 + b"]" * 100000, "job.json:101: is nested too deep"),
                              (b'{"units": NaN}', "job.json:1: "), (b'{"tolerance": 1e999}', "job.json"),
                              (b'\xff\xfe{}', "job.json:1: "), (b'[1]', "must be an object"),
                              (b'{"name": "a",\n"name": "b"}', "job.json:2: /name: stands twice"),
                              (b'\xef\xbb\xbf{"bodies": 1}', "needs \"machine\""), (b"{}\n{}", "job.json:2: ")):
            path = self.job()
            path.write_bytes(text)
            self.refused(path, message)
        self.refused(self.folder / "no such file.json", "cannot be read")
        self.refused(self.folder, "cannot be read")

    def test_numbers_that_make_no_job(self):
        pin = {"name": "pin", "group": "fixture"}
        rows = [({"bodies": [box([0, 0, 0], [1, 1, 0])]}, "/bodies/0/box"),
                ({"bodies": [box([0, 0, 0], [1, 1, 1e300])]}, "/bodies/0/box/high/2"),
                ({"bodies": [box([0, 0, 0], [1, 1, 1]), box([0, 0, 0], [1, 1, 1])]}, "a second body"),
                ({"bodies": [box([0, 0, 0], [1, 1, 1], name="cutter")]}, "name of another group"),
                ({"bodies": [box([0, 0, 0], [1, 1, 1], on="C")]}, "/bodies/0/on"),
                ({"bodies": [{**pin, "stl": "none.stl"}]}, "none.stl"),
                ({"bodies": [{**pin, "cylinder": {"radius": -1, "height": 1}}]}, "radius"),
                ({"bodies": [{**pin, "profile": [[1, 0], [1, -1]]}]}, "z falls"),
                ({"bodies": [{**pin, "profile": [[0, 0], [0, 5]]}]}, "makes no solid"),
                ({"machine": {"table": [X], "head": [X]}}, "a second axis X"),
                ({"machine": {"table": [], "head": []}}, "has no axes"),
                ({"machine": {"table": [], "head": [{**X, "direction": [0, 0, 0]}]}}, "has no direction"),
                ({"machine": {"table": [], "head": [{**X, "min": 5}]}}, "min <= home <= max"),
                ({"machine": {"table": [], "head": [{"axis": "X", "direction": [1, 0, 0]}]}}, "has no \"rapid\""),
                ({"machine": "job.json"}, "is not known here"), ({"machine": "job.nc"}, "job.nc"),
                ({"tools": [TOOL, TOOL]}, "a second tool"), ({"start": {"tool": 3}}, "/start/tool"),
                ({"start": {"A": 3}}, "no axis A"), ({"lengths": {"x": 1}}, "H number"),
                ({"rules": [{"between": ["nobody", "part"], "rapid": "hit", "feed": "hit"}]}, "nobody"),
                ({"program": "none.nc"}, "/program: "), ({"program": "."}, "/program: "), ({"machine": "."}, "/machine: "), ({"positions": "job.nc"}, "one of \"program\" and \"positions\"")]
        for change, message in rows:
            with self.subTest(message):
                self.refused(self.job("M30", **{"bodies": [box([0, 0, 0], [1, 1, 1])], **change}), message)

    def test_tables_of_positions(self):
        for table, message in (("", "has no rows"), ("X;Q\n1;2", ":1: column \"Q\""), ("X X\n1 2", "a second column"),
                               ("X Y\n1", ":2: has 1 cells"), ("X\nnan", ":2: X is no number"), ("X\n1e9", ":2:"),
                               ("X kind\n1 fast", "fast"), ("X tool\n1 9", "no tool has the number")):
            job = self.job(bodies=[box([0, 0, 0], [1, 1, 1])], name="table")
            text = json.loads(job.read_text())
            del text["program"]
            (self.folder / "table.csv").write_text(table)
            job.write_text(json.dumps({**text, "positions": "table.csv"}))
            self.refused(job, message)

    def test_long_and_binary_programs_end(self):
        body = [box([900, 0, 0], [901, 1, 1])]
        self.refused(self.job("\0\1\2" * 1000, body), "job.nc:1: no word")
        self.refused(self.job("G0 X1\n" * 3 + "Q" * 100000, body), "job.nc:4: ")
        self.refused(self.job("G91 G0 X900000\n" * 9, body), "beyond 1000 m")
        self.assertEqual(self.run_program("path", self.job("", body)).returncode, 0)
        many = self.job("G91 G0\n" + "X1\nX-1\n" * 50000 + "M30", body, rules=[
            {"between": ["cutter", "block"], "rapid": "allow", "feed": "allow"}])
        self.assertIn("in 100001 moves", self.run_program("path", many).stdout)
        self.refused(self.job("M30", body, tools=[], start={}), "no two bodies")

    def test_warnings_name_what_is_passed_over(self):
        program = "/G0 X1\nM8\nM8\nG64\nG43 H2\nG55\nG91 G0 Z-1\nD3\nG90 G0 X400\nM30\nG0 X2\n"
        machine = {"table": [], "head": [{**X, "max": 300}, Y, Z]}
        job = self.job(program, [box([900, 0, 0], [901, 1, 1])], machine, [TOOL, {**TOOL, "number": 2, "length": 90}])
        run = self.run_program("path", job)
        for line, text in ((1, "blocks with / are checked"), (2, "M8 is taken to move nothing"), (4, "G64"),
                           (5, "H2 is not the length"), (7, "after a change of offsets"), (8, "D is not used"),
                           (9, "axis X at 400 is beyond its limits"), (11, "behind the end")):
            self.assertRegex(run.stdout, rf"job\.nc:{line}: .*{text}")
        self.assertEqual(run.stdout.count("M8"), 1)
        self.assertEqual(run.returncode, 0)

    def test_arguments(self):
        job = self.job("M30", [box([900, 0, 0], [901, 1, 1])])
        for words in ((), ("path",), ("look", job), ("path", job, job), ("path", job, "--jobs", "0"), ("path", job, "--fast"),
                      ("path", job, "--jobs"), ("path", job, "--shard", "3/2", "--part", "p"), ("path", job, "--shard", "1/2"),
                      ("merge", job), ("mesh", job, "--jobs", "2"), ("path", job, "--json", "no/such/folder/r.json"),
                      ("path", job, "--html", "no/such/folder/r.html")):
            self.assertEqual(self.run_program(*words).returncode, 2, words)
        self.assertEqual(self.run_program("--help").returncode, 0)

    def test_damaged_parts_are_refused(self):
        job = self.job("G0 X1\nX2\nM30", [box([0, 0, 0], [1, 1, 60])])
        part = self.folder / "part.json"
        self.run_program("path", job, "--shard", "1/1", "--part", part)
        whole = part.read_text()
        self.assertEqual(self.run_program("merge", job, part).returncode, self.run_program("path", job).returncode)
        for length in range(0, len(whole) - 1, 7):
            part.write_text(whole[:length])
            self.assertEqual(self.run_program("merge", job, part).returncode, 2, length)
        for old, new in (('"shard":[0,1]', '"shard":[5,1]'), ('"shard":[0,1]', '"shard":[0,99999999999]'),
                         ('"hits":[[0', '"hits":[[77'), ('"hits":[[0,0', '"hits":[[0,99'), ('"version":1', '"version":2')):
            self.assertIn(old, whole)
            part.write_text(whole.replace(old, new))
            self.assertEqual(self.run_program("merge", job, part).returncode, 2, new)

    def test_meshes(self):
        def facets(*triangles):
            return "solid a\n" + "".join("facet normal 0 0 0\nouter loop\n" + "".join(f"vertex {c}\n" for c in triangle) +
                                         "endloop\nendfacet\n" for triangle in triangles) + "endsolid a\n"
        o, x, y, z = "0 0 0", "1 0 0", "0 1 0", "0 0 1"
        sound = (o, y, x), (o, x, z), (o, z, y), (x, y, z)
        for name, triangles, fault, count in (
                ("sound", sound, None, 0), ("open", sound[:3], "open edges", 3),
                ("flipped", (*sound[:3], (x, z, y)), "edges run twice the same way (flipped)", 3),
                ("doubled", (*sound, sound[0]), "doubled facets", 1),
                ("opposed", (*sound, sound[0][::-1]), "opposed facets", 1),
                ("degenerate", (*sound, (o, o, x)), "degenerate facets", 1)):
            path = self.folder / f"{name}.stl"
            path.write_text(facets(*triangles))
            before = sorted(os.listdir(self.folder))
            run = self.run_program("mesh", path, "--json", "-")
            report = json.loads(run.stdout)[0]
            self.assertEqual(run.returncode, 1 if fault else 0, name)
            if fault:
                self.assertEqual(report["faults"][fault]["count"], count)
                self.assertIn(fault, self.run_program("mesh", path).stdout)
            self.assertEqual(report["load"]["code"], -101 if name == "open" else 0, name)
            self.assertEqual(report["extent_if_inches"], [25.4] * 3)
            self.assertEqual(sorted(os.listdir(self.folder)), before, "something was written beside the mesh")
        self.assertEqual(report["load"]["cache"], "none")
        (self.folder / "sound.SLD").write_bytes(b"old")
        run = self.run_program("mesh", self.folder / "sound.stl", "--json", "-")
        self.assertEqual(json.loads(run.stdout)[0]["load"]["cache"], "outdated")
        self.assertEqual((self.folder / "sound.SLD").read_bytes(), b"old")
        self.assertEqual(self.run_program("mesh", self.folder / "none.stl").returncode, 2)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
