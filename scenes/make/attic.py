"""Builds what lies on the desk of scenes/dusty.mi.

The desk's top is y = 0 and z points at who sits there; lengths are in squares of the chess board,
which is 10 wide. Chessmen stand on their own y = 0, books lie where they are.
"""

import math

from chess import collar, foot
from harbour import put
from parts import make
from robot import tube, turned_part
from shapes import Mesh, arc, curve


def man(*runs):
    mesh = Mesh()
    mesh.lathe([*foot(), *runs], 40)
    return mesh


def waist(high, thin):
    return curve([(0.40, 0.28), (0.355, 0.36), (thin + 0.07, 0.58), (thin, 0.95),
                  (thin - 0.005, high - 0.1), (thin + 0.02, high)], 4)


def king():
    mesh = man(waist(1.5, 0.19), *collar(0.34, 1.5), *collar(0.27, 1.6),
               [(0.17, 1.68), (0.21, 1.78), (0.31, 2.12)], [(0.31, 2.12), (0.33, 2.15), (0.31, 2.19)],
               curve([(0.31, 2.19), (0.24, 2.27), (0.08, 2.32), (0.055, 2.36)], 4),
               [(0.055, 2.36), (0, 2.36)])
    for low, high in (((-0.045, 2.34, -0.04), (0.045, 2.66, 0.04)),
                      ((-0.13, 2.45, -0.04), (0.13, 2.54, 0.04))):
        mesh.box(low, high)
    return mesh


def queen():
    mesh = man(waist(1.4, 0.18), *collar(0.33, 1.4), *collar(0.25, 1.5),
               curve([(0.16, 1.58), (0.20, 1.72), (0.31, 2.0)], 4), [(0.31, 2.0), (0.25, 2.01)],
               curve([(0.25, 2.01), (0.20, 2.11), (0.06, 2.15)], 4), arc(0, 2.20, 0.08, -50, 90, 8))
    for k in range(9):
        a = 2 * math.pi * k / 9
        mesh.sphere(0.06, 14, 8, (0.285 * math.cos(a), 2.03, 0.285 * math.sin(a)))
    return mesh


def bishop():
    return man(waist(1.25, 0.17), *collar(0.31, 1.25), *collar(0.23, 1.34),
               curve([(0.13, 1.42), (0.23, 1.54), (0.245, 1.66), (0.16, 1.86), (0.05, 1.97)], 6),
               arc(0, 2.02, 0.07, -50, 90, 8))


def rook():
    mesh = man(waist(1.05, 0.25), *collar(0.36, 1.05), [(0.27, 1.13), (0.26, 1.2), (0.36, 1.32)],
               [(0.36, 1.32), (0.37, 1.46)],
               [(0.37, 1.46), (0.25, 1.46)], [(0.25, 1.46), (0.24, 1.38)], [(0.24, 1.38), (0, 1.38)])
    for k in range(6):
        start, points = 2 * math.pi * k / 6, []
        steps = [start + 0.68 * j / 4 for j in range(5)]
        for a, b in zip(steps, steps[1:]):
            ring = [(r * math.sin(t), r * math.cos(t)) for r,
                    t in ((0.25, a), (0.37, a), (0.37, b), (0.25, b))]
            low, high = [[(x, y, z) for x, z in ring] for y in (1.45, 1.62)]
            mesh.flat(high)
            for n in (1, 3):
                m = (n + 1) % 4
                mesh.flat([low[n], low[m], high[m], high[n]])
            points += [low, high]
        for (low, high), n in (((points[0], points[1]), 0), ((points[-2], points[-1]), 2)):
            mesh.flat([low[n], low[n + 1], high[n + 1], high[n]])
    return mesh


# Books: middle of the spine (x, y, z), turn, width of the spine, thickness, depth. Spines face +z.
BOOKS = ((-6.7, 0.0, -2.1, 6, 8.6, 1.5, 6.2), (-6.5, 1.5, -2.35, -3, 8.0, 1.15, 5.8),
         (-6.9, 2.65, -2.6, 10, 6.8, 1.75, 5.0),
         (-6.6, 4.40, -2.9, -8, 5.6, 0.9, 4.2))
BOARD = 0.10  # thickness of the covers


def book(wide, thick, deep):
    """Cover, pages and gilding of a book that lies on y = 0, its spine's middle at z = 0."""
    cover, pages, gold = Mesh(), Mesh(), Mesh()
    half = wide / 2
    for y in (0, thick - BOARD):
        cover.box((-half, y, -deep), (half, y + BOARD, -0.12))
    bulge = [(0.16 * math.cos(a) ** 0.7 - 0.13, thick / 2 + thick / 2 * math.sin(a)) for a in
             (math.pi * (k / 10 - 0.5) for k in range(11))]
    rows = [[(x, y, z) for x in (-half, half)] for z, y in bulge]
    cover.grid(rows, [[(x, y, 0) for x in (0, 1)] for _, y in bulge])
    for side in (-1, 1):  # close the spine's ends
        ring = [(side * half, y, z) for z, y in bulge]
        cover.flat(ring[::-1] if side > 0 else ring)
    for k in range(5):  # raised bands
        x = half * (-0.72 + 0.36 * k)
        cover.faces += tube([(x, y, z) for z, y in bulge[1:-1]], 0.055, 8).faces
    for k in (-0.54, -0.18, 0.54):
        for x in (half * k - 0.16, half * k + 0.12):
            for low in (0.25, 0.42, 0.59):
                gold.box((x, thick * low, -0.02), (x + 0.05, thick * (low + 0.14), 0.036))
    inside = 0.14
    pages.box((-half + inside, BOARD, -deep + inside), (half - inside, thick - BOARD, -0.05), 1.0)
    return cover, pages, gold


def laid(part):
    """One part of all books, in their places: 0 the cover, 1 the pages, 2 the gilding."""
    result = []
    for x, y, z, turn, wide, thick, deep in BOOKS:
        mesh = Mesh()
        put(mesh, book(wide, thick, deep)[part], x, y, z, turn)
        result.append(mesh)
    return result


def together(meshes):
    mesh = Mesh()
    for other in meshes:
        mesh.faces += other.faces
    return mesh


def board():
    """The frame of a chess board, 10 wide and 0.45 high; its squares are a polygon of the scene."""
    mesh = Mesh()
    for turn in (0, 90, 180, 270):
        side = Mesh()
        side.extrude([(5.0, 0.0), (5.06, 0.10), (5.0, 0.16), (5.0, 0.40), (4.95, 0.45), (4.08, 0.45),
                      (4.05, 0.42), (4.0, 0.42)], 10)
        for face in side.faces:
            moved = []
            for p, n, t in face:
                reach = p[2]  # mitred at the corners
                moved.append(((reach * (p[0] / 5 - 1), p[1], p[2]), n, t))
            face[:] = moved
        put(mesh, side, turn=turn)
    return mesh


def candlestick():
    """A brass candlestick, 3.4 high."""
    return turned_part([[(0, 0), (1.15, 0)], arc(1.15, 0.07, 0.07, -90, 90, 6),
                        curve([(1.15, 0.14), (0.75, 0.22), (0.35, 0.42), (0.22, 0.75)], 5),
                        arc(0.2, 0.86, 0.16, -60, 60, 8), curve([(0.2, 1.0), (0.15, 1.5), (0.17, 2.2)], 5),
                        arc(0.17, 2.34, 0.14, -60, 60, 8),
                        curve([(0.2, 2.46), (0.24, 2.7), (0.85, 2.95)], 5),
                        arc(0.85, 3.0, 0.05, -90, 90, 6), [(0.85, 3.05), (0.42, 2.98)],
                        [(0.36, 2.98), (0.38, 3.4)], [(0.38, 3.4), (0.28, 3.4)]], 56)


def candle():
    """What is left of the candle, with its wax."""
    def melted(angle, radius, y):
        return radius * (1 + (0.10 * math.sin(3 * angle) + 0.08 * math.sin(5 * angle + 1) if y < 4.4 else 0))
    mesh = Mesh()
    mesh.lathe([curve([(0.42, 3.35), (0.33, 3.6), (0.30, 4.1), (0.30, 4.6)], 5),
                arc(0.25, 4.6, 0.05, 0, 90, 5), [(0.25, 4.65), (0.0, 4.55)]],
               48, radius_at=melted)
    mesh.faces += tube([(0, 4.5, 0), (0.01, 4.75, 0), (0.05, 4.9, 0.02)], 0.03, 8).faces
    return mesh


def spectacles():
    """Reading glasses: rims and sides of wire, folded open."""
    mesh = Mesh()
    for side in (-1, 1):
        mesh.faces += tube([(side * 0.8 + 0.62 * math.cos(a), 0.62 + 0.60 * math.sin(a),
                             0) for a in (2 * math.pi * k / 32 for k in range(33))],
                           0.045, 8).faces
        mesh.faces += tube(curve([(side * 1.42, 0.75, 0), (side * 1.45, 0.72, -0.6),
                                  (side * 1.40, 0.55, -2.2), (side * 1.35, 0.05, -3.0)], 6),
                           0.035, 8).faces
    mesh.faces += tube(curve([(-0.24, 0.78, 0), (0, 0.9, 0.05), (0.24, 0.78, 0)], 6), 0.04, 8).faces
    return mesh


OBJECTS = [("king", king, "A chess king, 2.7 high."), ("queen", queen, "A chess queen, 2.3 high."),
           ("bishop", bishop, "A chess bishop, 2.1 high."), ("rook", rook, "A chess rook, 1.6 high."),
           ("attic_board", board, "The frame of a chess board."),
           ("attic_pages", lambda: together(laid(1)), "The pages of the books on the desk."),
           ("attic_gold", lambda: together(laid(2)), "The gilding of the books on the desk."),
           ("attic_candlestick", candlestick, "A candlestick."),
           ("attic_candle", candle, "The candle in it."),
           ("attic_spectacles", spectacles, "Reading glasses.")]
OBJECTS += [(f"attic_book{k}", lambda k=k: laid(0)[k],
             "The cover of a book on the desk.") for k in range(len(BOOKS))]

if __name__ == "__main__":
    make(OBJECTS)
