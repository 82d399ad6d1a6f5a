"""torvi-image list: what the library knows, as JSON and as text."""
import collections
import json
import unittest

from tool import ToolTest

FORMAT = "net.torvi.image.pixelformat."

# Members of each group of pixel formats that does not grow while a program runs.
GROUP_SIZES = {
	"rgbgroup": 11, "rgbagroup": 7, "argbgroup": 6, "rgbxgroup": 1, "xrgbgroup": 1, "bgrgroup": 6, "bgragroup": 4, "bgrxgroup": 1,
	"abgrgroup": 4, "alphagroup": 5, "greygroup": 5, "agreygroup": 5, "greyagroup": 5, "cmykgroup": 3, "acmykgroup": 3,
	"cmyk_invgroup": 3, "acmyk_invgroup": 3, "yuvgroup": 2, "indexedgroup": 9,
}
DECLARED_DYNAMIC_FORMATS = 16

# id, short name, channels, bits, group
FORMATS = [
	("rgb.u8", "RGB::U8", ["uchar#Red", "uchar#Green", "uchar#Blue"], 24, "rgbgroup"),
	("bgrx.u8", "BGRX::U8", ["uchar#Blue", "uchar#Green", "uchar#Red", "uchar#Unused"], 32, "bgrxgroup"),
	("rgba.f32", "RGBA::F32", ["float32#Red", "float32#Green", "float32#Blue", "float32#Alpha"], 128, "rgbagroup"),
	("agrey.u16", "AGREY::U16", ["uint16#Alpha", "uint16#Grey"], 32, "agreygroup"),
	("acmyk_inv.u16", "ACMYK_INV::U16",
		["uint16#Alpha", "uint16#CMYK_iC", "uint16#CMYK_iM", "uint16#CMYK_iY", "uint16#CMYK_iK"], 80, "acmyk_invgroup"),
	("rgb.rgbe", "RGB::RGBE", [], 32, "rgbgroup"),
	("indexed.u4bit", "Indexed::u4bit", [], 4, "indexedgroup"),
	("dynamic.redgreenf16", "Dynamic::RedGreenF16", ["float16#Red", "float16#Green"], 32, "dynamicgroup"),
]


class ListTest(ToolTest):
	def list(self, subject):
		return json.loads(self.succeed("list", subject, "--json"))

	def test_formats(self):
		formats = self.list("formats")
		by_id = {row["id"]: row for row in formats}
		self.assertEqual(len(by_id), len(formats))
		sizes = collections.Counter(row["group"].removeprefix(FORMAT) for row in formats)
		self.assertGreaterEqual(sizes.pop("dynamicgroup"), DECLARED_DYNAMIC_FORMATS)
		self.assertEqual(sizes, GROUP_SIZES)
		for name, short_name, channels, bits, group in FORMATS:
			wanted = {"id": FORMAT + name, "name": short_name, "channels": channels, "bits": bits, "group": FORMAT + group}
			self.assertEqual(by_id[FORMAT + name], wanted)

	def test_groups_hold_the_formats(self):
		members = [member for group in self.list("groups") for member in group["formats"]]
		self.assertEqual(members, [row["id"] for row in self.list("formats")])

	def test_codecs(self):
		for name, suffixes in (("bmp", ["bmp"]), ("png", ["png"]), ("jpg", ["jpg", "jpeg"])):
			self.assertIn({"id": f"net.torvi.fileformat.image{name}", "suffixes": suffixes, "read": True, "write": True,
				"exporter": f"net.torvi.mediasession.{name}.export"}, self.list("codecs"))

	def test_further_subjects(self):
		self.assertIn("Red", [row["name"] for row in self.list("channels")])
		self.assertIn("net.torvi.image.colorprofile.srgb", [row["id"] for row in self.list("profiles")])
		classes = {row["id"]: row["base"] for row in self.list("classes")}
		self.assertEqual(classes["net.torvi.image.imagetextureclass.texture"], "net.torvi.image.imagebaseclass.base")
		modes = [row["id"].removeprefix("net.torvi.render.blendmode.") for row in self.list("blend-modes")]
		self.assertEqual((len(modes), modes[0], modes[-1]), (38, "over", "applyalpha"))

	def test_text_has_one_line_an_entry(self):
		for subject in ("formats", "groups", "channels", "codecs", "profiles", "classes"):
			lines = self.succeed("list", subject).decode().splitlines()
			self.assertEqual([line.split("  ")[0] for line in lines], [row["id"] for row in self.list(subject)], subject)

	def test_wrong_usage(self):
		self.assertEqual(self.run_tool("list")[0], 2)
		self.assertEqual(self.run_tool("list", "everything")[0], 2)


if __name__ == "__main__":
	unittest.main()
