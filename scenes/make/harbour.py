"""Builds the harbour of scenes/flare.mi.

Objects stand on their own origin: y = 0 is the water for what floats or stands in it. Lengths are
in metres.
"""

import math

import numpy

from parts import make
from picture import clamp, fractal, mix, noise, paint, png, scaled, smooth, where
from shapes import Mesh, arc, curve


def put(mesh, part, x=0.0, y=0.0, z=0.0, turn=0.0):
    """Adds a part to a mesh, turned about the y axis (degrees), then moved."""
    c, s = math.cos(math.radians(turn)), math.sin(math.radians(turn))

    def turned(v):
        return (c * v[0] + s * v[2], v[1], c * v[2] - s * v[0])

    for face in part.faces:
        moved = []
        for p, n, t in face:
            q = turned(p)
            moved.append(((q[0] + x, q[1] + y, q[2] + z), turned(n), t))
        mesh.face(moved)


def pole(radius, low, high, sides=12):
    """An upright cylinder with a lid."""
    mesh = Mesh()
    mesh.lathe([[(radius, low), (radius, high)], [(radius, high), (0, high)]], sides)
    return mesh


def rope(a, b, radius=0.012, sag=0.0):
    """A thin three-sided rope between two points."""
    mesh = Mesh()
    rows = []
    for k in range(9):
        t = k / 8
        x, y, z = (p + (q - p) * t for p, q in zip(a, b))
        y -= sag * 4 * t * (1 - t)
        rows.append([(x + radius * math.cos(u), y, z + radius * math.sin(u)) if abs(b[1] - a[1]) >
                     math.hypot(b[0] - a[0], b[2] - a[2]) else
                     (x, y + radius * math.cos(u), z + radius * math.sin(u))
                     for u in (0, 2.1, 4.2, 0)])
    mesh.grid(rows, [[(i / 3, k / 8, 0) for i in range(4)] for k in range(9)], closed=True)
    return mesh


def tower():
    """The lighthouse's shaft, 8.6 high, with its gallery; the lamp's centre is at 9.75."""
    mesh = Mesh()
    shaft = curve([(1.75, 0), (1.52, 0.8), (1.32, 2.6), (1.16, 5.2), (1.06, 7.6), (1.10, 8.1),
                   (1.45, 8.5)], 4)
    mesh.lathe([shaft, [shaft[-1], (1.62, 8.5)], [(1.62, 8.5), (1.62, 8.68)],
                [(1.62, 8.68), (0.95, 8.68)], [(0.95, 8.68), (0.95, 9.0)],
                [(0.95, 9.0), (0, 9.0)]], 48)
    return mesh


def tower_iron():
    """Two dark bands, door and windows of the tower, the rail and the lantern with its dome."""
    mesh = Mesh()
    for low, high, a, b in ((2.3, 3.9, 1.365, 1.245), (5.5, 6.9, 1.155, 1.095)):
        mesh.lathe([[(a, low), (b, high)]], 48)
    for k in range(20):
        a = 2 * math.pi * k / 20
        put(mesh, pole(0.016, 8.68, 9.45, 5), 1.55 * math.cos(a), 0, 1.55 * math.sin(a))
    for y in (9.05, 9.45):
        mesh.ring(1.55, 0.02, "y", 40, 6, (0, y, 0))
    for k in range(8):
        a = 2 * math.pi * (k + 0.5) / 8
        put(mesh, pole(0.022, 9.0, 10.5, 5), 0.82 * math.cos(a), 0, 0.82 * math.sin(a))
    mesh.lathe([[(0.98, 10.45), (0.98, 10.55)], curve([(0.98, 10.55), (0.86, 10.85), (0.5, 11.15),
                (0.12, 11.3), (0.06, 11.45)], 4), arc(0, 11.52, 0.13, -60, 90, 6),
                [(0.015, 11.6), (0.015, 12.5)]], 32)
    return mesh


def rock(seed, width, height, depth):
    """A boulder: a dome roughened by noise, flattened at the top."""
    mesh = Mesh()
    rows = []
    for i in range(10):
        latitude = math.pi * (i / 9 - 0.5)
        row = []
        for j in range(17):
            longitude = 2 * math.pi * (j % 16) / 16
            x, y, z = (math.cos(latitude) * math.cos(longitude), math.sin(latitude),
                       math.cos(latitude) * math.sin(longitude))
            lump = 0.72 + 0.56 * fractal(1.6 * x + 5 + seed, 1.6 * z + 1.1 * y + 5, 4, seed=seed)
            row.append((width * lump * x, height * min(lump * y, 0.72), depth * lump * z))
        rows.append(row)
    mesh.grid(rows, [[(j / 16, i / 9, 0) for j in range(17)] for i in range(10)], closed=True)
    return mesh


def rocks():
    """The lighthouse's rock, its top at 1.5, and a mole of boulders that runs off along -x."""
    mesh = Mesh()
    put(mesh, rock(1, 3.8, 2.1, 3.4), 0, 0.1, 0)
    for k in range(26):
        size = 1.0 + 0.9 * noise(k, 3, seed=4)
        put(mesh, rock(k + 2, 1.25 * size, 0.75 * size, 1.05 * size),
            -2.4 - 1.1 * k, 0.05, 2.2 * (noise(k, 7, seed=9) - 0.4), 47 * k)
    for k in range(9):
        a, size = 0.7 * k, 0.6 + 0.7 * noise(k, 1, seed=2)
        put(mesh, rock(k + 40, 1.2 * size, 0.8 * size, size), 3.3 * math.cos(a), 0,
            2.9 * math.sin(a), 80 * k)
    return mesh


# The hull: half breadth at the deck, at the waterline and of the keel, deck height, by station.
HULL = ((-3.6, 0.95, 0.55, 1.05), (-2.8, 1.12, 0.90, 0.92), (-1.6, 1.24, 1.10, 0.82),
        (0.0, 1.28, 1.12, 0.80), (1.4, 1.16, 0.90, 0.90), (2.6, 0.80, 0.50, 1.12),
        (3.5, 0.34, 0.14, 1.42), (4.1, 0.02, 0.01, 1.70))


def boat():
    """A fishing boat 7.7 long, bow along +x: hull, deck, wheelhouse, bulwark."""
    mesh = Mesh()
    for side in (1, -1):
        rows = []
        for x, deck, water, height in HULL:
            row = [(x - 0.1 * (x > 3), -0.25, side * 0.6 * water), (x, 0.0, side * water),
                   (x, 0.5 * height, side * (0.45 * water + 0.55 * deck)), (x, height, side * deck),
                   (x, height + 0.07, side * (deck + 0.05)),
                   (x, height + 0.10, side * (deck - 0.02)), (x, height - 0.30, side * (deck - 0.06))]
            rows.append(row)
        rows = rows if side > 0 else rows[::-1]
        mesh.grid(rows, [[(i, j, 0) for j in range(7)] for i in range(8)])
    transom = HULL[0]
    mesh.flat([(-3.6, -0.25, -0.33), (-3.6, -0.25, 0.33), (-3.6, 1.05, 0.95),
               (-3.6, 1.05, -0.95)][::-1])
    deck = [(x, h - 0.22, w - 0.06) for x, w, _, h in HULL[:-1]]
    for (x, y, w), (u, v, s) in zip(deck, deck[1:]):
        mesh.flat([(x, y, w), (u, v, s), (u, v, -s), (x, y, -w)])

    # Wheelhouse with a roof that overhangs.
    mesh.box((-2.35, 0.5, -0.78), (-0.75, 2.35, 0.78))
    mesh.box((-2.55, 2.35, -0.92), (-0.50, 2.45, 0.92))
    mesh.box((0.3, 0.5, -0.5), (1.3, 0.95, 0.5))
    put(mesh, pole(0.09, 2.45, 3.0, 10), -1.9, 0, 0.3)
    return mesh


def boat_windows():
    """The panes of the wheelhouse, two to each side and three to the front."""
    mesh = Mesh()
    for x in (-2.15, -1.5):
        for z in (0.79, -0.79):
            pane = [(x, 1.55, z), (x + 0.5, 1.55, z), (x + 0.5, 2.1, z), (x, 2.1, z)]
            mesh.flat(pane if z > 0 else pane[::-1])
    for z in (-0.68, -0.2, 0.28):
        mesh.flat([(-0.74, 1.55, z + 0.4), (-0.74, 1.55, z), (-0.74, 2.1, z),
                   (-0.74, 2.1, z + 0.4)])
    return mesh


def boat_rig():
    """Mast at x = 1.6 with a boom, stays, a rail and fenders."""
    mesh = Mesh()
    put(mesh, pole(0.075, 0.5, 6.2, 12), 1.6, 0, 0)
    put(mesh, pole(0.03, 6.2, 6.9, 6), 1.6, 0, 0)
    for a, b, sag in (((1.6, 6.1, 0), (4.05, 1.8, 0), 0.0), ((1.6, 6.1, 0), (-3.5, 1.15, 0.5), 0.0),
                      ((1.6, 6.1, 0), (-3.5, 1.15, -0.5), 0.0),
                      ((1.6, 5.4, 0), (1.2, 0.95, 1.15), 0.0),
                      ((1.6, 5.4, 0), (1.2, 0.95, -1.15), 0.0)):
        put(mesh, rope(a, b, 0.014, sag))
    put(mesh, rope((1.55, 1.9, 0), (-0.9, 3.6, 0), 0.045))
    put(mesh, rope((1.6, 5.6, 0), (-0.9, 3.6, 0), 0.012))
    for k, x in enumerate((-2.6, -0.4, 0.9)):
        put(mesh, rope((x, 0.9, 1.25), (x, 0.35, 1.32), 0.015))
        ball = Mesh()
        ball.sphere(0.17, 16, 10)
        put(mesh, ball, x, 0.28, 1.36)
    return mesh


def jetty():
    """Twenty metres of planks along x from 0 (its head), 2.2 wide, 1.2 above the water."""
    mesh = Mesh()
    for k in range(84):
        x, wave = 0.24 * k, 0.03 * (noise(k, 2, seed=3) - 0.5)
        mesh.box((x, 1.14 + wave, -1.1 + wave), (x + 0.21, 1.20 + wave, 1.1 + 2 * wave))
    for z in (-0.9, 0.9):
        mesh.box((0, 0.94, z - 0.08), (20, 1.14, z + 0.08))
        for k in range(9):
            tall = 1.75 + 0.25 * noise(k, z, seed=6)
            put(mesh, pole(0.13, -1, tall, 12), 0.15 + 2.4 * k, 0, 1.18 * z / 0.9)
    for k in range(8):
        x = 0.15 + 2.4 * k
        put(mesh, rope((x, 1.6, 1.18), (x + 2.4, 1.6, 1.18), 0.022, 0.22))
    return mesh


def lantern_post():
    """A post of 3.1 with an iron cage at its top; the lamp's centre is at 3.35."""
    mesh = Mesh()
    mesh.lathe([[(0.12, 0), (0.12, 0.12)], curve([(0.12, 0.12), (0.06, 0.3), (0.045, 1.2),
                (0.04, 2.9), (0.10, 3.05), (0.15, 3.10)], 3), [(0.15, 3.10), (0.15, 3.14)],
                [(0.15, 3.14), (0, 3.14)]], 16)
    mesh.lathe([[(0.19, 3.56), (0.19, 3.59)], curve([(0.19, 3.59), (0.13, 3.68), (0.04, 3.74),
                (0.02, 3.80)], 3), arc(0, 3.82, 0.035, -60, 90, 4)], 16)
    for k in range(4):
        a = math.pi * (k + 0.5) / 2
        put(mesh, pole(0.008, 3.13, 3.58, 4), 0.14 * math.cos(a), 0, 0.14 * math.sin(a))
    return mesh


def hills():
    """The far shore: two ridges 1200 wide, one behind the other."""
    mesh = Mesh()
    for z, tall, seed, shift in ((-60, 46, 3, 0.0), (0, 20, 8, 0.3)):
        previous = None
        for k in range(161):
            x = 7.5 * (k - 80)
            rise = fractal(0.011 * x + 20 + shift, 0.5, 4, seed=seed)
            edge = smooth(-60, 160, x) if z == 0 else 0.25 + 0.75 * smooth(-380, 120, x)
            top = (x, tall * edge * (0.25 + rise) + 0.4 * noise(k, seed, seed=5), z)
            foot = (x, -2, z)
            if previous:
                mesh.flat([previous[1], foot, top, previous[0]])
            previous = (top, foot)
    return mesh


def dusk(u, v):
    """The sky over the harbour: v = 0 is the horizon, the sun has set left of the middle."""
    side = 1 - 0.55 * smooth(0.0, 0.6, abs(u - 0.36))
    stops = ((0.0, (0.98, 0.50, 0.20)), (0.06, (0.90, 0.40, 0.24)), (0.15, (0.58, 0.32, 0.34)),
             (0.28, (0.28, 0.26, 0.40)), (0.48, (0.11, 0.17, 0.33)), (0.75, (0.045, 0.085, 0.20)),
             (1.0, (0.018, 0.04, 0.11)))
    color = stops[-1][1]
    for (a, low), (b, high) in reversed([*zip(stops, stops[1:])]):
        color = where(v <= b, mix(low, high, clamp((v - a) / (b - a))), color)
    color = mix((0.075, 0.115, 0.24), color, side + (1 - side) * smooth(0.0, 0.6, v))

    # Long clouds: grey-violet above, lit from below near the horizon.
    x, y = 7 * u, 26 * v * (1 - 0.35 * v)
    bank = fractal(x + 0.8 * noise(2 * x, y), y, 5, seed=21)
    cover = smooth(0.50, 0.72, bank) * smooth(0.02, 0.10, v) * smooth(0.75, 0.30, v)
    below = fractal(x + 0.8 * noise(2 * x, y), y - 0.5, 5, seed=21)
    lit = clamp(3.2 * (bank - below) + 0.35) * side * smooth(0.55, 0.05, v)
    cloud = mix(scaled(color, 0.62), (1.0, 0.46, 0.26), 0.85 * lit)
    color = mix(color, cloud, 0.85 * cover)
    return color


def ripples(u, v):
    """Heights of small waves; repeats in both directions."""
    h = 0.6 * fractal(8 * u, 8 * v, 4, 8, seed=3) + 0.4 * fractal(16 * u, 4 * v, 3, 4, seed=7)
    return (h, h, h)


OBJECTS = (
    ("tower", tower, "Shaft and gallery of a lighthouse; the lamp's centre is at height 9.75."),
    ("tower_iron", tower_iron, "Bands, rail and lantern of the lighthouse."),
    ("rocks", rocks, "The lighthouse's rock (its top is 1.5 high) and a mole along -x."),
    ("boat", boat, "A fishing boat, 7.7 long, bow along +x; y = 0 is the water."),
    ("boat_windows", boat_windows, "The panes of the boat's wheelhouse."),
    ("boat_rig", boat_rig, "The boat's mast, boom, stays and fenders."),
    ("jetty", jetty, "Twenty metres of jetty from its head at x = 0 along +x, 1.2 high."),
    ("lantern_post", lantern_post, "A lantern on a post; the lamp's centre is at height 3.35."),
    ("hills", hills, "A far shore of two ridges, 1200 wide."),
)

if __name__ == "__main__":
    make(OBJECTS, [("textures/dusk.png", lambda: png(paint(1024, 320, dusk, 1, 256))),
                   ("textures/ripples.png", lambda: png(paint(256, 256, ripples, 1, 256)))])
