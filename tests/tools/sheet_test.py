"""torvi-image sheet, from file to file."""
import os
import unittest

from tool import SAMPLE, ToolTest, bmp24, bmp32

ILLEGAL_ARGUMENT = "net.torvi.error.illegalargument"
IO = "net.torvi.error.io"


class SheetTest(ToolTest):
	def colours(self, path):
		"""How often each colour is there."""
		pixels = self.succeed("pixels", path, "--as", "rgb.u8")
		counts = {}
		for i in range(0, len(pixels), 3):
			colour = tuple(pixels[i:i + 3])
			counts[colour] = counts.get(colour, 0) + 1
		return counts

	def test_small_pictures_are_enlarged(self):
		path = self.write("a.bmp", bmp24(2, 1, [bytes([0, 0, 255, 0, 255, 0])]))
		self.succeed("sheet", path, "sheet.bmp")
		counts = self.colours("sheet.bmp")
		self.assertEqual((counts[(255, 0, 0)], counts[(0, 255, 0)]), (32 * 32, 32 * 32))
		self.assert_files("a.bmp", "sheet.bmp")

	def test_transparent_pictures_show_the_checkerboard(self):
		path = self.write("a.bmp", bmp32(16, 1, [bytes([1, 2, 3, 0] * 8 + [255, 0, 0, 255] * 8)]))
		self.succeed("sheet", path, "sheet.bmp")
		counts = self.colours("sheet.bmp")
		self.assertNotIn((3, 2, 1), counts)
		self.assertEqual(counts[(0, 0, 255)], 8 * 22 * 22)
		self.assertEqual(counts[(0xC6,) * 3] + counts[(0xA6,) * 3], 8 * 22 * 22)

	def test_errors_leave_nothing(self):
		whole = self.write("a.bmp", SAMPLE.read_bytes())
		cut = self.write("cut.bmp", SAMPLE.read_bytes()[:2000])
		(self.folder / "folder.bmp").mkdir()
		self.assert_one_error(cut, IO, "sheet", cut, "out.bmp")
		self.assert_one_error(whole, ILLEGAL_ARGUMENT, "sheet", whole, "out.sky")
		self.assert_one_error("absent.bmp", IO, "sheet", "absent.bmp", "out.bmp")
		self.assert_one_error(whole, IO, "sheet", whole, "folder.bmp")
		self.assert_files("a.bmp", "cut.bmp", "folder.bmp")

	def test_without_fonts(self):
		empty = self.write("fonts.conf", b"<?xml version='1.0'?><fontconfig></fontconfig>")
		environment = {**os.environ, "FONTCONFIG_FILE": str(empty)}
		status, _, error = self.run_tool("sheet", SAMPLE, "plain.bmp", env=environment)
		self.assertEqual((status, error), (0, f"torvi-image: {SAMPLE}: note: There is no font, so the sheet has no names.\n"))
		self.succeed("sheet", "-", "named.bmp", content=SAMPLE.read_bytes())
		bright = (0xF2, 0xF3, 0xF5)
		self.assertNotIn(bright, self.colours("plain.bmp"))
		self.assertIn(bright, self.colours("named.bmp"))


if __name__ == "__main__":
	unittest.main()
