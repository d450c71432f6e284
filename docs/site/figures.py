"""Fills the benchmark's figures into docs/speed.md: its table, and charts of ratios and of growth."""

import json
import re

import matplotlib

matplotlib.use("svg")
from matplotlib import pyplot  # noqa: E402 (the backend comes first)

# The same bytes for the same figures.
matplotlib.rcParams.update({"svg.hashsalt": "zel", "svg.fonttype": "path", "font.family": "DejaVu Sans", "font.size": 10})

THEMES = {
    "light": {"text": "#333333", "line": "#bbbbbb", "bar": "#1b5e9a", "limit": "#c0392b"},
    "dark": {"text": "#cfd0d0", "line": "#555555", "bar": "#7db8ee", "limit": "#ff8a75"},
}
PLACE = re.compile(r"^<!-- (machine|whole|pieces|growth|table) -->$", re.M)


class FigureError(Exception):
    """The file of figures is not what the benchmark writes."""


def ratios(data, over_a_client):
    """The lines with a ratio: those of whole calls, over a bare client, or those of pieces inside."""
    return [row for section in data["sections"] if ("bare client" in section["title"]) == over_a_client
            for row in section["rows"] if row.get("ratio") is not None and not row.get("failed")]


def exponents(data):
    return [row | {"what": row["what"].removesuffix(": exponent")} for section in data["sections"]
            for row in section["rows"] if row["what"].endswith(": exponent") and not row.get("failed")]


def bars(rows, value, spread, label, path, colours):
    """Horizontal bars, one a row; a line where the target is."""
    figure, axes = pyplot.subplots(figsize=(8, 0.34 * len(rows) + 0.9))
    values = [value(row) for row in rows]
    positions = range(len(rows))
    errors = [[max(0, v - s[0]) for v, s in zip(values, map(spread, rows))],
              [max(0, s[1] - v) for v, s in zip(values, map(spread, rows))]]
    axes.barh(positions, values, xerr=errors, color=colours["bar"], ecolor=colours["line"], height=0.62)
    for position, row in enumerate(rows):
        if row.get("target") is not None:
            axes.plot([row["target"]] * 2, [position - 0.42, position + 0.42], color=colours["limit"], linewidth=2)
    axes.set_yticks(list(positions), [row["what"] for row in rows])
    axes.invert_yaxis()
    axes.set_xlabel(label)
    axes.axvline(1, color=colours["line"], linewidth=1, zorder=0)
    axes.set_xlim(left=0)
    axes.tick_params(colors=colours["text"])
    axes.xaxis.label.set_color(colours["text"])
    for name, spine in axes.spines.items():
        spine.set_visible(name == "bottom")
        spine.set_color(colours["line"])
    figure.savefig(path, transparent=True, bbox_inches="tight", metadata={"Date": None})
    pyplot.close(figure)


def chart(name, alternative, rows, value, spread, label, folder):
    (folder / "charts").mkdir(parents=True, exist_ok=True)
    text = ""
    for theme, colours in THEMES.items():
        file = f"charts/{name}-{theme}.svg"
        bars(rows, value, spread, label, folder / file, colours)
        text += f"```{{image}} {file}\n:class: only-{theme}\n:alt: {alternative}\n```\n\n"
    return text


def scaled(value, unit):
    if value is None:
        return ""
    scales = {"s": ((1, "s"), (1e-3, "ms"), (1e-6, "µs"), (1e-9, "ns")),
              "bytes": ((2**30, "GiB"), (2**20, "MiB"), (2**10, "KiB"), (1, "B"))}.get(unit, ((1, ""),))
    factor, name = next((scale for scale in scales if abs(value) >= scale[0]), scales[-1])
    number = value / factor
    digits = 0 if number == int(number) or abs(number) >= 100 else 1 if abs(number) >= 10 else 2
    return f"{number:,.{digits}f} {name}".strip()


def table(data):
    text = ""
    for section in data["sections"]:
        text += f"### {section['title']}\n\n"
        text += "| | zel | baseline | ratio | of CPU | at most | |\n|---|---:|---:|---:|---:|---:|---|\n"
        for row in section["rows"]:
            if row.get("failed"):
                cells = ["", "", "", "", "", f"not measured: {row.get('note', '')}"]
            else:
                ratio = row.get("ratio")
                target = row.get("target")
                met = {True: "met", False: "not met", None: ""}[row.get("met")]
                note = "; ".join(part for part in (met, row.get("note", "")) if part)
                cells = [scaled(row["ours"], row["unit"]), scaled(row["baseline"], row["unit"]),
                         "" if ratio is None else f"{ratio:.2f}",
                         "" if row.get("processor_ratio") is None else f"{row['processor_ratio']:.2f}",
                         "" if target is None else f"{target:.2f}" if ratio is not None else scaled(target, row["unit"]),
                         note]
            text += f"| {row['what']} | {' | '.join(cells)} |\n"
        text += "\n"
    return text


def machine(data):
    told = data["machine"]
    load = told["load average at the start"]
    text = f"Measured on {told['date']}, on {told['processor']}, {told['kernel']}, at a load of {load}."
    if load == "unknown" or float(load) >= 1:
        text += (" **Other programs were at work meanwhile**, so times and ratios of times say little; the ratios of "
                 "processor time and the counts hold.")
    return text


def fill_in(text, path, folder):
    try:
        data = json.loads(path.read_text(encoding="utf-8"))
        def ratio(row):
            return row["ratio"]

        def spread(row):
            return row.get("spread") or [row["ratio"]] * 2

        parts = {
            "machine": machine(data),
            "whole": chart("whole", "what whole calls take, as a ratio to the bare client", ratios(data, True),
                           ratio, spread, "times what the bare client takes", folder),
            "pieces": chart("pieces", "what pieces inside take, as a ratio to their baselines", ratios(data, False),
                            ratio, spread, "times what the baseline takes", folder),
            "growth": chart("growth", "the exponents by which times grow with the number of pages", exponents(data),
                            lambda row: row["ours"], lambda row: [row["ours"]] * 2, "exponent", folder),
            "table": table(data),
        }
    except (OSError, KeyError, TypeError, ValueError) as error:
        raise FigureError(f"{path.name} is not what script/bench --json writes: {type(error).__name__}: {error}") from error
    return PLACE.sub(lambda match: parts[match[1]], text)
