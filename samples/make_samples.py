#!/usr/bin/env python3
"""Writes the sample files that stand beside this script; README.md says what each one shows.

Every picture is computed: a landscape with the sun at the top left and a red, a green and a blue square, in
this order, at the bottom right; or a balloon on a transparent ground with a soft shadow to its lower right.
So a picture that is turned, mirrored, or has its colours or its alpha mixed up is seen at a glance. Nothing
depends on chance or on the clock: a second run writes the same bytes.

Needs Pillow, on Debian the package python3-pil:

    /usr/bin/python3 make_samples.py
"""
import io
import math
import random
import struct
import wave
import zlib
from pathlib import Path

from PIL import Image, ImageDraw, ImageFilter

FOLDER = Path(__file__).resolve().parent
OVERSAMPLING = 2

# Sky at the top, sky at the horizon, sun, nearest hill.
DAY = ((70, 130, 200), (214, 234, 246), (255, 244, 200), (38, 84, 58))
DAWN = ((84, 88, 160), (255, 190, 150), (255, 226, 170), (52, 44, 82))
DUSK = ((40, 34, 84), (246, 130, 84), (255, 214, 120), (34, 24, 50))
AUTUMN = ((128, 166, 196), (246, 232, 204), (255, 240, 190), (122, 62, 28))
WINTER = ((140, 164, 190), (238, 242, 248), (255, 252, 236), (70, 92, 120))
NIGHT = ((8, 12, 40), (44, 70, 118), (236, 238, 226), (6, 14, 26))

RED, GREEN, BLUE = (220, 30, 30), (30, 170, 60), (30, 60, 220)


# --- Pictures -------------------------------------------------------------------------------------------

def blend(a, b, share):
    return tuple(round(x + (y - x) * share) for x, y in zip(a, b))


def sky(width, height, top, horizon):
    column = Image.new("RGB", (1, height))
    for y in range(height):
        column.putpixel((0, y), blend(top, horizon, min(1, y / (0.7 * height))))
    return column.resize((width, height))


def put_sun(picture, colour):
    width, height = picture.size
    radius = round(0.07 * min(width, height))
    x, y = round(0.24 * width), round(0.25 * height)
    reach = 5 * radius
    distance = Image.radial_gradient("L").resize((2 * reach, 2 * reach))  # about 180 where the axes end
    glow = distance.point(lambda d: max(0, 180 - d) ** 2 // 200)
    picture.paste(colour, (x - reach, y - reach), glow)
    ImageDraw.Draw(picture).ellipse((x - radius, y - radius, x + radius, y + radius), fill=colour)


def ridge(chance, width, height, base, swing):
    """The height of a chain of hills at every x: a few waves of growing frequency."""
    waves = [(k, chance.uniform(0, 2 * math.pi), swing / k) for k in (1, 2.3, 5.1, 9.7, 19.3)]
    return [height * (base + sum(a * math.sin(k * 5 * x / width + phase) for k, phase, a in waves))
            for x in range(width)]


def put_hills(picture, chance, horizon, near):
    width, height = picture.size
    draw = ImageDraw.Draw(picture)
    for layer in range(5):
        share = layer / 4
        line = ridge(chance, width, height, 0.52 + 0.1 * layer, 0.05 - 0.006 * layer)
        colour = blend(horizon, near, 0.25 + 0.75 * share)
        draw.polygon([(0, height), *enumerate(line), (width, height)], fill=colour)
        if layer >= 3:
            put_trees(draw, chance, line, height, blend(colour, (0, 0, 0), 0.25))


def put_trees(draw, chance, line, height, colour):
    for _ in range(40):
        x = chance.randrange(len(line))
        tall = height * chance.uniform(0.02, 0.06)
        foot = line[x] + tall * 0.15
        draw.polygon([(x - tall / 4, foot), (x, foot - tall), (x + tall / 4, foot)], fill=colour)


def put_squares(picture):
    width, height = picture.size
    side = round(0.07 * min(width, height))
    draw = ImageDraw.Draw(picture)
    for i, colour in enumerate((RED, GREEN, BLUE)):
        x, y = width - (4 - i) * round(1.3 * side), height - round(1.6 * side)
        draw.rectangle((x, y, x + side, y + side), fill=colour, outline="white", width=max(1, side // 12))


def landscape(width, height, mood, seed):
    top, horizon, sun, near = mood
    picture = sky(width * OVERSAMPLING, height * OVERSAMPLING, top, horizon)
    put_sun(picture, sun)
    put_hills(picture, random.Random(seed), horizon, near)
    put_squares(picture)
    return picture.resize((width, height), Image.Resampling.BOX)


def envelope(shape, cx, cy, radius):
    """The balloon's upright stripes, painted from left to right, each over the rest of the envelope."""
    colours = (RED, (250, 250, 250), GREEN, (250, 210, 60), BLUE, (250, 250, 250), RED)
    for i, colour in enumerate(colours):
        stripe = Image.new("L", shape.size)
        draw = ImageDraw.Draw(stripe)
        draw.ellipse((cx - radius, cy - radius, cx + radius, cy + 1.12 * radius), fill=255)
        draw.rectangle((0, 0, cx - radius * math.cos(math.pi * (i + 0.5) / 7.5), shape.height), fill=0)
        shape.paste((*colour, 255), (0, 0), stripe)


def balloon(width, height):
    """A balloon in front of nothing: opaque, with soft edges and a shadow that is half transparent."""
    w, h = width * OVERSAMPLING, height * OVERSAMPLING
    shape = Image.new("RGBA", (w, h))
    draw = ImageDraw.Draw(shape)
    cx, cy, r = 0.44 * w, 0.36 * h, 0.3 * min(w, h)
    for side in (-1, 1):
        rope = (cx + side * 0.5 * r, cy + 0.8 * r, cx + side * 0.18 * r, cy + 1.55 * r)
        draw.line(rope, fill=(90, 70, 50, 255), width=max(2, round(r / 30)))
    draw.rectangle((cx - 0.2 * r, cy + 1.55 * r, cx + 0.2 * r, cy + 1.85 * r), fill=(150, 100, 50, 255))
    envelope(shape, cx, cy, r)
    shadow = Image.new("L", (w, h))
    shadow.paste(shape.getchannel("A").point(lambda a: a // 2), (round(0.12 * w), round(0.1 * h)))
    result = Image.new("RGBA", (w, h), (20, 20, 40, 0))
    result.putalpha(shadow.filter(ImageFilter.GaussianBlur(0.03 * w)))
    result.alpha_composite(shape)
    return result.resize((width, height), Image.Resampling.BOX)


# --- Files that Pillow does not write -------------------------------------------------------------------

def sixteen_bit(samples, byte_order):
    """Samples of 8 bits as 16-bit ones, each byte twice: 255 becomes 65535."""
    return struct.pack(f"{byte_order}{len(samples)}H", *(257 * sample for sample in samples))


def png_file(size, depth, colour_type, interlaced, rows):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    header = struct.pack(">IIBBBBB", *size, depth, colour_type, 0, 0, interlaced)
    packed = zlib.compress(b"".join(b"\1" + subtracted(row, depth // 8 * 3) for row in rows), 9)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", packed) + chunk(b"IEND", b"")


def subtracted(row, distance):
    """PNG's filter 1: what each byte adds to that of the pixel before."""
    return row[:distance] + bytes((b - a) & 255 for a, b in zip(row, row[distance:]))


def sixteen_bit_png(picture):
    width, height = picture.size
    rows = (picture.crop((0, y, width, y + 1)).tobytes() for y in range(height))
    return png_file(picture.size, 16, 2, 0, (sixteen_bit(row, ">") for row in rows))


def interlaced_png(picture):
    """The seven passes of Adam7, each a picture of every so many columns and rows."""
    rows = []
    for x0, y0, dx, dy in ((0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4), (1, 0, 2, 2),
                           (0, 1, 1, 2)):
        for y in range(y0, picture.height, dy):
            rows.append(b"".join(bytes(picture.getpixel((x, y))) for x in range(x0, picture.width, dx)))
    return png_file(picture.size, 8, 2, 1, rows)


SHORT, LONG = 3, 4


def directory(entries, start, following=0, byte_order="<"):
    """A TIFF directory at offset `start`; values that do not fit their field come right behind it."""
    fields, extra = b"", b""
    behind = start + 2 + 12 * len(entries) + 4
    for tag, kind, *values in sorted(entries):
        packed = struct.pack(f"{byte_order}{len(values)}{'H' if kind == SHORT else 'I'}", *values)
        if len(packed) > 4:
            extra += packed
            packed = struct.pack(byte_order + "I", behind + len(extra) - len(packed))
        fields += struct.pack(byte_order + "HHI", tag, kind, len(values)) + packed.ljust(4, b"\0")
    return (struct.pack(byte_order + "H", len(entries)) + fields + struct.pack(byte_order + "I", following) +
            extra)


def tiff_file(picture, bits, pieces, more, piece_tags, byte_order):
    """A TIFF of deflated pieces: strips or tiles, as `piece_tags` (offsets, lengths) and `more` say."""
    packed = [zlib.compress(piece, 9) for piece in pieces]
    offsets = [8 + sum(map(len, packed[:i])) for i in range(len(packed))]
    padding = sum(map(len, packed)) % 2
    channels = len(picture.getbands())
    entries = [(256, LONG, picture.width), (257, LONG, picture.height), (258, SHORT, *[bits] * channels),
               (259, SHORT, 8), (262, SHORT, 2 if channels == 3 else 1), (277, SHORT, channels),
               (piece_tags[0], LONG, *offsets), (piece_tags[1], LONG, *map(len, packed)), *more]
    start = 8 + sum(map(len, packed)) + padding
    mark = b"II" if byte_order == "<" else b"MM"
    return (mark + struct.pack(byte_order + "HI", 42, start) + b"".join(packed) + b"\0" * padding +
            directory(entries, start, 0, byte_order))


def tiled_tiff(picture, side):
    pieces = [picture.crop((x, y, x + side, y + side)).tobytes()
              for y in range(0, picture.height, side) for x in range(0, picture.width, side)]
    return tiff_file(picture, 8, pieces, [(322, LONG, side), (323, LONG, side)], (324, 325), "<")


def sixteen_bit_tiff(picture):
    rows = 32
    pieces = [sixteen_bit(picture.crop((0, y, picture.width, min(y + rows, picture.height))).tobytes(), ">")
              for y in range(0, picture.height, rows)]
    return tiff_file(picture, 16, pieces, [(278, LONG, rows)], (273, 279), ">")


def exif_with_thumbnail(thumbnail):
    """EXIF of two directories: the picture's orientation, and the thumbnail with its two fields."""
    first = [(274, SHORT, 1)]
    second_start = 8 + len(directory(first, 8))
    second = [(259, SHORT, 6), (513, LONG, 0), (514, LONG, len(thumbnail))]
    second[1] = (513, LONG, second_start + len(directory(second, second_start)))
    return (b"Exif\0\0II*\0" + struct.pack("<I", 8) + directory(first, 8, second_start) +
            directory(second, second_start) + thumbnail)


# --- The files ------------------------------------------------------------------------------------------

def jpeg(picture, **options):
    stream = io.BytesIO()
    picture.save(stream, "JPEG", **{"quality": 80, "optimize": True, **options})
    return stream.getvalue()


def letter_boxed(picture, width, height):
    """The picture fitted into a box, with black bars where it does not reach."""
    fitted = picture.resize((width, round(width * picture.height / picture.width)), Image.Resampling.LANCZOS)
    box = Image.new("RGB", (width, height))
    box.paste(fitted, (0, (height - fitted.height) // 2))
    return box


def write_jpegs():
    baseline = jpeg(landscape(1600, 1200, DAY, 1))
    save("baseline.jpg", baseline)
    save("progressive.jpg", jpeg(landscape(1280, 960, DUSK, 2), progressive=True))
    save("grey.jpg", jpeg(landscape(800, 600, WINTER, 3).convert("L")))
    save("cmyk.jpg", jpeg(landscape(640, 480, AUTUMN, 4).convert("CMYK")))
    save("UPPER-CASE.JPG", jpeg(landscape(600, 800, NIGHT, 5)))
    save("Frühling 春の朝.jpg", jpeg(landscape(800, 500, DAY, 6)))
    # Drawn at half its size, so that it stays smooth and the file small.
    large = landscape(1500, 1000, DAWN, 7).resize((3000, 2000), Image.Resampling.BICUBIC)
    thumbnail = jpeg(letter_boxed(large, 160, 120))
    save("embedded-thumbnail.jpg", jpeg(large, quality=60, exif=exif_with_thumbnail(thumbnail)))
    save("cut-off.jpg", baseline[:len(baseline) * 3 // 5])
    save("damaged.jpg", baseline[:100] + bytes(range(256)))


def write_others():
    save("rgb.png", landscape(400, 300, AUTUMN, 8), optimize=True)
    save("transparent.png", balloon(320, 320), optimize=True)
    save("sixteen-bit.png", sixteen_bit_png(landscape(240, 180, DAY, 9)))
    save("interlaced.png", interlaced_png(landscape(240, 180, WINTER, 10)))
    save("palette.png", balloon(300, 300).quantize(256, method=Image.Quantize.FASTOCTREE), optimize=True)
    save("transparent.gif", transparent_palette(balloon(240, 240)), transparency=255, interlace=0)
    save("interlaced.gif", few_colours(landscape(320, 240, DUSK, 11), 128), interlace=1)
    save("lossy.webp", landscape(1200, 900, DAWN, 12), quality=75)
    save("transparent.webp", balloon(400, 400), lossless=True)
    save("strips.tif", landscape(240, 180, AUTUMN, 13), compression="tiff_lzw")
    save("tiles.tif", tiled_tiff(landscape(250, 190, DAY, 14), 64))
    save("sixteen-bit-grey.tif", sixteen_bit_tiff(landscape(200, 150, NIGHT, 15).convert("L")))
    save("true-colour.bmp", landscape(161, 120, WINTER, 16))
    save("palette.bmp", few_colours(landscape(200, 150, AUTUMN, 17), 200))


def few_colours(picture, count):
    return picture.quantize(count, method=Image.Quantize.MAXCOVERAGE)


def transparent_palette(picture):
    """For a format without half transparency: what is more opaque than not, entry 255 for the rest."""
    opaque = picture.convert("RGB").quantize(255, dither=0)
    opaque.paste(255, (0, 0), picture.getchannel("A").point(lambda a: 255 if a < 128 else 0))
    return opaque


def write_stand_ins():
    with wave.open(str(FOLDER / "audio.wav"), "wb") as file:
        file.setnchannels(1)
        file.setsampwidth(1)
        file.setframerate(8000)
        file.writeframes(bytes(round(128 + 90 * math.sin(2 * math.pi * 440 * i / 8000)) for i in range(800)))
    brand = struct.pack(">I4s4sI4s4s", 24, b"ftyp", b"isom", 512, b"isom", b"mp42")
    save("video.mp4", brand + struct.pack(">I4s", 8, b"free") + struct.pack(">I4s", 8, b"mdat"))


def save(name, content, **options):
    if isinstance(content, bytes):
        (FOLDER / name).write_bytes(content)
    else:
        content.save(FOLDER / name, **options)


if __name__ == "__main__":
    write_jpegs()
    write_others()
    write_stand_ins()
