"""Renders the figures of materials:

    python3 scenes/make/material_figures.py build/release/orvane docs/pictures [NAME...]

Every cell of docs/pictures/NAME_figure.jpg is scenes/docs/material.mi with another shader and other
parameters for its material "shown"; all of them stand in this file. Needs oiiotool.
"""

import argparse
import os
import tempfile

from figure import SCENES, parameters_in, run, with_parameters
from sheet import labelled, tile


class Figure:
    """One figure of a shader: what its cells share, and the cells as (label, parameters).

    shadow: the shader that light passes; without one the object throws a full shadow. more: pairs of
    texts of the scene and what replaces them; a third element of a cell is such pairs as well.
    """

    def __init__(self, shader, common, cells, shadow="", more=(), columns=3):
        self.shader, self.common, self.cells = shader, common, cells
        self.shadow, self.more, self.columns = shadow, list(more), columns

    def text(self, parameters, more):
        with open(os.path.join(SCENES, "docs", "material.mi"), encoding="ascii") as file:
            text = file.read()
        text = text.replace('"../', '"')  # as read from the folder of the scenes

        # Give the material its shaders, then its parameters: a cell's win over those of the figure.
        shown = 'material "shown"\n'
        text = text.replace(f'{shown}    "soft_material" (', f'{shown}    "{self.shader}" (')
        end = text.index("\nend material", text.index(shown))
        if self.shadow:
            text = text[:end] + f'\n    shadow "{self.shadow}" ( )' + text[end:]
        settings = {**parameters_in(self.common), **parameters_in(parameters)}
        text = with_parameters(text, shown, ", ".join(
            f'"{name}" {value}' for name, value in settings.items()))
        for old, new in [*self.more, *more]:
            assert old in text, old
            text = text.replace(old, new)
        return text

    def render(self, command, result):
        with tempfile.TemporaryDirectory() as folder:
            pictures = []
            for k, (label, parameters, *more) in enumerate(self.cells):
                picture = os.path.join(folder, f"{k}.exr")
                run(command, self.text(parameters, more[0] if more else ()), picture)
                pictures.append(labelled(picture, label))
            tile(pictures, self.columns, result)


FIGURES = {
    "strauss": Figure("zel_strauss", '"color" .95 .50 .24 1', [
        ("smoothness 0.3", '"smoothness" 0.3'),
        ("smoothness 0.9", '"smoothness" 0.9'),
        ("0.9, reflectivity 0.25", '"smoothness" 0.9, "reflectivity" 0.25'),
        ("smoothness 0.3, metalness 1", '"smoothness" 0.3, "metalness" 1'),
        ("smoothness 0.9, metalness 1", '"smoothness" 0.9, "metalness" 1'),
        ("0.9, metalness 1, reflectivity 0.7",
         '"smoothness" 0.9, "metalness" 1, "reflectivity" 0.7')]),
    "trispec": Figure("zel_trispec", '"diffuse" .08 .10 .14 1, "specular" 1.1 1.1 1.1 1, "exponent" 20', [
        ("side_weight 0", '"side_weight" 0'),
        ("split 1 0 0", '"split" 1 0 0'),
        ("split 0 1 0", '"split" 0 1 0'),
        ("split 1 0 0, exponent 8", '"split" 1 0 0, "exponent" 8'),
        ("split 1 0 0, exponent 150", '"split" 1 0 0, "exponent" 150'),
        ("split 0 0 0", '"split" 0 0 0')]),
    "xmasball": Figure("zel_xmasball", '"diffuse" .15 .40 1 1, "reflectivity" .85, "specular" 1 1 1 1, '
                       '"exponent" 200', [
        ("tint 0", '"tint" 0'),
        ("tint 0.5", '"tint" 0.5'),
        ("tint 1", '"tint" 1'),
        ("tint 1, grey_reflection on", '"tint" 1, "grey_reflection" on'),
        ("the same, reflectivity 0.4", '"tint" 1, "grey_reflection" on, "reflectivity" .4'),
        ("tint 0, grey_reflection on", '"tint" 0, "grey_reflection" on')],
                       more=[("textures/studio.png", "textures/parlour.png")]),
    "velvet": Figure("zel_velvet", '"model" 0, "diffuse" .50 .07 .12 1, "ambient" .06 .01 .015 1, '
                     '"edge_color" 2.5 2.3 2.3 1, "face_color" .03 .002 .008 1', [
        ("strength 0", '"strength" 0'),
        ("strength 0.5", '"strength" 0.5'),
        ("strength 0.9", '"strength" 0.9'),
        ("0.9, edge_color 1 1 1", '"strength" 0.9, "edge_color" 1 1 1 1'),
        ("0.9, edge_color 4 2.6 1.2", '"strength" 0.9, "edge_color" 4 2.6 1.2 1'),
        ("0.9, face_color .05 .10 .40", '"strength" 0.9, "face_color" .05 .10 .40 1')]),
}


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("command", help="the program orvane", type=os.path.abspath)
    parser.add_argument("folder")
    parser.add_argument("names", nargs="*")
    options = parser.parse_args()
    for name in options.names or FIGURES:
        FIGURES[name].render(options.command, os.path.join(options.folder, f"{name}_figure.jpg"))


if __name__ == "__main__":
    main()
