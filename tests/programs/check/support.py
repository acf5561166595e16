"""Jobs in a folder of their own, and runs of scapi-check on them."""
import json
import pathlib
import subprocess
import tempfile
import unittest

X = {"axis": "X", "direction": [1, 0, 0], "rapid": 1000}
Y = {"axis": "Y", "direction": [0, 1, 0], "rapid": 1000}
Z = {"axis": "Z", "direction": [0, 0, 1], "rapid": 1000}
TOOL = {"number": 1, "length": 100, "cylinder": {"radius": 5, "height": 80}, "cutting_length": 30}


def box(low, high, name="block", group="fixture", **more):
    return {"name": name, "group": group, "box": {"low": low, "high": high}, **more}


class Runs(unittest.TestCase):
    """PROGRAM is set by the test that is run."""
    PROGRAM = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="夹具 ")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def job(self, gcode="", bodies=(), machine=None, tools=(TOOL,), name="job", **more):
        """The tip of tool 1 starts at 0, 0, 50, where G43 H1 has its zero 50 lower."""
        path = self.folder / f"{name}.json"
        (self.folder / f"{name}.nc").write_bytes(gcode.encode())
        job = {"machine": machine or {"table": [], "head": [X, Y, Z], "spindle": {"at": [0, 0, 150]}},
               "bodies": list(bodies), "tools": list(tools), "program": f"{name}.nc", "chord": 0.001,
               "offsets": {"G54": {"Z": -150}}, "start": {"tool": 1}, "clearance": {"limit": 0.5}, **more}
        path.write_text(json.dumps({key: value for key, value in job.items() if value is not None}))
        return path

    def run_program(self, *words, timeout=120):
        """A run whose lines end alike on every system."""
        run = subprocess.run([self.PROGRAM, *map(str, words)], capture_output=True, timeout=timeout, cwd=self.folder)
        run.stdout, run.stderr = run.stdout.decode(errors="replace"), run.stderr.decode(errors="replace")
        self.assertNotIn("\r", run.stdout + run.stderr)
        return run

    def check(self, job, *words):
        """@return the exit status and the report"""
        run = self.run_program("path", job, "--json", "-", *words)
        self.assertEqual(run.stderr if run.returncode == 2 else "", "")
        return run.returncode, json.loads(run.stdout)
