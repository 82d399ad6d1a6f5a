#!/usr/bin/env python3
"""Runs torvi-bench, or reads what an earlier run saved, and prints what was measured against the budgets.

Fails when a measurement failed or a budget has none; a missed budget is not a failure."""
import argparse
import pathlib
import shutil
import subprocess
import sys
import tempfile

import results
from results import select, versus_reference

MEBIBYTE = 1 << 20
PAIRS_SHOWN = 10
TYPES = ("u8", "u16", "u32", "s32", "f16", "f32", "f64")
COLOURS = ("rgb", "bgr")
# Mpixel/s: twice what the fastest other library reached that has the mode.
BLEND_RATES = {"multiply": 158, "softlight": 116, "hue": 56}
# Least speed of load and save against the plain loop over the format's library.
CODEC_RATES = {"png": (0.95, 0.95), "jpg": (0.93, 0.95)}
# Mpixel/s: twice and ten times what the fastest other library reached.
PSD_RATES = {"merged": ("merged picture", 272), "layers": ("four layers, pixels of a layer", 140)}
GREYS = ("grey", "greya", "agrey")


def stripped_size(library):
    with tempfile.TemporaryDirectory() as folder:
        copy = shutil.copy(library, folder)
        subprocess.run(["strip", copy], check=True)
        return pathlib.Path(copy).stat().st_size


def at_least(subject, value, budget, unit="", note=""):
    return {"subject": subject, "value": value, "budget": budget, "unit": unit, "bound": ">=", "pass": value >= budget, "note": note}


def at_most(subject, value, budget, unit, note=""):
    return {"subject": subject, "value": value, "budget": budget, "unit": unit, "bound": "<=", "pass": value <= budget, "note": note}


def slowest(subject, ratios, budget):
    """A line that holds the smallest of the ratios to a budget, or none where there are no ratios."""
    if ratios:
        name = min(ratios, key=ratios.get)
        missed = sum(ratio < budget for ratio in ratios.values())
        yield at_least(subject, ratios[name], budget, "x", name + (f", {missed} of {len(ratios)} miss" if missed else ""))


def is_mean_of_colours(pair):
    destination, source = (name.split(".")[0] for name in pair.split("/"))
    return destination in GREYS and any(colour in source for colour in COLOURS)


def is_slow_kind(pair):
    """Whether the pair has a data type or a calculation that memory does not bound."""
    return bool({"f16", "f64"} & set(results.data_types(pair))) or is_mean_of_colours(pair)


def pair_lines(measurements):
    pictures = results.pair_ratios(measurements, "16M")
    yield from slowest("16M pixels: integers and float32, slowest", {n: r for n, r in pictures.items() if not is_slow_kind(n)}, 0.45)
    yield from slowest("16M pixels: float16, float64, mean, slowest", {n: r for n, r in pictures.items() if is_slow_kind(n)}, 0.3)
    cached = results.pair_ratios(measurements, "4096")
    if cached:
        yield at_least("4,096 pixels: geometric mean", results.geometric_mean(cached.values()), 0.4, "x", f"{len(cached)} pairs")
    yield from slowest("4,096 pixels: slowest", cached, 0.04)


def layout_lines(measurements):
    layouts = select(measurements, "layout/")
    yield from slowest("planes against packed, slowest", {n: versus_reference(e) for n, e in layouts.items() if "planes" in n}, 1 / 3)
    padded = {name: entry["fastest_ns"] for name, entry in layouts.items() if "padded" in name and ".f" not in name}
    if padded:
        worst = max(padded, key=padded.get)
        yield at_most("padded integer pairs, slowest", padded[worst], 1.5, "ns/pixel", worst)


def colour_lines(measurements):
    for kind, budget in (("native", 1 / 1.05), ("staged", 1 / 1.3), ("curve", 10)):
        ratios = {name: versus_reference(entry) for name, entry in select(measurements, f"color/{kind}/").items()}
        yield from slowest(f"profiles against lcms2: {kind}, slowest", ratios, budget)


def call_lines(measurements):
    for entry in select(measurements, "threads/cached-lookup").values():
        yield at_most("cached lookup", entry["reference_ns"], 300, "ns")
        yield at_most("cached lookup, two threads on one format", entry["fastest_ns"], 1000, "ns")
    for entry in select(measurements, "threads/held-function").values():
        yield at_least("64-pixel runs on two threads against one", 2 * versus_reference(entry), 1.9, "x")
    for name, entry in select(measurements, "line/").items():
        yield at_most(f"_{name}Line beyond the kernel", entry["fastest_ns"] - entry["reference_ns"], 60, "ns")


def blend_lines(measurements):
    modes = select(measurements, "blend/64/")
    rates = {name: 1000 / entry["fastest_ns"] for name, entry in modes.items()}
    if "over" in modes:
        yield at_least("blending 64 pixels: over", versus_reference(modes["over"]), 0.15, "x", f"{rates['over']:.0f} Mpixel/s")
    for name in (name for name in BLEND_RATES if name in rates):
        yield at_least(f"blending 64 pixels: {name}", rates[name], BLEND_RATES[name], "Mpixel/s")
    others = {name: rate for name, rate in rates.items() if name != "over" and name not in BLEND_RATES}
    if others:
        name = min(others, key=others.get)
        yield at_least("blending 64 pixels: other modes, slowest", others[name], 60, "Mpixel/s", name)


def composition_lines(measurements):
    for entry in select(measurements, "composition/ten-layers").values():
        yield at_least("ten layers composed, pixels of a layer", 1000 / entry["fastest_ns"], 136, "Mpixel/s")
    for entry in select(measurements, "composition/two-threads").values():
        yield at_least("composing on two threads against one", 2 * versus_reference(entry), 1.7, "x")


def file_lines(measurements):
    for entry in select(measurements, "file/load").values():
        yield at_most("load of a BMP against read + kernel", 1 / versus_reference(entry), 1.5, "x")
    for work, counted in (("load", 1), ("save", 0)):
        for entry in select(measurements, f"file/peak-of-{work}").values():
            beyond = (entry["peak_bytes"] - counted * entry["picture_bytes"]) / MEBIBYTE
            yield at_most(f"peak memory of a {work} beyond the picture", beyond, 16, "MiB")
    for entry in select(measurements, "module/start").values():
        yield at_most("module start to first lookup", entry["start_ms"], 20, "ms")


def codec_lines(measurements):
    for codec, budgets in CODEC_RATES.items():
        for work, budget, counted in zip(("load", "save"), budgets, (1, 0)):
            for entry in select(measurements, f"file/{codec}-{work}").values():
                rate = f"{1000 / entry['fastest_ns']:.0f} Mpixel/s"
                yield at_least(f"{work} of a {codec.upper()} against its library", versus_reference(entry), budget, "x", rate)
            for entry in select(measurements, f"file/{codec}-peak-of-{work}").values():
                beyond = (entry["peak_bytes"] - counted * entry["picture_bytes"]) / MEBIBYTE
                yield at_most(f"peak memory of a {work} of a {codec.upper()}", beyond, 16, "MiB")


def psd_lines(measurements):
    loads = {name: 1000 / entry["fastest_ns"] for name, entry in select(measurements, "psd/load/").items()}
    for name, (subject, budget) in PSD_RATES.items():
        if name in loads:
            yield at_least(f"load of a PSD: {subject}", loads[name], budget, "Mpixel/s")
    if "merged-grey" in loads:
        yield at_least("load of a PSD: packed bytes into a storage", loads["merged-grey"] / 1000, 1, "GB/s")
    if {"merged", "merged-of-layers"} <= loads.keys():
        yield at_least("load of a PSD: without its layers against none", loads["merged-of-layers"] / loads["merged"], 0.9, "x")
    for entry in select(measurements, "psd/peak-of-load").values():
        yield at_most("peak memory of a PSD beyond its pictures", (entry["peak_bytes"] - entry["picture_bytes"]) / MEBIBYTE, 16, "MiB")


def budget_lines(measurements):
    """One line for each budget that something was measured for."""
    parts = (pair_lines, layout_lines, colour_lines, call_lines, blend_lines, composition_lines, file_lines, codec_lines, psd_lines)
    return [line for lines in parts for line in lines(measurements)]


BUDGET_COUNT = 38


def describe_sizes(measurements):
    """For each size of run, the pairs as a whole."""
    sizes = {}
    for size in results.SIZES:
        ratios = results.pair_ratios(measurements, size)
        if ratios:
            sizes[size] = {"pairs": len(ratios),
                           "memcpy_gb_per_s": results.copy_rate(measurements, size),
                           "geometric_mean": results.geometric_mean(ratios.values()),
                           "slowest": sorted(ratios, key=ratios.get)[:PAIRS_SHOWN]}
    return sizes


def summarize(measurements, machine):
    """All that is printed, and saved for other programs."""
    return {"machine": machine, "budgets": budget_lines(measurements), "sizes": describe_sizes(measurements), "measurements": measurements}


def print_budgets(budgets):
    for line in budgets:
        value = f"{line['value']:.3f}" if line["unit"] == "x" else f"{line['value']:.2f}"
        budget = f"{line['bound']} {line['budget']:.4g}"
        verdict = "pass" if line["pass"] else "MISS"
        print(f"{verdict}  {line['subject']:<44} {value:>8} {budget:>8} {line['unit']:<8}  {line['note']}".rstrip())


def print_sizes(sizes):
    print("\nAll pairs of fixed formats, in bytes read plus written per second, as multiples of memcpy:")
    print(f"  {'pixels':>6} {'pairs':>6} {'geometric mean':>15} {'memcpy':>12}")
    for size, about in sizes.items():
        print(f"  {size:>6} {about['pairs']:>6} {about['geometric_mean']:>15.3f} {about['memcpy_gb_per_s']:>7.1f} GB/s")


def print_types(size, ratios):
    print(f"\n{size} pixels, geometric mean by data types, source down, destination across:")
    means = results.by_data_types(ratios)
    print("      " + "".join(f"{name:>7}" for name in TYPES))
    for source in TYPES:
        cells = (means.get((destination, source)) for destination in TYPES)
        print(f"  {source:<4}" + "".join("      -" if cell is None else f"{cell:7.3f}" for cell in cells))


def print_slowest(sizes, ratios):
    print("\nSlowest pairs, destination/source:")
    print("".join(f"  {size + ' pixels':<28}" for size in sizes).rstrip())
    for names in zip(*(about["slowest"] for about in sizes.values())):
        print("".join(f"  {ratios[size][name]:6.3f} {name:<21}" for size, name in zip(sizes, names)).rstrip())


def print_summary(summary):
    machine, sizes = summary["machine"], summary["sizes"]
    print(f"{machine['processor']}, {machine['cores']} cores, load {machine['load']} when the run began\n")
    print_budgets(summary["budgets"])
    if not sizes:
        return
    print_sizes(sizes)
    ratios = {size: results.pair_ratios(summary["measurements"], size) for size in sizes}
    for size in sizes:
        print_types(size, ratios[size])
    print_slowest(sizes, ratios)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("source", help="torvi-bench, or the .json file that an earlier run saved")
    parser.add_argument("--filter", help="regular expression on names such as pair/4096/rgba.u8/rgb.u8: run and show only a part")
    parser.add_argument("--quick", action="store_true", help="run each measurement once, on few pixels: numbers without meaning")
    parser.add_argument("--library", help="libtorvi_image.so, for the line on its size")
    parser.add_argument("--save", help="file to write all numbers to, as JSON")
    arguments = parser.parse_args()
    if arguments.source.endswith(".json"):
        summary = results.read(arguments.source)
    else:
        machine = results.describe_machine()
        summary = summarize(results.run_program(arguments.source, arguments.quick, arguments.filter), machine)
        if not arguments.filter and len(summary["budgets"]) != BUDGET_COUNT:
            sys.exit(f"{len(summary['budgets'])} of {BUDGET_COUNT} budgets were measured.")
    if arguments.library:
        summary["budgets"].append(at_most("library, stripped", stripped_size(arguments.library) / MEBIBYTE, 12, "MiB"))
    if arguments.save:
        results.save(arguments.save, summary)
    print_summary(summary)


if __name__ == "__main__":
    main()
