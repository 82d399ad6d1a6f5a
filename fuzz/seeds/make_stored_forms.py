#!/usr/bin/env python3
"""Makes the inputs of layer_set and storage, the same bytes in each run: elements of name, type and value behind their lengths."""
import pathlib
import struct

BYTES, INTS, TEXTS = ("net.torvi.datatype.array." + kind for kind in ("uchar", "int64", "string"))
TEXT, ID = "net.torvi.datatype.string", "net.torvi.datatype.id"
FORMAT = "net.torvi.image.pixelformat."
CLASS = "net.torvi.image.imagepixelstorageclass."


def label(text):
	return struct.pack("<I", len(text)) + text.encode()


def element(name, kind, value):
	return label(name) + label(kind) + struct.pack("<Q", len(value)) + value


def int64(name, value):
	return element(name, "int64", struct.pack("<q", value))


def layer_set(mode, image, *names, alpha=False):
	texts = b"".join(struct.pack("<Q", len(name.encode())) + name.encode() for name in names)
	return element("_layers", TEXTS, texts) + element("_selectedImage", TEXT, image.encode()) + \
		element("_layersetMode", "uint32", struct.pack("<I", mode)) + element("_calculateAlpha", "bool", bytes((alpha,)))


def storage(width, height, pixel_format, offsets, data=None):
	"""offsets: where channels begin in a pixel, and its bits. Without data the storage is the one that has none."""
	line = (width * offsets[-1] + 7) // 8
	members = element("_class", ID, (CLASS + ("nodata" if data is None else "normal")).encode())
	members += int64("_width", width) + int64("_height", height) + int64("_bytesPerLine", line)
	members += int64("_bitsPerPixel", offsets[-1]) + int64("_channels", len(offsets) - 1)
	members += element("_channelOffsets", INTS, struct.pack(f"<{len(offsets)}q", *offsets))
	members += element("_pixelFormatId", ID, (FORMAT + pixel_format).encode())
	if data is not None:
		members += element("_data", BYTES, bytes(data(i) & 255 for i in range(line * height)))
	return element("_storePixels", "net.torvi.image.interface.imagepixelstorage", members)


def main():
	folder = pathlib.Path(__file__).parent
	files = {
		"layer_set/layers": layer_set(0, "", "Outer", "Outer\\inner", "\u00e4"),
		"layer_set/masks": layer_set(1, "#2", "inner\\Alpha", alpha=True),
		"layer_set/alphas": layer_set(2, "Front", "", "matte"),
		"storage/grey": storage(5, 3, "grey.u8", (0, 8), lambda i: 17 * i),
		"storage/rgba": storage(2, 2, "rgba.f16", (0, 16, 32, 48, 64), lambda i: 60 if i % 2 else 7 * i),
		"storage/bits": storage(11, 2, "indexed.u1bit", (0, 1), lambda i: 0xA5 + i),
		"storage/dynamic": storage(3, 1, "{uchar#Green,uint16#Depth}", (0, 8, 24), lambda i: 29 * i),
		"storage/nodata": storage(640, 480, "rgb.u8", (0, 8, 16, 24)),
		"storage/empty": storage(0, 7, "rgb.u8", (0, 8, 16, 24), lambda i: 0),
	}
	for name, data in files.items():
		path = folder / name
		path.parent.mkdir(exist_ok=True)
		path.write_bytes(data)


main()
