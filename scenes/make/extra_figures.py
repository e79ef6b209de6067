"""Renders the figures of docs/lenses-and-output.md:

    python3 scenes/make/extra_figures.py build/release/orvane docs/pictures [NAME...]

Every cell of docs/pictures/NAME_figure.jpg is scenes/NAME.mi, smaller and with some of its text
replaced; what is replaced stands in this file. Needs oiiotool.
"""

import os
import subprocess
import tempfile

from figure import SCENES, read_arguments, run
from sheet import labelled, tile


class Figure:
    """The cells of a scene: each a label, how it is shown (see below), and pairs of texts of the scene
    and what replaces them."""

    def __init__(self, size, columns, cells):
        self.size, self.columns, self.cells = size, columns, cells

    def render(self, command, name, result):
        with open(os.path.join(SCENES, f"{name}.mi"), encoding="ascii") as file:
            scene = file.read()
        with tempfile.TemporaryDirectory() as folder:
            pictures = []
            for k, (label, show, *changes) in enumerate(self.cells):
                text = scene
                for old, new in changes:
                    assert old in text, old
                    text = text.replace(old, new)
                picture = os.path.join(folder, f"{k}.exr")
                run(command, text, picture, "--resolution", *map(str, self.size))
                if show:
                    shown = os.path.join(folder, f"{k}_shown.exr")
                    subprocess.run(["oiiotool", picture, *show, "-o", shown], check=True)
                    picture = shown
                pictures.append(labelled(picture, label))
            tile(pictures, self.columns, result, 84)


SMALL, STRIP = (330, 186), (500, 139)
COLORS = []  # as it is, without alpha
ALPHA = ["--ch", "A,A,A", "--chnames", "R,G,B"]
OVER = ["--pattern", "constant:color=.5,.5,.5,1", "330x186", "4", "--over"]

LIGHT = '"color" = "projection", "intensity" 1.2'
WHITE = '"ambient" .010 .013 .024, "diffuse" .92 .92 .92'
ASPECT = '"aspect" 1.77778'
PAINT = [(LIGHT, '"intensity" .9'), (WHITE, f'{WHITE}, "diffuse_map" "projection"')]
GLOW = [(LIGHT, '"intensity" 0'), (WHITE, '"ambient" = "projection", "diffuse" .92 .92 .92')]
FOV, APERTURE, LENS = '"fov" 360', "aperture 6.2832", '    lens "Cylindric" ( "fov" 360 )\n'
COLOR = '"color" 1 .80 .48 1'
SKY = '    output "zel_bg_pic" ( "texture" "clouds" )\n'
CLOUDS = 'color texture "clouds" "textures/clouds.png"'
CHECKS = 'color texture "clouds" "soft_checker" ( "even" .85 .80 .70, "odd" .30 .45 .55, "scale" 16 9 1 )'
DENSITY, PASSES = '"density" 0.045', '"color" 0 .87 .95'

FIGURES = {
    "cam_proj": Figure(SMALL, 3, [
        ("color of a light", COLORS),
        ("diffuse_map of the blocks and the wall", COLORS, *PAINT),
        ("ambient of the blocks and the wall", COLORS, *GLOW),
        ("the same, both_sides on", COLORS, *GLOW, (ASPECT, f'{ASPECT}, "both_sides" on')),
        ("fov 15", COLORS, ('"fov" 24.5', '"fov" 15')),
        ("roll 20, aspect 1", COLORS, (ASPECT, '"roll" 20, "aspect" 1'))]),
    "cylindric": Figure(STRIP, 2, [
        ("no lens, aperture 2 (90 degrees)", COLORS, (LENS, ""), (APERTURE, "aperture 2")),
        ("fov 90, aperture 1.571", COLORS, (FOV, '"fov" 90'), (APERTURE, "aperture 1.571")),
        ("fov 180, aperture 3.142", COLORS, (FOV, '"fov" 180'), (APERTURE, "aperture 3.142")),
        ("fov 360, aperture 6.283", COLORS),
        ("fov 180, aperture 6.283: flattened", COLORS, (FOV, '"fov" 180')),
        ("fov 360, aperture 3.142: drawn out", COLORS, (APERTURE, "aperture 3.142"))]),
    "bg_color": Figure(SMALL, 3, [
        ("no shader, laid over grey", OVER, (f'    output "zel_bg_color" ( {COLOR} )\n', "")),
        ("color .45 .75 .65 1", COLORS, (COLOR, '"color" .45 .75 .65 1')),
        ("color .10 .25 .35 1", COLORS, (COLOR, '"color" .10 .25 .35 1')),
        ("alpha with .45 .75 .65 0, or no shader", ALPHA, (COLOR, '"color" .45 .75 .65 0')),
        ("alpha with .45 .75 .65 .5", ALPHA, (COLOR, '"color" .45 .75 .65 .5')),
        ("alpha with .45 .75 .65 1", ALPHA, (COLOR, '"color" .45 .75 .65 1'))]),
    "bg_pic": Figure(SMALL, 3, [
        ("no shader, laid over grey", OVER, (SKY, "")),
        ("alpha, with the shader or without", ALPHA),
        ("clouds.png, written as rgb", COLORS),
        ("the same, written as rgba, over grey", OVER),
        ("dusk.png", COLORS, ("clouds.png", "dusk.png")),
        ("soft_checker", COLORS, (CLOUDS, CHECKS))]),
    "dense_vol": Figure(SMALL, 3, [
        ("no medium", COLORS, ('    volume = "water"\n', "")),
        ("density 0.02", COLORS, (DENSITY, '"density" 0.02')),
        ("density 0.1", COLORS, (DENSITY, '"density" 0.1')),
        ("color .7 .8 .3", COLORS, (PASSES, '"color" .7 .8 .3')),
        ("color 0 0 0", COLORS, (PASSES, '"color" 0 0 0')),
        ("exponent 2, density 0.004", COLORS, (DENSITY, '"density" 0.004, "exponent" 2'))]),
}


def main():
    options = read_arguments(__doc__)
    for name in options.names or FIGURES:
        FIGURES[name].render(options.command, name, os.path.join(options.folder, f"{name}_figure.jpg"))


if __name__ == "__main__":
    main()
