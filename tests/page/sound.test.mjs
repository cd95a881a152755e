// SPDX-License-Identifier: ISC
// What the page plays and renders, beside what the command renders on this machine.
import assert from 'node:assert/strict';
import {execFileSync} from 'node:child_process';
import {mkdtempSync, readFileSync, writeFileSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {after, before, describe, it} from 'node:test';
import {pathToFileURL} from 'node:url';

import {begin, kBrowsers, openPage, until} from './browsers.mjs';

const {QUELLARD_BITS: kBits, QUELLARD_COMMAND: kCommand, QUELLARD_PAGE: kPage} = process.env;
const {writeWav} = await import(pathToFileURL(join(kPage, 'wav.js')));

const kSelector = 19;
const kChannels = ['clean', 'vintage', 'modern'];
const kScratch = mkdtempSync(join(tmpdir(), 'quellard-'));

// Plucked strings: decaying harmonics of a note every half second, the same in every run.
function guitar(rate, seconds) {
  return Float64Array.from({length: Math.round(rate * seconds)}, (_, i) => {
    const t = i / rate;
    const since = t % 0.5;
    const pitch = 82.4 * 2 ** (((Math.floor(t / 0.5) * 5) % 12) / 12);
    let sum = 0;
    for (let k = 1; k < 9; ++k)
      sum += (Math.sin(2 * Math.PI * k * pitch * since) / k) * Math.exp(-k * since * 2);
    return 0.4 * sum * Math.min(1, since * 500);
  });
}

// What the command makes of it, as the bytes of a WAV of doubles.
function commandRenders(name, input, rate, settings) {
  const files = {dry: join(kScratch, `${name}-dry.wav`), wet: join(kScratch, `${name}-wet.wav`)};
  writeFileSync(files.dry, Buffer.from(writeWav([input], rate, 'double')));
  execFileSync(kCommand, ['render', files.dry, '-o', files.wet, '--format', 'double', '-q', ...settings]);
  return [files.dry, files.wet].map((file) => readFileSync(file));
}

// A session: [seconds, parameter in the command's words, its value there, parameter, value].
function session(rate) {
  const frame = (seconds) => Math.round(seconds * rate);
  const moves = [
    [0.2, 'modern.gain', 2.5, 18, 0.25],
    [0.55, 'channel', 'clean', kSelector, 0],
    [0.56, 'clean.bass', 9, 2, 0.9],
    [0.9, 'clean.master', 7, 5, 0.7],
    [1.0, 'channel', 'vintage', kSelector, 0.5],
    [1.01, 'vintage.gain', 8, 12, 0.8],
    [1.02, 'vintage.treble', 1, 10, 0.1],
    [1.3, 'channel', 'modern', kSelector, 1],
    [1.31, 'channel', 'clean', kSelector, 0],
    [1.32, 'channel', 'modern', kSelector, 1],
    [1.5, 'modern.presence', 10, 13, 1],
    [1.52, 'modern.mid', 0, 15, 0],
    [1.8, 'modern.gain', 10, 18, 1],
  ];
  const file = join(kScratch, `moves-${rate}.csv`);
  writeFileSync(file, moves.map(([s, word, value]) => `${frame(s) / rate}, ${word}, ${value}\n`).join(''));
  return {file, moves: moves.map(([s, , , index, value]) => [frame(s), index, Math.fround(value)])};
}

for (const [name, open] of Object.entries(kBrowsers)) {
  describe(`The sound in ${name}`, {timeout: 600000}, () => {
    let server, browser, page, end;

    before(async () => {
      ({server, browser, page, end} = await begin(open));
      server.files.set('/bits.wasm', readFileSync(kBits));
    });
    after(() => end?.());

    // The largest difference from the command's render, as a share of the peak. cabinet: the bytes of
    // its file.
    async function difference(
      label,
      rate,
      settings,
      values,
      moves = [],
      input = guitar(rate, 2),
      cabinet = null,
    ) {
      const [dry, wet] = commandRenders(`${name}-${label}`, input, rate, settings);
      server.files.set('/dry.wav', dry);
      server.files.set('/wet.wav', wet);
      if (cabinet) server.files.set('/cabinet.wav', cabinet);
      return page.evaluate(
        async (sound) => {
          const {readWav} = await import(new URL('wav.js', document.baseURI));
          const {render} = await import(new URL('render.js', document.baseURI));
          const {readCabinet, preparedCabinet} = await import(new URL('cabinet.js', document.baseURI));
          const bytes = async (file) => (await fetch(file, {cache: 'reload'})).arrayBuffer();
          const get = async (file) => readWav(await bytes(file));
          const [input, expected] = [await get('dry.wav'), (await get('wet.wav')).channels[0]];
          const {module} = quellard;
          const cabinet =
            sound.hasCabinet && (await readCabinet(module, 'cabinet.wav', await bytes('cabinet.wav')));
          const {
            channels: [actual],
          } = await render({
            ...sound,
            ...input,
            module,
            cabinet: await preparedCabinet(module, cabinet, input.rate),
          });
          if (actual.length !== expected.length)
            throw new Error(`${actual.length} samples, not ${expected.length}`);
          let most = 0;
          let peak = 0;
          actual.forEach((x, i) => {
            most = Math.max(most, Math.abs(x - expected[i]));
            peak = Math.max(peak, Math.abs(expected[i]));
          });
          return {most: most / peak, peak};
        },
        {values, moves, hasCabinet: cabinet !== null},
      );
    }

    it('has the bits of every other machine where the math functions are the same', async () => {
      const [digest, expected, calls] = await page.evaluate(async () => {
        const {instantiate} = await import(new URL('module.js', document.baseURI));
        const bits = instantiate(await (await fetch('bits.wasm')).arrayBuffer());
        return [bits.session_digest(), bits.expected_digest()].map(String).concat(bits.tangents());
      });
      assert.equal(digest, expected);
      assert.ok(calls > 100, 'the functions of its own were called');
    });

    it('is that of the command, in all channels and through a session of moves', async () => {
      for (const rate of [44100, 48000]) {
        for (const [i, channel] of kChannels.entries()) {
          const settings = `--channel ${channel} --gain 6.3 --bass 3.7 --gate -50 --output -3`.split(' ');
          const values = [
            [kSelector, i / 2],
            [6 * i + 6, Math.fround(0.63)],
            [6 * i + 2, Math.fround(0.37)],
            [22, (-50 + 81) / 51],
            [23, (-3 / 24 + 1) / 2],
          ];
          const {most, peak} = await difference(`${channel}-${rate}`, rate, settings, values);
          assert.ok(peak > 0.1, `${channel} is heard: ${peak}`);
          assert.ok(most <= 1e-9, `${channel} at ${rate} Hz differs by ${most}`);
          console.log(`${name}, ${channel} at ${rate} Hz: ${most.toExponential(1)} of the peak`);
        }
        const {file, moves} = session(rate);
        const {most, peak} = await difference(`session-${rate}`, rate, ['--automation', file], [], moves);
        assert.ok(peak > 0.1 && most <= 1e-9, `the session at ${rate} Hz differs by ${most}`);
        console.log(`${name}, session at ${rate} Hz: ${most.toExponential(1)} of the peak`);
      }
    });

    it('is that of the command through a cabinet', async () => {
      const rate = 48000;
      // At another rate the two convert it by ways of their own.
      for (const [cabinetRate, limit] of [
        [rate, 1e-9],
        [96000, 1e-3],
      ]) {
        const side = (hz) =>
          Float64Array.from({length: 0.2 * cabinetRate}, (_, i) => {
            const t = i / cabinetRate;
            return Math.exp(-300 * t) * Math.sin(2 * Math.PI * hz * t);
          });
        const file = join(kScratch, `cabinet-${cabinetRate}.wav`);
        const cabinet = Buffer.from(writeWav([side(400), side(2500)], cabinetRate, 'double'));
        writeFileSync(file, cabinet);
        const settings = ['--channel', 'modern', '--cab', file];
        const {most, peak} = await difference(
          `cabinet-${cabinetRate}`,
          rate,
          settings,
          [[kSelector, 1]],
          [],
          guitar(rate, 2),
          cabinet,
        );
        assert.ok(peak > 0.1 && most <= limit, `at ${cabinetRate} Hz it differs by ${most}`);
        console.log(`${name}, a cabinet of ${cabinetRate} Hz: ${most.toExponential(1)} of the peak`);
      }
    });

    it('sleeps in long silence, which costs little, and wakes as if it had not', async () => {
      const rate = 44100;
      const played = guitar(rate, 1);
      const broken = new Float64Array(8 * rate);
      broken.set(played);
      broken.set(played, 7 * rate);
      for (const [i, channel] of kChannels.entries()) {
        const {most, peak} = await difference(
          `pause-${channel}`,
          rate,
          ['--channel', channel],
          [[kSelector, i / 2]],
          [],
          broken,
        );
        assert.ok(peak > 0.1 && most <= 1e-9, `${channel} differs by ${most}`);
      }
      const seconds = await page.evaluate(async (hz) => {
        const {render} = await import(new URL('render.js', document.baseURI));
        const channels = [new Float64Array(120 * hz)];
        channels[0][0] = 1;
        return (await render({module: quellard.module, rate: hz, values: [[19, 1]], channels})).seconds;
      }, rate);
      // Awake it took thirty on the same machine.
      assert.ok(seconds < 10, `two minutes of silence took ${seconds} s`);
    });

    // Plays a sine of 220 Hz through the worklet, with moves at their times.
    const playWorklet = async (seconds, values, moves, rate = 48000) => {
      const result = await page.evaluate(
        async ([length, start, later, hz]) => {
          const context = new OfflineAudioContext(1, length * hz, hz);
          await context.audioWorklet.addModule('amp_processor.js');
          const {player, face} = quellard;
          for (const [index, value] of start) face.set(index, value);
          const amp = player.makeAmp(context);
          const told = [];
          amp.port.onmessage = ({data}) => told.push(data);
          for (const [time, changes] of later) amp.port.postMessage({time, values: changes});
          const sine = new OscillatorNode(context, {frequency: 220});
          const gain = new GainNode(context, {gain: 0.05});
          sine.connect(gain).connect(amp).connect(context.destination);
          sine.start();
          const began = performance.now();
          const buffer = await context.startRendering();
          const took = (performance.now() - began) / 1000;
          await new Promise((resolve) => {
            setTimeout(resolve, 200);
          }); // for the last messages
          const memory = told.map((levels) => levels.memory);
          const peak = Math.max(...told.map(({output}) => output));
          const held = told.reduce((sum, levels) => sum + levels.held, 0);
          return {
            took,
            peak,
            held,
            tells: told.length,
            memory: [memory[0], memory.at(-1)],
            samples: length > 10 ? '' : await base64Of(buffer.getChannelData(0)),
          };
        },
        [seconds, values, moves, rate],
      );
      const bytes = Uint8Array.from(Buffer.from(result.samples, 'base64'));
      return {...result, samples: new Float32Array(bytes.buffer)};
    };

    // The largest second difference from `begin` to `end`, which a click drives up and a sine's fade does not.
    const roughness = (samples, begin, end) => {
      let most = 0;
      for (let i = begin + 2; i < end; ++i) {
        most = Math.max(most, Math.abs(samples[i] - 2 * samples[i - 1] + samples[i - 2]));
      }
      return most;
    };

    it('has no click where channel and preset change while it plays', async () => {
      const presets = await page.evaluate(() =>
        ['Chime Clean', 'Stack Roar'].map((wanted) => {
          quellard.face.choosePreset(quellard.face.presets().findIndex((preset) => preset.name === wanted));
          return quellard.face.values();
        }),
      );
      const rate = 48000;
      const quiet = presets[0].map(([index, value]) => [index, index === 23 ? 0.25 : value]);
      const changes = [
        ['to VINTAGE', [[kSelector, 0.5]]],
        ['to MODERN', [[kSelector, 1]]],
        ['to a preset', presets[1].slice(0, 19)],
      ];
      for (const [label, values] of changes) {
        const {samples} = await playWorklet(2, quiet, [[1, values]]);
        const [before, during, after] = [
          [0.5, 0.98],
          [0.98, 1.2],
          [1.5, 1.98],
        ].map(([from, to]) => roughness(samples, from * rate, to * rate));
        const steady = Math.max(before, after);
        assert.ok(after > 0 && before > 0);
        assert.ok(during <= 1.5 * steady, `${label}: ${during} where ${steady} is steady`);
        // The same change without a fade, where in the sine it comes at its worst, would be found.
        const last = samples[rate - 1];
        const period = [...samples.slice(1.5 * rate, 1.5 * rate + 219).keys()].map((i) => 1.5 * rate + i);
        const worst = period.reduce((a, b) =>
          Math.abs(samples[b] - last) > Math.abs(samples[a] - last) ? b : a,
        );
        const cut = [...samples.slice(0.9 * rate, rate), ...samples.slice(worst, worst + 1000)];
        assert.ok(roughness(cut, 0, cut.length) > 1.5 * steady, `${label}: a click is found`);
      }
    });

    it('holds what is above full scale, and tells', async () => {
      const loud = [
        [kSelector, 0],
        [1, 0.5],
        [5, 1],
        [6, 1],
        [23, 1],
      ];
      const {samples, peak, held} = await playWorklet(1, loud, []);
      assert.ok(peak > 1.5, `the meter shows ${peak}`);
      assert.ok(held > 1000);
      assert.equal(
        samples.reduce((most, x) => Math.max(most, Math.abs(x)), 0),
        1,
      );
    });

    it('plays MODERN at least forty times as fast as it is heard', async () => {
      const values = [
        [kSelector, 1],
        [18, 0.8],
        [23, 0.5],
        [22, 0],
      ];
      // Short turns, and many where others use this machine meanwhile.
      let best = 0;
      for (let turn = 0; turn < 20 && (turn < 5 || best < 45); ++turn) {
        best = Math.max(best, 11 / (await playWorklet(11, values, [])).took);
      }
      console.log(`${name}: MODERN in the worklet ${best.toFixed(1)} times real time`);
      assert.ok(best >= 40, `${best}`);
    });

    it('takes no more memory in ten minutes than at their beginning', async () => {
      const moves = Array.from({length: 100}, (_, i) => [
        6 * i,
        [
          [kSelector, (i % 3) / 2],
          [18, i / 100],
        ],
      ]);
      const {
        memory: [first, last],
        tells,
      } = await playWorklet(600, [], moves, 24000);
      assert.ok(tells > 10000);
      assert.ok(first > 0);
      assert.equal(last, first);
    });

    it('is undisturbed by a second tab', async () => {
      await page.evaluate(async () => {
        quellard.face.choosePreset(7);
        await quellard.player.playRecording(await quellard.recording(), true);
      });
      const state = () =>
        page.evaluate(() => ({
          values: quellard.face.values(),
          state: quellard.player.context.state,
          time: quellard.player.context.currentTime,
          output: quellard.view.levels.output,
        }));
      const goesOn = (since) =>
        until('the sound goes on', async () => {
          const now = await state();
          return now.time > since + 0.2 && now.output > 0.01 && now;
        });
      const before = await goesOn(0);
      const other = await openPage({newPage: () => browser.sibling(page)}, server.address);
      await other.evaluate(async () => {
        quellard.face.choosePreset(2);
        quellard.view.afterHand();
        await quellard.player.playRecording(await quellard.recording(), false);
        await quellard.renderWav();
        quellard.player.stop();
      });
      assert.notDeepEqual(await other.evaluate(() => quellard.face.values()), before.values);
      await other.close();
      const later = await goesOn(before.time);
      assert.deepEqual(later.values, before.values);
      assert.equal(later.state, 'running');
      await page.evaluate(() => quellard.player.stop());
    });
  });
}
