#!/usr/bin/python3
"""What the report page draws and does, in a real browser.

Usage: page_test.py VIEWER_HTML SCHEMA SCAPI_PAIR [unittest arguments]"""
import base64
import json
import math
import pathlib
import struct
import subprocess
import sys
import tempfile
import unittest

import jsonschema
import numpy
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

from browser import open_browser, stage, still_picture

TEMPLATE, SCHEMA, PAIR = (pathlib.Path(path) for path in sys.argv[1:4])
GREEN, BLUE = "#20a020", "#2030d0"
REST = [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0]
HOSTILE = ["<img src=x onerror='window.hacked=1'>", "</script><script>window.hacked=2</script>",
           "<!--<script>", "\u2028line\u202eback ü 面"]


def pack(kind, numbers):
    return base64.b64encode(struct.pack(f"<{len(numbers)}{kind}", *numbers)).decode()


def box(low, high):
    corners = [(high if i >> axis & 1 else low)[axis] for i in range(8) for axis in range(3)]
    triangles = [0, 2, 1, 1, 2, 3, 4, 5, 6, 5, 7, 6, 0, 1, 4, 1, 5, 4,
                 2, 6, 3, 3, 6, 7, 0, 4, 2, 2, 4, 6, 1, 3, 5, 3, 7, 5]
    return {"vertices": pack("f", corners), "indices": pack("I", triangles)}


def turned_about_y(degrees, x=0.0):
    c, s = math.cos(math.radians(degrees)), math.sin(math.radians(degrees))
    return [c, 0, s, x, 0, 1, 0, 0, -s, 0, c, 0]


def scene(**changes):
    """A green cube of 100 that rests, and a blue bar of 60 x 10 that goes right in front of it, turning
    by 90 degrees in the first of four steps."""
    poses = turned_about_y(0, -100) + turned_about_y(90, -100) + turned_about_y(90, 0) + \
        turned_about_y(90, 100) + turned_about_y(90, 100)
    return {
        "format": "scapi-scene", "version": 1, "title": "Title", "unit": "mm",
        "verdict": {"status": "hit", "text": "Contact"}, "summary": [["Row", "Value"]],
        "meshes": [box((-50, -50, -50), (50, 50, 50)), box((-30, -61, -5), (30, -60, 5))],
        "bodies": [{"name": "cube", "group": "part", "mesh": 0, "color": GREEN, "poses": REST},
                   {"name": "bar", "mesh": 1, "color": BLUE, "poses": pack("f", poses)}],
        "steps": [{"label": f"move {i}", "time": i, "line": f"G1 X{i}"} for i in range(5)],
        "marks": [{"kind": "warning", "step": 2.5, "point": [120, -60, 40], "bodies": [1, 0],
                   "normal": [0, 0, 1], "text": "near"}],
        "plot": {"label": "Clearance", "unit": "mm", "values": [9, 4, None, 2, 7], "limit": 3},
        **changes}


def share(image, channel):
    """Pixels in which a colour rules."""
    others = [c for c in range(3) if c != channel]
    return (image[..., channel] > 1.6 * image[..., others].max(axis=2)) & (image[..., channel] > 60)


def red(image):
    return (image[..., 0] > 180) & (image[..., 1] < 80) & (image[..., 2] < 80)


def middle(mask):
    rows, columns = numpy.nonzero(mask)
    return numpy.array([columns.mean(), rows.mean()])


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.browser = open_browser()

    @classmethod
    def tearDownClass(cls):
        cls.browser.quit()
        cls.folder.cleanup()

    def show(self, shown, browser=None):
        browser = browser or self.browser
        jsonschema.validate(shown, json.loads(SCHEMA.read_text()))
        template = TEMPLATE.read_text()
        self.assertEqual(template.count("@SCAPI_SCENE@"), 1)
        page = pathlib.Path(self.folder.name, "page.html")
        page.write_text(template.replace("@SCAPI_SCENE@", json.dumps(shown).replace("<", "\\u003c")))
        browser.get(page.as_uri())

    def click(self, selector, browser=None):
        (browser or self.browser).find_element(By.CSS_SELECTOR, selector).click()

    def look(self):
        return stage(self.browser, still_picture(self.browser))

    def texts(self, selector, browser=None):
        found = (browser or self.browser).find_elements(By.CSS_SELECTOR, selector)
        return [element.get_property("textContent") for element in found]

    def slide(self, position):
        self.browser.execute_script(
            "const s = document.querySelector('#slider'); s.value = arguments[0];"
            "s.dispatchEvent(new Event('input'))", position)

    def position(self, browser=None):
        return float((browser or self.browser).find_element(By.ID, "slider").get_property("value"))

    def test_front_view_shows_the_cube_at_its_size(self):
        shown = scene()
        for key in ("marks", "plot"):
            del shown[key]
        shown.update(bodies=shown["bodies"][:1], steps=[{}])
        self.show(shown)
        self.click("[data-view=front]")
        image = self.look()
        # The fitted box leaves 8 % beside it: its near face is a square of height / 1.08.
        expected = (image.shape[0] / 1.08) ** 2
        self.assertAlmostEqual(share(image, 1).sum() / expected, 1, delta=0.02)
        self.click("[data-view=top]")
        self.assertAlmostEqual(share(self.look(), 1).sum() / expected, 1, delta=0.02)

    def test_slider_moves_the_body_rigidly(self):
        self.show(scene(marks=[]))
        self.click("[data-view=front]")
        start = share(self.look(), 2)
        self.slide(0.5)
        half = share(self.look(), 2)
        # Blended matrices would shrink the bar to half its area.
        self.assertAlmostEqual(half.sum() / start.sum(), 1, delta=0.04)
        self.assertLess(numpy.linalg.norm(middle(half) - middle(start)), 2)
        rows, columns = numpy.nonzero(half)
        self.assertAlmostEqual(numpy.ptp(rows) / numpy.ptp(columns), 1, delta=0.05)
        self.slide(3)
        right = share(self.look(), 2)
        self.assertGreater(middle(right)[0], middle(start)[0] + 2 * numpy.ptp(columns))

    def test_bodies_are_hidden_and_seen_through(self):
        self.show(scene(marks=[], bodies=scene()["bodies"][:1], meshes=scene()["meshes"][:1]))
        solid = self.look()
        opacity = self.browser.find_element(By.CSS_SELECTOR, "#bodies input[type=range]")
        self.browser.execute_script("arguments[0].value = 0.3; arguments[0].oninput()", opacity)
        glass = self.look()
        inside = share(solid, 1)
        self.assertGreater(glass[inside].min(axis=1).mean(), solid[inside].min(axis=1).mean() + 60)
        for selector in ("#bodies .body input[type=checkbox]", "#bodies .group input"):
            self.click(selector)
            self.assertEqual(share(self.look(), 1).sum(), 0, selector)
            self.click(selector)
            self.assertGreater(inside.sum(), 1000)

    def test_click_on_a_mark_brings_it_to_the_middle(self):
        marks = [{"kind": "hit", "step": step, "point": point, "bodies": [1], "text": f"mark {step}"}
                 for step, point in ((0, [-130, -60, 20]), (2.5, [120, 60, -40]))]
        self.show(scene(marks=marks))
        for index, mark in enumerate(marks):
            self.click(f"#marks li:nth-child({index + 1}) button")
            image = self.look()
            size = numpy.array([image.shape[1], image.shape[0]])
            near = red(image)
            near[:, :size[0] // 2 - 60] = near[:, size[0] // 2 + 60:] = False
            self.assertGreater(near.sum(), 80)
            self.assertLess(numpy.abs(middle(near) - size / 2).max(), 4)
            self.assertEqual(self.position(), mark["step"])
            chosen = self.browser.find_element(By.CSS_SELECTOR, "#marks [aria-current=true]").text
            self.assertEqual(chosen.splitlines()[0], mark["text"])

    def test_attached_mark_goes_with_its_body(self):
        mark = {"kind": "hit", "step": 0, "point": [-100, -61, 0], "attach": 1, "text": "on the bar"}
        self.show(scene(marks=[mark]))
        self.click("[data-view=front]")
        for position in (0, 2, 3):
            self.slide(position)
            image = self.look()
            self.assertLess(numpy.abs(middle(red(image)) - middle(share(image, 2))).max(), 3, position)

    def test_plot_leads_and_follows(self):
        self.show(scene())
        plot = self.browser.find_element(By.CSS_SELECTOR, "#plot svg")
        frame = self.browser.find_element(By.CSS_SELECTOR, "#plot rect").rect
        offset = frame["x"] + 0.75 * frame["width"] - (plot.rect["x"] + plot.rect["width"] / 2)
        ActionChains(self.browser).move_to_element_with_offset(plot, round(offset), 0).click().perform()
        self.assertAlmostEqual(self.position(), 3, delta=0.02)
        self.slide(1)
        cursor = self.browser.find_element(By.CSS_SELECTOR, "#plot .cursor").rect["x"]
        self.assertAlmostEqual(cursor, frame["x"] + frame["width"] / 4, delta=2)
        # The gap at step 2 splits the curve.
        path = self.browser.find_element(By.CSS_SELECTOR, "#plot .curve").get_attribute("d")
        self.assertEqual(path.count("M"), 2)
        self.assertEqual(self.texts("#plot figcaption"), ["Clearance [mm], limit 3"])

    def test_plot_keeps_the_dip_between_pixels(self):
        values = [5.0] * 50_000
        values[31_234] = -40.0
        self.show(scene(steps=[{} for _ in values], bodies=scene()["bodies"][:1], marks=[],
                        plot={"label": "d", "unit": "mm", "values": values}))
        lowest = self.browser.find_element(By.CSS_SELECTOR, "#plot .curve").rect
        frame = self.browser.find_element(By.CSS_SELECTOR, "#plot rect").rect
        self.assertGreater(lowest["height"], 0.9 * frame["height"])

    def test_play_runs_to_the_end_and_stops(self):
        self.show(scene(marks=[]))
        self.slide(3.8)
        self.click("#play")
        self.assertEqual(self.texts("#play"), ["Pause"])
        WebDriverWait(self.browser, 30).until(lambda _: self.position() == 4)
        WebDriverWait(self.browser, 30).until(lambda _: self.texts("#play") == ["Play"])
        self.click("#previous")
        self.assertEqual(self.texts("#position"), ["Step 4 of 5 · move 3 · 3 · G1 X3"])

    def test_hostile_texts_stay_texts(self):
        text = "".join(HOSTILE)
        shown = scene(title=text, unit=text, verdict={"status": "clear", "text": text},
                      summary=[[text, text]], steps=[{"label": text, "line": text}] * 2)
        shown["bodies"] = [{"name": text, "group": text, "mesh": 0, "poses": REST}]
        shown["marks"] = [{"kind": "fault", "step": 0, "point": [0, 0, 0], "bodies": [0], "text": text}]
        shown["plot"] = {"label": text, "unit": text, "values": [1, 2]}
        self.show(shown)
        self.assertIsNone(self.browser.execute_script("return window.hacked"))
        self.assertEqual(self.browser.find_elements(By.CSS_SELECTOR, "body img"), [])
        for selector in ("#title", "#bodies .name", "#bodies .group label", "#summary th", "#summary td"):
            self.assertEqual(self.texts(selector), [text], selector)
        self.assertIn(text, self.texts("#verdict")[0])
        self.assertTrue(self.texts("#marks button")[0].startswith(text))
        self.assertEqual(len(self.texts("script")), 4)

    def test_nothing_is_loaded_and_nothing_is_logged(self):
        self.show(scene())
        self.look()
        loaded = "return performance.getEntriesByType('resource').map(entry => entry.name)"
        self.assertEqual([url for url in self.browser.execute_script(loaded) if url[:5] != "data:"], [])
        self.assertEqual([entry for entry in self.browser.get_log("browser") if entry["level"] == "SEVERE"], [])
        self.assertIn("Permission is hereby granted", self.texts("#licence pre")[0])

    def test_without_webgl_lists_and_plot_remain(self):
        browser = open_browser("--disable-3d-apis")
        self.addCleanup(browser.quit)
        self.show(scene(), browser)
        self.assertIn("WebGL", self.texts("#notice", browser)[0])
        self.click("#marks button", browser)
        self.assertEqual(self.position(browser), 2.5)
        self.assertEqual(len(browser.find_elements(By.CSS_SELECTOR, "#plot .curve")), 1)
        self.assertEqual(self.texts("#bodies .name", browser), ["cube", "bar"])

    def test_damaged_scene_says_so(self):
        for damage, message in ((lambda s: s.update(version=2), "version 1"),
                                (lambda s: s["bodies"][1].update(mesh=7), "names no mesh"),
                                (lambda s: s["bodies"][1].update(poses=pack("f", REST * 2)), "one for each step"),
                                (lambda s: s.update(steps=[]), "no steps")):
            shown = scene()
            damage(shown)
            page = pathlib.Path(self.folder.name, "damaged.html")
            page.write_text(TEMPLATE.read_text().replace("@SCAPI_SCENE@", json.dumps(shown)))
            self.browser.get(page.as_uri())
            self.assertIn(message, self.texts("#notice")[0])

    def test_page_of_scapi_pair_shows_the_contact(self):
        page = pathlib.Path(self.folder.name, "pair ü.html")
        run = subprocess.run([PAIR, "box:-50,-50,0,50,50,10", "cyl:0,0,0,0,0,40,5", "--pose-b", "-30,0,30",
                              "--path-b", "0,0,-40", "--html", page], stdout=subprocess.PIPE, text=True)
        self.assertEqual(run.returncode, 1)
        written = page.read_text().split('<script id="scene" type="application/json">')[1].split("</script>")[0]
        jsonschema.validate(json.loads(written), json.loads(SCHEMA.read_text()))
        self.browser.get(page.as_uri())
        self.assertIn("CONTACT at 49.975 %", self.texts("#verdict")[0])
        self.assertAlmostEqual(self.position(), 60 * 0.49975, delta=0.01)
        self.click("#marks button")
        image = self.look()
        size = numpy.array([image.shape[1], image.shape[0]])
        self.assertLess(numpy.abs(middle(red(image)) - size / 2).max(), 60)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
