"""Builds the toy robot and the meadow of scenes/toon.mi.

The robot stands on y = 0, looks along +z and is 2.3 high; all of its parts share its origin. Each
part that wants a line of its own against the others is an object of its own. Where runs of a
profile meet, normals are split, and that is where creases are drawn.
"""

import math

import numpy

from harbour import put
from parts import make
from picture import clamp, mix, paint, png, smooth, where
from shapes import Mesh, arc, curve, normalised


def cross(a, b):
    return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])


def frame(axis, near=(0.0, 0.0, 1.0)):
    """Two unit vectors across an axis; the first lies as near to another vector as it can."""
    axis = normalised(axis)
    along = sum(p * q for p, q in zip(axis, near))
    first = normalised(tuple(q - along * p for p, q in zip(axis, near)))
    return first, cross(axis, first), axis


def aim(mesh, part, axis, at, near=(0.0, 0.0, 1.0)):
    """Adds a part whose +y looks along an axis, its +z near another vector, its origin at a point."""
    z, x, y = frame(axis, near)

    def turned(v):
        return tuple(v[0] * a + v[1] * b + v[2] * c for a, b, c in zip(x, y, z))

    for face in part.faces:
        mesh.face([(tuple(a + b for a, b in zip(turned(p), at)), turned(n), t)
                   for p, n, t in face])


def turned_part(runs, segments=48):
    mesh = Mesh()
    mesh.lathe(runs, segments)
    return mesh


def tube(path, radius, segments=32):
    """A round tube along a path; radius is a number or one for each point."""
    mesh, rows = Mesh(), []
    near = (0.0, 0.0, 1.0)
    for k, p in enumerate(path):
        ahead, behind = path[min(k + 1, len(path) - 1)], path[max(k - 1, 0)]
        near, side, _ = frame(tuple(a - b for a, b in zip(ahead, behind)), near)
        r = radius[k] if isinstance(radius, list) else radius
        angles = [2 * math.pi * (s % segments) / segments for s in range(segments + 1)]
        rows.append([tuple(c + r * (math.cos(a) * e + math.sin(a) * f)
                           for c, e, f in zip(p, near, side)) for a in angles])
    texture = [[(s / segments, k / len(path), 0) for s in range(segments + 1)]
               for k in range(len(path))]
    mesh.grid(rows, texture, closed=True)
    return mesh


def hose(points, radius, rings, bulge=0.22):
    """A bent hose of rings, each with normals of its own, so that the grooves are creases."""
    mesh, steps = Mesh(), 4
    run = curve(points, 24)

    def at(t):
        k = min(int(t * (len(run) - 1)), len(run) - 2)
        part = t * (len(run) - 1) - k
        return tuple(a + (b - a) * part for a, b in zip(run[k], run[k + 1]))

    for ring in range(rings):
        path = [at((ring + s / steps) / rings) for s in range(steps + 1)]
        radii = [radius * (1 + bulge * math.sin(math.pi * s / steps)) for s in range(steps + 1)]
        mesh.faces += tube(path, radii, 24).faces
    return mesh


# The right arm, at the picture's left, waves; the left one holds a string.
ARMS = ([(-0.50, 1.20, 0), (-0.74, 1.16, 0.04), (-0.93, 1.32, 0.10), (-0.98, 1.58, 0.14)],
        [(0.50, 1.20, 0), (0.74, 1.06, 0.04), (0.98, 1.06, 0.12), (1.10, 1.28, 0.18)])
EYES = ((-0.205, 1.90, 0.42), (0.205, 1.90, 0.42))


def boots():
    mesh = Mesh()
    for x in (-0.27, 0.27):
        shell = turned_part([[(0, 0), (0.23, 0)], [(0.23, 0), (0.23, 0.07)],
                             [(0.23, 0.07), (0.205, 0.07)], arc(0, 0.07, 0.205, 0, 62, 10),
                             [(0.096, 0.251), (0.125, 0.27), (0.125, 0.31)],
                             [(0.125, 0.31), (0, 0.31)]], 64)
        long = Mesh()
        for face in shell.faces:  # toes ahead
            long.face([((p[0], p[1], p[2] * (1.35 if p[2] > 0 and p[1] < 0.24 else 1)), n, t)
                       for p, n, t in face])
        put(mesh, long, x, 0, 0.03, 14 if x > 0 else -14)
    return mesh


def limbs():
    """Legs, arms and neck."""
    mesh = Mesh()
    for x in (-1, 1):
        mesh.faces += hose([(0.27 * x, 0.28, 0.03), (0.26 * x, 0.42, 0.03), (0.23 * x, 0.60, 0.01),
                            (0.22 * x, 0.74, 0)], 0.085, 6).faces
    for points in ARMS:
        mesh.faces += hose(points, 0.078, 12).faces
    mesh.faces += hose([(0, 1.40, 0), (0, 1.50, 0), (0, 1.60, 0)], 0.17, 3, 0.14).faces
    return mesh


def body():
    return turned_part([[(0, 0.62), (0.34, 0.62)], curve([(0.34, 0.62), (0.41, 0.65), (0.455, 0.73)], 5),
                        [(0.455, 0.73), (0.485, 0.73)], [(0.485, 0.73), (0.495, 0.81)],
                        [(0.495, 0.81), (0.47, 0.81)],
                        curve([(0.47, 0.81), (0.505, 0.98), (0.50, 1.16), (0.44, 1.30),
                               (0.30, 1.39), (0.22, 1.41)], 8),
                        [(0.22, 1.41), (0.22, 1.45)], [(0.22, 1.45), (0, 1.45)]], 64)


def joints():
    """Balls at the shoulders: grouped with the body, so no line parts them from it."""
    mesh = Mesh()
    for x in (-0.49, 0.49):
        mesh.sphere(0.135, 48, 24, (x, 1.20, 0))
    return mesh


def plate():
    """A plate on the chest with a round window for the dial."""
    mesh = Mesh()
    mesh.box((-0.27, 0.90, 0.38), (0.27, 1.24, 0.53))
    aim(mesh, turned_part([[(0.125, -0.05), (0.125, 0.03)], [(0.125, 0.03), (0.10, 0.03)],
                           [(0.10, 0.03), (0.10, 0)]], 48), (0, 0, 1), (-0.11, 1.07, 0.53),
        (0, 1, 0))
    return mesh


def dial():
    """A disc whose u runs around it."""
    mesh = Mesh()
    aim(mesh, turned_part([[(0.10, 0.005), (0, 0.005)]], 48), (0, 0, 1), (-0.11, 1.07, 0.53),
        (0, 1, 0))
    return mesh


def knobs():
    """Two buttons on the plate, bolts at the ears, the tip of the antenna."""
    mesh = Mesh()
    knob = [[(0.045, -0.03), (0.045, 0.02)], arc(0, 0.02, 0.045, 0, 90, 8)]
    for y in (1.00, 1.14):
        aim(mesh, turned_part(knob, 40), (0, 0, 1), (0.14, y, 0.53), (0, 1, 0))
    for x in (-1, 1):
        bolt = [[(0.10, -0.06), (0.10, 0.05)], [(0.10, 0.05), (0.075, 0.05)],
                [(0.075, 0.05), (0.06, 0.12)], arc(0, 0.12, 0.06, 0, 90, 6)]
        aim(mesh, turned_part(bolt, 40), (x, 0, 0), (0.41 * x, 1.82, 0))
    mesh.sphere(0.075, 40, 20, (0, 2.50, 0))
    return mesh


def head():
    return turned_part([[(0, 1.56), (0.33, 1.56)], [(0.33, 1.56), (0.41, 1.62)],
                        curve([(0.41, 1.62), (0.435, 1.80), (0.42, 2.00)], 8),
                        [(0.42, 2.00), (0.455, 2.03)], [(0.455, 2.03), (0.455, 2.09)],
                        [(0.455, 2.09), (0.42, 2.09)],
                        [(0.447 * math.cos(a), 2.02 + 0.205 * math.sin(a))
                         for a in (0.35 + (math.pi / 2 - 0.35) * k / 14 for k in range(14))]
                        + [(0, 2.225)]], 64)


def rims():
    """Goggles and antenna."""
    mesh = Mesh()
    for p in EYES:
        aim(mesh, turned_part([[(0.165, -0.20), (0.165, 0.07)], [(0.165, 0.07), (0.135, 0.07)],
                               [(0.135, 0.07), (0.135, 0.02)]], 64), (0, 0, 1), p, (0, 1, 0))
    mesh.faces += turned_part([[(0.09, 2.18), (0.08, 2.28)], [(0.08, 2.28), (0.022, 2.28)],
                               [(0.022, 2.28), (0.018, 2.50)]], 32).faces
    return mesh


def eyes():
    mesh = Mesh()
    for p in EYES:
        aim(mesh, turned_part([[(0.135 * math.cos(a), 0.02 + 0.05 * math.sin(a))
                                for a in (math.pi / 2 * k / 8 for k in range(9))]], 64),
            (0, 0, 1), p, (0, 1, 0))
    return mesh


def pupils():
    """They look up at the balloon."""
    mesh = Mesh()
    for p in EYES:
        aim(mesh, turned_part([[(0.058, 0), (0.058, 0.015)], arc(0, 0.0, 0.06, 15, 90, 8)], 48),
            (0.15, 0.2, 1), (p[0] + 0.045, p[1] + 0.048, p[2] + 0.05), (0, 1, 0))
    return mesh


def smile():
    path = []
    for k in range(25):
        a = math.radians(-32 + 64 * k / 24)
        path.append((0.428 * math.sin(a), 1.65 + 0.05 * (a / 0.56) ** 2, 0.428 * math.cos(a)))
    radii = [0.004 + 0.014 * math.sin(math.pi * k / 24) for k in range(25)]
    return tube(path, radii, 16)


def hands():
    mesh = Mesh()
    for k, points in enumerate(ARMS):
        end = points[-1]
        axis = (-0.1, 1, 0.15) if k == 0 else (0.2, 1, 0.15)
        hand = turned_part([[(0, -0.02), (0.10, -0.02)], [(0.10, -0.02), (0.12, 0.07)],
                            [(0.12, 0.07), (0, 0.07)]], 40)
        for side in (-1, 1):  # a claw of two fingers, bent towards each other
            finger = [(0.07 * side, 0.05, 0), (0.155 * side, 0.13, 0), (0.16 * side, 0.23, 0),
                      (0.075 * side, 0.31, 0)]
            run = curve(finger, 8)
            hand.faces += tube(run, 0.042, 24).faces
            hand.sphere(0.042, 24, 12, finger[-1])
        aim(hand_mesh := Mesh(), hand, axis, end)
        mesh.faces += hand_mesh.faces
    return mesh


def balloon():
    """u runs around it; its knot is at the origin."""
    mesh = Mesh()
    skin = curve([(0.03, 0.0), (0.10, 0.10), (0.32, 0.36), (0.47, 0.72), (0.44, 1.02),
                  (0.25, 1.24), (0.0, 1.30)], 10)
    mesh.lathe([[(0, -0.05), (0.07, -0.06)], [(0.07, -0.06), (0.03, 0.0)], skin[:-1] + [(0, 1.3)]],
               64)
    return mesh


def string():
    """From the robot's left hand up to the balloon's knot at (1.25, 2.30, 0.55)."""
    return tube(curve([(1.13, 1.36, 0.21), (1.15, 1.56, 0.22), (1.24, 1.80, 0.34),
                       (1.20, 2.05, 0.48), (1.25, 2.28, 0.55)], 8), 0.013, 10)


def knoll():
    """The top of a ball of radius 30; its highest point is the origin."""
    mesh = Mesh()
    profile = [(30 * math.cos(a), 30 * math.sin(a) - 30)
               for a in (math.radians(50 + 40 * k / 40) for k in range(40))]
    mesh.lathe([profile + [(0, 0)]], 64)
    return mesh


def sky(u, v):
    """Rays of a low sun behind the hills, with round clouds: flat colors, as on a poster."""
    x, y = (u - 0.42) * 16 / 9, v - 0.30
    ray = 0.5 + 0.5 * numpy.sin(18 * numpy.arctan2(y, x))
    low, high = (0.99, 0.90, 0.68), (0.50, 0.78, 0.82)
    base = mix(low, high, smooth(0.0, 0.8, numpy.hypot(x, y)))
    color = mix(base, (1.0, 0.96, 0.82), 0.30 * smooth(0.46, 0.54, ray))
    color = where(numpy.hypot(x, y) < 0.16, (1.0, 0.97, 0.86), color)
    for cx, cy, r, base in CLOUDS:
        d = numpy.maximum(numpy.hypot(u * 16 / 9 - cx, v - cy) - r, base - v)
        color = where(d < 0.004, mix((1, 0.99, 0.95), color, clamp(d / 0.004)), color)
    return color


# Round tops over one flat base.
CLOUDS = [(x + dx * s, y + dy * s, r * s, y - 0.02 * s) for x, y, s in ((0.28, 0.80, 1.0), (1.52, 0.62, 0.8))
          for dx, dy, r in ((-0.13, 0, 0.055), (-0.05, 0.02, 0.085), (0.06, 0.012, 0.075),
                            (0.14, 0, 0.05))]

PARTS = (
    ("boots", boots, "The robot's boots."), ("limbs", limbs, "The robot's legs, arms and neck."),
    ("body", body, "The robot's body."), ("joints", joints, "The robot's shoulders."),
    ("plate", plate, "The plate on the robot's chest."),
    ("dial", dial, "The dial in the robot's chest; u runs around it."),
    ("knobs", knobs, "The robot's buttons, ears and the tip of its antenna."),
    ("head", head, "The robot's head."), ("rims", rims, "The robot's goggles and antenna."),
    ("eyes", eyes, "The robot's eyes."), ("pupils", pupils, "The robot's pupils."),
    ("smile", smile, "The robot's mouth."), ("hands", hands, "The robot's hands."),
    ("string", string, "The string that the robot holds."),
    ("balloon", balloon, "A balloon, 1.3 high above its knot; u runs around it."),
)

if __name__ == "__main__":
    make([*((f"robot_{name}", build, remark) for name, build, remark in PARTS),
          ("knoll", knoll, "A green hill: the top of a ball of radius 30.")],
         [("textures/sunrays.png", lambda: png(paint(1280, 720, sky, 1, 256)))])
