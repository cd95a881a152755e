# SPDX-License-Identifier: ISC
"""render() gives the command's samples, for every kind of array, and refuses the rest clearly."""

import multiprocessing
import os
import signal
import threading
import time

import numpy as np
import pytest
import quellard
from conftest import RATE, SLOW, command, pluck

MOVES = [(0.0, "channel", "vintage"), (0.1, "gain", 9), (0.2, "channel", "clean"), (0.3, "treble", 1)]


@pytest.mark.parametrize(
    "options, settings",
    [
        ([], {}),
        (["--channel", "clean", "--gain", "7.39"], {"channel": "clean", "gain": 7.39}),
        (["--preset", "Blues Lead"], {"preset": "blues lead"}),
        (["--preset", "Warm Jazz", "--treble", "5"], {"preset": "Warm Jazz", "treble": 5}),
        (
            ["--set", "vintage.gain=6", "--set", "12=0.61", "--channel", "vintage"],
            {"channel": "vintage", "settings": {"vintage.gain": 6, "12": 0.61}},
        ),
        (["--gate", "-40", "--input", "6", "--output", "-3"], {"settings": {"gate": -40, "input": 6, "output": -3}}),
        (["--tail", "0.25", "--block", "100"], {"tail": 0.25, "block": 100}),
    ],
)
def test_equals_the_command(by_command, guitar, two_guitars, options, settings):
    for samples in (guitar, two_guitars):
        np.testing.assert_array_equal(
            quellard.render(samples, RATE, **settings), by_command(samples, *options)
        )


def test_moves_equal_the_commands(by_command, guitar, tmp_path):
    lines = tmp_path / "moves.csv"
    lines.write_text("".join(f"{at}, {name}, {value}\n" for at, name, value in MOVES))
    expected = by_command(guitar, "--automation", lines)
    np.testing.assert_array_equal(quellard.render(guitar, RATE, automation=MOVES), expected)
    np.testing.assert_array_equal(quellard.render(guitar, RATE, automation=lines), expected)
    assert np.abs(expected - quellard.render(guitar, RATE)).max() > 0.01


def test_a_cabinet_equals_the_commands(by_command, guitar, tmp_path):
    from conftest import write_wav

    impulse = np.exp(-np.arange(2000) / 200.0) * np.cos(np.arange(2000) / 5.0)
    write_wav(tmp_path / "cab.wav", impulse, 44100)
    np.testing.assert_array_equal(
        quellard.render(guitar, RATE, settings={"cab": tmp_path / "cab.wav", "cab_level": -3}),
        by_command(guitar, "--cab", tmp_path / "cab.wav", "--cab-level", "-3"),
    )


def test_floats_are_the_doubles_rounded_once(by_command, guitar):
    single = guitar.astype(np.float32)
    result = quellard.render(single, RATE)
    assert result.dtype == np.float32
    np.testing.assert_array_equal(result, by_command(single.astype(np.float64), kind="float"))


def test_any_strides_give_the_same(two_guitars):
    expected = quellard.render(two_guitars, RATE)
    wide = np.zeros((4, 2 * two_guitars.shape[1]))
    wide[::2, ::-2] = two_guitars
    unaligned = np.zeros(two_guitars.shape, dtype=[("odd", "u1"), ("x", "f8")])["x"]
    unaligned[...] = two_guitars
    assert not unaligned.flags.aligned
    read_only = two_guitars.copy()
    read_only.flags.writeable = False
    for view in (wide[::2, ::-2], np.asfortranarray(two_guitars), unaligned, read_only):
        np.testing.assert_array_equal(quellard.render(view, RATE), expected)
    frames = two_guitars.shape[1]
    np.testing.assert_array_equal(quellard.render(two_guitars.T.copy().T, RATE)[:, :frames], expected)


def test_out_is_filled_and_may_share_memory_with_x(guitar):
    expected = quellard.render(guitar, RATE)
    out = np.empty_like(guitar)
    assert quellard.render(guitar, RATE, out=out) is out
    np.testing.assert_array_equal(out, expected)
    in_place = guitar.copy()
    quellard.render(in_place, RATE, out=in_place)
    np.testing.assert_array_equal(in_place, expected)
    # Written ahead of what is read: one sample later, and backwards.
    shifted = np.append(guitar, 0.0)
    quellard.render(shifted[:-1], RATE, out=shifted[1:])
    np.testing.assert_array_equal(shifted[1:], expected)
    reversed_ = guitar.copy()
    quellard.render(reversed_, RATE, out=reversed_[::-1])
    np.testing.assert_array_equal(reversed_[::-1], expected)


def test_a_row_or_a_flat_array_comes_back_as_such(guitar):
    flat = quellard.render(guitar, RATE, tail=0.1)
    assert flat.shape == (len(guitar) + RATE // 10,)
    row = quellard.render(guitar[None], RATE, tail=0.1)
    np.testing.assert_array_equal(row, flat[None])
    assert quellard.render(np.empty(0), RATE).shape == (0,)
    assert quellard.render(np.empty((2, 0)), RATE, tail=0.01).shape == (2, 480)


@pytest.mark.parametrize(
    "x, error, words",
    [
        ([0.0, 0.1], TypeError, "x is list: a NumPy array"),
        (np.ma.masked_greater(np.zeros(9), 1.0), TypeError, r"x is masked: x.filled\(0\)"),
        (None, TypeError, "NoneType"),
        (np.zeros(9, np.int16), TypeError, "int16.*full scale at 1: x / np.iinfo"),
        (np.zeros(9, np.float16), TypeError, "float16"),
        (np.zeros(9, np.longdouble), TypeError, "float128"),
        (np.zeros(9, ">f8"), TypeError, ">f8"),
        (np.zeros(9, complex), TypeError, "complex128"),
        (np.zeros(9, object), TypeError, "object"),
        (np.array(0.5), ValueError, r"shape \(\)"),
        (np.zeros((480, 2)), ValueError, r"looks like \(samples, channels\): transpose it, x.T"),
        (np.zeros((2, 2, 9)), ValueError, r"\(2, 2, 9\)"),
        (np.zeros((0, 9)), ValueError, "0 channels"),
        (np.zeros((2000, 2001), np.float32), ValueError, "2000 channels: 1 to 1024"),
        (np.array([0.0, np.nan]), ValueError, "NaN or infinity, first at sample 1 of channel 0"),
        (np.array([[0.0, 0.0], [-np.inf, 0.0]], np.float32), ValueError, "sample 0 of channel 1"),
    ],
)
def test_what_is_no_audio_is_refused_with_a_sentence(x, error, words):
    with pytest.raises(error, match=words):
        quellard.render(x, RATE)


@pytest.mark.parametrize(
    "arguments, words",
    [
        ({"rate": 44100.5}, "rate: 44100.5 is not a whole number of Hz"),
        ({"rate": float("nan")}, "rate: nan"),
        ({"rate": 0}, "rate: 0"),
        ({"channel": "vintag"}, "did you mean 'vintage'"),
        ({"gain": 11}, "gain: 11 is outside 0 to 10"),
        ({"gain": float("nan")}, "gain: 'nan' is not a number"),
        ({"preset": "Blues Leed"}, "did you mean 'Blues Lead'"),
        ({"settings": {"vintage.gian": 3}}, "did you mean 'vintage_gain'"),
        ({"settings": {"gate": -300}}, "-80 to -30"),
        ({"settings": {"channel": ""}}, "'channel' has no value"),
        ({"automation": [(0.1, "gain", 3), (0.2, "gian", 3)]}, "automation:2: unknown knob 'gian'"),
        ({"automation": [(-1.0, "gain", 3)]}, "negative time"),
        ({"automation": [(float("nan"), "gain", 9), (0.1, "bass", 3)]}, "seconds is nan"),
        ({"automation": [(0.0, "gain", "9\n0.05, bass, 2")]}, "is no move"),
        ({"automation": [(0.0, "gain")]}, "is no move"),
        ({"block": 512.5}, "block is 512.5: a whole number"),
        ({"block": 0}, "block: 0"),
        ({"tail": float("inf")}, "tail: inf"),
        ({"tail": -1.0}, "tail: -1"),
        ({"out": np.empty(8)}, r"out has the shape \(8,\).*\(9,\)"),
        ({"out": np.empty(9, np.float32)}, "float32.*float64"),
        ({"out": np.empty((1, 9))}, r"\(1, 9\)"),
    ],
)
def test_wrong_settings_are_refused_with_the_commands_words(arguments, words):
    with pytest.raises(ValueError, match=words):
        quellard.render(np.zeros(9), **{"rate": RATE, **arguments})


def test_the_errors_have_their_types(guitar, tmp_path):
    with pytest.raises(quellard.UsageError):
        quellard.render(guitar, RATE, gain=11)
    with pytest.raises(quellard.FileError, match="nothing.wav"):
        quellard.render(guitar, RATE, settings={"cab": tmp_path / "nothing.wav"})
    with pytest.raises(OSError, match="none.csv"):
        quellard.render(guitar, RATE, automation=tmp_path / "none.csv")
    for name, value in (("gain", True), ("gain", np.True_), ("tail", "1"), ("rate", None), ("channel", b"x")):
        with pytest.raises(TypeError, match=f"{name} is .*: a number is needed"):
            quellard.render(guitar, **{"rate": RATE, name: value})
    with pytest.raises(TypeError, match="settings is"):
        quellard.render(guitar, RATE, settings=[("gain", 3)])
    with pytest.raises(TypeError):
        quellard.render(guitar, RATE, volume=3)
    read_only = np.empty(len(guitar))
    read_only.flags.writeable = False
    with pytest.raises(ValueError, match="read-only"):
        quellard.render(guitar, RATE, out=read_only)
    for strides in ((8, 8), (0, 8), (4800, 0)):
        shared = np.lib.stride_tricks.as_strided(np.zeros(10000), (2, 480), strides)
        with pytest.raises(ValueError, match="share memory"):
            quellard.render(np.zeros((2, 480)), RATE, out=shared)


def test_what_is_named_last_counts(guitar):
    full = quellard.Amplifier(RATE, preset="Warm Jazz").settings
    wanted = quellard.render(guitar, RATE, preset="Warm Jazz", gain=9)
    np.testing.assert_array_equal(quellard.render(guitar, RATE, settings=full, gain=9), wanted)
    np.testing.assert_array_equal(
        quellard.render(guitar, RATE, settings={**full, "channel": "modern"}, channel="clean", gain=9), wanted
    )
    assert quellard.Amplifier(RATE, gain=2, settings={"modern_gain": 8}).settings["modern_gain"] == 2
    assert quellard.Amplifier(RATE, settings={"gain": 8, "modern.gain": 3}).settings["modern_gain"] == 3
    assert quellard.Amplifier(RATE, settings={"19": 0.5}, channel="clean").settings["channel"] == "clean"


def test_an_error_in_place_leaves_the_input_as_it_was(guitar):
    bad = guitar.copy()
    bad[9000] = np.nan
    before = bad.copy()
    with pytest.raises(ValueError, match="sample 9000"):
        quellard.render(bad, RATE, out=bad)
    np.testing.assert_array_equal(bad, before)


def test_names_of_files_may_hold_any_bytes(guitar, tmp_path):
    from conftest import write_wav

    name = str(tmp_path / os.fsdecode(b"cab\xff.wav"))
    write_wav(name, np.exp(-np.arange(99) / 10.0))
    quellard.render(guitar, RATE, settings={"cab": name})
    moves = tmp_path / os.fsdecode(b"moves\xff.csv")
    moves.write_text("0.1, gain, 9")
    quellard.render(guitar, RATE, automation=moves)


def test_ctrl_c_ends_a_render_and_a_block():
    x = np.zeros((16, 40 * RATE), np.float32)
    amp = quellard.Amplifier(RATE, channels=16)
    for work in (lambda: quellard.render(x, RATE), lambda: amp.process(x)):
        previous = signal.signal(signal.SIGALRM, signal.default_int_handler)
        signal.setitimer(signal.ITIMER_REAL, 0.2)
        begin = time.monotonic()
        try:
            with pytest.raises(KeyboardInterrupt):
                work()
        finally:
            signal.signal(signal.SIGALRM, previous)
        # The whole of it takes several times as long.
        assert time.monotonic() - begin < 1.0 * SLOW


def test_threads_render_side_by_side():
    takes = [pluck(pitch=pitch) for pitch in (82.4, 110.0, 146.8, 196.0)]
    expected = [quellard.render(take, RATE, gain=8) for take in takes]
    got = [None] * len(takes)

    def work(i):
        got[i] = quellard.render(takes[i], RATE, gain=8)

    threads = [threading.Thread(target=work, args=(i,)) for i in range(len(takes))]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    for one, other in zip(got, expected):
        np.testing.assert_array_equal(one, other)


def _in_child(connection, amp, take):
    connection.send((amp.process(take), quellard.render(take, RATE)))


def test_a_forked_process_plays_on(guitar):
    amp = quellard.Amplifier(RATE, gain=8)
    twin = quellard.Amplifier(RATE, gain=8)
    amp.process(guitar)
    twin.process(guitar)
    context = multiprocessing.get_context("fork")
    ours, theirs = context.Pipe()
    child = context.Process(target=_in_child, args=(theirs, amp, guitar))
    child.start()
    streamed, rendered = ours.recv()
    child.join()
    assert child.exitcode == 0
    np.testing.assert_array_equal(streamed, twin.process(guitar))
    np.testing.assert_array_equal(rendered, quellard.render(guitar, RATE))


def test_the_message_is_the_commands(guitar, tmp_path):
    from conftest import write_wav

    write_wav(tmp_path / "in.wav", guitar)
    said = command("render", tmp_path / "in.wav", "-o", tmp_path / "o.wav", "--preset", "Jaz", status=2)
    with pytest.raises(quellard.UsageError) as error:
        quellard.render(guitar, RATE, preset="Jaz")
    assert said == f"quellard: {error.value}\n"
