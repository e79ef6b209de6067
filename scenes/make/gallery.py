"""Renders every scene of the folder scenes and makes a page of the pictures:

    python3 scenes/make/gallery.py build/release/orvane out/gallery [--width N] [--jobs N] [NAME...]

Each scene renders into a folder of its own, with one thread, as many at once as there are jobs.
Pictures are as wide as --width says, or as the scene says where that is less; those of the toon
lens keep their size, as its lines are told in pixels. With NAMEs, only these scenes are rendered
anew; the page shows all that are there. Needs the Python standard library alone.
"""

import argparse
import html
import json
import os
import re
import shutil
import struct
import subprocess
import sys
import time
from concurrent.futures import ThreadPoolExecutor

SCENES = os.path.abspath(os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
PAGE = """<!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8"><title>Orvane: gallery</title>
<meta name="viewport" content="width=device-width, initial-scale=1">
<style>
body {{ margin: 0; background: #16161a; color: #d8d8dc; font: 15px/1.5 system-ui, sans-serif; }}
header, main {{ max-width: 1500px; margin: 0 auto; padding: 24px; }}
header p {{ color: #9a9aa4; margin: 4px 0; }}
h1 {{ margin: 0; font-weight: 600; }}
main {{ display: grid; gap: 28px; grid-template-columns: repeat(auto-fill, minmax(420px, 1fr)); }}
article {{ background: #1f1f25; border-radius: 8px; overflow: hidden; }}
img {{ display: block; width: 100%; background: #2c2c34; aspect-ratio: 16 / 9; object-fit: contain; }}
.small img {{ image-rendering: pixelated; }}
.more {{ display: flex; gap: 2px; margin-top: 2px; overflow-x: auto; }}
.more a {{ flex: 0 0 110px; }}
section {{ padding: 12px 16px 16px; }}
h2 {{ font-size: 17px; margin: 0 0 4px; }}
p {{ margin: 4px 0; }}
.facts {{ color: #9a9aa4; font-size: 13px; }}
code {{ background: #2c2c34; border-radius: 4px; padding: 1px 5px; font-size: 13px; }}
summary {{ cursor: pointer; color: #8fb8e8; margin-top: 8px; }}
pre {{ overflow: auto; max-height: 480px; font-size: 12px; background: #131317; padding: 10px; }}
.fault {{ color: #f08f8f; }}
</style></head><body>
<header><h1>Gallery</h1>
<p>{count} scenes, {shaders} of {all_shaders} shaders, {seconds:.0f} s of rendering.</p></header>
<main>
{cards}
</main></body></html>
"""


def scene_text(name):
    with open(os.path.join(SCENES, name + ".mi"), encoding="utf-8") as file:
        return file.read()


def scene_names():
    """All scenes but those that are only there to be included."""
    names = sorted(f[:-3] for f in os.listdir(SCENES) if f.endswith(".mi"))
    parts = {m for n in names for m in re.findall(r'\$include "(\w+)\.mi"', scene_text(n))}
    return [n for n in names if n not in parts or re.search(r"^render ", scene_text(n), re.M)]


def texts_of(name):
    """The text of a scene with those of the scenes that it includes."""
    text = scene_text(name)
    for part in re.findall(r'\$include "(\w+)\.mi"', text):
        if os.path.exists(os.path.join(SCENES, part + ".mi")):
            text += texts_of(part)
    return text


def render(command, name, folder, width):
    """Renders a scene into a folder of its own and writes down how long it took."""
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(os.path.join(folder, "out"))
    call = [command, "render", os.path.join(SCENES, name + ".mi"), "-j", "1", "-v", "2"]
    size = re.search(r"\bresolution (\d+) (\d+)", texts_of(name))
    if size and "zel_toon_lens" not in texts_of(name):
        x, y = int(size[1]), int(size[2])
        factor = min(width / x, 1)
        call += ["--resolution", str(round(x * factor)), str(max(1, round(y * factor)))]
    start = time.monotonic()
    result = subprocess.run(call, cwd=folder, capture_output=True, text=True, check=False)
    facts = {"seconds": time.monotonic() - start, "fault": result.stderr if result.returncode else ""}
    with open(os.path.join(folder, "facts.json"), "w", encoding="utf-8") as file:
        json.dump(facts, file)
    print(f"{name}: {facts['seconds']:.1f} s{', FAILED' if facts['fault'] else ''}", flush=True)


def png_size(path):
    with open(path, "rb") as file:
        return struct.unpack(">II", file.read(24)[16:])


def first_words(text):
    """The first two sentences of the comment at a scene's head."""
    lines = []
    for line in text.splitlines():
        if not line.startswith("# "):
            break
        lines.append(line[2:])
    return " ".join(re.split(r"(?<=[.;]) ", " ".join(lines).strip())[:2]).rstrip(";")


def card(gallery, name, known):
    """The part of the page that shows a scene; the shaders that it uses."""
    folder = os.path.join(gallery, name)
    text = texts_of(name)
    used = [s for s in known if re.search(rf'"{s}" *\(', text)]
    with open(os.path.join(folder, "facts.json"), encoding="utf-8") as file:
        facts = json.load(file)
    pictures = sorted(f for f in os.listdir(os.path.join(folder, "out")) if f.endswith(".png"))
    paths = [os.path.join(folder, "out", p) for p in pictures]
    images = [f'<a href="{name}/out/{p}"><img src="{name}/out/{p}" alt="{name}" loading="lazy"></a>'
              for p in pictures]
    more = f'<div class="more">{"".join(images[1:])}</div>' if images[1:] else ""
    small = False
    told = f"{facts['seconds']:.1f} s"
    if paths:
        x, y = png_size(paths[0])
        small = x < 200
        told += f" · {x} × {y} · {sum(map(os.path.getsize, paths)) // 1024} KB"
    if len(paths) > 1:
        told += f" · {len(paths)} pictures"
    fault = f'<pre class="fault">{html.escape(facts["fault"])}</pre>' if facts["fault"] else ""
    shaders = " ".join(f"<code>{s}</code>" for s in used)
    return f"""<article{' class="small"' if small else ""}>{"".join(images[:1])}{more}
<section><h2>{name}</h2><p>{html.escape(first_words(text))}</p><p>{shaders}</p>
<p class="facts">{told}</p>{fault}
<details><summary>Scene</summary><pre>{html.escape(scene_text(name))}</pre></details>
</section></article>""", used, facts


def write_page(command, gallery, names):
    told = subprocess.run([command, "shaders", "--json"], capture_output=True, text=True, check=True)
    known = [shader["name"] for shader in json.loads(told.stdout)]
    cards, used, seconds, failed = [], set(), 0, []
    for name in names:
        if not os.path.exists(os.path.join(gallery, name, "facts.json")):
            continue
        text, shaders, facts = card(gallery, name, known)
        cards.append(text)
        used.update(shaders)
        seconds += facts["seconds"]
        failed += [name] if facts["fault"] else []
    path = os.path.join(gallery, "index.html")
    with open(path + ".part", "w", encoding="utf-8") as file:
        file.write(PAGE.format(count=len(cards), shaders=len(used), all_shaders=len(known),
                               seconds=seconds, cards="\n".join(cards)))
    os.replace(path + ".part", path)
    print(f"The gallery is {os.path.abspath(path)}")
    return failed


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("command", help="the program orvane", type=os.path.abspath)
    parser.add_argument("gallery", type=os.path.abspath)
    parser.add_argument("names", nargs="*")
    parser.add_argument("--width", type=int, default=640, help="of the pictures, in pixels")
    parser.add_argument("--jobs", type=int, default=len(os.sched_getaffinity(0)))
    options = parser.parse_args()
    names = scene_names()
    with ThreadPoolExecutor(options.jobs) as pool:
        for name in options.names or names:
            pool.submit(render, options.command, name, os.path.join(options.gallery, name),
                        options.width)
    failed = write_page(options.command, options.gallery, names)
    if failed:
        sys.exit("failed: " + " ".join(failed))


if __name__ == "__main__":
    main()
