# SPDX-License-Identifier: ISC
"""Files of doubles, and the command, which the package must equal bit by bit."""

import os
import struct
import subprocess
from pathlib import Path

import numpy as np
import pytest

COMMAND = os.environ["QUELLARD_COMMAND"]
# Of the command: a sanitizer that is brought to the interpreter is in the command already.
ENVIRONMENT = {name: value for name, value in os.environ.items() if name != "LD_PRELOAD"}
RATE = 48000
# How many times as long things may take.
SLOW = 8 if {"QUELLARD_SANITIZED", "QUELLARD_EMULATED"} & os.environ.keys() else 1


def write_wav(path, samples, rate=RATE):
    """A WAV file of float64: (samples,) or (channels, samples)."""
    channels = 1 if samples.ndim == 1 else len(samples)
    data = np.ascontiguousarray(samples.T, dtype="<f8").tobytes()
    form = struct.pack("<HHIIHH", 3, channels, rate, rate * channels * 8, channels * 8, 64)
    chunks = b"fmt " + struct.pack("<I", len(form)) + form
    chunks += b"data" + struct.pack("<I", len(data)) + data
    Path(path).write_bytes(b"RIFF" + struct.pack("<I", 4 + len(chunks)) + b"WAVE" + chunks)


def command(*arguments, status=0):
    """Run quellard; returns what it prints on standard output, or on standard error where it fails."""
    line = [COMMAND, *map(str, arguments)]
    done = subprocess.run(line, capture_output=True, text=True, env=ENVIRONMENT)
    assert done.returncode == status, done.stderr
    return done.stderr if status else done.stdout


@pytest.fixture
def by_command(tmp_path):
    """Renders samples by the command."""

    def render(samples, *options, rate=RATE, kind="double"):
        write_wav(tmp_path / "in.wav", samples, rate)
        out = tmp_path / "out.raw"
        command("render", "-q", tmp_path / "in.wav", "-o", out, "--format", kind, *options)
        flat = np.fromfile(out, dtype="<f8" if kind == "double" else "<f4")
        return flat if samples.ndim == 1 else flat.reshape(-1, len(samples)).T

    return render


def pluck(seconds=0.5, pitch=110.0, rate=RATE):
    """A decaying string with its overtones, -6 dBFS."""
    t = np.arange(round(seconds * rate)) / rate
    tone = sum(np.sin(2 * np.pi * pitch * n * t) / n for n in range(1, 9))
    return 0.25 * np.exp(-4.0 * t) * tone


@pytest.fixture
def guitar():
    return pluck()


@pytest.fixture
def two_guitars():
    return np.stack([pluck(), pluck(pitch=146.8)])
