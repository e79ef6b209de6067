"""Builds the tea table of scenes/toon_si.mi.

Every object stands on its own origin, y = 0 is the table. Lengths are in decimetres. Where runs of
a profile meet, normals are split, and that is where creases are drawn.
"""

import math

import numpy

from parts import make
from picture import mix, paint, png, smooth
from robot import aim, tube, turned_part
from shapes import Mesh, arc, curve


def pot():
    """The teapot's body with its foot and collar."""
    return turned_part([[(0, 0), (0.52, 0)], [(0.52, 0), (0.55, 0.08)],
                        curve([(0.55, 0.08), (0.80, 0.26), (0.95, 0.62), (0.90, 1.00), (0.66, 1.30),
                               (0.50, 1.38)], 8),
                        [(0.50, 1.38), (0.53, 1.43)], [(0.53, 1.43), (0.46, 1.43)],
                        [(0.46, 1.43), (0.46, 1.30)]], 64)


def lid():
    return turned_part([[(0.44, 1.42), (0.445, 1.45)],
                        curve([(0.445, 1.45), (0.36, 1.56), (0.20, 1.63), (0.07, 1.66)], 8),
                        curve([(0.07, 1.66), (0.065, 1.70), (0.12, 1.77), (0.12, 1.84), (0.07, 1.90),
                               (0, 1.915)], 5)], 48)


def spout():
    """Towards +x."""
    path = curve([(0.60, 0.42, 0), (0.98, 0.52, 0), (1.22, 0.82, 0), (1.34, 1.15, 0), (1.52, 1.36, 0)],
                 10)
    radii = [0.25 - 0.155 * smooth(0, 0.75, k / (len(path) - 1)) for k in range(len(path))]
    mesh = tube(path, radii, 40)

    # The mouth: a rim and the dark inside.
    a, b = path[-2], path[-1]
    along = tuple(q - p for p, q in zip(a, b))
    aim(mesh, turned_part([[(0.095, -0.01), (0.112, 0.02)], [(0.112, 0.02), (0.08, 0.03)],
                           [(0.08, 0.03), (0.06, -0.08), (0, -0.1)]], 40), along, b)
    return mesh


def handle():
    """Towards -x."""
    path = curve([(-0.55, 1.16, 0), (-0.75, 1.24, 0), (-1.02, 1.32, 0), (-1.30, 1.16, 0), (-1.34, 0.80, 0),
                  (-1.12, 0.48, 0), (-0.80, 0.40, 0), (-0.60, 0.38, 0)], 10)
    return tube(path, 0.095, 32)


def cup():
    """A cup with a round handle towards +x; it stands on its saucer."""
    mesh = turned_part([[(0, 0.10), (0.24, 0.10)], [(0.24, 0.10), (0.25, 0.16)],
                        curve([(0.25, 0.16), (0.40, 0.26), (0.50, 0.48), (0.545, 0.78)], 8),
                        arc(0.5275, 0.78, 0.0175, 0, 180, 6),
                        curve([(0.51, 0.78), (0.465, 0.50), (0.36, 0.30), (0, 0.22)], 5)], 56)
    loop = curve([(0.47, 0.66, 0), (0.64, 0.71, 0), (0.77, 0.60, 0), (0.74, 0.42, 0), (0.58, 0.33, 0),
                  (0.40, 0.31, 0)], 8)
    mesh.faces += tube(loop, 0.045, 24).faces
    return mesh


def saucer():
    return turned_part([[(0, 0), (0.42, 0)], [(0.42, 0), (0.44, 0.05)],
                        curve([(0.44, 0.05), (0.66, 0.10), (0.86, 0.20)], 6),
                        arc(0.85, 0.215, 0.018, -50, 120, 6),
                        curve([(0.841, 0.231), (0.66, 0.14), (0.46, 0.10), (0.30, 0.098), (0, 0.098)],
                              6)], 64)


def tea():
    return turned_part([[(0.52, 0.69), (0, 0.69)]], 64)


def bowl():
    return turned_part([[(0, 0), (0.46, 0)], [(0.46, 0), (0.48, 0.10)],
                        curve([(0.48, 0.10), (0.80, 0.22), (1.08, 0.52), (1.20, 0.84)], 7),
                        arc(1.175, 0.85, 0.028, -20, 180, 6),
                        curve([(1.147, 0.85), (1.02, 0.55), (0.72, 0.26), (0, 0.18)], 5)], 80)


def orange():
    """Navel up, with a star-shaped calyx."""
    mesh = Mesh()
    mesh.lathe([[(0.45 * math.cos(a) * (1 - 0.02 * math.sin(a) ** 8),
                  0.44 * math.sin(a) - 0.05 * max(0, math.sin(a)) ** 24) for a in
                 (math.pi * (k / 32 - 0.5) for k in range(33))]], 56)
    return mesh


def calyx():
    mesh = Mesh()
    mesh.lathe([curve([(0.075, 0.395), (0.05, 0.415), (0.022, 0.42)], 3),
                [(0.022, 0.42), (0.018, 0.46)], [(0.018, 0.46), (0, 0.46)]], 40,
               radius_at=lambda a, r, y: r * (1 + (0.32 * math.cos(5 * a) if r > 0.03 else 0)))
    return mesh


def pear():
    """A pear that leans a little."""
    mesh = turned_part([curve([(0, 0.03), (0.12, 0.0), (0.34, 0.10), (0.47, 0.36), (0.40, 0.68),
                               (0.24, 0.94), (0.17, 1.14), (0.08, 1.24), (0, 1.23)], 5)], 48)
    for face in mesh.faces:
        face[:] = [((p[0] + 0.10 * max(0, p[1] - 0.3) ** 2, p[1], p[2]), n, t) for p, n, t in face]
    return mesh


def stem():
    return tube(curve([(0.085, 1.19, 0), (0.10, 1.32, 0.01), (0.19, 1.45, 0.02)], 6),
                [0.022 + 0.014 * smooth(8, 12, k) for k in range(13)], 14)


def jug():
    """A jug with a lip towards -x and a handle towards +x."""
    def lip(a, r, y):
        side = max(0.0, -math.sin(a)) ** 7
        return r * (1 + 0.42 * side * smooth(1.45, 1.95, y))

    mesh = Mesh()
    mesh.lathe([[(0, 0), (0.40, 0)], [(0.40, 0), (0.43, 0.07)],
                curve([(0.43, 0.07), (0.60, 0.30), (0.64, 0.66), (0.52, 1.10), (0.38, 1.48),
                       (0.40, 1.78), (0.46, 1.95)], 5),
                arc(0.445, 1.95, 0.015, 0, 180, 5),
                curve([(0.43, 1.95), (0.37, 1.78), (0.34, 1.5), (0.30, 1.4)], 4)], 64, radius_at=lip)
    mesh.faces += tube(curve([(0.40, 1.82, 0), (0.66, 1.90, 0), (0.86, 1.66, 0), (0.84, 1.22, 0),
                              (0.70, 0.92, 0), (0.54, 0.80, 0)], 9), 0.062, 24).faces
    return mesh


# Where each tulip's stem leaves the jug, where it ends, and the way the flower looks.
TULIPS = ((((0.0, 1.2, 0.0), (-0.10, 2.0, 0.05), (-0.50, 2.55, 0.12)), (-0.50, 1, 0.20)),
          (((0.05, 1.2, 0.0), (0.08, 2.2, 0.0), (0.12, 2.95, -0.02)), (0.08, 1, 0.10)),
          (((0.05, 1.2, 0.05), (0.30, 2.0, 0.12), (0.78, 2.45, 0.22)), (0.80, 1, 0.30)))


def stalks():
    """Stalks and leaves of three tulips in the jug."""
    mesh = Mesh()
    for points, _ in TULIPS:
        mesh.faces += tube(curve(points, 10), 0.045, 16).faces
    for points, width, way in (
            (((-0.1, 1.4, 0.1), (-0.35, 2.0, 0.2), (-0.75, 2.22, 0.35), (-1.15, 2.05, 0.5)), 0.17, -1),
            (((0.15, 1.4, 0.1), (0.50, 1.95, 0.30), (0.95, 2.12, 0.45), (1.35, 1.98, 0.55)), 0.15, 1)):
        path = curve(points, 8)
        rows, texture = [], []
        for k, p in enumerate(path):
            t = k / (len(path) - 1)
            half = width * math.sin(math.pi * (0.12 + 0.88 * t)) ** 0.7 if t < 1 else 0.0
            rows.append([(p[0] + half * s * 0.5, p[1] + 0.25 * half * s * s * 2 - 0.1 * half * s,
                          p[2] + way * half * s * 0.9) for s in (-1, -0.5, 0, 0.5, 1)])
            texture.append([(j / 4, t, 0) for j in range(5)])
        mesh.grid(rows, texture)
    return mesh


def blossom(inner):
    """Three petals of a tulip about +y; the inner three lie between the outer ones."""
    mesh = Mesh()
    for petal in range(3):
        middle = 2 * math.pi * petal / 3 + (math.pi / 3 if inner else 0.0)
        size = 0.95 if inner else 1.0
        rows, texture = [], []
        for i in range(15):
            t = i / 14
            half = 1.12 * (1 - t ** 2.4) ** 0.65
            radius = size * (0.06 + 0.30 * math.sin(math.pi * (0.06 + 0.74 * t)))
            row = []
            for j in range(13):
                s = 2 * j / 12 - 1
                a = middle + half * s
                r = radius * (1 - 0.10 * s * s) * (0.80 if inner else 1.0)
                row.append((r * math.sin(a), 0.80 * size * t ** 0.9 - 0.03 * s * s, r * math.cos(a)))
            rows.append(row)
            texture.append([(j / 12, t, 0) for j in range(13)])
        mesh.grid(rows, texture)
    return mesh


def blossoms(inner):
    mesh = Mesh()
    for points, way in TULIPS:
        aim(mesh, blossom(inner), way, points[-1])
    return mesh


def gingham(u, v):
    """A woven check, one repeat."""
    light, dark = (0.97, 0.95, 0.90), (0.80, 0.16, 0.17)
    return mix(light, dark, 0.5 * ((u < 0.5) + 1.0 * (v < 0.5)))


def panes(u, v):
    """A window of two by three panes with a branch before it."""
    x, y = 2.3 * (u - 0.5), 2.3 * (v - 0.5)
    edge = numpy.maximum(abs(abs(x) - 0.32) - 0.27, abs((y + 0.88) % 0.58667 - 0.29333) - 0.262)
    light = smooth(0.012, -0.012, edge) * ((abs(x) <= 0.62) & (abs(y) <= 0.88))
    for k in range(11):
        cx, cy = 0.66 - 0.125 * k, 0.62 - 0.03 * k - 0.012 * k * k
        for side in (-1, 1):
            a = 0.9 * side + 2.7
            dx, dy = x - cx - 0.075 * math.cos(a), y - cy - 0.075 * math.sin(a)
            along, across = dx * math.cos(a) + dy * math.sin(a), dy * math.cos(a) - dx * math.sin(a)
            leaf = (along / 0.085) ** 2 + (across / 0.034) ** 2 - 1
            light *= 1 - 0.85 * smooth(0.25, -0.25, leaf)
    return (light, light, light)


PARTS = (
    ("pot", pot, "A teapot's body, 1.4 high."), ("lid", lid, "The lid of the teapot."),
    ("spout", spout, "The spout of the teapot."), ("handle", handle, "The handle of the teapot."),
    ("cup", cup, "A teacup."), ("saucer", saucer, "The saucer under it."),
    ("tea", tea, "The tea in the cup."), ("bowl", bowl, "A bowl, 2.4 wide."),
    ("orange", orange, "An orange about the origin."), ("calyx", calyx, "Its calyx."),
    ("pear", pear, "A pear, 1.2 high."), ("stem", stem, "The stem of the pear."),
    ("jug", jug, "A jug, 2 high."), ("stalks", stalks, "Stalks and leaves of tulips in the jug."),
    ("outer", lambda: blossoms(False), "The outer petals of the tulips."),
    ("inner", lambda: blossoms(True), "The inner petals of the tulips."),
)

if __name__ == "__main__":
    make([(f"tea_{name}", build, remark) for name, build, remark in PARTS],
         [("textures/gingham.png", lambda: png(paint(64, 64, gingham, 1, 256))),
          ("slides/window.png", lambda: png(paint(512, 512, panes, 2)))])
