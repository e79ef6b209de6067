"""Pictures for the scenes: a PNG writer and the arithmetic of painting by formula.

A painter is a function (x, y) -> (r, g, b) with values from 0 to 1. Standard library only.
"""

import math
import struct
import zlib

BLACK = (0.0, 0.0, 0.0)


def mix(a, b, t):
    """The colour (or tuple) that lies the fraction t of the way from a to b."""
    return tuple(p + (q - p) * t for p, q in zip(a, b))


def scaled(color, factor):
    return tuple(c * factor for c in color)


def clamp(value, low=0.0, high=1.0):
    return min(max(value, low), high)


def smooth(low, high, value):
    """0 below low, 1 above high, an S between them."""
    t = clamp((value - low) / (high - low))
    return t * t * (3 - 2 * t)


def _lattice(x, y, seed):
    """A fixed pseudo-random number from 0 to 1 for a lattice point."""
    h = (x * 374761393 + y * 668265263 + seed * 2147483647 + 974634777) & 0xFFFFFFFF
    h = ((h ^ (h >> 13)) * 1274126177) & 0xFFFFFFFF
    return ((h ^ (h >> 16)) & 0xFFFF) / 65535.0


def noise(x, y, period=1 << 20, seed=0):
    """Value noise from 0 to 1 that repeats after period lattice cells in x and in y."""
    i, j = math.floor(x), math.floor(y)
    s, t = x - i, y - j
    s, t = s * s * (3 - 2 * s), t * t * (3 - 2 * t)
    i0, i1, j0, j1 = i % period, (i + 1) % period, j % period, (j + 1) % period
    low = _lattice(i0, j0, seed) * (1 - s) + _lattice(i1, j0, seed) * s
    high = _lattice(i0, j1, seed) * (1 - s) + _lattice(i1, j1, seed) * s
    return low * (1 - t) + high * t


def fractal(x, y, octaves, period=1 << 20, seed=0):
    """Sum of octaves of noise, each half as strong and twice as fine; 0 to 1."""
    total, weight, strength = 0.0, 0.0, 1.0
    for k in range(octaves):
        total += strength * noise(x, y, period, seed + k)
        weight += strength
        x, y, period, strength = 2 * x, 2 * y, 2 * period, strength / 2
    return total / weight


def paint(width, height, painter, samples=3, levels=64):
    """Rows of bytes, top row first; samples x samples points a pixel are averaged.

    The painter gets x from 0 to 1 to the right and y from 0 to 1 upwards. Values are rounded
    to levels steps, which keeps the files small.
    """
    rows = []
    for row in range(height):
        line = bytearray()
        for column in range(width):
            r = g = b = 0.0
            for k in range(samples * samples):
                x = (column + (k % samples + 0.5) / samples) / width
                y = 1 - (row + (k // samples + 0.5) / samples) / height
                p = painter(x, y)
                r, g, b = r + p[0], g + p[1], b + p[2]
            for value in (r, g, b):
                step = round(clamp(value / (samples * samples)) * (levels - 1))
                line.append(round(step * 255 / (levels - 1)))
        rows.append(bytes(line))
    return rows


def _filtered(row, above):
    """A PNG row behind the filter (none, left, up) whose differences are smallest."""
    left = bytes((v - (row[i - 3] if i > 2 else 0)) & 255 for i, v in enumerate(row))
    up = bytes((v - above[i]) & 255 for i, v in enumerate(row))
    candidates = ((0, row), (1, left), (2, up))
    kind, data = min(candidates, key=lambda c: sum(min(v, 256 - v) for v in c[1]))
    return bytes((kind,)) + data


def write_png(path, rows):
    """Writes rows of r, g, b bytes as an 8-bit PNG."""
    def chunk(kind, data):
        checked = kind + data
        return struct.pack(">I", len(data)) + checked + struct.pack(">I", zlib.crc32(checked))

    width = len(rows[0]) // 3
    header = struct.pack(">IIBBBBB", width, len(rows), 8, 2, 0, 0, 0)
    above = bytes(len(rows[0]))
    body = bytearray()
    for row in rows:
        body += _filtered(row, above)
        above = row
    with open(path, "wb") as file:
        file.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) +
                   chunk(b"IDAT", zlib.compress(bytes(body), 9)) + chunk(b"IEND", b""))
    print(f"{path}: {width} x {len(rows)}")
