"""Prints the Debian packages that a Python package needs, found from what its files import."""

import ast
import importlib.util
import pathlib
import subprocess
import sys

folder = pathlib.Path(sys.argv[1])
imported = set()
for file in folder.glob("*.py"):
    for node in ast.walk(ast.parse(file.read_text())):
        if isinstance(node, ast.Import):
            imported.update(name.name.split(".")[0] for name in node.names)
        elif isinstance(node, ast.ImportFrom) and node.level == 0:
            imported.add(node.module.split(".")[0])

packages = {"python3:any"}
for name in imported - set(sys.stdlib_module_names):
    found = importlib.util.find_spec(name)
    if not found:
        sys.exit(f"{name} is not installed")
    owner = subprocess.run(["dpkg", "-S", found.origin], capture_output=True, text=True, check=True).stdout
    packages.add(owner.split(":")[0])
print(", ".join(sorted(packages)), end="")
