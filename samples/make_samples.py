#!/usr/bin/env python3
"""Makes the bundled sample pictures. The pixels follow from the formulas below, so each run writes the same bytes."""
import pathlib
import struct

WIDTH, HEIGHT = 96, 64


def sky(y):
	"""Dusk: dark blue above, orange at the horizon."""
	t = y / (HEIGHT - 1)
	return (30 + 225 * t, 40 + 120 * t, 110 - 40 * t)


def colour(x, y):
	"""Red, green and blue of the pixel, the top row being y = 0: a sun over hills and water."""
	if (x - 66) ** 2 + (y - 26) ** 2 < 12 ** 2:
		return (255, 236, 160)
	if y > 48:
		shine = 60 if abs(x - 66) < 14 - (y - 48) // 2 and y % 3 else 0
		return (20 + shine, 60 + shine, 110 + shine // 2)
	if y > 44 - 26 * max(0.0, 1 - abs(x - 22) / 28):
		return (46 + x // 2, 70 + x // 3, 60)
	return sky(y)


def bmp(width, height, pixel):
	"""A 24-bit BMP with the 40-byte header: rows from the bottom, each padded to four bytes, blue first."""
	rows = bytearray()
	for y in reversed(range(height)):
		for x in range(width):
			red, green, blue = (int(v) for v in pixel(x, y))
			rows += bytes((blue, green, red))
		rows += bytes(-len(rows) % 4)
	header = struct.pack("<IiiHHIIiiII", 40, width, height, 1, 24, 0, len(rows), 2835, 2835, 0, 0)
	return struct.pack("<2sIHHI", b"BM", 14 + len(header) + len(rows), 0, 0, 14 + len(header)) + header + rows


if __name__ == "__main__":
	folder = pathlib.Path(__file__).resolve().parent
	(folder / "gradient.bmp").write_bytes(bmp(WIDTH, HEIGHT, colour))
