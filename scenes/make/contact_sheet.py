"""Renders every preset of scenes/presets and tiles the pictures, with names:

    python3 scenes/make/contact_sheet.py build/release/orvane docs/pictures/flare_presets.jpg

The scene is scenes/flare_presets.mi with one preset after the other. --blend T renders them with
another preset_blend, --only NAME... some of them alone. Needs oiiotool.
"""

import argparse
import glob
import os
import subprocess
import tempfile

from sheet import labelled, tile

SCENES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")
IN_SCENE = "presets/hexagon_sun.png"


def render(command, name, blend, size, picture):
    with open(os.path.join(SCENES, "flare_presets.mi"), encoding="ascii") as file:
        scene = file.read()
    scene = scene.replace(IN_SCENE, f"presets/{name}.png")
    scene = scene.replace('"preset_blend" 0', f'"preset_blend" {blend}')
    subprocess.run([command, "render", "-", "-v", "2", "-o", picture,
                    "--resolution", *map(str, size)],
                   input=scene, text=True, check=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("command", help="the program orvane")
    parser.add_argument("picture")
    parser.add_argument("--blend", default="0")
    parser.add_argument("--columns", type=int, default=5)
    parser.add_argument("--size", type=int, nargs=2, default=(320, 180), metavar=("X", "Y"))
    parser.add_argument("--only", nargs="+")
    options = parser.parse_args()

    names = options.only or sorted(os.path.basename(path)[:-len(".flare")]
                                   for path in glob.glob(os.path.join(SCENES, "presets/*.flare")))
    with tempfile.TemporaryDirectory() as folder:
        pictures = []
        for name in names:
            picture = os.path.join(folder, name + ".exr")
            render(options.command, name, options.blend, options.size, picture)
            pictures.append(labelled(picture, name.replace("_", " ")))
        tile(pictures, options.columns, options.picture)


if __name__ == "__main__":
    main()
