// SPDX-License-Identifier: ISC
// What stands around the amplifier: sources, files, links, presets, no network, and what goes wrong.
import assert from 'node:assert/strict';
import {readdirSync, readFileSync} from 'node:fs';
import {join} from 'node:path';
import {after, before, describe, it} from 'node:test';
import {pathToFileURL} from 'node:url';
import {gzipSync} from 'node:zlib';

import {kBrowsers, openPage, serve, show, textOf, until} from './browsers.mjs';

const kPage = process.env.QUELLARD_PAGE;
const {readWav, writeWav} = await import(pathToFileURL(join(kPage, 'wav.js')));

describe('The folder', () => {
  it('is small, and names no other place to load from', () => {
    const files = ['', 'wam'].flatMap((folder) =>
      readdirSync(join(kPage, folder), {withFileTypes: true})
        .filter((entry) => entry.isFile())
        .map(({name}) => join(folder, name)),
    );
    const contents = files.map((name) => [name, readFileSync(join(kPage, name))]);
    const size = contents.reduce((sum, [, bytes]) => sum + gzipSync(bytes).length, 0);
    assert.ok(size > 50000 && size < 400000, `${size} bytes`);
    for (const [name, bytes] of contents.filter(([name]) => /\.(js|html|css|json|webmanifest)$/.test(name))) {
      assert.doesNotMatch(String(bytes), /https?:\/\//, name);
    }
  });

  it('reads the WAV files that it writes', () => {
    const samples = [
      [0, 0.25, -0.5, 1.5, -1],
      [1, -1, 0.125, 0, 0.75],
    ].map((side) => Float64Array.from(side));
    const formats = {float: Infinity, double: Infinity, pcm24: 2 ** 23, pcm16: 2 ** 15};
    for (const [format, steps] of Object.entries(formats)) {
      const {rate, channels} = readWav(writeWav(samples, 44100, format));
      assert.equal(rate, 44100);
      const held = (x) => (steps === Infinity ? x : Math.min(x, 1 - 1 / steps));
      assert.deepEqual(
        channels.map((side) => [...side]),
        samples.map((side) => [...side].map(held)),
        format,
      );
    }
    const odd = writeWav([Float64Array.of(0.5)], 8000, 'pcm24');
    assert.equal(odd.byteLength, 48, 'an odd length is padded');
    assert.throws(() => readWav(odd.slice(0, 30)), /its header is damaged/);
  });
});

for (const [name, open] of Object.entries(kBrowsers)) {
  describe(`The page in ${name}`, {timeout: 120000}, () => {
    let server, browser, page;

    before(async () => {
      server = await serve();
      browser = await open();
      page = await openPage(browser, server.address);
    });
    after(async () => {
      await browser?.close();
      await server?.stop();
    });

    const click = (selector) => page.click(selector);
    const choose = (value) =>
      page.evaluate((to) => {
        const source = document.getElementById('source');
        source.value = to;
        source.dispatchEvent(new Event('change'));
      }, value);
    const isHeard = (what = 'it') =>
      until(`${what} is heard`, () => page.evaluate(() => quellard.view.levels.output > 0.01));
    const drop = (file, bytes) =>
      page.evaluate(
        ([called, contents]) => {
          const transfer = new DataTransfer();
          transfer.items.add(new File([new Uint8Array(contents)], called));
          dispatchEvent(new DragEvent('drop', {dataTransfer: transfer, cancelable: true}));
        },
        [file, [...new Uint8Array(bytes)]],
      );
    const sine = (rate, seconds) =>
      Float64Array.from({length: rate * seconds}, (_, i) => 0.5 * Math.sin((2 * Math.PI * 110 * i) / rate));

    it('plays each take, and stops', async () => {
      const takes = await page.evaluate(() => quellard.takes.map(({file}) => file));
      assert.equal(takes.length, 4);
      for (const take of takes) {
        await choose(take);
        if (take === takes[0]) await click('#play');
        const rate = await until('it is read', () =>
          page.evaluate((file) => quellard.recordings.get(file)?.rate, take),
        );
        assert.equal(rate, 44100, 'as it was recorded');
        await isHeard(take);
      }
      assert.equal(await textOf(page, '#play', /./), 'Stop');
      await click('#play');
      await textOf(page, '#play', /Play/);
      await textOf(page, '#problem', /^$/);
    });

    it('says that a suspended context holds the sound back, and goes on after a click', async () => {
      await click('#play');
      await isHeard();
      await page.evaluate(() => quellard.player.context.suspend());
      await textOf(page, '#message', /holds the sound back.* Click anywhere/);
      await click('h1');
      await textOf(page, '#message', /^$/);
      assert.equal(await page.evaluate(() => quellard.player.context.state), 'running');
      await click('#play');
    });

    it('plays a file that is dropped, at its own rate, and says why another cannot be played', async () => {
      await choose('file');
      await click('#play');
      await textOf(page, '#problem', /Choose a recording/);
      await drop('riff.wav', writeWav([sine(32000, 1)], 32000, 'pcm24'));
      await textOf(page, '#message', /riff.wav: 1.0 s at 32000 Hz/);
      await click('#play');
      await isHeard();
      await click('#play');
      const whole = new Uint8Array(writeWav([sine(32000, 1)], 32000, 'float'));
      const broken = [
        [
          'notes.txt',
          new TextEncoder().encode('no sound'),
          /notes.txt cannot be played: this browser knows no such/,
        ],
        ['cut.wav', whole.slice(0, 40), /cut.wav cannot be played: it has no samples/],
        [
          'empty.wav',
          writeWav([new Float64Array(0)], 32000, 'float'),
          /empty.wav cannot be played: it has no samples/,
        ],
        [
          'odd.wav',
          whole.map((x, i) => (i === 34 ? 12 : x)),
          /a WAV of type 3 with 12 bits cannot be read here/,
        ],
      ];
      for (const [file, bytes, message] of broken) {
        await drop(file, bytes);
        await textOf(page, '#problem', message);
      }
      await drop('riff.wav', writeWav([sine(32000, 1)], 32000, 'pcm16'));
      await textOf(page, '#problem', /^$/);
    });

    it('renders a WAV with all that it plays', async () => {
      await drop('riff.wav', writeWav([sine(8000, 1)], 8000, 'float'));
      await textOf(page, '#message', /riff.wav/);
      await page.evaluate(() => {
        window.saved = [];
        quellard.save = async (blob, called) => {
          window.saved.push([called, [...new Uint8Array(await blob.arrayBuffer())]]);
        };
      });
      for (const [format, size] of [
        ['float', 4],
        ['pcm24', 3],
        ['pcm16', 2],
      ]) {
        await page.evaluate((to) => {
          document.getElementById('format').value = to;
        }, format);
        await click('#render');
        await textOf(page, '#message', /3.0 s rendered in .* times real time/);
        const [called, bytes] = await until('a file', () => page.evaluate(() => window.saved.pop()));
        assert.equal(called, 'riff.wav');
        assert.equal(bytes.length, 44 + 3 * 8000 * size, 'a second, and two for the last chord');
        const {
          rate,
          channels: [samples],
        } = readWav(new Uint8Array(bytes).buffer);
        assert.equal(rate, 8000);
        assert.ok(samples.some((x) => Math.abs(x) > 0.05));
        await page.evaluate(() => {
          document.getElementById('message').textContent = '';
        });
      }
    });

    it('opens a shared sound as it was', async () => {
      const before = await page.evaluate(() => {
        const {face} = quellard;
        face.choosePreset(4);
        for (const [index, control] of [
          [6, 7.39],
          [19, 1],
          [9, 0.07],
          [22, -47.3],
        ]) {
          face.set(index, face.asValue(index, control));
        }
        return face.values();
      });
      await click('#share');
      await textOf(page, '#message', /link to this sound/);
      const address = await page.evaluate(() => location.href);
      assert.match(address, /#.*clean_gain=7\.39&.*channel=vintage&gate=-47\.3/);
      const other = await openPage(browser, `${server.address}?again#${address.split('#')[1]}`);
      assert.deepEqual(await other.evaluate(() => quellard.face.values()), before);
      await show(other, `${server.address}?wrong#channel=purple&clean_gain=4&nothing=1&gate=loud`);
      await textOf(other, '#problem', /no amplifier knows: channel=purple, nothing=1, gate=loud/);
      assert.equal(await other.evaluate(() => quellard.face.value(6)), Math.fround(0.4));
      await other.close();
    });

    it('keeps presets, also for other tabs', async () => {
      const type = async (text) => {
        await page.evaluate(() => {
          document.getElementById('preset-name').value = '';
        });
        await page.focus('#preset-name');
        await page.keyboard.type(text);
        await page.keyboard.press('Enter');
      };
      await page.evaluate(() => {
        localStorage.clear();
        quellard.showPresets();
        quellard.face.set(2, 0.123);
      });
      await type('   ');
      await textOf(page, '#problem', /needs a name/);
      const other = await openPage({newPage: () => browser.sibling(page)}, server.address);
      await type('Größe <b>');
      await textOf(page, '#message', /Größe <b> is saved/);
      const list = (of) =>
        of.evaluate(() =>
          quellard.face
            .presets()
            .filter(({isFactory}) => !isFactory)
            .map((preset) => preset.name),
        );
      assert.deepEqual(await list(page), ['Größe <b>']);
      await until('the other tab lists it', async () => (await list(other)).length === 1);
      await other.close();
      await show(page, `${server.address}?presets`);
      const value = await page.evaluate(() => {
        const {presetList} = quellard.view;
        presetList.value = [...presetList.options].find(({text}) => text === 'Größe <b>').value;
        presetList.dispatchEvent(new Event('change'));
        return quellard.face.value(2);
      });
      assert.equal(value, Math.fround(0.123));
      await click('#delete');
      await textOf(page, '#message', /is deleted/);
      assert.deepEqual(await list(page), []);
      await page.evaluate(() => {
        localStorage.setItem('quellard.presets', '[{"name": 3}, null, {"name": "a", "values": [[1]]}]');
      });
      await show(page, `${server.address}?damaged`);
      assert.deepEqual(await list(page), [], 'what is no preset is left out');
    });

    it('says why a denied microphone is not heard', async () => {
      await choose('input');
      await click('#play');
      await textOf(page, '#problem', /not allowed to listen/);
      assert.equal(await textOf(page, '#play', /./), 'Play');
    });

    it('works without a network after the first visit', async () => {
      await page.evaluate(() => navigator.serviceWorker.ready.then(() => null));
      await until('the page is kept', () =>
        page.evaluate(async () => {
          const names = await caches.keys();
          const kept = await Promise.all(
            names.map(async (cache) => (await (await caches.open(cache)).keys()).length),
          );
          return kept.some((count) => count > 20);
        }),
      );
      const outside = server.asked.length;
      await server.stop();
      await show(page, server.address);
      await click('#play');
      await isHeard('a take');
      assert.equal(server.asked.length, outside);
      server = null;
    });
  });

  describe(`The input in ${name}`, {timeout: 120000}, () => {
    it('is heard through the amplifier, untouched', async () => {
      const server = await serve();
      const browser = await open({microphone: true});
      try {
        const page = await openPage(browser, server.address, {microphone: true});
        await page.evaluate(() => {
          const ask = navigator.mediaDevices.getUserMedia.bind(navigator.mediaDevices);
          navigator.mediaDevices.getUserMedia = (wanted) => {
            window.asked = wanted.audio;
            return ask(wanted);
          };
          const source = document.getElementById('source');
          source.value = 'input';
          source.dispatchEvent(new Event('change'));
        });
        await page.click('#play');
        await until('it is heard', () => page.evaluate(() => quellard.view.levels.output > 0.001));
        const {echoCancellation, autoGainControl, noiseSuppression} = await page.evaluate(() => window.asked);
        assert.deepEqual([echoCancellation, autoGainControl, noiseSuppression], [false, false, false]);
        const settings = await page.evaluate(() => quellard.player.stream.getAudioTracks()[0].getSettings());
        assert.ok(!settings.echoCancellation && !settings.autoGainControl && !settings.noiseSuppression);
        const devices = await page.evaluate(() =>
          [...document.getElementById('device').options].map(({text, value}) => [text, value]),
        );
        assert.ok(devices.length >= 1 && devices.every(([text, value]) => text && value), `${devices}`);
        for (const [, device] of devices.slice(0, 2)) {
          for (const channel of ['1', 'both']) {
            await page.evaluate(
              ([deviceId, side]) => {
                document.getElementById('device').value = deviceId;
                document.getElementById('input-channel').value = side;
                document.getElementById('input-channel').dispatchEvent(new Event('change'));
              },
              [device, channel],
            );
            await until('it is the one that was chosen', () =>
              page.evaluate(
                (wanted) => window.asked.deviceId.exact === wanted && quellard.player.isPlaying,
                device,
              ),
            );
          }
        }
        await page.click('#play');
        assert.equal(await page.evaluate(() => quellard.player.stream), null, 'the input is let go');
      } finally {
        await browser.close();
        await server.stop();
      }
    });
  });
}
