"""Puts the figures of scenes/sprite.mi over a background: hard edges at the left, blended ones at
the right, a part of each still larger below:

    python3 scenes/make/sprite_figure.py build/release/orvane docs/pictures/sprite.jpg

Needs oiiotool.
"""

import argparse
import os
import subprocess
import tempfile

import numpy

from picture import mix, noise, paint, png, where
from sheet import FONT, INK, LABEL, PAPER, bare

SCENE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "sprite.mi")
SIZE, ZOOM, GAP = 96, 5, 6
PART, PART_SIZE, PART_ZOOM = "32x14+0+66", (32, 14), 15  # the top of the heart


def meadow(u, v):
    """Sky in steps, clouds and two hills, in squares as large as the pixels of the figures."""
    x, y = numpy.floor(u * SIZE), numpy.floor(v * SIZE)
    color = mix((0.74, 0.91, 0.97), (0.36, 0.66, 0.93), numpy.rint(5 * v) / 5)
    for cx, cy, width in CLOUDS:
        rise = 4 - ((x - cx) / width) ** 2 * 4 + 2 * noise(x / 3, cy, seed=2)
        cloud = where(y - cy > 1, (0.98, 0.99, 1.0), (0.84, 0.92, 0.98))
        color = where((0 <= y - cy) & (y - cy < rise), cloud, color)
    for base, swing, step, top, body in HILLS:
        height = base + swing * noise(x / step, base, seed=7)
        hill = where(y > height - 2, top, body)
        hill = where(noise(1.7 * x, 1.7 * y, seed=3) > 0.9, mix(hill, top, 0.6), hill)
        color = where(y < height, hill, color)
    return color


CLOUDS = ((14, 58, 11), (50, 66, 14), (80, 57, 12), (30, 88, 9), (66, 91, 10))
HILLS = ((20, 26, 22, (0.52, 0.78, 0.56), (0.42, 0.70, 0.53)),
         (2, 24, 17, (0.56, 0.80, 0.32), (0.38, 0.66, 0.30)))


def oiiotool(*arguments):
    subprocess.run(["oiiotool", *map(str, arguments)], check=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("command", help="the program orvane")
    parser.add_argument("picture")
    options = parser.parse_args()
    command = os.path.abspath(options.command)

    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([command, "render", os.path.abspath(SCENE), "-v", "2"], cwd=folder, check=True)
        ground = os.path.join(folder, "ground.png")
        with open(ground, "wb") as file:
            file.write(png(paint(SIZE, SIZE, meadow, 1, 256)))
        width, large, small = SIZE * ZOOM, SIZE * ZOOM, PART_SIZE[1] * PART_ZOOM
        sheet = ["--create", f"{2 * width + GAP}x{large + GAP + small + LABEL}", 3,
                 f"--fill:color={PAPER}", f"{2 * width + GAP}x{large + GAP + small + LABEL}"]
        for column, edges in enumerate(("hard", "blended")):
            low = os.path.join(folder, edges + ".tif")
            oiiotool(os.path.join(folder, "out", f"sprite_{edges}.png"), ground, "--ch",
                     "R,G,B,A=1.0", "--over", "--ch", "R,G,B", "-d", "uint8", "-o", low)
            x = column * (width + GAP)
            sheet += [low, "--resample:interp=0", f"{width}x{large}", "--swap", "--paste", f"+{x}+0",
                      low, "--cut", PART, "--resample:interp=0", f"{width}x{small}",
                      "--swap", "--paste", f"+{x}+{large + GAP}",
                      f"--text:x={x + 4}:y={large + GAP + small + 16}:size=14:font={FONT}:color={INK}",
                      f"blend_background {'on' if column else 'off'}"]
        oiiotool(*sheet, "-d", "uint8", "--compression", "jpeg:92", "-o", options.picture)
        bare(options.picture)


if __name__ == "__main__":
    main()
