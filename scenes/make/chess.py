"""Builds the chessmen of scenes/strauss.mi and of the figures of materials.

They stand on y = 0. A pawn is 1.5 high and has what materials are judged by: a ball, a hollow
waist, a thin collar and a stepped foot.
"""

from parts import make
from shapes import Mesh, arc, curve


def foot():
    """Rounded steps up to a radius of 0.40 at a height of 0.28."""
    return [[(0, 0), (0.50, 0)], arc(0.50, 0.075, 0.075, -90, 90, 10), [(0.50, 0.15), (0.45, 0.16)],
            arc(0.43, 0.205, 0.045, -90, 90, 7), [(0.43, 0.25), (0.40, 0.28)]]


def collar(radius, y):
    """A thin disc with a round rim, 0.08 high."""
    return [[(radius * 0.55, y), (radius, y + 0.02)], arc(radius, y + 0.04, 0.02, -90, 90, 5),
            [(radius, y + 0.06), (radius * 0.6, y + 0.08)]]


def pawn():
    waist = curve([(0.40, 0.28), (0.365, 0.34), (0.275, 0.47), (0.205, 0.64), (0.175, 0.80),
                   (0.18, 0.90)], 4)
    head = arc(0, 1.205, 0.295, -62, 90, 22)
    mesh = Mesh()
    mesh.lathe([*foot(), waist, *collar(0.31, 0.90), head], 64)
    return mesh


def stand():
    """Four steps, 1.1 deep and 1.2 high, along x, and a wall behind them; the first ends at z = 0.55."""
    profile = [(0.55, -2)]
    for k in range(4):
        z, y = 0.55 - 1.1 * k, 1.2 * k
        profile += [(z, y - 0.05), (z - 0.015, y - 0.015), (z - 0.05, y), (z - 1.1, y)]
    mesh = Mesh()
    mesh.extrude(profile + [(profile[-1][0], 12)], 24)
    for face in mesh.faces:
        face[:] = [((p[0] - 12, p[1], p[2]), n, t) for p, n, t in face]
    return mesh


OBJECTS = (("pawn", pawn, "A chess pawn, 1.5 high."),
           ("chess_stand", stand, "Four steps for chessmen, along x, before a wall."))

if __name__ == "__main__":
    make(OBJECTS)
