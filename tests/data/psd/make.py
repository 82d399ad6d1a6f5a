#!/usr/bin/env python3
"""Makes the sample files of this folder, the digests of their pixels and the errors that bad files end with.

Run it in its folder. The pixels of good files are worked out here, from the numbers that are put in, not by reading the files.
digests.tsv: name, width, height, SHA-256 of the merged picture in rgba.u8, top row first.
errors.tsv: name, id and message of the innermost cause; * for a message that others write.
Samples of layers-*.ps? are those of layer_sample(); the tests have the same rule.
Files in crash/ are kept by hand: inputs that once broke the reader.
"""
import hashlib
import os
import struct
import zlib

WRONG_TYPE = "net.torvi.image.error.mediasessionwrongtype"
ILLEGAL_STATE = "net.torvi.error.illegalstate"
FILE_FORMAT = "net.torvi.error.fileformat"
IO = "net.torvi.error.io"
RAW, PACKBITS, ZIP, PREDICTION = range(4)
BITMAP, GREY, INDEXED, RGB, CMYK = range(5)
URL = "memory:memory"  # of every file that the tests load

digests = []
errors = []


def write(folder, name, data):
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, name), "wb") as file:
        file.write(data)


def good(name, data, pixels):
    """pixels: rows from the top, each a list of (r, g, b, a)."""
    raw = b"".join(bytes(pixel) for row in pixels for pixel in row)
    digests.append((name, len(pixels[0]), len(pixels), hashlib.sha256(raw).hexdigest()))
    write("good", name, data)


def bad(name, data, error_id, message=""):
    errors.append((name, error_id, message))
    write("bad", name, data)


def pack(row):
    """PackBits, with runs from three bytes on."""
    out, i = b"", 0
    while i < len(row):
        n = 1
        while i + n < len(row) and n < 128 and row[i + n] == row[i]:
            n += 1
        if n >= 3:
            out += bytes((257 - n, row[i]))
            i += n
            continue
        start = i
        while i < len(row) and i - start < 128 and row[i:i + 3] != row[i:i + 1] * 3:
            i += 1
        out += bytes((i - start - 1,)) + row[start:i]
    return out


def predicted(row, depth):
    if depth == 16:
        values = struct.unpack(">%dH" % (len(row) // 2), row)
        return struct.pack(">%dH" % len(values), *((b - a) & 0xFFFF for a, b in zip((0,) + values, values)))
    if depth == 32:
        row = b"".join(row[plane::4] for plane in range(4))
    return bytes((b - a) & 255 for a, b in zip(b"\0" + row, row))


def encoded(rows, depth, compression, wide=False):
    """What follows the compression of a channel."""
    if compression == PACKBITS:
        packed = [pack(row) for row in rows]
        return b"".join(struct.pack(">I" if wide else ">H", len(row)) for row in packed) + b"".join(packed)
    if compression == PREDICTION:
        return zlib.compress(b"".join(predicted(row, depth) for row in rows))
    return b"".join(rows)


def merged(channels, depth, compression, wide=False):
    rows = [row for channel in channels for row in channel]
    return struct.pack(">H", compression) + encoded(rows, depth, compression, wide)


def header(width, height, channels, depth, mode, version=1):
    return b"8BPS" + struct.pack(">H6xHIIHH", version, channels, height, width, depth, mode)


def resource(number, data, name=b""):
    padded = bytes((len(name),)) + name
    head = b"8BIM" + struct.pack(">H", number) + padded + b"\0" * (len(padded) % 2)
    return head + struct.pack(">I", len(data)) + data + b"\0" * (len(data) % 2)


def section(data, wide=False):
    return struct.pack(">Q" if wide else ">I", len(data)) + data


def block(key, data):
    return b"8BIM" + key + section(data)


def unicode_text(text, zeros=0):
    units = text.encode("utf-16-be") + b"\0\0" * zeros
    return struct.pack(">I", len(units) // 2) + units


def divider(kind, blend=None):
    return block(b"lsct", struct.pack(">I", kind) + (b"8BIM" + blend if blend else b""))


class Layer:
    """A record with its channels: pairs of an id and the data with its compression."""

    def __init__(self, name=b"", rect=(0, 0, 0, 0), channels=((0, b"\0\0"),), blend=b"norm", opacity=255, flags=0, mask=b"", blocks=b"",
                 signature=b"8BIM"):
        self.rect, self.channels, self.signature, self.blend, self.opacity, self.flags = rect, channels, signature, blend, opacity, flags
        pascal = bytes((len(name),)) + name
        self.extra = section(mask) + section(b"") + pascal + b"\0" * (-len(pascal) % 4) + blocks

    def record(self, wide):
        left, top, right, bottom = self.rect
        lengths = b"".join(struct.pack(">hQ" if wide else ">hI", i, len(data)) for i, data in self.channels)
        head = struct.pack(">iiiih", top, left, bottom, right, len(self.channels)) + lengths
        return head + self.signature + self.blend + bytes((self.opacity, 0, self.flags, 0)) + section(self.extra)

    def data(self):
        return b"".join(data for _, data in self.channels)


def layer_info(layers, count=None, wide=False):
    data = struct.pack(">h", len(layers) if count is None else count)
    data += b"".join(layer.record(wide) for layer in layers) + b"".join(layer.data() for layer in layers)
    return data + b"\0" * (len(data) % 2)


def layer_section(info, wide=False, key=None):
    """The section with the layers in their own block, or in an additional one."""
    if key is None:
        return section(section(info, wide), wide)
    padded = info + b"\0" * (-len(info) % 4)
    junk = struct.pack(">I", 6) + b"masks " + block(b"Patt", b"abc")  # lengths that are no multiples of four
    return section(section(b"", wide) + junk + b"\0" + b"8BIM" + key + section(padded, wide), wide)


def document(head, picture, palette=b"", resources=b"", layers=None, wide=False):
    return head + section(palette) + section(resources) + (section(b"", wide) if layers is None else layers) + picture


def samples(width, height, channel):
    """Rows of runs and of changing values."""
    return [bytes((x // 5 * 40 + channel * 61) & 255 if y % 2 else (x * 7 + y * 13 + channel * 61) & 255 for x in range(width))
            for y in range(height)]


def widened(rows, depth):
    if depth == 16:
        return [b"".join(struct.pack(">H", value * 257) for value in row) for row in rows]
    if depth == 32:
        return [b"".join(struct.pack(">f", value / 255) for value in row) for row in rows]
    return rows


def rgba(channels, convert):
    """Pixels of a picture of channels of bytes."""
    return [[convert(*values) for values in zip(*rows)] for rows in zip(*channels)]


def from_cmyk(c, m, y, k, full=255):
    return tuple(int(ink / full * (k / full) * 255 + 0.5) for ink in (c, m, y)) + (255,)


TO_PIXELS = {
    GREY: lambda g: (g, g, g, 255),
    RGB: lambda r, g, b: (r, g, b, 255),
    CMYK: from_cmyk,
}


def make_pictures():
    for mode, depth, compression in ((GREY, 8, RAW), (GREY, 32, PACKBITS), (RGB, 8, PACKBITS), (RGB, 16, PACKBITS), (RGB, 32, RAW),
                                     (CMYK, 8, PACKBITS), (CMYK, 16, RAW)):
        count = {GREY: 1, RGB: 3, CMYK: 4}[mode]
        channels = [samples(11, 7, channel) for channel in range(count)]
        data = [widened(channel, depth) for channel in channels]
        name = "%s%d-%s" % ({GREY: "grey", RGB: "rgb", CMYK: "cmyk"}[mode], depth, "raw" if compression == RAW else "packed")
        pixels = rgba(channels, TO_PIXELS[mode])
        good(name + ".psd", document(header(11, 7, count, depth, mode), merged(data, depth, compression)), pixels)
        if (mode, depth) in ((RGB, 8), (CMYK, 16)):
            head = header(11, 7, count, depth, mode, version=2)
            good(name + ".psb", document(head, merged(data, depth, compression, True), wide=True), pixels)
    channels = [samples(300, 3, channel) for channel in range(3)]
    good("rgb8-wide.psd", document(header(300, 3, 3, 8, RGB), merged(channels, 8, PACKBITS)), rgba(channels, TO_PIXELS[RGB]))
    padded = struct.pack(">HHHH", PACKBITS, 5, 4, 4) + bytes((254, 9, 128, 128, 128, 128, 254, 7, 128, 2, 1, 2, 3))
    values = ((9,) * 3, (7,) * 3, (1, 2, 3))
    good("grey8-padded.psd", document(header(3, 3, 1, 8, GREY), padded), [[(v, v, v, 255) for v in row] for row in values])
    cleared = document(header(2, 2, 3, 8, RGB), struct.pack(">H", ZIP) + zlib.compress(bytes(12)))
    good("rgb8-zip.psd", cleared, [[(0, 0, 0, 255)] * 2] * 2)


def make_alphas():
    channels = [samples(9, 5, channel) for channel in range(5)]
    unicode_names = unicode_text("Fir\u015dt", 1) + struct.pack(">I", 0) + unicode_text("Third", 1)
    names = resource(1006, b"\5First\3Old") + resource(1045, unicode_names)
    names += resource(1007, bytes(range(28))) + resource(1053, struct.pack(">II", 3, 4))
    head = header(9, 5, 5, 8, RGB)
    picture = merged(channels, 8, PACKBITS)
    good("rgb8-alphas.psd", document(head, picture, resources=names), rgba(channels[:4], lambda r, g, b, a: (r, g, b, a)))
    layers = layer_section(layer_info([]))
    one = layer_section(layer_info([Layer(b"Only", (0, 0, 0, 0))], -1))
    with_alpha = rgba(channels[:4], lambda r, g, b, a: (r, g, b, a))
    good("rgb8-transparency.psd", document(head, picture, resources=names, layers=one), with_alpha)
    opaque = document(header(9, 5, 3, 8, RGB), merged(channels[:3], 8, RAW), layers=layers)
    good("rgb8-no-layers.psd", opaque, rgba(channels[:3], TO_PIXELS[RGB]))


def make_indexed():
    def bit(row, x):
        return row[x // 8] >> (7 - x % 8) & 1

    bits = [bytes((0xA5, 0x80)), bytes((0x0F, 0x00))]
    pixels = [[(0, 0, 0, 255) if bit(row, x) else (255, 255, 255, 255) for x in range(9)] for row in bits]
    good("bitmap.psd", document(header(9, 2, 1, 1, BITMAP), merged([bits], 1, RAW)), pixels)
    good("bitmap-packed.psd", document(header(9, 2, 1, 1, BITMAP), merged([bits], 1, PACKBITS)), pixels)
    both, two = [samples(38, 2, channel) for channel in range(2)], ((10, 20, 30), (200, 100, 50))
    for name, mode, palette, pair in (("bitmap", BITMAP, b"", ((255,) * 3, (0,) * 3)), ("indexed1", INDEXED, bytes(sum(zip(*two), ())), two)):
        pixels = [[pair[bit(row, x)] + (255 * bit(alpha, x),) for x in range(300)] for row, alpha in zip(*both)]
        good(name + "-alpha.psd", document(header(300, 2, 2, 1, mode), merged(both, 1, RAW), palette), pixels)
    colors = [((i * 37) & 255, (i * 91) & 255, (i * 5) & 255) for i in range(256)]
    palette = b"".join(bytes(color[plane] for color in colors) for plane in range(3))
    rows = [bytes((x * 31 + y * 7) & 255 for x in range(8)) for y in range(4)]
    head, picture = header(8, 4, 1, 8, INDEXED), merged([rows], 8, PACKBITS)
    good("indexed.psd", document(head, picture, palette, resource(1047, b"\xFF\xFF")), [[colors[i] + (255,) for i in row] for row in rows])
    good("indexed-transparent.psd", document(head, picture, palette, resource(1047, b"\0\x1F")),
         [[colors[i] + (0 if i == 31 else 255,) for i in row] for row in rows])
    good("indexed-fewer.psd", document(head, picture, palette, resource(1046, b"\0\x64")),
         [[colors[i] + (255,) if i < 100 else (255, 255, 255, 0) for i in row] for row in rows])
    bad("indexed-more.psd", document(head, picture, palette, resource(1046, b"\1\1")), WRONG_TYPE, "Indexed colors mismatch: 257 > 256")
    bad("indexed-no-palette.psd", document(head, picture, b"", resource(1046, b"\0\0")), WRONG_TYPE, "Indexed colors mismatch: 0 > 0")


def layer_sample(layer, channel, x, y):
    """16 bits; of 8 bits the upper byte, of floats the 65536th part."""
    return (layer * 3701 + channel * 6101 + x * 7013 + y * 1301) & 0xFFFF


def layer_rows(layer, channel, width, height, depth):
    def sample(x, y):
        value = layer_sample(layer, channel, x, y)
        code, number = {8: (">B", value >> 8), 16: (">H", value), 32: (">f", value / 65536)}[depth]
        return struct.pack(code, number)
    return [b"".join(sample(x, y) for x in range(width)) for y in range(height)]


def layer_channel(layer, channel, rect, depth, compression, wide):
    width, height = rect[2] - rect[0], rect[3] - rect[1]
    rows = layer_rows(layer, channel, width, height, depth)
    return channel, struct.pack(">H", compression) + encoded(rows, depth, compression, wide)


def mask_data(rect, default):
    return struct.pack(">iiiiBBH", rect[1], rect[0], rect[3], rect[2], default, 0, 0)


def make_layers(mode, depth, wide, key=None):
    """A background, and a group with a masked layer that hangs over two edges, an adjustment and a layer outside."""
    colors = {GREY: 1, RGB: 3, CMYK: 4}[mode]
    ids, full = list(range(colors)), (0, 0, 12, 9)

    def channels(layer, rect, compression, which):
        return [layer_channel(layer, i, rect, depth, compression, wide) for i in which]

    hanging, mask, group_mask, outside = (-3, -2, 7, 5), (1, 2, 6, 4), (2, 1, 9, 8), (20, 2, 24, 5)
    layers = [
        Layer(b"Background", full, channels(0, full, RAW, ids), flags=1),
        Layer(b"</Layer group>", blocks=divider(3)),
        Layer(b"Hanging", hanging, channels(2, hanging, PACKBITS, [-1] + ids) + [layer_channel(2, -2, mask, depth, PACKBITS, wide)],
              b"mul ", 128, 2, mask_data(mask, 255),
              block(b"lyid", bytes(4)) + block(b"luni", unicode_text("H\u00e4nging", 1)) + block(b"iOpa", b"\x40")),
        Layer(b"Invert", blocks=block(b"nvrt", b"data") + block(b"levl", b"more"), channels=[(-1, b"\0\0"), (0, b"\0\0")]),
        Layer(b"Outside", outside, channels(4, outside, PREDICTION, ids + [-1]), b"xxxx", blocks=block(b"luni", unicode_text(""))),
        Layer(b"Group", channels=[(0, b"\0\0"), layer_channel(5, -2, group_mask, depth, PREDICTION, wide)], blend=b"norm", opacity=200,
              mask=mask_data(group_mask, 7), blocks=divider(1, b"pass")),
        Layer(b"Top", full, channels(6, full, PREDICTION, ids + [-1])[::-1], b"scrn"),
    ]
    groups = resource(1026, struct.pack(">7H", 0, 3, 3, 3, 3, 3, 4))
    planes = [layer_rows(9, channel, 12, 9, depth) for channel in range(colors)]
    head = header(12, 9, colors, depth, mode, 2 if wide else 1)
    name = "layers-%d.%s" % (depth, "psb" if wide else "psd")
    section_data = layer_section(layer_info(layers, wide=wide), wide, key)
    data = document(head, merged(planes, depth, PACKBITS, wide), resources=groups, layers=section_data, wide=wide)
    values = [[[layer_sample(9, channel, x, y) for x in range(12)] for y in range(9)] for channel in range(colors)]
    if mode == CMYK:
        good(name, data, rgba(values, lambda *inks: from_cmyk(*inks, 65535)))
        return
    to_byte = (lambda value: int(value / 65536 * 255 + 0.5)) if depth == 32 else (lambda value: value >> 8)
    good(name, data, rgba([[map(to_byte, row) for row in channel] for channel in values], TO_PIXELS[mode]))


def make_clear():
    """Layers that give no lines, and one that lies above the document but for its last row."""
    layers = [
        Layer(b"wide", (0, 0, 1 << 30, 0), [(0, b"\0\3")]),
        Layer(b"other", (0, 0, 1, 1), [(-3, bytes(6))]),
        Layer(b"turned", (5, 5, 2, 1), [(0, b"\0\0"), (-2, b"\0\0")], mask=mask_data((6, 4, 1, 2), 0)),
        Layer(b"filter", (0, 0, 1, 1), [(0, b"\0\0" + struct.pack(">f", 1))], blocks=block(b"nvrt", b"data")),
    ]
    data = document(header(1, 1, 1, 32, GREY), struct.pack(">Hf", RAW, 1), layers=layer_section(layer_info(layers)))
    good("layers-clear.psd", data, [[(255,) * 4]])
    above = 1 << 20
    layer = Layer(b"", (0, -above, 1, 1), [(0, b"\0\3" + zlib.compress(bytes(above) + b"\xC8"))])
    data = document(header(1, 1, 1, 8, GREY), struct.pack(">HB", RAW, 9), layers=layer_section(layer_info([layer])))
    good("layer-above.psd", data, [[(9, 9, 9, 255)]])


def make_groups():
    """Dividers in all the wrong places; the tests say what becomes of them."""
    head, picture = header(1, 1, 1, 8, GREY), struct.pack(">HB", RAW, 50)
    cases = {
        "nested": [("a", 3), ("b", 3), ("c", None), ("B", 2), ("d", None), ("A", 1), ("e", None)],
        "unclosed": [("a", 3), ("b", None), ("c", 3), ("d", None)],
        "unopened": [("a", None), ("b", 1), ("c", 2), ("d", 0), ("e", 7)],
        "other-type": [("a", 3), ("b", None), ("c", 0), ("d", None)],
    }
    for name, records in cases.items():
        layers = [Layer(text.encode(), blocks=b"" if kind is None else divider(kind)) for text, kind in records]
        good("groups-%s.psd" % name, document(head, picture, layers=layer_section(layer_info(layers))), [[(50, 50, 50, 255)]])
    for name, layers in (("deep", [Layer(blocks=divider(3))] * 101), ("many", [Layer(blocks=divider(3) * 101)])):
        bad("groups-%s.psd" % name, document(head, picture, layers=layer_section(layer_info(layers))), FILE_FORMAT,
            "The layers of a picture are nested in more than 100 levels.")


def make_bad():
    rgb = merged([samples(3, 2, channel) for channel in range(3)], 8, RAW)
    grey = header(3, 1, 1, 8, GREY)
    bad("cut.psd", header(3, 2, 3, 8, RGB), IO, "The data ends 4 bytes too early.")
    bad("bomb.psd", document(header(300000, 300000, 3, 8, RGB), struct.pack(">H", PACKBITS)), IO, "The data ends 1800000 bytes too early.")
    bad("bomb-raw.psd", document(header(300000, 300000, 3, 8, RGB), rgb), IO, "*")
    bad("bomb-zip.psd", document(header(300000, 300000, 3, 8, RGB), struct.pack(">H", PREDICTION)), IO, "*")
    bad("bomb-row.psd", document(header(1 << 24, 1, 1, 8, GREY), struct.pack(">HHBB", PACKBITS, 2, 129, 0)), ILLEGAL_STATE,
        "A row of 16777216 bytes can not be packed in 2.")
    for name, height in (("bomb-channels", 2), ("bomb-channels-flat", 0)):
        bad(name + ".psd", document(header(3, height, 32767, 8, RGB), rgb), IO, "*")
    for name, mode, depth, message in (
            ("lab", 9, 8, "Unsupported color mode: 9"), ("bitmap-8", BITMAP, 8, "Unsupported color depth: 8"),
            ("indexed-16", INDEXED, 16, "Unsupported color depth: 16"), ("cmyk-32", CMYK, 32, "invalid cmyk format")):
        bad(name + ".psd", document(header(3, 2, 4, depth, mode), rgb), WRONG_TYPE, message)
    bad("channels-few.psd", document(header(3, 2, 2, 8, RGB), rgb), WRONG_TYPE)
    bad("depth-4.psd", document(header(3, 2, 3, 4, RGB), rgb), ILLEGAL_STATE, "*")
    bad("indexed-4.psd", document(header(3, 2, 1, 4, INDEXED), rgb), ILLEGAL_STATE, "*")
    bad("profile.psd", document(header(3, 2, 3, 8, RGB), rgb, resources=resource(1039, b"no profile")), WRONG_TYPE, "*")
    bad("groups-differ.psd", document(grey, rgb, resources=resource(1026, bytes(4)) + resource(1026, bytes(6))), FILE_FORMAT,
        "layercnt != _layerInfo.GetCount(): 3 != 2 (%s)" % URL)
    for name, row in (("short", b"\1\1\1"), ("behind", b"\2\1\1\1\0"), ("empty", b""), ("long", b"\6" + bytes(6))):
        bad("packed-%s.psd" % name, document(grey, struct.pack(">HH", PACKBITS, len(row)) + row), ILLEGAL_STATE, "*")
    bad("packed-no-rows.psd", document(header(3, 0, 1, 8, GREY), struct.pack(">H", PACKBITS)), ILLEGAL_STATE, "*")
    rect = (0, 0, 3, 1)
    for name, layer, error_id, message in (
            ("no-channels", Layer(channels=[]), ILLEGAL_STATE, "*"),
            ("no-blend", Layer(signature=b"8BIN"), ILLEGAL_STATE, "*"),
            ("name-long", Layer(blocks=block(b"luni", struct.pack(">I", 3) + b"abcd")), WRONG_TYPE,
             "Invalid text length: 3. Rest of chunk is: 4."),
            ("zip", Layer(b"", rect, [(0, b"\0\2abc")]), ILLEGAL_STATE, "Unsupported compression"),
            ("zip-short", Layer(b"", rect, [(0, b"\0\3x")]), ILLEGAL_STATE, "*"),
            ("zip-few-rows", Layer(b"", rect, [(0, b"\0\3" + zlib.compress(b"ab"))]), ILLEGAL_STATE, "*"),
            ("zip-damaged", Layer(b"", rect, [(0, b"\0\3" + bytes(9))]), FILE_FORMAT, "*"),
            ("channel", Layer(b"", rect, [(1, b"\0\0abc")]), FILE_FORMAT, "Illegal channel mode"),
            ("raw-short", Layer(b"", rect, [(0, b"\0\0ab")]), IO, "The data ends 1 bytes too early."),
            ("packed-long", Layer(b"", rect, [(0, b"\0\1\0\7" + bytes(7))]), ILLEGAL_STATE, "*"),
            ("masks", Layer(b"", rect, [(-2, b"")] * 1000), IO, "*"),
            ("wide", Layer(b"", (0, 0, 1 << 24, 1), [(0, b"\0\3" + zlib.compress(bytes(9)))]), FILE_FORMAT,
             "A layer can not be 16777216 pixels wide."),
            ("bomb", Layer(b"", (0, 0, 1 << 10, 1 << 30), [(0, b"\0\3" + zlib.compress(bytes(9)))]), IO, "*")):
        picture = struct.pack(">H3B", RAW, 1, 2, 3)
        bad("layer-%s.psd" % name, document(grey, picture, layers=layer_section(layer_info([layer]))), error_id, message)
    layers = layer_section(layer_info([Layer(b"", rect)]))
    bad("layer-bitmap.psd", document(header(9, 1, 1, 1, BITMAP), b"\0\0\xFF\0", layers=layers), FILE_FORMAT,
        "Invalid color mode. (%s)" % URL)
    bad("layer-count.psd", document(grey, rgb, layers=layer_section(layer_info([Layer()], 9))), IO, "*")
    bad("layer-length.psb", document(header(3, 1, 1, 8, GREY, 2), rgb, layers=struct.pack(">Q", 1 << 63)), FILE_FORMAT, "*")


make_pictures()
make_alphas()
make_indexed()
for arguments in ((RGB, 8, False), (CMYK, 16, False), (GREY, 32, False),
                  (GREY, 8, True), (RGB, 16, True, b"Lr16"), (RGB, 32, True, b"Lr32")):
    make_layers(*arguments)
make_clear()
make_groups()
make_bad()
for name, rows in (("digests.tsv", digests), ("errors.tsv", errors)):
    with open(name, "w", encoding="utf-8") as file:
        for row in sorted(rows):
            file.write("\t".join(map(str, row)) + "\n")
