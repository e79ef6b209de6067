"""Renders the figures of docs/flares.md:

    python3 scenes/make/flare_figures.py build/release/orvane docs/pictures [NAME...]

Every cell is scenes/flare_presets.mi with a preset of a few lines, or with other parameters of the
light or the lens; all of them stand in this file. NAME chooses figures. Needs oiiotool.
"""

import argparse
import os
import subprocess
import tempfile

from sheet import labelled, tile

SCENE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "flare_presets.mi")
BRIGHT = '"zenith" 0 0.05 0.2 1, "horizon" 0.62 0.48 0.40 1, "ground" 0.1 0.1 0.1 1'
DARK = '"zenith" 0 0 0.02 1, "horizon" 0.042 0.044 0.064 1, "ground" 0.02 0.02 0.03 1'
STAR = '"star_on" on, "star_width" 0.012, "star_length" 2.5, "star_intensity" 3'
GLOW = '"glow_on" on, "glow_size" 1.6, "color" 1 0.8 0.5 1'
POST = """
material "dark" opaque "soft_constant" ( "color" 0.25 0.25 0.28 1 ) end material
object "post" visible on  shadow on  trace on
    group
        -0.09 -1.3 0  0.09 -1.3 0  0.09 0.45 0  -0.09 0.45 0
        v 0 v 1 v 2 v 3  c "dark" 0 1 2 3
    end group
end object
instance "post_inst" "post" transform 1 0 0 0  0 1 0 0  0 0 1 0  %s -0.55 6 1 end instance
"""


class Cell:
    """One picture: a label, and what differs from the template scene."""

    def __init__(self, label, preset=None, light="", lens="", place=(-0.22, 0.11), sky=None,
                 more="", area=""):
        self.label, self.preset, self.light, self.lens = label, preset, light, lens
        self.place, self.sky, self.more, self.area = place, sky, more, area

    def scene(self, carrier, aspect):
        with open(SCENE, encoding="ascii") as file:
            text = file.read()

        def change(old, new):
            nonlocal text
            assert old in text, old
            text = text.replace(old, new)

        if self.preset is None:
            change('"flare_preset" "preset"', self.light)
        else:
            change('"flare_preset" "preset"', '"flare_preset" "preset", ' + self.light)
            change("presets/hexagon_sun.png", carrier or f"presets/{self.preset}.png")
        if 'color"' in self.light:
            change('"color" 1 1 1 1,', "")
        if self.lens:
            change('"preset_blend" 0', self.lens)
        if self.sky:
            change(DARK, self.sky)
        change("aspect 1.77778", f"aspect {aspect:.5f}")
        x, y = (7.2 * p for p in self.place)
        change("origin -1.584 0.792 -10", f"origin {x:.4f} {y:.4f} -10 {self.area}")
        if self.more:
            change('instgroup "root"', self.more + 'instgroup "root" "post_inst"')
        return text

    def render(self, command, folder, name, size):
        picture, carrier = (os.path.join(folder, name + end) for end in (".exr", "_carrier.png"))
        if self.preset and "\n" in self.preset:
            text = f"FLARE_START 1.0\n{self.preset.strip()}\nFLARE_END\n"
            subprocess.run([command, "preset", "pack", "-", "-o", carrier], input=text, text=True,
                           check=True)
        else:
            carrier = None
        subprocess.run([command, "render", "-", "-v", "2", "-o", picture, "--resolution",
                        *map(str, size)], input=self.scene(carrier, size[0] / size[1]), text=True,
                       check=True)
        return labelled(picture, self.label)


def discs(mode, values):
    """Discs side by side with one profile and several parameters."""
    places = {1: (0,), 2: (-0.16, 0.16), 3: (-0.3, 0, 0.3)}[len(values)]
    return "".join(f"CIRCLE_D 1 1 1  {x} 0  0 0  0.125  {mode} {v}\n"
                   for x, v in zip(places, values))


def burst(label, keyword, numbers, rotations=(0,)):
    """A burst in the middle of the frame; numbers are those after its rotations."""
    return Cell(label, "".join(f"{keyword} 1 .9 .7 1 {r} {r} {numbers}\n" for r in rotations),
                place=(0, 0))


def profile(mode, values, remark):
    return Cell(f"{mode}   {remark}", discs(mode, values))


PRIMITIVES = [
    Cell("CIRCLE: on the axis, at 1, 0.4, -0.4, -1",
         "CIRCLE 1 .9 .7 1 1 .05 15 .2\nCIRCLE .3 .2 .1 .4 .4 .03 3 4\n"
         "CIRCLE .1 .2 .3 -.4 -.4 .06 14 .9\nCIRCLE .2 .1 .2 -1 -1 .1 5 .3\n"),
    Cell("CIRCLE_D: pulled by 0, .33, .67, 1",
         "".join(f"CIRCLE_D .5 .4 .3 .4 .1 {s} {s} .04 14 .8\n" for s in (0, .33, .67, 1))),
    Cell("NGON: 3, 5, 6, 8 sides",
         "CIRCLE 1 .9 .7 1 1 .03 15 .2\nNGON .4 .2 .1 .6 .6 .05 .2 .2 3 14 .8\n"
         "NGON .1 .3 .2 .05 .05 .06 .2 .2 5 14 .8\nNGON .1 .2 .4 -.55 -.55 .07 .2 .2 6 14 .8\n"
         "NGON .3 .1 .3 -1.2 -1.2 .08 .2 .2 8 14 .8\n"),
    Cell("NGON_D: splinters that stand on the glass",
         "CIRCLE 1 .9 .7 1 1 .03 15 .2\nNGON_D .3 .3 .4 .3 .1 0 0 .06 .3 .3 4 3 3\n"
         "NGON_D .3 .2 .2 .1 -.12 0 0 .04 .8 .8 3 3 3\n"
         "NGON_D .2 .3 .3 -.2 -.15 0 0 .05 0 0 5 3 3\n"),
    Cell("SECTOR: wedges", "SECTOR .9 .8 .6 1 0 0 .5 0 .02 .05 60 2 0\n"),
    Cell("RAYS: straight rays", "RAYS .9 .8 .6 1 0 0 .4 0 .01 60 0 2 0\n"),
]
BURSTS = [
    burst("RAYS, 60 rays, profile 2", "RAYS", ".3 0 .01 60 0 2 0"),
    burst("profile 4, V 3: a bright heart", "RAYS", ".3 0 .01 60 0 4 3"),
    burst("profile 1: bright tips, dark lines", "RAYS", ".3 0 .01 60 0 1 0"),
    burst("profile 14, V 0.4: a dark foot", "RAYS", ".3 0 .01 60 0 14 .4"),
    burst("10 rays, outer 0.03", "RAYS", ".3 0 .03 10 0 2 0"),
    burst("inner 0.025: hard sides", "RAYS", ".3 .025 .03 10 0 2 0"),
    burst("the 10 rays from ray 100 on", "RAYS", ".3 0 .03 10 100 2 0"),
    burst("ray 40 alone, laid level: a streak", "RAYS", ".4 0 .01 1 40 4 1.5", (-1.1909,)),
    burst("SECTOR, 30 wedges, spread 0.15", "SECTOR", ".4 0 .01 .15 30 2 0"),
    burst("spread 0: as RAYS", "SECTOR", ".4 0 .02 0 30 2 0"),
    burst("spread -0.03: points", "SECTOR", ".4 0 .02 -.03 30 2 0"),
    burst("ray 190 alone, twice: a cross", "SECTOR", "2.4 0 .05 -.49 1 2 0", (-.1309, 1.4399)),
]
PROFILES = [
    profile(0, (0,), "flat: hard-edged ghosts"),
    profile(1, (0,), "cone: plain veils"),
    profile(2, (0,), "funnel, hard rim; bursts"),
    profile(3, (.5, 2, 8), "V 0.5, 2, 8: from a spike to a soft disc"),
    profile(4, (.5, 2, 8), "V 0.5, 2, 8: bubbles, hard rim; bursts"),
    profile(5, (.1, .4, 1), "V 0.1, 0.4, 1: soft ring"),
    profile(6, (0,), "spectral ring"),
    profile(7, (.01, .05, .3), "V 0.01, 0.05, 0.3: core and veil in one"),
    profile(8, (0,), "fibrous glow"),
    profile(9, (0,), "grainy spike"),
    profile(10, (.03, .15, .5), "V 0.03, 0.15, 0.5: hard ring"),
    profile(11, (.1, .3, .6), "V 0.1, 0.3, 0.6: ring with a hard inside"),
    profile(14, (.2, .6, .95), "V 0.2, 0.6, 0.95: tent; coated ghosts"),
    profile(15, (.05, .2, 1), "V 0.05, 0.2, 1: bell: cores, veils"),
]


def star(label, count=6, extra="", **rest):
    return Cell(label, light=f'{STAR}, "star_count" {count}{extra}', **rest)


STARS = [
    star("star_count 6, rotation 0"),
    star("star_count 5: ten points", 5),
    star("star_rotation 20", extra=', "star_rotation" 20'),
    Cell("star_width 0.04", light=STAR.replace("0.012", "0.04")),
    Cell("star_length 0.8", light=STAR.replace("2.5", "0.8")),
    Cell("star_length 6", light=STAR.replace("2.5", "6")),
    star("star_length_noise 1.5, count 9", 9, ', "star_length_noise" 1.5'),
    star("star_width_noise 1.5, count 9", 9, ', "star_width_noise" 1.5'),
    Cell("star_intensity 30: the fringes", light=STAR[:-1] + "30"),
    star("star_follow on, light above", extra=', "star_follow" on', place=(0, 0.15)),
    star("star_follow on, light at the left", extra=', "star_follow" on', place=(-0.25, 0)),
    star("flare_aspect 2", extra=', "flare_aspect" 2'),
]
GLOWS = [
    Cell("glow_falloff 0.2", light=GLOW + ', "glow_falloff" 0.2'),
    Cell("glow_falloff 1", light=GLOW),
    Cell("glow_falloff 4", light=GLOW + ', "glow_falloff" 4'),
    Cell("glow_size 3, falloff 0.2", light=GLOW.replace("1.6", "3") + ', "glow_falloff" 0.2'),
    Cell("behind a post: glow and star", light=GLOW + ', "glow_falloff" 0.5, "shadow" on, ' + STAR,
         more=POST % "1.20"),
    Cell("hidden: the glow is left", light=GLOW + ', "glow_falloff" 0.5, "shadow" on, ' + STAR,
         more=POST % "0.95"),
]
SETTINGS = [
    Cell("as it is", "hexagon_sun"),
    Cell("flare_scale 0.5 (bursts keep their size)", "hexagon_sun", '"flare_scale" 0.5'),
    Cell("flare_intensity 2", "hexagon_sun", '"flare_intensity" 2'),
    Cell("flare_aspect 2", "hexagon_sun", '"flare_aspect" 2'),
    Cell("flare_aspect 0.5", "hexagon_sun", '"flare_aspect" 0.5'),
    Cell("preset_blend 1", "hexagon_sun", "", '"preset_blend" 1'),
    Cell("flare_saturation 0", "hexagon_sun", "", '"flare_saturation" 0'),
    Cell("flare_saturation 2", "hexagon_sun", "", '"flare_saturation" 2'),
    Cell("flare_value 2", "hexagon_sun", "", '"flare_value" 2'),
    Cell("light 0.05 outside, edge_margin 0.2", "hexagon_sun", place=(-.55, .11)),
    Cell("light 0.15 outside, edge_margin 0.2", "hexagon_sun", place=(-.65, .11)),
    Cell("light 0.15 outside, edge_margin 0.6", "hexagon_sun", "", '"edge_margin" 0.6',
         (-.65, .11)),
    Cell("golden_hour over a bright sky", "golden_hour", sky=BRIGHT),
    Cell("the same, screen_blend on", "golden_hour", "", '"screen_blend" on', sky=BRIGHT),
    Cell("flare_only on", "golden_hour", "", '"flare_only" on', sky=BRIGHT),
    Cell("sphere 0.12 behind a post: all", "star_filter", '"shadow" on', area="sphere 0.12 8 8",
         more=POST % "1.20", sky=BRIGHT),
    Cell("half hidden: half as bright", "star_filter", '"shadow" on', area="sphere 0.12 8 8",
         more=POST % "1.04", sky=BRIGHT),
    Cell("hidden: no flare", "star_filter", '"shadow" on', area="sphere 0.12 8 8",
         more=POST % "0.95", sky=BRIGHT),
]
FIGURES = {"flare_primitives.jpg": (PRIMITIVES, 3, (300, 168)),
           "flare_bursts.jpg": (BURSTS, 4, (240, 135)),
           "flare_profiles.jpg": (PROFILES, 2, (450, 150)),
           "flare_star.jpg": (STARS, 4, (240, 135)),
           "flare_glow.jpg": (GLOWS, 3, (300, 168)),
           "flare_settings.jpg": (SETTINGS, 3, (300, 168))}


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("command", help="the program orvane")
    parser.add_argument("folder")
    parser.add_argument("names", nargs="*", default=list(FIGURES))
    options = parser.parse_args()
    for name in options.names:
        cells, columns, size = FIGURES[name]
        with tempfile.TemporaryDirectory() as folder:
            pictures = [cell.render(options.command, folder, str(k), size)
                        for k, cell in enumerate(cells)]
            tile(pictures, columns, os.path.join(options.folder, name))


if __name__ == "__main__":
    main()
