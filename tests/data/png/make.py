#!/usr/bin/env python3
"""Makes the sample files of this folder, the digests of their pixels and the errors that bad files end with.

Run it in its folder. The pixels of good files are worked out here, from the numbers that are put in, not by reading the files.
digests.tsv: name, width, height, SHA-256 of the pixels in rgba.u8, top row first. Samples of 16 bits keep their high byte.
errors.tsv: name, id and message of the innermost cause; * for a message that others write.
Files in crash/ are kept by hand: inputs that once broke the reader.
"""
import hashlib
import os
import struct
import zlib

WRONG_TYPE = "net.torvi.image.error.mediasessionwrongtype"
ILLEGAL_ARGUMENT = "net.torvi.error.illegalargument"
IO = "net.torvi.error.io"
SIGNATURE = b"\x89PNG\r\n\x1a\n"
GREY, RGB, PALETTE, GREYA, RGBA = 0, 2, 3, 4, 6
CHANNELS = {GREY: 1, RGB: 3, PALETTE: 1, GREYA: 2, RGBA: 4}
ADAM7 = ((0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4), (1, 0, 2, 2), (0, 1, 1, 2))  # x, y, step in x, step in y

digests = []
errors = []


def chunk(name, data, crc=None):
    return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data) if crc is None else crc)


def header(width, height, depth, kind, interlaced=False):
    return chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, depth, kind, 0, 0, interlaced))


def pack(row, depth):
    """The samples of a row, given as pixels, in bytes."""
    samples = [sample for pixel in row for sample in pixel]
    if depth == 16:
        return b"".join(struct.pack(">H", sample) for sample in samples)
    text = "".join(format(sample, "0%db" % depth) for sample in samples)
    text = text.ljust((len(text) + 7) // 8 * 8, "0")
    return bytes(int(text[i:i + 8], 2) for i in range(0, len(text), 8))


def paeth(a, b, c):
    return min((a, b, c), key=lambda x: (abs(a + b - c - x), (a, b, c).index(x)))


def filter_rows(lines, step):
    """Each line with one of the five filters, by turns."""
    out = b""
    before = bytes(len(lines[0]) if lines else 0)
    for y, line in enumerate(lines):
        kind = y % 5
        out += bytes([kind])
        for i, value in enumerate(line):
            a = line[i - step] if i >= step else 0
            b = before[i]
            c = before[i - step] if i >= step else 0
            out += bytes([(value - (0, a, b, (a + b) // 2, paeth(a, b, c))[kind]) & 255])
        before = line
    return out


def image_data(rows, depth, kind, interlaced):
    step = max(1, depth * CHANNELS[kind] // 8)
    if not interlaced:
        return filter_rows([pack(row, depth) for row in rows], step)
    data = b""
    for x, y, dx, dy in ADAM7:
        lines = [pack(row[x::dx], depth) for row in rows[y::dy] if row[x::dx]]
        data += filter_rows(lines, step) if lines else b""
    return data


def png(rows, depth, kind, interlaced=False, front=b"", back=b"", idat=None):
    data = zlib.compress(image_data(rows, depth, kind, interlaced)) if idat is None else idat
    return (SIGNATURE + header(len(rows[0]), len(rows), depth, kind, interlaced) + front + chunk(b"IDAT", data) + back + chunk(b"IEND", b""))


def write(folder, name, data):
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, name), "wb") as file:
        file.write(data)


def good(name, data, pixels):
    """pixels: rows from the top, each a list of (r, g, b, a)."""
    raw = b"".join(bytes(pixel) for row in pixels for pixel in row)
    digests.append((name, len(pixels[0]), len(pixels), hashlib.sha256(raw).hexdigest()))
    write("good", name, data)


def bad(name, data, error_id, message):
    errors.append((name, error_id, message))
    write("bad", name, data)


def samples(width, height, kind, depth, count=None):
    """Rows of pixels, each a tuple of samples below `count`."""
    top = count or 1 << depth
    return [[tuple((x * 977 + y * 3571 + x * y * 61 + c * 20011) * 37 % top for c in range(CHANNELS[kind])) for x in range(width)]
            for y in range(height)]


def show(rows, kind, depth, transparent=None):
    """What the samples look like in rgba.u8."""
    def eight(value):
        return value * 255 // ((1 << depth) - 1) if depth < 8 else value >> (depth - 8)

    def look(pixel):
        colour = [eight(value) for value in pixel]
        if kind in (GREY, GREYA):
            colour = colour[:1] * 3 + colour[1:]
        return (*colour[:3], 0 if pixel == transparent else colour[3] if len(colour) == 4 else 255)
    return [[look(pixel) for pixel in row] for row in rows]


COLOURS = [((i * 67 + 13) % 256, (i * 151 + 7) % 256, (i * 29 + 200) % 256) for i in range(256)]


def plte(count):
    return chunk(b"PLTE", b"".join(bytes(colour) for colour in COLOURS[:count]))


def look_up(rows, count, alphas=()):
    def look(i):
        return (*COLOURS[i], alphas[i] if i < len(alphas) else 255) if i < count else (255, 255, 255, 0)
    return [[look(i) for i, in row] for row in rows]


def make_types():
    for kind, depths, name in ((GREY, (1, 2, 4, 8, 16), "grey"), (RGB, (8, 16), "rgb"), (GREYA, (8, 16), "greya"), (RGBA, (8, 16), "rgba")):
        for depth in depths:
            for interlaced in (False, True):
                rows = samples(11, 9, kind, depth)
                mark = "-interlaced" if interlaced else ""
                good("%s%d%s.png" % (name, depth, mark), png(rows, depth, kind, interlaced), show(rows, kind, depth))
    for side in ((1, 1), (3, 1), (1, 6)):
        rows = samples(*side, RGB, 8)
        good("interlaced-%dx%d.png" % side, png(rows, 8, RGB, True), show(rows, RGB, 8))


def make_palettes():
    for depth in (1, 2, 4, 8):
        count = 1 << depth
        for interlaced in (False, True):
            rows = samples(11, 9, PALETTE, depth)
            mark = "-interlaced" if interlaced else ""
            good("palette%d%s.png" % (depth, mark), png(rows, depth, PALETTE, interlaced, plte(count)), look_up(rows, count))
    rows = samples(11, 9, PALETTE, 4)
    good("palette4-short.png", png(rows, 4, PALETTE, front=plte(9)), look_up(rows, 9))
    alphas = (0, 128, 7)
    good("palette4-alpha.png", png(rows, 4, PALETTE, front=plte(16) + chunk(b"tRNS", bytes(alphas))), look_up(rows, 16, alphas))


def make_transparency():
    for kind, depth, name in ((GREY, 1, "grey"), (GREY, 4, "grey"), (GREY, 8, "grey"), (GREY, 16, "grey"), (RGB, 8, "rgb"), (RGB, 16, "rgb")):
        for interlaced in (False, True):
            rows = samples(7, 5, kind, depth)
            key = rows[1][2]
            rows[3][4] = tuple(value ^ 1 for value in key)
            rows[3][5] = key
            front = chunk(b"tRNS", b"".join(struct.pack(">H", value) for value in key))
            mark = "-interlaced" if interlaced else ""
            good("%s%d-key%s.png" % (name, depth, mark), png(rows, depth, kind, interlaced, front), show(rows, kind, depth, key))
    rows = [[(5,), (0x15,), (0,)]]
    good("grey8-key-outside.png", png(rows, 8, GREY, front=chunk(b"tRNS", b"\1\5")), show(rows, GREY, 8))


def make_chunks():
    rows = samples(7, 5, RGB, 8)
    pixels = show(rows, RGB, 8)
    data = zlib.compress(image_data(rows, 8, RGB, False))
    pieces = b"".join(chunk(b"IDAT", data[i:i + 3]) for i in range(0, len(data), 3))
    plain = SIGNATURE + header(7, 5, 8, RGB)
    good("pieces.png", plain + chunk(b"IDAT", b"") + pieces + chunk(b"IEND", b""), pixels)
    bomb = chunk(b"zTXt", b"a\0\0" + zlib.compress(bytes(4 << 20)))
    good("chunks-that-nobody-asks-for.png", png(rows, 8, RGB, front=chunk(b"gAMA", bytes(4)) + chunk(b"sBIT", b"\5\5\5") + 4 * bomb +
         chunk(b"cHRM", b"short") + chunk(b"eXIf", b"MM\0*\0\0\0\0") + chunk(b"tEXt", b"wrong", crc=1) + chunk(b"abCd", bytes(40)),
         back=bomb), pixels)
    good("second-profile-damaged.png", png(rows, 8, RGB, front=chunk(b"iCCP", b"name\0\0" + zlib.compress(b"no profile"))), pixels)
    good("no-end.png", png(rows, 8, RGB)[:-12], pixels)
    good("density.png", png(rows, 8, RGB, front=chunk(b"pHYs", struct.pack(">IIB", 11811, 5906, 1))), pixels)


def make_bad():
    rows = samples(7, 5, RGB, 8)
    whole = png(rows, 8, RGB)

    def wrong(name, data, message):
        bad(name, data, WRONG_TYPE, "PNG Error: " + message)

    bad("signature.png", b"\x8APNG" + whole[4:], ILLEGAL_ARGUMENT, "*")
    bad("header-cut.png", whole[:20], IO, "The data ends 9 bytes too early.")
    bad("data-cut.png", whole[:-30], IO, "*")
    wrong("depth-3.png", png(rows, 3, RGB, idat=b""), "Invalid IHDR data")
    wrong("rgb4.png", png(rows, 4, RGB, idat=b""), "Invalid IHDR data")
    wrong("width-0.png", SIGNATURE + header(0, 5, 8, RGB) + chunk(b"IDAT", b""), "Invalid IHDR data")
    wrong("too-wide.png", SIGNATURE + header(1000001, 1, 8, GREY) + chunk(b"IDAT", b""), "Invalid IHDR data")
    wrong("header-crc.png", whole[:32] + b"\0" + whole[33:], "IHDR: CRC error")
    wrong("data-crc.png", whole[:-16] + bytes(4) + whole[-12:], "IDAT: CRC error")
    wrong("no-palette.png", png(samples(7, 5, PALETTE, 4), 4, PALETTE), "IDAT: Missing PLTE before IDAT")
    wrong("critical-chunk.png", png(rows, 8, RGB, front=chunk(b"ABCD", b"")), "ABCD: unhandled critical chunk")
    wrong("no-data.png", SIGNATURE + header(7, 5, 8, RGB) + chunk(b"IEND", b""), "IEND: out of place")
    wrong("few-rows.png", png(rows, 8, RGB, idat=zlib.compress(image_data(rows[:3], 8, RGB, False))), "Not enough image data")
    wrong("filter.png", png(rows, 8, RGB, idat=zlib.compress(b"\7" + bytes(21))), "bad adaptive filter value")
    wrong("stream.png", png(rows, 8, RGB, idat=b"\0\0\0\0"), "IDAT: unknown compression method")
    wrong("bomb.png", SIGNATURE + header(300000, 300000, 16, RGBA) + chunk(b"IDAT", zlib.compress(bytes(1 << 20))), "Read Error!")
    wrong("bomb-interlaced.png", SIGNATURE + header(300000, 300000, 16, RGBA, True) + chunk(b"IDAT", zlib.compress(bytes(1 << 20))),
          "Read Error!")


make_types()
make_palettes()
make_transparency()
make_chunks()
make_bad()

with open("digests.tsv", "w") as file:
    file.writelines("%s\t%d\t%d\t%s\n" % row for row in sorted(digests))
with open("errors.tsv", "w") as file:
    file.writelines("%s\t%s\t%s\n" % row for row in sorted(errors))
