#!/usr/bin/env python3
"""Makes the inputs of color_profile: two ICC profiles (ISO 15076-1, version 2) and two OCIO blobs, the same bytes in each run."""
import pathlib
import struct


def s15(value):
	return struct.pack(">i", round(value * 65536))


def icc(device_class, space, connection, tags):
	table, data = struct.pack(">I", len(tags)), b""
	start = 128 + 4 + 12 * len(tags)
	for name, tag in tags:
		tag += b"\0" * (-len(tag) % 4)
		table += name + struct.pack(">II", start + len(data), len(tag))
		data += tag
	size = start + len(data)
	white = s15(0.9642) + s15(1) + s15(0.8249)
	head = struct.pack(">II", size, 0) + struct.pack(">I", 0x02100000) + device_class + space + connection
	head += struct.pack(">6H", 2000, 1, 1, 0, 0, 0) + b"acsp" + b"\0" * 28 + white
	return head + b"\0" * (128 - len(head)) + table + data


def text(words):
	return b"desc" + b"\0" * 4 + struct.pack(">I", len(words) + 1) + words + b"\0" + b"\0" * 78


def xyz(*values):
	return b"XYZ " + b"\0" * 4 + b"".join(map(s15, values))


def matrix():
	curve = b"curv" + b"\0" * 4 + struct.pack(">IH", 1, round(1.8 * 256))
	tags = [(b"desc", text(b"Matrix")), (b"wtpt", xyz(0.9642, 1, 0.8249)), (b"rXYZ", xyz(0.4361, 0.2225, 0.0139)),
		(b"gXYZ", xyz(0.3851, 0.7169, 0.0971)), (b"bXYZ", xyz(0.1431, 0.0606, 0.7139))]
	return icc(b"mntr", b"RGB ", b"XYZ ", tags + [(name, curve) for name in (b"rTRC", b"gTRC", b"bTRC")])


def table():
	"""Inks to Lab and back, two grid points an axis."""
	def lut(inputs, outputs):
		head = b"mft1" + b"\0" * 4 + bytes([inputs, outputs, 2, 0]) + b"".join(s15(v) for v in (1, 0, 0, 0, 1, 0, 0, 0, 1))
		grid = bytes((37 * i) % 256 for i in range(2 ** inputs * outputs))
		return head + bytes(range(256)) * inputs + grid + bytes(range(256)) * outputs
	return icc(b"prtr", b"CMYK", b"Lab ", [(b"desc", text(b"Inks")), (b"A2B0", lut(4, 3)), (b"B2A0", lut(3, 4))])


def blob(path, character_size, name, second):
	data = b"ocio_profile" + struct.pack("<IIB", 1, len(path), character_size) + path
	return data + b"".join(struct.pack("<I", len(part)) + part for part in (name, second))


folder = pathlib.Path(__file__).parent / "color_profile"
(folder / "matrix.icc").write_bytes(matrix())
(folder / "table.icc").write_bytes(table())
(folder / "path.ocio").write_bytes(blob("/nowhere/config.ocio".encode("utf-16-le"), 2, b"P3", b"Film"))
(folder / "bytes.ocio").write_bytes(blob(b"/c", 1, b"ACES", b""))
