"""Renders the figures of docs/beams.md:

    python3 scenes/make/beam_figures.py build/release/orvane docs/pictures [NAME...]

Every cell is scenes/beam_quality.mi or scenes/fog.mi with other parameters of its light or its
volume, seen from the side or along the beam; all of them stand in this file. NAME chooses figures.
Needs oiiotool. With --time it prints the processor time of each setting beside that of the first.
"""

import argparse
import os
import re
import resource
import subprocess
import tempfile

from place import axes_of, transform
from sheet import labelled, tile

SCENES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")
VIEWS = {"side": ((0, 1.4, 6.6), (0, 1.25, 0)), "along": ((2.9, 1.35, 1.5), (-1.2, 1.45, -0.1)),
         "around": ((-1.5, 1.5, 6.2), (-1.5, 1.7, 0))}
GLASS_BARS = """
material "glass"
    "soft_material" ( "diffuse" 1 0.1 0.05 1, "transparency" 0.95, "tint_transparency" on )
    shadow "soft_material" ( )
end material
"""


class Cell:
    """One picture: a label, and what differs from the scene.

    light, volume: text of parameters, which replace those that stand there. point: a point light.
    rolled: the bars lie aslant across the beam. glass: they are red glass.
    """

    def __init__(self, label, light="", volume="", view="side", point=False, rolled=False,
                 glass=False, scene="beam_quality"):
        self.label, self.light, self.volume, self.view = label, light, volume, view
        self.point, self.rolled, self.glass, self.scene = point, rolled, glass, scene

    def text(self):
        with open(os.path.join(SCENES, self.scene + ".mi"), encoding="ascii") as file:
            text = file.read()
        for shader, settings in (("Orvane_Light", self.light), ("Orvane_Volume", self.volume)):
            for name, value in re.findall(r'"(\w+)" ([^,]+)', settings):
                text = with_parameter(text, shader, name, value)
        if self.point:
            text = text.replace("    direction 0 0 -1\n    spread 0.9703", "    #")
        if "noise_speed" in self.volume:
            text = text.replace("resolution 960 540", "resolution 960 540  frame 2 0.2")
        if self.scene == "beam_quality":
            text = placed(text, '"cam_inst" "cam"', *VIEWS[self.view])
        if self.rolled:
            text = placed(text, '"lattice_inst" "lattice"\n    material "matte"',
                          (-1.032, 1.5845, 0), (1.6, 0.4, 0), (0, 1, 0.7))
        if self.glass:
            text = text.replace('"lattice"\n    material "matte"', '"lattice"\n    material "glass"')
            text = text.replace('object "lattice"', GLASS_BARS + 'object "lattice"')
        return text

    def render(self, command, picture, size, samples=("0", "2")):
        """Renders into a file; returns the seconds of processor time that it took."""
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        subprocess.run([command, "render", "-", "-v", "2", "-o", picture, "--samples", *samples,
                        "--resolution", *map(str, size)], input=self.text(), text=True, check=True,
                       cwd=SCENES)
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        return after.ru_utime - before.ru_utime


def placed(text, instance, place, target, up=(0.0, 1.0, 0.0)):
    """Gives an instance another transform."""
    rows = transform(place, axes_of(place, target, up), 1)
    matrix = " ".join(f"{value:.6f}" for row in rows for value in row)
    return re.sub(rf"(instance {instance}\s+transform)[-\d.\s]+", rf"\1 {matrix}\n", text)


def with_parameter(text, shader, name, value):
    """Gives a parameter of the only call of a shader another value, or adds it."""
    start = text.index(f'"{shader}" (')
    end = re.compile(r"\n\s+\)").search(text, start).start()
    call = text[start:end]
    changed, count = re.subn(rf'"{name}" [^,\n#]+', f'"{name}" {value}', call)
    if not count:
        changed = call.replace("(", f'(\n        "{name}" {value},', 1)
    return text[:start] + changed + text[end:]


def light(label, settings, **rest):
    return Cell(label, settings, **rest)


def air(label, settings, **rest):
    return Cell(label, volume=settings, **rest)


def steps(length, view="along", **rest):
    return Cell(f"step_length {length}", volume=f'"step_length" {length}', view=view, **rest)


GLASS = '"slide" "lancet", "volume_density" 40'
BULB = '"volume_density" 0.3, "volume_decay" 1, "intensity" 0.8, "map_resolution" 512'


def bulb(label, settings):
    """A point light in place of the spot light."""
    names = {name for name, _ in re.findall(r'"(\w+)" ([^,]+)', settings)}
    kept = [part for part in BULB.split(", ") if part.split('"')[1] not in names]
    return Cell(label, ", ".join(kept + [settings]), view="around", point=True)


DENSITY = [light(f"volume_density {d}", f'"volume_density" {d}') for d in (4, 14, 40)] + [
    light("inverse_square off", ""),
    light("on, density 0.5, volume_decay 1",
          '"inverse_square" on, "volume_density" 0.5, "volume_decay" 1'),
    light("on, density 0.5, volume_decay 2",
          '"inverse_square" on, "volume_density" 0.5, "volume_decay" 2')] + [
    bulb(f"a point light, volume_decay {d}", f'"volume_decay" {d}') for d in (0.5, 1, 2)]
FORM = [light(f"falloff {d}", f'"falloff" {d}') for d in (0, 5, 14)] + [
    light("attenuation off", ""),
    light("on, from 0 to 5", '"attenuation" on, "atten_start" 0, "atten_end" 5'),
    light("on, from 1.5 to 3", '"attenuation" on, "atten_start" 1.5, "atten_end" 3')] + [
    light(f"depth_start {d}", f'"depth_start" {d}') for d in (0.1, 1, 2)]
SHADOWS = [light("shadow off", '"shadow" off'),
           light("shadow off, volume_shadows on", '"shadow" off, "volume_shadows" on'),
           light("shadow on", "")] + [
    light(f"map_resolution {n}", f'"map_resolution" {n}', view="along", rolled=True)
    for n in (24, 96, 512)] + [
    light("24, exact_shadows on", '"map_resolution" 24, "exact_shadows" on', view="along",
          rolled=True),
    light("bars of red glass", "", glass=True),
    light("the same, exact_shadows on", '"exact_shadows" on', glass=True)]
STARS = '"slide" "stars", "volume_density" 1.5, "volume_decay" 1.5'
SLIDE = [light("slide none", '"volume_density" 14'), light("slide", GLASS),
         light("slide_rotation 90", GLASS + ', "slide_rotation" 90'),
         light("slide_scale 0.5", GLASS + ', "slide_scale" 0.5'),
         light("0.5, slide_repeat 1", GLASS + ', "slide_scale" 0.5, "slide_repeat" 1'),
         light("map_resolution 32", GLASS + ', "map_resolution" 32'),
         bulb("a point light", STARS), bulb("slide_rotation 40", STARS + ', "slide_rotation" 40'),
         bulb("map_resolution 64", STARS + ', "map_resolution" 64')]
NOISE = '"volume_noise" on, "volume_density" 26'
LIGHT_NOISE = [light("volume_noise off", ""), light("on", NOISE),
               light("noise_amount 0.5", NOISE + ', "noise_amount" 0.5'),
               light("noise_octaves 1", NOISE + ', "noise_octaves" 1'),
               light("noise_frequency 0.2", NOISE + ', "noise_frequency" 0.2'),
               light("noise_frequency 3", NOISE + ', "noise_frequency" 3'),
               bulb("a point light, noise_frequency 0.5",
                    '"volume_noise" on, "noise_frequency" 0.5'),
               bulb("noise_frequency 2", '"volume_noise" on, "noise_frequency" 2'),
               bulb("2, map_resolution 64",
                    '"volume_noise" on, "noise_frequency" 2, "map_resolution" 64')]
SMOKE = '"noise" on, "noise_scale" 0.4, "noise_per_sample" on'
AIR_NOISE = [Cell(label, '"volume_density" 26', settings) for label, settings in (
    ("noise off", ""), ("on, once a ray", SMOKE.replace('per_sample" on', 'per_sample" off')),
    ("on, noise_per_sample on", SMOKE),
    ("noise_scale 0.1", SMOKE.replace("0.4", "0.1")), ("noise_scale 1", SMOKE.replace("0.4", "1")),
    ("noise_octaves 1", SMOKE + ', "noise_octaves" 1'),
    ("noise_amount 0.5", SMOKE + ', "noise_amount" 0.5'),
    ("noise_amount 1.5", SMOKE + ', "noise_amount" 1.5'),
    ("noise_speed 1, frame time 0.2", SMOKE + ', "noise_speed" 1'))]
STEPS = [steps(s) for s in (2, 1, 0.5, 0.25, 0.1, 0.02)] + [
    air(f"max_length {m}", f'"max_length" {m}', view="along") for m in (1, 2, 20)]
FOG = [air(label, settings, scene="fog") for label, settings in (
    ("fog_end 30", '"fog_end" 30'), ("fog_end 62", ""), ("fog_end 200", '"fog_end" 200'),
    ("fog_start 0", '"fog_start" 0'), ("fog_start 20", '"fog_start" 20'),
    ("fog_start 20, fog_end 20.01", '"fog_start" 20, "fog_end" 20.01'),
    ("fog_floor 0.06", '"fog_floor" 0.06'), ("fog_floor 0.4", '"fog_floor" 0.4'),
    ("fog_color 0.16 0.20 0.30", '"fog_color" 0.16 0.20 0.30 1'))]
FIGURES = {"beam_density.jpg": DENSITY, "beam_form.jpg": FORM, "beam_shadows.jpg": SHADOWS,
           "beam_slide.jpg": SLIDE, "beam_noise.jpg": LIGHT_NOISE, "beam_smoke.jpg": AIR_NOISE,
           "beam_steps.jpg": STEPS, "fog_settings.jpg": FOG}

TIMES = [air("no light in the air", '"light" []', view="along")] + [
    steps(s) for s in (2, 1, 0.5, 0.25, 0.1, 0.05, 0.02)] + [
    Cell(label, settings, volume, "along") for label, settings, volume in (
        ("map_resolution 128", '"map_resolution" 128', ""),
        ("map_resolution 512", '"map_resolution" 512', ""),
        ("map_resolution 1024", '"map_resolution" 1024', ""),
        ("the same without shadow", '"map_resolution" 1024, "shadow" off', ""),
        ("exact_shadows", '"exact_shadows" on', ""), ("inverse_square", '"inverse_square" on', ""),
        ("slide", GLASS, ""), ("volume_noise", '"volume_noise" on', ""),
        ("noise once a ray", "", SMOKE.replace('per_sample" on', 'per_sample" off')),
        ("noise per sample", "", SMOKE),
        ("noise per sample, 1 octave", "", SMOKE + ', "noise_octaves" 1'),
        ("fog", "", '"fog" on'))]


def print_times(command, repeats):
    """Least of several runs, in turns, each beside the first setting."""
    least = [float("inf")] * len(TIMES)
    with tempfile.TemporaryDirectory() as folder:
        for _ in range(repeats):
            for k, cell in enumerate(TIMES):
                taken = cell.render(command, os.path.join(folder, "x.exr"), (480, 270), ("1", "1"))
                least[k] = min(least[k], taken)
    for cell, seconds in zip(TIMES, least):
        print(f"{cell.label:32} {seconds:7.2f} s  {seconds / least[0]:6.2f}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("command", help="the program orvane")
    parser.add_argument("folder", help="where the figures go")
    parser.add_argument("names", nargs="*", default=list(FIGURES))
    parser.add_argument("--time", type=int, metavar="N", help="measure N times instead")
    options = parser.parse_args()
    command = os.path.abspath(options.command)
    if options.time:
        return print_times(command, options.time)
    for name in options.names:
        with tempfile.TemporaryDirectory() as folder:
            pictures = []
            for k, cell in enumerate(FIGURES[name]):
                picture = os.path.join(folder, f"{k}.exr")
                cell.render(command, picture, (300, 168))
                pictures.append(labelled(picture, cell.label))
            tile(pictures, 3, os.path.join(options.folder, name))


if __name__ == "__main__":
    main()
