#!/usr/bin/env python3
"""Runs torvi-bench, or reads what it wrote as JSON, and prints one line per budget: measured, budget, pass or MISS.

Fails when a measurement failed or a line has none; a missed budget is not a failure."""
import argparse
import json
import math
import pathlib
import shutil
import subprocess
import sys
import tempfile

MEBIBYTE = 1 << 20
PAIRS_SHOWN = 10
GROUPS_SHOWN = 6


def run_program(program, quick):
    command = [program, "--benchmark_format=json"] + (["--quick"] if quick else [])
    return json.loads(subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout)


def read_measurements(report):
    """The measurements by name, without the parts of a name that say how often it ran."""
    measurements = {}
    for entry in report["benchmarks"]:
        if entry.get("error_occurred"):
            sys.exit(f"{entry['name']}: {entry['error_message']}")
        parts = [part for part in entry["name"].split("/") if ":" not in part and part not in ("manual_time", "real_time")]
        measurements["/".join(parts)] = entry
    return measurements


def select(measurements, head):
    found = {name[len(head):]: entry for name, entry in measurements.items() if name.startswith(head)}
    if not found:
        sys.exit(f"There is no measurement {head}...")
    return found


def versus_reference(entry):
    """The speed as a multiple of the reference's."""
    return entry["reference_ns"] / entry["fastest_ns"]


def pair_ratios(measurements):
    """Bytes per second of each pair in cache, as a multiple of its row's memcpy."""
    pairs = select(measurements, "pair/")
    copies = {name[:-len("/copy")]: entry for name, entry in pairs.items() if name.endswith("/copy")}
    return {name: entry["bytes_per_second"] / copies[name.rsplit("/", 1)[0]]["bytes_per_second"]
            for name, entry in pairs.items() if not name.endswith("/copy")}


def geometric_mean(values):
    return math.exp(sum(map(math.log, values)) / len(values))


def stripped_size(library):
    with tempfile.TemporaryDirectory() as folder:
        copy = shutil.copy(library, folder)
        subprocess.run(["strip", copy], check=True)
        return pathlib.Path(copy).stat().st_size


def at_least(line, value, budget, note=""):
    return line, f"{value:.3f}", f">= {budget}", value >= budget, note


def slowest(line, ratios, budget):
    name = min(ratios, key=ratios.get)
    return at_least(line, ratios[name], budget, name)


def at_most(line, value, budget, unit, note=""):
    return line, f"{value:.2f} {unit}", f"<= {budget} {unit}", value <= budget, note


def layout_lines(measurements):
    layouts = select(measurements, "layout/")
    integers = {name: entry["fastest_ns"] for name, entry in layouts.items() if ".f" not in name}
    for kind in ("planes", "padded"):
        ratios = {name: versus_reference(entry) for name, entry in layouts.items() if kind in name}
        yield slowest(f"{kind} against packed, slowest", ratios, 0.333)
    worst = max(integers, key=integers.get)
    yield at_most("planes and padded, integer pairs, slowest", integers[worst], 1.5, "ns/pixel", worst)


def file_lines(measurements):
    load = select(measurements, "file/load")[""]
    yield at_most("load of a BMP against read + kernel", 1 / versus_reference(load), 1.5, "x")
    for work, counted in (("load", 1), ("save", 0)):
        entry = select(measurements, f"file/peak-of-{work}")[""]
        beyond = (entry["peak_bytes"] - counted * entry["picture_bytes"]) / MEBIBYTE
        yield at_most(f"peak memory of a {work} beyond the picture", beyond, 16, "MiB")


def budget_lines(measurements, pictures, pairs):
    yield slowest("kernels on 16 megapixels, slowest", pictures, 0.45)
    yield at_least("kernels in cache, geometric mean of pairs", geometric_mean(pairs.values()), 0.4, f"{len(pairs)} pairs")
    yield slowest("kernels in cache, slowest", pairs, 0.04)
    yield from layout_lines(measurements)
    yield at_most("cached lookup", select(measurements, "lookup/cached")[""]["cpu_time"], 300, "ns")
    for name in ("get", "set"):
        entry = select(measurements, f"line/{name}")[""]
        yield at_most(f"_{name}Line beyond the kernel", entry["fastest_ns"] - entry["reference_ns"], 60, "ns")
    yield from file_lines(measurements)
    yield at_most("module start to first lookup", select(measurements, "module/start")[""]["real_time"], 20, "ms")


def print_table(rows):
    for line, value, budget, is_met, note in rows:
        print(f"{line:<44} {value:>14} {budget:>16}  {'pass' if is_met else 'MISS'}  {note}".rstrip())


def by_types(pairs):
    """The geometric mean over all pairs with the same two data types."""
    ratios = {}
    for name, ratio in pairs.items():
        types = "/".join(part.split(".")[1] for part in name.split("/"))
        ratios.setdefault(types, []).append(ratio)
    return {types: geometric_mean(values) for types, values in ratios.items()}


def print_worst(title, ratios, count):
    print(f"\n{title}")
    for name in sorted(ratios, key=ratios.get)[:count]:
        print(f"  {ratios[name]:6.3f}  {name}")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("source", help="torvi-bench, or a file with its JSON output")
    parser.add_argument("--quick", action="store_true", help="run each measurement once, on small pictures: numbers without meaning")
    parser.add_argument("--library", help="libtorvi_image.so, for the line on its size")
    parser.add_argument("--save", help="file to write the JSON output to")
    arguments = parser.parse_args()
    is_file = arguments.source.endswith(".json")
    report = json.loads(pathlib.Path(arguments.source).read_text()) if is_file else run_program(arguments.source, arguments.quick)
    if arguments.save:
        pathlib.Path(arguments.save).write_text(json.dumps(report))
    measurements = read_measurements(report)
    pictures = {name: versus_reference(entry) for name, entry in select(measurements, "picture/").items()}
    pairs = pair_ratios(measurements)
    rows = list(budget_lines(measurements, pictures, pairs))
    if arguments.library:
        rows.append(at_most("library, stripped", stripped_size(arguments.library) / MEBIBYTE, 12, "MiB"))
    print_table(rows)
    print_worst("Slowest pairs in cache, destination/source, as multiples of memcpy:", pairs, PAIRS_SHOWN)
    print_worst("Slowest data types in cache, geometric mean of their pairs:", by_types(pairs), GROUPS_SHOWN)
    print_worst("Slowest on 16 megapixels:", pictures, GROUPS_SHOWN)


if __name__ == "__main__":
    main()
