"""The program that shows the API does what it says."""
import os
import subprocess
import unittest

from tool import SAMPLE, ToolTest

PROGRAM = os.environ["TORVI_SAMPLE_PROGRAM"]
WIDTH = 96


class SampleProgramTest(ToolTest):
	def test_mirrors_a_picture(self):
		subprocess.run([PROGRAM, SAMPLE, self.folder / "out.bmp"], check=True, timeout=120)
		pixels = self.succeed("pixels", SAMPLE)
		pixels = [pixels[i:i + 4] for i in range(0, len(pixels), 4)]
		mirrored = [pixel for row in range(0, len(pixels), WIDTH) for pixel in reversed(pixels[row:row + WIDTH])]
		self.assertEqual(self.succeed("pixels", "out.bmp"), b"".join(mirrored))

	def test_errors(self):
		self.assertEqual(subprocess.run([PROGRAM], stderr=subprocess.DEVNULL, timeout=120).returncode, 2)
		run = subprocess.run([PROGRAM, "absent.bmp", "out.bmp"], cwd=self.folder, stderr=subprocess.PIPE, timeout=120)
		self.assertEqual((run.returncode, run.stderr.count(b"\n")), (1, 1))
		self.assert_files()


if __name__ == "__main__":
	unittest.main()
