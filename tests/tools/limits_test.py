"""What hostile files cost: the processor time and the resident memory of torvi-image on each of them. It refuses a file with one error line
or reads it, and is never ended by a signal.
"""
import json
import os
import pathlib
import subprocess
import sys
import unittest

import hostile_files
from hostile_files import MIB
from tool import ERROR_LINE, PROGRAM, ToolTest, bmp24

RUNNER = pathlib.Path(__file__).with_name("measured_run.py")
LIMITS = os.environ["TORVI_LIMITS"].split()   # "memory" and "time", as far as the build can be held to them
MEMORY_ROOM = 16 * MIB                        # beside the pictures that are delivered, and what the program needs for a pixel
LAYER_SIZE = 5 << 10                          # of a layer in the structure of a document, beside its pixels
SECONDS_FOR_A_MIB = 2.0                       # also for anything shorter
KILLED_AFTER = 100
ADDRESSES = 16 << 30


class LimitsTest(ToolTest):
	def measure(self, *command):
		"""Exit status, errors, seconds, and the peak of memory in bytes."""
		addresses = ADDRESSES if "memory" in LIMITS else 0
		arguments = [sys.executable, "-S", "-E", str(RUNNER), str(KILLED_AFTER), str(addresses), PROGRAM, *map(str, command)]
		run = subprocess.run(arguments, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=True)
		status, seconds, memory = json.loads(run.stdout)
		return status, run.stderr.decode(), seconds, memory

	def check(self, path, command, is_read, memory_limit):
		status, error, seconds, memory = self.measure(command, path)
		self.assertEqual(status, 0 if is_read else 1, error)
		self.assertEqual([match["file"] for match in ERROR_LINE.finditer(error)], [] if is_read else [str(path)])
		self.assertEqual(ERROR_LINE.sub("", error), "")
		if "memory" in LIMITS:
			self.assertLessEqual(memory / MIB, memory_limit / MIB)
		if "time" in LIMITS:
			self.assertLessEqual(seconds, SECONDS_FOR_A_MIB * max(1.0, path.stat().st_size / MIB))

	def test_hostile_files(self):
		pixel = self.write("pixel.bmp", bmp24(1, 1, [bytes(3)]))
		own = {command: self.measure(command, pixel)[3] for command in ("info", "pixels")}
		for case in hostile_files.CASES:
			path = self.write(case.name, case.make())
			room = MEMORY_ROOM + case.layers * LAYER_SIZE
			with self.subTest(case.name, command="info"):
				self.check(path, "info", case.outcome != hostile_files.REFUSED, own["info"] + room)
			with self.subTest(case.name, command="pixels"):
				self.check(path, "pixels", case.outcome == hostile_files.LOADED, own["pixels"] + room + case.holds * MIB)
			path.unlink()


if __name__ == "__main__":
	unittest.main()
