"""Puts labels under pictures and tiles them into a sheet, by way of oiiotool."""

import os
import subprocess
import sys

ROOT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..")
STRIP = os.path.join(ROOT, "scripts", "check_pictures.py")
FONT = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"
PAPER = "0.09,0.09,0.10"
INK = "0.80,0.80,0.82"
LABEL = 22  # pixels


def _oiiotool(*arguments):
    subprocess.run(["oiiotool", *map(str, arguments)], check=True)


def _size(picture):
    told = subprocess.run(["oiiotool", "--info", picture], check=True, capture_output=True,
                          text=True).stdout
    width, height = told.split(":", 1)[1].split(",")[0].split("x")
    return int(width), int(height)


def bare(picture):
    """Takes out of a picture what names the folders that it was made in, and tells its size."""
    subprocess.run([sys.executable, STRIP, "--strip", picture], check=True)
    print(f"{picture}: {os.path.getsize(picture) // 1024} KB")


def labelled(picture, text):
    """Adds a line of text under a picture; returns the PNG that it writes beside it."""
    result = os.path.splitext(picture)[0] + ".png"
    width, height = _size(picture)
    whole = f"{width}x{height + LABEL}"
    _oiiotool(picture, "--ch", "R,G,B", "--create", whole, 3, f"--fill:color={PAPER}", whole,
              "--paste", "+0+0",
              f"--text:x=4:y={height + 16}:size=14:font={FONT}:color={INK}", text,
              "-d", "uint8", "-o", result)
    return result


def tile(pictures, columns, result, quality=88):
    """Writes the pictures side by side, row by row."""
    rows = -(-len(pictures) // columns)
    os.makedirs(os.path.dirname(os.path.abspath(result)), exist_ok=True)
    _oiiotool(*pictures, "--mosaic:pad=6", f"{columns}x{rows}", "-d", "uint8",
              "--compression", f"jpeg:{quality}", "-o", result)
    bare(result)
