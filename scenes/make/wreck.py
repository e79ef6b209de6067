"""Builds the sunken submarine of scenes/nemo.mi.

The boat lies along x, its bow towards +x, its axis at the origin's height; it is 13 long and 3.4
wide. The sea bed is a mesh of its own. Lengths are in metres.
"""

import math

import numpy

from harbour import put, rock
from parts import make
from picture import fractal, noise, paint, png
from robot import aim, tube, turned_part
from shapes import Mesh, arc, curve

STERN, BOW, RADIUS = -7.0, 6.0, 1.7


def radius_at(x):
    """The hull's radius: a full bow, a slender stern."""
    s = (x - STERN) / (BOW - STERN)
    return RADIUS * min(1.0, (1.55 * s) ** 0.8, (2.6 * (1 - s)) ** 0.55)


def along_x(part):
    """A part that was turned about y, laid along x."""
    mesh = Mesh()
    aim(mesh, part, (1, 0, 0), (0, 0, 0), (0, 1, 0))
    return mesh


def hull():
    """The plating: one sheet, which one sees into where it has holes."""
    run = [(0.0, STERN)]
    run += [(radius_at(x), x) for x in (STERN + 0.02 + (BOW - STERN - 0.02) * (k / 64) for k in range(64))]
    run += [(radius_at(x), x) for x in (BOW - 0.12, BOW - 0.06, BOW - 0.02)] + [(0, BOW)]
    return along_x(turned_part([run], 64))


def straps():
    """Bands around the hull with rivets, a keel, and a toothed crest."""
    mesh = Mesh()
    for k in range(9):
        x = STERN + 2.2 + 1.25 * k
        a, b = radius_at(x - 0.09) + 0.035, radius_at(x + 0.09) + 0.035
        mesh.faces += along_x(turned_part([[(a - 0.05, x - 0.09), (a, x - 0.09)],
                                           [(a, x - 0.09), (b, x + 0.09)],
                                           [(b, x + 0.09), (b - 0.05, x + 0.09)]], 48)).faces
        for j in range(26):
            t = 2 * math.pi * j / 26
            way = (0, math.cos(t), math.sin(t))
            at = (x, *(((a + b) / 2) * c for c in way[1:]))
            aim(mesh, turned_part([[(0.045, 0), (0.032, 0.028), (0, 0.037)]], 6), way, at, (1, 0, 0))
    for k in range(16):  # the crest on the bow
        x = 2.0 + 0.25 * k
        low, high = radius_at(x) - 0.03, radius_at(x + 0.25) - 0.03
        for z in (-0.03, 0.03):
            corners = [(x, low, z), (x + 0.25, high, z), (x + 0.06, low + 0.34, z)]
            mesh.flat(corners if z > 0 else corners[::-1])
        mesh.flat([(x, low, 0.03), (x + 0.06, low + 0.34, 0.03), (x + 0.06, low + 0.34, -0.03),
                   (x, low, -0.03)])
        mesh.flat([(x + 0.06, low + 0.34, 0.03), (x + 0.25, high, 0.03), (x + 0.25, high, -0.03),
                   (x + 0.06, low + 0.34, -0.03)])
    return mesh


def frames():
    """The skeleton inside: ribs, stringers and a deck."""
    mesh = Mesh()
    for k in range(18):
        x = STERN + 1.6 + 0.625 * k
        r = radius_at(x) - 0.09
        path = [(x, r * math.cos(a), r * math.sin(a)) for a in (2 * math.pi * j / 40 for j in range(41))]
        mesh.faces += tube(path, 0.055, 6).faces
    for j in range(10):
        a = 2 * math.pi * (j + 0.5) / 10
        path = [(x, (radius_at(x) - 0.12) * math.cos(a), (radius_at(x) - 0.12) * math.sin(a))
                for x in (STERN + 1.0 + 0.5 * k for k in range(23))]
        mesh.faces += tube(path, 0.035, 5).faces
    mesh.box((-5, -0.75, -1.15), (4.4, -0.69, 1.15))
    return mesh


def tower():
    """The conning tower, with a dome."""
    mesh = Mesh()
    run = [curve([(1.02, 1.35), (0.95, 1.7), (0.86, 2.1), (0.82, 2.45)], 8),
           curve([(0.82, 2.45), (0.80, 2.75), (0.62, 3.05),
           (0.32, 3.20), (0, 3.23)], 8)]
    put(mesh, turned_part(run, 64), 0.2)
    return mesh


# Centre, direction and radius of the windows: one on either side of the tower, one in the bow's flank.
WINDOWS = (((0.2, 2.30, 0.82), (0, 0.10, 1), 0.36), ((1.03, 2.28, 0.12), (1, 0.10, 0.15), 0.36),
           ((3.35, 0.25, 1.50), (0.22, 0.16, 1), 0.62))


def brass():
    """Rims of the windows with their bolts and bars, the tower's rings and rail, and the propeller."""
    mesh = Mesh()
    for at, way, r in WINDOWS:
        ring = turned_part([[(r - 0.02, -0.12), (r - 0.02, 0.09)], arc(r + 0.06, 0.09, 0.08, 180, 0, 8),
                            [(r + 0.14, 0.09), (r + 0.17, -0.12)]], 48)
        for k in range(12):
            a = 2 * math.pi * k / 12
            put(ring, turned_part([[(0.035, 0.1), (0.03, 0.19), (0, 0.20)]], 8), (r + 0.06) * math.cos(a),
                0,
                (r + 0.06) * math.sin(a))
        for a in (0.0, math.pi / 2):
            x, z = r * math.cos(a), r * math.sin(a)
            ring.faces += tube([(-x, 0.06, -z), (0, 0.16, 0), (x, 0.06, z)], 0.025, 8).faces
        aim(mesh, ring, way, at, (0, 1, 0))
    for y, r in ((2.45, 0.84), (1.55, 1.02)):
        mesh.ring(r, 0.05, "y", 48, 8, (0.2, y, 0))
    put(mesh, turned_part([[(0.09, 3.2), (0.09, 3.38)], [(0.09, 3.38), (0.16, 3.40)],
                           arc(0, 3.40, 0.16, 0, 90, 6)], 24), 0.2)
    for k in range(4):
        blade, rows = Mesh(), []
        for i in range(9):
            r, w = 0.15 + 1.0 * i / 8, 0.09 + 0.26 * math.sin(math.pi * (0.12 + 0.8 * i / 8))
            t = math.radians(58 - 5 * i)
            rows.append([(w * j * math.cos(t), r, w * j * math.sin(t)) for j in (-1, -0.5, 0, 0.5, 1)])
        blade.grid(rows, [[(j, i, 0) for j in range(5)] for i in range(9)])
        a = math.radians(90 * k + 20)
        aim(mesh, blade, (0, math.cos(a), math.sin(a)), (STERN - 0.1, 0, 0), (0, -math.sin(a), math.cos(a)))
    mesh.faces += along_x(turned_part([[(0, STERN - 0.45), (0.12, STERN - 0.35), (0.2, STERN + 0.1),
                                        (0.24, STERN + 0.4)]], 24)).faces
    return mesh


def glass():
    mesh = Mesh()
    for at, way, r in WINDOWS:
        aim(mesh, turned_part([arc(0, -1.4 * r, 1.45 * r, 46, 90, 8)], 40), way, at, (0, 1, 0))
    return mesh


def fins():
    """Rudders at the stern, a diving plane at either flank."""
    mesh = Mesh()
    for way in ((0, 1, 0), (0, -1, 0), (0, 0, 1), (0, 0, -1)):
        leaf = Mesh()
        rows = [[(-6.0 + 0.45 * h + 1.5 * (1 - 0.5 * h) * u,
                  0.06 * (1 - h * h) ** 0.5 * math.sin(math.pi * u ** 0.6), 1.7 * h)
                 for u in (k / 10 for k in range(11))] for h in (i / 8 for i in range(9))]
        for side in (1, -1):
            leaf.grid([[(p[0], side * p[1], p[2]) for p in (row if side > 0 else row[::-1])] for row in rows],
                      [[(k, i, 0) for k in range(11)] for i in range(9)])
        y, z = way[1], way[2]
        for face in leaf.faces:
            mesh.face([((p[0], z * p[1] + y * p[2], z * p[2] - y * p[1]),
                        (n[0], z * n[1] + y * n[2], z * n[2] - y * n[1]), t)
                       for p, n, t in face])
    return mesh


def bed_height(x, z):
    """Dunes, ripples and a hollow around the boat."""
    dune = 1.3 * (fractal(0.09 * x + 3, 0.09 * z + 8, 3, seed=5) - 0.5)
    phase = 4.2 * (z + 0.3 * x) + 5 * noise(0.35 * x, 0.35 * z, seed=2)
    bank = 0.22 * math.exp(-((abs(z + 0.1) - 1.6) / 0.7) ** 2) * math.exp(-(x / 6.0) ** 4)
    return dune + 0.035 * math.sin(phase) + bank


def sea_bed():
    """Sand, 44 wide; denser around the origin."""
    n = 66
    places = [22 * math.copysign(abs(t) ** 1.5, t) for t in (2 * k / n - 1 for k in range(n + 1))]
    rows = [[(x, bed_height(x, -z), -z) for x in places] for z in places]
    mesh = Mesh()
    mesh.grid(rows, [[(p[0] / 4, p[2] / 4, 0) for p in row] for row in rows])
    return mesh


def boulders():
    mesh = Mesh()
    for k, (x, z, size) in enumerate(((-5.2, 5.4, 0.8), (-6.4, 4.4, 1.1), (7.4, -1.2, 1.3), (8.6, 0.6, 0.7),
                                      (6.3, 2.3, 0.5),
                                      (-9.5, -6.5, 2.6), (10.5, -9, 3.0), (1.2, 4.6, 0.22),
                                      (-2.4, 4.3, 0.3))):
        put(mesh, rock(k + 3, size, 0.75 * size, 0.9 * size), x, bed_height(x, z) + 0.05, z, 67 * k)
    return mesh


def kelp():
    """Ribbons that rise from the sea bed, swaying."""
    mesh = Mesh()
    for k in range(46):
        x, z = ((-4.0, 4.1), (8.2, 0.2), (8.4, 2.5), (-2.9, 4.9))[k % 4]
        x, z = x + 2.4 * (noise(k, 1, seed=8) - 0.5), z + 1.6 * (noise(k, 5, seed=8) - 0.5)
        tall, bend = 1.2 + 2.6 * noise(k, 9, seed=4), 0.35 + 0.5 * noise(k, 3, seed=6)
        turn = 6.3 * noise(k, 2, seed=1)
        rows, base = [], bed_height(x, z)
        for i in range(17):
            h = i / 16
            sway = bend * h ** 1.4 + 0.09 * math.sin(7 * h + k)
            twist = turn + 2.2 * h
            w = 0.075 * (1 - h ** 3) * (1 + 0.35 * math.sin(19 * h + k))
            cx, cy, cz = x - sway, base - 0.1 + tall * h, z + 0.12 * math.sin(5 * h + 2 * k)
            rows.append([(cx + w * s * math.cos(twist), cy, cz + w * s * math.sin(twist)) for s in (-1, 0,
                                                                                                    1)])
        mesh.grid(rows, [[(s, i, 0) for s in range(3)] for i in range(17)])
    return mesh


def bubbles():
    mesh = Mesh()
    for k in range(26):
        size = 0.03 + 0.06 * noise(k, 2, seed=3) ** 2
        t = k / 26
        mesh.sphere(size, 12, 8, (1.9 + 0.25 * noise(k, 7, seed=9) + 0.5 * t * math.sin(7 * t),
                                  1.7 + 3.6 * t ** 1.3,
                                  0.6 + 0.3 * noise(k, 4, seed=5) + 0.3 * t))
    return mesh


def caustics(u, v):
    """Light that the waves of the surface gather: bright meshes; repeats in both directions."""
    total = 0.0
    for cells, seed in ((8, 3), (13, 8)):
        x = cells * u + 0.9 * noise(cells * u, cells * v, cells, seed)
        y = cells * v + 0.9 * noise(cells * u, cells * v, cells, seed + 1)
        ridge = 1 - abs(2 * noise(x, y, cells, seed + 2) - 1)
        total += ridge ** 7
    return tuple(numpy.minimum(1.0, 0.38 + 0.55 * c * total) for c in (0.72, 0.80, 0.78))


PARTS = (
    ("hull", hull, "The plating of a submarine, 13 long, bow towards +x."),
    ("straps", straps, "Riveted bands and the crest of the submarine."),
    ("frames", frames, "Ribs, stringers and the deck inside the submarine."),
    ("tower", tower, "The submarine's conning tower."),
    ("brass", brass, "The rims of the submarine's windows, its propeller and rings."),
    ("glass", glass, "The glass of the submarine's windows."),
    ("fins", fins, "Rudders and planes of the submarine."),
    ("bed", sea_bed, "A sea bed of sand, 44 wide."),
    ("rocks", boulders, "Boulders on the sea bed."),
    ("kelp", kelp, "Kelp on the sea bed."),
    ("bubbles", bubbles, "Air that rises from the wreck."),
)

if __name__ == "__main__":
    make([(f"wreck_{name}", build, remark) for name, build, remark in PARTS],
         [("textures/caustics.png", lambda: png(paint(256, 256, caustics, 1, 64)))])
