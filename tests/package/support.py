"""What the package tests share: where things are, and how a command is run."""

import os
import pathlib
import re
import subprocess

SOURCE = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ.get("VESKARO_BUILD_DIR", SOURCE / "build/release"))
LIBRARY = BUILD / "VeskaroNRLib.so.1"
HEADER = SOURCE / "include/VeskaroNRLib.h"
INTERFACE = SOURCE / "include/veskaronr.h"  # which includes the other
VERSION = ".".join(re.findall(r"#define VESKARONR_VERSION_\w+ (\d+)", HEADER.read_text()))
EXPORT_LIST = SOURCE / "src/VeskaroNRLib.map"


def run(*command, **options):
    """Standard output of a command that must succeed; what it said is part of the failure."""
    done = subprocess.run([str(part) for part in command], capture_output=True, text=True, **options)
    if done.returncode != 0:
        raise AssertionError(f"{' '.join(map(str, command))}: {done.returncode}\n{done.stdout}\n{done.stderr}")
    return done.stdout


def declarations(header=INTERFACE):
    """The declarations of both headers, one a string, each ending in a semicolon."""
    marker = '__attribute__((visibility("default")))'
    text = run("gcc", "-E", "-P", header).replace(marker, "@")
    return [" ".join(part.replace("@", "").split()) for part in re.findall(r"(?:extern )?@.*?;", text, re.S)]


def declared():
    """(functions, variables, constants) that the header declares."""
    functions, variables, constants = set(), set(), set()
    for plain in declarations():
        if "(" in plain:
            functions.add(re.match(r"[\w ]+?[ *]+(\w+) ?\(", plain).group(1))
        else:
            names = set(re.findall(r"(\w+)\s*[,;]", plain))
            (constants if "const" in plain else variables).update(names)
    return functions, variables, constants
