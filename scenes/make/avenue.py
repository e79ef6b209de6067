"""Grows the tree of scenes/fog.mi."""

import math
import random

from parts import make
from shapes import Mesh, normalised


def across(direction):
    """Two unit vectors that stand upright on a direction and on each other."""
    x, y, z = direction
    a = normalised((z, 0, -x) if abs(y) < 0.99 else (1, 0, 0))
    return a, (y * a[2] - z * a[1], z * a[0] - x * a[2], x * a[1] - y * a[0])


def limb(mesh, chance, start, direction, length, radius, level):
    """A branch of a few pieces, bending, that carries branches of its own."""
    points, p, d = [(start, radius)], start, direction
    pieces = 5 if level == 0 else 3 if level < 3 else 2
    for k in range(pieces):
        bend = 0.07 if level == 0 else 0.22
        d = normalised(tuple(c + chance.uniform(-bend, bend) + (0.10 if i == 1 else 0)
                             for i, c in enumerate(d)))
        p = tuple(a + b * length / pieces for a, b in zip(p, d))
        points.append((p, radius * (1 - 0.62 * (k + 1) / pieces)))

        # The trunk is bare below its first joint.
        if level < 3 and (level > 0 or k > 0):
            for _ in range((3, 2, 3)[level]):
                a, b = across(d)
                turn, lean = chance.uniform(0, 2 * math.pi), chance.uniform(0.5, 1.0)
                away = tuple(math.cos(turn) * u + math.sin(turn) * v for u, v in zip(a, b))
                out = normalised(tuple(math.cos(lean) * u + math.sin(lean) * v
                                       for u, v in zip(d, away)))
                reach = length * chance.uniform(0.50, 0.68) * (0.8 if level == 0 else 1)
                limb(mesh, chance, p, out, reach, points[-1][1] * 0.62, level + 1)
    sides = (8, 4, 3, 3)[level]
    rows = []
    a, b = across(direction)
    for p, r in points:
        rows.append([tuple(c + r * (math.cos(t) * u + math.sin(t) * v) for c, u, v in zip(p, a, b))
                     for t in (2 * math.pi * (k % sides) / sides for k in range(sides + 1))])
    mesh.grid(rows, [[(k / sides, i, 0) for k in range(sides + 1)] for i in range(len(rows))],
              closed=True)


def tree():
    mesh = Mesh()
    limb(mesh, random.Random(3), (0, -0.1, 0), (0, 1, 0), 6.5, 0.26, 0)
    return mesh


if __name__ == "__main__":
    make([("tree", tree, "A bare tree, its foot at the origin.")])
