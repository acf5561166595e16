"""Turns the results of the benchmarks in a folder into a table and a picture for each."""
import json
import pathlib
import sys

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt


def read_rows(path):
    """Rows of a result file: name -> {triangles: time}, and the unit of the times."""
    rows, unit = {}, ""
    text = path.read_text()
    # A filter that matches nothing leaves an empty file.
    for run in json.loads(text)["benchmarks"] if text.strip() else []:
        if run.get("error_occurred") or run.get("run_type") == "aggregate":
            continue
        name, size = run["name"].removesuffix("/manual_time").rsplit("/", 1)
        rows.setdefault(name, {})[int(size)] = run["real_time"]
        unit = run["time_unit"]
    return rows, unit


def table(rows, unit):
    sizes = sorted({size for times in rows.values() for size in times})
    lines = ["| " + unit + " | " + " | ".join(f"{size:,}" for size in sizes) + " |",
             "|---|" + "--:|" * len(sizes)]
    for name, times in rows.items():
        cells = (f"{times[size]:.3g}" if size in times else "" for size in sizes)
        lines.append(f"| {name} | " + " | ".join(cells) + " |")
    return "\n".join(lines)


def draw(rows, unit, title, path):
    figure, axes = plt.subplots(figsize=(8, 5))
    for name, times in rows.items():
        sizes = sorted(times)
        axes.loglog(sizes, [times[size] for size in sizes], marker="o", label=name)
    axes.set_xlabel("triangles of a solid")
    axes.set_ylabel(unit)
    axes.set_title(title)
    axes.grid(True, which="both", alpha=0.3)
    axes.legend(fontsize="small", bbox_to_anchor=(1.02, 1), loc="upper left")
    figure.savefig(path, bbox_inches="tight")


def main():
    folder = pathlib.Path(sys.argv[1])
    parts = []
    for path in sorted(folder.glob("*.json")):
        rows, unit = read_rows(path)
        if not rows:
            continue
        parts.append(f"## {path.stem}\n\n{table(rows, unit)}\n")
        draw(rows, unit, path.stem, folder / f"{path.stem}.svg")
    report = folder / "table.md"
    report.write_text("\n".join(parts))
    print(report.read_text())


main()
