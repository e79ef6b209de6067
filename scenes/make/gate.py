"""Builds the gate of scenes/static_cling.mi.

The gate stands on y = 0, faces +z and has its middle at x = 0; its opening is 2.5 wide and 4.1 high.
Lengths are in metres.
"""

import math

from harbour import put
from parts import make
from picture import fractal, noise
from shapes import Mesh

HALF, SPRING = 1.25, 2.85  # half the opening's width, and the height where its arch begins


def block(place, seed, steps=(7, 7, 5)):
    """A rough-hewn stone: a rounded box, dented; place(a, b, c) bends the box from -1..1 into place."""
    mesh = Mesh()
    for axis in range(3):
        u, v = (axis + 1) % 3, (axis + 2) % 3
        for side in (-1, 1):
            rows, texture = [], []
            for i in range(steps[u] + 1):
                row = []
                for j in range(steps[v] + 1):
                    q = [0.0, 0.0, 0.0]
                    q[axis] = side
                    q[u] = math.sin(math.pi / 2 * (2 * i / steps[u] - 1))
                    q[v] = math.sin(math.pi / 2 * (2 * j / steps[v] - 1)) * side

                    # Round the edges, then dent the faces.
                    far = sum(abs(c) ** 9 for c in q) ** (1 / 9)
                    q = [c / far for c in q]
                    p = place(*q)
                    dent = 0.16 * (fractal(1.9 * p[0] + 3.1 * p[2] + 11 * seed, 1.9 * p[1] + 0.9 * p[2] + 7,
                                           4, seed=3) - 0.62)
                    middle = place(0, 0, 0)
                    away = [c - m for c, m in zip(p, middle)]
                    size = math.hypot(*away) or 1
                    row.append(tuple(c + dent * w / size * 1.4 for c, w in zip(p, away)))
                rows.append(row)
                texture.append([(i / steps[u], j / steps[v], 0) for j in range(steps[v] + 1)])
            mesh.grid(rows, texture)
    return mesh


def gate():
    """Two pillars, and an arch of nine stones with a larger keystone."""
    mesh, seed = Mesh(), 0
    heights = (0, 0.62, 1.1, 1.72, 2.25, SPRING)
    for side in (-1, 1):
        for low, high in zip(heights, heights[1:]):
            seed += 1
            wide = 0.50 + 0.06 * noise(seed, 3) + (0.12 if low == 0 else 0)
            x, y, deep = side * (HALF + wide), (low + high) / 2, 0.55 + 0.08 * noise(seed, 6)
            mesh.faces += block(lambda a, b, c, x=x, y=y, w=wide, h=(high - low) / 2 - 0.015, d=deep:
                                (x + w * a, y + h * b, d * c), seed).faces
    for k in range(9):
        seed += 1
        start, end = math.pi * k / 9 + 0.012, math.pi * (k + 1) / 9 - 0.012
        key = k == 4
        outer = (1.12 if not key else 1.42) + 0.12 * (noise(seed, 8) - 0.5)
        deep = 0.52 + (0.12 if key else 0) + 0.06 * noise(seed, 2)

        def place(a, b, c, start=start, end=end, outer=outer, deep=deep):
            t, r = start + (end - start) * (a + 1) / 2, HALF - 0.02 + outer * (b + 1) / 2
            return (-r * math.cos(t), SPRING + r * math.sin(t), deep * c)

        mesh.faces += block(place, seed).faces
    return mesh


def sheet(z, bulge):
    """A sheet that fills the opening, bulging towards +z."""
    rows, texture = [], []
    for i in range(29):
        y = (SPRING + HALF) * i / 28
        half = HALF if y <= SPRING else math.sqrt(max(0.0, HALF ** 2 - (y - SPRING) ** 2))
        half += 0.12
        row = []
        for k in range(25):
            x = half * (k / 12 - 1)
            out = (1 - (x / (HALF + 0.12)) ** 2) * math.sin(math.pi * min(1.0, (y + 0.6) / 5.0))
            row.append((x, y, z + bulge * out))
        rows.append(row)
        texture.append([(k / 24, i / 28, 0) for k in range(25)])
    mesh = Mesh()
    mesh.grid(rows, texture)
    return mesh


def rubble():
    """Boulders to both sides, and stones that have fallen from the gate."""
    mesh = Mesh()
    for k, (x, z, size) in enumerate(((-3.6, -0.3, 1.15), (3.9, -0.4, 1.35), (-4.9, 1.2, 0.8),
                                      (5.2, 1.4, 0.6), (-3.1, 1.5, 0.35),
                                      (2.9, 1.35, 0.42), (-6.6, -1.5, 2.0), (6.9, -1.9, 2.2),
                                      (-2.5, 2.5, 0.2), (2.4, 2.9, 0.16),
                                      (4.2, 2.4, 0.28), (-4.4, 2.9, 0.25))):
        stone = Mesh()
        rows = []
        for i in range(18):
            latitude = math.pi * (i / 17 - 0.5)
            row = []
            for j in range(27):
                a = 2 * math.pi * (j % 26) / 26
                d = (math.cos(latitude) * math.cos(a), math.sin(latitude), math.cos(latitude) * math.sin(a))
                lump = 0.66 + 0.6 * fractal(1.5 * d[0] + 1.2 * d[1] + 9 * k + 40,
                                            1.5 * d[2] - 1.1 * d[1] + 40, 4, seed=k)
                row.append(tuple(size * lump * c * (0.85 if n == 1 else 1) for n, c in enumerate(d)))
            rows.append(row)
        stone.grid(rows, [[(j / 26, i / 17, 0) for j in range(27)] for i in range(18)], closed=True)
        put(mesh, stone, x, 0.28 * size, z, 71 * k)
    return mesh


def cliffs():
    """The rock around: facets behind the gate, curving forward on both sides."""
    rows = []
    for i in range(25):
        row = []
        for k in range(73):
            a = math.pi * (k + 0.9 * noise(k, i, seed=5)) / 73
            y = 11.0 * (i + 0.7 * noise(k, i, seed=6)) / 24 - 0.6
            r = 9.5 + 0.16 * y + 3.4 * (fractal(7 * a + 5, 0.30 * y + 3, 3, seed=12) - 0.5)
            r += 1.7 * abs(fractal(13 * a, 0.8 * y, 3, seed=4) - 0.5)
            row.append((-r * 1.15 * math.cos(a), y, 3.2 - 0.85 * r * math.sin(a)))
        rows.append(row)
    mesh = Mesh()
    for low, high in zip(rows, rows[1:]):
        for p, q, r, s in zip(low, low[1:], high[1:], high):
            mesh.flat([p, q, r])
            mesh.flat([p, r, s])
    return mesh


def slabs():
    """The floor: flagstones with worn edges, no two of a height."""
    mesh = Mesh()
    z, row = 6.4, 0
    while z > -5.5:
        depth = 0.85 + 0.35 * noise(row, 4, seed=6)
        x = -9.5 + 0.9 * noise(row, 9, seed=2)
        k = 0
        while x < 9.5:
            width = 0.9 + 0.9 * noise(k, row, seed=7)
            top, lean = 0.035 * (noise(k, row, seed=3) - 0.9), 0.016 * (noise(k, row, seed=8) - 0.5)
            a, b, c, d, e = x + 0.012, x + width - 0.012, z - depth + 0.012, z - 0.012, 0.03
            low = [(a, top - 0.05, d), (b, top - 0.05, d), (b, top - 0.05, c), (a, top - 0.05, c)]
            high = [(a + e, top - lean, d - e), (b - e, top + lean, d - e), (b - e, top + lean, c + e),
                    (a + e, top - lean, c + e)]
            mesh.flat(high)
            for n in range(4):
                mesh.flat([low[n], low[(n + 1) % 4], high[(n + 1) % 4], high[n]])
            x, k = x + width, k + 1
        z, row = z - depth, row + 1
    return mesh


OBJECTS = (
    ("stones", gate, "A gate of rough stones, 5.5 high."),
    ("sheet", lambda: sheet(0.0, 0.35), "A sheet that fills the gate."),
    ("sheet_back", lambda: sheet(-0.25, 0.1), "A second sheet in the gate, behind the first."),
    ("rubble", rubble, "Boulders beside the gate."),
    ("cliffs", cliffs, "The cliffs around the gate."),
    ("slabs", slabs, "Flagstones before the gate."),
)

if __name__ == "__main__":
    make([(f"gate_{name}", build, remark) for name, build, remark in OBJECTS])
