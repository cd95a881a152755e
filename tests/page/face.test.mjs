// SPDX-License-Identifier: ISC
// The face in each browser: its picture, and every control by mouse, wheel and keyboard.
import assert from 'node:assert/strict';
import {execFileSync} from 'node:child_process';
import {mkdtempSync, readFileSync} from 'node:fs';
import {tmpdir} from 'node:os';
import {join} from 'node:path';
import {after, before, beforeEach, describe, it} from 'node:test';

import {begin, kBrowsers, show} from './browsers.mjs';

const kSelector = 19;
const kBypass = 20;

for (const [name, open] of Object.entries(kBrowsers)) {
  describe(`The face in ${name}`, {timeout: 300000}, () => {
    let server, page, end, controls;

    before(async () => {
      ({server, page, end} = await begin(open));
    });
    after(() => end?.());
    beforeEach(async () => {
      await show(page, `${server.address}?${Math.random()}`);
      // Each with its middle on the screen.
      controls = await page.evaluate(() => {
        const {left, top, width} = quellard.view.canvas.getBoundingClientRect();
        const scale = width / 960;
        return quellard.face.controls.map((control) => ({
          ...control,
          middle: [
            left + scale * (control.x + control.width / 2),
            top + scale * (control.y + control.height / 2),
          ],
        }));
      });
    });

    const valueAt = (index) => page.evaluate((i) => quellard.face.value(i), index);
    const shown = (place) =>
      page.evaluate((i) => {
        const {value, checked, ariaValueText, ariaPressed} = quellard.view.elements[i];
        return {value, checked, text: ariaValueText, pressed: ariaPressed};
      }, place);
    const ofKind = (kind) => controls.filter((control) => control.kind === kind);
    const click = ({middle: [x, y]}) => page.mouse.click(x, y);
    const focusOn = (place) => page.evaluate((i) => quellard.view.elements[i].focus(), place);
    // What would be sent to the amplifier.
    const recordMoves = () =>
      page.evaluate(() => {
        window.moves = [];
        quellard.player.move = (values) => window.moves.push(...values);
      });

    it('is the picture that the command draws', async () => {
      const file = join(mkdtempSync(join(tmpdir(), 'quellard-')), 'face.png');
      const scale = 1.25;
      const settings = ['--preset', 'Blues Lead', ...'--bass 7.25 --gate -60 --cab 4x12.wav'.split(' ')];
      execFileSync(process.env.QUELLARD_COMMAND, ['face', '-o', file, '--scale', String(scale), ...settings]);
      server.files.set('/native.png', readFileSync(file));
      const difference = await page.evaluate(
        async ([factor, lead]) => {
          const {face, view} = quellard;
          face.choosePreset(face.presets().findIndex((preset) => preset.name === lead));
          face.set(8, face.asValue(8, 7.25));
          face.set(22, face.asValue(22, -60));
          face.showCabinet('4x12');
          document.getElementById('face').style.width = `${960 * factor}px`;
          document.querySelector('main').style.maxWidth = 'none';
          await new Promise((resolve) => {
            setTimeout(resolve, 300);
          });
          view.afterHand();
          const native = await createImageBitmap(await (await fetch('native.png')).blob());
          const canvas = new OffscreenCanvas(native.width, native.height);
          const context = canvas.getContext('2d');
          context.drawImage(native, 0, 0);
          const read = (from, {width, height}) => from.getImageData(0, 0, width, height).data;
          const [a, b] = [read(context, native), read(view.context, view.canvas)];
          if (a.length !== b.length) return `${native.width} ${view.canvas.width}`;
          // A page is resized by its browser: where a window has its grip, it has the ground.
          const isGrip = (pixel) =>
            pixel % native.width >= 938 * factor && pixel / native.width >= 578 * factor;
          return a.reduce((most, x, i) => (isGrip(i >> 2) ? most : Math.max(most, Math.abs(x - b[i]))), 0);
        },
        [scale, 'Blues Lead'],
      );
      assert.ok(difference <= 1, `the largest difference of a colour is ${difference}`);
    });

    it('turns every knob by mouse, wheel and double-click', async () => {
      await recordMoves();
      for (const knob of ofKind('knob')) {
        const [x, y] = knob.middle;
        const neutral = await valueAt(knob.parameter);
        await page.mouse.move(x, y);
        await page.mouse.down();
        await page.mouse.move(x, y - 30, {steps: 3});
        await page.mouse.up();
        const dragged = await valueAt(knob.parameter);
        assert.ok(dragged > neutral + 0.05, `${knob.parameter} was dragged to ${dragged}`);
        await page.mouse.move(x, y);
        await (name === 'firefox' ? page.mouse.wheel({deltaY: 100}) : page.mouse.wheel(0, 100));
        let turned = dragged;
        for (let i = 0; i < 40 && turned === dragged; ++i) turned = await valueAt(knob.parameter);
        assert.ok(turned < dragged, `${knob.parameter} was turned by the wheel to ${turned}`);
        await page.mouse.click(x, y, name === 'firefox' ? {count: 2} : {clickCount: 2});
        assert.equal(await valueAt(knob.parameter), neutral, 'a double-click takes the default');
        const moves = await page.evaluate(() => window.moves.splice(0));
        assert.ok(moves.some(([index, value]) => index === knob.parameter && value === dragged));
        assert.deepEqual(moves.at(-1), [knob.parameter, neutral]);
      }
    });

    it('turns every knob by keys, and says so to screen readers', async () => {
      for (const knob of ofKind('knob')) {
        await focusOn(knob.place);
        const neutral = await valueAt(knob.parameter);
        await page.keyboard.press('End');
        assert.equal(await valueAt(knob.parameter), 1);
        await page.keyboard.press('ArrowDown');
        await page.keyboard.press('PageDown');
        // What the keys lead to, and what comes of a typed value, which is held within the range.
        const [expected, typed, taken] = {
          21: ['18.5 dB', '-40.5', '-24.0 dB'],
          22: ['-35.5 dB', '-40.5', '-40.5 dB'],
          23: ['18.5 dB', '-40.5', '-24.0 dB'],
        }[knob.parameter] ?? ['8.90', '3,25', '3.25'];
        assert.equal((await shown(knob.place)).text, expected);
        assert.equal(Number((await shown(knob.place)).value), parseFloat(expected));
        await page.keyboard.press('Home');
        assert.equal(await valueAt(knob.parameter), 0);
        await page.keyboard.type(typed);
        await page.keyboard.press('Enter');
        assert.equal((await shown(knob.place)).text, taken);
        await page.keyboard.press('Delete');
        assert.equal(await valueAt(knob.parameter), neutral);
      }
    });

    it('chooses channels, presets and the bypass by mouse', async () => {
      for (const channel of ofKind('channel')) {
        await click(channel);
        assert.equal(await valueAt(kSelector), channel.channel / 2);
        assert.equal((await shown(channel.place)).checked, true);
      }
      const [bypass] = ofKind('bypass');
      await click(bypass);
      assert.equal(await valueAt(kBypass), 1);
      assert.equal((await shown(bypass.place)).pressed, 'true');
      await click(bypass);
      assert.equal(await valueAt(kBypass), 0);
      await click(ofKind('nextPreset')[0]);
      assert.equal(await page.evaluate(() => quellard.face.preset), 1);
      await click(ofKind('previousPreset')[0]);
      assert.equal(await page.evaluate(() => quellard.face.preset), 0);
      await click(ofKind('presetName')[0]);
      assert.equal(await page.evaluate(() => quellard.face.menuIsOpen), true);
      await page.keyboard.press('ArrowDown');
      await page.keyboard.press('Enter');
      assert.equal(await page.evaluate(() => quellard.face.menuIsOpen), false);
      assert.equal(await page.evaluate(() => quellard.face.preset), 1);
    });

    it('is reached by Tab alone, and every button answers', async () => {
      await page.evaluate(() => document.getElementById('cabinet').focus());
      const reached = [];
      for (let i = 0; i < controls.length; ++i) {
        await page.keyboard.press('Tab');
        const place = await page.evaluate(() => quellard.view.elements.indexOf(document.activeElement));
        if (place < 0) break;
        reached.push(place);
        assert.equal(await page.evaluate(() => quellard.face.focus), place, 'the face shows the focus');
      }
      // Of the three channels, which are one choice, the one that sounds.
      const all = controls.filter(({kind, channel}) => kind !== 'channel' || channel === 2);
      assert.deepEqual(
        reached,
        all.map(({place}) => place),
      );

      await focusOn(ofKind('channel')[2].place);
      await page.keyboard.press('ArrowUp');
      assert.equal(await valueAt(kSelector), 0.5);
      assert.equal(
        await page.evaluate(() => quellard.view.elements.indexOf(document.activeElement)),
        ofKind('channel')[1].place,
      );
      await focusOn(ofKind('bypass')[0].place);
      await page.keyboard.press(' ');
      assert.equal(await valueAt(kBypass), 1);
      await page.keyboard.press('Enter');
      assert.equal(await valueAt(kBypass), 0);
      await focusOn(ofKind('nextPreset')[0].place);
      await page.keyboard.press(' ');
      const chosen = await page.evaluate(() => quellard.face.preset);
      await focusOn(ofKind('presetName')[0].place);
      await page.keyboard.press('ArrowDown');
      assert.equal(await page.evaluate(() => quellard.face.preset), chosen + 1);
      assert.equal((await shown(ofKind('presetName')[0].place)).value, String(chosen + 1));
    });

    it('gives every control a name and a place, and answers assistive programs', async () => {
      const names = await page.evaluate(() => quellard.view.elements.map((element) => element.ariaLabel));
      assert.ok(names.every((label) => label.length > 3));
      assert.equal(new Set(names).size, names.length, 'no two have the same');
      const after = await page.evaluate(() => {
        const {elements} = quellard.view;
        const [knob, bypass, radio] = [
          ['knob', 0],
          ['bypass', 0],
          ['channel', 0],
        ].map(([kind]) => elements[quellard.face.controls.findIndex((control) => control.kind === kind)]);
        knob.value = 7.5;
        knob.dispatchEvent(new Event('input'));
        radio.click();
        bypass.click();
        return [knob.ariaLabel, knob.ariaValueText, bypass.ariaPressed, quellard.face.value(19)];
      });
      assert.deepEqual(after, ['Clean Gain', '7.50', 'true', 0]);
    });

    it('forgets peaks where a meter is clicked', async () => {
      for (const [kind, isOutput] of [
        ['inputMeter', false],
        ['outputMeter', true],
      ]) {
        await page.evaluate(() => {
          quellard.view.levels = {input: 0.5, output: 1.5, gateIsOpen: true};
          quellard.view.update(performance.now());
          quellard.view.levels = {input: 0, output: 0, gateIsOpen: true};
        });
        const text = () => page.evaluate((output) => quellard.face.levelText(output), isOutput);
        assert.equal(await text(), isOutput ? '3.5 dBFS' : '-6.0 dBFS');
        await click(ofKind(kind)[0]);
        assert.equal(await text(), 'silent');
      }
      assert.equal(await page.evaluate(() => quellard.face.module.face_is_clipped()), 0);
    });
  });
}
