#!/usr/bin/env python3
"""Makes the sample files of this folder, the digests of their pixels and the errors that bad files end with.

Run it in its folder. The pictures consist of blocks of one colour each, which the DC coefficients alone hold; so their pixels are known
exactly from the numbers that are put in, not by reading the files.
digests.tsv: name, width, height, SHA-256 of the first picture's pixels in rgba.u8, top row first, as the file holds them, not turned.
errors.tsv: name, id and message of the innermost cause; * for a message that others write.
Files in crash/ are kept by hand: inputs that once broke the reader.
"""
import hashlib
import os
import struct

CONVERTER = "net.torvi.image.error.mediaconverter"
WRONG_TYPE = "net.torvi.image.error.mediasessionwrongtype"
ILLEGAL_ARGUMENT = "net.torvi.error.illegalargument"

SOI, EOI = b"\xFF\xD8", b"\xFF\xD9"
BASELINE, EXTENDED, PROGRESSIVE = 0xC0, 0xC1, 0xC2
SIZE = (20, 13)   # pixels: 3 x 2 blocks

digests = []
errors = []


def segment(code, data):
    return bytes([0xFF, code]) + struct.pack(">H", len(data) + 2) + data


def jfif(unit=1, x=72, y=72):
    return segment(0xE0, b"JFIF\0" + struct.pack(">HBHHBB", 0x102, unit, x, y, 0, 0))


def adobe(transform):
    return segment(0xEE, b"Adobe" + struct.pack(">HHHB", 100, 0, 0, transform))


def exif(orientation):
    tiff = b"MM\0*" + struct.pack(">IHHHIHHI", 8, 1, 274, 3, 1, orientation, 0, 0)
    return segment(0xE1, b"Exif\0\0" + tiff)


class Bits:
    """Entropy-coded data: bits from the highest on, filled up with ones, a 0 behind each FF."""

    def __init__(self):
        self._bits = ""

    def put(self, value, count):
        self._bits += format(value, "0%db" % count) if count else ""

    def finish(self):
        bits = self._bits + "1" * (-len(self._bits) % 8)
        return bytes(int(bits[i:i + 8], 2) for i in range(0, len(bits), 8)).replace(b"\xFF", b"\xFF\0")


# All codes of a table have the same length: 4 bits for the sizes of DC differences, 3 for the runs of blocks without further coefficients.
TABLES = segment(0xC4, b"\0" + bytes([0, 0, 0, 9] + [0] * 12) + bytes(range(9)) +
                 b"\x10" + bytes([0, 0, 5] + [0] * 13) + bytes([0x00, 0x10, 0x20, 0x30, 0x40]))


def quantisation(wide=False):
    """Steps of 8, so that a DC coefficient of 1 is a step of 1 in the pixels."""
    return segment(0xDB, b"\x10" + b"\0\x08" * 64 if wide else b"\0" + b"\x08" * 64)


def frame(code, size, ids, precision=8):
    components = b"".join(bytes([i, 0x11, 0]) for i in ids)
    return segment(code, struct.pack(">BHHB", precision, size[1], size[0], len(ids)) + components)


def scan_head(ids, first, last):
    return segment(0xDA, bytes([len(ids)]) + b"".join(bytes([i, 0]) for i in ids) + bytes([first, last, 0]))


def scan(planes, is_whole=True, restart=0):
    """The blocks of all components in turn; with the mark that nothing follows the DC coefficient, or without AC coefficients at all."""
    parts, bits, last = [], Bits(), [128] * len(planes)
    for n in range(len(planes[0])):
        if restart and n and n % restart == 0:
            parts.append(bits.finish() + bytes([0xFF, 0xD0 + (n // restart - 1) % 8]))
            bits, last = Bits(), [128] * len(planes)
        for c, plane in enumerate(planes):
            difference = plane[n] - last[c]
            last[c] = plane[n]
            length = abs(difference).bit_length()
            bits.put(length, 4)
            bits.put(difference if difference >= 0 else difference + (1 << length) - 1, length)
            if is_whole:
                bits.put(0, 3)
    return b"".join(parts) + bits.finish()


def empty_scan(blocks):
    """AC coefficients of a progressive picture that are all 0: one run over all blocks."""
    bits, length = Bits(), blocks.bit_length() - 1
    bits.put(length, 3)
    bits.put(blocks - (1 << length), length)
    return bits.finish()


def jpeg(planes, ids=(1, 2, 3, 4), heads=b"", code=BASELINE, size=SIZE, restart=0, wide=False, scans=1):
    ids = ids[:len(planes)]
    data = SOI + heads + quantisation(wide) + frame(code, size, ids) + TABLES
    if restart:
        data += segment(0xDD, struct.pack(">H", restart))
    if code != PROGRESSIVE:
        return data + scan_head(ids, 0, 63) + scan(planes, True, restart) + EOI
    data += (scan_head(ids, 0, 0) + scan(planes, False)) * scans
    for i in ids:
        data += scan_head([i], 1, 63) + empty_scan(len(planes[0]))
    return data + EOI


def pixels(planes, to_rgb, size=SIZE):
    across = (size[0] + 7) // 8
    blocks = [bytes(to_rgb(*values)) + b"\xFF" for values in zip(*planes)]
    return b"".join(blocks[y // 8 * across + x // 8] for y in range(size[1]) for x in range(size[0]))


def write(folder, name, data):
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, name), "wb") as file:
        file.write(data)


def good(name, data, decoded, size=SIZE):
    write("good", name, data)
    digests.append((name, size[0], size[1], hashlib.sha256(decoded).hexdigest()))


def bad(name, data, identifier, message):
    write("bad", name, data)
    errors.append((name, identifier, message))


RED, GREEN, BLUE = (255, 0, 0, 10, 200, 90), (0, 255, 0, 60, 210, 90), (0, 0, 255, 110, 5, 91)
GREY, NEUTRAL = (0, 50, 100, 150, 200, 255), (128,) * 6
INKS = ((0, 255, 255, 255, 0, 255), (255, 0, 255, 255, 0, 255), (255, 255, 0, 255, 0, 0), (255, 255, 255, 0, 0, 255))


def as_rgb(r, g, b):
    return r, g, b


def as_grey(y, *_):
    return y, y, y


def as_ink(c, m, y, k):
    """Stored inverted: 255 is no ink. Only 0 and 255 occur."""
    return c & k, m & k, y & k


def multi_picture(order, fields, entries, first=8, following=0):
    """The data of the segment; `fields` are tag, type, count and value."""
    head = b"MM\0*" if order == ">" else b"II*\0"
    directory = struct.pack(order + "H", len(fields)) + b"".join(struct.pack(order + "HHII", *field) for field in fields)
    directory += struct.pack(order + "I", following)
    return b"MPF\0" + head + struct.pack(order + "I", first) + directory + entries


def make_multi_picture(order, offset_of_second=None):
    """Two pictures: an RGB one, which names a grey one behind it."""
    def build(offset):
        fields = [(45056, 7, 4, 0x30313030), (45057, 4, 1, 2), (45058, 7, 32, 50)]
        entries = struct.pack(order + "IIIHHIIIHH", 0x20030000, 0, 0, 0, 0, 0, 0, offset, 0, 0)
        heads = adobe(0) + segment(0xE2, multi_picture(order, fields, entries))
        return jpeg([RED, GREEN, BLUE], heads=heads)
    first = build(0)
    mark = first.index(b"MPF\0") + 4
    first = build(len(first) - mark if offset_of_second is None else offset_of_second)
    return first + jpeg([GREY], heads=jfif(2, 100, 200))


def make_good():
    rgb = pixels([RED, GREEN, BLUE], as_rgb)
    grey = pixels([GREY], as_grey)
    good("grey.jpg", jpeg([GREY], heads=jfif()), grey)
    good("grey-progressive.jpg", jpeg([GREY], code=PROGRESSIVE), grey)
    good("grey-wide-steps.jpg", jpeg([GREY], code=EXTENDED, wide=True), grey)
    good("rgb.jpg", jpeg([RED, GREEN, BLUE], heads=adobe(0)), rgb)
    good("rgb-by-names.jpg", jpeg([RED, GREEN, BLUE], ids=b"RGB"), rgb)
    good("rgb-restarts.jpg", jpeg([RED, GREEN, BLUE], heads=adobe(0), restart=2), rgb)
    good("rgb-progressive.jpg", jpeg([RED, GREEN, BLUE], heads=adobe(0), code=PROGRESSIVE), rgb)
    good("rgb-turned.jpg", jpeg([RED, GREEN, BLUE], heads=segment(0xE1, b"http://ns/") + exif(6) + adobe(0)), rgb)
    good("ycc.jpg", jpeg([GREY, NEUTRAL, NEUTRAL], heads=jfif(1, 300, 150)), grey)
    good("cmyk.jpg", jpeg(INKS, heads=adobe(0)), pixels(INKS, as_ink))
    good("cmyk-unmarked.jpg", jpeg(INKS, code=PROGRESSIVE), pixels(INKS, as_ink))
    good("ycck.jpg", jpeg([GREY[::5] * 3, NEUTRAL, NEUTRAL, INKS[3]], heads=adobe(2)),
         pixels([GREY[::5] * 3, INKS[3]], lambda y, k: [(255 - y) & k] * 3))
    good("fill-bytes.jpg", jpeg([GREY], heads=jfif()).replace(b"\xFF\xDA", b"\xFF\xFF\xFF\xDA"), grey)
    good("pictures-big-endian.jpg", make_multi_picture(">"), rgb)
    good("pictures-little-endian.jpg", make_multi_picture("<"), rgb)
    good("picture-gone.jpg", make_multi_picture("<", 100000), rgb)


def make_bad():
    def broken(name, data, text):
        bad(name, data, CONVERTER, "Error loading jpg: " + text)

    plain = jpeg([GREY])
    bad("start.jpg", b"\xFF\xD9" + plain[2:], ILLEGAL_ARGUMENT, "*")
    bad("not-a-marker.jpg", SOI + b"\0" + plain[2:], ILLEGAL_ARGUMENT, "*")
    broken("no-picture.jpg", SOI + EOI, "Improper call to JPEG library in state 200")
    broken("precision-12.jpg", plain.replace(frame(BASELINE, SIZE, [1]), frame(EXTENDED, SIZE, [1], 12)), "Unsupported JPEG data precision 12")
    broken("lossless.jpg", jpeg([GREY], code=0xC3), "Unsupported JPEG process: SOF type 0xc3")
    broken("no-rows.jpg", jpeg([GREY], size=(20, 0)), "Empty JPEG image (DNL not supported)")
    broken("bomb.jpg", jpeg([GREY] * 3, size=(65500, 65500)), "Premature end of input file")
    broken("bomb-progressive.jpg", jpeg([GREY] * 3, code=PROGRESSIVE, size=(65500, 65500)), "Premature end of input file")
    broken("scans.jpg", jpeg([GREY], code=PROGRESSIVE, scans=201), "There are too many scans")
    bad("two-components.jpg", jpeg([GREY, GREY]), WRONG_TYPE, "Unsupported color space: 0")
    bad("profile-damaged.jpg", jpeg([GREY], heads=segment(0xE2, b"ICC_PROFILE\0\1\1no profile here.")), WRONG_TYPE, "*")

    def multi(name, data):
        bad(name, jpeg([GREY], heads=segment(0xE2, data)), WRONG_TYPE, "ReadApp2Marker failed.")

    count, entry = (45057, 4, 1, 1), bytes(16)
    multi("pictures-cut.jpg", b"MPF\0MM\0*\0\0")
    multi("pictures-count-type.jpg", multi_picture(">", [(45057, 3, 1, 1)], entry))
    multi("pictures-version-count.jpg", multi_picture("<", [(45056, 7, 5, 0)], entry))
    multi("pictures-no-count.jpg", multi_picture("<", [(45058, 7, 16, 26)], entry))
    multi("pictures-entries-outside.jpg", multi_picture("<", [count, (45058, 7, 16, 39)], entry))


make_good()
make_bad()

with open("digests.tsv", "w") as file:
    file.writelines("%s\t%d\t%d\t%s\n" % row for row in sorted(digests))
with open("errors.tsv", "w") as file:
    file.writelines("%s\t%s\t%s\n" % row for row in sorted(errors))
