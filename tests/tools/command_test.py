"""torvi-image info, convert and pixels: results, errors, exit statuses, standard streams, and what is left behind."""
import json
import os
import pathlib
import resource
import signal
import struct
import subprocess
import time
import unittest

from tool import SAMPLE, ToolTest, bmp24, bmp32

CANCELLED = "net.torvi.error.operationcancelled"
ILLEGAL_ARGUMENT = "net.torvi.error.illegalargument"
IO = "net.torvi.error.io"
UNSUPPORTED = "net.torvi.error.unsupportedoperation"

# Red, green; blue, white.
FOUR_PIXELS = bmp24(2, 2, [bytes([0, 0, 255, 0, 255, 0]), bytes([255, 0, 0, 255, 255, 255])])
# One pixel B, G, R = 1, 2, 3 with alpha 16.
TRANSPARENT_PIXEL = bmp32(1, 1, [bytes([1, 2, 3, 16])])
NOT_A_PICTURE = b"This is no picture.\n" * 10


class UsageTest(ToolTest):
	def test_wrong_usage_is_status_2(self):
		for arguments in [[], ["paint"], ["info"], ["pixels"], ["convert", "a.bmp"], ["convert", "a", "b", "c"], ["convert", "a", "--into", "d"],
				["convert", "a", "b", "--jobs", "0"], ["convert", "a", "b", "--set", "quality"], ["pixels", "a", "--alpha", "second"],
				["pixels", "a", "--time", "-1"], ["sheet", "a"], ["pixels", "a", "--mask", "m", "--layer", "l"], ["info", "a", "--what"]]:
			with self.subTest(arguments):
				status, out, error = self.run_tool(*arguments)
				self.assertEqual((status, out), (2, b""))
				self.assertNotEqual(error, "")

	def test_help_and_version(self):
		help_text = self.succeed("--help").decode()
		for command in ("info", "convert", "pixels", "convert-pixels", "blend", "audio", "sheet", "list"):
			self.assertIn(command, help_text)
			self.succeed(command, "--help")
		self.assertRegex(self.succeed("--version").decode(), r"^\d+\.\d+\.\d+\n$")

	def test_what_is_not_in_this_build(self):
		self.assert_one_error("audio", UNSUPPORTED, "audio", "a", "b")


class InfoTest(ToolTest):
	def test_json(self):
		path = self.write("a.bmp", TRANSPARENT_PIXEL)
		alpha = {"width": 1, "height": 1, "pixelformat": "net.torvi.image.pixelformat.alpha.u8"}
		[found] = json.loads(self.succeed("info", path, "--json"))
		[image] = found["images"]
		[found_alpha] = image["alphas"]
		self.assertEqual({key: found_alpha[key] for key in alpha}, alpha)
		self.assertEqual(found, {"file": str(path), "fileformat": "net.torvi.fileformat.imagebmp", "fps": None, "duration": None, "exif": False,
			"images": [{"index": 0, "name": "", "width": 1, "height": 1, "pixelformat": "net.torvi.image.pixelformat.bgr.u8",
				"colorprofile": image["colorprofile"], "dpi": image["dpi"], "aspectratio": image["aspectratio"], "hotspot": None,
				"exportsettings": {"net.torvi.mediasession.bmp.export.bitmapinfoheader": "V3"},
				"alphas": [{"name": found_alpha["name"], **alpha}], "layers": []}],
			"audio": None})
		self.assertIn("sRGB", image["colorprofile"])

	def test_several_files(self):
		good = self.write("good.bmp", FOUR_PIXELS)
		bad = self.write("bad.bmp", NOT_A_PICTURE)
		status, out, error = self.run_tool("info", "absent.bmp", good, bad, good, "--json")
		self.assertEqual(status, 1)
		self.assertEqual([row["file"] for row in json.loads(out)], [str(good), str(good)])
		self.assertEqual([line.split(": ")[1:3] for line in error.splitlines()], [["absent.bmp", IO], [str(bad), ILLEGAL_ARGUMENT]])
		self.assertEqual(self.run_tool("info", "absent.bmp", good)[1].decode().splitlines()[1].split()[:4], ["2", "x", "2", "bgr.u8,"])

	def test_pixels_are_not_read(self):
		cut = self.write("cut.bmp", SAMPLE.read_bytes()[:2000])
		self.assertEqual(json.loads(self.succeed("info", cut, "--json"))[0]["images"][0]["width"], 96)
		self.assert_one_error(cut, IO, "pixels", cut, "-o", "out.raw")
		self.assert_files("cut.bmp")


class PixelsTest(ToolTest):
	def test_rows(self):
		path = self.write("a.bmp", FOUR_PIXELS)
		rgba = bytes([255, 0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255, 255, 255, 255, 255])
		self.assertEqual(self.succeed("pixels", path), rgba)
		self.assertEqual(self.succeed("pixels", path, "--as", "rgb.u8"), bytes(v for i, v in enumerate(rgba) if i % 4 != 3))
		self.assertEqual(self.succeed("pixels", path, "--as", "{uchar#Green,uchar#Red}"), bytes([0, 255, 255, 0, 0, 0, 255, 255]))
		self.assertEqual(self.succeed("pixels", "-", content=FOUR_PIXELS), rgba)
		self.succeed("pixels", path, "-o", "out.raw")
		self.assertEqual((self.folder / "out.raw").read_bytes(), rgba)
		self.assert_files("a.bmp", "out.raw")

	def test_alpha(self):
		path = self.write("a.bmp", TRANSPARENT_PIXEL)
		cases = [(["--as", "rgba.u8"], [3, 2, 1, 16]), (["--alpha", "none"], [3, 2, 1, 255]), (["--as", "abgr.u8"], [16, 1, 2, 3]),
			(["--as", "rgb.u8"], [3, 2, 1]), (["--as", "alpha.u8"], [16]), (["--as", "{uchar#Alpha}"], [16]),
			(["--as", "argb.u1555"], [0, 0]), (["--as", "argb.u1555", "--alpha", "none"], [0, 0x80])]
		for arguments, wanted in cases:
			with self.subTest(arguments):
				self.assertEqual(self.succeed("pixels", path, *arguments), bytes(wanted))
		name = json.loads(self.succeed("info", path, "--json"))[0]["images"][0]["alphas"][0]["name"]
		if name:
			self.assertEqual(self.succeed("pixels", path, "--alpha-channel", name, "--as", "alpha.u8"), bytes([16]))

	def test_names_are_checked(self):
		path = self.write("a.bmp", FOUR_PIXELS)
		self.succeed("pixels", path, "--image", "#1")
		for arguments in [["--image", "#2"], ["--image", "sky"], ["--layer", "sky"], ["--mask", "sky\\Alpha"], ["--alpha-channel", "sky"],
				["--as", "sky.u8"], ["--as", "{uchar#Sky}"]]:
			with self.subTest(arguments):
				self.assert_one_error(path, ILLEGAL_ARGUMENT, "pixels", path, *arguments)
		for command in (["convert", path, "out.bmp"], ["pixels", path]):
			self.assertEqual(self.fail_with(*command, "--layer", "sky"), [(str(path), ILLEGAL_ARGUMENT, "There is no layer sky.")])
		self.assert_files("a.bmp")


class ProfileTest(ToolTest):
	"""128 in sRGB is 55 in linear 8 bits, and 0.2158605 as a float."""
	def grey_picture(self):
		return self.write("grey.bmp", bmp24(2, 1, [bytes([128] * 6)]))

	def test_pixels(self):
		path = self.grey_picture()
		self.assertEqual(self.succeed("pixels", path, "--as", "rgb.u8", "--profile", "linear"), bytes([55] * 6))
		self.assertEqual(self.succeed("pixels", path, "--as", "rgb.u8", "--profile", "srgb"), bytes([128] * 6))
		for value in struct.unpack("<6f", self.succeed("pixels", path, "--as", "rgb.f32", "--profile", "linear_rgb")):
			self.assertAlmostEqual(value, 0.2158605, 4)
		self.assertEqual(self.succeed("pixels", path, "--as", "greya.u8", "--profile", "linear_grey"), bytes([55, 255] * 2))

	def test_alpha_is_no_colour(self):
		path = self.write("a.bmp", bmp32(1, 1, [bytes([128, 128, 128, 16])]))
		self.assertEqual(self.succeed("pixels", path, "--profile", "linear"), bytes([55, 55, 55, 16]))
		self.succeed("convert", path, "linear.bmp", "--profile", "linear", "--set", "bmp.export.bitmapinfoheader=V5")
		self.assertEqual(self.succeed("pixels", "linear.bmp"), bytes([55, 55, 55, 16]))

	def test_convert(self):
		path = self.grey_picture()
		self.succeed("convert", path, "linear.bmp", "--profile", "linear", "--set", "bmp.export.bitmapinfoheader=V5")
		[image] = json.loads(self.succeed("info", "linear.bmp", "--json"))[0]["images"]
		self.assertEqual(image["colorprofile"], "Linear Color Space")
		self.assertEqual(self.succeed("pixels", "linear.bmp", "--as", "rgb.u8"), bytes([55] * 6))
		self.succeed("convert", "linear.bmp", "back.bmp", "--set", "bmp.export.bitmapinfoheader=V3") # which holds sRGB
		for value in self.succeed("pixels", "back.bmp", "--as", "rgb.u8"):
			self.assertAlmostEqual(value, 128, delta=1)
		# The profile as a file of its own is as good as its name.
		content = (self.folder / "linear.bmp").read_bytes()
		offset, size = struct.unpack_from("<II", content, 14 + 112)
		icc = self.write("linear.icc", content[14 + offset:14 + offset + size])
		self.assertEqual(self.succeed("pixels", path, "--as", "rgb.u8", "--profile", icc), bytes([55] * 6))
		self.assertEqual(self.succeed("convert", path, "-", "--profile", icc, "--set", "bmp.export.bitmapinfoheader=V5"), content)

	def test_errors(self):
		path = self.grey_picture()
		other = self.write("other.icc", NOT_A_PICTURE)
		for command in (["pixels", path], ["convert", path, "out.bmp"]):
			self.assert_one_error(path, IO, *command, "--profile", "absent.icc")
			self.assert_one_error(path, "net.torvi.image.error.mediasessionwrongtype", *command, "--profile", other)
		# A profile for colours cannot say what grey means, nor can the profile that stands for all inks.
		for arguments in (["--as", "grey.u8", "--profile", "linear"], ["--as", "cmyk.u8", "--profile", "cmykdefault"]):
			self.assert_one_error(path, "net.torvi.error.illegalstate", "pixels", path, *arguments, message="cmsCreateTransform failed")
		self.assert_files("grey.bmp", "other.icc")


class ConvertTest(ToolTest):
	def test_sample_comes_back(self):
		self.succeed("convert", SAMPLE, "a.bmp")
		pixels = self.succeed("pixels", SAMPLE)
		self.assertEqual(len(pixels), 96 * 64 * 4)
		self.assertEqual(self.succeed("pixels", "a.bmp"), pixels)
		self.succeed("convert", "a.bmp", "b.bmp")
		self.assertEqual((self.folder / "b.bmp").read_bytes(), (self.folder / "a.bmp").read_bytes())
		self.assert_files("a.bmp", "b.bmp")

	def test_standard_streams(self):
		self.succeed("convert", SAMPLE, "a.bmp")
		wanted = (self.folder / "a.bmp").read_bytes()
		self.assertEqual(self.succeed("convert", SAMPLE, "-"), wanted)
		self.assertEqual(self.succeed("convert", SAMPLE, "-", "--to", "BMP"), wanted)
		self.assertEqual(self.succeed("convert", "-", "-", content=SAMPLE.read_bytes()), wanted)
		self.assert_one_error("-", ILLEGAL_ARGUMENT, "convert", "-", "b.bmp", content=b"")
		self.assert_files("a.bmp")

	def test_settings(self):
		for header, size in (("V3", 40), ("V4", 108), ("V5", 124)):
			for key in ("bmp.export.bitmapinfoheader", "net.torvi.mediasession.bmp.export.bitmapinfoheader"):
				out = self.succeed("convert", SAMPLE, "-", "--set", f"{key}={header}")
				self.assertEqual(out[14], size)
		self.succeed("convert", SAMPLE, "a.bmp", "--set", "export.quality=0.5", "--set", "export.disablesrgbconversion=true")
		for setting, wanted in (("sky=1", ILLEGAL_ARGUMENT), ("export.quality=high", "net.torvi.error.wrongdatatype"),
				("bmp.export.bitmapinfoheader=V9", ILLEGAL_ARGUMENT)):
			self.assert_one_error(SAMPLE, wanted, "convert", SAMPLE, "b.bmp", "--set", setting)
		self.assert_files("a.bmp")

	def test_many_files(self):
		names = [self.write(f"{i}.bmp", FOUR_PIXELS) for i in range(8)]
		bad = self.write("bad.bmp", NOT_A_PICTURE)
		errors = self.fail_with("convert", "absent.bmp", *names[:4], bad, *names[4:], "--to", "bmp", "--into", "out", "--jobs", 4)
		self.assertEqual(sorted(error[:2] for error in errors), sorted([("absent.bmp", IO), (str(bad), ILLEGAL_ARGUMENT)]))
		self.assertEqual(sorted(path.name for path in (self.folder / "out").iterdir()), [f"{i}.bmp" for i in range(8)])
		errors = self.fail_with("convert", "absent.bmp", *names, "--to", "bmp", "--into", "none", "--no-keep-going")
		self.assertEqual([error[0] for error in errors], ["absent.bmp"])
		self.assertEqual(list((self.folder / "none").iterdir()), [])

	def test_two_files_of_one_name(self):
		(self.folder / "below").mkdir()
		first, second = self.write("a.bmp", FOUR_PIXELS), self.write("below/a.bmp", TRANSPARENT_PIXEL)
		self.assert_one_error(second, ILLEGAL_ARGUMENT, "convert", first, second, "--to", "bmp", "--into", "out")
		self.assertEqual(self.succeed("pixels", "out/a.bmp"), self.succeed("pixels", first))


class OutputTest(ToolTest):
	"""A wanted name holds a whole file, or what it held before."""

	def test_failures_leave_nothing(self):
		picture = self.write("a.bmp", FOUR_PIXELS)
		bad = self.write("bad.bmp", NOT_A_PICTURE)
		old = self.write("old.bmp", b"old")
		for source, target, wanted in [(bad, "new.bmp", ILLEGAL_ARGUMENT), (bad, old, ILLEGAL_ARGUMENT), (picture, "absent/new.bmp", IO),
				(picture, "new.xyz", ILLEGAL_ARGUMENT)]:
			self.assert_one_error(source, wanted, "convert", source, target)
		os.mkdir(self.folder / "folder.bmp")
		self.assert_one_error(picture, IO, "convert", picture, "folder.bmp")
		self.assert_one_error(picture, IO, "pixels", picture, "-o", "/dev/full")
		self.assertEqual(old.read_bytes(), b"old")
		self.assert_files("a.bmp", "bad.bmp", "old.bmp", "folder.bmp")

	def test_full_disk(self):
		def limit():
			resource.setrlimit(resource.RLIMIT_FSIZE, (4096, 4096))

		old = self.write("old.bmp", b"old")
		for command in (["convert", SAMPLE, old], ["convert", SAMPLE, "new.bmp"], ["pixels", SAMPLE, "-o", "new.raw"]):
			self.assert_one_error(SAMPLE, IO, *command, preexec_fn=limit)
		self.assertEqual(old.read_bytes(), b"old")
		self.assert_files("old.bmp")

	def test_links_permissions_and_devices_stay(self):
		target = self.write("target.bmp", b"old")
		target.chmod(0o600)
		(self.folder / "link.bmp").symlink_to("target.bmp")
		self.succeed("convert", SAMPLE, "link.bmp")
		self.assertTrue((self.folder / "link.bmp").is_symlink())
		self.assertEqual(target.stat().st_mode & 0o777, 0o600)
		self.assertEqual(self.succeed("pixels", target), self.succeed("pixels", SAMPLE))
		self.succeed("convert", SAMPLE, "/dev/null", "--to", "bmp")
		self.assertTrue(pathlib.Path("/dev/null").is_char_device())
		self.succeed("convert", target, target)
		self.assert_files("link.bmp", "target.bmp")

	def test_standard_output_that_takes_nothing(self):
		with open("/dev/full", "wb") as full:
			for name, command in [(SAMPLE, ["pixels", SAMPLE]), (SAMPLE, ["convert", SAMPLE, "-"]), ("formats", ["list", "formats"]),
					(SAMPLE, ["info", SAMPLE])]:
				self.assert_one_error(name, IO, *command, stdout=full)
		reader, writer = os.pipe()
		os.close(reader)
		self.assert_one_error(SAMPLE, IO, "pixels", SAMPLE, stdout=writer)
		os.close(writer)

	def test_pipes_as_files(self):
		pipe = self.folder / "pipe.bmp"
		os.mkfifo(pipe)
		process = self.start("pixels", pipe)
		subprocess.run(["sh", "-c", 'cat "$0" > "$1"', SAMPLE, pipe], check=True, timeout=60)
		out, error = process.communicate(timeout=120)
		self.assertEqual((process.returncode, error, len(out)), (0, b"", 96 * 64 * 4))


class InterruptTest(ToolTest):
	def test_while_reading_standard_input(self):
		for number in (signal.SIGINT, signal.SIGTERM):
			process = self.start("pixels", "-", stdin=subprocess.PIPE)
			process.stdin.write(SAMPLE.read_bytes()[:100])
			process.stdin.flush()
			time.sleep(0.3)
			process.send_signal(number)
			process.wait(timeout=60)
			error = process.stderr.read().decode()
			for stream in (process.stdin, process.stdout, process.stderr):
				stream.close()
			self.assertEqual((process.returncode, error), (1, f"torvi-image: -: {CANCELLED}: Interrupted.\n"))

	def test_whole_file_or_none(self):
		row = bytes(range(256)) * 36
		picture = self.write("a.bmp", bmp24(3072, 2048, [row] * 2048))
		whole = self.succeed("pixels", picture)
		for delay in (0.0, 0.02, 0.04, 0.06, 0.08, 0.1, 0.15):
			process = self.start("convert", picture, "b.bmp")
			time.sleep(delay)
			process.send_signal(signal.SIGINT)
			_, error = process.communicate(timeout=120)
			with self.subTest(delay):
				if process.returncode == -signal.SIGINT:
					continue   # it came before the program's first line
				if process.returncode == 0:
					self.assertEqual(self.succeed("pixels", "b.bmp"), whole)
					(self.folder / "b.bmp").unlink()
				else:
					self.assertEqual((process.returncode, error.decode()), (1, f"torvi-image: {picture}: {CANCELLED}: Interrupted.\n"))
				self.assert_files("a.bmp")


class ProgressTest(ToolTest):
	def shown_on_terminal(self, delay):
		"""What a conversion whose input comes after some seconds shows on a terminal."""
		master, slave = os.openpty()
		process = self.start("convert", "-", "a.bmp", stdin=subprocess.PIPE, stderr=slave)
		os.close(slave)
		time.sleep(delay)
		process.communicate(SAMPLE.read_bytes(), timeout=120)
		self.assertEqual(process.returncode, 0)
		try:
			return os.read(master, 1000)
		except OSError:   # nothing was written before the other side closed
			return b""
		finally:
			os.close(master)

	def test_long_work_shows_a_line_and_takes_it_away(self):
		self.assertEqual(self.shown_on_terminal(0.0), b"")
		self.assertRegex(self.shown_on_terminal(0.7), rb"^(\r *\d+ %)+\r     \r$")


if __name__ == "__main__":
	unittest.main()
