#!/usr/bin/env python3
"""Reads every #include of the tree and reports those that break the order of the floors. Exit status 1 if there are any.

usage: check_includes.py [ROOT]
"""
import pathlib
import re
import sys

# What the files of each folder may include, beside their own folder. `registration.h` of any folder is open to module/ alone.
# Tests may include anything.
PUBLIC = {"torvi", "host"}
FLOORS = {
	"host": set(),
	"torvi": {"host"},
	"pixelformat": PUBLIC,
	"color": PUBLIC,
	"pixelblend": PUBLIC,
	"image": PUBLIC,
	"mediasession": PUBLIC,
	"media_io": PUBLIC | {"mediasession"},
	"platform": PUBLIC,
	"module": PUBLIC | {"platform"},
	"tools": PUBLIC,
	"bench": PUBLIC,
	"fuzz": PUBLIC,
	"samples": PUBLIC,
	"docs": PUBLIC,
}
FREE = {"tests"}
SKIPPED = {"build", ".git"}
SUFFIXES = {".h", ".cpp", ".inc", ".c", ".hpp", ".cc"}
INCLUDE = re.compile(r"^[ \t]*#[ \t]*include(?:_next)?\b[ \t]*([^\n]*)", re.MULTILINE)
NAME = re.compile(r'(?:"([^"]+)"|<([^>]+)>)')


def joined_lines(text):
	"""The text with continued lines put together and block comments taken out, so that no include can hide or be feigned."""
	text = text.replace("\\\n", "")
	return re.sub(r"/\*.*?\*/", " ", text, flags=re.DOTALL)


def fault_of(root, path, written):
	"""Why the file at `path` (relative to `root`) may not include what is `written` after #include, or None if it may."""
	match = NAME.match(written)
	if not match:
		return "the name must be written out"
	quoted, angled = match.groups()
	name = quoted or angled
	if ".." in name.split("/"):
		return "paths start at the root of the tree or in the own folder"
	if quoted and (root / path.parent / name).is_file():
		return None   # beside the including file
	target = name.split("/")[0]
	if angled and (target not in FLOORS or not (root / name).is_file()):
		return foreign_fault(path, angled)
	if not (root / name).is_file():
		return "there is no such file"
	own = path.parts[0]
	if target == own or target in FLOORS[own]:
		return None
	if own == "module" and pathlib.PurePath(name).name == "registration.h":
		return None
	return f"{own}/ does not know {target}/"


def foreign_fault(path, name):
	"""Public headers show no library but the standard one, whose headers have no suffix and no folder."""
	if path.parts[0] in PUBLIC and path.suffix != ".cpp" and not re.fullmatch(r"[a-z0-9_]+", name):
		return "a public header includes no headers of other libraries"
	return None


def faults_of_file(root, path):
	text = joined_lines((root / path).read_text(encoding="utf-8"))
	for match in INCLUDE.finditer(text):
		fault = fault_of(root, path, match.group(1).strip())
		if fault:
			yield f"{path}: #include {match.group(1).strip()}: {fault}"


def check(root):
	"""All faults below `root`, and the number of files read."""
	faults, count = [], 0
	for path in sorted(p.relative_to(root) for p in root.rglob("*") if p.suffix in SUFFIXES and p.is_file()):
		top = path.parts[0]
		if top in SKIPPED or top.startswith("build-") or top in FREE:
			continue
		count += 1
		if len(path.parts) == 1 or top not in FLOORS:
			faults.append(f"{path}: this folder has no floor in {pathlib.Path(__file__).name}")
		else:
			faults.extend(faults_of_file(root, path))
	return faults, count


def main(arguments):
	root = pathlib.Path(arguments[0] if arguments else pathlib.Path(__file__).parent.parent).resolve()
	faults, count = check(root)
	print("\n".join(faults + [f"{count} files read, {len(faults)} includes break the floors"]))
	return 1 if faults or count == 0 else 0


if __name__ == "__main__":
	sys.exit(main(sys.argv[1:]))
