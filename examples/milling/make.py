#!/usr/bin/env python3
"""Writes part.stl and the programs of the milling examples beside this script.

The part is a block of 100 x 68 x 60 with a pocket of 60 x 40 x 40. Program zero is the middle of its
top. Three collisions are planted in trunnion.nc: search for PLANTED.
"""
import pathlib

HERE = pathlib.Path(__file__).parent
BLOCK = ((-50, -34, 50), (50, 34, 110))
TOOL_CHANGE = ["G91 G28 Z0", "G90"]
POCKET = ((-30, -20, 70), (30, 20, 110))


def quad(a, b, c, d):
    return [(a, b, c), (a, c, d)]


def walls(low, high, inwards):
    """Four walls of a box, seen from outside or from inside."""
    x, y = (low[0], high[0]), (low[1], high[1])
    ring = [(x[0], y[0]), (x[1], y[0]), (x[1], y[1]), (x[0], y[1])]
    out = []
    for p, q in zip(ring, ring[1:] + ring[:1]):
        if inwards:
            p, q = q, p
        out += quad((*p, low[2]), (*q, low[2]), (*q, high[2]), (*p, high[2]))
    return out


def part():
    (low, high), (inner_low, inner_high) = BLOCK, POCKET
    outer = [(low[0], low[1]), (high[0], low[1]), (high[0], high[1]), (low[0], high[1])]
    inner = [(inner_low[0], inner_low[1]), (inner_high[0], inner_low[1]),
             (inner_high[0], inner_high[1]), (inner_low[0], inner_high[1])]
    facets = walls(low, high, False) + walls(inner_low, inner_high, True)
    facets += quad(*[(*p, low[2]) for p in reversed(outer)])
    facets += quad(*[(*p, inner_low[2]) for p in inner])
    for i in range(4):
        j = (i + 1) % 4
        facets += quad((*outer[i], high[2]), (*outer[j], high[2]), (*inner[j], high[2]), (*inner[i], high[2]))
    return facets


def write_stl(path, facets):
    lines = ["solid part"]
    for facet in facets:
        lines += ["facet normal 0 0 0", "outer loop"]
        lines += [f"vertex {x} {y} {z}" for x, y, z in facet]
        lines += ["endloop", "endfacet"]
    path.write_text("\n".join(lines + ["endsolid part"]) + "\n")


def face(out):
    out += ["(FACE)", "T1 M6", "S6000 M3", "G0 G54 X-60 Y-30", "G43 H1 Z20", "Z2", "G1 Z0 F800"]
    for i in range(7):
        y = -30 + 10 * i
        out.append(f"X{60 if i % 2 == 0 else -60}")
        if i < 6:
            out.append(f"Y{y + 10}")
    out.append("G0 Z20")


def rough(out):
    out += ["(ROUGH POCKET, 0.5 LEFT ON WALLS)", "G0 X0 Y0", "Z2"]
    for depth in (5, 10, 15, 20, 25, 30, 35, 39.5):
        out += [f"G1 Z-{depth} F300", "F900"]
        for i in range(6):
            y = -13.5 + 5.4 * i
            out += [f"X{-23.5 if i % 2 == 0 else 23.5} Y{y:g}", f"X{23.5 if i % 2 == 0 else -23.5}"]
        out.append("X0 Y0")
    out.append("G0 Z20")


def clamp_rapid(out):
    out += ["(SPOT BESIDE THE VISE)", "G0 X95 Y-45", "Z-45", "(PLANTED: RAPID THROUGH A CLAMP)", "Y45", "Z20"]


def finish(out):
    out += ["(FINISH POCKET)", *TOOL_CHANGE, "T2 M6", "S9000 M3", "G0 X0 Y0", "G43 H2 Z20", "Z2"]
    for depth in (6, 12, 18, 24, 30, 36):
        if depth == 36:
            out.append("(PLANTED: THE HOLDER IS 1 MM BELOW THE TOP OF THE WALLS)")
        out += [f"G1 Z-{depth} F300", "Y16 F1200", "X-25", "G3 X-26 Y15 R1", "G1 Y-15", "G3 X-25 Y-16 R1",
                "G1 X25", "G3 X26 Y-15 R1", "G1 Y15", "G3 X25 Y16 R1", "G1 X0", "Y0"]
    out.append("G0 Z20")


def drill(out):
    out += ["(HOLES IN THE RIM)", *TOOL_CHANGE, "T3 M6", "S3000 M3", "G0 X-40 Y-27", "G43 H3 Z20", "G99 G81 Z-12 R2 F200"]
    out += ["X0", "X40", "Y27", "G83 X0 Z-18 Q4", "X-40", "G80", "G0 Z20"]


def tilt(out):
    out += ["(ENGRAVE ON TURNED SIDES)", "G0 Z160", "X0 Y0"]
    for turn in range(0, 360, 45):
        out += [f"G0 C{turn} A-30", "Z120"]
        out += [f"G1 X{5 - 10 * (k % 2)} Z{118 - k} A{-30 - k} C{turn + 2 * k} F2000" for k in range(1, 7)]
        out += ["G0 Z160"]
    out += ["G0 A0 C0", "X0 Y0", "Z14", "(PLANTED: TILT WITH THE TOOL TOO LOW)", "A70", "Z160", "A0"]


def program():
    out = ["%", "O1000 (MILLING EXAMPLE)", "G21 G17 G40 G49 G80 G90 G94"]
    for section in (face, rough, clamp_rapid, finish, drill, tilt):
        section(out)
    out += ["M5", "G49", "G91 G28 Z0", "G28 X0 Y0", "M30", "%"]
    return out


def three_axis():
    out = ["%", "(POCKET ON THREE AXES, CLEAR)", "G21 G17 G90 G54 G94", "T1 M6", "S6000 M3", "G0 X0 Y0", "G43 H1 Z20", "Z2"]
    for depth in range(4, 40, 4):
        out += [f"G1 Z-{depth} F300", "G2 X12 Y0 R6 F900", "G2 I-12", "G2 X0 R6"]
    out += ["G0 Z20", "G91 G28 Z0", "M30", "%"]
    return out


def head_table():
    out = ["%", "(CHAMFER WITH THE HEAD TILTED, CLEAR)", "G21 G17 G90 G54 G94", "T1 M6", "S6000 M3", "G0 X0 Y0 B0 C0",
           "G43 H1 Z150"]
    for turn in (0, 180):
        out += [f"G0 C{turn} B-35", "X150 Z60", "G1 Y-30 F2000", "Y30 B-45", "Y0 B-35 Z70", "G0 Z150 B0"]
    out += ["G91 G28 Z0", "M30", "%"]
    return out


write_stl(HERE / "part.stl", part())
for name, lines in (("trunnion", program()), ("three_axis", three_axis()), ("head_table", head_table())):
    (HERE / f"{name}.nc").write_text("\n".join(lines) + "\n")
