#!/usr/bin/env python3
"""Renders small scenes in which a shader has random parameters, legal and hostile.

    blocks.py ORVANE [--calls N] [--seconds S] [--seed K] [SHADER ...]

Each shader of "orvane shaders --json", those of soft.mi too, stands where its declaration says, in
scenes of several renders each, until it was called N times (a call is a sample of a pixel) or its
share of S seconds is over. ORVANE should be built with sanitizers. Counted are their reports,
crashes, hangs and pixels that are no number; scenes in which that happened are kept in the folder
build/blocks. The last line has the figures; the exit status is 1 when there was anything.
"""

import argparse
import array
import json
import math
import pathlib
import random
import struct
import subprocess
import sys
import time

WIDTH, HEIGHT = 8, 6
RENDERS = 25  # a process
HANGS_AFTER = 120  # seconds, of a process
# Marks by the probe's shaders: a picture itself has finite numbers alone.
INFINITE, NAN = (struct.unpack("f", struct.pack("f", mark))[0] for mark in (1e20, 2e20))
ENDED_BY_SHADER = (7, 33)  # it refused its parameters, or had no memory for them
# More of these takes long by its nature.
DEAR = {"map_resolution": 32, "radius": 2, "reflect_samples": 4, "refract_samples": 4,
        "flare_samples": 50, "step_length": None, "flare_sample_radius": None}
HOSTILE = {"scalar": ["0", "-1", "1e38", "-1e38", "3.4e38", "1e-38", "1e-45", "2e9"],
           "integer": ["0", "-1", "7", "1000000", "2147483647", "-2147483648"]}

SCENE = """link "orvane.so"
link "probe.so"
$include "orvane.mi"
$include "soft.mi"
$include "probe.mi"
options "o" samples 0 0 trace depth 2 2 3 shadow {shadow} scanline off end options
color texture "chart" [ 2 2 1 ] 'ff0000' '00ff00' '0000ff' 'ffffff'
color texture "odd" [ 2 2 4 ]
    '7fc00000' '7f800000' 'ff800000'  '7f7fffff' 'bf800000' '00000001'
    '3f000000' '7fc00000' '3f800000'  '3f800000' '3f000000' '3e800000'
color texture "preset" [ {preset_size} 1 1 ] {preset}
shader "nan" "probe_no_number" ( "sign" 0 )
shader "infinity" "probe_no_number" ( "sign" 1 )
shader "-infinity" "probe_no_number" ( "sign" -1 )
shader "t" "soft_checker" ( )
shader "u" "soft_constant" ( )
light "l" "Orvane_Light" ( ) origin 0 0 0 {spot} end light
instance "li" "l" transform 1 0 0 0  0 1 0 0  0 0 1 0  0 -2 1 1 end instance
light "l2" "soft_light" ( ) origin 3 3 3 disc 0 0 -1 .5 2 2 end light
instance "l2i" "l2" end instance
material "m" "soft_material" ( "light" [ "li", "l2i" ] ) end material
material "plain" "soft_material" ( "light" [ "li", "l2i" ], "reflectivity" .3 ) end material
object "floor" visible on shadow on trace on tag 1 group
    -3 0 3  3 0 3  3 0 -3  -3 0 -3  0 0 0  1 0 0  1 1 0  0 1 0
    v 0 t 4  v 1 t 5  v 2 t 6  v 3 t 7  c "plain" 0 1 2 3 end group end object
object "body" visible on shadow on trace on tag 2 group
    -1 0 1  1 0 1  0 0 -1  0 1.6 0  -.7 .2 .7  .7 .2 .7  0 1 0  0 0 0  1 0 0  0 1 0
    v 0 n 4 t 7  v 1 n 5 t 8  v 3 n 6 t 9  v 2 t 9
    c "m" 0 1 2  c "m" 1 3 2  c "m" 3 0 2  c "m" 1 0 3 end group end object
instance "fi" "floor" end instance
instance "bi" "body" end instance
camera "c" focal 1 aperture 1 aspect 1.33333 resolution {width} {height} end camera
instance "ci" "c" transform 1 0 0 0  0 1 0 0  0 0 1 0  0 -.8 -4 1 end instance
instgroup "root" "ci" "li" "l2i" "fi" "bi" end instgroup
"""


class Writer:
    """Writes calls of shaders with random parameters."""

    def __init__(self, shaders, seed):
        self.shaders = shaders
        self.random = random.Random(seed)

    def number(self, low, high, whole):
        if whole:
            return str(self.random.randint(math.ceil(low), math.floor(min(high, low + 40))))
        if self.random.random() < 0.2:
            return repr(self.random.choice([low, min(high, 1.0), max(low, 0.0)]))
        return repr(self.random.uniform(low, min(high, low + 6)))

    def range_of(self, parameter):
        text = parameter["range"]
        if ".." in text:
            return tuple(float(end) for end in text.split(".."))
        if text.startswith(">"):
            end = text.strip(">= ")
            return (float(end) if end[0].isdigit() else 0.0, 1e30)
        return -3.0, 1e30

    def scalar(self, parameter, hostile, whole=False):
        name, (low, high) = parameter["name"], self.range_of(parameter)
        if name in DEAR:
            most = DEAR[name]
            legal = self.number(low, most, True) if most else repr(self.random.uniform(0.1, 2))
            return self.random.choice(["0", "-1"]) if hostile else legal
        if hostile:
            return self.random.choice(HOSTILE["integer" if whole else "scalar"])
        return self.number(low, high, whole)

    def value(self, parameter, hostile):
        kind = parameter["type"]
        strange = hostile and self.random.random() < 0.15
        if kind in ("scalar", "color", "vector") and strange and self.random.random() < 0.2:
            return f'= "{self.random.choice(["nan", "infinity", "-infinity"])}"'
        count = {"scalar": 1, "integer": 1, "vector": 3, "color": 4}.get(kind)
        if count:
            return " ".join(self.scalar(parameter, strange, kind == "integer")
                            for _ in range(count))
        if kind == "boolean":
            return self.random.choice(["on", "off"])
        if kind.endswith("texture"):
            legal = '"preset"' if parameter["name"] == "flare_preset" else '"chart"'
            return self.random.choice(["null", legal, legal, '"odd"' if hostile else '"t"'])
        if kind == "array light":
            lights = [light for light in ('"li"', '"l2i"') if self.random.random() < 0.7]
            return "[ " + ", ".join(lights) + " ]"
        if kind == "array struct":
            return '[ { "label" 1 }, { "label" 2 } ]'
        return None

    def call(self, name, hostile):
        hostile = hostile and self.random.random() < 0.7
        given = []
        for parameter in self.shaders[name]["parameters"]:
            value = self.value(parameter, hostile)
            if value is not None and self.random.random() < 0.8:
                given.append(f'"{parameter["name"]}" {value}')
        return f'"{name}" ( {", ".join(given)} )'

    def preset(self):
        lines = ["FLARE_START 1"]
        for _ in range(self.random.randint(0, 6)):
            word = self.random.choice(["CIRCLE", "CIRCLE_D", "NGON", "NGON_D", "SECTOR", "RAYS"])
            numbers = (self.random.choice([self.random.uniform(-1, 1), self.random.randint(0, 16),
                                           self.random.uniform(0, 0.3)]) for _ in range(13))
            lines.append(word + " " + " ".join(f"{number:.4g}" for number in numbers))
        return "\n".join(lines + ["FLARE_END", ""]).encode()

    def begin(self):
        preset = self.preset()
        return SCENE.format(width=WIDTH, height=HEIGHT, preset_size=len(preset),
                            preset=" ".join(f"'000000{byte:02x}'" for byte in preset),
                            shadow=self.random.choice(["on", "segments", "sort"]),
                            spot=self.random.choice(["", "direction 0 -1 .2 spread .7"]))

    def change(self, name, use):
        """One more render: what changes before it."""
        call = self.call(name, True)
        lens = 'lens "probe_numbers_lens" ( )'
        light = call if use == "light" else self.call("Orvane_Light", False)
        parts = [f'incremental light "l" {light} end light']
        camera = lens
        if use == "material":
            shadow = f'shadow "{name}" ( )' if self.random.random() < 0.5 else ""
            parts.append(f'incremental material "m" {call} {shadow} end material')
        elif name == "zel_toon_lens":
            toon = self.random.choice(["zel_toon_mat", "zel_toon_si_mat", "zel_toon_wire_mat"])
            parts.append(f'incremental material "m" {self.call(toon, False)} end material')
        elif use == "shadow":
            parts.append(f'incremental material "m" "soft_material" ( ) shadow {call} end material')
        elif use == "texture":
            parts.append(f'incremental shader "u" {call}')
            parts.append('incremental material "m" "soft_material" ( "ambient" = "u", '
                         '"diffuse_map" "u", "bump_map" "u", "light" [ "li" ] ) end material')
        elif use == "light":
            camera = (f'volume {self.call("Orvane_Volume", False)} '
                      f'{lens} {self.call("Orvane_Lens", False)}')
        if use == "lens":
            camera = f"{lens} {call}"
        elif use == "output":
            camera += f' output {call} output "probe_numbers_output" ( )'
        elif use in ("volume", "environment"):
            camera += f" {use} {call}"
        elif name.startswith("zel_toon"):
            camera += " " + self.call("zel_toon_lens", False)
        return "\n".join(parts), camera


def pixels(path):
    """All numbers of an EXR that is not compressed and has channels of floats alone."""
    data = path.read_bytes()
    at = 8
    while data[at]:
        name_end = data.index(b"\0", at)
        type_end = data.index(b"\0", name_end + 1)
        size, = struct.unpack_from("<i", data, type_end + 1)
        at = type_end + 5 + size
    at += 1 + 8 * HEIGHT
    numbers = array.array("f")
    for _ in range(HEIGHT):
        size, = struct.unpack_from("<i", data, at + 4)
        numbers.frombytes(data[at + 8:at + 8 + size])
        at += 8 + size
    return numbers


class Check:
    def __init__(self, command, folder, shaders):
        self.command, self.folder, self.shaders = command, folder, shaders
        self.figures = dict.fromkeys(("renders", "ended", "reports", "crashes", "hangs",
                                      "refused", "nan", "infinite"), 0)
        self.told = set()

    def find(self, what, scene, name, text):
        """Counts a finding; tells and keeps the first of its kind in a place."""
        self.figures[what] += 1
        kept = self.folder / f"{name}-{what}.mi"
        if kept in self.told:
            return
        self.told.add(kept)
        kept.write_text(scene)
        lines = [line for line in text.splitlines() if "error" in line.lower()] or [text[:200]]
        print(f"{name}: {what}: {lines[0]} ({kept})", flush=True)

    def judge(self, status, text, scene, name):
        if "Sanitizer" in text or "runtime error" in text:
            self.find("reports", scene, name, text)
        elif status == "hangs":
            self.find("hangs", scene, name, text)
        elif status < 0 or status == 1:
            self.find("crashes", scene, name, text)
        elif status in ENDED_BY_SHADER:
            self.figures["ended"] += 1
        elif status != 0:
            self.find("refused", scene, name, text)

    def count_pixels(self, path, scene, name):
        largest = max(pixels(path))
        self.figures["renders"] += 1
        if largest == NAN:
            self.find("nan", scene, name, "in the last picture")
        self.figures["infinite"] += largest == INFINITE

    def run(self, name, use, seed):
        """One process of several renders. Returns how many pictures there are."""
        writer = Writer(self.shaders, seed)
        texts, pictures = [writer.begin()], []
        for k in range(RENDERS):
            picture = self.folder / f"{k}.exr"
            picture.unlink(missing_ok=True)
            pictures.append(picture)
            parts, camera = writer.change(name, use)
            texts.append(f'{parts}\nincremental camera "c" {camera} output "rgba_fp" "exr" '
                         f'compression "none" "{picture}" end camera\nrender "root" "ci" "o"\n')
        scene = "".join(texts)
        path = self.folder / "scene.mi"
        path.write_text(scene)
        status, text = self.render(path)
        place = f"{name}-as-{use}"
        self.judge(status, text, scene, place)
        done = [picture for picture in pictures if picture.exists()]
        for k, picture in enumerate(done):
            self.count_pixels(picture, "".join(texts[:k + 2]), place)
        return len(done)

    def render(self, path):
        try:
            done = subprocess.run([self.command, "render", "-v", "2", "-j", "1", path],
                                  capture_output=True, text=True, timeout=HANGS_AFTER,
                                  errors="replace")
            return done.returncode, done.stderr
        except subprocess.TimeoutExpired as late:
            return "hangs", (late.stderr or b"").decode(errors="replace")


def main():
    arguments = argparse.ArgumentParser()
    arguments.add_argument("command", type=pathlib.Path)
    arguments.add_argument("shaders", nargs="*")
    arguments.add_argument("--calls", type=int, default=5000)
    arguments.add_argument("--seconds", type=float, default=math.inf)
    arguments.add_argument("--seed", type=int, default=1)
    given = arguments.parse_args()
    command = given.command.resolve()

    shaders = {}
    for declarations in ("orvane.mi", "soft.mi"):
        listed = subprocess.run([command, "shaders", "--json", "-d", command.parent / declarations],
                                check=True, capture_output=True, text=True).stdout
        shaders.update((shader["name"], shader) for shader in json.loads(listed))
    uses = [(name, use) for name, shader in shaders.items() for use in shader["kind"]
            if not given.shaders or name in given.shaders]

    folder = pathlib.Path("build/blocks").resolve()
    folder.mkdir(parents=True, exist_ok=True)
    check, start = Check(command, folder, shaders), time.monotonic()
    for i, (name, use) in enumerate(uses):
        renders, seed = 0, given.seed
        until = start + given.seconds * (i + 1) / len(uses)
        while renders * WIDTH * HEIGHT < given.calls and (seed == given.seed
                                                          or time.monotonic() < until):
            renders += max(check.run(name, use, seed), 1)
            seed += 1

    f = check.figures
    print(f"blocks: {f['renders'] * WIDTH * HEIGHT} calls of {len(uses)} shaders and places in "
          f"{f['renders']} renders, {f['reports']} reports, {f['crashes']} crashes, {f['hangs']} "
          f"hangs, {f['refused']} refused scenes, {f['nan']} pictures with NaN; "
          f"{f['infinite']} with infinities, {f['ended']} processes ended by the shader "
          f"(seed {given.seed}, {time.monotonic() - start:.0f} s)")
    return any(f[what] for what in ("reports", "crashes", "hangs", "refused", "nan"))


if __name__ == "__main__":
    sys.exit(main())
