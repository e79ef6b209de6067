"""Builds the chapel of scenes/beams.mi.

The nave is 8 wide and 24 long; its walls are the planes x = -4 and 4, the wall with the wheel
window is z = -14. Lengths are in metres.
"""

import math

import numpy

from harbour import put
from parts import make
from picture import least, mix, paint, pick, png, scaled, smooth, where
from shapes import Mesh, arc, curve
from slides import COBALT, CREAM, EMERALD, GOLD, RUBY, SKY, VIOLET, glass

HALF, SPRING, BACK, FRONT, BAY = 4.0, 5.2, -14.0, 10.0, 4.0
WALL = 0.5                              # thickness of all walls
SILL, SHOULDER, WIDTH = 1.9, 3.6, 1.4   # of a lancet
WHEEL, WHEEL_Y = 1.9, 6.0               # radius and height of the wheel window


def vault_height(x):
    """The pointed vault: two arcs of radius 5."""
    return SPRING + math.sqrt(max(0.0, 25 - (abs(x) + 1) ** 2))


def lancet_height(x):
    """The pointed head of a window: two arcs of its own width."""
    return SHOULDER + math.sqrt(max(0.0, WIDTH ** 2 - (abs(x) + WIDTH / 2) ** 2))


def wall(mesh, edges, low, high, hole_low, hole_high):
    """A wall in the plane z = 0 between the heights low(x) and high(x), with a hole where hole_low
    is below hole_high, and the sides of the hole, which lead back to z = -WALL."""
    for a, b in zip(edges, edges[1:]):
        if max(hole_high(a) - hole_low(a), hole_high(b) - hole_low(b)) < 1e-9:
            mesh.flat([(a, low(a), 0), (b, low(b), 0), (b, high(b), 0), (a, high(a), 0)])
            continue
        for bottom, top in ((low, hole_low), (hole_high, high)):
            mesh.flat([(a, bottom(a), 0), (b, bottom(b), 0), (b, top(b), 0), (a, top(a), 0)])
        for side, f in ((1, hole_low), (-1, hole_high)):
            quad = [(a, f(a), 0), (a, f(a), -WALL), (b, f(b), -WALL), (b, f(b), 0)]
            mesh.flat(quad[::-1] if side > 0 else quad)


def bay():
    """One bay of the side wall, 4 along x, in the plane z = 0, with a lancet window."""
    half = WIDTH / 2
    arch = [half * math.sin(math.pi / 2 * k / 10) for k in range(-10, 11)]
    mesh = Mesh()
    wall(mesh, [-BAY / 2] + arch + [BAY / 2], lambda x: 0.0, lambda x: SPRING,
         lambda x: SILL, lambda x: lancet_height(x) if abs(x) < half + 1e-9 else SILL)
    for x, turn in ((-half, 1), (half, -1)):
        quad = [(x, SILL, 0), (x, SILL, -WALL), (x, SHOULDER, -WALL), (x, SHOULDER, 0)]
        mesh.flat(quad[::turn])

    # A moulding runs along under the sills and another on top of the wall.
    for y, depth in ((SILL - 0.28, 0.09), (SPRING - 0.16, 0.14)):
        profile = [(0, y), (depth * 0.6, y + 0.05), (depth, y + 0.08), (depth, y + 0.15),
                   (0, y + 0.17)]
        part = Mesh()
        part.extrude(profile, BAY)
        put(mesh, part, -BAY / 2)
    return mesh


def lancet_pane():
    """The pane of a lancet window in the plane z = 0, with u and v from 0 to 1 around it."""
    mesh = Mesh()
    half, top = WIDTH / 2, lancet_height(0)
    size = top - SILL
    edges = [half * math.sin(math.pi / 2 * k / 10) for k in range(-10, 11)]
    for a, b in zip(edges, edges[1:]):
        mesh.face([((x, y, 0), (0, 0, 1), (x / size + 0.5, (y - SILL) / size, 0))
                   for x, y in ((a, SILL), (b, SILL),
                                (b, lancet_height(b)), (a, lancet_height(a)))])
    return mesh


def end_wall():
    """The wall with the round opening, in the plane z = 0."""
    ring = [WHEEL * math.sin(math.pi / 2 * k / 16) for k in range(-16, 17)]
    edges = [-4, -3.4, -2.9, -2.4] + ring + [2.4, 2.9, 3.4, 4]

    def opening(side):
        return lambda x: WHEEL_Y + side * math.sqrt(max(0.0, WHEEL ** 2 - x * x))

    mesh = Mesh()
    wall(mesh, edges, lambda x: 0.0, vault_height, opening(-1), opening(1))
    return mesh


def wheel():
    """The tracery of the wheel window, about the origin, in the plane z = 0."""
    mesh = Mesh()
    mesh.ring(WHEEL - 0.02, 0.10, "z", 72, 8)
    mesh.ring(0.52, 0.075, "z", 48, 8)
    mesh.ring(0.17, 0.05, "z", 28, 6)
    for k in range(8):
        a = math.pi / 8 * (2 * k + 1)
        mesh.ring(0.30, 0.050, "z", 32, 6, (1.45 * math.sin(a), 1.45 * math.cos(a), 0))
        a = math.pi / 4 * k
        spoke(mesh, a, 0.5, WHEEL, 0.055)
        spoke(mesh, a + math.pi / 8, 0.5, 1.17, 0.035)
        spoke(mesh, a, 0.15, 0.5, 0.03)
    return mesh


def spoke(mesh, angle, start, end, radius):
    """A round bar in the plane z = 0 that leads away from the origin."""
    c, s = math.cos(angle), math.sin(angle)
    rows = []
    for r in (start, end):
        rows.append([(r * s + radius * math.cos(b) * c, r * c - radius * math.cos(b) * s,
                      radius * math.sin(b)) for b in (2 * math.pi * (k % 8) / 8 for k in range(9))])
    mesh.grid(rows, [[(k / 8, r, 0) for k in range(9)] for r in (0, 1)], closed=True)


def disc():
    """A round pane of the wheel's size about the origin, in the plane z = 0."""
    rim = [(math.cos(a), math.sin(a)) for a in (2 * math.pi * k / 48 for k in range(48))]
    mesh = Mesh()
    mesh.face([((WHEEL * x, WHEEL * y, 0), (0, 0, 1), (0.5 + 0.5 * x, 0.5 + 0.5 * y, 0))
               for x, y in rim])
    return mesh


def vault_arc(offset, steps=24):
    """Points (x, y) of the vault from the left to the right, offset inside of it."""
    top = math.degrees(math.acos(1 / 5))
    left = [(x, y) for x, y in arc(1, SPRING, 5 - offset, 180, 180 - top, steps)]
    left = [(min(x, 0), y) for x, y in left]
    return left + [(-x, y) for x, y in left[-2::-1]]


def vault():
    """The vault over the whole nave, seen from below."""
    mesh = Mesh()
    halves = vault_arc(0)
    middle = len(halves) // 2
    for run in (halves[:middle + 1], halves[middle:]):
        rows = [[(x, y, z) for z in (FRONT, BACK)] for x, y in run]
        mesh.grid(rows, [[(i / 8, z / 4, 0) for z in (FRONT, BACK)] for i in range(len(run))])
    return mesh


def rib():
    """A transverse rib of the vault in the plane z = 0."""
    mesh = Mesh()
    section = [(0.0, -0.22), (0.16, -0.22), (0.24, -0.12), (0.32, -0.09),
               (0.32, 0.09), (0.24, 0.12), (0.16, 0.22), (0.0, 0.22)]
    arcs = [vault_arc(depth) for depth, _ in section]
    for k in range(len(section) - 1):
        rows = [[(*arcs[n][i], section[n][1]) for n in (k + 1, k)] for i in range(len(arcs[0]))]
        mesh.grid(rows, [[(0, i / 4, 0), (1, i / 4, 0)] for i in range(len(rows))])
    return mesh


def pew():
    """A bench of 2.3 along x, its seat towards -z."""
    mesh = Mesh()
    mesh.box((-1.1, 0.42, -0.42), (1.1, 0.46, 0.0), 1)
    mesh.box((-1.1, 0.30, -0.02), (1.1, 0.92, 0.02), 1)
    mesh.box((-1.1, 0.92, -0.05), (1.1, 0.97, 0.06), 1)

    # Rails and stiles on the back make four panels.
    for y in (0.30, 0.84):
        mesh.box((-1.1, y, 0.02), (1.1, y + 0.08, 0.035), 1)
    for k in range(5):
        x = -1.1 + 2.12 * k / 4
        mesh.box((x, 0.38, 0.02), (x + 0.08, 0.84, 0.035), 1)
    side = [(-0.46, 0), (0.07, 0), (0.07, 0.92), (0.04, 1.00), (-0.02, 1.03), (-0.07, 1.00),
            (-0.09, 0.90), (-0.12, 0.66), (-0.20, 0.60), (-0.44, 0.58), (-0.47, 0.52)]
    for x in (-1.15, 1.10):
        for depth, turn in ((x, 1), (x + 0.05, -1)):
            convex = (side[:2] + [side[7], side[8], side[9], side[10]], [side[1]] + side[2:8])
            for part in convex:
                mesh.flat([(depth, y, z) for z, y in part][::turn])
        for (a, b), (c, d) in zip(side, side[1:] + side[:1]):
            mesh.flat([(x, b, a), (x + 0.05, b, a), (x + 0.05, d, c), (x, d, c)][::-1])
    return mesh


def lantern():
    """A hanging lantern around the origin, on a rod that leads up to the vault."""
    mesh = Mesh()
    mesh.lathe([[(0, -0.25), (0.03, -0.245), (0.03, -0.23)], [(0.03, -0.23), (0.10, -0.20)],
                [(0.10, -0.20), (0.135, -0.19)], [(0.135, -0.19), (0.135, -0.165)],
                [(0.135, -0.165), (0, -0.165)]], 24)
    mesh.lathe([[(0, 0.165), (0.155, 0.165)], [(0.155, 0.165), (0.155, 0.185)],
                curve([(0.155, 0.185), (0.10, 0.22), (0.075, 0.27), (0.03, 0.30), (0.02, 0.33),
                       (0.008, 0.36)], 3), [(0.008, 0.36), (0.008, 7)]], 24)
    for k in range(6):
        bar = Mesh()
        bar.lathe([[(0.008, -0.17), (0.008, 0.17)]], 8)
        a = math.pi / 3 * (k + 0.5)
        put(mesh, bar, 0.122 * math.sin(a), 0, 0.122 * math.cos(a))
    mesh.ring(0.122, 0.008, "y", 36, 8)
    return mesh


# Colors of the window's tiers from the sill up: the panes, the ring.
TIERS = ((EMERALD, GOLD), (COBALT, SKY), (RUBY, CREAM), (VIOLET, SKY),
         (GOLD, RUBY), (EMERALD, CREAM), (COBALT, RUBY), (GOLD, CREAM))


def lancet(u, v):
    """Eight broad tiers from the sill up, each of one color, with a medallion."""
    lead = 0.006
    tier = numpy.minimum((v * 8).astype(int), 7)
    ground, medal = (pick(colors, tier) for colors in zip(*TIERS))
    x, y = 8 * (u - 0.5), 8 * v - tier - 0.5
    margin = numpy.where(tier % 2, 0.9, 1.25)
    edge, side = 0.5 - abs(y), abs(abs(x) - margin)
    r = numpy.hypot(x * 0.9, y)
    distance = least(edge, side, abs(r - 0.36), numpy.where(r < 0.3, abs(r - 0.2), 1))
    color = mix(ground, scaled(medal, 0.6), 0.25 * (abs(x) > margin))
    color = where(r < 0.2, ground, where(r < 0.36, medal, color))
    return scaled(glass(color, u, v, tier), smooth(8 * lead * 0.4, 8 * lead, distance))


OBJECTS = (
    ("chapel_bay", bay, "Four metres of wall along x, in the plane z = 0, with a lancet window."),
    ("chapel_lancet", lancet_pane, "The pane of that window in the plane z = 0."),
    ("chapel_end", end_wall, "The end wall in the plane z = 0, with a round opening at height 6."),
    ("chapel_wheel", wheel, "The tracery of that opening, about the origin."),
    ("chapel_disc", disc, "Its pane, about the origin."),
    ("chapel_vault", vault, "Pointed vault over x = -4 to 4, z = -14 to 10, from height 5.2 on."),
    ("chapel_rib", rib, "A rib of the vault in the plane z = 0."),
    ("pew", pew, "Bench of 2.3 along x for those who look towards -z."),
    ("chapel_lantern", lantern, "Lantern about the origin, on a long rod."),
)

if __name__ == "__main__":
    make(OBJECTS, [("slides/lancet.png", lambda: png(paint(512, 512, lancet, 2)))])
