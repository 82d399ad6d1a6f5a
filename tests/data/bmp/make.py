#!/usr/bin/env python3
"""Makes the sample files of this folder, the digests of their pixels and the errors that bad files end with.

Run it in its folder. The pixels of good files are worked out here, from the numbers that are put in, not by reading the files.
digests.tsv: name, width, height, SHA-256 of the pixels in rgba.u8, top row first, where the alpha stream fills alpha.
errors.tsv: name, id and message of the innermost cause; * for a message that others write.
Files in crash/ are kept by hand: inputs that once broke the reader.
"""
import hashlib
import os
import struct

WRONG_TYPE = "net.torvi.image.error.mediasessionwrongtype"
ILLEGAL_ARGUMENT = "net.torvi.error.illegalargument"
IO = "net.torvi.error.io"

digests = []
errors = []


def info(size, width, height, bits, compression=0, image_size=0, xres=2834, yres=2834, used=0, masks=(), extra=b""):
    head = struct.pack("<IiiHHIIiiII", size, width, height, 1, bits, compression, image_size, xres, yres, used, 0)
    head += b"".join(struct.pack("<I", mask) for mask in masks) + extra
    if size > 40:
        head = head.ljust(size, b"\0")
    return head


def core(width, height, bits, planes=1):
    return struct.pack("<IHHHH", 12, width, height, planes, bits)


def bmp(head, palette, pixels, offset=None, size=None, gap=b""):
    start = 14 + len(head) + len(palette) + len(gap)
    if size is None:
        size = start + len(pixels)
    return b"BM" + struct.pack("<IHHI", size, 0, 0, start if offset is None else offset) + head + palette + gap + pixels


def write(folder, name, data):
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, name), "wb") as file:
        file.write(data)


def good(name, data, width, height, pixels):
    """pixels: rows from the top, each a list of (r, g, b, a)."""
    assert len(pixels) == height and all(len(row) == width for row in pixels), name
    raw = b"".join(bytes(pixel) for row in pixels for pixel in row)
    digests.append((name, width, height, hashlib.sha256(raw).hexdigest()))
    write("good", name, data)


def bad(name, data, error_id, message):
    errors.append((name, error_id, message))
    write("bad", name, data)


def pack_rows(rows, bits):
    """Indices or words to rows of whole 32-bit words, in the order given."""
    data = b""
    for row in rows:
        if bits >= 8:
            line = b"".join(value.to_bytes(bits // 8, "little") for value in row)
        else:
            text = "".join(format(value, "0%db" % bits) for value in row)
            text = text.ljust((len(text) + 7) // 8 * 8, "0")
            line = bytes(int(text[i:i + 8], 2) for i in range(0, len(text), 8))
        data += line.ljust((len(line) + 3) // 4 * 4, b"\xA5")
    return data


def table(colors, alphas=None):
    return b"".join(bytes((b, g, r, 255 - alphas[i] if alphas else 0)) for i, (r, g, b) in enumerate(colors))


def indexed(colors, rows, alphas=None):
    def look(i):
        return (*colors[i], alphas[i] if alphas else 255) if i < len(colors) else (255, 255, 255, 0)
    return [[look(i) for i in row] for row in rows]


COLORS = [((i * 67 + 13) % 256, (i * 151 + 7) % 256, (i * 29 + 200) % 256) for i in range(256)]


def indices(width, height, count):
    return [[(x * 3 + y * 5) % count for x in range(width)] for y in range(height)]


def make_palettes():
    for bits, width in ((1, 19), (2, 9), (4, 7), (8, 5)):
        count = 1 << bits
        rows = indices(width, 3, count)
        colors = COLORS[:count]
        good("pal%d.bmp" % bits, bmp(info(40, width, 3, bits), table(colors), pack_rows(rows[::-1], bits)), width, 3, indexed(colors, rows))
    rows = indices(11, 4, 2)
    good("pal1-topdown.bmp", bmp(info(40, 11, -4, 1), table(COLORS[:2]), pack_rows(rows, 1)), 11, 4, indexed(COLORS, rows))
    rows = indices(6, 5, 10)
    good("pal8-short.bmp", bmp(info(40, 6, 5, 8, used=10), table(COLORS[:10]), pack_rows(rows[::-1], 8)), 6, 5, indexed(COLORS[:10], rows))
    good("pal8-many-colors-named.bmp", bmp(info(40, 6, 5, 8, used=300), table(COLORS), pack_rows(rows[::-1], 8)), 6, 5, indexed(COLORS, rows))
    rows = indices(6, 5, 20)
    good("pal8-beyond.bmp", bmp(info(40, 6, 5, 8, used=10), table(COLORS[:10]), pack_rows(rows[::-1], 8)), 6, 5, indexed(COLORS[:10], rows))
    alphas = [255, 0, 128, 7]
    rows = indices(5, 3, 4)
    good("pal2-alpha.bmp", bmp(info(40, 5, 3, 2), table(COLORS[:4], alphas), pack_rows(rows[::-1], 2)), 5, 3, indexed(COLORS, rows, alphas))
    rows = indices(9, 3, 16)
    entries = b"".join(bytes((b, g, r)) for r, g, b in COLORS[:16])
    good("core-pal4.bmp", bmp(core(9, 3, 4), entries, pack_rows(rows[::-1], 4)), 9, 3, indexed(COLORS, rows))
    good("gap-before-pixels.bmp", bmp(info(40, 9, 3, 4), table(COLORS[:16]), pack_rows(rows[::-1], 4), gap=b"gap" * 9), 9, 3, indexed(COLORS, rows))
    good("no-offset.bmp", bmp(info(40, 9, 3, 4), table(COLORS[:16]), pack_rows(rows[::-1], 4), offset=0), 9, 3, indexed(COLORS, rows))


def words(width, height):
    return [[(x * 4099 + y * 257 * 7 + x * y * 31) & 0xFFFF for x in range(width)] for y in range(height)]


def make_packed():
    def field(word, shift, bits):
        return ((word >> shift) & ((1 << bits) - 1)) << (8 - bits)
    decoders = {
        "555": lambda w: (field(w, 10, 5), field(w, 5, 5), field(w, 0, 5), 255),
        "565": lambda w: (field(w, 11, 5), field(w, 5, 6), field(w, 0, 5), 255),
        "1555": lambda w: (field(w, 10, 5), field(w, 5, 5), field(w, 0, 5), 255 if w & 0x8000 else 0),
        "444": lambda w: (field(w, 8, 4), field(w, 4, 4), field(w, 0, 4), 255),
        "4444": lambda w: (field(w, 8, 4), field(w, 4, 4), field(w, 0, 4), (w >> 12) * 17),
    }
    masks = {
        "555": (0x7C00, 0x3E0, 0x1F, 0),
        "565": (0xF800, 0x7E0, 0x1F, 0),
        "1555": (0x7C00, 0x3E0, 0x1F, 0x8000),
        "444": (0xF00, 0xF0, 0xF, 0),
        "4444": (0xF00, 0xF0, 0xF, 0xF000),
    }
    rows = words(7, 5)
    for name, decode in decoders.items():
        pixels = [[decode(word) for word in row] for row in rows]
        data = pack_rows(rows[::-1], 16)
        for size in (56, 108, 124):
            good("rgb%s-h%d.bmp" % (name, size), bmp(info(size, 7, 5, 16, 3, masks=masks[name]), b"", data), 7, 5, pixels)
    pixels = [[decoders["555"](word) for word in row] for row in rows]
    good("rgb16.bmp", bmp(info(40, 7, 5, 16), b"", pack_rows(rows[::-1], 16)), 7, 5, pixels)
    pixels = [[decoders["565"](word) for word in row] for row in rows]
    good("rgb565-h40.bmp", bmp(info(40, 7, -5, 16, 3, masks=masks["565"][:3]), b"", pack_rows(rows, 16)), 7, 5, pixels)


def make_true_color():
    rows = [[((x * 40) % 256, (y * 70 + x) % 256, (x * y * 11 + 3) % 256, (200 - x * 30 + y) % 256) for x in range(5)] for y in range(4)]
    opaque = [[(r, g, b, 255) for r, g, b, a in row] for row in rows]

    def pack(order, lines):
        return pack_rows([[int.from_bytes(bytes(order(*p)), "little") for p in row] for row in lines], 8 * len(order(0, 0, 0, 0)))

    bgr = pack(lambda r, g, b, a: (b, g, r), rows[::-1])
    good("rgb24.bmp", bmp(info(40, 5, 4, 24), b"", bgr), 5, 4, opaque)
    good("rgb24-topdown.bmp", bmp(info(40, 5, -4, 24), b"", pack(lambda r, g, b, a: (b, g, r), rows)), 5, 4, opaque)
    good("core-rgb24.bmp", bmp(core(5, 4, 24), b"", bgr), 5, 4, opaque)
    good("rgb24-wide-dots.bmp", bmp(info(40, 5, 4, 24, xres=3937, yres=-7874), b"", bgr), 5, 4, opaque)
    bgra = pack(lambda r, g, b, a: (b, g, r, a), rows[::-1])
    good("rgb32.bmp", bmp(info(40, 5, 4, 32), b"", bgra), 5, 4, rows)
    good("rgb32-masks.bmp", bmp(info(40, 5, 4, 32, 3, masks=(0xFF0000, 0xFF00, 0xFF)), b"", bgra), 5, 4, opaque)
    for size in (56, 108, 124):
        head = info(size, 5, 4, 32, 3, masks=(0xFF0000, 0xFF00, 0xFF, 0xFF000000))
        good("rgba32-h%d.bmp" % size, bmp(head, b"", bgra), 5, 4, rows)
    head = info(56, 5, 4, 32, 3, masks=(0xFF000000, 0xFF0000, 0xFF00, 0))
    good("xbgr32.bmp", bmp(head, b"", pack(lambda r, g, b, a: (a, b, g, r), rows[::-1])), 5, 4, opaque)
    head = info(56, 5, 4, 32, 3, masks=(0xFF000000, 0xFF00, 0xFF, 0xFF0000))
    good("rgba32-alpha-inside.bmp", bmp(head, b"", pack(lambda r, g, b, a: (b, g, a, r), rows[::-1])), 5, 4, rows)
    head = info(56, 5, 4, 32, 3, masks=(0xFF0012, 0xFF34, 0xFF, 0xFF123456))  # low bits beside the byte do not count
    good("rgba32-untidy-masks.bmp", bmp(head, b"", bgra), 5, 4, rows)
    good("rgb24-rle-named.bmp", bmp(info(40, 2, 2, 24, 1, image_size=4), b"", b"\0\0\0\1"), 2, 2, [[(0, 0, 0, 255)] * 2] * 2)


def make_run_length():
    def picture(name, bits, width, height, rows, data, **how):
        colors = COLORS[:1 << bits]
        head = info(40, width, height, bits, 1 if bits == 8 else 2, image_size=len(data))
        good(name, bmp(head, table(colors), data, **how), width, height, indexed(colors, rows))

    # Runs, literals with and without pad, a move to the right, and the mark of the picture's end.
    data = bytes([4, 9, 0, 3, 1, 2, 3, 0, 0, 0]) + bytes([0, 4, 5, 6, 7, 8, 0, 2, 2, 0, 1, 17, 0, 1])
    picture("rle8.bmp", 8, 7, 2, [[5, 6, 7, 8, 0, 0, 17], [9, 9, 9, 9, 1, 2, 3]], data)
    # No marks at all: rows are cut off by the end of the row buffer, which takes the next pair with it.
    data = bytes([4, 1, 1, 200, 4, 2, 1, 200, 4, 3, 0, 0])
    picture("rle8-no-marks.bmp", 8, 4, 3, [[3] * 4, [2] * 4, [1] * 4], data)
    # A move of two rows: the pixels in front of it belong to the row that is reached, the one between stays at index 0.
    data = bytes([2, 11, 0, 2, 1, 2, 4, 12, 0, 0, 4, 13, 0, 1])
    picture("rle8-move.bmp", 8, 4, 4, [[13] * 4, [12] * 4, [11, 11, 0, 0], [0] * 4], data)
    # Nibbles: a run from an odd pixel, literals of 3, 5 and 6 pixels.
    data = bytes([3, 0x12, 4, 0x34, 0, 0]) + bytes([0, 3, 0x56, 0x70, 0, 4, 0x89, 0xAB, 0, 0]) + bytes([0, 5, 0x12, 0x34, 0x50, 0, 2, 0xCD, 0, 1])
    rows = [[1, 2, 3, 4, 5, 12, 13], [5, 6, 7, 8, 9, 10, 11], [1, 2, 1, 3, 4, 3, 4]]
    picture("rle4.bmp", 4, 7, 3, rows, data)
    data = bytes([0, 6, 0x12, 0x34, 0x56, 0, 0, 0, 0, 6, 0x65, 0x43, 0x21, 0, 0, 1])
    picture("rle4-pad.bmp", 4, 6, 2, [[6, 5, 4, 3, 2, 1], [1, 2, 3, 4, 5, 6]], data)


def make_bad():
    white = b"\xFF" * 64
    rgb = info(40, 4, 4, 24)

    def wrong(name, head, message, palette=b"", pixels=white):
        bad(name, bmp(head, palette, pixels), WRONG_TYPE, message)

    bad("magic.bmp", b"BA" + bmp(rgb, b"", white)[2:], ILLEGAL_ARGUMENT, "*")
    wrong("core-planes.bmp", core(4, 4, 24, planes=2), "")
    wrong("width-negative.bmp", info(40, -7, 4, 24), "Invalid Image width: -7.")
    wrong("compression-4.bmp", info(40, 4, 4, 24, 4), "unsupported bmp compression (4).")
    wrong("compression-png.bmp", info(40, 4, 4, 0, 5), "unsupported bmp compression (5).")
    for bits in (0, 3, 7, 9, 15, 17, 31):
        wrong("bits-%d.bmp" % bits, info(40, 4, 4, bits), "Invalid image bit count: %d." % bits)
    wrong("bits-33.bmp", info(40, 4, 4, 33), "")
    wrong("masks-16.bmp", info(56, 4, 4, 16, 3, masks=(0x1F, 0x3E0, 0x7C00, 0)), "unsupported pixeltype")
    wrong("masks-none.bmp", info(56, 4, 4, 32, 3, masks=(0, 0, 0, 0)), "unsupported pixeltype")
    wrong("masks-alpha-only.bmp", info(56, 4, 4, 32, 3, masks=(0, 0, 0, 0xFF00)), "unsupported pixeltype")
    wrong("masks-10-bits.bmp", info(56, 4, 4, 32, 3, masks=(0x3FF00000, 0xFFC00, 0x3FF, 0)),
          "BITMAPV4HEADER unsupported mask value (3ff00000) for channel 'Red'.")
    wrong("masks-alpha.bmp", info(56, 4, 4, 32, 3, masks=(0xFF0000, 0xFF00, 0xFF, 0x70000000)),
          "BITMAPV4HEADER unsupported mask value (70000000) for channel 'Unused'.")
    wrong("masks-twice.bmp", info(56, 4, 4, 32, 3, masks=(0xFF0000, 0xFF00, 0xFF01, 0)),
          "BITMAPV4HEADER duplicate mask value (ff01) for channel 'Blue'.")
    wrong("colors-sign.bmp", info(40, 4, 4, 8, used=0x80000000), "Illegal Color table size: 2147483648.")

    def encoded(name, data, message, height=2, **how):
        head = info(40, 4, height, 8, 1, image_size=how.pop("image_size", len(data)))
        bad(name, bmp(head, table(COLORS), data, **how), WRONG_TYPE, message)

    encoded("rle-cropped.bmp", bytes([4, 1, 0, 0, 4]), "Illegal RLE compression (cropped data).")
    encoded("rle-early-end.bmp", bytes([4, 1, 0, 1, 4, 1, 0, 0]), "Illegal RLE compression (missing data).")
    encoded("rle-beyond.bmp", bytes([4, 1, 0, 2, 0, 9]), "Corrupt RLE compression.")
    encoded("rle-no-size.bmp", bytes([4, 1, 0, 0, 4, 1, 0, 0]), "Illegal RLE compression (cropped data).", image_size=0)
    encoded("rle-file-size-0.bmp", bytes([4, 1, 0, 0, 4, 1, 0, 0]), "Illegal RLE compression (cropped data).", size=0)
    bad("rle-too-short.bmp", bmp(info(40, 4, 2, 8, 1, image_size=100), table(COLORS), b"\4\1\0\0", size=5000), IO,
        "The data ends 96 bytes too early.")
    bad("header-cut.bmp", bmp(rgb, b"", white)[:40], IO, "The data ends 2 bytes too early.")
    bad("first-row-cut.bmp", bmp(rgb, b"", white[:11]), IO, "The data ends 1 bytes too early.")
    bad("palette-cut.bmp", bmp(info(40, 4, 4, 8), b"", b"\0" * 1000), IO, "The data ends 24 bytes too early.")
    bad("offset-behind-end.bmp", bmp(rgb, b"", white, offset=100000), IO, "The data ends 12 bytes too early.")
    bad("bomb.bmp", bmp(info(40, 65535, 65535, 24), b"", white), IO, "The data ends %d bytes too early." % (196608 * 65535 - 64))
    rle_bomb = info(40, 0x7FFFFFFF, 0x7FFFFFFF, 8, 1, image_size=8)
    bad("rle-bomb.bmp", bmp(rle_bomb, table(COLORS), bytes(8)), WRONG_TYPE, "Illegal RLE compression (cropped data).")
    profile = struct.pack("<I", 0x4D424544) + bytes(48) + struct.pack("<IIII", 4, 124, 16, 0)
    head = info(124, 4, 4, 24, masks=(0, 0, 0, 0), extra=profile)
    bad("profile-damaged.bmp", bmp(head, b"no profile here.", white), WRONG_TYPE, "*")


make_palettes()
make_packed()
make_true_color()
make_run_length()
make_bad()

with open("digests.tsv", "w") as file:
    file.writelines("%s\t%d\t%d\t%s\n" % row for row in sorted(digests))
with open("errors.tsv", "w") as file:
    file.writelines("%s\t%s\t%s\n" % row for row in sorted(errors))
