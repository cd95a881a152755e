# SPDX-License-Identifier: ISC
"""A stream of blocks equals a render, and what is set is heard at once."""

import copy
import pickle
import threading
import time

import numpy as np
import pytest
import quellard
from conftest import RATE, SLOW, write_wav


def stream(amp, x, length):
    return np.concatenate(
        [amp.process(x[..., i : i + length]) for i in range(0, x.shape[-1], length)], axis=-1
    )


@pytest.mark.parametrize("length", [1, 64, 512, 700, 100_000])
def test_blocks_of_any_length_equal_a_render(two_guitars, length):
    settings = {"channel": "vintage", "gain": 7.5, "settings": {"gate": -50, "output": -6}}
    x = two_guitars[:, :6000]
    expected = quellard.render(x, RATE, **settings)
    amp = quellard.Amplifier(RATE, channels=2, **settings)
    np.testing.assert_array_equal(stream(amp, x, length), expected)
    amp.reset()
    np.testing.assert_array_equal(stream(amp, x, length), expected)


def test_a_knob_moves_from_the_next_block_on_as_by_automation(guitar):
    moved = 9600
    automation = [(moved / RATE, "modern.gain", 9), (moved / RATE, "channel", "clean")]
    expected = quellard.render(guitar, RATE, automation=automation)
    amp = quellard.Amplifier(RATE)
    before = amp.process(guitar[:moved])
    amp.set(settings={"modern_gain": 9}, channel="clean")
    after = amp.process(guitar[moved:])
    np.testing.assert_array_equal(before, expected[:moved])
    assert np.any(after[:64] != quellard.render(guitar, RATE)[moved : moved + 64])
    # Automation starts a block at its move, and so did the stream.
    np.testing.assert_array_equal(after[:4800], expected[moved : moved + 4800])


def test_levels_and_the_gate_move_too(guitar):
    amp = quellard.Amplifier(RATE)
    steady = quellard.Amplifier(RATE)
    amp.process(guitar[:4800])
    steady.process(guitar[:4800])
    amp.set(settings={"output": -6})
    quieter = amp.process(guitar[4800:])[4800:]
    louder = steady.process(guitar[4800:])[4800:]
    np.testing.assert_allclose(quieter, louder * 10 ** (-6 / 20), rtol=1e-6)
    hiss = 1e-3 * np.sin(np.arange(RATE) / 3.0)
    assert np.abs(steady.process(hiss)[-4800:]).max() > 1e-3
    amp.set(settings={"gate": -40})
    assert np.abs(amp.process(hiss)[-4800:]).max() == 0.0
    assert amp.texts["gate"] == "-40.0 dB"


def test_wrong_values_change_nothing(guitar, tmp_path):
    amp = quellard.Amplifier(RATE, gain=3)
    before = amp.settings
    with pytest.raises(quellard.UsageError, match="outside 0 to 10"):
        amp.set(bass=2, gain=11)
    with pytest.raises(quellard.FileError, match="no.wav"):
        amp.set(bass=2, settings={"cab": tmp_path / "no.wav"})
    assert amp.settings == before
    expected = quellard.render(guitar, RATE, gain=3)
    with pytest.raises(ValueError, match="NaN"):
        amp.process(np.full(9, np.nan))
    with pytest.raises(ValueError, match="the block has 2 channels, and the amplifier 1"):
        amp.process(np.zeros((2, 9)))
    np.testing.assert_array_equal(amp.process(guitar), expected)
    with pytest.raises(quellard.UsageError, match="channels: 0"):
        quellard.Amplifier(RATE, channels=0)


def test_settings_can_be_looked_at_copied_and_pickled(guitar):
    amp = quellard.Amplifier(RATE, preset="Blues Lead", settings={"gate": -57.5, "clean.bass": 7.39})
    assert amp.settings["channel"] == amp.texts["channel"].lower()
    assert amp.settings["gate"] == -57.5
    assert amp.settings["clean_bass"] == 7.39
    assert amp.texts["clean_bass"] == "7.39"
    amp.process(guitar)
    expected = quellard.render(guitar, RATE, settings=amp.settings)
    for twin in (copy.copy(amp), copy.deepcopy(amp), pickle.loads(pickle.dumps(amp))):
        assert twin.settings == amp.settings
        np.testing.assert_array_equal(twin.process(guitar), expected)


def test_every_preset_and_default_is_told_as_it_plays(guitar):
    for preset in quellard.presets():
        if preset.own:
            continue
        np.testing.assert_array_equal(
            quellard.render(guitar[:4800], RATE, settings=preset.settings),
            quellard.render(guitar[:4800], RATE, preset=preset.name),
        )
    defaults = {parameter.name: parameter.default for parameter in quellard.parameters()}
    settings = quellard.Amplifier(RATE).settings
    assert {name: settings[name] for name in defaults} == defaults
    assert set(settings) - set(defaults) == {"cab", "cab_level"}


def test_calls_to_one_object_wait_for_each_other(guitar):
    amp = quellard.Amplifier(RATE)
    ends = []

    def work():
        for _ in range(50):
            amp.process(guitar[:480])
            amp.set(gain=5)
        ends.append(True)

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(timeout=60)
    assert len(ends) == 4
    # The same 200 blocks went through it, whoever brought them.
    alone = quellard.Amplifier(RATE)
    for _ in range(200):
        alone.process(guitar[:480])
    np.testing.assert_array_equal(amp.process(guitar), alone.process(guitar))


def test_others_go_on_while_one_thread_waits_for_a_playing_amplifier():
    amp = quellard.Amplifier(RATE)
    playing = threading.Thread(target=amp.process, args=(np.zeros(60 * RATE),))
    waiting = threading.Thread(target=lambda: amp.settings)
    playing.start()
    time.sleep(0.02)
    waiting.start()
    longest, last = 0.0, time.monotonic()
    while playing.is_alive():
        time.sleep(0.001)
        longest, last = max(longest, time.monotonic() - last), time.monotonic()
    waiting.join()
    assert longest < 0.1 * SLOW


def test_a_cabinet_is_found_from_another_folder(guitar, tmp_path, monkeypatch):
    write_wav(tmp_path / "cab.wav", np.exp(-np.arange(2000) / 100.0))
    monkeypatch.chdir(tmp_path)
    amp = quellard.Amplifier(RATE, settings={"cab": "cab.wav"})
    monkeypatch.chdir("/")
    expected = amp.process(guitar)
    np.testing.assert_array_equal(copy.copy(amp).process(guitar), expected)
    (tmp_path / "cab.wav").unlink()
    played = amp.process(guitar)
    with pytest.raises(quellard.FileError, match="cab.wav"):
        amp.reset()
    assert np.any(amp.process(guitar) != expected) and np.any(played != expected)


def test_a_subclass_stays_one_and_long_blocks_cost_nothing_when_short_ones_come(guitar):
    class Mine(quellard.Amplifier):
        pass

    assert type(copy.copy(Mine(RATE, gain=3))) is Mine
    amp = quellard.Amplifier(RATE, block=1 << 20)
    amp.process(guitar[:64])
    begin = time.monotonic()
    for _ in range(200):
        amp.process(guitar[:64])
    assert (time.monotonic() - begin) / 200 < 500e-6 * SLOW
