"""Writes the parts of scenes that a script makes: meshes (meshes/NAME.mi), textures and slides.

Such a script is called as

    python3 SCRIPT.py FOLDER [--stamp FILE]

and writes below a folder: the build gives that of the program, beside which scenes find their
parts. The stamp is written last; FILE.d beside it names the modules that the script was made of.
"""

import argparse
import os
import sys

MAKE = os.path.dirname(os.path.abspath(__file__))


def _write(path, data):
    """Writes a file; nothing but a whole one gets its name."""
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path + ".part", "wb") as file:
        file.write(data)
    os.replace(path + ".part", path)


def _mesh_file(name, mesh, remark, script):
    """The text of an object whose polygons name no material, so that its instance supplies it."""
    return "\n".join((f"# {remark}", f"# Made by scenes/make/{script}.", "", f'object "{name}"',
                      "visible on  shadow on  trace on", "group", mesh.text(), "end group",
                      "end object", ""))


def make(meshes=(), files=()):
    """The main function of a script. meshes: names, functions that build them and remarks;
    files: names, with their folder, and functions that give what is in them."""
    parser = argparse.ArgumentParser(description="Writes parts of scenes.")
    parser.add_argument("folder", help="where meshes, textures and slides are written")
    parser.add_argument("--stamp", help="a file that tells when it was done")
    options = parser.parse_args()

    script = os.path.basename(sys.argv[0])
    for name, build, remark in meshes:
        _write(os.path.join(options.folder, "meshes", name + ".mi"),
               _mesh_file(name, build(), remark, script).encode("ascii"))
    for name, build in files:
        _write(os.path.join(options.folder, name), build())
    if options.stamp:
        modules = sorted(m.__file__ for m in sys.modules.values()
                         if (getattr(m, "__file__", None) or "").startswith(MAKE))
        _write(options.stamp + ".d", f"{options.stamp}: {' '.join(modules)}\n".encode())
        _write(options.stamp, b"")
