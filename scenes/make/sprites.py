"""Builds the little figures of scenes/sprite.mi.

Each figure fits between -1 and 1 in x and y and looks along +z. Its polygons name their materials.
NAME_rim is the figure a little thicker and seen from inside alone, which makes a dark rim around
it.
"""

import math
import re

from parts import make
from robot import tube
from shapes import Mesh, arc, curve, normalised

RIM = 0.065


def box(low, high):
    mesh = Mesh()
    mesh.box(low, high)
    return mesh


def ball(radius, centre, stretch=(1, 1, 1)):
    mesh = Mesh()
    mesh.sphere(radius, *((20, 10) if radius > 0.5 else (12, 6)))
    for face in mesh.faces:
        face[:] = [(tuple(c + s * q for c, s, q in zip(centre, stretch, p)),
                    normalised(tuple(q / s for s, q in zip(stretch, n))), t) for p, n, t in face]
    return mesh


def relief(outline, middle, depth):
    """An outline in the plane z = 0 under a ridge that rises to its middle, in front and behind."""
    mesh = Mesh()
    for a, b in zip(outline, outline[1:] + outline[:1]):
        for z in (depth, -depth):
            corners = [(*a, 0), (*b, 0), (*middle, z)]
            mesh.flat(corners if z > 0 else corners[::-1])
    return mesh


def turned(mesh, degrees):
    """The mesh turned about z."""
    c, s = math.cos(math.radians(degrees)), math.sin(math.radians(degrees))

    def rotate(v):
        return (c * v[0] - s * v[1], s * v[0] + c * v[1], v[2])

    for face in mesh.faces:
        face[:] = [(rotate(p), rotate(n), t) for p, n, t in face]
    return mesh


def lathe(*runs, segments=20, facets=False):
    mesh = Mesh()
    mesh.lathe(list(runs), segments, facets)
    return mesh


def robot():
    limbs = Mesh()
    for x in (-1, 1):
        limbs.faces += tube([(0.42 * x, -0.05, 0), (0.66 * x, -0.12, 0.1), (0.74 * x, 0.12, 0.15)],
                            0.09, 8).faces
        limbs.faces += box((0.24 * x - 0.1, -0.75, -0.1), (0.24 * x + 0.1, -0.4, 0.1)).faces
    limbs.faces += tube([(0, 0.7, 0), (0, 0.82, 0)], 0.05, 6).faces
    ends = ball(0.11, (0, 0.82, 0))
    for x in (-1, 1):
        ends.faces += ball(0.15, (0.76 * x, 0.2, 0.15)).faces
        ends.faces += box((0.26 * x - 0.17, -0.9, -0.15), (0.26 * x + 0.17, -0.7, 0.3)).faces
    eyes, pupils = Mesh(), Mesh()
    for x in (-0.23, 0.23):
        eyes.faces += ball(0.20, (x, 0.42, 0.36), (1, 1, 0.5)).faces
        pupils.faces += ball(0.10, (x + 0.05, 0.40, 0.46), (1, 1, 0.5)).faces
    return (("yellow", box((-0.5, 0.12, -0.35), (0.5, 0.72, 0.35))), ("white", eyes),
            ("ink", pupils), ("red", box((-0.42, -0.5, -0.3), (0.42, 0.12, 0.3))),
            ("cream", box((-0.22, -0.32, 0.3), (0.22, -0.06, 0.34))), ("steel", limbs),
            ("yellow", ends))


def ghost():
    rows, texture = [], []
    for i in range(13):
        t = i / 12
        row = []
        for k in range(31):
            a = 2 * math.pi * (k % 30) / 30
            r = 0.66 * (1 if t < 0.55 else math.cos((t - 0.55) / 0.45 * math.pi / 2))
            y = -0.78 + 1.62 * (t if t < 0.55 else 0.55 + 0.45 * math.sin((t - 0.55) / 0.45 *
                                                                         math.pi / 2))
            y += 0.16 * math.sin(5 * a) * max(0, 1 - 3 * t)
            row.append((r * math.sin(a), y, r * math.cos(a)))
        rows.append(row)
        texture.append([(k / 30, t, 0) for k in range(31)])
    sheet = Mesh()
    sheet.grid([[(0, -0.62, 0)] * 31] + rows, [texture[0]] + texture, closed=True)
    eyes = Mesh()
    for x in (-0.24, 0.26):
        eyes.faces += ball(0.14, (x, 0.28, 0.60), (0.9, 1.25, 0.5)).faces
    eyes.faces += ball(0.13, (0.02, -0.10, 0.66), (1, 0.8, 0.5)).faces
    cheeks = Mesh()
    for x in (-0.46, 0.48):
        cheeks.faces += ball(0.10, (x, 0.04, 0.50), (1, 0.7, 0.5)).faces
    return (("pale", sheet), ("ink", eyes), ("pink", cheeks))


def mushroom():
    spots = Mesh()
    for x, y, r in ((0.04, 0.42, 0.24), (-0.54, 0.18, 0.15), (0.60, 0.20, 0.14), (-0.36, 0.62, 0.10),
                    (0.42, 0.62, 0.10)):
        z = 0.86 * math.sqrt(max(0, 1 - (x / 0.9) ** 2 - ((y + 0.05) / 0.92) ** 2))
        spots.faces += ball(r, (x, y, z), (1, 1, 0.5)).faces
    eyes = Mesh()
    for x in (-0.15, 0.17):
        eyes.faces += ball(0.085, (x, -0.42, 0.40), (0.85, 1.5, 0.5)).faces
    return (("matte_red", lathe([(0, -0.1), (0.80, -0.12)], arc(0, -0.05, 0.9, -5, 90, 7))),
            ("white", spots),
            ("cream", lathe([(0, -0.9), (0.36, -0.9)],
                            curve([(0.36, -0.9), (0.46, -0.7), (0.40, -0.1)]))),
            ("ink", eyes))


def rocket():
    hull = lathe([(0, -0.55), (0.25, -0.55)], curve([(0.25, -0.55), (0.38, -0.1), (0.32, 0.38)]))
    nose = lathe(curve([(0.32, 0.38), (0.20, 0.68), (0, 0.92)]))
    fins = Mesh()
    for x in (-1, 1):
        outline = [(0.28, -0.15), (0.66, -0.55), (0.66, -0.85), (0.26, -0.55)]
        run = [(x * p, q) for p, q in outline][::x]
        fins.faces += relief([(p, q) for p, q in run][::-1], (x * 0.42, -0.5), 0.12).faces
    flame = lathe(curve([(0, -1.08), (0.20, -0.74), (0.20, -0.50)], 4))
    parts = (("white", hull), ("matte_red", nose), ("matte_red", fins), ("orange", flame),
             ("steel", ball(0.2, (0, 0.12, 0.30), (1, 1, 0.5))),
             ("blue", ball(0.14, (0, 0.12, 0.38), (1, 1, 0.5))))
    return tuple((name, turned(mesh, -28)) for name, mesh in parts)


def potion():
    bubbles = Mesh()
    for x, y, r in ((-0.2, -0.35, 0.11), (0.18, -0.12, 0.09), (0.05, -0.58, 0.07)):
        bubbles.faces += ball(r, (x, y, 0.62 - 0.5 * abs(y + 0.3)), (1, 1, 0.4)).faces
    return (("violet", ball(0.66, (0, -0.25, 0))), ("pink", bubbles),
            ("pale", lathe([(0.26, 0.25), (0.22, 0.52)], [(0.22, 0.52), (0.32, 0.54)],
                           [(0.32, 0.54), (0.32, 0.66)], [(0.32, 0.66), (0, 0.66)])),
            ("brown", lathe([(0.17, 0.66), (0.20, 0.92)], [(0.20, 0.92), (0, 0.92)])))


def gem():
    mesh = Mesh()
    rows = ((-0.92, 0.0, 0.0), (0.22, 0.86, 0.0), (0.62, 0.52, 0.5))
    for (y0, r0, s0), (y1, r1, s1) in zip(rows, rows[1:]):
        for k in range(8):
            def at(y, r, s, n):
                a = 2 * math.pi * (n + s) / 8
                return (r * math.sin(a), y, r * math.cos(a))

            if r0 == 0:
                mesh.flat([at(y0, r0, s0, k), at(y1, r1, s1, k + 1), at(y1, r1, s1, k)])
            else:
                mesh.flat([at(y0, r0, s0, k), at(y0, r0, s0, k + 1), at(y1, r1, s1, k)])
                mesh.flat([at(y0, r0, s0, k + 1), at(y1, r1, s1, k + 1), at(y1, r1, s1, k)])
    mesh.flat([(0.52 * math.sin(a), 0.62, 0.52 * math.cos(a)) for a in
               (2 * math.pi * (k + 0.5) / 8 for k in range(8))])
    return (("cyan", mesh),)


def heart():
    """Two balls over a cone, flattened."""
    mesh = Mesh()
    rows, texture = [], []
    for i in range(9):
        b = math.pi * (i / 8 - 0.5)
        row = []
        for k in range(31):
            a = 2 * math.pi * (k % 30) / 30
            x = 16 * math.sin(a) ** 3 / 17.5
            y = (13 * math.cos(a) - 5 * math.cos(2 * a) - 2 * math.cos(3 * a) - math.cos(4 * a)) / 17.5
            row.append((x * math.cos(b), y * math.cos(b) + 0.12, 0.42 * math.sin(b)))
        rows.append(row)
        texture.append([(k / 30, i / 8, 0) for k in range(31)])
    mesh.grid([row[::-1] for row in rows], texture, closed=True)
    return (("red", mesh),)


def key():
    gold = Mesh()
    gold.ring(0.30, 0.12, "z", 24, 8, (0, 0.52, 0))
    gold.faces += tube([(0, 0.22, 0), (0, -0.92, 0)], 0.11, 8).faces
    for y in (-0.60, -0.90):
        gold.faces += box((0.05, y, -0.09), (0.42, y + 0.2, 0.09)).faces
    gold.faces += lathe([(0.11, 0.05), (0.18, 0.08)], [(0.18, 0.08), (0.18, 0.18)],
                        [(0.18, 0.18), (0.11, 0.21)]).faces
    return (("gold", turned(gold, -35)),)


def star():
    outline = []
    for k in range(10):
        a, r = math.pi * k / 5, 0.95 if k % 2 == 0 else 0.42
        outline.append((r * math.sin(-a), r * math.cos(a) - 0.06))
    eyes = Mesh()
    for x in (-0.14, 0.16):
        eyes.faces += ball(0.075, (x, 0.0, 0.34), (0.8, 1.7, 0.5)).faces
    return (("gold", relief(outline, (0, -0.06), 0.42)), ("ink", eyes))


FIGURES = (("robot", robot), ("ghost", ghost), ("mushroom", mushroom), ("rocket", rocket),
           ("potion", potion), ("gem", gem), ("heart", heart), ("key", key), ("star", star))


def rim(parts):
    """All parts, moved outwards along the mean of the normals that meet at each point."""
    whole = Mesh()
    for _, mesh in parts:
        sums = {}
        for face in mesh.faces:
            for p, n, _ in face:
                at = tuple(round(c, 4) for c in p)
                sums[at] = tuple(a + b for a, b in zip(sums.get(at, (0, 0, 0)), n))
        for face in mesh.faces:
            moved = []
            for p, _, _ in face:
                n = normalised(sums[tuple(round(c, 4) for c in p)])
                moved.append((tuple(a + RIM * b for a, b in zip(p, n)), (0, 0, 1), (0, 0, 0)))
            whole.face(moved)
    return whole


def group_of(mesh, material):
    """The lines of a mesh's group; its polygons get a material."""
    text = f"group\n{mesh.text()}\nend group"
    return re.sub(r"^c ", f'c "{material}" ' if material else "c ", text, flags=re.M)


def sprites():
    lines = ["# Little figures, and each with a rim around it, to be seen from inside.",
             "# Made by scenes/make/sprites.py."]
    for name, build in FIGURES:
        parts = build()
        lines += ["", f'object "{name}"', "visible on"]
        lines += [group_of(mesh, material) for material, mesh in parts]
        lines += ["end object", "", f'object "{name}_rim"', "visible on  face back",
                  group_of(rim(parts), "ink"), "end object"]
    return ("\n".join(lines) + "\n").encode("ascii")


if __name__ == "__main__":
    make(files=[("meshes/sprites.mi", sprites)])
