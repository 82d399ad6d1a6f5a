"""What torvi-bench measured: run, saved, read again, and what several scripts calculate from it."""
import json
import math
import os
import pathlib
import statistics
import subprocess
import sys

SIZES = ("64", "4096", "16M")
COUNTERS = ("bytes", "fastest_ns", "reference_ns", "peak_bytes", "picture_bytes", "start_ms")


def run_program(program, quick=False, only=None):
    """The measurements by name, each a dictionary of its numbers. Ends the script if one of them failed."""
    command = [program, "--benchmark_format=json"]
    command += ["--quick"] if quick else []
    command += [f"--benchmark_filter={only}"] if only else []
    report = json.loads(subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout)
    measurements = {}
    for entry in report["benchmarks"]:
        if entry.get("error_occurred"):
            sys.exit(f"{entry['name']}: {entry['error_message']}")
        name = entry["name"].removesuffix("/iterations:1")
        measurements[name] = {key: entry[key] for key in COUNTERS if key in entry}
    return measurements


def read(path):
    return json.loads(pathlib.Path(path).read_text(encoding="utf-8"))


def save(path, content):
    """Writes JSON with a line for each entry of the second level, so that two files can be compared by lines."""
    path = pathlib.Path(path)
    path.parent.mkdir(parents=True, exist_ok=True)
    blocks = []
    for key, value in content.items():
        entries = value.items() if isinstance(value, dict) else [(None, entry) for entry in value]
        lines = ",\n".join(("" if name is None else json.dumps(name) + ": ") + json.dumps(entry) for name, entry in entries)
        opening, closing = "{}" if isinstance(value, dict) else "[]"
        blocks.append(f"{json.dumps(key)}: {opening}\n{lines}\n{closing}")
    path.write_text("{\n" + ",\n".join(blocks) + "\n}\n", encoding="utf-8")


def describe_machine():
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        models = [line.split(":", 1)[1].strip() for line in file if line.startswith("model name")]
    return {"processor": models[0] if models else "unknown", "cores": os.cpu_count(), "load": round(os.getloadavg()[0], 1)}


def geometric_mean(values):
    values = list(values)
    return math.exp(sum(map(math.log, values)) / len(values))


def versus_reference(entry):
    """The speed as a multiple of the reference's."""
    return entry["reference_ns"] / entry["fastest_ns"]


def select(measurements, head):
    """The measurements whose names begin so, by the rest of their names."""
    return {name[len(head):]: entry for name, entry in measurements.items() if name.startswith(head)}


def pair_ratios(measurements, size):
    """The speed of each pair "destination/source" of a size, as a multiple of memcpy."""
    return {name: versus_reference(entry) for name, entry in select(measurements, f"pair/{size}/").items()}


def copy_rate(measurements, size):
    """What memcpy moved beside the pairs of a size, in GB/s read plus written: the median of their fastest turns."""
    return statistics.median(entry["bytes"] / entry["reference_ns"] for entry in select(measurements, f"pair/{size}/").values())


def data_types(pair):
    """Those of the destination and of the source."""
    destination, source = pair.split("/")
    return destination.split(".")[1], source.split(".")[1]


def by_data_types(ratios):
    """The geometric mean over all pairs with the same two data types, by (destination, source)."""
    groups = {}
    for pair, ratio in ratios.items():
        groups.setdefault(data_types(pair), []).append(ratio)
    return {types: geometric_mean(values) for types, values in groups.items()}
