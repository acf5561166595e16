"""Draws the pictures of the guide from the figures that measure prints. Usage: FIGURES FOLDER CPU"""
import json
import math
import pathlib
import sys

A, B, HIT, CLEAR, INSIDE, INK, GREY = (
    "#1f4e79", "#b45309", "#b3261e", "#2e7d32", "#6a3d9a", "#222222", "#777777")
PALE_A, PALE_B = "#d0e2f2", "#fde0c0"
VERDICT = {0: ("INDETERMINATE", GREY), 1: ("CLEAR", CLEAR), 2: ("CONTACT", HIT),
           3: ("INSIDE", INSIDE), 4: ("START_CONTACT", HIT)}
RELATION = {0: "", 1: "APART", 2: "TOUCHING", 3: "CROSSING", 4: "A_IN_B", 5: "B_IN_A"}


class Picture:
    """An SVG file on a white ground, so that it reads on a dark page too."""

    def __init__(self, width, height, title):
        self.parts = [
            f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" '
            f'font-family="sans-serif" font-size="13" fill="{INK}">\n<title>{title}</title>\n'
            f'<rect width="{width}" height="{height}" fill="#ffffff"/>\n'
            '<defs><marker id="m" viewBox="0 0 8 8" refX="7" refY="4" markerWidth="8" '
            f'markerHeight="8" orient="auto"><path d="M0 0L8 4L0 8z" fill="{INK}"/></marker></defs>']

    def text(self, x, y, text, anchor="start", fill=INK, size=13, weight="normal", halo=""):
        if halo:
            halo = f' stroke="{halo}" stroke-width="4" paint-order="stroke"'
        self.parts.append(f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" fill="{fill}" '
                          f'font-size="{size}" font-weight="{weight}"{halo}>{text}</text>')

    def box(self, x, y, width, height, fill, stroke="none", radius=0, opacity=1.0):
        self.parts.append(f'<rect x="{x:.1f}" y="{y:.1f}" width="{width:.1f}" '
                          f'height="{height:.1f}" rx="{radius}" fill="{fill}" '
                          f'fill-opacity="{opacity}" stroke="{stroke}"/>')

    def line(self, points, stroke, width=1.0, dash="", arrow=False, fill="none", opacity=1.0,
             close=False):
        path = "M" + "L".join(f"{x:.1f} {y:.1f}" for x, y in points) + ("z" if close else "")
        self.parts.append(
            f'<path d="{path}" fill="{fill}" fill-opacity="{opacity}" stroke="{stroke}" '
            f'stroke-width="{width}"' + (f' stroke-dasharray="{dash}"' if dash else "")
            + (' marker-end="url(#m)"' if arrow else "") + "/>")

    def curve(self, path):
        self.parts.append(
            f'<path d="{path}" fill="none" stroke="{INK}" marker-end="url(#m)"/>')

    def save(self, path):
        path.write_text("\n".join(self.parts) + "\n</svg>\n")


def situations(figures, path):
    """Pairs of solids seen from the side, with what each library answers."""
    cells = [
        ("cross", "Their surfaces cross", (0, 0, 20, 20), (9, 11, 20, 20)),
        ("pin", "A, a pin, stands in a plate", (0, 10, 4, 20), (12, -1, 60, 12)),
        ("inside", "B lies inside A", (0, 0, 20, 20), (2, 3, 6, 6)),
        ("touch", "Their faces touch", (0, 0, 20, 20), (20, 4, 20, 20)),
        ("copy", "B is a copy of A, in the same place", (0, 0, 20, 20), (0, 0, 20, 20)),
        ("world", "They cross; A was placed by a pose", (60, 0, 20, 20), (69, 11, 20, 20)),
    ]
    answers = figures["situations"]
    picture = Picture(930, 500, "Six pairs of solids, and what the two libraries answer")
    for i, (name, caption, a, b) in enumerate(cells):
        left, top = 20 + 305 * (i % 3), 16 + 242 * (i // 3)
        picture.box(left, top, 285, 226, "#fafafa", "#cccccc", 4)
        picture.text(left + 12, top + 22, caption, weight="bold")
        middle = ((min(a[0] - a[2] / 2, b[0] - b[2] / 2) + max(a[0] + a[2] / 2, b[0] + b[2] / 2)) / 2,
                  (min(a[1] - a[3] / 2, b[1] - b[3] / 2) + max(a[1] + a[3] / 2, b[1] + b[3] / 2)) / 2)
        if name == "pin":
            of_b, of_a, places = figures["pin"]
            picture.text(left + 12, top + 38, f"At {places} places: {of_b} found one way, "
                         f"{of_a} the other", size=11, fill=GREY)
        places = []
        for solid, fill, stroke in ((a, PALE_A, A), (b, PALE_B, B)):
            x = left + 142 + 3 * (solid[0] - middle[0] - solid[2] / 2)
            y = top + 88 - 3 * (solid[1] - middle[1] + solid[3] / 2)
            picture.box(x, y, 3 * solid[2], 3 * solid[3], fill, stroke, opacity=0.75)
            places.append((x, y))
        picture.text(places[0][0] + (5 if name != "pin" else 1.5), places[0][1] + 15, "A", fill=A,
                     weight="bold")
        picture.text(places[1][0] + (5 if name != "copy" else 46), places[1][1] + 15, "B", fill=B,
                     weight="bold")
        forward, reverse, verdict, relation = answers[name]
        word, colour = VERDICT[verdict]
        rows = [("edges of B on faces of A", *(("1 contact", HIT), ("2 none", INK))[forward - 1]),
                ("edges of A on faces of B", *(("1 contact", HIT), ("2 none", INK))[reverse - 1]),
                ("proximity library", f"{word} {RELATION[relation]}", colour)]
        for row, (what, answer, colour) in enumerate(rows):
            y = top + 172 + 20 * row
            picture.text(left + 12, y, what)
            picture.text(left + 273, y, answer, "end", colour, weight="bold")
    picture.save(path)


def passing(figures, path):
    """Distance along a path, and below it the answers at each pose."""
    data = figures["pass"]
    steps, height = data["steps"], data["height"]
    picture = Picture(930, 560, "A short tool tip passes through a clamp: distance and answers")

    def at(x):
        return 190 + (x - data["from"]) / (data["to"] - data["from"]) * 710

    def up(z):
        return 200 - (z - 14) * 4.2

    scale = 710 / (data["to"] - data["from"])
    picture.text(20, 28, "The clamp on its plate,", weight="bold")
    picture.text(20, 46, "and the tip of a tool", weight="bold")
    picture.text(20, 64, "that goes through it")
    clamp = [(-40, 20.5), (-10, 20.5), (40, 40), (40, 48), (-40, 34)]
    picture.line([(at(x), up(z)) for x, z in clamp], A, fill=PALE_A, close=True)
    picture.box(at(-60), up(20), 710, up(14) - up(20), PALE_A, A)
    first = data["from"] + (data["to"] - data["from"]) * data["t_contact"]
    for x, opacity in ((data["from"] + 4, 0.9), (first, 0.9), (-20, 0.9), (data["to"] - 4, 0.9)):
        picture.box(at(x) - 3 * scale, up(height + 8), 6 * scale, 8 * 4.2, PALE_B, B, 0, opacity)
    picture.line([(at(data["from"] + 9), up(height + 4)), (at(first) - 24, up(height + 4))], INK,
                 arrow=True)

    top, bottom, most = 226, 376, 1.5 * max(step[1] for step in steps)

    def high(distance):
        return bottom - distance / most * (bottom - top)

    picture.text(20, top + 14, "scapi_distance", weight="bold")
    picture.text(20, top + 32, "of the surfaces")
    for tick in (0, 5, 10, 15, 20):
        if tick <= most:
            picture.line([(190, high(tick)), (900, high(tick))], "#dddddd")
            picture.text(182, high(tick) + 4, tick, "end", GREY)
    picture.line([(at(step[0]), high(step[1])) for step in steps], A, 2)
    picture.line([(at(first), up(48)), (at(first), 520)], HIT, 1, "5 4")
    picture.text(at(first) + 6, top + 12, "scapi_time_of_impact:", fill=HIT)
    picture.text(at(first) + 6, top + 28, f"first contact at t = {data['t_contact']:.6f}", fill=HIT)

    def strip(y, name, detail, kinds):
        picture.text(20, y + 12, name, weight="bold")
        picture.text(20, y + 28, detail, fill=GREY, size=12)
        start = 0
        for i in range(1, len(kinds) + 1):
            if i < len(kinds) and kinds[i] == kinds[start]:
                continue
            word, colour = kinds[start]
            x0, x1 = at(steps[start][0]), at(steps[min(i, len(kinds) - 1)][0])
            picture.box(x0, y, x1 - x0, 30, colour)
            if x1 - x0 > 8 * len(word) + 6:
                picture.text((x0 + x1) / 2, y + 19, word, "middle", "#ffffff", 12, "bold")
            start = i

    strip(396, "The fifteen calls", "tip placed, either way",
          [("contact", HIT) if step[2] or step[3] else ("none", CLEAR) for step in steps])
    strip(440, "scapi_within", "verdict", [VERDICT[step[4]] for step in steps])
    for x in range(-60, 61, 20):
        picture.line([(at(x), 478), (at(x), 484)], GREY)
        picture.text(at(x), 498, x, "middle", GREY)
    picture.text(545, 516, "x of the tip", "middle", GREY)
    picture.text(190, 543, "Between x = -36 and 0 the tip is wholly inside: no edge reaches a face, and "
                 "the fifteen calls find nothing.")
    picture.save(path)


def hull(points):
    """Andrew's monotone chain."""
    def half(ordered):
        out = []
        for p in ordered:
            while len(out) > 1 and ((out[-1][0] - out[-2][0]) * (p[1] - out[-2][1])
                                    <= (out[-1][1] - out[-2][1]) * (p[0] - out[-2][0])):
                out.pop()
            out.append(p)
        return out[:-1]
    ordered = sorted({tuple(p) for p in points})
    return half(ordered) + half(ordered[::-1])


def rotation(figures, path):
    """What is swept, beside where a body goes that turns on its way."""
    picture = Picture(930, 470, "A bar that turns on its way: what is swept, and where it goes")
    for row, data in enumerate(figures["rotation"]):
        for column in range(2):
            left, top = 20 + 455 * column, 40 + 218 * row

            def at(point):
                return left + 95 + 1.55 * point[0], top + 100 - 1.55 * point[1]

            picture.box(left, top, 435, 200, "#fafafa", "#cccccc", 4)
            picture.text(left + 10, top + 20, f"{data['degrees']:g} degrees", weight="bold")
            if column == 0:
                swept = hull(data["start"] + data["end"])
                picture.line([at(p) for p in swept], B, 1.5, fill=PALE_B, close=True)
                for pose in (data["start"], data["end"]):
                    picture.line([at(p) for p in hull(pose)], B, 1.5, close=True)
                for pose in (data["poses"][0], data["poses"][-1]):
                    picture.line([at(p) for p in pose], GREY, 1, "4 3", close=True)
            else:
                for pose in data["poses"]:
                    picture.line([at(p) for p in pose], B, 1, fill=PALE_B, opacity=0.45, close=True)
            for x, y, hit, verdict in data["posts"]:
                word, colour = (("contact", HIT) if hit else ("none", CLEAR)) if column == 0 else \
                    VERDICT[verdict]
                px, py = at((x, y))
                picture.box(px - 4.7, py - 4.7, 9.3, 9.3, colour, INK)
                picture.text(px + 9, py + 4, word, fill=colour, weight="bold", size=12, halo="#fafafa")
    picture.text(20, 26, "The fifteen calls: one mean shape, moved straight", weight="bold")
    picture.text(475, 26, "scapi_time_of_impact: the body as it turns", weight="bold")
    picture.save(path)


class Chart:
    """Axes of logarithms in a rectangle of a picture."""

    def __init__(self, picture, left, top, right, bottom, xs, ys):
        self.picture, self.frame, self.xs, self.ys = picture, (left, top, right, bottom), xs, ys
        for exponent in range(round(math.log10(xs[0])), round(math.log10(xs[1])) + 1):
            x = self.at(10.0 ** exponent, ys[0])[0]
            picture.line([(x, top), (x, bottom)], "#dddddd")
            picture.text(x, bottom + 18, self.number(exponent), "middle", GREY)
        for exponent in range(round(math.log10(ys[0])), round(math.log10(ys[1])) + 1):
            y = self.at(xs[0], 10.0 ** exponent)[1]
            picture.line([(left, y), (right, y)], "#dddddd")
            picture.text(left - 8, y + 4, self.number(exponent), "end", GREY)

    @staticmethod
    def number(exponent):
        return f"{10 ** exponent:,}" if exponent >= 0 else f"{10.0 ** exponent:.{-exponent}f}"

    def at(self, x, y):
        left, top, right, bottom = self.frame
        part = (math.log(x / self.xs[0]) / math.log(self.xs[1] / self.xs[0]),
                math.log(y / self.ys[0]) / math.log(self.ys[1] / self.ys[0]))
        return left + part[0] * (right - left), bottom - part[1] * (bottom - top)

    def plot(self, points, colour, label, dy=-8, dx=0, anchor="start", dash="", where=-1):
        places = [self.at(x, y) for x, y in points]
        self.picture.line(places, colour, 2, dash)
        for x, y in places:
            if not dash:
                self.picture.parts.append(f'<circle cx="{x:.1f}" cy="{y:.1f}" r="3" fill="{colour}"/>')
        x, y = places[where]
        self.picture.text(x + dx, y + dy, label, anchor, colour, weight="bold")


def margins(figures, path):
    """How far beside a face contact is reported."""
    picture = Picture(930, 430, "The margin beside the sides of triangles over their length")
    chart = Chart(picture, 90, 30, 900, 370, (1e-3, 10), (1e-5, 100))
    rows = figures["margins"]
    chart.plot([(side, along) for side, _, along in rows], HIT,
               "an edge of this length that runs in the plane of the face: 0.0126 / length", -12, 14, where=3)
    chart.plot([(side, crossing) for side, crossing, _ in rows], B,
               "an edge that crosses that plane, beside such a side: 1e-4 / length", 131, 6, where=0)
    chart.plot([(1e-3, 1e-4), (10, 1e-4)], A, "1e-4, the tolerance; the proximity library keeps to the one "
               "it is given", 18, 6, dash="6 4", where=0)
    picture.text(495, 414, "length of the side or edge, in the unit of the files", "middle")
    picture.text(90, 20, "Widest gap that the fifteen calls report as contact", weight="bold")
    picture.save(path)


def cache(figures, path):
    """The states of a cache file, and the loads that lead from one to the next."""
    seen = figures["cache"]
    # result, size of the box that came, whether the cache was written: what the picture says
    expected = {"first": [0, 10, 1], "again": [0, 10, 0], "newer": [0, 20, 1], "older": [0, 30, 1],
                "same second": [0, 30, 0], "damaged": [0, 40, 1], "no place": [1, 40, 0]}
    if seen != expected:
        sys.exit(f"the cache does not do what the picture says: {seen}")
    picture = Picture(930, 400, "The life of a cache file")

    def state(x, y, name, detail, fill, stroke):
        picture.box(x, y, 200, 62, fill, stroke, 8)
        picture.text(x + 100, y + 26, name, "middle", weight="bold")
        picture.text(x + 100, y + 46, detail, "middle", size=12)

    state(30, 60, "none", "no SLD file", "#eeeeee", GREY)
    state(365, 60, "current", "times equal, in seconds", "#dcefdc", CLEAR)
    state(700, 60, "out of date", "times differ, or damaged", PALE_B, B)
    state(365, 290, "wrong, unnoticed", "times equal, content is not", "#f6d5d2", HIT)
    picture.curve("M230 91 L362 91")
    picture.text(296, 74, "load: read STL,", "middle", size=12)
    picture.text(296, 110, "refine, write SLD", "middle", size=12)
    picture.curve("M565 80 L697 80")
    picture.text(631, 46, "STL is written at", "middle", size=12)
    picture.text(631, 62, "another second", "middle", size=12)
    picture.curve("M700 104 L568 104")
    picture.text(634, 122, "load: read STL,", "middle", size=12)
    picture.text(634, 138, "refine, replace SLD", "middle", size=12)
    picture.curve("M440 60 C430 18 500 18 490 57")
    picture.text(465, 20, "load: read SLD", "middle", size=12)
    picture.curve("M365 108 C320 175 200 175 160 125")
    picture.text(262, 176, "SLD is removed", "middle", size=12)
    picture.curve("M440 122 L440 287")
    picture.text(430, 200, "STL is rewritten within its second,", "end", size=12)
    picture.text(430, 216, "or put back with its old time", "end", size=12)
    picture.curve("M480 290 L480 125")
    picture.text(490, 240, "STL is touched, then loaded", size=12)
    picture.curve("M565 330 C625 355 625 290 568 312")
    picture.text(622, 318, "load: read SLD, result 0,", size=12)
    picture.text(622, 334, "the old solid", size=12, fill=HIT, weight="bold")
    picture.text(30, 385, "Where no SLD can be written, a load reads the STL file, gives a good solid "
                 "and returns 1.", size=12)
    picture.save(path)


def loads(figures, path, cpu):
    """Processor time of loads over triangles."""
    picture = Picture(930, 470, "Time of loads over the number of triangles")
    chart = Chart(picture, 90, 40, 740, 410, (1e3, 1e6), (1e-2, 1e4))
    rows = figures["loads"]
    lines = [(1, B, "SCAPI_LoadSTL, first"), (2, CLEAR, "SCAPI_LoadSTL, cached"),
             (3, A, "scapi_mesh_from_stl"), (5, INSIDE, "first query of two such")]
    # Labels stand beside the last points, highest first, and keep clear of each other.
    lowest = 0.0
    for column, colour, label in sorted(lines, key=lambda line: -rows[-1][line[0]]):
        y = chart.at(*[rows[-1][i] for i in (0, column)])[1]
        lowest = max(y + 4, lowest + 17)
        chart.plot([(row[0], row[column]) for row in rows], colour, label, lowest - y, 10)
    picture.text(415, 452, "triangles of the file, a closed bumpy sphere", "middle")
    picture.text(90, 24, f"Milliseconds of processor time, least of several runs, one core of {cpu}",
                 weight="bold")
    picture.save(path)


def main():
    figures = json.loads(pathlib.Path(sys.argv[1]).read_text())
    folder = pathlib.Path(sys.argv[2])
    situations(figures, folder / "situations.svg")
    passing(figures, folder / "pass.svg")
    rotation(figures, folder / "rotation.svg")
    margins(figures, folder / "margin.svg")
    cache(figures, folder / "cache.svg")
    loads(figures, folder / "load.svg", sys.argv[3])


main()
