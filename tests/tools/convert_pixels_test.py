"""torvi-image convert-pixels on literal values."""
import struct
import unittest

from tool import ToolTest

ILLEGAL_ARGUMENT = "net.torvi.error.illegalargument"

# name, formats, further arguments, input, output
CASES = [
	("widening repeats bits", "grey.u8", "grey.u16", [], bytes([0, 1, 128, 255]), struct.pack("<4H", 0, 0x0101, 0x8080, 0xFFFF)),
	("narrowing cuts", "grey.u16", "grey.u8", [], struct.pack("<3H", 255, 65279, 65535), bytes([0, 254, 255])),
	("full and zero as floats", "grey.u8", "grey.f32", [], bytes([0, 255]), struct.pack("<2f", 0.0, 1.0)),
	("floats are clamped", "grey.f32", "grey.u8", [], struct.pack("<4f", -1.0, 0.5, 1.0, 1e30), bytes([0, 128, 255, 255])),
	("channels change places", "rgba.u8", "bgr.u8", [], bytes([1, 2, 3, 4, 5, 6, 7, 8]), bytes([3, 2, 1, 7, 6, 5])),
	("alpha is full where there is none", "rgb.u8", "argb.u8", [], bytes([1, 2, 3]), bytes([255, 1, 2, 3])),
	("grey is the mean", "rgb.u8", "grey.u8", [], bytes([10, 20, 33]), bytes([21])),
	("full ids", "net.torvi.image.pixelformat.rgb.u8", "net.torvi.image.pixelformat.rgb.u16", [], bytes([1, 2, 3]),
		struct.pack("<3H", 0x0101, 0x0202, 0x0303)),
	("a stride on the way in", "grey.u8", "grey.u8", ["--from-stride", 3], bytes([1, 9, 9, 2, 9, 9, 3]), bytes([1, 2, 3])),
	("a stride on the way out", "grey.u8", "grey.u8", ["--to-stride", 2], bytes([1, 2, 3]), bytes([1, 0, 2, 0, 3])),
	("fewer pixels than there are", "grey.u8", "grey.u8", ["--count", 2], bytes([1, 2, 3]), bytes([1, 2])),
	("no pixels", "rgba.u8", "rgb.f32", [], b"", b""),
	("count 0", "rgba.u8", "rgb.f32", ["--count", 0], bytes(8), b""),
	("a dynamic format", "{uchar#Red,uint16#Green}", "rgb.u8", [], bytes([7, 0xFF, 0x80]), bytes([7, 0x80, 0])),
	("the full id of a dynamic format", "net.torvi.image.pixelformat.{uchar#Alpha,uchar#Grey}", "grey.u8", [], bytes([7, 8]), bytes([8])),
	("profiles of one model on demand only", "rgb.u8", "rgb.u8", ["--from-profile", "srgb", "--to-profile", "linear"], bytes([128] * 3),
		bytes([128] * 3)),
	("profiles on demand", "rgb.u8", "bgra.u8", ["--from-profile", "srgb", "--to-profile", "linear", "--force-profiles"], bytes([128, 0, 255]),
		bytes([255, 0, 55, 255])),
	("profiles of two models", "grey.u8", "rgb.u8", ["--from-profile", "sgrey", "--to-profile", "linear"], bytes([128]), bytes([55] * 3)),
	("to a dynamic format", "rgb.u8", "{uint16#Blue,uchar#Red}", [], bytes([1, 2, 3]), bytes([3, 3, 1])),
]


class ConvertPixelsTest(ToolTest):
	def convert(self, source, destination, *arguments, content=b""):
		return self.succeed("convert-pixels", "--from", source, "--to", destination, *arguments, content=content)

	def test_literal_values(self):
		for name, source, destination, arguments, given, wanted in CASES:
			with self.subTest(name):
				self.assertEqual(self.convert(source, destination, *arguments, content=given), wanted)

	def test_files_and_palette(self):
		palette = self.write("palette", bytes([10, 20, 30, 255, 40, 50, 60, 128]))
		pixels = self.write("pixels", bytes([1, 0, 7]))
		arguments = ["--from", "indexed.u8bit", "--to", "rgba.u8", "--palette", palette]
		self.succeed("convert-pixels", *arguments, pixels, "-o", "out")
		# Behind the table: white with alpha 0.
		self.assertEqual((self.folder / "out").read_bytes(), bytes([40, 50, 60, 128, 10, 20, 30, 255, 255, 255, 255, 0]))
		self.assertEqual(self.succeed("convert-pixels", *arguments, "--count", 1, "-", content=b"\0"), bytes([10, 20, 30, 255]))
		bits = ["--from", "indexed.u1bit", "--to", "rgb.u8", "--palette", palette]
		self.assertEqual(self.succeed("convert-pixels", *bits, "--count", 3, content=bytes([0b01000000])),
			bytes([10, 20, 30, 40, 50, 60, 10, 20, 30]))

	def test_errors(self):
		def failing(wanted_id, *arguments, content=b"", message=None):
			self.assert_one_error("-", wanted_id, "convert-pixels", *arguments, content=content, message=message)

		failing(ILLEGAL_ARGUMENT, "--from", "nothing", "--to", "rgb.u8", message="There is no pixel format nothing.")
		failing(ILLEGAL_ARGUMENT, "--from", "{uchar#Pink}", "--to", "rgb.u8", message="There is no channel uchar#Pink.")
		failing(ILLEGAL_ARGUMENT, "--from", "{float99#Red}", "--to", "rgb.u8")
		failing("net.torvi.error.io", "--from", "rgb.u8", "--to", "rgb.u8", "--count", "2", content=bytes(5),
			message="2 pixels are asked for, the input holds 1.")
		palette = self.write("palette", bytes(5))
		failing(ILLEGAL_ARGUMENT, "--from", "rgb.u8", "--to", "rgb.u8", "--palette", palette)
		failing(ILLEGAL_ARGUMENT, "--from", "indexed.u8bit", "--to", "rgb.u8", "--palette", palette)

	def test_chroma_needs_pairs(self):
		even = self.convert("rgb.u8", "yuv.i422a", content=bytes([255] * 6))
		self.assertEqual(len(even), 4)
		errors = self.fail_with("convert-pixels", "--from", "rgb.u8", "--to", "yuv.i422a", content=bytes(9))
		self.assertEqual(len(errors), 1)

	def test_wrong_usage(self):
		for arguments in [["--from", "rgb.u8"], ["--from", "rgb.u8", "--to", "rgb.u8", "--count", "-1"],
				["--from", "rgb.u8", "--to", "rgb.u8", "--to-stride", "0"], ["--from", "indexed.u8bit", "--to", "rgb.u8", "--palette", "-"]]:
			with self.subTest(arguments):
				self.assertEqual(self.run_tool("convert-pixels", *arguments, content=b"")[0], 2)


if __name__ == "__main__":
	unittest.main()
