# SPDX-License-Identifier: ISC
"""What surrounds the code: types, documentation, the versions."""

import inspect
import os
import pydoc
import subprocess
import sys
from pathlib import Path

import pytest
import quellard
from conftest import command, pluck, write_wav


def test_every_public_name_is_documented():
    assert set(quellard.__all__) <= set(dir(quellard))
    for name in quellard.__all__:
        item = getattr(quellard, name)
        assert inspect.getdoc(item), name
        members = vars(item) if inspect.isclass(item) else {}
        for member, value in members.items():
            documentable = inspect.isfunction(value) or isinstance(value, property)
            if documentable and not member.startswith("_"):
                assert inspect.getdoc(value), f"{name}.{member}"
    page = pydoc.render_doc(quellard, renderer=pydoc.plaintext)
    assert "channel: 'str | None' = None" in page
    assert not [line for line in page.splitlines() if "pybind11" in line and "_core" not in line]


@pytest.mark.skipif("QUELLARD_SANITIZED" in os.environ, reason="checks no code that runs")
def test_the_types_hold(tmp_path):
    mypy = ["--cache-dir", str(tmp_path), "--python-executable", sys.executable]
    checked = subprocess.run(
        [sys.executable, "-m", "mypy", "--strict", *mypy, "-p", "quellard"],
        capture_output=True, text=True, cwd=os.environ["PYTHONPATH"],
    )  # fmt: skip
    assert checked.returncode == 0, checked.stdout + checked.stderr
    # That its classes are made by another metaclass says nothing to who uses them.
    allowed = tmp_path / "allowed"
    allowed.write_text(r"quellard\._core\.(Automation|Manifest|StreamingAmp|Sweep|SweepResult)")
    stubs = subprocess.run(
        [sys.executable, "-m", "mypy.stubtest", "quellard._core", "--ignore-missing-stub",
         "--allowlist", allowed],
        env={**os.environ, "MYPY_CACHE_DIR": str(tmp_path)},
        capture_output=True, text=True, cwd=os.environ["PYTHONPATH"],
    )  # fmt: skip
    assert stubs.returncode == 0, stubs.stdout + stubs.stderr


def test_the_versions_are_one():
    assert command("--version").split() == ["quellard", quellard.__version__]


def test_no_thread_or_library_of_the_command_comes_with_it():
    code = "import quellard, threading; print(threading.active_count(), open('/proc/self/maps').read())"
    done = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, check=True)
    assert done.stdout.startswith("1 ")
    assert "libpng" not in done.stdout and "libX11" not in done.stdout


def test_importing_needs_nothing_but_numpy():
    code = "import sys, quellard; print([m for m in ('dask', 'distributed', 'pandas') if m in sys.modules])"
    done = subprocess.run([sys.executable, "-c", code], capture_output=True, text=True, check=True)
    assert done.stdout.strip() == "[]"


def test_the_data_set_is_made_and_drawn(tmp_path):
    for library in ("matplotlib", "soundfile"):
        pytest.importorskip(library)
    for pitch in (110.0, 146.8):
        write_wav(tmp_path / f"{pitch:.0f}.wav", pluck(pitch=pitch))
    script = Path(os.environ["QUELLARD_EXAMPLES"]) / "data_set.py"
    made = [sys.executable, script, tmp_path, tmp_path / "out", tmp_path / "picture.png"]
    done = subprocess.run(made, capture_output=True, text=True, check=True)
    assert "48 renders" in done.stdout
    assert len((tmp_path / "out" / "manifest.jsonl").read_text().splitlines()) == 48
    assert (tmp_path / "picture.png").read_bytes().startswith(b"\x89PNG")
