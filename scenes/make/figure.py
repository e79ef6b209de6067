"""What scripts that render figures share: parameters in scene text, and the program's run."""

import argparse
import os
import re
import subprocess

SCENES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")


def parameters_in(text):
    """The parameters that stand in a text, name by name; arrays are not understood."""
    return {name: value.strip(" ,\n") for name, value in re.findall(r'"(\w+)" ("\w+"|[^"]+)', text)}


def with_parameters(text, element, settings):
    """Gives parameters of the shader of an element other values, or adds them."""
    start = text.index(element)
    end = text.index("\n    )", start)
    call = text[start:end]
    for name, value in parameters_in(settings).items():
        call, count = re.subn(rf'"{name}" [^,\n]+', f'"{name}" {value}', call)
        if not count:
            call = re.sub(r'("\w+" \()', rf'\1\n        "{name}" {value},', call, count=1)
    return text[:start] + call + text[end:]


def run(command, text, picture, *options):
    """Renders the text of a scene that stands in the folder of the scenes."""
    subprocess.run([command, "render", "-", "-v", "2", "-o", picture, *options], input=text,
                   text=True, check=True, cwd=SCENES)


def read_arguments(doc):
    """The command line that scripts of figures have: command, folder, names."""
    parser = argparse.ArgumentParser(description=doc.split("\n")[0])
    parser.add_argument("command", help="the program orvane", type=os.path.abspath)
    parser.add_argument("folder", help="for the pictures")
    parser.add_argument("names", nargs="*", help="of figures; all without")
    return parser.parse_args()
