#!/usr/bin/env python3
"""Makes the blocks in good/, in both byte orders, with every directory and format and each kind of maker's notes, and a JPEG file.

Run it in its folder. tests/platform/exif_test.cpp knows what is in them.
"""
import os
import struct

MAKER_NOTES = {
    "canon": (b"Canon\0", b""),
    "nikon": (b"NIKON\0", b"Nikon\0\x02\x10\0\0"),
    "olympus": (b"OLYMPUS\0", b"OLYMP\0\x01\0"),
    "pentax": (b"PENTAX\0", b"AOC\0"),
    "fuji": (b"FUJIFILM\0", b"FUJIFILM\x0c\0\0\0"),
    "apple": (b"Apple\0", b"Apple iOS\0\0\x01"),
}


class Tiff:
    def __init__(self, order):
        self.order = order
        self.data = b"II*\0" if order == "<" else b"MM\0*"
        self.data += bytes(4)

    def pack(self, code, *values):
        return struct.pack(self.order + code, *values)

    def directory(self, entries, following=0):
        """entries: tag, format, count, value in the block's order. Gives the position."""
        start = len(self.data)
        place = start + 6 + 12 * len(entries)
        head, values = self.pack("H", len(entries)), b""
        for tag, kind, count, value in entries:
            head += self.pack("HHI", tag, kind, count)
            if len(value) <= 4:
                head += value.ljust(4, b"\0")
            else:
                head += self.pack("I", place + len(values))
                values += value
        self.data += head + self.pack("I", following) + values
        return start


def block(order, maker):
    tiff = Tiff(order)
    pointer = lambda tag, position: (tag, 4, 1, tiff.pack("I", position))
    name, note_head = MAKER_NOTES[maker]
    note = note_head + tiff.pack("H", 2) + tiff.pack("HHII", 1, 3, 4, 2) + tiff.pack("HHII", 2, 4, 1, 5) + bytes(4)
    thumbnail = tiff.directory([(274, 3, 1, tiff.pack("H", 8)), pointer(513, 2), (514, 4, 1, tiff.pack("I", 2))])
    gps = tiff.directory([(1, 2, 2, b"N\0"), (2, 5, 3, tiff.pack("6I", 48, 1, 51, 1, 0, 0))])
    interoperability = tiff.directory([(1, 2, 4, b"R98\0")])
    picture = tiff.directory([
        (271, 2, 4, b"Two\0"),
        (274, 3, 1, tiff.pack("H", 3)),
        (33434, 10, 1, tiff.pack("2i", -1, 250)),
        (36864, 7, 4, b"0230"),
        (37500, 7, len(note), note),
        pointer(40965, interoperability),
        (50001, 6, 1, b"\xfe"),
        (50002, 8, 1, tiff.pack("h", -2)),
        (50003, 9, 2, tiff.pack("2i", -3, 4)),
        (50004, 11, 1, tiff.pack("f", 1.5)),
        (50005, 12, 2, tiff.pack("2d", -0.5, 0))])
    first = tiff.directory([
        (256, 4, 1, tiff.pack("I", 70000)),
        (258, 3, 3, tiff.pack("3H", 8, 9, 10)),
        (270, 2, 8, b"\xc3\xbc / \xfc\0\0"),
        (271, 2, len(name), name),
        (274, 3, 1, tiff.pack("H", 6)),
        (315, 2, 6, b"M\xc3\xbc\0\0\0"),
        (50000, 1, 1, b"\7"),
        pointer(34665, picture),
        pointer(34853, gps)], thumbnail)
    return tiff.data[:4] + tiff.pack("I", first) + tiff.data[8:]


def main():
    os.makedirs("good", exist_ok=True)
    files = {f"{maker}_{order}": block(code, maker) for maker in MAKER_NOTES for order, code in (("little", "<"), ("big", ">"))}
    app1 = b"Exif\0\0" + files["canon_big"]
    files["file.jpg"] = b"\xff\xd8\xff\xe0\0\4ab\xff\xff\xe1" + struct.pack(">H", len(app1) + 2) + app1 + b"\xff\xda\0\2"
    for name, data in files.items():
        with open(os.path.join("good", name), "wb") as file:
            file.write(data)


main()
