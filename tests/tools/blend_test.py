"""torvi-image blend on literal values."""
import struct
import unittest

from tool import ToolTest

ILLEGAL_ARGUMENT = "net.torvi.error.illegalargument"

# name, mode and further arguments, background, foreground, output
CASES = [
	("over", ["over"], bytes([0, 0, 0, 255, 9, 9, 9, 9]), bytes([1, 2, 3, 255, 7, 7, 7, 0]), bytes([1, 2, 3, 255, 9, 9, 9, 9])),
	("opacity", ["over", "--opacity", "0.2"], bytes([0, 100, 200, 255]), bytes([255, 100, 100, 255]), bytes([51, 100, 180, 255])),
	("a full id", ["net.torvi.render.blendmode.multiply"], bytes([255, 0, 255, 255]), bytes([7, 8, 9, 255]), bytes([7, 0, 9, 255])),
	("floats are not clamped", ["add", "--background-format", "rgba.f32", "--foreground-format", "rgba.f32"],
		struct.pack("<4f", 0.75, 0, 1, 1), struct.pack("<4f", 0.75, 0.5, 1, 1), struct.pack("<4f", 1.5, 0.5, 2, 1)),
	("bytes are", ["add", "--background-format", "bgr.u8", "--foreground-format", "grey.u8"],
		bytes([100, 200, 255]), bytes([100]), bytes([200, 255, 255])),
	("a mask", ["applyalpha", "--foreground-format", "alpha.u8"], bytes([1, 2, 3, 255]), bytes([51]), bytes([1, 2, 3, 51])),
	("no pixels", ["over"], b"", b"", b""),
]


class BlendTest(ToolTest):
	def test_literal_values(self):
		for name, arguments, background, foreground, wanted in CASES:
			with self.subTest(name):
				over = self.write("over", foreground)
				self.assertEqual(self.succeed("blend", "--mode", *arguments, "-", over, content=background), wanted)

	def test_files(self):
		under, over = self.write("under", bytes([0, 0, 0, 255, 1])), self.write("over", bytes([4, 5, 6, 255]))
		self.succeed("blend", "--mode", "over", under, over, "-o", "out")
		self.assertEqual((self.folder / "out").read_bytes(), bytes([4, 5, 6, 255]))
		self.assertEqual(under.read_bytes(), bytes([0, 0, 0, 255, 1]))

	def test_errors(self):
		under, over = self.write("under", bytes(8)), self.write("over", bytes(4))
		for message, *arguments in [("There is no blend mode paint.", "--mode", "paint"),
				("The background has 2 pixels, the foreground has 1.", "--mode", "over"),
				("There is no pixel format sky.", "--mode", "over", "--foreground-format", "sky")]:
			self.assert_one_error(under, ILLEGAL_ARGUMENT, "blend", *arguments, under, over, "-o", "out", message=message)
		self.assert_one_error(under, "net.torvi.error.illegalstate", "blend", "--mode", "over", "--background-format", "indexed.u8bit",
			"--foreground-format", "grey.u8", under, under)
		self.assert_files("under", "over")

	def test_wrong_usage(self):
		for arguments in [["a", "b"], ["--mode", "over", "a"], ["--mode", "over", "--opacity", "1.5", "a", "b"],
				["--mode", "over", "--opacity", "nan", "a", "b"], ["--mode", "over", "-", "-"]]:
			with self.subTest(arguments):
				self.assertEqual(self.run_tool("blend", *arguments)[0], 2)


if __name__ == "__main__":
	unittest.main()
