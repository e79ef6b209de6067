#!/usr/bin/env python3
"""Tells which pictures of the tree hold metadata that they should not, and fails when one does.

    check_pictures.py [--strip] [FILE...]

PNG and JPEG pictures hold what their pixels need and nothing else; text of EXR pictures names no
folder. Without FILE, all files that git knows are looked at. --strip takes the metadata of PNG and
JPEG pictures out instead; pixels stay as they are.
"""

import argparse
import os
import struct
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
PNG, JPEG, EXR = b"\x89PNG\r\n\x1a\n", b"\xff\xd8\xff", b"\x76\x2f\x31\x01"
PNG_CHUNKS = {b"IHDR", b"PLTE", b"IDAT", b"IEND", b"tRNS", b"gAMA", b"cHRM", b"sRGB", b"iCCP",
              b"sBIT"}
SCAN = 0xDA
JPEG_MARKERS = {0xD8, 0xD9, 0xDB, 0xDD, 0xC4, SCAN, 0xE0, 0xE2, 0xEE, *range(0xC0, 0xC4)}


def png_parts(data):
    """The chunks of a PNG picture: what each is called, its bytes, and whether it may stay."""
    at = len(PNG)
    yield "signature", data[:at], True
    while at + 12 <= len(data):
        size, kind = struct.unpack(">I4s", data[at:at + 8])
        yield kind.decode("ascii", "replace"), data[at:at + 12 + size], kind in PNG_CHUNKS
        at += 12 + size


def jpeg_parts(data):
    """The segments of a JPEG picture likewise; from the scan on it is one."""
    yield "start", data[:2], True
    at = 2
    while at + 4 <= len(data):
        marker, size = struct.unpack(">BH", data[at + 1:at + 4])
        end = len(data) if marker == SCAN else at + 2 + size
        yield f"segment {marker:02x}", data[at:end], marker in JPEG_MARKERS
        at = end


def exr_texts(data):
    """Name and text of the attributes of an EXR picture's header."""
    at = 8
    while at < len(data) and data[at]:
        name, kind = data[at:].split(b"\0", 2)[:2]
        at += len(name) + len(kind) + 2
        size, = struct.unpack("<I", data[at:at + 4])
        if kind == b"string":
            yield name.decode(), data[at + 4:at + 4 + size].decode("utf-8", "replace")
        at += 4 + size


def parts_of(data):
    if data.startswith(PNG):
        return list(png_parts(data))
    return list(jpeg_parts(data)) if data.startswith(JPEG) else []


def faults(data):
    """What a file holds that it should not; nothing when it is no picture."""
    try:
        if data.startswith(EXR):
            return [f"{name} names a folder: {text}" for name, text in exr_texts(data)
                    if "/" in text or "\\" in text]
        return [f"holds {kind}" for kind, _, stays in parts_of(data) if not stays]
    except (ValueError, struct.error):
        return ["is no whole picture"]


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("--strip", action="store_true", help="take metadata out")
    parser.add_argument("files", nargs="*", metavar="FILE")
    options = parser.parse_args()
    listed = subprocess.run(["git", "ls-files", "-z"], cwd=ROOT, capture_output=True, text=True,
                            check=True).stdout.split("\0")[:-1] if not options.files else []
    paths = [os.path.join(ROOT, name) for name in listed]  # git lists what was just removed, too
    bad = 0
    for path in options.files or filter(os.path.isfile, paths):
        with open(path, "rb") as file:
            data = file.read()
        if options.strip and parts_of(data) and faults(data):
            with open(path, "wb") as file:
                file.write(b"".join(part for _, part, stays in parts_of(data) if stays))
            continue
        for fault in faults(data):
            print(f"{os.path.relpath(path)}: {fault}")
            bad += 1
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
