"""Renders the figures of docs/toon.md:

    python3 scenes/make/toon_figures.py build/release/orvane docs/pictures [NAME...]

The figure lines tiles what scenes/toon_lines.mi renders; resolution is scenes/toon.mi at two
resolutions. Every cell of the others is the robot of toon_lines.mi with other parameters of the lens
or of its materials; all of them stand in this file. NAME chooses figures. Needs oiiotool.
"""

import os
import re
import subprocess
import tempfile

from figure import SCENES, parameters_in, read_arguments, run, with_parameters
from sheet import labelled, tile

LENS = {"width": "3.4", "group_depth": "0", "normal_threshold": "0.9", "color_threshold": "0.15"}
COLORFUL = '"line_color" .20 .30 .75 1'
CROWD = "".join(f"""
instance "{part}{k}_inst" "robot_{part}" material "{material}" tag {tag}
    transform 1 0 0 0  0 1 0 0  0 0 1 0  {-x} 0 {-z} 1
end instance
""" for k, x, z in ((1, 1.15, -3.6), (2, -2.3, -6), (3, 2.9, -10))
    for part, material, tag in (("limbs", "steel", 2), ("body", "red", 1), ("joints", "red", 1),
                                ("knobs", "yellow", 3), ("head", "yellow", 4), ("rims", "steel", 4),
                                ("eyes", "white", 5), ("pupils", "ink", 6), ("smile", "ink", 6),
                                ("hands", "red", 1)))


class Cell:
    """One picture: a label, and what differs from the scene.

    lens: text of parameters. all: parameters of every toon material. materials: instead, by name.
    crowd: more robots behind. swaps: materials of instances. more: other text replacements.
    """

    def __init__(self, label, lens="", all="", crowd=False, swaps=(), more=(), **materials):
        self.label, self.lens, self.all, self.crowd = label, lens, all, crowd
        self.materials, self.more = materials, more
        self.swaps = {"balloon": "balloon_stripes", **dict(swaps)}

    def text(self):
        with open(os.path.join(SCENES, "toon_lines.mi"), encoding="ascii") as file:
            text = file.read().split("\n# Silhouettes")[0]
        for old, new in self.more:
            assert old in text, old
            text = text.replace(old, new)
        for name in re.findall(r'material "(\w+)"\n    opaque', text):
            text = with_parameters(text, f'material "{name}"',
                                   self.materials.get(name, self.all if name != "paper" else ""))
        lens = {**LENS, **parameters_in(self.lens)}
        text = with_parameters(text, 'camera "cam"', ", ".join(
            f'"{name}" {value}' for name, value in lens.items()))
        for part, material in self.swaps.items():
            text += f'incremental instance "{part}_inst" material "{material}" end instance\n'
        if self.crowd:
            names = " ".join(re.findall(r'instance ("\w+")', CROWD))
            text = text.replace('\ninstgroup "root"', f'{CROWD}\ninstgroup "root" {names}')
            text = text.replace("0 0 1 0  0 0 4 1", "0 0 1 0  0 0 25 1")  # the backdrop
        return text + 'render "root" "cam_inst" "opt"\n'


SOFT = '"soft_highlight" 1, "highlight_size" 0.12, '
BANDS = [Cell("model 0", all='"model" 0'), Cell("model 2, highlight_size 0.02", all='"highlight_size" 0.02'),
         Cell("highlight_size 0.12", all='"highlight_size" 0.12'),
         Cell("soft_highlight, smooth_edge, 0.4", all=SOFT + '"smooth_edge" on, "highlight_edge" 0.4'),
         Cell("the same, highlight_edge 1", all=SOFT + '"smooth_edge" on, "highlight_edge" 1'),
         Cell("halftone_edge, 0.4", all=SOFT + '"halftone_edge" on, "highlight_edge" 0.4'),
         Cell("use_ambience 1, ambience .7 .8 1.2", all='"use_ambience" 1, "ambience" .7 .8 1.2'),
         Cell("with ambience_ambient_only",
              all='"use_ambience" 1, "ambience" .7 .8 1.2, "ambience_ambient_only" on'),
         Cell("line_from_ambient 1", all='"line_from_ambient" 1')]
LOOK = [Cell("line_width 0.5", all='"line_width" 0.5'), Cell("line_width 2", all='"line_width" 2'),
        Cell("line_color .20 .30 .75", all=COLORFUL),
        Cell("with outline_value 0.4", all=COLORFUL + ', "outline_value" 0.4'),
        Cell("with outline_saturation 0.2", all=COLORFUL + ', "outline_saturation" 0.2'),
        Cell("light_tint 0.7", all=COLORFUL + ', "light_tint" 0.7'),
        Cell("light_tint -1, the light reddish", all=COLORFUL + ', "light_tint" -1',
             more=(('"Orvane_Light" ( "color" 1 1 1 1', '"Orvane_Light" ( "color" 1 .45 .3 1'),)),
        Cell("normal_scale 0.3", all='"normal_scale" 0.3'),
        Cell("zone_lines on", all='"zone_lines" on')]
WIDTHS = [Cell(f"width {w}", f'"width" {w}') for w in (2, 4, 8)] + [
    Cell(f"width_facing {f}", f'"width_facing" {f}, "width" 6') for f in (0.8, -0.8)] + [
    Cell("width_noise 1, freq 10", '"width_noise" 1, "width_noise_freq" 10, "width" 5'),
    Cell("width_noise 1, freq 50", '"width_noise" 1, "width_noise_freq" 50, "width" 5'),
    Cell("the same, noise_speed 1, time 0.5",
         '"width_noise" 1, "width_noise_freq" 50, "width" 5, "noise_speed" 1',
         more=(("    resolution 420 350", "    resolution 420 350  frame 1 0.5"),)),
    Cell("map, blank_unweighted on",
         '"use_map" on, "map" "strokes", "blank_unweighted" on')]
COLORS = [Cell(f"{name} {value}", f'"{name}" {value}, "color_noise_freq" {freq}', all=COLORFUL)
          for name, value, freq in (("hue_noise", 0.3, 12), ("sat_noise", 1, 12),
                                    ("value_noise", 1, 12), ("hue_noise", 0.3, 60))]
FADE = '"width" 3, "fade_near" 5.5, "fade_far" 16, '
COLORS[3].label = "hue_noise 0.3, color_noise_freq 60"
COLORS += [Cell("fading off", '"width" 3', crowd=True),
           Cell("fade_width 0.8", FADE + '"fade_width" 0.8', crowd=True),
           Cell("fade_color 1: creases only", FADE + '"fade_color" 1', crowd=True)]
THRESHOLDS = [Cell(f"normal_threshold {t}", f'"normal_threshold" {t}') for t in (0.2, 0.9, 3)] + [
    Cell(f"color_threshold {t}", f'"color_threshold" {t}') for t in (0.05, 0.3, 0.5)] + [
    Cell(f"group_depth {t}", f'"group_depth" {t}') for t in (0, 0.15, 1)]
FIGURES = {"bands": BANDS, "look": LOOK, "widths": WIDTHS, "colors": COLORS[:4], "fading": COLORS[4:],
           "thresholds": THRESHOLDS}
LINES = ("silhouette", "outline", "crease", "zone", "color", "transparency", "only", "noise", "map")


def lines(command, folder, result):
    """The nine pictures of toon_lines.mi; the layer of lines is laid over paper."""
    subprocess.run([command, "render", os.path.join(SCENES, "toon_lines.mi"), "-v", "2"], check=True,
                   cwd=folder)
    pictures = []
    for name in LINES:
        picture = os.path.join(folder, "out", f"toon_lines_{name}.png")
        if name == "only":
            flat = os.path.join(folder, "only.exr")
            subprocess.run(["oiiotool", picture, "--pattern", "constant:color=.93,.95,.90,1",
                            "420x350", "4", "--over", "--ch", "R,G,B", "-o", flat], check=True)
            picture = flat
        pictures.append(labelled(picture, {"only": "lines_only, laid over paper",
                                           "noise": "width_noise and color jitter",
                                           "map": "weighted by a map"}.get(name, name)))
    tile(pictures, 3, result, 74)


def resolution(command, folder, result):
    """toon.mi at 320 x 180 and at 2560 x 1440 with eight times the width, at the same size."""
    with open(os.path.join(SCENES, "toon.mi"), encoding="ascii") as file:
        text = file.read()
    pictures = []
    for size, width in (((320, 180), 1.125), ((2560, 1440), 9)):
        picture = os.path.join(folder, f"{size[0]}.exr")
        run(command, text.replace('"width" 4.5', f'"width" {width}'), picture, "--resolution",
            *map(str, size))
        shown = os.path.join(folder, f"{size[0]}_shown.exr")
        subprocess.run(["oiiotool", picture, "--resize:filter=box", "640x360", "-o", shown], check=True)
        pictures.append(labelled(shown, f"{size[0]} x {size[1]}, width {width}"))
    tile(pictures, 2, result)


def main():
    options = read_arguments(__doc__)
    special = {"lines": lines, "resolution": resolution}
    for name in options.names or [*FIGURES, *special]:
        result = os.path.join(options.folder, f"toon_{name}.jpg")
        with tempfile.TemporaryDirectory() as folder:
            if name in special:
                special[name](options.command, folder, result)
                continue
            pictures = []
            for k, cell in enumerate(FIGURES[name]):
                picture = os.path.join(folder, f"{k}.exr")
                run(options.command, cell.text(), picture, "--resolution", "330", "275")
                pictures.append(labelled(picture, cell.label))
            tile(pictures, 4 if len(pictures) == 4 else 3, result, 78)


if __name__ == "__main__":
    main()
