"""A headless Chromium that shows a page, and pictures of it as arrays."""
import io
import time

import numpy
from PIL import Image
from selenium import webdriver
from selenium.webdriver.chrome.service import Service

WIDTH, HEIGHT = 1240, 860


def open_browser(*more):
    """Works as root and without a graphics card, with flights of the camera cut short, since each of
    their pictures takes its time; `more` are further switches of Chromium."""
    options = webdriver.ChromeOptions()
    options.binary_location = "/usr/bin/chromium"
    for switch in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--hide-scrollbars",
                   "--use-angle=swiftshader", "--enable-unsafe-swiftshader",
                   "--force-device-scale-factor=1", "--force-prefers-reduced-motion",
                   f"--window-size={WIDTH},{HEIGHT}", *more):
        options.add_argument(switch)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    return webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)


def picture(browser):
    png = browser.get_screenshot_as_png()
    return numpy.asarray(Image.open(io.BytesIO(png)).convert("RGB")).astype(int)


def still_picture(browser, seconds=60):
    """The picture once it stands still, after flights of the camera and slow drawing."""
    last, since = None, time.monotonic()
    while time.monotonic() - since < seconds:
        now = picture(browser)
        if last is not None and numpy.array_equal(last, now):
            return now
        last = now
        time.sleep(0.2)
    raise AssertionError("the page never stands still")


def stage(browser, image):
    """The part of a picture that shows the scene in 3D; its buttons are blackened."""
    box = browser.execute_script(
        "const r = document.querySelector('#stage').getBoundingClientRect();"
        "return [r.left, r.top, r.right, r.bottom].map(Math.round)")
    part = image[box[1]:box[3], box[0]:box[2]].copy()
    part[:40, :320] = 0
    return part
