#!/usr/bin/env python3
"""Writes EmptyImage_240.png, the stock picture for files that yield no thumbnail of their own.

A picture frame with a sun and two hills, in greys that keep their contrast on light and on dark grounds;
240 x 240 pixels, transparent around the frame. Needs nothing beyond Python's standard library:

    python3 make_empty_image.py
"""
import struct
import zlib
from pathlib import Path

SIZE = 240
SAMPLES = 4  # per pixel and direction

# Grey and alpha, 0 to 255.
NOTHING = (0, 0)
RIM = (128, 255)
GROUND = (226, 255)
SUN = (168, 255)
FAR_HILL = (186, 255)
NEAR_HILL = (152, 255)


def inside_rounded(x, y, left, top, right, bottom, radius):
    """Whether a point lies in a rectangle with rounded corners."""
    dx = max(left + radius - x, x - (right - radius), 0)
    dy = max(top + radius - y, y - (bottom - radius), 0)
    return left <= x <= right and top <= y <= bottom and dx * dx + dy * dy <= radius * radius


def hill(x, peak_x, peak_y, slope, rounding):
    """Height of the edge of a hill at x: two straight flanks, joined by a curve at the peak."""
    return peak_y + slope * (((x - peak_x) ** 2 + rounding ** 2) ** 0.5 - rounding)


def colour_at(x, y):
    if not inside_rounded(x, y, 20, 44, 220, 196, 20):
        return NOTHING
    if not inside_rounded(x, y, 29, 53, 211, 187, 12):
        return RIM
    if y >= hill(x, 88, 112, 0.86, 9):
        return NEAR_HILL
    if y >= hill(x, 158, 127, 0.72, 9):
        return FAR_HILL
    if (x - 164) ** 2 + (y - 88) ** 2 <= 15 ** 2:
        return SUN
    return GROUND


def pixel(column, row):
    """The mean of the samples of a pixel; grey is weighted by alpha."""
    samples = [colour_at(column + (i + 0.5) / SAMPLES, row + (j + 0.5) / SAMPLES)
               for j in range(SAMPLES) for i in range(SAMPLES)]
    alphas = sum(alpha for _, alpha in samples)
    if alphas == 0:
        return bytes(4)
    grey = round(sum(grey * alpha for grey, alpha in samples) / alphas)
    return bytes((grey, grey, grey, round(alphas / len(samples))))


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def main():
    rows = b"".join(b"\0" + b"".join(pixel(x, y) for x in range(SIZE)) for y in range(SIZE))
    header = struct.pack(">IIBBBBB", SIZE, SIZE, 8, 6, 0, 0, 0)
    png = (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows, 9)) +
           chunk(b"IEND", b""))
    Path(__file__).with_name("EmptyImage_240.png").write_bytes(png)


if __name__ == "__main__":
    main()
