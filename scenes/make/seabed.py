"""Builds the seabed of scenes/dense_vol.mi.

caustics.png is the pattern of light below waves, for a slide: it repeats. Lengths are in metres.
"""

import math
import random

import numpy

from harbour import put
from parts import make
from picture import fractal, noise, paint, png, smooth
from shapes import Mesh, curve


def sand():
    """60 wide and 90 long, its front edge at z = 6: dunes, and ripples that run across."""
    mesh = Mesh()
    rows, texture = [], []
    for i in range(76):
        z = 6 - 0.25 * i - 0.0140 * i * i
        row = []
        for j in range(51):
            s = j / 25 - 1
            x = 30 * s * (0.35 + 0.65 * abs(s))
            dune = 1.5 * (fractal(0.11 * x + 9, 0.11 * z + 40, 3, seed=2) - 0.5)
            ripple = 0.035 * math.sin(5 * z + 2.5 * noise(0.6 * x + 50, 0.5 * z + 50, seed=5))
            row.append((x, dune + ripple * (z > -10), z))
        rows.append(row)
        texture.append([(p[0] / 4, p[2] / 4, 0) for p in row])
    mesh.grid(rows, texture)
    return mesh


def fish(bend=0.10):
    """A fish 0.5 long that swims towards -z, its tail bent to the side."""
    mesh = Mesh()
    outline = curve([(-0.20, 0.004, 0.004), (-0.17, 0.045, 0.030), (-0.08, 0.088, 0.048),
                     (0.04, 0.080, 0.040), (0.14, 0.036, 0.018), (0.19, 0.024, 0.008)], 2)

    def side(z):
        return bend * max(0.0, z + 0.08) ** 2 * 6

    rows = [[(side(z) + w * math.sin(a), h * math.cos(a) - 0.01 * math.sin(a) ** 2, z)
             for a in (2 * math.pi * (k % 12) / 12 for k in range(13))] for z, h, w in outline]
    mesh.grid(rows[::-1], [[(k / 12, i / 10, 0) for k in range(13)] for i in range(len(rows))],
              closed=True)

    # Fins are blades that are seen from both sides: tail, back, belly.
    for points in (((0.17, 0.02), (0.31, 0.12), (0.27, 0.0), (0.31, -0.12), (0.17, -0.02)),
                   ((-0.06, 0.08), (0.02, 0.135), (0.10, 0.105), (0.12, 0.045)),
                   ((0.02, -0.075), (0.06, -0.125), (0.11, -0.10), (0.12, -0.045))):
        blade = [(side(z), y, z) for z, y in points]
        for a, b in zip(blade[1:], blade[2:]):
            mesh.flat([blade[0], a, b])
    return mesh


def school():
    """Thirty fish that swim towards -x, in a lens 5 long and 2 high about the origin."""
    chance, mesh = random.Random(8), Mesh()
    while len(mesh.faces) < 30 * len(fish().faces):
        x, y, z = (chance.uniform(-1, 1) for _ in range(3))
        if x * x + y * y + z * z > 1 or chance.random() < 0.35 * abs(x):
            continue
        put(mesh, fish(chance.uniform(-0.4, 0.4)), 2.6 * x, 0.9 * y + 0.25 * x * x, 1.5 * z,
            90 + chance.uniform(-14, 14))
    return mesh


def kelp():
    """A bunch of swaying blades, up to 3.4 high, about the origin."""
    chance, mesh = random.Random(4), Mesh()
    for _ in range(13):
        x, z, tall = chance.uniform(-.5, .5), chance.uniform(-.4, .4), chance.uniform(1.5, 3.4)
        turn, phase = chance.uniform(0, math.pi), chance.uniform(0, 6)
        rows, texture = [], []
        for i in range(19):
            t = i / 18
            sway = 0.35 * t * math.sin(2.4 * t * tall + phase) + 0.5 * t * t
            width = 0.085 * smooth(0, 0.12, t) * (1 - t) ** 0.5 + 0.006
            twist = turn + 1.8 * t
            row = []
            for k in (-1, 0, 1):
                wave = 0.03 * k * k * math.sin(22 * t * tall + k)
                row.append((x + sway + k * width * math.cos(twist), tall * t,
                            z + k * width * math.sin(twist) + wave))
            rows.append(row)
            texture.append([(k / 2, t, 0) for k in range(3)])
        mesh.grid(rows, texture)
    return mesh


def caustics(u, v):
    """Bright lines where two folded fields of waves are near their middle; repeats."""
    x = u + 0.10 * (fractal(4 * u, 4 * v, 2, 4, seed=5) - 0.5)
    y = v + 0.10 * (fractal(4 * u, 4 * v, 2, 4, seed=8) - 0.5)
    a = abs(fractal(6 * x, 6 * y, 2, 6, seed=11) - 0.5)
    b = abs(fractal(7 * x, 7 * y, 2, 7, seed=17) - 0.5)
    line = numpy.maximum(smooth(0.10, 0.0, a), 0.8 * smooth(0.09, 0.0, b))
    value = 0.30 + 0.25 * smooth(0.30, 0.05, a) + 0.55 * line * line
    return (0.92 * value, value, value)


OBJECTS = (
    ("seabed_sand", sand, "A seabed of sand, 60 wide, from z = 6 to z = -92, with dunes about y = 0."),
    ("seabed_fish", fish, "A fish, 0.5 long, about the origin; it swims towards -z."),
    ("seabed_school", school, "Thirty fish in a school 5 long about the origin; they swim towards -x."),
    ("seabed_kelp", kelp, "A bunch of kelp on y = 0, 3.4 high."),
)

if __name__ == "__main__":
    make(OBJECTS, [("slides/caustics.png", lambda: png(paint(320, 320, caustics, 1, 64)))])
