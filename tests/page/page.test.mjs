// SPDX-License-Identifier: ISC
// What stands around the amplifier: sources, files, links, presets, no network, and what goes wrong.
import assert from 'node:assert/strict';
import {readdirSync, readFileSync} from 'node:fs';
import {join} from 'node:path';
import {after, before, describe, it} from 'node:test';
import {pathToFileURL} from 'node:url';
import {gzipSync} from 'node:zlib';

import {begin, kBrowsers, openPage, show, textOf, until} from './browsers.mjs';

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
    let server, browser, page, end;

    before(async () => {
      ({server, browser, page, end} = await begin(open));
    });
    after(() => end?.());

    const click = (selector) => page.click(selector);
    const choose = (value, list = 'source') =>
      page.evaluate(
        ([to, of]) => {
          const select = document.getElementById(of);
          select.value = to;
          select.dispatchEvent(new Event('change'));
        },
        [value, list],
      );
    const isHeard = (what = 'it') =>
      until(`${what} is heard`, () => page.evaluate(() => quellard.view.levels.output > 0.01));
    const drop = (file, bytes, onto = 'h1') =>
      page.evaluate(
        ([called, contents, place]) => {
          const transfer = new DataTransfer();
          transfer.items.add(new File([bytesOf(contents)], called));
          const event = new DragEvent('drop', {dataTransfer: transfer, bubbles: true, cancelable: true});
          document.querySelector(place).dispatchEvent(event);
        },
        [file, Buffer.from(bytes).toString('base64'), onto],
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
      const late = await page.evaluate(async () => {
        const {player} = quellard;
        const asked = player.playRecording(quellard.recording(), true);
        player.stop();
        await asked;
        return player.isPlaying;
      });
      assert.equal(late, false, 'what is ready after the stop stays silent');
      await click('#play');
      await isHeard();
      await page.evaluate(() => quellard.view.moveTo(23, 1));
      await until('it is said to be above full scale', () =>
        page.evaluate(
          () => !document.getElementById('held').hidden && quellard.face.module.face_is_clipped(),
        ),
      );
      await page.evaluate(() => quellard.view.moveTo(23, 0.5));
      await until('it is over', () => page.evaluate(() => document.getElementById('held').hidden));
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
      // Where there was no click, resume() waits for one without an end.
      await page.evaluate(async () => {
        const {context} = quellard.player;
        await context.suspend();
        context.resume = () => new Promise(() => {});
        document.getElementById('play').click();
      });
      await textOf(page, '#message', /holds the sound back/);
      await page.evaluate(() => delete quellard.player.context.resume);
      await click('h1');
      await isHeard();
      await textOf(page, '#message', /^$/);
      await click('#play');
    });

    it('plays a file that is dropped, at its own rate, and says why another cannot be played', async () => {
      await choose('file');
      await click('#play');
      await textOf(page, '#problem', /Choose a recording/);
      await drop('riff.wav', writeWav([sine(32000, 1), new Float64Array(32000)], 32000, 'pcm24'));
      await textOf(page, '#message', /riff.wav: 1.0 s at 32000 Hz/);
      const peak = await page.evaluate(() => Math.max(...quellard.recordings.get('own:riff.wav').samples));
      assert.ok(Math.abs(peak - 0.25) < 0.001, `the mean of both sides reaches ${peak}`);
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
      await drop('slow.wav', writeWav([sine(100, 1)], 100, 'float'));
      await textOf(page, '#message', /slow.wav: 1.0 s at 100 Hz/);
      await click('#play');
      await textOf(page, '#problem', /slow.wav has 100 Hz, which this browser only renders/);
      await drop('riff.wav', writeWav([sine(32000, 1)], 32000, 'pcm16'));
      await textOf(page, '#problem', /^$/);
    });

    it('plays through a cabinet that is dropped on their list, or says why it cannot', async () => {
      const response = Float64Array.from({length: 480}, (_, i) => Math.exp(-i / 20));
      for (const [samples, message] of [
        [new Float64Array(480), /4x12 is no cabinet: nothing is heard/],
        [response.map((x, i) => (i === 9 ? NaN : x)), /4x12 is no cabinet/],
      ]) {
        await drop('4x12.wav', writeWav([samples], 48000, 'float'), '#cabinet');
        await textOf(page, '#problem', message);
      }
      await drop('4x12.wav', writeWav([response], 48000, 'float'), '#cabinet');
      await textOf(page, '#message', /plays through 4x12/);
      await textOf(page, '#problem', /^$/);
      await click('#play');
      await isHeard();
      await show(page, `${server.address}?cabinet`);
      assert.equal(await page.evaluate(() => quellard.player.cabinet.name), '4x12', 'it is kept');
      await choose('none', 'cabinet');
      await until('it is gone', () => page.evaluate(() => quellard.player.cabinet === null));
      await until('so it is for the next visit', async () => {
        await show(page, `${server.address}?none`);
        return page.evaluate(() => quellard.player.cabinet === null);
      });
    });

    it('renders a WAV with all that it plays', async () => {
      await drop('riff.wav', writeWav([sine(8000, 1)], 8000, 'float'));
      await textOf(page, '#message', /riff.wav/);
      await page.evaluate(() => {
        window.saved = [];
        quellard.save = async (blob, called) => {
          window.saved.push([called, await base64Of(blob)]);
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
        const [called, contents] = await until('a file', () => page.evaluate(() => window.saved.pop()));
        const bytes = Uint8Array.from(Buffer.from(contents, 'base64'));
        assert.equal(called, 'riff.wav');
        assert.equal(bytes.length, 44 + 3 * 8000 * size, 'a second, and two for the last chord');
        const {
          rate,
          channels: [samples],
        } = readWav(bytes.buffer);
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
      await other.evaluate(() => quellard.face.set(6, 0.25));
      const changed = await other.evaluate(() => quellard.face.values());
      await show(other, `${server.address}?away`);
      assert.notDeepEqual(await other.evaluate(() => quellard.face.values()), changed);
      await show(other, `${server.address}?again#${address.split('#')[1]}`);
      await other.evaluate(() => quellard.face.set(6, 0.25));
      await other.reload();
      await show(other);
      assert.deepEqual(
        await other.evaluate(() => quellard.face.values()),
        changed,
        'loaded again, it goes on',
      );
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

    it('says that the face has stopped', async () => {
      const other = await openPage(browser, `${server.address}?stops`);
      // A place beyond the module's memory.
      await other.evaluate(() => setTimeout(() => quellard.face.module.face_preset_name(-1000000000)));
      await textOf(other, '#problem', /has stopped. Load the page again/);
      await other.close();
    });

    it('says why a denied microphone is not heard', async () => {
      await choose('input');
      await click('#play');
      await textOf(page, '#problem', /not allowed to listen/);
      assert.equal(await textOf(page, '#play', /./), 'Play');
    });

    it('changes to another version when no tab shows the old one, and works without a network', async () => {
      const keptFiles = () =>
        page.evaluate(async () => {
          const names = (await caches.keys()).filter((cache) =>
            cache.includes(new URL('./', document.baseURI)),
          );
          return Promise.all(names.map(async (cache) => (await (await caches.open(cache)).keys()).length));
        });
      await until('the page is kept', async () => (await keptFiles())[0] > 20);
      await show(page, server.address); // the first visit was without the worker
      const changed = (file, from, to) => readFileSync(join(kPage, file), 'utf8').replace(from, to);
      const title = ['<title>Quellard', '<title>Another'];
      for (const file of ['', 'index.html']) server.files.set(`/${file}`, changed('index.html', ...title));
      const worker = changed('service_worker.js', /kVersion = '\w+'/, "kVersion = 'another'");
      server.files.set('/service_worker.js', worker);
      await page.evaluate(async () => (await navigator.serviceWorker.ready).update().then(() => null));
      await until('the new version waits', () =>
        page.evaluate(async () => Boolean((await navigator.serviceWorker.ready).waiting)),
      );
      await show(page, server.address);
      assert.equal(await page.title(), 'Quellard', 'a tab that is open keeps its version');
      await until('the new version is there', async () => {
        const next = await browser.sibling(page);
        await page.close();
        page = next;
        // Chromium, driven, may never finish a page that it opens while it changes workers.
        await new Promise((resolve) => setTimeout(resolve, 1500));
        await show(page, server.address);
        return (await page.title()) === 'Another';
      });
      await until('the old one is away', async () => (await keptFiles()).length === 1);
      const outside = server.asked.length;
      await server.stop();
      await show(page, server.address);
      await click('#play');
      await isHeard('a take');
      assert.equal(server.asked.length, outside);
    });
  });

  describe(`The input in ${name}`, {timeout: 120000}, () => {
    it('is heard through the amplifier, untouched', async () => {
      const {page, end} = await begin(open, {microphone: true});
      try {
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
        const letGo = () => page.evaluate(() => window.track.readyState === 'ended');
        const play = async () => {
          await page.click('#play');
          await until('it plays', () => page.evaluate(() => quellard.player.isPlaying));
          await page.evaluate(() => {
            [window.track] = quellard.player.stream.getAudioTracks();
          });
        };
        await page.click('#play');
        await play();
        await page.click('#play');
        await until('the input is let go', letGo);
        await textOf(page, '#problem', /^$/);
        await play();
        await page.evaluate(() => window.track.dispatchEvent(new Event('ended'))); // as when it is unplugged
        await textOf(page, '#problem', /The interface has gone/);
        assert.equal(await textOf(page, '#play', /./), 'Play');
      } finally {
        await end();
      }
    });
  });
}
