"""Renders the figures of materials:

    python3 scenes/make/material_figures.py build/release/orvane docs/pictures [NAME...]

Every cell of docs/pictures/NAME_figure.jpg is scenes/docs/material.mi with another shader and other
parameters for its material "shown"; all of them stand in this file. Needs oiiotool.
"""

import os
import tempfile

from figure import SCENES, parameters_in, read_arguments, run, with_parameters
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


# A ball of glass before a pawn of lacquer. Rays see front faces alone, so each meets the glass once.
GLASS = (("trace depth 3 6 8", "trace depth 3 6 8  face front"),
         ('$include "meshes/pawn.mi"', '$include "meshes/pawn.mi"\n$include "meshes/ball.mi"'),
         ('instance "shown_inst" "pawn"', '''material "lacquer"
    "soft_material" ( "diffuse" .75 .10 .06, "ambient" .10 .02 .01, "light" [ "key_inst", "rim_inst" ] )
end material
instance "pawn_inst" "pawn" transform 1 0 0 0  0 1 0 0  0 0 1 0  0 0 .75 1  material "lacquer" end instance
instance "shown_inst" "ball" transform 1.6 0 0 0  0 1.6 0 0  0 0 1.6 0  0 -1.02 -.35 1'''),
         ('"shown_inst" end instgroup', '"pawn_inst" "shown_inst" end instgroup'))

# A wall before a pawn of gold, and a light that falls on it alone.
WALL = (('object "floor"', '''color texture "bricks" "textures/bricks.png"
color texture "rose" "slides/rose.png"
light "peek"
    "Orvane_Light" (
        "falloff" 6
    )
    origin -.5 1.5 3.2  direction .22 -.30 -1  spread .978
end light
instance "peek_inst" "peek" end instance
material "gold"
    "soft_material" ( "diffuse" .60 .38 .10, "specular" 1 .8 .4, "reflectivity" .5, "tint_reflection" on,
                      "light" [ "key_inst", "rim_inst" ] )
end material
instance "pawn_inst" "pawn" material "gold" end instance
object "wall"
    visible on
    group
        -1.15 0 .6   1.15 0 .6   1.15 1.5 .6   -1.15 1.5 .6   0 0 0   .55 0 0   .55 .6 0   0 .6 0
        v 0 t 4   v 1 t 5   v 2 t 6   v 3 t 7
        c 0 1 2 3
    end group
end object
object "floor"'''),
        ('"light" [ "key_inst", "rim_inst" ]\n    )\nend material\n\ncolor',
         '"light" [ "key_inst", "peek_inst" ], "peek" [ "peek_inst" ]\n    )\nend material\n\ncolor'),
        ('"shown_inst" "pawn"', '"shown_inst" "wall"'),
        ('"shown_inst" end instgroup', '"pawn_inst" "peek_inst" "shown_inst" end instgroup'))

# A paper lantern in the dusk, with a lamp in it.
LANTERN = (("meshes/pawn.mi", "meshes/lantern.mi"),
           ('"shown_inst" "pawn"', '"shown_inst" "lantern" transform 1.45 0 0 0  0 1.45 0 0  0 0 1.45 0  0 0 0 1'),
           ('"color" .72 .85 1, "intensity" .5', '"color" 1 .78 .48, "intensity" .8, "falloff" .5'),
           ("origin 3.6 2.8 -2.2", "origin 0 .7 0"), ("sphere 0.3 2 2", "sphere 0.06 2 2"),
           ('"intensity" .9', '"intensity" .3'), ('"intensity" 1.1', '"intensity" .35'),
           ('"ambience" .8 .8 .8', '"ambience" .2 .2 .25'))

# The floor as a shadow matte, over a color instead of a photograph.
MATTE = (('environment "soft_environment" ( "texture" "studio", "intensity" 1.1 )',
          'output "zel_bg_color" ( "color" .93 .72 .36 1 )\n    output "rgb" "exr" "out/matte.exr"'),
         ('output "rgb" "png" "out/docs/material.png"\n', ""),
         ('"soft_material" (\n        "model" 0, "ambient" .30 .31 .33, "ambience" .8 .8 .8, "diffuse" .62 .61 .60,\n'
          '        "diffuse_map" "squares", ', '"zel_shadow_matte" (\n        '))
KEY, RIM = '"intensity" .9', '"intensity" .5'

DIMMER = ('"intensity" .9 )', '"intensity" .7 )')
NIGHT = (('"intensity" 1.1', '"intensity" .06'),
         ('1 .96 .90, "intensity" .9 )', '1 .60 .30, "intensity" .35 )'),
         ('"intensity" .5 )', '"intensity" .10 )'), ('"ambient" .30 .31 .33', '"ambient" .05 .05 .05'))
HEARTH = (('$include "meshes/camp_fire.mi"', '$include "meshes/camp_fire.mi"\n$include "meshes/camp_ring.mi"\n'
                                             '$include "meshes/camp_wood.mi"'),
          ('"shown_inst" "pawn"', '"ring" "camp_ring" material "board" end instance\n'
           'instance "wood" "camp_wood" material "board" end instance\n'
           'instance "shown_inst" "camp_fire" transform .72 0 0 0  0 .8 0 0  0 0 .72 0  0 0 0 1'),
          ('"floor_inst" "shown_inst"', '"floor_inst" "ring" "wood" "shown_inst"'))
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
    "frosty": Figure("zel_frosty", '"model" 2, "diffuse" .80 .95 .92 1, "specular" 1 1 1 1, "exponent" 60, '
                     '"transparency" .9, "refract_samples" 6, "edge_opacity" 0, "specular_opacity" 0', [
        ("refract_spread 0", '"refract_spread" 0, "refract_samples" 1'),
        ("refract_spread 0.1", '"refract_spread" 0.1'),
        ("refract_spread 0.4", '"refract_spread" 0.4'),
        ("0.1, edge_opacity 1.5", '"refract_spread" 0.1, "edge_opacity" 1.5'),
        ("0.1, specular_opacity 1", '"refract_spread" 0.1, "specular_opacity" 1'),
        ("reflectivity 0.8, reflect_spread 0.25", '"transparency" 0, "reflectivity" .8, "reflect_spread" 0.25')],
                     shadow="soft_material", more=GLASS),
    "peekaboo": Figure("zel_peekaboo", '"model" 0, "ambient" .12 .12 .13 1, "diffuse" .8 .8 .8 1, "diffuse_map" "bricks"', [
        ("peek_strength 0.4", '"peek_strength" 0.4'),
        ("peek_strength 1", '"peek_strength" 1'),
        ("peek_strength 4", '"peek_strength" 4'),
        ("1, falloff 0.2 of the light", '"peek_strength" 1', [('"falloff" 6', '"falloff" 0.2')]),
        ("1, a blue light", '"peek_strength" 1', [('"falloff" 6', '"falloff" 6, "color" 0 0 1 1')]),
        ("1.5, a slide in the light", '"peek_strength" 1.5', [('"falloff" 6', '"falloff" 1, "slide" "rose"')])],
                       more=WALL),
    "translucent": Figure("translucent_material", '"model" 0, "diffuse" .92 .84 .70 1, "ambient" .02 .02 .03 1', [
        ("translucency 0", '"translucency" 0'),
        ("translucency 0.5", '"translucency" 0.5'),
        ("translucency 1", '"translucency" 1'),
        ("1, transparency 0.5", '"translucency" 1, "transparency" .5'),
        ("the same, use_transparency", '"translucency" 1, "transparency" .5, "use_transparency" on'),
        ("the same, opaque", '"translucency" 1, "transparency" .5, "use_transparency" on, "opaque" on')],
                          shadow="translucent_material", more=LANTERN),
    "shadow_matte": Figure("soft_material", '"diffuse" .70 .12 .08 1, "specular" .6 .6 .6 1, "exponent" 60', [
        ("one light, intensity 1", "", [(KEY, '"intensity" 1'), (', "rim_inst" ]', " ]")]),
        ("one light, intensity 0.5", "", [(KEY, RIM), (', "rim_inst" ]', " ]")]),
        ("two lights of 0.5", "", [(KEY, RIM)]),
        ("two lights of 1", "", [(KEY, '"intensity" 1'), (RIM, '"intensity" 1')]),
        ("0.75 and 0.25", "", [(RIM, '"intensity" .25'), (KEY, '"intensity" .75')]),
        ("the same, without areas", "", [(RIM, '"intensity" .25'), (KEY, '"intensity" .75'),
                                         ("sphere 0.45 3 3", ""), ("sphere 0.3 2 2", "")])],
                           more=MATTE),
    "nemo": Figure("cptn_nemo", '"diffuse" .80 .42 .16 1, "ambient" .10 .05 .02 1, "specular" .5 .5 .5 1, '
                   '"scaling" 3, "thickness" 2, "glow" 0, "complexity" 2', [
        ("scaling 3, thickness 2, complexity 2", ""),
        ("thickness 4", '"thickness" 4'),
        ("complexity 3", '"complexity" 3, "thickness" 3'),
        ("scaling 7", '"scaling" 7'),
        ("glow 0.3", '"glow" .3, "thickness" 1'),
        ("glow 0.3, sharpness 0.6", '"glow" .3, "thickness" 1, "sharpness" .6')],
                   shadow="cptn_nemo"),
    "static_cling": Figure("static_cling", '"diffuse" .10 .45 1 1, "specular" .9 1 1 1, "diffuse_map" "dark", '
                           '"scaling" 3, "thickness" .4, "glow" .2, "complexity" 2', [
        ("scaling 3, glow 0.2, complexity 2", ""),
        ("glow 0", '"glow" 0'),
        ("glow 0.6", '"glow" .6'),
        ("sharpness 0.7", '"sharpness" .7'),
        ("complexity 4", '"complexity" 4'),
        ("without the map", "", [('"diffuse_map" "dark"', '"diffuse_map" null')])],
                           more=(('color texture "studio"', 'color texture "dark" "soft_constant" ( "color" .7 .12 .05 )\n'
                                                            'color texture "studio"'), DIMMER)),
    "dusty": Figure("dusty", '"diffuse" .10 .20 .14 1, "specular" .8 .8 .8 1, "exponent" 50, '
                    '"reflectivity" .1, "fresnel" .4, "noise_scale" 4', [
        ("amount 0", '"amount" 0'),
        ("amount 0.5", '"amount" .5'),
        ("amount 1", '"amount" 1'),
        ("falloff 0.15", '"falloff" .15'),
        ("falloff 0.8", '"falloff" .8'),
        ("use_noise on", '"use_noise" on')]),
    "hot_stuff": Figure("Hot_Stuff", '"scale" 3.6, "stretch" .6, "height" 4.6, "intensity" .36, '
                        '"color1" .03 .002 0 1, "color2" .5 .11 .01 1, "color3" 1 .44 .06 1, "color4" 1 .64 .18 1', [
        ("height 4.6, stretch 0.6, scale 3.6", ""),
        ("height 2.3", '"height" 2.3'),
        ("stretch 0", '"stretch" 0'),
        ("scale 10", '"scale" 10'),
        ("intensity 0.15", '"intensity" .15'),
        ("colors of gas", '"color1" .002 .004 .04 1, "color2" .02 .08 .6 1, "color3" .10 .35 1 1, '
                          '"color4" .35 .65 1 1')],
                        shadow="Hot_Stuff", more=(("meshes/pawn.mi", "meshes/camp_fire.mi"), *HEARTH, *NIGHT,
                                                  ("trace depth 3 6 8", "trace depth 3 40 40"),
                                                  ('\n        "light" [ "key_inst", "rim_inst" ]', ""))),
}


def main():
    options = read_arguments(__doc__)
    for name in options.names or FIGURES:
        FIGURES[name].render(options.command, os.path.join(options.folder, f"{name}_figure.jpg"))


if __name__ == "__main__":
    main()
