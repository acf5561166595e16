#!/usr/bin/python3
"""The report pages of scapi-check in a real browser: the scene, the hits, the plot.

Usage: page_test.py SCAPI_CHECK EXAMPLES VIEW_TESTS [unittest arguments]"""
import pathlib
import sys
import unittest

import numpy

sys.path.insert(0, sys.argv[3])
from browser import open_browser, stage, still_picture
from support import Runs

Runs.PROGRAM, EXAMPLES = sys.argv[1], pathlib.Path(sys.argv[2]).resolve()


def red(image):
    return (image[..., 0] > 180) & (image[..., 1] < 80) & (image[..., 2] < 80)


class Page(Runs):
    def setUp(self):
        super().setUp()
        self.browser = open_browser()
        self.addCleanup(self.browser.quit)

    def texts(self, selector):
        return [element.get_property("textContent") for element in self.browser.find_elements("css selector", selector)]

    def look(self):
        return stage(self.browser, still_picture(self.browser))

    def show(self, *words):
        page = self.folder / "report.html"
        run = self.run_program(*words, "--html", page)
        self.browser.get(page.as_uri())
        return run.returncode

    def test_path_shows_the_hits_where_they_are(self):
        self.assertEqual(self.show("path", EXAMPLES / "trunnion.json"), 1)
        self.assertIn("3 hits in 345 moves", self.texts("#verdict")[0])
        marks = [text for text in self.texts("#marks button") if "approach" in text]
        self.assertEqual(len(marks), 3)
        for text, pair in zip(marks, ("right clamp / T1 cutter", "part / T2 holder", "rear jaw / T3 cutter")):
            self.assertIn(pair, text)
        self.browser.find_elements("css selector", "#marks button")[0].click()
        image = self.look()
        # The place of the hit comes to the middle, and the clamp stands in it.
        size = numpy.array([image.shape[1], image.shape[0]])
        rows, columns = numpy.nonzero(red(image))
        self.assertGreater(len(rows), 30)
        self.assertLess(numpy.abs([columns.mean(), rows.mean()] - size / 2).max(), 80)
        self.assertIn("Y45", self.texts("#position")[0])
        self.assertEqual(len(self.browser.find_elements("css selector", "#plot .curve")), 1)
        self.browser.get("about:blank")
        self.browser.get((self.folder / "report.html").as_uri() + "#2")
        self.assertIn("Y16", self.texts("#position")[0])
        loaded = self.browser.execute_script("return performance.getEntriesByType('resource').map(e => e.name)")
        self.assertEqual([url for url in loaded if not url.startswith("data:")], [])

    def test_mesh_shows_its_faults(self):
        corners = [(0, 0, 0), (100, 0, 0), (0, 100, 0), (0, 0, 100)]
        facets = [(0, 2, 1), (0, 1, 3), (0, 3, 2)]
        text = "".join("facet normal 0 0 0\nouter loop\n" + "".join("vertex %g %g %g\n" % corners[i] for i in f) +
                       "endloop\nendfacet\n" for f in facets)
        (self.folder / "open.stl").write_text(f"solid a\n{text}endsolid a\n")
        self.assertEqual(self.show("mesh", self.folder / "open.stl"), 1)
        self.assertIn("1 of 1 meshes faulty", self.texts("#verdict")[0])
        self.assertEqual(len([text for text in self.texts("#marks button") if "open edges" in text]), 3)
        self.assertGreater(self.look().std(), 5)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
