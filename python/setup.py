# SPDX-License-Identifier: ISC
"""Lets CMake build the module and puts its result into the wheel."""

import re
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = Path(__file__).resolve().parent.parent


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        build = Path(self.build_temp).resolve()
        package = Path(self.get_ext_fullpath(ext.name)).resolve().parent
        # Beside the package's own files, whatever CMake thinks of folders for packages.
        options = [f"-DPython_EXECUTABLE={sys.executable}", "-DQUELLARD_ADAPTERS=OFF", "-DQUELLARD_TESTS=OFF"]
        subprocess.run(["cmake", "-S", ROOT, "-B", build, "-G", "Ninja", *options], check=True)
        subprocess.run(["cmake", "--build", build, "--target", "quellard_python"], check=True)
        package.mkdir(parents=True, exist_ok=True)
        for file in (build / "python" / "quellard").iterdir():
            self.copy_file(str(file), str(package / file.name))


version = re.search(r"project\(quellard VERSION ([\d.]+)", (ROOT / "CMakeLists.txt").read_text())
setup(
    version=version[1],
    packages=["quellard"],
    package_data={"quellard": ["py.typed", "*.pyi"]},
    ext_modules=[Extension("quellard._core", sources=[])],
    cmdclass={"build_ext": CMakeBuild},
)
