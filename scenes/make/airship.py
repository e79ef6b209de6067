"""Builds the airship and the drawing sheet of scenes/toon_wire.mi.

The ship flies towards -z, is 48 long and has its axis on the origin's height; lengths are in
metres. All quads are flat, so that their diagonals are no edges: turned bodies have such quads, and
so have turned bodies that are stretched, flattened or sheared.
"""

import math

import numpy

from parts import make
from picture import clamp, mix, paint, png
from robot import aim, tube, turned_part
from shapes import Mesh

NOSE, TAIL, RADIUS = -24.0, 24.0, 5.4
SIDES, PANES = 28, 22


def radius_at(z):
    """The hull's radius: blunt at the nose, slender at the tail."""
    s = (z - NOSE) / (TAIL - NOSE)
    return RADIUS * s ** 0.5 * (1 - s) ** 0.85 / (0.3704 ** 0.5 * 0.6296 ** 0.85)


def shaped(part, stretch=(1, 1, 1), lean=(0, 0), move=(0, 0, 0)):
    """A part stretched along the axes, then sheared by its height in x and z, then moved."""
    mesh = Mesh()
    for face in part.faces:
        corners = []
        for p, n, t in face:
            x, y, z = (a * b for a, b in zip(p, stretch))
            m = [a / b for a, b in zip(n, stretch)]
            m[1] -= lean[0] * m[0] + lean[1] * m[2]
            size = math.hypot(*m) or 1.0
            corners.append(((x + lean[0] * y + move[0], y + move[1], z + lean[1] * y + move[2]),
                            tuple(a / size for a in m), t))
        mesh.face(corners)
    return mesh


def profile(rows):
    """Points of the hull's profile (radius, z) that lie evenly along it."""
    fine = [(radius_at(z), z) for z in
            (NOSE + (TAIL - NOSE) * (0.5 - 0.5 * math.cos(math.pi * k / 2000)) for k in range(2001))]
    length = [0.0]
    for a, b in zip(fine, fine[1:]):
        length.append(length[-1] + math.dist(a, b))
    wanted, run = [length[-1] * (k + 0.35) / rows for k in range(rows)], []
    for w in wanted:
        k = next(i for i, l in enumerate(length) if l >= w)
        run.append(fine[k])
    return run


def hull():
    run = profile(30)
    mesh = Mesh()
    aim(mesh, turned_part([[(r, -z) for r, z in reversed(run)]], SIDES), (0, 0, -1), (0, 0, 0),
        (0, 1, 0))
    return mesh


def caps():
    """The mooring cone at the nose and the cone of the tail."""
    run = profile(30)
    mesh = Mesh()
    (r, z), (s, w) = run[0], run[-1]
    nose = [[(r + 0.12, z + 0.25), (r + 0.12, z + 0.05)], [(r + 0.12, z + 0.05), (0.42, z - 0.55)],
            [(0.42, z - 0.55), (0.16, z - 0.75)], [(0.16, z - 0.75), (0.16, z - 1.5)],
            [(0.16, z - 1.5), (0, z - 1.5)]]
    aim(mesh, turned_part([[(a, -b) for a, b in piece] for piece in nose], 14), (0, 0, -1), (0, 0, 0),
        (0, 1, 0))
    tail = [[(s + 0.06, w - 0.2), (s + 0.06, w)], [(s + 0.06, w), (0.1, w + 0.7)],
            [(0.1, w + 0.7), (0, w + 0.7)]]
    aim(mesh, turned_part(tail, 14), (0, 0, 1), (0, 0, 0), (0, 1, 0))
    return mesh


def leaf(chord, span, sides, rows):
    """A leaf that stands on y = 0: a turned body, still round."""
    run = []
    for k in range(rows + 1):
        h = math.sin(math.pi / 2 * k / rows)
        run.append((chord * max(0.0, 1 - h ** 4) ** 0.5 * (1 - 0.30 * h), span * h))
    return turned_part([run], sides)


def around(part, count=4, start=0.0):
    """Copies of a part about the ship's axis; the part itself stands upright, along +y."""
    mesh = Mesh()
    for k in range(count):
        a = math.radians(start + 360 * k / count)
        c, s = math.cos(a), math.sin(a)
        for face in part.faces:
            mesh.face([((c * p[0] + s * p[1], c * p[1] - s * p[0], p[2]),
                        (c * n[0] + s * n[1], c * n[1] - s * n[0], n[2]), t) for p, n, t in face])
    return mesh


def fins():
    """Four fins at the tail."""
    return around(shaped(leaf(4.2, 6.6, 20, 9), (0.075, 1, 1), (0, 0.20), (0, 0.6, 15.2)))


def rudders():
    """The moving parts of the fins."""
    return around(shaped(leaf(1.3, 5.2, 14, 8), (0.16, 1, 1), (0, 0.06), (0, 1.2, 20.3)))


def gondola():
    """The cabin under the hull."""
    run = [(0.5, 0), (0.70, 0.12), (0.83, 0.42), (0.91, 0.85), (0.935, 1.9), (0.87, 2.3)]
    return shaped(turned_part([[(0, 0), (0.5, 0)], run], PANES), (1.45, 1, 6.2), (0, 0),
                  (0, -7.0, -5.6))


def windows():
    """Panes before the cabin's wall, one on every facet of it."""
    mesh = Mesh()
    for k in range(PANES):
        middle, half = 2 * math.pi * (k + 0.5) / PANES, 0.7 * math.pi / PANES
        corners = []
        for way, y, r in ((-1, 1.0, 0.914), (1, 1.0, 0.914), (1, 1.7, 0.930), (-1, 1.7, 0.930)):
            a = middle + way * half
            r *= 1.012 * math.cos(math.pi / PANES) / math.cos(half)  # in the flat of the facet
            corners.append((1.45 * r * math.sin(a), y - 7.0, 6.2 * r * math.cos(a) - 5.6))
        mesh.flat(corners)
    return mesh


def pods():
    """Four engines in their gondolas, on struts from the hull."""
    mesh = Mesh()
    for x, y, z in PODS:
        body = turned_part([[(0.22, -1.75), (0.46, -1.5), (0.66, -1.0), (0.76, -0.35), (0.78, 0.3),
                             (0.70, 0.9), (0.50, 1.4), (0.34, 1.6)], [(0.34, 1.6), (0.34, 1.7)],
                            [(0.34, 1.7), (0, 1.7)]], 14)
        aim(mesh, body, (0, 0, -1), (x, y, z), (0, 1, 0))
    return mesh


def struts():
    mesh = Mesh()
    for x, y, z in PODS:
        for dz in (-0.8, 0.8):
            for lift in (0.9, -0.55):
                foot = (x * 0.62, y * 0.62 + lift, z + 1.3 * dz)
                mesh.faces += tube([(x, y, z + dz), foot], 0.06, 3).faces
    return mesh


def propellers():
    """Two blades and a spinner before each engine."""
    mesh = Mesh()
    for k, (x, y, z) in enumerate(PODS):
        spinner = turned_part([[(0.30, 0), (0.27, 0.2), (0.17, 0.42), (0, 0.52)]], 8)
        aim(mesh, spinner, (0, 0, -1), (x, y, z - 1.7), (0, 1, 0))
        for turn in (0, 180):
            blade = shaped(leaf(0.27, 2.1, 6, 3), (1, 1, 0.22))
            a = math.radians(turn + 25 + 40 * k)
            axis = (math.sin(a), math.cos(a), 0)
            aim(mesh, blade, axis, (x, y, z - 1.86), (0.35, 0, 1))
    return mesh


PODS = [(side * 5.9, -3.6, z) for z in (-9.5, 4.5) for side in (-1, 1)]

# Letters as strokes: pairs of column (0 to 4) and row (0 to 6); a blank lifts the pen.
LETTERS = {
    "A": "0004264440 0242", "D": "00063645413000", "E": "40000646 0333", "F": "000646 0333",
    "G": "45361605011030414323", "H": "0006 4046 0343", "I": "1016", "L": "060040",
    "M": "0006234640", "N": "00064046", "O": "103041453616050110", "P": "00063645443303",
    "R": "00063645443303 2340", "S": "011030414233130405163645", "T": "0646 2026", "V": "062046",
    "W": "0610243046", "C": "4536160501103041", "0": "103041453616050110", "1": "051610",
    "2": "05163645440040", "4": "30360242", "5": "4606033342413000",
    "8": "13040516364544331302011030414233",
    ":": "1112 1415",
}
WIDTH, HEIGHT = 1280, 720


class Sheet:
    """Blue paper; strokes are drawn in pixels from the lower left."""

    def __init__(self):
        self.ink = [[0.0] * WIDTH for _ in range(HEIGHT)]

    def line(self, x0, y0, x1, y1, strength=0.75, width=1.2):
        reach = width / 2 + 1
        along = (x1 - x0) ** 2 + (y1 - y0) ** 2
        for y in range(int(min(y0, y1) - reach), int(max(y0, y1) + reach) + 1):
            for x in range(int(min(x0, x1) - reach), int(max(x0, x1) + reach) + 1):
                t = clamp(((x - x0) * (x1 - x0) + (y - y0) * (y1 - y0)) / along) if along else 0
                d = math.hypot(x - x0 - t * (x1 - x0), y - y0 - t * (y1 - y0))
                cover = strength * clamp(width / 2 + 0.5 - d)
                self.ink[y][x] = max(self.ink[y][x], cover)

    def box(self, x0, y0, x1, y1, **kind):
        for a, b, c, d in ((x0, y0, x1, y0), (x1, y0, x1, y1), (x1, y1, x0, y1), (x0, y1, x0, y0)):
            self.line(a, b, c, d, **kind)

    def text(self, x, y, size, words, **kind):
        """Writes with the lower left corner at a point; size is the height of the letters."""
        unit = size / 6
        for letter in words:
            for run in LETTERS.get(letter, "").split():
                points = [(x + unit * int(c), y + unit * int(r)) for c, r in zip(run[::2], run[1::2])]
                for a, b in zip(points, points[1:]):
                    self.line(*a, *b, **kind)
            x += unit * (3.8 if letter in "I:1" else 5.8)

    def dimension(self, x0, x1, y, words):
        """A length between two points of the same height."""
        middle, room = (x0 + x1) / 2, 4.2 * len(words)
        self.line(x0, y, middle - room, y)
        self.line(middle + room, y, x1, y)
        self.text(middle - room + 8, y - 4.5, 9, words)
        for x, way in ((x0, 1), (x1, -1)):
            self.line(x, y - 6, x, y + 6)
            for side in (-3, 3):
                self.line(x, y, x + 9 * way, y + side)

    def centre_line(self, x0, x1, y):
        x = x0
        while x < x1:
            self.line(x, y, min(x + 16, x1), y, strength=0.5)
            if x + 23 < x1:
                self.line(x + 21, y, x + 23, y, strength=0.5)
            x += 28

    def paint(self, u, v):
        """Squared paper, darker towards its corners, under what was drawn."""
        x, y = u * WIDTH - 0.5, v * HEIGHT - 0.5
        glow = 1.12 - 0.55 * ((u - 0.45) ** 2 + 0.7 * (v - 0.6) ** 2)
        color = tuple(c * glow for c in (0.038, 0.155, 0.365))
        inside = (20 < x) & (x < WIDTH - 20) & (20 < y) & (y < HEIGHT - 20)
        squares = inside & (numpy.minimum(x % 20, y % 20) < 1)
        strength = numpy.where(numpy.minimum(x % 100, y % 100) < 1, 0.16, 0.07) * squares
        color = mix(color, (0.45, 0.66, 0.92), strength)
        ink = numpy.array(self.ink)[numpy.rint(y).astype(int), numpy.rint(x).astype(int)]
        return mix(color, (0.84, 0.93, 1.0), ink)


def sheet():
    paper = Sheet()
    paper.box(20, 20, WIDTH - 20, HEIGHT - 20, width=2.2, strength=0.8)
    paper.box(13, 13, WIDTH - 13, HEIGHT - 13, strength=0.35)
    paper.centre_line(44, 850, 132)
    paper.dimension(*LENGTH, 40, "50 M")
    paper.text(62, 208, 10, "SIDE", strength=0.65)
    paper.text(682, 208, 10, "FRONT", strength=0.65)

    # The title block.
    paper.box(940, 20, WIDTH - 20, 132, width=1.8, strength=0.8)
    paper.line(940, 62, WIDTH - 20, 62)
    for x in (1060, 1170):
        paper.line(x, 20, x, 62)
    paper.text(962, 80, 34, "AIRSHIP", width=2.4, strength=0.95)
    for x, words in ((956, "1:400"), (1076, "SHEET 1"), (1186, "NO 24")):
        paper.text(x, 36, 10, words, strength=0.8)
    return paper.paint


LENGTH = (49, 581)  # where the side view begins and ends on the paper

PARTS = (
    ("hull", hull, "The hull of an airship, 48 long; it flies towards -z."),
    ("caps", caps, "The ends of the airship's hull."), ("fins", fins, "The airship's fins."),
    ("rudders", rudders, "The airship's rudders."), ("gondola", gondola, "The airship's cabin."),
    ("windows", windows, "The windows of the airship's cabin."),
    ("pods", pods, "The airship's engines."), ("struts", struts, "The struts of its engines."),
    ("propellers", propellers, "The airship's propellers."),
)

if __name__ == "__main__":
    make([(f"airship_{name}", build, remark) for name, build, remark in PARTS],
         [("textures/blueprint.png", lambda: png(paint(WIDTH, HEIGHT, sheet(), 1, 256)))])
