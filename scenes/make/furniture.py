"""Builds the armchair of scenes/velvet.mi.

The chair stands on y = 0, faces +z and is 0.95 high; all of its parts share its origin. The shell goes
around the seat as a U: one surface whose section is a tufted inside, a roll on top and a smooth
outside.
"""

import math

from parts import make
from picture import smooth
from robot import tube, turned_part
from shapes import Mesh, curve

STRAIGHT, BEND = 0.40, 0.33  # the U's arms, and the radius of its back


def along(s):
    """The point (x, z) of the U at a part s of its length, and the way out (x, z)."""
    total = 2 * STRAIGHT + math.pi * BEND
    d = s * total
    if d < STRAIGHT:
        return (-BEND, STRAIGHT - d), (-1.0, 0.0)
    if d > total - STRAIGHT:
        return (BEND, d - total + STRAIGHT), (1.0, 0.0)
    a = (d - STRAIGHT) / BEND
    out = (-math.cos(a), -math.sin(a))
    return (BEND * out[0], BEND * out[1]), out


COLUMNS, LOW = 14, 0.40  # diamonds along the U, and where the tufts begin


def top(s):
    """Height of the shell's rim: low at the arms' ends, high at the back."""
    return 0.66 + 0.24 * smooth(0.16, 0.42, s) * smooth(0.84, 0.58, s)


def tuft(u, v):
    """Depth of the tufting, 0 in its seams and 1 on its cushions; buttons are deeper."""
    a, b = abs(math.sin(math.pi * (u + v) / 2)), abs(math.sin(math.pi * (u - v) / 2))
    soft = 0.045  # rounds the seams, which the mesh could not follow otherwise
    return ((a * a + soft) * (b * b + soft)) ** 0.25 - 0.25 * math.exp(-(a * a + b * b) / 0.10)


def shell():
    steps, rows, texture = 120, [], []
    for i in range(steps + 1):
        s = i / steps
        (x, z), out = along(s)
        rim = top(s)
        profile = []
        for k in range(23):  # the inside, from the seat up
            t = k / 22
            y = LOW - 0.08 + (rim - LOW + 0.02) * t
            depth = tuft(COLUMNS * s, 4 * t - 0.3) * smooth(0.0, 0.10, t) * smooth(1.02, 0.80, t)
            profile.append((0.02 - 0.055 * depth + 0.05 * t, y))
        for k in range(1, 15):  # the roll
            a = math.radians(180 - 250 * k / 14)
            profile.append((0.145 + 0.078 * math.cos(a), rim - 0.03 + 0.078 * math.sin(a)))
        profile += [(0.135, rim - 0.16), (0.130, 0.40), (0.125, 0.16), (0.06, 0.155)]

        # Draw the section together where an arm ends, so that it ends round.
        near = min(s, 1 - s) * (2 * STRAIGHT + math.pi * BEND)
        shrink = math.sqrt(max(0.0, 1 - (1 - min(1.0, near / 0.075)) ** 2))
        row = []
        for r, y in profile:
            r = 0.085 + (r - 0.085) * shrink
            y = 0.42 + (y - 0.42) * (0.80 + 0.20 * shrink)
            row.append((x + r * out[0], y, z + r * out[1]))
        rows.append(row)
        texture.append([(4 * s, k / 40, 0) for k in range(len(row))])
    mesh = Mesh()
    mesh.grid([list(r) for r in zip(*rows)], [list(r) for r in zip(*texture)])
    return mesh


def buttons():
    mesh, total = Mesh(), 2 * STRAIGHT + math.pi * BEND
    for i in range(1, 4):
        for k in range(COLUMNS + 1):
            if (i + k) % 2 or not 0.03 < k / COLUMNS < 0.97:
                continue
            s, t = k / COLUMNS, (i + 0.3) / 4
            (x, z), out = along(s)
            y = LOW - 0.08 + (top(s) - LOW + 0.02) * t
            r = 0.02 + 0.05 * t + 0.002
            if t < 0.95:
                mesh.sphere(0.014, 12, 8, (x + r * out[0], y, z + r * out[1]))
    return mesh


def outline(a, width, depth, power=4.5):
    """A rounded rectangle: the point (x, z) at an angle, round behind and square before."""
    c, s = math.sin(a), math.cos(a)
    n = power if s > 0 else 2.3
    return (width * math.copysign(abs(c) ** (2 / n), c), depth * math.copysign(abs(s) ** (2 / n), s))


def slab(width, front, back, runs, segments=96):
    """A body over the seat's outline; runs are of (inset, y), from below to the middle above."""
    mesh = Mesh()
    for run in runs:
        rows, texture = [], []
        for inset, y in run:
            row = []
            for k in range(segments + 1):
                a = 2 * math.pi * (k % segments) / segments
                x, z = outline(a, 1, 1)
                far = min(inset, width)
                row.append((x * (width - far), y, z * ((front if z > 0 else back) * (1 - far / width))))
            rows.append(row)
            texture.append([(p[0], p[2], 0) for p in row])
        mesh.grid(rows, texture, closed=True)
    return mesh


def cushion():
    """The seat, 0.2 thick, with a crown."""
    run = [(0.10, 0.285), (0.04, 0.29), (0.012, 0.305), (0.0, 0.33), (0.0, 0.38), (0.004, 0.41), (0.018, 0.435),
           (0.05, 0.452), (0.10, 0.464), (0.17, 0.474), (0.25, 0.480), (0.33, 0.482)]
    return slab(0.33, 0.43, 0.32, [curve(run, 3)])


def piping():
    """Cords along the seat's edges."""
    mesh = Mesh()
    for inset, y in ((0.006, 0.424), (0.008, 0.308)):
        path = []
        for k in range(97):
            x, z = outline(2 * math.pi * (k % 96) / 96, 1, 1)
            path.append((x * (0.332 - inset), y, z * ((0.432 if z > 0 else 0.322) - inset)))
        mesh.faces += tube(path, 0.009, 8).faces
    return mesh


def plinth():
    """The front below the seat."""
    return slab(0.40, 0.40, 0.40, [[(0.06, 0.15), (0.012, 0.155)], [(0.012, 0.155), (0.008, 0.17), (0.008, 0.28)],
                                   [(0.008, 0.28), (0.05, 0.30)]])


def legs():
    mesh = Mesh()
    run = curve([(0.016, 0.03), (0.018, 0.06), (0.030, 0.10), (0.036, 0.13), (0.030, 0.16)], 4)
    leg = turned_part([[(0, 0), (0.013, 0)], [(0.013, 0), (0.022, 0.012), (0.013, 0.028)], run], 24)
    for x, z in ((-0.36, 0.33), (0.36, 0.33), (-0.27, -0.28), (0.27, -0.28)):
        for face in leg.faces:
            mesh.face([((p[0] + x, p[1], p[2] + z), n, t) for p, n, t in face])
    return mesh


def pillow():
    """A square pillow about the origin, 0.42 wide, that faces +z, with pinched corners and creases."""
    mesh = Mesh()
    for way in (1, -1):
        rows, texture = [], []
        for i in range(33):
            row = []
            for k in range(33):
                u, v = (k / 16 - 1) * way, i / 16 - 1
                x = u * (1 - 0.10 * (1 - v * v)) * 0.21
                y = v * (1 - 0.10 * (1 - u * u)) * 0.21
                full = (max(0.0, 1 - u ** 4) * max(0.0, 1 - v ** 4)) ** 0.5
                crease = 0.012 * math.sin(9 * u * v + 2 * u) * full * (u * u + v * v)
                row.append((x, y, way * (0.085 * full + crease)))
            rows.append(row)
            texture.append([(k / 32, i / 32, 0) for k in range(33)])
        mesh.grid(rows, texture)
    edge = []
    for k in range(129):
        side, t = divmod(k % 128, 32)
        u, v = ((t / 16 - 1, -1), (1, t / 16 - 1), (1 - t / 16, 1), (-1, 1 - t / 16))[side]
        edge.append((u * (1 - 0.10 * (1 - v * v)) * 0.21, v * (1 - 0.10 * (1 - u * u)) * 0.21, 0))
    mesh.faces += tube(edge, 0.006, 8).faces
    return mesh


def curtain():
    """A curtain, 1.1 wide and 2.6 high, gathered to the left at a height of 1.05."""
    rows, texture = [], []
    for i in range(33):
        y = 2.6 * i / 32
        gather = 0.72 * math.exp(-((y - 1.05) / (0.34 if y < 1.05 else 0.62)) ** 2)
        row = []
        for k in range(113):
            u = k / 112
            a = 2 * math.pi * 7 * u + 0.8 * math.sin(5 * u) + 0.5 * math.sin(2.2 * y + 9 * u)
            deep = 0.055 * (1 + 0.35 * math.sin(7 * u + 1))
            lag = gather * (0.5 + 0.5 * u)
            row.append((1.1 * u * (1 - lag) + 0.05 * gather, y - 0.16 * gather * u * (1 - u),
                        deep * (math.sin(a) + 0.25 * math.sin(2 * a + 1)) + 0.10 * gather))
        rows.append(row)
        texture.append([(k / 112, i / 32, 0) for k in range(113)])
    mesh = Mesh()
    mesh.grid(rows, texture)
    return mesh


PARTS = (("shell", shell, "The tufted shell of an armchair that faces +z, 0.95 high."),
         ("buttons", buttons, "The buttons of its tufts."), ("cushion", cushion, "Its seat."),
         ("piping", piping, "The cords along its seat."), ("plinth", plinth, "Its front below the seat."),
         ("legs", legs, "Its legs."))

if __name__ == "__main__":
    make([*((f"armchair_{n}", b, r) for n, b, r in PARTS),
          ("pillow", pillow, "A square pillow, 0.42 wide, that faces +z."),
          ("curtain", curtain, "A curtain, 2.6 high, gathered to the left.")])
