"""Paints skies, and a coast all around.

dawn.png    a panorama for soft_environment: morning over the sea, the sun 40 degrees right of the middle
clouds.png  a picture of a summer evening's clouds, for a background
coast.mi    hills around the origin that leave the sea open towards that sun
"""

import math

import numpy

from parts import make
from picture import clamp, fractal, mix, noise, paint, png, scaled, smooth
from shapes import Mesh

SUN = (math.radians(40), math.radians(7))


def dawn(u, v):
    """Longitude across from the middle, v = 0 is the horizon; clouds lie on a plane overhead."""
    longitude, latitude = 2 * math.pi * (u - 0.5), math.pi / 2 * v
    height = numpy.sin(latitude)
    apart = numpy.arccos(clamp(height * math.sin(SUN[1]) + numpy.cos(latitude) *
                               math.cos(SUN[1]) * numpy.cos(longitude - SUN[0]), -1, 1))
    near = numpy.exp(-(apart / 0.75) ** 2)

    # From gold around the sun over rose to blue, and paler away from it.
    color = mix(mix((0.62, 0.60, 0.70), (1.0, 0.70, 0.36), near),
                mix((0.40, 0.52, 0.74), (0.86, 0.60, 0.50), near), smooth(0.0, 0.22, height))
    color = mix(color, (0.13, 0.26, 0.52), smooth(0.10, 0.85, height))

    x, z = numpy.sin(longitude), -numpy.cos(longitude)
    far = numpy.cos(latitude) / (height + 0.10)
    x, z = x * far * 1.1 + 20, z * far * 1.1 + 20
    drift = x + 0.7 * noise(2 * x, z)
    bank = fractal(drift, z, 5, seed=14)
    lit = fractal(drift + 0.25 * math.sin(SUN[0]), z - 0.25 * math.cos(SUN[0]), 5, seed=14)
    cover = smooth(0.48, 0.74, bank) * smooth(0.015, 0.10, height)
    glow = clamp(0.45 + 3.0 * (bank - lit))
    shade = mix((0.40, 0.42, 0.56), (0.62, 0.44, 0.46), near)
    light = mix((0.98, 0.86, 0.84), (1.0, 0.78, 0.46), near)
    color = mix(color, mix(shade, light, glow), 0.88 * cover)

    color = mix(color, (1.0, 0.93, 0.70), 0.85 * numpy.exp(-(apart / 0.13) ** 2))
    return mix(color, (1.0, 1.0, 0.94), smooth(0.030, 0.022, apart))


def clouds(u, v):
    """Heaps of cloud, lit from the left, over a pale horizon."""
    sky = mix((0.97, 0.80, 0.60), (0.44, 0.64, 0.82), smooth(0.0, 0.55, v))
    color = mix(sky, (0.10, 0.25, 0.52), smooth(0.45, 1.1, v))
    layers = ((0.62, 0.30, 1.5, 41, 0.20), (0.40, 0.42, 2.3, 7, 0.34), (0.16, 0.42, 3.1, 23, 0.5))
    for foot, tall, frequency, seed, weight in layers:
        def density(x, y):
            warp = 0.35 * fractal(4 * frequency * x, 4 * frequency * y + 3, 3, seed=seed + 9)
            crest = foot + tall * (fractal(frequency * 1.6 * x + 5, 0.7, 2, seed=seed) - 0.42)
            lumps = fractal(5 * frequency * x + warp, 5 * frequency * y + warp, 5, seed=seed + 3)
            return (crest - y) * 7 + 2.2 * (lumps - 0.5)
        x, y = u * 16 / 9, v
        here = density(x, y)
        slope = here - density(x - 0.030, y + 0.045)
        lit = clamp(0.42 + 0.85 * slope) * smooth(3.2, 0.2, here)
        shade = mix((0.50, 0.50, 0.66), (0.88, 0.62, 0.56), weight)
        cloud = mix(scaled(shade, 0.95), (1.0, 0.95, 0.86), lit)
        cloud = mix(cloud, sky, 0.45 * smooth(0.1, 2.6, here))
        color = mix(color, cloud, smooth(-0.10, 0.22, here))
    return color


def mirrored(picture):
    """A sky above and the same below the horizon, for waves that turn away."""
    return numpy.concatenate((picture, picture[::-1]))


def coast():
    """A ridge of radius 600, up to 50 high."""
    mesh, previous = Mesh(), None
    for k in range(361):
        angle = math.radians(k)
        apart = abs((angle - SUN[0] + math.pi) % (2 * math.pi) - math.pi)
        x, z = math.sin(angle), -math.cos(angle)
        rise = fractal(9 * x + 20, 9 * z + 20, 5, seed=3)
        top = 70 * smooth(0.85, 2.0, apart) * max(rise - 0.22, 0) - 1
        pair = ((600 * x, top, 600 * z), (600 * x, -2, 600 * z))
        if previous:
            mesh.flat([previous[1], pair[1], pair[0], previous[0]])
        previous = pair
    return mesh


if __name__ == "__main__":
    make([("coast", coast,
           "Hills around the origin at a distance of 600, open towards the morning sun.")],
         [("textures/dawn.png", lambda: png(mirrored(paint(1024, 256, dawn, 1, 128)))),
          ("textures/clouds.png", lambda: png(paint(800, 450, clouds, 1, 128)))])
