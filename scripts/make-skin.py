#!/usr/bin/env python3
"""Repaints Corvane's skin pictures (data/Images) and program icons (packaging/icons).

    scripts/make-skin.py [--keep-build]

The pictures are drawn with QPainter by app/skinpaint (a small Qt program that also writes
and re-reads the GIF files), built here in a scratch folder so the project's own build is
left alone. Needs cmake, ninja or make, and Qt 6 Gui.
"""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
SKIN_DIR = ROOT / "data" / "Images"
ICON_DIR = ROOT / "packaging" / "icons"

PROJECT = """cmake_minimum_required(VERSION 3.25)
project(corvane_skinpaint CXX)
set(CMAKE_CXX_STANDARD 20)
find_package(Qt6 6.4 REQUIRED COMPONENTS Gui)
add_executable(corvane-skinpaint {src}/main.cpp {src}/GifWriter.cpp)
target_link_libraries(corvane-skinpaint PRIVATE Qt6::Gui)
"""


def run(args, **kw):
    print("+", " ".join(str(a) for a in args), flush=True)
    subprocess.run(args, check=True, **kw)


def main():
    keep = "--keep-build" in sys.argv[1:]
    work = pathlib.Path(tempfile.mkdtemp(prefix="corvane-skinpaint-"))
    try:
        (work / "CMakeLists.txt").write_text(PROJECT.format(src=ROOT / "app" / "skinpaint"))
        generator = ["-G", "Ninja"] if shutil.which("ninja") else []
        run(["cmake", "-S", work, "-B", work / "build", *generator])
        run(["cmake", "--build", work / "build"])
        out = work / "out"
        env = dict(os.environ, QT_QPA_PLATFORM="offscreen")
        run([work / "build" / "corvane-skinpaint", out], env=env)
        SKIN_DIR.mkdir(parents=True, exist_ok=True)
        ICON_DIR.mkdir(parents=True, exist_ok=True)
        for picture in sorted(out.iterdir()):
            if picture.name.startswith("corvane-"):
                shutil.copyfile(picture, ICON_DIR / picture.name)
                if picture.name == "corvane-48.png":
                    shutil.copyfile(picture, SKIN_DIR / "corvane.png")
            else:
                shutil.copyfile(picture, SKIN_DIR / picture.name)
        print(f"skin written to {SKIN_DIR}, icons to {ICON_DIR}")
    finally:
        if keep:
            print(f"build kept in {work}")
        else:
            shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    main()
