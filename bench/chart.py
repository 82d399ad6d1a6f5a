#!/usr/bin/env python3
"""Draws what summary.py and peers.py saved: this library against memcpy and its peers, and where it is slow by data types."""
import argparse

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt
from matplotlib.colors import LogNorm
from matplotlib.ticker import FuncFormatter

import results
from peers import OURS
from summary import TYPES

HEAT_SIZE = "4096"
TITLES = {"64": "64 pixels", "4096": "4,096 pixels", "64M": "64 megapixels"}
# Name, marker, colour. Ours stands out; the others keep colours that differ in brightness too.
STYLES = {
    OURS: ("this library", "o", "#c1272d"),
    "babl": ("babl", "s", "#0b3c5d"),
    "swscale": ("swscale", "^", "#2e8b57"),
    "pixman": ("pixman", "D", "#d08c00"),
    "oiio": ("OpenImageIO", "v", "#8f7fb5"),
}


def plain_number(value, _position=None):
    return f"{value:g}"


def draw_size(axes, rows, pairs, size):
    """A point per library and pair, those of the others before ours, and a bar at memcpy; rates on a logarithmic axis."""
    by_pair = {row["pair"]: row for row in rows if row["size"] == size}
    places = {pair: place for place, pair in enumerate(pairs)}
    for pair, row in by_pair.items():
        axes.plot([row["memcpy_gb_per_s"]] * 2, [places[pair] - 0.38, places[pair] + 0.38], color="black", linewidth=2.2,
                  solid_capstyle="butt", label="memcpy of as many bytes" if pair == pairs[0] else None)
    for library, (name, marker, colour) in STYLES.items():
        points = [(row["gb_per_s"][library], places[pair]) for pair, row in by_pair.items() if library in row["gb_per_s"]]
        is_ours = library == OURS
        axes.plot([x for x, _ in points], [y for _, y in points], marker, color=colour, markersize=9.5 if is_ours else 5.5, label=name,
                  zorder=2 if is_ours else 3, markeredgecolor="white", markeredgewidth=0.6)
    axes.set_xscale("log")
    axes.xaxis.set_major_formatter(FuncFormatter(plain_number))
    axes.set_yticks(range(len(pairs)), [pair.replace("->", " → ") for pair in pairs])
    axes.set_ylim(len(pairs) - 0.4, -0.6)
    axes.set_title(TITLES[size], fontsize=11)
    axes.set_xlabel("GB/s read plus written")
    axes.grid(axis="x", which="major", color="#cccccc", linewidth=0.8)
    axes.grid(axis="y", color="#eeeeee", linewidth=0.8)
    axes.set_axisbelow(True)
    for side in ("top", "right"):
        axes.spines[side].set_visible(False)


def draw_heat_map(figure, axes, measurements):
    means = results.by_data_types(results.pair_ratios(measurements, HEAT_SIZE))
    table = [[means.get((destination, source), float("nan")) for destination in TYPES] for source in TYPES]
    image = axes.imshow(table, cmap="RdYlBu", norm=LogNorm(0.04, 1.0), aspect="auto")
    axes.set_xticks(range(len(TYPES)), TYPES)
    axes.set_yticks(range(len(TYPES)), TYPES)
    axes.xaxis.tick_top()
    axes.tick_params(length=0)
    axes.set_ylabel("source")
    axes.set_xlabel("destination")
    axes.xaxis.set_label_position("top")
    for y, row in enumerate(table):
        for x, value in enumerate(row):
            axes.text(x, y, f"{value:.2f}" if value >= 0.1 else f"{value:.3f}", ha="center", va="center", fontsize=8.5,
                      color="black" if 0.07 <= value <= 0.6 else "white")
    axes.set_title("4,096 pixels: all pairs by data type,\nspeed as a multiple of memcpy (geometric mean)", fontsize=11, pad=12)
    bar = figure.colorbar(image, ax=axes, fraction=0.05, pad=0.03, extend="both")
    bar.ax.yaxis.set_major_formatter(FuncFormatter(plain_number))
    bar.ax.yaxis.set_minor_formatter(FuncFormatter(lambda value, _: plain_number(value) if f"{value:g}" in ("0.04", "0.2", "0.4") else ""))


def draw(summary, peers):
    pairs = list(dict.fromkeys(row["pair"] for row in peers["rows"]))
    sizes = [size for size in TITLES if any(row["size"] == size for row in peers["rows"])]
    figure = plt.figure(figsize=(16, 7), layout="constrained")
    grid = figure.add_gridspec(2, len(sizes) + 1, width_ratios=[1] * len(sizes) + [1.3], height_ratios=[5, 1])
    first = None
    for column, size in enumerate(sizes):
        axes = figure.add_subplot(grid[:, column], sharey=first)
        draw_size(axes, peers["rows"], pairs, size)
        axes.tick_params(axis="y", length=0, labelleft=first is None)
        first = first or axes
    draw_heat_map(figure, figure.add_subplot(grid[0, len(sizes)]), summary["measurements"])
    legend = figure.add_subplot(grid[1, len(sizes)])
    legend.axis("off")
    legend.legend(*first.get_legend_handles_labels(), loc="center", ncols=2, frameon=False)
    figure.suptitle(f"Conversion between pixel formats on one thread ({peers['machine']['processor']})", fontsize=13)
    return figure


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("summary", help="what summary.py saved")
    parser.add_argument("peers", help="what peers.py saved")
    parser.add_argument("picture", help="file to write: .svg or .png")
    arguments = parser.parse_args()
    plt.rcParams.update({"svg.hashsalt": "torvi", "font.size": 9.5, "font.family": "DejaVu Sans"})
    figure = draw(results.read(arguments.summary), results.read(arguments.peers))
    figure.savefig(arguments.picture, dpi=110, metadata={"Date": None} if arguments.picture.endswith(".svg") else None)


if __name__ == "__main__":
    main()
