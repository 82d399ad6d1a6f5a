"""Files that ask for far more than they are: sides, counts and lengths that nothing stands behind, data that unpacks to a thousand times
its size, and structures that lead back to themselves. CASES is the list; each makes its file when it is called for.
"""
import collections
import struct
import zlib

MIB = 1 << 20
MOST_INT32 = (1 << 31) - 1

# name: of the file; make: gives its bytes; outcome: what becomes of it; holds: MiB of the pictures that are delivered, and of what a
# library needs for them beside; layers: how many it really has, since each takes memory whatever is in it.
Case = collections.namedtuple("Case", "name outcome holds make layers", defaults=(0,))

REFUSED = "refused"       # neither its structure nor its pixels can be read
DESCRIBED = "described"   # its structure can be read, its pixels cannot
LOADED = "loaded"         # it holds a picture


def zeros(count):
	"""A zlib stream of zeros, a thousandth of their number. A full flush ends a piece that can be repeated."""
	packer = zlib.compressobj(9, wbits=-15)
	piece = packer.compress(bytes(MIB)) + packer.flush(zlib.Z_FULL_FLUSH)
	packer = zlib.compressobj(9, wbits=-15)
	rest = packer.compress(bytes(count % MIB)) + packer.flush()
	return b"\x78\xDA" + piece * (count // MIB) + rest + struct.pack(">I", count % 65521 << 16 | 1)


# BMP

RLE8 = 1
MASKS = 3
RGB_MASKS = struct.pack("<IIII", 0xFF0000, 0xFF00, 0xFF, 0) + bytes(52)   # and the rest of a header of 108 bytes


def bmp(width, height, bits, data=b"", compression=0, more=b"", colours=0):
	"""`more` are fields behind the first 40 bytes of the header."""
	head = struct.pack("<IiiHHIIiiII", 40 + len(more), width, height, 1, bits, compression, len(data), 0, 0, colours, 0) + more
	palette = bytes(4 << bits) if bits <= 8 else b""
	offset = 14 + len(head) + len(palette)
	return b"BM" + struct.pack("<IHHI", offset + len(data), 0, 0, offset) + head + palette + data


def bmp_profile():
	"""An embedded profile of 4 GiB."""
	return bmp(1, 1, 24, bytes(4), more=bytes(16) + b"DEBM" + bytes(48) + struct.pack("<IIII", 0, 138, (1 << 32) - 1, 0))


# PNG

RGB, RGBA = 2, 6


def chunk(name, data=b"", length=None):
	return struct.pack(">I", len(data) if length is None else length) + name + data + struct.pack(">I", zlib.crc32(name + data))


def png(width, height, data, depth=8, kind=RGB, interlaced=False, front=b""):
	"""`front` are chunks before the data."""
	head = struct.pack(">IIBBBBB", width, height, depth, kind, 0, 0, interlaced)
	return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + front + chunk(b"IDAT", data) + chunk(b"IEND")


def png_pixel(front):
	return png(1, 1, zlib.compress(bytes(4)), front=front)


def icc_head(size):
	"""The head of a display profile, and the number of its tags, which is 0."""
	return struct.pack(">II4s4s4s4s12x4s28x12x48x", size, 0, b"\x02\x10\0\0", b"mntr", b"RGB ", b"XYZ ", b"acsp") + bytes(4)


def icc_chunk(packed):
	return chunk(b"iCCP", b"profile\0\0" + packed)


# JPEG

BASELINE, PROGRESSIVE = 0xC0, 0xC2
SOI, EOI = b"\xFF\xD8", b"\xFF\xD9"


def segment(code, data):
	return bytes([0xFF, code]) + struct.pack(">H", len(data) + 2) + data


QUANTISATION = segment(0xDB, b"\0" + b"\x08" * 64)
# One code for each table: no difference, and nothing but zeros.
HUFFMAN = segment(0xC4, b"\0" + bytes([1] + [0] * 15) + b"\0" + b"\x10" + bytes([1] + [0] * 15) + b"\0")


def jpeg(width, height, code=BASELINE, front=b"", scans=1):
	"""Three components; the scans have their heads and no data."""
	frame = struct.pack(">BHHB", 8, height, width, 3) + b"".join(bytes([i, 0x11, 0]) for i in (1, 2, 3))
	spectrum = bytes([0, 0, 0] if code == PROGRESSIVE else [0, 63, 0])
	scan = segment(0xDA, b"\x03" + b"\1\0\2\0\3\0" + spectrum)
	return SOI + front + QUANTISATION + segment(code, frame) + HUFFMAN + scan * scans + EOI


def multi_picture(count, offset, following=0, claimed=None):
	"""The segment that lists `count` pictures at one place behind it, and the place of the next list."""
	fields = ((45056, 7, 4, 0x30313030), (45057, 4, 1, count if claimed is None else claimed), (45058, 7, 16 * count, 50))
	directory = struct.pack(">H", len(fields)) + b"".join(struct.pack(">HHII", *field) for field in fields) + struct.pack(">I", following)
	entries = struct.pack(">IIIHH", 0, 0, offset, 0, 0) * count
	return segment(0xE2, b"MPF\0MM\0*" + struct.pack(">I", 8) + directory + entries)


def jpeg_of_pictures(count, front=b""):
	"""A list of pictures, all of which are the one behind it."""
	first = jpeg(8, 8, front=multi_picture(count, 0))
	mark = first.index(b"MPF\0") + 4
	return jpeg(8, 8, front=multi_picture(count, len(first) - mark)) + jpeg(8, 8, front=front)


def tiff(fields, following=0):
	"""A structure of one directory; `fields` are tag, type, count and value."""
	directory = struct.pack(">H", len(fields)) + b"".join(struct.pack(">HHII", *field) for field in fields)
	return b"MM\0*" + struct.pack(">I", 8) + directory + struct.pack(">I", following)


def exif_loops():
	"""Each pointer to another directory leads to the one that it stands in."""
	return tiff([(274, 3, 1, 1 << 16)] + [(tag, 4, 1, 8) for tag in (330, 34665, 34853, 40965)], following=8)


def exif_claims(size):
	"""Entries each of which has nearly all of the block as its value."""
	count = min((size - 14) // 12, 65535)
	return tiff([(i, 7, size - 1000, 8) for i in range(count)])


def exif_segment(block):
	return segment(0xE1, b"Exif\0\0" + block)


# PSD

GREY_MODE, INDEXED_MODE, RGB_MODE = 1, 2, 3
RAW, PACKBITS, ZIP, PREDICTION = range(4)


def section(data, claimed=None):
	return struct.pack(">I", len(data) if claimed is None else claimed) + data


def psd(width, height, channels=3, mode=RGB_MODE, palette=section(b""), resources=b"", layers=section(b""), picture=b"", version=1):
	head = b"8BPS" + struct.pack(">H6xHIIHH", version, channels, height, width, 8, mode)
	return head + palette + section(resources) + layers + picture


def merged(compression, data=b""):
	return struct.pack(">H", compression) + data


def resource(number, data=b"", count=1):
	return (b"8BIM" + struct.pack(">HH", number, 0) + section(data) + b"\0" * (len(data) % 2)) * count


def block(key, data):
	return b"8BIM" + key + section(data)


def record(rect=(0, 0, 0, 0), channels=((0, 2),), blocks=b"", mask=b""):
	"""A layer's record; `rect` is left, top, right, bottom, `channels` pairs of an id and a length."""
	left, top, right, bottom = rect
	head = struct.pack(">iiiih", top, left, bottom, right, len(channels)) + b"".join(struct.pack(">hI", *channel) for channel in channels)
	return head + b"8BIMnorm\xFF\0\0\0" + section(section(mask) + section(b"") + bytes(4) + blocks)


def layer_section(records, data=b"", count=None):
	info = struct.pack(">h", len(records) if count is None else count) + b"".join(records) + data
	return section(section(info + b"\0" * (len(info) % 2)))


def psd_pixel(resources=b"", layers=section(b""), channels=1):
	"""A grey pixel, with bytes for further channels."""
	return psd(1, 1, channels, GREY_MODE, resources=resources, layers=layers, picture=merged(RAW, bytes(channels)))


def divider(kind):
	return record(blocks=block(b"lsct", struct.pack(">I", kind)))


def groups(depth, times):
	"""Groups inside of groups, opened and closed."""
	records = ([divider(3)] * depth + [divider(1)] * depth) * times
	return psd_pixel(layers=layer_section(records, bytes(2 * len(records))))


def zip_layer(width, height):
	"""A layer of zeros."""
	channel = struct.pack(">H", PREDICTION) + zeros(width * height)
	layer = record((0, 0, width, height), [(i, len(channel)) for i in range(3)])
	return psd(width, height, layers=layer_section([layer], channel * 3), picture=merged(PREDICTION))


def columns(count):
	"""Layers of one column, each of which is a picture of the document's size."""
	channel = struct.pack(">H", PREDICTION) + zeros(16000)
	layer = record((0, 0, 1, 16000), [(i, len(channel)) for i in range(3)])
	return psd(1200, 16000, layers=layer_section([layer] * count, channel * 3 * count), picture=merged(PREDICTION))


def wide_layer(width):
	"""A row of which the document shows one pixel, packed to nothing."""
	channel = struct.pack(">HH", PACKBITS, 2) + b"\x81\0"
	layer = record((0, 0, width, 1), [(i, len(channel)) for i in range(3)])
	return psd(1, 1, layers=layer_section([layer], channel * 3), picture=merged(RAW, bytes(3)))


def masked_layer():
	"""A mask from one end of the numbers to the other."""
	mask = struct.pack(">iiii", -MOST_INT32 - 1, -MOST_INT32 - 1, MOST_INT32, MOST_INT32) + bytes(4)
	layer = record((0, 0, 1, 1), [(0, 3), (-2, 4)], mask=mask)
	return psd_pixel(layers=layer_section([layer], merged(RAW, b"\0") + merged(RAW, bytes(2))))


def packed_channels(count, width):
	"""A row of zeros for each channel."""
	rows = -(-width // 128)
	return psd(width, 1, count, picture=merged(PACKBITS, struct.pack(">H", 2 * rows) * count + b"\x81\0" * rows * count))


CASES = [
	Case("sides.bmp", DESCRIBED, 0, lambda: bmp(MOST_INT32, MOST_INT32, 24)),
	Case("sides-from-the-top.bmp", DESCRIBED, 0, lambda: bmp(MOST_INT32, -MOST_INT32 - 1, 1)),
	Case("sides-masks.bmp", DESCRIBED, 0, lambda: bmp(46340, 46340, 32, b"abc", MASKS, RGB_MASKS)),
	Case("rle-sides.bmp", DESCRIBED, 0, lambda: bmp(MOST_INT32, MOST_INT32, 8, b"\0\1", RLE8)),
	Case("rle-row.bmp", DESCRIBED, 0, lambda: bmp(1000000000, 1, 8, b"\1\1", RLE8)),
	Case("rle-rows.bmp", LOADED, 31, lambda: bmp(1000, 32000, 8, b"\0\0" * 32000, RLE8)),
	Case("colours.bmp", DESCRIBED, 0, lambda: bmp(1, 1, 8, bytes(4), colours=(1 << 32) - 1)),
	Case("profile.bmp", REFUSED, 0, bmp_profile),

	Case("sides.png", DESCRIBED, 0, lambda: png(1000000, 1000000, zlib.compress(bytes(9)), 16, RGBA)),
	Case("sides-interlaced.png", DESCRIBED, 0, lambda: png(1000000, 1000000, zlib.compress(bytes(9)), 16, RGBA, True)),
	Case("wide-row.png", DESCRIBED, 0, lambda: png(1000000, 60, b"x", kind=RGB)),
	Case("interlaced-rows.png", DESCRIBED, 0, lambda: png(21, 1000000, zlib.compress(bytes(9)), interlaced=True)),
	Case("interlaced-damaged.png", DESCRIBED, 0, lambda: png(366, 1000000, b"x" * MIB, interlaced=True)),
	Case("zeros.png", LOADED, 62, lambda: png(5000, 4300, zeros(15001 * 4300))),
	Case("zeros-interlaced.png", LOADED, 2 * 30, lambda: png(3200, 3200, zeros(3 * 3200 * 3200 + 6000), interlaced=True)),
	Case("profile-of-zeros.png", LOADED, 0, lambda: png_pixel(icc_chunk(zeros(1000 * MIB)))),
	Case("profile-claims.png", LOADED, 0, lambda: png_pixel(icc_chunk(zlib.compress(icc_head((1 << 32) - 4) + bytes(9))))),
	Case("profile-long.png", LOADED, 0, lambda: png_pixel(icc_chunk(zlib.compress(icc_head(4000000) + bytes(4000000 - 132), 9)))),
	Case("texts.png", LOADED, 0, lambda: png_pixel(chunk(b"zTXt", b"Comment\0\0" + zeros(8 * MIB)) * 120)),
	Case("chunks.png", LOADED, 0, lambda: png_pixel(chunk(b"naMe") * 80000)),
	Case("chunk-length.png", REFUSED, 0, lambda: png_pixel(chunk(b"iCCP", b"profile\0\0", MOST_INT32))),
	Case("data-chunks.png", LOADED, 0, lambda: png_pixel(chunk(b"IDAT") * 80000)),

	Case("sides.jpg", REFUSED, 0, lambda: jpeg(65500, 65500)),
	Case("sides-progressive.jpg", REFUSED, 0, lambda: jpeg(65500, 65500, PROGRESSIVE)),
	Case("no-data.jpg", LOADED, 61, lambda: jpeg(4600, 4600)),
	# Coefficients take 2 bytes for each sample.
	Case("no-data-progressive.jpg", LOADED, 3 * 30, lambda: jpeg(3200, 3200, PROGRESSIVE)),
	Case("scans.jpg", LOADED, 3 * 30, lambda: jpeg(3200, 3200, PROGRESSIVE, scans=200)),
	Case("empty-segments.jpg", REFUSED, 0, lambda: jpeg(8, 8, front=segment(0xE1, b"") * (MIB // 4))),
	Case("segments.jpg", LOADED, 0, lambda: jpeg(8, 8, front=segment(0xE2, bytes(65533)) * 16)),
	Case("tables.jpg", LOADED, 0, lambda: jpeg(8, 8, front=HUFFMAN * (MIB // len(HUFFMAN)))),
	Case("fill-bytes.jpg", LOADED, 0, lambda: jpeg(8, 8)[:-2] + b"\xFF" * MIB + EOI),
	Case("profile-parts.jpg", LOADED, 0, lambda: jpeg(8, 8, front=segment(0xE2, b"ICC_PROFILE\0\1\xFF" + bytes(4000)) * 255)),
	Case("pictures-in-itself.jpg", LOADED, 0, lambda: jpeg(8, 8, front=multi_picture(2, 0, following=8))),
	Case("pictures-count.jpg", REFUSED, 0, lambda: jpeg(8, 8, front=multi_picture(2, 0, claimed=(1 << 32) - 1))),
	Case("pictures.jpg", LOADED, 0, lambda: jpeg_of_pictures(4000)),
	Case("pictures-long.jpg", LOADED, 0, lambda: jpeg_of_pictures(4000, front=segment(0xE2, bytes(65533)) * 14)),
	Case("exif-loops.jpg", LOADED, 0, lambda: jpeg(8, 8, front=exif_segment(exif_loops()))),
	Case("exif-claims.jpg", LOADED, 0, lambda: jpeg(8, 8, front=exif_segment(exif_claims(65500)) * 15)),

	Case("header.psd", REFUSED, 0, lambda: psd(300000, 300000)[:26]),
	Case("packed.psd", DESCRIBED, 0, lambda: psd(300000, 300000, picture=merged(PACKBITS))),
	Case("raw.psd", DESCRIBED, 0, lambda: psd(300000, 300000, picture=merged(RAW, bytes(9)))),
	Case("zip.psd", DESCRIBED, 0, lambda: psd(300000, 300000, picture=merged(PREDICTION, zeros(9)))),
	Case("sides.psb", DESCRIBED, 0, lambda: psd((1 << 32) - 1, (1 << 32) - 1, layers=bytes(8), picture=merged(PACKBITS), version=2)),
	Case("length.psb", REFUSED, 0, lambda: psd(1, 1, layers=struct.pack(">Q", 1 << 63), version=2)),
	Case("wide-row.psd", DESCRIBED, 0, lambda: psd(22000000, 1, picture=merged(PACKBITS, struct.pack(">HHH", 2, 2, 2) + b"\x81\0" * 3))),
	Case("wide-layer.psd", DESCRIBED, 0, lambda: wide_layer(60000000)),
	Case("zip-layer.psd", LOADED, 17, lambda: zip_layer(3000, 2000)),
	Case("columns.psd", DESCRIBED, 0, lambda: columns(100)),
	Case("channels.psd", REFUSED, 0, lambda: packed_channels(32767, 128)),
	Case("channels-short.psd", REFUSED, 0, lambda: psd(300000, 300000, 32767, picture=merged(PACKBITS))),
	Case("palette.psd", REFUSED, 0, lambda: psd(1, 1, 1, INDEXED_MODE, palette=section(bytes(768), MOST_INT32))),
	Case("layer-count.psd", REFUSED, 0, lambda: psd_pixel(layers=layer_section([record()], count=-32768))),
	Case("layers.psd", LOADED, 0, lambda: psd_pixel(layers=layer_section([record()] * 16000, bytes(32000))), 16000),
	Case("layer-channels.psd", LOADED, 0, lambda: psd_pixel(layers=layer_section([record(channels=((0, 2),) * 32000)]))),
	Case("blocks.psd", LOADED, 0, lambda: psd_pixel(layers=layer_section([record(blocks=block(b"abcd", b"") * 80000)], bytes(2)))),
	Case("name.psd", REFUSED, 0, lambda: psd_pixel(layers=layer_section([record(blocks=block(b"luni", struct.pack(">I", 1 << 31)))]))),
	Case("mask.psd", DESCRIBED, 0, masked_layer),
	Case("open-groups.psd", REFUSED, 0, lambda: psd_pixel(layers=layer_section([divider(3)] * 10000))),
	Case("groups.psd", LOADED, 0, lambda: groups(99, 60), 2 * 99 * 60),
	Case("resources.psd", LOADED, 0, lambda: psd_pixel(resource(1, count=80000))),
	Case("resources-of-alphas.psd", LOADED, 0, lambda: psd_pixel(resource(1007, count=60000), channels=56)),
	Case("exif-claims.psd", LOADED, 0, lambda: psd_pixel(resource(1058, exif_claims(MIB)))),
	Case("profile-claims.psd", LOADED, 0, lambda: psd_pixel(resource(1039, icc_head((1 << 32) - 1)))),
]
