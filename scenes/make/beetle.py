"""Builds the beetle of scenes/trispec.mi.

It lies on y = 0, looks along -z and is 2 long without its horns and legs. Shell and limbs are objects
of their own.
"""

import math

from parts import make
from robot import tube
from shapes import Mesh, curve


def vault(mesh, start, end, half, rows, columns, low=-105, high=105, fold=lambda a, t: 1.0):
    """A vaulted plate from z = start to end.

    half(t) gives half its width and its height at a part t of its length; it spans angles from the
    upright, in degrees; fold multiplies its radius.
    """
    points, texture = [], []
    for i in range(rows + 1):
        t = i / rows
        width, height = half(t)
        row = []
        for k in range(columns + 1):
            a = math.radians(low + (high - low) * k / columns)
            r = fold(a, t)
            row.append((width * r * math.sin(a), 0.16 + height * r * math.cos(a),
                        start + (end - start) * t))
        points.append(row)
        texture.append([(k / columns, t, 0) for k in range(columns + 1)])
    mesh.grid(points[::-1], texture[::-1])


def shell():
    """Wing cases with fine grooves and a seam between them, the shield of the neck, and the head."""
    def case(t):
        s = 0.03 + 0.97 * t
        bow = min(1.0, (s / 0.16)) ** 0.5 if s < 0.16 else math.cos(math.pi / 2 * (s - 0.16) / 0.86) ** 0.55
        return 0.60 * bow * (1 - 0.10 * (1 - s)), 0.52 * bow ** 1.1

    def grooves(a, t):
        part = abs(a) / math.radians(105)
        depth = 0.011 * math.sin(math.pi * min(1, t * 1.02)) * (part < 0.93)
        seam = 0.05 * math.exp(-(a / 0.045) ** 2)
        return 1 - depth * (0.5 + 0.5 * math.cos(2 * math.pi * 7 * part)) - seam

    mesh = Mesh()
    for low, high in ((-105, 0), (0, 105)):
        vault(mesh, -0.38, 1.0, case, 30, 58, low, high, grooves)

    def shield(t):
        bow = math.sin(math.pi * (0.10 + 0.80 * t)) ** 0.45
        return (0.36 + 0.17 * t) * bow, (0.28 + 0.12 * t) * bow

    vault(mesh, -0.80, -0.36, shield, 16, 36)

    def head(t):
        bow = math.sin(math.pi * (0.06 + 0.86 * t)) ** 0.5
        return 0.25 * bow, 0.20 * bow

    vault(mesh, -1.02, -0.76, head, 12, 24)
    return mesh


def limbs():
    """Six legs, two feelers with clubs, eyes."""
    mesh = Mesh()
    for side in (-1, 1):
        for points in ([(0.30, 0.16, -0.55), (0.62, 0.26, -0.80), (0.80, 0.05, -1.10), (0.84, 0.02, -1.32)],
                       [(0.45, 0.16, -0.15), (0.84, 0.28, -0.20), (1.10, 0.06, -0.02), (1.26, 0.02, 0.06)],
                       [(0.45, 0.14, 0.25), (0.80, 0.26, 0.48), (0.98, 0.06, 0.92), (1.02, 0.02, 1.18)]):
            run = curve([(side * x, y, z) for x, y, z in points], 4)
            thick = [0.055, 0.062, 0.066, 0.062, 0.052, 0.055, 0.048, 0.042, 0.034, 0.026, 0.026, 0.020, 0.010]
            mesh.faces += tube(run, thick, 8).faces
        feeler = curve([(side * x, y, z) for x, y, z in
                        ((0.13, 0.20, -1.0), (0.26, 0.28, -1.16), (0.42, 0.24, -1.26), (0.56, 0.20, -1.26))], 3)
        mesh.faces += tube(feeler, [0.022] * 7 + [0.05, 0.055, 0.01], 8).faces
        mesh.sphere(0.075, 12, 8, (side * 0.21, 0.22, -0.90))
    return mesh


OBJECTS = (("beetle_shell", shell, "The shell of a beetle that looks along -z."),
           ("beetle_limbs", limbs, "The beetle's legs, feelers and eyes."))

if __name__ == "__main__":
    make(OBJECTS)
