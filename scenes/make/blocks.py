"""Piles up the blocks of scenes/cam_proj.mi.

The pile stands on y = 0 about the origin, 8 wide and 4.4 high, its front towards +z. poster.png is
what is thrown on it: a sun over mountains and a lake, 16 : 9. Lengths are in metres.
"""

import numpy

from harbour import put
from parts import make
from picture import mix, noise, paint, png, scaled, smooth, where
from shapes import Mesh


# Middle x, foot y, middle z, width, height, depth, turn in degrees.
PILE = ((-3.0, 0, -0.6, 1.5, 1.7, 1.3, 14), (-1.35, 0, 0.1, 1.4, 1.2, 1.3, -10),
        (0.15, 0, -0.7, 1.5, 2.1, 1.4, 6), (1.65, 0, 0.15, 1.35, 1.0, 1.3, 22),
        (3.05, 0, -0.5, 1.4, 1.55, 1.3, -16), (-2.1, 0, -2.1, 1.7, 3.0, 1.2, 3),
        (2.1, 0, -2.1, 1.7, 3.3, 1.2, -5), (0.1, 0, -2.3, 1.3, 4.0, 1.0, 0),
        (-2.45, 0, 1.45, 0.7, 0.7, 0.7, 32), (0.25, 0, 1.25, 0.8, 0.75, 0.8, -24),
        (3.15, 0, 1.35, 0.65, 0.65, 0.65, 12),
        (-2.95, 1.7, -0.6, 0.95, 0.9, 0.9, -18), (-1.4, 1.2, 0.1, 0.95, 1.0, 0.9, 20),
        (0.2, 2.1, -0.7, 1.0, 0.9, 0.95, -12), (1.6, 1.0, 0.15, 0.9, 0.8, 0.9, -8),
        (3.0, 1.55, -0.5, 0.9, 0.95, 0.9, 25), (-1.3, 2.2, 0.1, 0.5, 0.5, 0.5, 40),
        (-2.15, 3.0, -2.1, 0.8, 0.7, 0.8, 24), (2.2, 3.3, -2.1, 0.7, 0.6, 0.7, 35))


def block(width, height, depth, bevel=0.025):
    """A box on y = 0 with bevelled edges."""
    half = (width / 2, height / 2, depth / 2)
    middle = (0, half[1], 0)
    mesh = Mesh()

    def corner(axis, signs):
        return tuple(m + s * (h - (0 if k == axis else bevel))
                     for k, (m, s, h) in enumerate(zip(middle, signs, half)))

    def outward(points):
        a, b, c = points[:3]
        u, v = [q - p for p, q in zip(a, b)], [q - p for p, q in zip(a, c)]
        n = (u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0])
        out = sum(s * (p - m) for s, p, m in zip(n, a, middle))
        mesh.flat(points if out > 0 else points[::-1])

    for axis in range(3):
        b, c = (axis + 1) % 3, (axis + 2) % 3

        def signs(s, t, u):
            return tuple({axis: s, b: t, c: u}[k] for k in range(3))

        for s in (-1, 1):
            outward([corner(axis, signs(s, t, u)) for t, u in ((-1, -1), (1, -1), (1, 1), (-1, 1))])
            for t in (-1, 1):
                outward([corner(k, signs(s, t, u))
                         for k, u in ((axis, -1), (b, -1), (b, 1), (axis, 1))])
    for s in ((x, y, z) for x in (-1, 1) for y in (-1, 1) for z in (-1, 1)):
        outward([corner(k, s) for k in range(3)])
    return mesh


def blocks():
    mesh = Mesh()
    for x, y, z, width, height, depth, turn in PILE:
        put(mesh, block(width, height, depth), x, y, z, turn)
    return mesh


SUN = (0.50, 0.56, 0.215)               # middle and radius, in heights of the picture
NIGHT, CORAL, CREAM, GOLD = (0.05, 0.13, 0.30), (0.95, 0.36, 0.22), (1.0, 0.86, 0.58), (1.0, 0.66, 0.16)
RIDGES = ((0.46, 0.16, 3, (0.50, 0.20, 0.42)), (0.37, 0.15, 5, (0.26, 0.12, 0.38)),
          (0.29, 0.11, 8, (0.10, 0.07, 0.26)))
SHORE = 0.25


def sky(x, y):
    """Rays from the sun, coral and cream below, turquoise above."""
    angle = numpy.arctan2(y - SUN[1], x)
    ray = smooth(-0.12, 0.12, numpy.sin(18 * angle))
    distance = numpy.hypot(x, y - SUN[1])
    far = smooth(0.25, 0.95, distance)
    return mix(mix(CREAM, (0.16, 0.62, 0.70), far), mix(CORAL, (0.05, 0.30, 0.52), far), ray)


def sail(x, y, side, left, foot, size):
    """Whether a point lies within a boat's triangular sail."""
    u, v = side * (x - left) / size, (y - foot) / size
    return (0 < v) & (v < 1) & (0.03 < u) & (u < 0.5 * (1 - v))


def poster(u, v):
    """The sun, three ridges, a lake with its stripes of light, a boat and birds."""
    x, y = (u - 0.5) * 16 / 9, v
    color = sky(x, y)
    distance = numpy.hypot(x, y - SUN[1])
    color = where(distance < SUN[2] + 0.018, CREAM, color)
    disc = mix(GOLD, (1.0, 0.93, 0.60), smooth(SUN[2], 0, distance))
    color = where(distance < SUN[2], disc, color)
    for foot, tall, frequency, ground in RIDGES:
        zigzag = noise(frequency * (x + 2), 0.5, seed=frequency)
        top = foot + tall * (2 * zigzag - 1) + 0.02 * noise(9 * frequency * (x + 3), 2.5)
        rock = mix(ground, scaled(ground, 1.7), smooth(0.0, 0.12, top - y))
        snow = (frequency == 3) & (y > 0.52) & (y > top - 0.05)
        color = where(y < top, where(snow, CREAM, rock), color)

    depth = numpy.maximum(SHORE - y, 0) / SHORE
    wave = numpy.sin(60 * depth ** 0.6 + 3 * noise(6 * x + 9, 7 * depth))
    glow = smooth(0.20 + 0.15 * depth, 0.05, abs(x) + 0.06 * wave)
    lake = mix(mix((0.08, 0.42, 0.52), NIGHT, depth), (1.0, 0.70, 0.25),
               0.95 * glow * (wave > -0.3) + 0.25 * (1 - glow) * (wave > 0.80))
    color = where(y < SHORE, lake, color)

    sails = sail(x, y, 1, 0.42, 0.17, 0.26) | sail(x, y, -1, 0.42, 0.19, 0.20)
    color = where(sails, (1.0, 0.95, 0.86), color)
    hull = abs(x - 0.43) < 0.10 + (y - 0.165) * 1.2 + 0.03
    color = where((0.135 < y) & (y < 0.165) & hull, (0.42, 0.10, 0.10), color)
    for bx, by, size in ((-0.42, 0.80, 0.06), (-0.56, 0.86, 0.045), (-0.30, 0.88, 0.04)):
        s, t = abs(x - bx) / size, (y - by) / size
        wing = abs(t - 0.9 * numpy.sqrt(s) + 0.5 * s * s) < 0.10 * (1.3 - s)
        color = where((s < 1) & wing, NIGHT, color)
    return color


if __name__ == "__main__":
    make([("blocks", blocks, "A pile of white blocks, 8 wide and 4.4 high, on y = 0.")],
         [("textures/poster.png", lambda: png(paint(800, 450, poster, 2, 64)))])
