"""Runs torvi-image and checks what every run must keep: no signal, a known exit status, one line for each failed file."""
import os
import pathlib
import re
import shutil
import struct
import subprocess
import tempfile
import unittest

PROGRAM = os.environ["TORVI_IMAGE"]
SAMPLES = pathlib.Path(os.environ["TORVI_SAMPLES"])
SAMPLE = SAMPLES / "gradient.bmp"
TEST_DATA = pathlib.Path(os.environ["TORVI_TEST_DATA"])
ERROR_LINE = re.compile(r"torvi-image: (?P<file>.*?): (?P<id>net\.torvi\.[a-z.]+): (?P<message>\S.*)\n")


def bmp24(width, height, rows, dots=2835):
	"""A 24-bit BMP; `rows` are those of the picture from the top, as bytes B, G, R."""
	body = b"".join(row + bytes(-len(row) % 4) for row in reversed(rows))
	return struct.pack("<2sIHHIIiiHHIIiiII", b"BM", 54 + len(body), 0, 0, 54, 40, width, height, 1, 24, 0, len(body), dots, dots, 0, 0) + body


def bmp32(width, height, rows):
	"""A 32-bit BMP without compression, bytes B, G, R, A."""
	body = b"".join(reversed(rows))
	return struct.pack("<2sIHHIIiiHHIIiiII", b"BM", 54 + len(body), 0, 0, 54, 40, width, height, 1, 32, 0, len(body), 0, 0, 0, 0) + body


class ToolTest(unittest.TestCase):
	def setUp(self):
		self.folder = pathlib.Path(tempfile.mkdtemp(prefix="torvi-tools-"))
		self.addCleanup(shutil.rmtree, self.folder)

	def write(self, name, content):
		path = self.folder / name
		path.write_bytes(content)
		return path

	def start(self, *arguments, **options):
		pipes = {"stdin": subprocess.DEVNULL, "stdout": subprocess.PIPE, "stderr": subprocess.PIPE, **options}
		return subprocess.Popen([PROGRAM, *map(str, arguments)], cwd=self.folder, **pipes)

	def run_tool(self, *arguments, content=None, **options):
		"""Exit status, standard output and standard error of a run."""
		if content is not None:
			options["stdin"] = subprocess.PIPE
		process = self.start(*arguments, **options)
		out, error = process.communicate(content, timeout=120)
		self.assertIn(process.returncode, (0, 1, 2), f"{arguments}: {error}")
		return process.returncode, out, (error or b"").decode(errors="replace")

	def succeed(self, *arguments, **options):
		"""Standard output of a run that must go well, without a word on standard error."""
		status, out, error = self.run_tool(*arguments, **options)
		self.assertEqual((status, error), (0, ""), arguments)
		return out

	def fail_with(self, *arguments, **options):
		"""The errors of a run that must fail, as (file, id, message); there is nothing else on standard error."""
		status, _, error = self.run_tool(*arguments, **options)
		self.assertEqual(status, 1, f"{arguments}: {error}")
		self.assertEqual(ERROR_LINE.sub("", error), "", arguments)
		return [match.groups() for match in ERROR_LINE.finditer(error)]

	def assert_one_error(self, wanted_file, wanted_id, *arguments, message=None, **options):
		errors = self.fail_with(*arguments, **options)
		self.assertEqual([error[:2] for error in errors], [(str(wanted_file), wanted_id)], arguments)
		if message is not None:
			self.assertEqual(errors[0][2], message)

	def assert_files(self, *names):
		"""The folder holds these and nothing else: no half file is left."""
		self.assertEqual(sorted(path.name for path in self.folder.iterdir()), sorted(names))
