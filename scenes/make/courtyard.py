"""Paints the plate of scenes/shadow_matte.mi and makes bricks and torch of scenes/peekaboo.mi.

The plate stands for a photograph: a courtyard as the scene's camera sees it, the paving at y = 0 and a
wall at z = -1.5. The sun shines along SUN, where the scene's key light shines along as well.
"""

import math

import numpy

from parts import make
from picture import (by_case, clamp, fractal, least, mix, noise, paint, png, scaled, smooth, where)
from place import axes_of
from robot import aim, turned_part
from shapes import Mesh

CAMERA, TARGET, FOCAL = (0.4, 2.1, 7.4), (0.4, 1.28, 0.0), 40 / 36  # focal length over aperture
SUN = (0.72, -0.62, -0.62)
WALL = -1.5
ASPECT = 16 / 9


def ground(x, z):
    """Flags of sandstone in courses of different widths, with dark joints."""
    course = numpy.floor(z / 0.62)
    shift = 0.37 * course + 0.23 * numpy.sin(7 * course)
    column = numpy.floor((x + shift) / 0.95)
    dx = abs((x + shift) / 0.95 - column - 0.5) * 0.95
    dz = abs(z / 0.62 - course - 0.5) * 0.62
    edge = least(0.475 - dx, 0.31 - dz) + 0.010 * (noise(9 * x, 9 * z, seed=4) - 0.5)
    tone = noise(3.7 * column + 11, 5.3 * course + 3, seed=21)
    color = mix((0.60, 0.51, 0.41), (0.74, 0.66, 0.55), tone)
    color = scaled(color, 0.82 + 0.34 * fractal(2.3 * x, 2.3 * z, 4, seed=8))
    return mix((0.30, 0.25, 0.20), color, smooth(0.004, 0.020, edge))


def frame(x, y, left, right, low, high):
    """How deep a point lies inside a rectangle; below 0 outside."""
    return least(x - left, right - x, y - low, high - y)


def plank(x, pitch):
    return smooth(0.012, 0.022, abs((x / pitch) % 1 - 0.5) * -pitch + pitch / 2)


def wall(x, y):
    """Ochre plaster over a plinth of stone, a blue door on the right, a shuttered window on the left."""
    color = mix((0.80, 0.56, 0.30), (0.90, 0.68, 0.42), fractal(0.8 * x, 0.8 * y, 4, seed=2))
    color = scaled(color, 0.92 + 0.14 * fractal(7 * x, 7 * y, 3, seed=12))
    worn = smooth(0.60, 0.68, fractal(0.9 * x + 7, 1.3 * y, 4, seed=31) + 0.10 * smooth(1.0, 0.3, y))
    color = mix(color, scaled((0.78, 0.72, 0.64), 0.85 + 0.3 * noise(14 * x, 14 * y, seed=5)), 0.75 * worn)
    color = mix(color, (0.46, 0.36, 0.26), 0.35 * smooth(0.9, 0.36, y))

    # Set the plinth's stones.
    k = numpy.floor(x / 0.8)
    tone = noise(2.9 * k + 5, 1.1, seed=14)
    stone = mix((0.56, 0.52, 0.47), (0.68, 0.63, 0.56), tone)
    stone = scaled(stone, 0.85 + 0.3 * fractal(4 * x, 4 * y, 3, seed=9))
    gap = least(abs(x / 0.8 - k - 0.5) * -0.8 + 0.4, 0.42 - y)
    stone = mix((0.30, 0.26, 0.22), stone, smooth(0.004, 0.016, gap))
    color = where(y < 0.42 + 0.012 * noise(5 * x, 0, seed=6), stone, color)

    door, window = frame(x, y, 2.35, 3.85, -0.1, 2.75), frame(x, y, -2.95, -1.45, 1.15, 3.05)
    sill = (-3.05 < x) & (x < -1.35) & (1.07 < y) & (y < 1.15)
    return by_case((x, y, *color), (sill, (0.78, 0.72, 0.63)), (door > 0, doorway),
                   (window > 0, shutters), (x == x, lambda _, __, *own: own))


def stones(x, y, inside, ground, seed):
    """The stone around an opening, darker at its edge."""
    color = scaled(ground, 0.86 + 0.28 * fractal(5 * x, 5 * y, 3, seed=seed))
    return scaled(color, 1 - 0.35 * smooth(0.014, 0.0, inside))


def doorway(x, y, *_):
    color = stones(x, y, frame(x, y, 2.35, 3.85, -0.1, 2.75), (0.72, 0.66, 0.57), 17)
    leaf = scaled((0.16, 0.36, 0.52), 0.80 + 0.40 * fractal(22 * x, 1.6 * y, 3, seed=18))
    leaf = scaled(leaf, 0.55 + 0.45 * plank(x - 2.55, 0.22))
    leaf = scaled(leaf, 0.45 + 0.55 * smooth(0.0, 0.10, least(x - 2.55, 2.55 - y)))
    hinges = (least(abs(y - 0.55), abs(y - 2.05)) < 0.05) & (x < 3.5)
    leaf = where(hinges, (0.15, 0.14, 0.14), leaf)
    color = where(frame(x, y, 2.55, 3.65, 0.06, 2.55) > 0, leaf, color)
    return where(numpy.hypot(x - 3.50, y - 1.22) < 0.055, (0.62, 0.48, 0.22), color)


def shutters(x, y, *_):
    color = stones(x, y, frame(x, y, -2.95, -1.45, 1.15, 3.05), (0.76, 0.70, 0.61), 19)
    wood = scaled((0.25, 0.42, 0.30), 0.85 + 0.3 * fractal(3 * x, 16 * y, 2, seed=20))
    slats = 0.55 + 0.45 * smooth(0.0, 0.5, (y / 0.085) % 1)
    inner = frame(abs(x + 2.20), y, 0.10, 0.48, 1.45, 2.77)
    wood = scaled(wood, numpy.where(inner > 0, slats, 0.9))
    wood = scaled(wood, 0.4 + 0.6 * smooth(0.0, 0.02, abs(x + 2.20)))
    wood = scaled(wood, 0.50 + 0.50 * smooth(0.0, 0.09, least(x + 2.78, 2.90 - y)))
    return where(frame(x, y, -2.78, -1.62, 1.32, 2.90) > 0, wood, color)


def foliage(p):
    """The shadow of a tree outside the picture: how much of the sun reaches a point."""
    t = p[1] / SUN[1]  # along the sun, down to the ground
    a, b = p[0] - t * SUN[0], p[2] - t * SUN[2]
    leaves = smooth(0.50, 0.57, fractal(2.1 * a, 2.1 * b, 4, seed=40))
    far = smooth(-2.2, -4.4, a + 0.25 * b) + smooth(4.9, 6.4, a - 0.2 * b)
    return 1 - 0.62 * leaves * clamp(far)


def standing(x, y, z):
    return scaled(wall(x, y), 0.96 * (1 - 0.35 * numpy.exp(-y / 0.05)))


def lying(x, y, z):
    return scaled(ground(x, z), 1.08 * (1 - 0.40 * numpy.exp(-(z - WALL) / 0.10)))


def plate(u, v):
    x, y, z = AXES
    s, t = (u - 0.5) / FOCAL, (v - 0.5) / FOCAL / ASPECT
    d = tuple(s * a + t * b - c for a, b, c in zip(x, y, z))

    # Take what the ray through each place meets first.
    far = (WALL - CAMERA[2]) / d[2]
    stands = CAMERA[1] + far * d[1] >= 0
    far = numpy.where(stands, far, -CAMERA[1] / numpy.where(stands, 1, d[1]))
    p = tuple(c + far * e for c, e in zip(CAMERA, d))
    color = by_case(p, (stands, standing), (~stands, lying))
    sun = foliage(p)
    color = tuple(c * f for c, f in zip(color, mix((0.86, 0.92, 1.0), (1.06, 1.0, 0.92), sun)))
    vignette = 1 - 0.22 * ((2 * u - 1) ** 2 + (2 * v - 1) ** 2) / 2
    return scaled(color, sun * vignette)


AXES = axes_of(CAMERA, TARGET, [0.0, 1.0, 0.0])


def bricks(u, v):
    """Courses of eight by sixteen, one repeat; joints are dark, so that it serves as a relief as well."""
    row = numpy.floor(16 * v)
    x = 8 * u + 0.5 * (row % 2)
    column = numpy.floor(x) % 8
    wobble = 0.02 * (noise(64 * u, 64 * v, 64, seed=3) - 0.5)
    edge = least(0.5 - abs(x - numpy.floor(x) - 0.5), (0.5 - abs(16 * v - row - 0.5)) / 2) + wobble
    tone = noise(3.3 * column + 2, 7.7 * row + 5, seed=6)
    color = mix((0.50, 0.20, 0.13), (0.76, 0.40, 0.27), tone)
    burnt = noise(5.1 * column, 3.7 * row + 1, seed=9) > 0.80
    color = where(burnt, (0.40, 0.22, 0.20), color)
    color = scaled(color, 0.72 + 0.5 * fractal(32 * u, 32 * v, 3, 32, seed=4))
    return mix((0.26, 0.235, 0.21), color, smooth(0.016, 0.055, edge))


def torch():
    """A torch 0.65 long that shines along -z; its glass lies at the origin."""
    mesh = Mesh()
    runs = [[(0, -0.65), (0.075, -0.65), (0.09, -0.63)], [(0.09, -0.63), (0.09, -0.57)]]
    for k in range(7):
        radius = 0.085 if k % 2 else 0.078
        runs.append([(radius, -0.57 + 0.05 * k), (radius, -0.52 + 0.05 * k)])
    runs += [[(0.085, -0.22), (0.135, -0.11), (0.150, -0.10)], [(0.150, -0.10), (0.150, 0.02)],
             [(0.150, 0.02), (0.125, -0.01)], [(0.125, -0.01), (0, -0.01)]]
    aim(mesh, turned_part(runs, 40), (0, 0, -1), (0, 0, 0), (0, 1, 0))
    return mesh


if __name__ == "__main__":
    make([("torch", torch, "A torch that shines along -z.")],
         [("textures/bricks.png", lambda: png(paint(512, 512, bricks, 1, 48))),
          ("textures/courtyard.png", lambda: png(paint(960, 540, plate, 1, 64)))])
