"""Pictures for the scenes: painting by formula, and the bytes of a PNG file.

A painter is a function (x, y) -> (r, g, b) with values from 0 to 1. It is given many points at
once: x, y and what it returns are arrays, or numbers where all points share them. The functions
below take numbers as well.
"""

import functools
import math
import struct
import zlib

import numpy

BLACK = (0.0, 0.0, 0.0)
BLOCK = 1 << 15  # points that are painted at once; their arrays fit the cache


def mix(a, b, t):
    """The color (or tuple) that lies the fraction t of the way from a to b."""
    return tuple(p + (q - p) * t for p, q in zip(a, b))


def scaled(color, factor):
    return tuple(c * factor for c in color)


def least(*values):
    return functools.reduce(numpy.minimum, values)


def clamp(value, low=0.0, high=1.0):
    if isinstance(value, numpy.ndarray):
        return numpy.minimum(numpy.maximum(value, low), high)
    return min(max(value, low), high)


def smooth(low, high, value):
    """0 below low, 1 above high, an S between them."""
    t = clamp((value - low) / (high - low))
    return t * t * (3 - 2 * t)


def where(condition, a, b):
    """The color a where a condition holds, b elsewhere."""
    return tuple(numpy.where(condition, p, q) for p, q in zip(a, b))


def pick(colors, index):
    """Of some colors the one of each point."""
    return tuple(channel[index] for channel in numpy.array(colors, float).T)


def by_case(values, *cases):
    """The colors of points by the first case that holds: pairs of a condition and a color, or a
    painter, which is given the values at the points of its case alone."""
    color = numpy.zeros((3, len(values[0])))
    left = numpy.ones(len(values[0]), bool)
    for condition, painter in cases:
        at = numpy.flatnonzero(left & condition)
        left &= ~condition
        if at.size:
            own = painter(*(v[at] for v in values)) if callable(painter) else painter
            for channel, value in zip(color, own):
                channel[at] = value
    return tuple(color)


def _lattice(x, y, seed):
    """A fixed pseudo-random number from 0 to 1 for a lattice point."""
    h = (x * 374761393 + y * 668265263 + seed * 2147483647 + 974634777) & 0xFFFFFFFF
    h = ((h ^ (h >> 13)) * 1274126177) & 0xFFFFFFFF
    return ((h ^ (h >> 16)) & 0xFFFF) / 65535.0


def _lattices(columns, rows):
    """The same for arrays: sums of two of its three terms, and the third; modulo 2**32."""
    h = columns + rows
    h ^= h >> 13
    h *= numpy.uint32(1274126177)
    h ^= h >> 16
    h &= numpy.uint32(0xFFFF)
    return h / 65535.0


def _cells(value, period, factor, more=0):
    """Terms of the lattice cells that values lie in and of the next; where in them, smoothed."""
    floor = numpy.floor(value)
    part = value - floor
    cell = numpy.asarray(floor).astype(numpy.int64)
    power = period & (period - 1) == 0
    terms = [((c & (period - 1) if power else c % period) * factor + more).astype(numpy.uint32)
             for c in (cell, cell + 1)]
    return terms, part * part * (3 - 2 * part)


def noise(x, y, period=1 << 20, seed=0):
    """Value noise from 0 to 1 that repeats after period lattice cells in x and in y."""
    if isinstance(x, numpy.ndarray) or isinstance(y, numpy.ndarray):
        (i0, i1), s = _cells(x, period, 374761393, seed * 2147483647 + 974634777)
        (j0, j1), t = _cells(y, period, 668265263)
        at = _lattices
    else:
        i, j = math.floor(x), math.floor(y)
        s, t = x - i, y - j
        s, t = s * s * (3 - 2 * s), t * t * (3 - 2 * t)
        i0, i1, j0, j1 = i % period, (i + 1) % period, j % period, (j + 1) % period
        at = functools.partial(_lattice, seed=seed)
    low = at(i0, j0) * (1 - s) + at(i1, j0) * s
    high = at(i0, j1) * (1 - s) + at(i1, j1) * s
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
    """An array of bytes, top row first; samples x samples points a pixel are averaged.

    The painter's x goes from 0 to 1 to the right, y from 0 to 1 upwards. Values are rounded to
    levels steps, which keeps the files small.
    """
    picture = numpy.empty((height, width, 3), numpy.uint8)
    k = numpy.arange(samples * samples)[:, None]
    across = (numpy.arange(width) + (k % samples + 0.5) / samples) / width
    tall = max(1, BLOCK // (width * samples * samples))
    for top in range(0, height, tall):
        rows = numpy.arange(top, min(top + tall, height))
        down = 1 - (rows + (k // samples + 0.5) / samples) / height
        shape = (samples * samples, len(rows), width)
        x = numpy.broadcast_to(across[:, None, :], shape).ravel()
        y = numpy.broadcast_to(down[:, :, None], shape).ravel()
        for channel, value in enumerate(painter(x, y)):
            mean = numpy.broadcast_to(value, x.shape).reshape(shape).sum(axis=0) / shape[0]
            steps = numpy.rint(numpy.clip(mean, 0, 1) * (levels - 1))
            picture[rows, :, channel] = numpy.rint(steps * 255 / (levels - 1))
    return picture


def png(picture):
    """The bytes of an 8-bit PNG of an array of rows of r, g, b."""
    def chunk(kind, data):
        checked = kind + data
        return struct.pack(">I", len(data)) + checked + struct.pack(">I", zlib.crc32(checked))

    height, width = picture.shape[:2]
    above, before = numpy.zeros_like(picture), numpy.zeros_like(picture)
    above[1:], before[:, 1:] = picture[:-1], picture[:, :-1]

    # Take for each row the filter (none, left, up) whose differences are smallest.
    filtered = numpy.stack((picture, picture - before, picture - above)).reshape(3, height, -1)
    kinds = numpy.minimum(filtered, -filtered).sum(axis=2, dtype=int).argmin(axis=0)
    rows = numpy.column_stack((kinds.astype(numpy.uint8), filtered[kinds, numpy.arange(height)]))
    header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) +
            chunk(b"IDAT", zlib.compress(rows.tobytes(), 6)) + chunk(b"IEND", b""))
