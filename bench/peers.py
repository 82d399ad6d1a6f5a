#!/usr/bin/env python3
"""Builds the conversion benchmarks of other libraries, runs them and torvi-peer-pairs by turns, and prints who is how fast.

Fails when a program fails; being slower than another library is not a failure."""
import argparse
import os
import pathlib
import re
import subprocess
import sys
import tempfile

import results

OURS = "torvi"
PEERS = ("babl", "oiio", "swscale", "pixman")
STARTS = 3
BABL_STARTS = 5  # babl picks its functions by timing them when it starts, and not always the same
FAR_BEHIND = 1 / 3
ROUNDS_OF_A_START = "3"
RATIO_BUDGET = 3
LINE = re.compile(r"(?P<library>\w+)\S* (?P<pair>\S+) x(?P<size>\w+)\t(?P<rate>\S+)\t(?P<copy_rate>\S+)\t")


def build(sources, folder):
    """The programs by library; libraries that this machine lacks are left out."""
    subprocess.run(["cmake", "-S", sources, "-B", folder], check=True, stdout=subprocess.DEVNULL)
    subprocess.run(["cmake", "--build", folder, "--parallel", "2"], check=True, stdout=subprocess.DEVNULL)
    programs = {name: pathlib.Path(folder).resolve() / f"convert_{name}" for name in PEERS}
    found = {name: program for name, program in programs.items() if program.is_file()}
    for name in sorted(set(PEERS) - set(found)):
        print(f"{name} is left out: its development package is not installed.", file=sys.stderr)
    if not found:
        sys.exit("There is no library to compare with.")
    return found


def pair_names(sources):
    return re.findall(r'\{"(\S+->\S+)",', (pathlib.Path(sources) / "pairs.h").read_text(encoding="utf-8"))


def start(program, pair):
    """What one start of a program measured: (library, size, GB/s, GB/s of memcpy)."""
    with tempfile.TemporaryDirectory() as cache:  # an empty one, or babl would remember its choice from the start before
        environment = {**os.environ, "PEER_ONLY": pair, "PEER_ROUNDS": ROUNDS_OF_A_START, "XDG_CACHE_HOME": cache}
        run = subprocess.run([program], check=False, capture_output=True, text=True, env=environment)
    if run.returncode != 0:
        sys.exit(f"{program} {pair}: {run.stderr}")
    found = [match for match in map(LINE.match, run.stdout.splitlines()) if match and match["pair"] == pair]
    return [(match["library"], match["size"], *(round(float(match[key]) / 1000, 4) for key in ("rate", "copy_rate"))) for match in found]


def is_far_behind(library, rates):
    """Whether others are so much faster at each size that further starts would not change the result."""
    return all(by_library.get(library, 0) < FAR_BEHIND * max(by_library.values()) for by_library in rates.values())


def measure_pair(programs, pair):
    """A row for each size: its best rates by library, and memcpy's."""
    rates, copies = {}, {}
    for i in range(max(STARTS, BABL_STARTS)):
        for library, program in programs.items():
            if i >= (BABL_STARTS if library == "babl" else STARTS) or (i > 0 and library != OURS and is_far_behind(library, rates)):
                continue
            for name, size, rate, copy_rate in start(program, pair):
                by_library = rates.setdefault(size, {})
                by_library[name] = max(by_library.get(name, 0), rate)
                copies[size] = max(copies.get(size, 0), copy_rate)
    return [{"pair": pair, "size": size, "gb_per_s": by_library, "memcpy_gb_per_s": copies[size]} for size, by_library in rates.items()]


def best_peer(row):
    """(library, GB/s) of the fastest other library, or None."""
    others = [(name, rate) for name, rate in row["gb_per_s"].items() if name != OURS]
    return max(others, key=lambda other: other[1], default=None)


def ratio(row):
    """Our rate as a multiple of the best peer's; None where one of them lacks the pair."""
    return row["gb_per_s"][OURS] / best_peer(row)[1] if OURS in row["gb_per_s"] and best_peer(row) else None


def print_row(row):
    peer, ours = best_peer(row), row["gb_per_s"].get(OURS)
    texts = [f"{row['pair']:<22}{row['size']:>5}"]
    texts.append(f"{ours:>9.2f} {ours / row['memcpy_gb_per_s']:>9.3f}" if ours else f"{'absent':>9} {'':>9}")
    texts.append(f"{peer[1]:>9.2f} {peer[1] / row['memcpy_gb_per_s']:>9.3f} {peer[0]:<8}" if peer else f"{'absent':>9} {'':>18}")
    texts.append(f"{ratio(row):>8.2f}  {'pass' if ratio(row) > 1 else 'MISS'}" if ratio(row) else "")
    print("  ".join(texts).rstrip())


def print_summary(rows):
    print(f"{'':<27}  {'-- this library --':>19}  {'-------- best peer --------':<28}")
    print(f"{'pair':<22}{'size':>5}  {'GB/s':>9} {'of memcpy':>9}  {'GB/s':>9} {'of memcpy':>9} {'':<8}  {'ratio':>8}")
    for row in rows:
        print_row(row)
    ratios = {}
    for row in rows:
        if ratio(row):
            ratios.setdefault(row["size"], []).append(ratio(row))
    if ratios:
        values = sum(ratios.values(), [])
        faster, mean = sum(value > 1 for value in values), results.geometric_mean(values)
        by_size = ", ".join(f"{size} {results.geometric_mean(of_size):.2f}" for size, of_size in ratios.items())
        print(f"\n{'pass' if faster == len(values) else 'MISS'}  faster than the best peer on {faster} of {len(values)} rows")
        print(f"{'pass' if mean >= RATIO_BUDGET else 'MISS'}  geometric mean of the ratios {mean:.2f} >= {RATIO_BUDGET} ({by_size})")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("peers", help="folder with the sources of the peers' programs, or the .json file that an earlier run saved")
    parser.add_argument("program", nargs="?", help="torvi-peer-pairs")
    parser.add_argument("--build", default="build/peers", help="folder to build the peers' programs in")
    parser.add_argument("--only", default="", help="pairs whose names contain this, such as 'rgb.u8->'")
    parser.add_argument("--save", help="file to write all numbers to, as JSON")
    arguments = parser.parse_args()
    if arguments.peers.endswith(".json"):
        content = results.read(arguments.peers)
    else:
        if not arguments.program:
            parser.error("torvi-peer-pairs is needed.")
        content = {"machine": results.describe_machine(), "rows": []}
        programs = {OURS: pathlib.Path(arguments.program).resolve(), **build(arguments.peers, arguments.build)}
        for pair in (name for name in pair_names(arguments.peers) if arguments.only in name):
            content["rows"] += measure_pair(programs, pair)
    if arguments.save:
        results.save(arguments.save, content)
    print_summary(content["rows"])


if __name__ == "__main__":
    main()
