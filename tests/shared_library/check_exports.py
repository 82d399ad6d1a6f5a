"""Shows that the shared library exports its own names and nothing of the libraries that it was built from.

usage: check_exports.py LIBRARY
"""
import subprocess
import sys

OWN_C_NAMES = {"g_torvi", "g_CpuYieldDelegate"}


def main() -> int:
	listing = subprocess.run(["nm", "-D", "--defined-only", sys.argv[1]], check=True, capture_output=True, text=True).stdout
	names = {line.split()[-1] for line in listing.splitlines()}
	foreign = sorted(name for name in names if "5torvi" not in name and name not in OWN_C_NAMES)
	missing = sorted(OWN_C_NAMES - names)
	print(f"{len(names)} exported names, foreign: {foreign}, missing: {missing}")
	return 1 if foreign or missing or len(names) < 100 else 0


sys.exit(main())
