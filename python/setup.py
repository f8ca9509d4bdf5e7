"""The version is that of the component, which the build at the top of the tree names."""
import pathlib
import re

from setuptools import setup

build = pathlib.Path(__file__).resolve().parent.parent / "CMakeLists.txt"
found = re.search(r"^project\(VQLoan VERSION ([0-9.]+)", build.read_text(encoding="utf-8"), re.M)
if not found:
    raise SystemExit(f"{build} names no version")
setup(version=found[1])
