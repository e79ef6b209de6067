"""Builds the stage of scenes/toon_beam.mi.

The robot of robot.py stands at the origin of the stage, whose floor is y = 0; the audience sits on
the side of +z. Lengths are in metres.
"""

import math

from parts import make
from robot import aim, tube, turned_part
from shapes import Mesh, curve


def cloth(width, height, folds, depth, steps=16, pieces=24, gather=lambda y: 1.0):
    """Cloth that hangs in folds before the plane z = 0, its middle at x = 0."""
    rows, texture = [], []
    columns = folds * steps
    for i in range(pieces + 1):
        y = height * i / pieces
        row = []
        for k in range(columns + 1):
            u = k / columns
            a = 2 * math.pi * folds * u + 0.7 * math.sin(5.3 * u) + 0.5 * math.sin(2.1 * folds * u)
            flare = 1 + 0.35 * (1 - y / height)
            row.append((width * gather(y) * (u - 0.5), y,
                        depth * flare * math.sin(a)))
        rows.append(row)
        texture.append([(k / columns, i / pieces, 0) for k in range(columns + 1)])
    mesh = Mesh()
    mesh.grid(rows, texture)
    return mesh


def drape():
    """A side curtain, held together by a cord 1.15 above the floor."""
    return cloth(1.7, 5.0, 6, 0.11, 16, 24,
                 lambda y: 1 - 0.62 * math.exp(-((y - 1.15) / 0.75) ** 2))


def cord():
    """The cord of a side curtain."""
    mesh = Mesh()
    for y in (1.11, 1.19):
        path = [(0.36 * math.sin(a), y + 0.03 * math.cos(a), 0.20 * math.cos(a))
                for a in (2 * math.pi * k / 32 - math.pi for k in range(33))]
        mesh.faces += tube(path, 0.035, 12).faces
    return mesh


def microphone():
    """A stand at x = 0.66, z = 0.72, with a boom to the robot's mouth."""
    mesh = Mesh()
    base = turned_part([[(0.24, 0), (0.24, 0.03)], [(0.24, 0.03), (0.05, 0.075)],
                        [(0.05, 0.075), (0.022, 0.075)], [(0.022, 0.075), (0.022, 1.26)],
                        [(0.045, 1.26), (0.045, 1.38)], [(0.045, 1.38), (0, 1.38)]], 32)
    aim(mesh, base, (0, 1, 0), (0.66, 0, 0.72))
    mesh.faces += tube([(0.83, 1.25, 0.70), (0.66, 1.33, 0.72), (0.33, 1.49, 0.83)], 0.018, 12).faces
    return mesh


def capsule():
    """The microphone itself."""
    mesh = Mesh()
    head = turned_part([[(0.03, -0.26), (0.055, -0.02)], [(0.085, -0.02), (0.085, 0.02)],
                        [(0.085 * math.cos(a), 0.02 + 0.11 * math.sin(a))
                         for a in (math.pi / 2 * k / 10 for k in range(10))] + [(0, 0.13)]], 32)
    aim(mesh, head, (-0.80, 0.38, -0.20), (0.19, 1.57, 0.85))
    return mesh


def lamp():
    """A lamp that hangs from the origin and looks along -z, aslant; its glass is apart."""
    mesh = Mesh()
    can = turned_part([[(0, -0.30), (0.13, -0.26)], [(0.13, -0.26), (0.17, -0.20)],
                       [(0.17, -0.20), (0.17, 0.10)], [(0.17, 0.10), (0.215, 0.10)],
                       [(0.215, 0.10), (0.225, 0.24)], [(0.225, 0.24), (0.195, 0.24)],
                       [(0.195, 0.24), (0.18, 0.12)]], 40)
    aim(mesh, can, (0, 0, -1), (0, 0, 0), (0, 1, 0))
    return mesh


def glass():
    """The glass of a lamp."""
    mesh = Mesh()
    aim(mesh, turned_part([[(0.2, 0.2), (0, 0.2)]], 40), (0, 0, -1), (0, 0, 0), (0, 1, 0))
    return mesh


def rig():
    """The pipe that the lamps hang from at x = -2.7, -0.9, 0.9, 2.7 and y = 3.4, with their forks."""
    mesh = Mesh()
    mesh.faces += tube([(-8, 3.86, 0), (8, 3.86, 0)], 0.045, 20).faces
    for x in LAMPS:
        mesh.faces += tube([(x, 3.86, 0), (x, 3.68, 0)], 0.03, 12).faces
        fork = curve([(x - 0.26, 3.40, 0), (x - 0.26, 3.60, 0), (x - 0.12, 3.68, 0), (x, 3.69, 0),
                      (x + 0.12, 3.68, 0), (x + 0.26, 3.60, 0), (x + 0.26, 3.40, 0)], 6)
        mesh.faces += tube(fork, 0.025, 12).faces
    return mesh


LAMPS = (-2.7, -0.9, 0.9, 2.7)


def shell():
    """A footlight's shell at the origin; its ribs are creases."""
    mesh, ribs, steps = Mesh(), 7, 6
    for rib in range(ribs):
        rows, texture = [], []
        for i in range(13):
            b = math.pi / 2 * i / 12
            row = []
            for k in range(steps + 1):
                a = math.pi * ((rib + k / steps) / ribs - 0.5)
                r = 0.18 * (1 + 0.09 * math.sin(math.pi * k / steps) * math.cos(b) ** 0.5)
                row.append((r * math.sin(a) * math.cos(b) ** 0.8, 0.22 * math.sin(b),
                            r * math.cos(a) * math.cos(b) ** 0.8))
            rows.append(row)
            texture.append([(k / steps, i / 12, 0) for k in range(steps + 1)])
        mesh.grid(rows, texture)
    return mesh


def floor():
    """The stage, 16 wide, from z = -4 to its edge at 2.4; u counts across the boards."""
    mesh = Mesh()
    mesh.face([((x, 0, z), (0, 1, 0), (x / 0.32 + 100, z + 100, 0))
               for x, z in ((-8, 2.4), (8, 2.4), (8, -4), (-8, -4))])
    return mesh


def edge():
    """The edge of the stage: a moulding over a board."""
    mesh = Mesh()
    mesh.extrude([(2.36, -2.0), (2.36, -0.17), (2.44, -0.13), (2.47, -0.07), (2.44, 0.0),
                  (2.39, 0.004)], 16)
    for face in mesh.faces:
        face[:] = [((p[0] - 8, p[1], p[2]), n, t) for p, n, t in face]
    return mesh


PARTS = (
    ("backdrop", lambda: cloth(14, 6.5, 30, 0.08, 20, 3), "The curtain at the back of the stage."),
    ("drape", drape, "A side curtain of the stage."), ("cord", cord, "The cord of a side curtain."),
    ("microphone", microphone, "A stand for the robot's microphone."),
    ("capsule", capsule, "The robot's microphone."), ("lamp", lamp, "A stage lamp; it looks along -z."),
    ("glass", glass, "The glass of the stage lamp."), ("rig", rig, "The pipe for four stage lamps."),
    ("shell", shell, "The shell of a footlight."), ("floor", floor, "The stage's boards."),
    ("edge", edge, "The edge of the stage."),
)

if __name__ == "__main__":
    make([(f"stage_{name}", build, remark) for name, build, remark in PARTS])
