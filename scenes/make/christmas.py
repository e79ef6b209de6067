"""Builds the tree's ornaments of scenes/xmasball.mi and paints its room.

Ornaments hang from the origin: their cap's ring is there, and they reach down along -y.
"""

import math
import random

import numpy

from parts import make
from picture import fractal, least, mix, paint, png, smooth
from robot import aim, tube, turned_part
from shapes import Mesh, arc, curve, normalised


def cap():
    """The metal cap, 0.22 high, with its ring; the glass begins at y = -0.32."""
    def crimped(angle, radius, y):
        return radius * (1 + 0.05 * math.sin(18 * angle) * (y < -0.20))

    mesh = Mesh()
    mesh.lathe([[(0.152, -0.36), (0.150, -0.22)], [(0.150, -0.22), (0.13, -0.19), (0.05, -0.18)],
                arc(0, -0.18, 0.05, 0, 90, 4)], 72, radius_at=crimped)
    mesh.ring(0.075, 0.014, "z", 28, 8, (0, -0.075, 0))
    mesh.faces += tube([(0, -0.02, 0), (0.003, 0.5, 0), (0, 1.0, 0)], 0.006, 6).faces
    return mesh


def bulb(profile, segments=72, fold=None):
    mesh = Mesh()
    mesh.lathe([profile], segments, radius_at=fold)
    return mesh


def ball():
    return bulb(arc(0, -1.30, 1.0, -90, 81, 44))


def drop():
    """A drop that ends in a needle."""
    return bulb(curve([(0, -3.15), (0.035, -2.8), (0.09, -2.45), (0.30, -2.05), (0.66, -1.60),
                       (0.80, -1.20), (0.68, -0.80), (0.36, -0.50), (0.15, -0.30)], 6))


def onion():
    """A flat onion with soft lobes."""
    def lobes(angle, radius, y):
        return radius * (1 + 0.05 * (abs(math.cos(5 * angle)) - 0.6) * smooth(0.2, 0.8, radius))

    return bulb(curve([(0, -2.02), (0.07, -1.94), (0.30, -1.80), (0.78, -1.52), (1.04, -1.16),
                       (0.86, -0.82), (0.42, -0.60), (0.20, -0.46), (0.15, -0.30)], 5), 90, lobes)


def reflector():
    """A ball with a starry hollow in its side, towards +z."""
    mesh = Mesh()
    rim, depth = 0.62, 0.34
    profile = [(0, math.sqrt(1 - rim * rim) - depth)]
    profile += [(rim * k / 10, math.sqrt(1 - rim * rim) - depth * (1 - (k / 10) ** 1.4))
                for k in range(1, 11)]

    hollow = Mesh()
    points, texture = [], []
    for k, (r, h) in enumerate(profile[::-1]):
        row = []
        for s in range(97):
            a = 2 * math.pi * (s % 96) / 96
            lift = 0.055 * math.cos(12 * a) * math.sin(math.pi * min(1, r / rim)) if r else 0
            row.append((r * math.sin(a), h + lift, r * math.cos(a)))
        points.append(row)
        texture.append([(s / 96, k / 10, 0) for s in range(97)])
    hollow.grid(points, texture, closed=True)
    shell = turned_part([arc(0, 0, 1.0, -90, math.degrees(math.acos(rim)), 34)], 64)
    for part in (hollow, shell):
        aim(mesh, part, (0, 0, 1), (0, -1.30, 0), (0, 1, 0))
    return mesh


def twig():
    """A fir twig of length 1 along +x: a stem and flat-lying needles to its sides and above."""
    chance, mesh = random.Random(5), Mesh()
    mesh.faces += tube([(0, 0, 0), (0.5, 0.01, 0), (1.0, 0, 0)], [0.022, 0.016, 0.008], 6).faces
    for k in range(150):
        x = 0.02 + 0.98 * k / 150
        turn = math.radians(chance.choice((-1, 1)) * chance.gauss(70, 38))
        out = (0.75 + chance.uniform(-0.15, 0.2), math.cos(turn), math.sin(turn))
        length = (0.20 + 0.05 * chance.random()) * (1 - 0.35 * x)
        d = normalised(out)
        tip = (x + length * d[0], length * d[1] - 0.01, length * d[2])
        middle = tuple((a + b) / 2 + (0.012 if i == 1 else 0) for i, (a, b) in enumerate(zip((x, 0, 0), tip)))
        mesh.faces += tube([(x, 0, 0), middle, tip], [0.006, 0.0085, 0.001], 4).faces
    return mesh


def branch():
    """The branch that twigs grow on, from x = -6 to 5.2."""
    run = curve(BRANCH, 8)
    mesh = Mesh()
    mesh.faces += tube(run, [0.10 - 0.085 * k / (len(run) - 1) for k in range(len(run))], 10).faces
    return mesh


BRANCH = [(-6, 2.35, -0.6), (-3.6, 2.00, -0.2), (-1.2, 1.80, 0.1), (1.2, 1.68, 0.1), (3.4, 1.45, 0.2),
          (5.2, 1.05, 0.4)]


# ---- The room: longitude and latitude of what is painted, in degrees.

def disc(x, y, cx, cy, radius, edge=0.5):
    dx = ((x - cx + 180) % 360 - 180) * math.cos(math.radians(cy))
    return smooth(radius + edge, radius - edge, numpy.hypot(dx, y - cy))


def inside(x, y, left, right, low, high, edge=0.8):
    x = (x - left) % 360 + left
    return smooth(-edge, edge, least(x - left, right - x, y - low, high - y))


def sparks():
    chance = random.Random(8)
    colors = ((1.0, 0.72, 0.30), (1.0, 0.55, 0.20), (1.0, 0.85, 0.55), (0.95, 0.30, 0.16), (0.55, 0.75, 0.45))
    return [(chance.gauss(6, 30), chance.uniform(-20, 22), chance.uniform(1.0, 2.3), chance.choice(colors),
             chance.uniform(0.25, 0.75)) for _ in range(95)]


SPARKS = sparks()


def room(u, v):
    """A parlour on a winter's evening; what lies towards -z is out of focus, as behind a lens."""
    x, y = 360 * u - 180, 180 * v - 90
    wall = mix((0.34, 0.17, 0.10), (0.20, 0.095, 0.06), smooth(0, 42, y))
    wall = mix(wall, (0.62, 0.36, 0.18), 0.6 * numpy.exp(-((x - 118) / 42) ** 2 - ((y - 10) / 30) ** 2))
    ceiling = mix((0.52, 0.38, 0.26), (0.72, 0.58, 0.42), smooth(46, 88, y))
    boards = 0.85 + 0.25 * fractal(x / 3.0 % 360, y / 40, 2, seed=3)
    floor = tuple(c * boards for c in mix((0.26, 0.12, 0.055), (0.40, 0.20, 0.09), smooth(-25, -75, y)))
    color = mix(floor, wall, smooth(-19, -16, y))
    color = mix(color, ceiling, smooth(42, 44, y))
    color = mix(color, (0.16, 0.075, 0.04), inside(x, y, -181, 181, -18, -13, 0.5))

    # Hang a blue window at the left of the camera and one behind it; each has six panes.
    for left in (-118, 168):
        color = mix(color, (0.80, 0.68, 0.54), inside(x, y, left - 3, left + 39, -9, 40))
        for column in range(2):
            for row in range(3):
                pane = inside(x, y, left + 18.5 * column, left + 17 + 18.5 * column, -6 + 15 * row, 7.5 + 15 * row)
                color = mix(color, mix((0.62, 0.76, 0.98), (0.20, 0.34, 0.70), smooth(-8, 40, y)), pane)
        for side in (left - 14, left + 38):
            color = mix(color, (0.42, 0.06, 0.05), inside(x, y, side, side + 12, -17, 43) * (0.8 + 0.2 * numpy.sin(2.2 * x)))

    # Light a fire at the right, and a lamp on either side of it.
    color = mix(color, (0.46, 0.38, 0.32), inside(x, y, 84, 142, -17, 12))
    color = mix(color, (0.58, 0.48, 0.40), inside(x, y, 80, 146, 12, 16))
    hearth = inside(x, y, 95, 131, -17, 6)
    flame = numpy.exp(-((x - 113) / 12) ** 2) * smooth(6, -16, y + 5 * numpy.sin(x * 0.9))
    color = mix(color, mix((0.16, 0.05, 0.02), (1.0, 0.72, 0.26), least(1.0, 1.5 * flame)), hearth)
    for lamp in (66, 158):
        glow = 0.45 * numpy.exp(-((x - lamp) / 12) ** 2 - ((y - 14) / 13) ** 2)
        color = mix(color, (0.98, 0.80, 0.50), glow * (y > -19))
        color = mix(color, (1.0, 0.93, 0.76), inside(x, y, lamp - 6, lamp + 6, 10, 21))
    color = mix(color, (1.0, 0.95, 0.84), disc(x, y, -60, 74, 9))

    # Blur what the camera sees: a dark tree with its lights as large, faint discs.
    far = smooth(74, 48, abs(x)) * smooth(58, 34, abs(y))
    dim = mix((0.115, 0.052, 0.032), (0.26, 0.13, 0.065), numpy.exp(-((x - 26) / 30) ** 2 - ((y + 6) / 20) ** 2))
    color = mix(color, dim, far)
    for cx, cy, radius, light, strength in SPARKS:
        at = numpy.flatnonzero((abs(x - cx) < 9) & (abs(y - cy) < 4))
        d = disc(x[at], y[at], cx, cy, radius, 0.5)
        for a, b in zip(color, light):
            a[at] += strength * far[at] * 0.62 * d * b
    return color


PARTS = (("bauble_cap", cap, "The cap of a bauble and the thread that it hangs from."),
         ("bauble_ball", ball, "A bauble of radius 1."), ("bauble_drop", drop, "A bauble like a drop, 3.1 long."),
         ("bauble_onion", onion, "A bauble like an onion, with lobes."),
         ("bauble_reflector", reflector, "A bauble of radius 1 with a hollow towards +z."),
         ("fir_twig", twig, "A fir twig of length 1 along +x."),
         ("fir_branch", branch, "A bare branch of a fir."))

if __name__ == "__main__":
    make(PARTS, [("textures/parlour.png", lambda: png(paint(768, 384, room, 1, 256)))])
