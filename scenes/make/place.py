"""Prints the transform of an instance: python3 place.py X Y Z [options].

The matrix of an instance leads from the parent space to the local space, so it is the inverse
of the usual placement: a point of the scene goes in, the object's own coordinates come out
(row vectors, translation in the last row). This script does the inversion:

    python3 place.py -1.5 0 2 --turn 30 --scale 0.5      an object on the floor
    python3 place.py 0 1.6 5 --target 0 1 0              a camera or a spot light

With --target the local -z axis points at the target and the local y axis towards --up (default
0 1 0; straight up or down it is 0 0 -1). --turn rotates about the y axis, in degrees,
counter-clockwise seen from above.
"""

import argparse
import math


def cross(a, b):
    return [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]]


def dot(a, b):
    return sum(p * q for p, q in zip(a, b))


def unit(a):
    length = math.sqrt(dot(a, a))
    return [p / length for p in a]


def axes_of(position, target, up):
    """The local x, y and z axes, in the parent's space, of something that looks at the target."""
    z = unit([p - q for p, q in zip(position, target)])
    if math.hypot(*cross(up, z)) < 1e-6:
        up = [0.0, 0.0, -1.0]
    x = unit(cross(up, z))
    return x, cross(z, x), z


def transform(position, axes, scale):
    """Sixteen numbers, row by row: the axes as columns over the scale, then the translation."""
    rows = [[axis[k] / scale for axis in axes] + [0.0] for k in range(3)]
    rows.append([-dot(position, axis) / scale for axis in axes] + [1.0])
    return rows


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    vector = {"type": float, "nargs": 3, "metavar": ("X", "Y", "Z")}
    parser.add_argument("position", type=float, nargs=3)
    parser.add_argument("--target", **vector)
    parser.add_argument("--up", default=[0.0, 1.0, 0.0], **vector)
    parser.add_argument("--turn", type=float, default=0.0)
    parser.add_argument("--scale", type=float, default=1.0)
    options = parser.parse_args()

    if options.target:
        axes = axes_of(options.position, options.target, options.up)
    else:
        c, s = math.cos(math.radians(options.turn)), math.sin(math.radians(options.turn))
        axes = ([c, 0.0, -s], [0.0, 1.0, 0.0], [s, 0.0, c])
    for row in transform(options.position, axes, options.scale):
        print("   ", "  ".join(f"{value + 0.0:.6g}" if abs(value) > 5e-7 else "0" for value in row))


if __name__ == "__main__":
    main()
