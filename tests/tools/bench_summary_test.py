"""The table of bench/summary.py on a few made-up measurements."""
import contextlib
import io
import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).parents[2] / "bench"))
import results
import summary


def pair(ratio):
	return {"bytes": 7, "fastest_ns": 2.0, "reference_ns": 2.0 * ratio}


MEASUREMENTS = {
	"pair/4096/rgba.u8/rgb.u8": pair(0.5),
	"pair/4096/rgba.u8/bgr.u8": pair(0.32),
	"pair/4096/grey.f32/rgb.u8": pair(0.03),
	"pair/16M/rgba.u8/rgb.u8": pair(0.45),
	"pair/16M/grey.u8/bgra.u8": pair(0.31),
	"pair/16M/alpha.u8/rgb.f16": pair(0.29),
	"layout/to-planes/rgba.u8/rgb.u8": {"fastest_ns": 1.6, "reference_ns": 0.8},
	"layout/to-padded/rgba.u8/rgb.u8": {"fastest_ns": 1.6, "reference_ns": 0.8},
	"layout/to-padded/rgba.f32/rgb.u8": {"fastest_ns": 9.9, "reference_ns": 0.8},
	"threads/held-function": {"fastest_ns": 10.0, "reference_ns": 9.6},
	"line/get": {"fastest_ns": 100.0, "reference_ns": 30.0},
	"blend/64/over": {"fastest_ns": 2.0, "reference_ns": 0.4},
	"blend/64/hue": {"fastest_ns": 20.0, "reference_ns": 0.4},
	"blend/64/xor": {"fastest_ns": 8.0, "reference_ns": 0.4},
	"blend/64/levr": {"fastest_ns": 10.0, "reference_ns": 0.4},
}

# subject, value, whether it is met
LINES = [
	("16M pixels: integers and float32, slowest", 0.45, True),
	("16M pixels: float16, float64, mean, slowest", 0.29, False),
	("4,096 pixels: geometric mean", (0.5 * 0.32 * 0.03) ** (1 / 3), False),
	("4,096 pixels: slowest", 0.03, False),
	("planes against packed, slowest", 0.5, True),
	("padded integer pairs, slowest", 1.6, False),
	("64-pixel runs on two threads against one", 1.92, True),
	("_getLine beyond the kernel", 70.0, False),
	("blending 64 pixels: over", 0.2, True),
	("blending 64 pixels: hue", 50.0, False),
	("blending 64 pixels: other modes, slowest", 100.0, True),
]


class BenchSummaryTest(unittest.TestCase):
	def setUp(self):
		self.summary = summary.summarize(MEASUREMENTS, {"processor": "none", "cores": 2, "load": 0.0})

	def test_budgets(self):
		lines = {line["subject"]: line for line in self.summary["budgets"]}
		self.assertEqual(list(lines), [subject for subject, _, _ in LINES])
		for subject, value, is_met in LINES:
			with self.subTest(subject):
				self.assertAlmostEqual(lines[subject]["value"], value)
				self.assertEqual(lines[subject]["pass"], is_met)

	def test_pairs_as_a_whole(self):
		cached = self.summary["sizes"]["4096"]
		self.assertEqual((cached["pairs"], cached["slowest"][0], cached["memcpy_gb_per_s"]), (3, "grey.f32/rgb.u8", 7 / 0.64))
		means = results.by_data_types(results.pair_ratios(MEASUREMENTS, "4096"))
		self.assertAlmostEqual(means["u8", "u8"], 0.4)

	def test_saved_and_printed_again(self):
		with tempfile.TemporaryDirectory() as folder:
			path = pathlib.Path(folder) / "summary.json"
			results.save(path, self.summary)
			self.assertEqual(results.read(path), self.summary)
		out = io.StringIO()
		with contextlib.redirect_stdout(out):
			summary.print_summary(self.summary)
		self.assertRegex(out.getvalue(), r"MISS +4,096 pixels: slowest +0\.030 +>= 0\.04 x +grey\.f32/rgb\.u8, 1 of 3 miss\n")
		self.assertEqual(out.getvalue().count("pass  "), 5)


if __name__ == "__main__":
	unittest.main()
