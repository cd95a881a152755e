// SPDX-License-Identifier: ISC
// The Web Audio Module in a host that knows nothing of the page.
import assert from 'node:assert/strict';
import {after, before, describe, it} from 'node:test';

import {begin, kBrowsers, until} from './browsers.mjs';

const kHost = '<!DOCTYPE html><title>Host</title><button id="start">Start</button><div id="place"></div>';

for (const [name, open] of Object.entries(kBrowsers)) {
  describe(`The Web Audio Module in ${name}`, {timeout: 120000}, () => {
    let page, end;

    before(async () => {
      const begun = await begin(open);
      ({page, end} = begun);
      const {server} = begun;
      server.files.set('/host.html', kHost);
      await page.goto(`${server.address}host.html`);
      await page.click('#start');
      await page.evaluate(async () => {
        const at = (file) => new URL(file, document.baseURI).href;
        const {initializeWamHost} = await import(at('wam/sdk.js'));
        const {default: Module} = await import(at('wam/index.js'));
        const context = new AudioContext();
        await context.resume();
        const [group] = await initializeWamHost(context);
        window.make = (state) => Module.createInstance(group, context, state);
        window.wam = await window.make();
        const {audioNode} = window.wam;
        const guitar = new OscillatorNode(context, {frequency: 110});
        window.levels = {output: 0};
        audioNode.onLevels.add((levels) => {
          window.levels = levels;
        });
        guitar
          .connect(new GainNode(context, {gain: 0.2}))
          .connect(audioNode)
          .connect(context.destination);
        guitar.start();
      });
    });
    after(() => end?.());

    const valuesOf = () =>
      page.evaluate(async () => {
        const values = await window.wam.audioNode.getParameterValues(false);
        return Object.fromEntries(Object.values(values).map(({id, value}) => [id, value]));
      });
    const levelIs = (what, isSo) =>
      until(what, async () => isSo(await page.evaluate(() => window.levels.output)));

    it('describes itself and its 23 parameters', async () => {
      const [descriptor, parameters] = await page.evaluate(async () => [
        window.wam.descriptor,
        await window.wam.audioNode.getParameterInfo(),
      ]);
      assert.equal(descriptor.name, 'Quellard');
      assert.equal(descriptor.hasAudioInput, true);
      assert.equal(Object.keys(parameters).length, 23);
      const {label, minValue, maxValue, defaultValue} = parameters.vintage_gain;
      assert.deepEqual([label, minValue, maxValue, defaultValue], ['Vintage Gain', 0, 10, 5]);
      assert.deepEqual(parameters.channel.choices, ['clean', 'vintage', 'modern']);
      assert.deepEqual([parameters.gate.minValue, parameters.gate.defaultValue], [-81, -81]);
    });

    it('plays, and follows values and events of its host', async () => {
      await levelIs('it is heard', (peak) => peak > 0.05);
      await page.evaluate(() =>
        window.wam.audioNode.setParameterValues({
          modern_master: {id: 'modern_master', value: 0, normalized: false},
        }),
      );
      await levelIs('MASTER at 0 is silent', (peak) => peak < 0.001);
      await page.evaluate(() =>
        window.wam.audioNode.scheduleEvents({
          type: 'wam-automation',
          time: window.wam.audioContext.currentTime + 0.1,
          data: {id: 'channel', value: 0, normalized: false},
        }),
      );
      await levelIs('CLEAN is heard', (peak) => peak > 0.01);
      assert.equal((await valuesOf()).channel, 0);
      // What is above full scale, the host's other effects may bring down again.
      await page.evaluate(async () => {
        const {audioNode, audioContext} = window.wam;
        window.analyser = new AnalyserNode(audioContext);
        audioNode.connect(window.analyser);
        await audioNode.setParameterValues({output: {id: 'output', value: 24, normalized: false}});
      });
      await until('it is not held at full scale', () =>
        page.evaluate(() => {
          const samples = new Float32Array(window.analyser.fftSize);
          window.analyser.getFloatTimeDomainData(samples);
          return Math.max(...samples) > 1.5;
        }),
      );
      await page.evaluate(() =>
        window.wam.audioNode.setParameterValues({output: {id: 'output', value: 0, normalized: false}}),
      );
    });

    it('gives its state to another one', async () => {
      const other = await page.evaluate(async () => {
        const {audioNode} = window.wam;
        await audioNode.setParameterValues({clean_bass: {id: 'clean_bass', value: 7.25, normalized: false}});
        const second = await window.make(await audioNode.getState());
        const values = await second.audioNode.getParameterValues(false);
        second.audioNode.destroy();
        return [values.clean_bass.value, values.channel.value];
      });
      assert.deepEqual(other, [7.25, 0]);
    });

    it('shows its face, which moves it and follows it', async () => {
      await page.evaluate(async () => {
        window.gui = await window.wam.createGui();
        window.gui.style.width = '960px';
        document.getElementById('place').append(window.gui);
      });
      const knob = (act) =>
        page.evaluate((what) => {
          const shown = window.gui.shadowRoot.querySelector('[aria-label="Clean Treble"]');
          if (what === 'focus') shown.focus();
          return shown.ariaValueText;
        }, act);
      await until('the face is as wide as its host wants', () =>
        page.evaluate(() => window.gui.shadowRoot.querySelector('canvas').width === 960),
      );
      await knob('focus');
      await page.keyboard.press('PageUp');
      assert.equal(await knob(), '6.00');
      await until('the amplifier has it', async () => (await valuesOf()).clean_treble === 6);
      await page.evaluate(() =>
        window.wam.audioNode.setParameterValues({
          clean_treble: {id: 'clean_treble', value: 2.5, normalized: false},
        }),
      );
      await until('the face has it', async () => (await knob()) === '2.50');
      await page.evaluate(() => window.wam.destroyGui(window.gui));
    });
  });
}
