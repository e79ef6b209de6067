"""Builds the objects that the scenes share.

Each object stands on its own origin (y = 0 is its foot) unless its remark says otherwise.
"""

import math

from parts import make
from shapes import Mesh, arc, curve


def vase():
    """Thick walls with a closed foot: the ray enters and leaves the glass four times."""
    outside = curve([(0.135, 0.02), (0.10, 0.055), (0.060, 0.10), (0.085, 0.17), (0.165, 0.29),
                     (0.205, 0.41), (0.185, 0.52), (0.120, 0.61), (0.098, 0.66), (0.150, 0.74)], 3)
    inside = curve([(0.138, 0.74), (0.086, 0.66), (0.106, 0.61), (0.170, 0.52), (0.190, 0.41),
                    (0.150, 0.29), (0.070, 0.19), (0.0, 0.165)], 3)
    mesh = Mesh()
    mesh.lathe([[(0, 0), (0.14, 0)], [(0.14, 0), (0.135, 0.02)], outside,
                [outside[-1], (0.144, 0.746), inside[0]], inside], 16, facets=True)
    return mesh


def ball():
    mesh = Mesh()
    mesh.sphere(1, 64, 32)
    return mesh


def urn():
    """A chased metal urn with eight soft lobes on its belly."""
    body = curve([(0.15, 0.05), (0.07, 0.10), (0.055, 0.15), (0.12, 0.21), (0.235, 0.33),
                  (0.265, 0.43), (0.215, 0.53), (0.125, 0.59), (0.110, 0.62)], 4)
    lid = curve([(0.150, 0.655), (0.120, 0.69), (0.060, 0.725), (0.026, 0.75), (0.026, 0.77)], 3)

    def lobes(angle, radius, y):
        belly = max(0.0, 1 - ((y - 0.38) / 0.16) ** 2)
        return radius * (1 + 0.050 * belly * (abs(math.cos(4 * angle)) - 0.5))

    mesh = Mesh()
    mesh.lathe([[(0, 0), (0.17, 0)], [(0.17, 0), (0.17, 0.03)], [(0.17, 0.03), (0.15, 0.05)], body,
                [(0.110, 0.62), (0.155, 0.635)], [(0.155, 0.635), (0.150, 0.655)], lid,
                arc(0, 0.795, 0.036, -46, 90, 7)], 48, radius_at=lobes)
    return mesh


def column():
    """A fluted column of height 3.45 with a torus base and a round capital."""
    def fluted(angle, radius, y):
        depth = min(max((y - 0.36) / 0.08, 0), 1) * min(max((3.02 - y) / 0.08, 0), 1)
        return radius * (1 - 0.075 * depth * abs(math.sin(10 * angle)))

    shaft = [(0.215, 0.34), (0.20, 0.37), (0.20, 0.41), (0.20, 0.45), (0.198, 1.4), (0.185, 2.4),
             (0.175, 2.93), (0.175, 2.98), (0.175, 3.03), (0.185, 3.06)]
    mesh = Mesh()
    mesh.box((-0.29, 0, -0.29), (0.29, 0.12, 0.29))
    mesh.lathe([arc(0.23, 0.175, 0.055, -90, 90, 6), [(0.23, 0.23), (0.215, 0.24)],
                arc(0.205, 0.275, 0.033, -90, 90, 4), [(0.205, 0.308), (0.215, 0.34)],
                shaft, arc(0.18, 3.085, 0.028, -90, 90, 4),
                curve([(0.175, 3.113), (0.18, 3.20), (0.25, 3.30)], 4)], 80, radius_at=fluted)
    mesh.box((-0.28, 3.30, -0.28), (0.28, 3.45, 0.28))
    return mesh


def pedestal():
    """A turned stand of height 0.9 with a square top."""
    waist = curve([(0.20, 0.16), (0.13, 0.24), (0.105, 0.40), (0.115, 0.58), (0.15, 0.70),
                   (0.21, 0.78)], 4)
    mesh = Mesh()
    mesh.box((-0.24, 0, -0.24), (0.24, 0.09, 0.24))
    mesh.lathe([arc(0.19, 0.125, 0.035, -90, 90, 6), waist,
                arc(0.20, 0.805, 0.025, -90, 90, 5)], 48)
    mesh.box((-0.25, 0.83, -0.25), (0.25, 0.90, 0.25))
    return mesh


def globe_stand():
    """Three turned parts: foot, stem and the rings that hold a globe of radius 0.36 at 1.12."""
    mesh = Mesh()
    mesh.lathe([[(0, 0), (0.27, 0)], [(0.27, 0), (0.27, 0.03)],
                curve([(0.27, 0.03), (0.20, 0.06), (0.08, 0.09), (0.045, 0.16), (0.05, 0.24),
                       (0.085, 0.31), (0.05, 0.38), (0.035, 0.50), (0.05, 0.60), (0.07, 0.64),
                       (0.04, 0.70)], 4)], 32)
    mesh.ring(0.405, 0.018, "z", 64, 8, (0, 1.12, 0))
    mesh.ring(0.415, 0.024, "y", 64, 8, (0, 1.12, 0))
    return mesh


def panel():
    """One metre of wainscot, 1.05 high, along x from 0 to 1; the wall is the plane z = 0."""
    mesh = Mesh()
    mesh.extrude([(0.045, 0), (0.045, 0.13), (0.030, 0.16), (0.022, 0.16)], 1, 2)
    mesh.extrude([(0.022, 0.97), (0.045, 0.985), (0.060, 1.01), (0.060, 1.05), (0, 1.05)], 1, 2)

    # Step from the frame down into a groove and up again to the raised field.
    loops = [(0.0, 0.0, 0.022), (0.09, 0.07, 0.022), (0.10, 0.08, 0.002), (0.125, 0.105, 0.002),
             (0.19, 0.17, 0.030)]
    corners = [[(x, 0.16 + y, z), (1 - x, 0.16 + y, z), (1 - x, 0.97 - y, z), (x, 0.97 - y, z)]
               for x, y, z in loops]
    for outer, inner in zip(corners, corners[1:]):
        for k in range(4):
            n = (k + 1) % 4
            mesh.flat([outer[k], outer[n], inner[n], inner[k]], 2)
    mesh.flat(corners[-1], 2)
    return mesh


def cornice():
    """Nine metres of moulding, along x, hanging down from y = 0 on the wall z = 0."""
    mesh = Mesh()
    mesh.extrude([(0, -0.26), (0.04, -0.26), (0.04, -0.22), (0.07, -0.16), (0.14, -0.10),
                  (0.20, -0.08), (0.20, -0.03), (0.24, -0.03), (0.24, 0)], 9)
    return mesh


def gem():
    """A cut stone: eight-sided crown and pavilion with a girdle, flat facets."""
    mesh = Mesh()
    mesh.lathe([[(0, 0), (0.14, 0)], [(0.14, 0), (0.24, 0.17)], [(0.24, 0.17), (0.225, 0.25)],
                [(0.225, 0.25), (0.12, 0.34)], [(0.12, 0.34), (0, 0.34)]], 8, facets=True)
    return mesh


def star_lamp():
    """A hanging star of twenty rays about its centre: spikes on the faces of an icosahedron."""
    g = (1 + math.sqrt(5)) / 2
    points = [(0, s, t * g) for s in (-1, 1) for t in (-1, 1)]
    points += [(p[1], p[2], p[0]) for p in points] + [(p[2], p[0], p[1]) for p in points]
    mesh = Mesh()
    faces = [(a, b, c) for i, a in enumerate(points) for j, b in enumerate(points[:i])
             for c in points[:j]
             if max(math.dist(a, b), math.dist(b, c), math.dist(a, c)) < 2.01]
    for a, b, c in faces:
        centre = [sum(q) / 3 for q in zip(a, b, c)]
        size = math.hypot(*centre)
        tip = tuple(0.21 * q / size for q in centre)
        base = [tuple(0.052 * q for q in p) for p in (a, b, c)]
        for k in range(3):
            p, q = base[k], base[(k + 1) % 3]
            edge = [(x - t, y - u, z - v) for (x, y, z), (t, u, v) in ((q, p), (tip, p))]
            facing = (edge[0][1] * edge[1][2] - edge[0][2] * edge[1][1]) * p[0] + \
                     (edge[0][2] * edge[1][0] - edge[0][0] * edge[1][2]) * p[1] + \
                     (edge[0][0] * edge[1][1] - edge[0][1] * edge[1][0]) * p[2]
            mesh.flat([p, q, tip] if facing > 0 else [q, p, tip])
    mesh.lathe([[(0.006, 0.12), (0.006, 2.0)]], 6)
    return mesh


OBJECTS = (
    ("vase", vase, "Cut-glass vase, 0.75 high, with thick walls and sixteen facets."),
    ("ball", ball, "Sphere of radius 1 about the origin; u is longitude, v latitude."),
    ("urn", urn, "Lobed urn with a lid, 0.83 high."),
    ("column", column, "Fluted column, 3.45 high."),
    ("pedestal", pedestal, "Turned pedestal, 0.9 high."),
    ("globe_stand", globe_stand, "Stand for a globe of radius 0.36 whose centre is at height 1.12."),
    ("panel", panel, "One metre of wainscot along x, 1.05 high; the wall is the plane z = 0."),
    ("cornice", cornice, "Nine metres of moulding along x, below y = 0; the wall is the plane z = 0."),
    ("gem", gem, "Cut stone with flat facets, 0.34 high."),
    ("star_lamp", star_lamp, "Star of twenty rays about the origin, on a rod that leads up."),
)

if __name__ == "__main__":
    make(OBJECTS)
