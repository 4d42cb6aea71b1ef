#!/usr/bin/env python3
"""Makes the seed corpora of the fuzz targets: make_corpus.py FOLDER

Pictures come from samples/, with small sizes put into their headers and their tails cut off, so that a decode
takes next to no time; cache files come from tests/data/, and some are made here.
"""
import pathlib
import struct
import sys
import zlib

ROOT = pathlib.Path(__file__).resolve().parent.parent
WIDTH, HEIGHT = 56, 40
MOST_BYTES = 6000
MOST_DATA_BYTES = 60000


def shrink_jpeg(data):
    at = 2
    while at + 9 < len(data) and data[at] == 0xFF:
        marker, length = data[at + 1], struct.unpack_from(">H", data, at + 2)[0]
        if 0xC0 <= marker <= 0xCF and marker not in (0xC4, 0xC8, 0xCC):
            struct.pack_into(">HH", data, at + 5, HEIGHT, WIDTH)
        if marker == 0xDA:
            break
        at += 2 + length


def shrink_gif(data):
    struct.pack_into("<HH", data, 6, WIDTH, HEIGHT)
    start = data.find(b"\x2c\0\0\0\0")
    if start > 0:
        struct.pack_into("<HH", data, start + 5, WIDTH, HEIGHT)


def shrink_webp(data):
    for at in range(12, len(data) - 16):
        if data[at:at + 4] == b"VP8X":
            data[at + 12:at + 18] = struct.pack("<I", WIDTH - 1)[:3] + struct.pack("<I", HEIGHT - 1)[:3]
        elif data[at:at + 4] == b"VP8 ":
            struct.pack_into("<HH", data, at + 14, WIDTH, HEIGHT)
            return
        elif data[at:at + 4] == b"VP8L":
            bits = struct.unpack_from("<I", data, at + 9)[0]
            struct.pack_into("<I", data, at + 9, bits >> 28 << 28 | (HEIGHT - 1) << 14 | WIDTH - 1)
            return


def shrink_tiff(data):
    order = "<" if data[:2] == b"II" else ">"
    directory = struct.unpack_from(order + "I", data, 4)[0]
    for i in range(struct.unpack_from(order + "H", data, directory)[0]):
        at = directory + 2 + 12 * i
        tag, kind = struct.unpack_from(order + "HH", data, at)
        if tag in (256, 257):
            struct.pack_into(order + ("H" if kind == 3 else "I"), data, at + 8, WIDTH if tag == 256 else HEIGHT)


def shrink_bmp(data):
    struct.pack_into("<ii", data, 18, WIDTH, HEIGHT)


def cut(data, name):
    # The directory of a TIFF may stand at its end.
    return data if name in ("tiff", "bmp") else data[:MOST_BYTES]


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def pngs():
    """Every pixel layout, plain and interlaced."""
    depths = {0: (1, 2, 4, 8, 16), 2: (8, 16), 3: (1, 4, 8), 4: (8, 16), 6: (8, 16)}
    channels = {0: 1, 2: 3, 3: 1, 4: 2, 6: 4}
    for colour, bits in depths.items():
        for depth in bits:
            for interlaced in (0, 1):
                row = bytes(i * 37 % 256 for i in range((17 * channels[colour] * depth + 7) // 8))
                head = struct.pack(">IIBBBBB", 17, 11, depth, colour, 0, 0, interlaced)
                pixels = b"".join(bytes([y % 5]) + row for y in range(22))
                palette = chunk(b"PLTE", bytes(range(48))) if colour == 3 else b""
                clear = chunk(b"tRNS", bytes(6 if colour == 2 else 2)) if colour < 4 else b""
                yield (f"{colour}-{depth}-{interlaced}.png", b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + palette
                       + clear + chunk(b"IDAT", zlib.compress(pixels)) + chunk(b"IEND", b""))


def png_rows():
    """Scanlines with every filter, plain and compressed, behind what tells how to take them."""
    bits_per_pixel = (1, 2, 4, 8, 16, 24, 48, 1, 2, 4, 8, 16, 32, 32, 64)
    for kind, bits in enumerate(bits_per_pixel):
        for width in (5, 40):
            row = bytes(i * 37 % 256 for i in range((width * bits + 7) // 8))
            scanlines = b"".join(bytes([y % 5]) + row for y in range(30))
            yield f"rows-{kind}-{width}", bytes([kind, width - 1, 6]) + scanlines
            yield f"transparent-{kind}-{width}", bytes([kind, width - 1, 32 + 8]) + scanlines
            if bits < 24:
                continue
            for level, strategy in ((0, 0), (1, 0), (9, 0), (6, zlib.Z_FIXED), (6, zlib.Z_HUFFMAN_ONLY)):
                deflate = zlib.compressobj(level, zlib.DEFLATED, -15, 9, strategy)
                data = deflate.compress(scanlines) + deflate.flush()
                yield f"data-{kind}-{width}-{level}-{strategy}", bytes([kind, width - 1, 16 + 9]) + data


def text(value):
    return struct.pack("<I", len(value)) + value.encode("utf-16-le")


def record(path, version=2, offset=0, deleted=0, kind=1):
    data = struct.pack("<I", version) + text(path) + struct.pack("<I", kind) + text("1.db") + bytes(12)
    data += struct.pack("<iiii", offset, 80, offset + 80, 40) + bytes([deleted]) + bytes(7)
    data += struct.pack("<II", 300, 200)
    return data + (struct.pack("<ii", -1, 0) if version == 2 else b"")


def folder(path, number):
    return struct.pack("<I", 1) + text(path) + text(f"{number}.db") + text(f"{number}.dat") + struct.pack("<i", number)


def counted(records, count=None):
    return struct.pack("<i", len(records) if count is None else count) + b"".join(records)


def cache_seeds():
    yield "datetime", "eight", bytes(range(8))
    yield "datetime", "seven", bytes(7)
    blocks = [record(f"/a/{i}.jpg", offset=132 * i) for i in range(4)]
    yield "list", "four", counted(blocks)
    yield "list", "marked", counted([record("/a/0.jpg", deleted=1), blocks[1], blocks[1]])
    yield "list", "versions", counted([record("/a/0.jpg", version=1), blocks[2]])
    yield "list", "video", counted([record("/a/0.mp4", kind=3), record("/a/1.wav", kind=2)])
    yield "index", "two", counted([folder("/a", 1), folder("/b", 2)])
    yield "index", "same", counted([folder("/a", 1), folder("/a", 2)], 9)
    yield "index", "numbers", counted([folder("C:\\P", 1), folder("/a", 2147483647)])


def test_data():
    for path in sorted((ROOT / "tests" / "data").rglob("*.dat")):
        target = "index" if path.name == "DirectoryMap.dat" else "list"
        yield target, f"{path.parent.name}-{path.name}", path.read_bytes()


def pictures():
    shrinkers = {"jpeg": (shrink_jpeg, (".jpg", ".JPG")), "gif": (shrink_gif, (".gif",)),
                 "webp": (shrink_webp, (".webp",)), "tiff": (shrink_tiff, (".tif", ".tiff")),
                 "bmp": (shrink_bmp, (".bmp",)), "png": (lambda data: None, (".png",))}
    for path in sorted(ROOT.glob("samples/*")) + sorted((ROOT / "tests" / "data").rglob("*")):
        for name, (shrink, endings) in shrinkers.items():
            if path.suffix in endings and path.stat().st_size <= MOST_DATA_BYTES * 2:
                data = bytearray(path.read_bytes())
                shrink(data)
                yield name, path.name, bytes(cut(data, name))[:MOST_DATA_BYTES]


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__.splitlines()[0])
    seeds = list(cache_seeds()) + list(test_data()) + list(pictures())
    seeds += [("png", name, data) for name, data in pngs()]
    seeds += [("pngrows", name, data) for name, data in png_rows()]
    for target, name, data in seeds:
        corpus = pathlib.Path(sys.argv[1]) / target
        corpus.mkdir(parents=True, exist_ok=True)
        (corpus / name).write_bytes(data)


main()
