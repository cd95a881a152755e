#!/usr/bin/python3
# SPDX-License-Identifier: ISC
"""A data set of guitar takes with known settings, and one picture of what is in it.

    data_set.py TAKES FOLDER [PICTURE]

Needs matplotlib and soundfile. Read it from top to bottom, as one would a notebook.
"""

import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt
import numpy as np
import quellard
import soundfile

takes, folder = sys.argv[1:3]
picture = sys.argv[3] if len(sys.argv) > 3 else f"{folder}/data_set.png"
CHANNELS = ("clean", "vintage", "modern")

# %% The data set: each take with 24 random settings of channel and knobs, on two cores.
knobs = ("gain", "bass", "mid", "treble", "presence")
plan = quellard.sweep(
    takes,
    folder,
    grid={"channel": CHANNELS, **{knob: "0:10" for knob in knobs}},
    random=24,
    seed=2026,
    mono=True,
)
rows = plan.run(jobs=2, progress=sys.stderr.isatty())
print(f"{len(rows)} renders, {sum(row['seconds'] for row in rows) / 60:.1f} minutes, listed in {plan.manifest}")

# %% What a model would learn from: the dry take, the settings, the amplified take.
for row in rows[:3]:
    settings = row["settings"]
    gain = settings[f"{settings['channel']}_gain"]
    loudness = row["loudness_lufs"]  # None for what is silent, or shorter than 0.4 s
    print(f"{row['input']} -> {row['output']}: {settings['channel']}, gain {gain}, "
          f"{'silent' if loudness is None else f'{loudness:.1f} LUFS'}")  # fmt: skip

# %% One picture: in each row a channel, the spectrogram of one render of it at the highest GAIN, and
# how the amplifier bends a sine, low and high.
figure, axes = plt.subplots(len(CHANNELS), 2, figsize=(12, 10), layout="constrained")
for (left, right), channel in zip(axes, CHANNELS):
    of_channel = [row for row in rows if row["settings"]["channel"] == channel]
    loudest = max(of_channel, key=lambda row: row["settings"][f"{channel}_gain"])
    sound, rate = soundfile.read(f"{plan.folder}/{loudest['output']}")
    left.specgram(sound + 1e-9, NFFT=2048, noverlap=1536, Fs=rate, vmin=-140, vmax=-30)
    left.set(title=f"{channel}, gain {loudest['settings'][f'{channel}_gain']}",
             xlabel="seconds", ylabel="Hz", ylim=(0, 8000))  # fmt: skip

    rate, hz = 48000, 220
    sine = np.sin(2 * np.pi * hz * np.arange(rate) / rate)
    for gain in (2, 5, 8):
        out = quellard.render(0.5 * sine, rate, channel=channel, gain=gain)
        period = slice(rate - rate // 44, rate)  # five periods, long after the start
        right.plot(0.5 * sine[period], out[period] / np.abs(out[period]).max(), label=f"gain {gain}")
    right.set(title=f"{channel}: output over input, {hz} Hz", xlabel="in", ylabel="out, normalised")
    right.legend()
figure.savefig(picture, dpi=90)
print(f"the picture is {picture}")
