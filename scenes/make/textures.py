"""Paints the textures of the scenes' objects.

tiles.png  two by two marble floor tiles, dark and light; repeats
wood.png   a walnut board, grain along v; repeats in v
globe.png  a painted globe of a world that does not exist: longitude across, north up
strokes.png  white strokes of a dry brush on black, for a cartoon's lines
"""

import math

import numpy

from parts import make
from picture import fractal, least, mix, noise, paint, png, scaled, smooth, where


def tiles(u, v):
    """Cream and umber marble with dark joints."""
    column, row = (u * 2).astype(int), (v * 2).astype(int)
    x, y = u * 2 - column, v * 2 - row
    joint = least(x, 1 - x, y, 1 - y)
    light = (column + row) % 2 == 0
    seed = 1 + column + 2 * row
    bend = fractal(u * 5, v * 5, 3, seed=seed)
    vein = abs(numpy.sin(9 * (u * numpy.where(light, 1, -1) + v * 0.6 + 0.5 * bend) + seed))
    ground = where(light, (0.80, 0.73, 0.62), (0.27, 0.18, 0.13))
    streak = where(light, (0.55, 0.45, 0.36), (0.47, 0.36, 0.27))
    color = mix(scaled(ground, 0.90 + 0.2 * bend), streak, 0.7 * smooth(0.16, 0.0, vein))
    return mix((0.08, 0.07, 0.06), color, smooth(0.008, 0.016, joint))


def wood(u, v):
    """Long streaks that wander a little, with fine pores."""
    drift = u + 0.05 * (noise(3, v * 4, 4) - 0.5)
    rings = 0.5 + 0.5 * numpy.sin(34 * drift + 5 * noise(drift * 5, v * 4, 4, seed=2))
    pores = noise(u * 90, v * 8, 8, seed=4)
    color = mix((0.42, 0.24, 0.13), (0.72, 0.47, 0.27), rings)
    return scaled(color, 0.80 + 0.30 * pores)


def height_at(longitude, latitude):
    """Relief of the imaginary world, above 0 on land."""
    x = numpy.cos(latitude) * numpy.sin(longitude)
    y, z = numpy.sin(latitude), numpy.cos(latitude) * numpy.cos(longitude)
    first = fractal(1.9 * x + 7.3, 1.9 * y + 1.2 * z + 3.1, 4, seed=11)
    second = fractal(1.9 * z + 4.4, 1.9 * y - 1.2 * x + 9.7, 4, seed=31)
    return first + second - 1.07


def globe(u, v):
    """Parchment lands by height on a faded sea, with a graticule and brown coasts."""
    longitude, latitude = 2 * math.pi * u, math.pi * (v - 0.5)
    height = height_at(longitude, latitude)
    low, high = (0.86, 0.66, 0.30), (0.62, 0.25, 0.13)
    green = (0.38, 0.52, 0.22)
    land = mix(green, low, smooth(0.0, 0.10, height + 0.06 * numpy.sin(3 * latitude)))
    land = mix(land, high, smooth(0.10, 0.24, height))
    sea = mix((0.20, 0.50, 0.56), (0.06, 0.22, 0.36), smooth(0.0, -0.22, height))
    color = where(height > 0, land, sea)
    color = mix((0.22, 0.12, 0.06), color, smooth(0.002, 0.012, abs(height)))
    color = where(abs(latitude) > 1.30 + 0.05 * numpy.sin(5 * longitude), (0.90, 0.87, 0.78), color)

    # Draw a line every 15 degrees, as wide on the sphere everywhere.
    step = math.pi / 12
    east = abs((longitude + step / 2) % step - step / 2) * numpy.cos(latitude)
    east = numpy.where(abs(latitude) > 5 * step, 1.0, east)
    north = abs((latitude + step / 2) % step - step / 2)
    return mix(color, (0.30, 0.20, 0.10), 0.55 * smooth(0.009, 0.005, least(east, north)))


def strokes(u, v):
    """Slanting strokes with frayed ends: white or black."""
    x, y = u * 6 + v * 0.9, v * 9 - u * 1.6
    row = numpy.floor(y)
    reach = 2.2 + 3.4 * noise(row * 0.73, 3.1, seed=9)
    bristle = fractal(x * 0.9, y * 12, 3, seed=5)
    inside = least(x - 0.7 - 0.5 * noise(row * 1.9, 7.7), reach + 0.6 - x, 1.2)
    edge = least(y - row, row + 1 - y)
    return ((bristle < 0.35 + 0.5 * inside) & (edge > 0.12 * bristle),) * 3


if __name__ == "__main__":
    make(files=[("textures/tiles.png", lambda: png(paint(384, 384, tiles, 2, 48))),
                ("textures/wood.png", lambda: png(paint(256, 256, wood, 2, 40))),
                ("textures/globe.png", lambda: png(paint(640, 320, globe, 2, 48))),
                ("textures/strokes.png", lambda: png(paint(420, 350, strokes, 1, 2)))])
