"""Shows that the include check lets good includes pass and stops at bad ones: each case is a tree of its own."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "scripts" / "check_includes.py"
TREE = ["host/types.h", "torvi/value.h", "pixelformat/kernel.h", "color/inner/part.h", "image/registration.h", "image/secret.h",
	"mediasession/skeleton.h", "media_io/codec.h", "platform/service.h", "module/module.h"]

GOOD = [
	("host/a.cpp", '#include "host/types.h"'),
	("host/a.cpp", '#include <zlib.h>'),
	("host/a.h", '#include <vector>'),
	("torvi/a.h", '#include "host/types.h"'),
	("pixelformat/a.cpp", '#include "kernel.h"'),
	("color/a.cpp", '#include "inner/part.h"'),
	("color/a.cpp", '#include <lcms2.h>'),
	("media_io/a.cpp", '#include "mediasession/skeleton.h"'),
	("module/a.cpp", '#include "image/registration.h"'),
	("module/a.cpp", '#include "platform/service.h"'),
	("tools/a.cpp", '#include <nlohmann/json.hpp>'),
	("tests/image/a.cpp", '#include "image/secret.h"'),
	("image/a.cpp", '/* #include "color/inner/part.h" */'),
	("image/a.cpp", '// #include "color/inner/part.h"'),
]
BAD = [
	("host/a.cpp", '#include "torvi/value.h"', "host/ does not know torvi/"),
	("torvi/a.h", '#include "pixelformat/kernel.h"', "torvi/ does not know pixelformat/"),
	("torvi/a.h", '#include <lcms2.h>', "no headers of other libraries"),
	("pixelformat/a.cpp", '#include "color/inner/part.h"', "pixelformat/ does not know color/"),
	("pixelformat/a.cpp", '#  include  <color/inner/part.h>', "pixelformat/ does not know color/"),
	("pixelformat/a.inc", '#inc\\\nlude "color/inner/part.h"', "pixelformat/ does not know color/"),
	("image/a.cpp", '#include "../color/inner/part.h"', "paths start at the root"),
	("image/a.cpp", '#include "mediasession/skeleton.h"', "image/ does not know mediasession/"),
	("mediasession/a.cpp", '#include "media_io/codec.h"', "mediasession/ does not know media_io/"),
	("media_io/a.cpp", '#include "platform/service.h"', "media_io/ does not know platform/"),
	("module/a.cpp", '#include "image/secret.h"', "module/ does not know image/"),
	("image/a.cpp", '#include "color/registration.h"', "no such file"),
	("image/a.cpp", '#include HEADER', "must be written out"),
	("tools/a.cpp", '#include "module/module.h"', "tools/ does not know module/"),
	("fuzz/a.cpp", '#include "media_io/codec.h"', "fuzz/ does not know media_io/"),
	("elsewhere/a.cpp", '#include <vector>', "has no floor"),
]


def run_on(name, line):
	"""Writes the tree and the one file, and runs the script over it."""
	with tempfile.TemporaryDirectory() as folder:
		for path, text in [*((p, "#pragma once\n") for p in TREE), (name, line + "\n")]:
			file = pathlib.Path(folder) / path
			file.parent.mkdir(parents=True, exist_ok=True)
			file.write_text(text)
		return subprocess.run([sys.executable, SCRIPT, folder], capture_output=True, text=True, check=False)


class CheckIncludes(unittest.TestCase):
	def test_good(self):
		for name, line in GOOD:
			with self.subTest(name=name, line=line):
				result = run_on(name, line)
				self.assertEqual(result.returncode, 0, result.stdout + result.stderr)

	def test_bad(self):
		for name, line, reason in BAD:
			with self.subTest(name=name, line=line):
				result = run_on(name, line)
				self.assertEqual(result.returncode, 1, result.stdout + result.stderr)
				self.assertIn(name, result.stdout)
				self.assertIn(reason, result.stdout)

	def test_empty_tree(self):
		with tempfile.TemporaryDirectory() as folder:
			self.assertEqual(subprocess.run([sys.executable, SCRIPT, folder], capture_output=True, check=False).returncode, 1)


if __name__ == "__main__":
	unittest.main()
