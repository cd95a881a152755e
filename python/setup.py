# SPDX-License-Identifier: ISC
"""Lets CMake build the module, in the folder QUELLARD_BUILD if that is set, for the wheel."""

import os
import re
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = Path(__file__).resolve().parent.parent


class CMakeBuild(build_ext):
    def build_extension(self, ext):
        package = Path(self.get_ext_fullpath(ext.name)).resolve().parent
        build = Path(os.environ.get("QUELLARD_BUILD", self.build_temp)).resolve()
        if not (build / "CMakeCache.txt").exists():
            options = [f"-DPython_EXECUTABLE={sys.executable}", "-DQUELLARD_ADAPTERS=OFF",
                       "-DQUELLARD_TESTS=OFF"]  # fmt: skip
            subprocess.run(["cmake", "-S", ROOT, "-B", build, "-G", "Ninja", *options], check=True)
        subprocess.run(["cmake", "--build", build, "--target", "quellard_python"], check=True)
        package.mkdir(parents=True, exist_ok=True)
        (module,) = (build / "python" / "quellard").glob("_core*.so")
        if module.name != Path(self.get_ext_fullpath(ext.name)).name:
            raise SystemExit(f"{module} is for another interpreter than {sys.executable}")
        self.copy_file(str(module), str(package / module.name))


version = re.search(r"project\(quellard VERSION ([\d.]+)", (ROOT / "CMakeLists.txt").read_text())
setup(
    version=version[1],
    packages=["quellard"],
    package_data={"quellard": ["py.typed", "*.pyi"]},
    ext_modules=[Extension("quellard._core", sources=[])],
    cmdclass={"build_ext": CMakeBuild},
)
