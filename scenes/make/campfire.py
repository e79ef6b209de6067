"""Builds the camp of scenes/hot_stuff.mi.

The fire burns at the origin; lengths are in metres, y = 0 is the ground. The flames' mesh has its
y = 0 a little lower, where the wood lies.
"""

import math

from harbour import put, rock
from parts import make
from picture import fractal, noise
from robot import aim, tube, turned_part
from shapes import Mesh



def tongue(x, z, radius, tall, seed, lean=0.0):
    """A sheet of flame: wide at its foot, waisted, drawn to a point, winding."""
    mesh, rows, texture = Mesh(), [], []
    for i in range(25):
        h = i / 24
        wide = radius * (1 - h) ** 1.05 * (1 + 1.5 * h * (1 - h)) * (0.7 + 0.3 * min(1.0, 5 * h))
        cx = x * (1 - 0.45 * h) + lean * h * h + 0.13 * h * math.sin(6.5 * h + seed)
        cz = z * (1 - 0.55 * h) + 0.10 * h * math.cos(4 * h + 2 * seed)
        row = []
        for k in range(29):
            a = 2 * math.pi * (k % 28) / 28
            fold = (1 + (0.12 + 0.16 * h) * math.sin(3 * a + 1.7 * seed + 5 * h) +
                    0.06 * math.sin(5 * a - 3 * h + seed))
            row.append((cx + wide * fold * math.sin(a), tall * h, cz + wide * fold * math.cos(a)))
        rows.append(row)
        texture.append([(k / 28, h, 0) for k in range(29)])
    mesh.grid(rows, texture, closed=True)
    return mesh


def fire():
    """Tongues within each other; each stands for itself, so that they overlap."""
    mesh = Mesh()
    for k, (x, z, radius, tall, lean) in enumerate(((0, 0, 0.25, 1.50, 0.05), (-0.13, 0.10, 0.16, 1.20, -0.14),
                                     (0.15, 0.04, 0.15, 1.30, 0.14),
                                     (0.05, -0.16, 0.15, 1.05, -0.05), (-0.24, -0.06, 0.10, 0.82, -0.18),
                                     (0.20, 0.17, 0.10, 0.88, 0.16))):
        mesh.faces += tongue(x, z, radius, tall, 1.9 * k, lean).faces
    return mesh


def torch_fire():
    mesh = Mesh()
    for k, (x, z, radius, tall, lean) in enumerate(((0, 0, 0.10, 0.55, 0.05), (-0.03, 0.03, 0.07, 0.40, -0.05),
                                     (0.05, -0.02, 0.06, 0.42, 0.06))):
        mesh.faces += tongue(x, z, radius, tall, 2.3 * k + 1, lean).faces
    return mesh


def log(length, radius, seed):
    """A piece of wood along y, with bark and a cut face at either end."""
    mesh, rows = Mesh(), []
    for i in range(11):
        y = length * i / 10
        row = []
        for k in range(19):
            a = 2 * math.pi * (k % 18) / 18
            r = radius * (0.86 + 0.28 * fractal(2.2 * math.cos(a) + 9 * seed + 5,
                                                2.2 * math.sin(a) + 0.9 * y / radius * 0.3 + 5, 3,
                                                seed=seed))
            row.append((r * math.sin(a), y, r * math.cos(a)))
        rows.append(row)
    mesh.grid(rows, [[(k / 18, i / 10, 0) for k in range(19)] for i in range(11)], closed=True)
    for y, row in ((0, rows[0]), (length, rows[-1])):
        middle = (0.0, y, 0.0)
        for p, q in zip(row, row[1:]):
            mesh.flat([middle, q, p] if y == 0 else [middle, p, q])
    return mesh


def wood():
    """The fire's wood, leaning together."""
    mesh = Mesh()
    for k in range(7):
        a = 2 * math.pi * k / 7 + 0.4 * noise(k, 3, seed=2)
        foot = (0.50 * math.sin(a), 0.02, 0.50 * math.cos(a))
        aim(mesh, log(0.78 + 0.12 * noise(k, 1), 0.075, k + 1),
            (-0.75 * math.sin(a + 0.2), 0.52, -0.75 * math.cos(a + 0.2)), foot)
    return mesh


def coals():
    """Embers under the wood."""
    mesh = Mesh()
    for k in range(36):
        a, r = 2.4 * k, 0.36 * math.sqrt(k / 36)
        size = 0.045 + 0.035 * noise(k, 4, seed=8)
        put(mesh, rock(k + 5, size, 0.8 * size, size), r * math.sin(a), 0.02 + 0.05 * (1 - r / 0.36),
            r * math.cos(a), 50 * k)
    return mesh


def ring():
    """The stones around the fire."""
    mesh = Mesh()
    for k in range(15):
        a = 2 * math.pi * k / 15
        size = 0.13 + 0.05 * noise(k, 2, seed=5)
        put(mesh, rock(k + 2, size, 0.85 * size, 0.9 * size), 0.72 * math.sin(a), 0.04, 0.72 * math.cos(a),
            73 * k)
    return mesh


def seats():
    """Two trunks to sit on, and the stack of wood."""
    mesh = Mesh()
    aim(mesh, log(1.9, 0.20, 21), (0.85, 0, -0.52), (-2.35, 0.17, 0.55))
    aim(mesh, log(1.7, 0.19, 25), (0.62, 0, 0.80), (1.35, 0.16, -1.0))
    for k, (x, y) in enumerate(((0, 0), (0.2, 0), (0.4, 0), (0.6, 0), (0.1, 0.17), (0.3, 0.17), (0.5, 0.17),
                                (0.2, 0.34), (0.4, 0.34))):
        aim(mesh, log(0.8, 0.095, 30 + k), (0.25, 0, -1), (2.35 + x, 0.09 + y, 1.0 - 0.03 * k))
    return mesh


def tent():
    """A ridge tent that is open towards +z: its cloth sags and has a flap folded back on each side."""
    mesh = Mesh()

    def side(way):
        rows = []
        for i in range(15):
            h, row = i / 14, []
            for k in range(15):
                d = k / 14
                sag = 0.10 * math.sin(math.pi * d) * h * (1.4 - h) + 0.12 * math.sin(math.pi * h)
                top = 1.75 - 0.13 * math.sin(math.pi * d)
                row.append((way * (1.28 * (1 - h) - 0.5 * sag), top * h - 0.35 * sag * h, 1.3 - 2.6 * d))
            rows.append(row if way > 0 else row[::-1])
        return rows

    for way in (1, -1):
        rows = side(way)
        mesh.grid(rows, [[(k / 14, i / 14, 0) for k in range(15)] for i in range(15)])
        flap = []
        for i in range(13):
            h = i / 12
            edge = 1.27 * (1 - h)
            row = []
            for k in range(7):
                d = k / 6
                open_ = edge - (0.42 + 0.25 * (1 - h)) * d * (1 - h) ** 0.5
                row.append((way * max(0.0, open_), 1.73 * h,
                            1.3 + 0.10 * math.sin(5 * d + 2 * h) * (1 - h) + 0.02))
            flap.append(row if way < 0 else row[::-1])
        mesh.grid(flap, [[(k / 6, i / 12, 0) for k in range(7)] for i in range(13)])
    mesh.flat([(-1.25, 0, -1.28), (0, 1.72, -1.28), (1.25, 0, -1.28)])
    for z in (1.32, -1.32):
        mesh.faces += tube([(0, 0, z), (0, 1.95, z)], 0.025, 8).faces
        for x in (-1, 1):
            mesh.faces += tube([(0, 1.8, z), (0.5 * x, 0, z * 1.75)], 0.008, 5).faces
    return mesh


def torch():
    """A stake with a basket; the torch's fire stands at 1.62."""
    mesh = Mesh()
    mesh.faces += tube([(0, -0.1, 0), (0.01, 0.8, 0), (0, 1.5, 0)], [0.035, 0.03, 0.035], 10).faces
    put(mesh, turned_part([[(0.03, 1.36), (0.07, 1.48), (0.085, 1.64)], [(0.085, 1.64), (0.0, 1.60)]], 16))
    for y in (1.46, 1.60):
        mesh.ring(0.09, 0.012, "y", 24, 6, (0, y, 0))
    return mesh


def ground():
    """The clearing: trodden near the fire, rising to the forest's edge."""
    n = 60
    places = [24 * math.copysign(abs(t) ** 2, t) for t in (2 * k / n - 1 for k in range(n + 1))]

    def height(x, z):
        r = math.hypot(x, z)
        return (0.10 * (fractal(0.9 * x + 40, 0.9 * z + 40, 3, seed=6) - 0.5) * min(1.0, r / 1.2) +
                0.9 * (fractal(0.16 * x + 9, 0.16 * z + 9, 3, seed=3) - 0.35) * min(1.0,
                                                                                    max(0.0, (r - 3) / 6)))
    rows = [[(x, height(x, -z), -z) for x in places] for z in places]
    mesh = Mesh()
    mesh.grid(rows, [[(p[0], p[2], 0) for p in row] for row in rows])
    return mesh


def grass():
    """Tufts around the clearing."""
    mesh = Mesh()
    for k in range(420):
        a, r = 2.39996 * k, 2.3 + 5.2 * noise(k, 1, seed=7) ** 1.3
        x, z = r * math.sin(a), r * math.cos(a)
        for j in range(4):
            t, tall = 1.7 * j + k, 0.10 + 0.16 * noise(k, j, seed=3)
            dx, dz = 0.05 * math.sin(t), 0.05 * math.cos(t)
            foot = (x + dx, -0.03, z + dz)
            tip = (x + 3.2 * dx, tall, z + 3.2 * dz)
            mesh.flat([(foot[0] - 0.012 * math.cos(t), -0.03, foot[2] + 0.012 * math.sin(t)),
                       (foot[0] + 0.012 * math.cos(t), -0.03, foot[2] - 0.012 * math.sin(t)), tip])
    return mesh


PARTS = (
    ("fire", fire, "The sheets of a camp fire; it burns up from y = 0."),
    ("torch_fire", torch_fire, "The sheets of a torch's fire."),
    ("wood", wood, "The wood in the fire."), ("coals", coals, "The embers of the fire."),
    ("ring", ring, "The stones around the fire."), ("seats", seats,
                                                    "Trunks to sit on, and a stack of wood."),
    ("tent", tent, "A tent, open towards +z."), ("torch", torch, "A torch; its fire stands at 1.62."),
    ("ground", ground, "A clearing, 48 wide."), ("grass", grass, "Tufts of grass around the clearing."),
)

if __name__ == "__main__":
    make([(f"camp_{name}", build, remark) for name, build, remark in PARTS])
