"""Builds the twig of scenes/translucent.mi.

A leaf is 1 long: it grows from the origin along +y, with its upper side towards +z.
"""

import math
import random

import numpy

from parts import make
from picture import fractal, mix, noise, paint, png, scaled, smooth
from robot import tube
from shapes import Mesh, curve

WIDTH, PAINTED = 0.31, 0.36  # half the widest part of a leaf, and of the one that its veins are painted for
VEINS, SLOPE = 8.5, 0.75  # side veins along the blade, and how steeply they rise


def half_width(t, widest=WIDTH):
    """Half the blade's width at a part t of its length, without teeth."""
    width = widest * (numpy.sin(math.pi * t ** 0.82) ** 0.78) * (1 - 0.12 * t)
    return width * ((0 < t) & (t < 1))


def leaf(bend, fold, wave, seed):
    """bend: how far the tip falls back; fold: depth of the V across; wave: height of the ripples."""
    rows, texture = [], []
    for i in range(89):
        t = i / 88
        tooth = 1 + 0.075 * abs(((t - SLOPE * half_width(t)) * VEINS * 2) % 1 - 0.45) * smooth(0.04, 0.2, t)
        half = half_width(t) * tooth
        row = []
        for k in range(15):
            s = k / 7 - 1
            x = s * half
            ripple = wave * math.sin(2 * math.pi * VEINS * (t - SLOPE * abs(x)) / 1.0) * abs(s)
            roll = 2.5 * wave * math.sin(5 * t + seed + 1.5 * s) * s * s
            row.append((x, 0.12 + 0.88 * t - 0.10 * bend * t * t, fold * abs(x) - bend * t * t + ripple + roll))
        rows.append(row)
        texture.append([(0.5 + s * half / (2 * WIDTH * 1.06), t, 0) for s in (k / 7 - 1 for k in range(15))])
    mesh = Mesh()
    mesh.grid(rows, texture)

    # Add the stalk and, as its continuation, the rib below the blade.
    rib = [(0, 0, 0), (0.004, 0.06, 0.0)] + [
        (0, 0.12 + 0.88 * t - 0.10 * bend * t * t, -bend * t * t - 0.004) for t in (0, 0.2, 0.4, 0.6, 0.8)]
    path = curve(rib, 4)
    stalk = tube(path, [0.012 - 0.009 * k / (len(path) - 1) for k in range(len(path))], 8)
    for face in stalk.faces:
        mesh.face([(p, n, (0.5, 0.02, 0)) for p, n, _ in face])
    return mesh


def twig():
    """A twig along the run, with buds at its end and where the leaves grow."""
    mesh = Mesh()
    run = curve(RUN, 8)
    mesh.faces += tube(run, [0.055 - 0.040 * k / (len(run) - 1) + (0.008 if k % 8 == 0 else 0)
                             for k in range(len(run))], 14).faces
    bud = curve([RUN[-1], (2.86, 0.47, 0.02), (2.98, 0.45, 0.03), (3.12, 0.41, 0.04)], 4)
    mesh.faces += tube(bud, [0.015 + 0.022 * math.sin(math.pi * (k / 12) ** 0.7) for k in range(13)], 12).faces
    return mesh


RUN = [(-3.6, 1.30, -0.10), (-2.4, 1.22, 0.0), (-1.5, 1.02, 0.05), (-0.6, 0.96, 0.0), (0.3, 0.80, -0.05),
       (1.2, 0.76, 0.0), (2.0, 0.58, 0.02), (2.75, 0.50, 0.0)]


def vein(u, v):
    """Ribs of a leaf: 1 on midrib, side veins and, weaker, on the net between them."""
    x, t = 2 * PAINTED * 1.06 * (u - 0.5), v
    middle = smooth(0.011 * (1 - 0.8 * t) + 0.004, 0.0, abs(x))
    side = (t - SLOPE * abs(x) - 0.55 * x * x) * VEINS
    gap = abs((side + 0.5) % 1 - 0.5) / VEINS * 0.8
    reach = numpy.maximum(0.0, 1 - abs(x) / (half_width(t, PAINTED) + 1e-6))
    thin = smooth(0.0022 + 0.005 * reach, 0.0008, gap) * smooth(-0.6, 0.0, side) * (0.35 + 0.65 * reach ** 0.5)
    across = abs((22 * abs(x) * (1 + 0.3 * t) + 0.5 * noise(30 * u, 14 * v, seed=3)) % 1 - 0.5)
    along = abs((4 * side + 0.7 * noise(24 * u, 30 * v, seed=9)) % 1 - 0.5)
    net = 0.26 * numpy.maximum(smooth(0.10, 0.02, across), 0.7 * smooth(0.13, 0.02, along)) * (1 - 0.4 * reach)
    return numpy.maximum(numpy.maximum(middle, thin), net)


def leaf_color(u, v):
    """Fresh green, yellower towards the tip, with a few brown specks."""
    green = mix((0.52, 0.74, 0.16), (0.72, 0.82, 0.20), smooth(0.3, 1.0, v + 0.5 * abs(u - 0.5)))
    green = scaled(green, 0.82 + 0.36 * fractal(5 * u, 7 * v, 4, seed=2))
    green = mix(green, (0.62, 0.66, 0.30), 0.55 * vein(u, v))
    return mix(green, (0.36, 0.24, 0.07), 0.85 * smooth(0.95, 0.985, noise(20 * u, 28 * v, seed=17)))


def leaf_light(u, v):
    """How much light comes through."""
    light = (1 - 0.72 * vein(u, v)) * (0.78 + 0.32 * fractal(6 * u, 9 * v, 3, seed=5))
    light *= 1 - 0.5 * smooth(0.95, 0.985, noise(20 * u, 28 * v, seed=17))
    return (light, light, light)


def sparks():
    """Gaps between far leaves, out of focus: x, y, radius, color, strength."""
    chance = random.Random(4)
    colors = ((0.95, 0.92, 0.55), (0.75, 0.88, 0.40), (0.55, 0.78, 0.35), (1.0, 0.95, 0.75), (0.50, 0.72, 0.55))
    return [(chance.uniform(0, 16 / 9), 0.25 + chance.gauss(0.42, 0.25), chance.uniform(0.018, 0.062),
             chance.choice(colors), chance.uniform(0.10, 0.34)) for _ in range(85)]


SPARKS = sparks()


def glade(u, v):
    """A wood behind the twig, far out of focus, with the sun above on the left."""
    x, y = 16 / 9 * u, v
    color = mix((0.035, 0.070, 0.040), (0.15, 0.27, 0.10), smooth(0.0, 1.0, y + 0.25 * fractal(3 * u, 2 * v, 2, seed=6)))
    glow = numpy.exp(-((x - 0.50) / 0.55) ** 2 - ((y - 0.98) / 0.42) ** 2)
    color = mix(color, (0.80, 0.84, 0.45), 0.72 * glow)
    for trunk, wide in ((0.30, 0.10), (0.98, 0.07), (1.42, 0.13), (1.66, 0.06)):
        color = mix(color, (0.045, 0.050, 0.035), 0.6 * numpy.exp(-((x - trunk - 0.03 * y) / wide) ** 2) * smooth(1.2, 0.2, y))
    for cx, cy, r, light, strength in SPARKS:
        at = numpy.flatnonzero((abs(y - cy) < r + 0.01) & (abs(x - cx) < r + 0.01))
        d = numpy.hypot(x[at] - cx, y[at] - cy)
        disc = smooth(r + 0.006, r - 0.006, d) * (0.72 + 0.28 * smooth(0.5 * r, r, d))
        for a, b in zip(color, light):
            a[at] += (1 - a[at]) * strength * disc * b
    return color


def lantern():
    """A paper lantern about the y axis, 1.9 high, with ribs; it is open above and below."""
    ribs, run = 11, []
    for k in range(5 * ribs + 1):
        a = math.pi * (0.135 + 0.73 * k / (5 * ribs))
        crease = abs(math.sin(math.pi * k / 5)) ** 0.7
        r = 0.94 * math.sin(a) * (1 + 0.022 * crease)
        run.append((r, 1.02 - 0.98 * math.cos(a)))
    mesh = Mesh()
    mesh.lathe([run], 64)
    return mesh


OBJECTS = (("leaf", lambda: leaf(0.10, 0.16, 0.006, 0), "A leaf of length 1 along +y."),
           ("leaf_bent", lambda: leaf(0.34, 0.30, 0.010, 2),
            "A leaf of length 1 along +y whose tip falls back."),
           ("twig", twig, "A twig from x = -3.6 to 3.1."),
           ("lantern", lantern, "A paper lantern, 1.9 high."))

if __name__ == "__main__":
    make(OBJECTS, [(f"textures/{name}.png", lambda p=painter, s=size: png(paint(*s, p, 2, 128)))
                   for name, painter, size in (("leaf", leaf_color, (288, 400)),
                                               ("leaf_light", leaf_light, (288, 400)),
                                               ("glade", glade, (480, 270)))])
