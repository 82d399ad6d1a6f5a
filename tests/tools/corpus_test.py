"""Decodes real files through torvi-image and compares with what other programs made of them. Skipped where the files are absent."""
import collections
import csv
import hashlib
import json
import os
import pathlib
import unittest

from tool import TEST_DATA, ToolTest

CORPUS = pathlib.Path(os.environ.get("TORVI_CORPUS") or "/nonexistent")
# Fewest files of each format that must have been compared by pixels or refused.
MINIMA = {"bmp": 37, "png": 34, "jpeg": 45, "psd": 43}
MINIMAL_LAYERS = 100
# What PSD keys of blend modes are loaded as; all others as "over".
BLEND_MODES = {
	"diss": "dissolve", "dark": "darken", "mul ": "multiply", "idiv": "colorburn", "lbrn": "linearburn", "lite": "lighten",
	"scrn": "screen", "div ": "colordodge", "lddg": "lineardodge", "over": "overlay", "sLit": "softlight", "hLit": "hardlight",
	"lLit": "stamp", "pLit": "pinlight", "hMix": "hardmix", "diff": "difference", "smud": "exclusion", "hue ": "hue",
	"sat ": "saturation", "colr": "color", "lum ": "luminance", "pass": "passfolder",
}


def read_table(path, **options):
	with open(path, encoding="utf-8", newline="") as file:
		return list(csv.DictReader(file, delimiter="\t", quoting=csv.QUOTE_NONE, **options))


def walk(layers, depth=0):
	"""Each layer with its depth, bottom first, a folder before what it holds."""
	for layer in layers:
		yield depth, layer
		yield from walk(layer["layers"], depth + 1)


@unittest.skipUnless((CORPUS / "MANIFEST.tsv").is_file(), "There are no real sample files; TORVI_CORPUS is not set.")
class CorpusTest(ToolTest):
	def outcome(self, path):
		"""The digest of the picture's pixels, or "id: message" of the one error line."""
		status, pixels, _ = self.run_tool("pixels", path, "--as", "rgba.u8")
		if status == 0:
			return hashlib.sha256(pixels).hexdigest()
		errors = self.fail_with("pixels", path, "--as", "rgba.u8")
		self.assertEqual([error[0] for error in errors], [str(path)])
		return f"{errors[0][1]}: {errors[0][2]}"

	def check_file(self, path, verdict, digest, difference):
		"""Whether the file was compared with anything."""
		outcome = self.outcome(CORPUS / path)
		is_error = outcome.startswith("net.torvi.")
		if difference is not None:
			wanted = difference["outcome"]
			self.assertTrue(not is_error if wanted == "" else outcome == wanted or outcome.startswith(wanted + ": "), f"{path}: {outcome}")
		elif verdict == "ok":
			self.assertFalse(is_error, f"{path}: {outcome}")
			if digest is None:
				return False
			self.assertEqual(outcome, digest, path)
		elif verdict == "error":
			self.assertTrue(is_error, f"{path} was to be refused")
		return True

	def check_format(self, name):
		expected = {}
		for kind in ("rgba8", "rgba8:oriented"):   # where a picture is to be turned, the upright one counts
			expected.update((row["path"], row["hash"]) for row in read_table(CORPUS / "EXPECTED.tsv")
				if row["format"] == kind and row["notes"].startswith("primary") and "DISPUTED" not in row["notes"])
		differences = {row["path"]: row for row in read_table(TEST_DATA / name / "differences.tsv")}
		counts = collections.Counter()
		for row in read_table(CORPUS / "MANIFEST.tsv"):
			path = row["path"]
			if path.startswith(name + "/"):
				with self.subTest(path):
					is_checked = self.check_file(path, row["expected"], expected.get(path), differences.pop(path, None))
					counts["checked" if is_checked else "loaded"] += 1
		self.assertEqual(list(differences), [], "these are not in the corpus")
		print(f"{name}: {counts['checked']} real files checked, {counts['loaded']} without agreed pixels loaded only")
		self.assertGreaterEqual(counts["checked"], MINIMA[name])

	def test_formats(self):
		for name in MINIMA:
			self.check_format(name)

	def check_layer(self, layer, row):
		self.assertEqual(layer["name"], row["name"])
		mode = BLEND_MODES.get(row["blend"], "over")
		if layer["kind"] == "folder":
			self.assertIn(layer["blendmode"], (mode, "passfolder"))  # the other program does not tell the mode of the group's divider
		else:
			self.assertEqual(layer["blendmode"], mode)
		self.assertEqual(round(layer["opacity"] * 255), int(row["opacity"]))
		self.assertEqual(layer["enabled"], row["visible"] == "1")
		if layer["kind"] != "folder":
			left, top, right, bottom = (int(row[side]) for side in ("left", "top", "right", "bottom"))
			self.assertEqual(layer["bounds"], [left, top, right - left, bottom - top])
		if row["mask"]:
			left, top, right, bottom, default = row["mask"].split(",")[:5]
			bounds = [int(left), int(top), int(right) - int(left), int(bottom) - int(top)]
			self.assertEqual([(mask["bounds"], mask["default"]) for mask in layer["masks"]], [(bounds, int(default[2:]))])

	def test_layers(self):
		"""Names, blend modes, bounds and masks of all layers, as another program tells them."""
		refused = {row["path"] for row in read_table(TEST_DATA / "psd" / "differences.tsv") if row["outcome"].startswith("net.torvi.")}
		wanted = collections.defaultdict(list)
		for row in read_table(CORPUS / "LAYERS.tsv"):
			if row["tool"] == "psd-tools" and row["path"] not in refused:
				wanted[row["path"]].append(row)
		for path, rows in wanted.items():
			with self.subTest(path):
				picture = json.loads(self.succeed("info", CORPUS / path, "--json"))[0]["images"][0]
				found = list(walk(picture["layers"]))
				self.assertEqual([depth for depth, _ in found], [int(row["depth"]) for row in rows])
				for (_, layer), row in zip(found, rows):
					with self.subTest(row["name"]):
						self.check_layer(layer, row)
		count = sum(map(len, wanted.values()))
		print(f"psd: {count} layers of {len(wanted)} real files checked")
		self.assertGreaterEqual(count, MINIMAL_LAYERS)


if __name__ == "__main__":
	unittest.main()
