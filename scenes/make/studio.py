"""Paints the surroundings of the scenes of materials.

A photographer's studio as a panorama for soft_environment: its middle lies towards -z. There the
backdrop is even; what shapes reflections stands elsewhere: a large warm box of light to the left of
the camera, a cool strip to the right, a window behind it, a round lamp above.
"""

import numpy

from parts import make
from picture import least, mix, paint, png, smooth


def patch(x, y, left, right, low, high, edge=1.5):
    """1 inside a rectangle of longitude x and latitude y, in degrees, with soft edges."""
    inside = least(x - left, right - x, y - low, high - y)
    return smooth(-edge, edge, inside)


def studio(u, v):
    """Longitude runs from -180 to 180, 90 being the right of who looks towards -z."""
    x, y = 360 * u - 180, 180 * v - 90
    color = mix((0.46, 0.48, 0.52), (0.26, 0.28, 0.33), smooth(0, 70, y))
    color = mix((0.20, 0.19, 0.19), color, smooth(-9, 3, y))
    color = mix(color, (0.66, 0.67, 0.69), 0.85 * numpy.exp(-(x / 60) ** 2 - ((y - 4) / 26) ** 2))

    # Hang the lights, brighter in their middle.
    box = patch(x, y, -132, -72, 4, 62)
    warm = mix((0.95, 0.86, 0.74), (1, 0.98, 0.94), numpy.exp(-((x + 102) / 22) ** 2 - ((y - 36) / 20) ** 2))
    color = mix(color, warm, box)
    color = mix(color, (0.62, 0.80, 1.0), patch(x, y, 88, 106, -4, 66))
    color = mix(color, (0.42, 0.56, 0.78), patch(x, y, 112, 122, -4, 66))
    far = numpy.where(x > 0, x, x + 360)
    for column in (158, 176, 194):
        for row in (6, 27):
            color = mix(color, (0.80, 0.84, 0.90), patch(far, y, column, column + 15, row, row + 18))
    return mix(color, (1, 0.99, 0.97), smooth(70, 73, y))


if __name__ == "__main__":
    make(files=[("textures/studio.png", lambda: png(paint(512, 256, studio, 2, 256)))])
