#!/usr/bin/env python3
"""Tells which links of the pages lead nowhere, and which files name a folder of somebody's machine.

    check_pages.py

Links lead to files of the tree, and those with an anchor to a heading; pages of other sites are not
asked for. Fails when there is anything to tell.
"""

import os
import re
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
LINK = re.compile(r"\]\(([^)\s]+)\)")
MACHINE = re.compile(rb"/(?:home|root|work|Users)/\w|/tmp/\w+/")


def tracked(*patterns):
    listed = subprocess.run(["git", "ls-files", "--", *patterns], cwd=ROOT, check=True,
                            capture_output=True, text=True).stdout
    return listed.split()


def text_of(page):
    """A page without what stands in blocks and spans of code."""
    with open(os.path.join(ROOT, page), encoding="utf-8") as file:
        return re.sub(r"^```.*?^```", "", file.read(), flags=re.M | re.S)


def anchors_of(page):
    """The names that headings get: small letters, blanks as dashes, without other signs."""
    headings = re.findall(r"^#+ (.*)$", text_of(page), re.M)
    plain = (re.sub(r"[^\w\- ]", "", heading.lower()).strip() for heading in headings)
    return {heading.replace(" ", "-") for heading in plain}


def wrong_links(page):
    for target in LINK.findall(text_of(page)):
        if re.match(r"[a-z]+:", target):
            continue
        file, _, anchor = target.partition("#")
        path = os.path.normpath(os.path.join(os.path.dirname(page), file)) if file else page
        if not os.path.exists(os.path.join(ROOT, path)):
            yield f"{page}: there is no {target}"
        elif anchor and anchor not in anchors_of(path):
            yield f"{page}: {path} has no heading for #{anchor}"


def machine_names(path):
    with open(os.path.join(ROOT, path), "rb") as file:
        data = file.read()
    if b"\0" not in data:
        for found in MACHINE.finditer(data):
            line = data.count(b"\n", 0, found.start()) + 1
            yield f"{path}:{line}: names a folder of a machine: {found[0].decode()}"


def main():
    found = [text for page in tracked("*.md") for text in wrong_links(page)]
    this = os.path.relpath(os.path.abspath(__file__), ROOT)
    found += [text for path in tracked() if path != this and os.path.isfile(os.path.join(ROOT, path))
              for text in machine_names(path)]
    print("\n".join(found) or "all links lead somewhere, and no file names a folder of a machine")
    return bool(found)


if __name__ == "__main__":
    sys.exit(main())
