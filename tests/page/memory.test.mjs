// SPDX-License-Identifier: ISC
// JavaScript's memory in a long session: what the worklet and the face leave behind. Both run here
// as in a browser, whose worklets tell nobody what they hold.
import assert from 'node:assert/strict';
import {readFileSync} from 'node:fs';
import {join} from 'node:path';
import {describe, it} from 'node:test';
import {pathToFileURL} from 'node:url';
import {setFlagsFromString} from 'node:v8';
import {runInNewContext} from 'node:vm';

import {begin, kBrowsers} from './browsers.mjs';

const kPage = process.env.QUELLARD_PAGE;
const kRate = 24000;
const kFrames = 128;
const kMinutes = 10;

setFlagsFromString('--expose-gc');
const collect = runInNewContext('gc');
// Bytes in use behind a collection, which sometimes takes a second one.
function heldHere() {
  collect();
  collect();
  const {heapUsed, external, arrayBuffers} = process.memoryUsage();
  return heapUsed + external + arrayBuffers;
}

describe('Memory', {timeout: 300000}, () => {
  it('stands still while the worklet plays ten minutes, with moves and changes of the cabinet', async () => {
    const told = [];
    const port = {postMessage: (levels) => told.push(structuredClone(levels)) > 8 && told.shift()};
    const made = {};
    Object.assign(globalThis, {
      AudioWorkletProcessor: class {
        port = port;
      },
      registerProcessor: (_, type) => Object.assign(made, {type}),
      sampleRate: kRate,
      currentTime: 0,
    });
    await import(pathToFileURL(join(kPage, 'amp_processor.js')));
    const module = readFileSync(join(kPage, 'quellard.wasm'));
    const amp = new made.type({processorOptions: {module, values: [[19, 1]]}});
    const input = Float32Array.from({length: kFrames}, (_, i) => 0.1 * Math.sin(i / 5));
    const output = new Float32Array(kFrames);
    const cabinet = Float64Array.from({length: 4800}, (_, i) => Math.exp(-i / 200) / 20);
    let blocks = 0;
    const playMinutes = (minutes) => {
      const end = blocks + (60 * minutes * kRate) / kFrames;
      for (; blocks < end; ++blocks) {
        globalThis.currentTime = (blocks * kFrames) / kRate;
        if (blocks % 100 === 0) {
          const values = [
            [19, (blocks % 3) / 2],
            [18, (blocks % 101) / 101],
          ];
          port.onmessage({data: {time: globalThis.currentTime + 0.1, values}});
        }
        if (blocks % 200 === 0)
          port.onmessage({data: {cabinet: blocks % 400 ? cabinet : new Float64Array()}});
        amp.process([[input]], [[output]]);
      }
      return {held: heldHere(), module: told.at(-1).memory};
    };
    playMinutes(0.5);
    const first = playMinutes(0.5);
    const last = playMinutes(kMinutes - 1);
    assert.ok(output.some((x) => Math.abs(x) > 0.001));
    assert.equal(last.module, first.module);
    // A byte a block.
    assert.ok(last.held - first.held < 100000, `${last.held - first.held} bytes more`);
    console.log(`the worklet: ${last.held - first.held} bytes more after nine minutes`);
  });

  it('stands still while the page shows meters and moves', async () => {
    const {page, end} = await begin(kBrowsers.chromium);
    try {
      const session = await page.context().newCDPSession(page);
      const held = async () => {
        await session.send('HeapProfiler.collectGarbage');
        return (await session.send('Runtime.getHeapUsage')).usedSize;
      };
      const work = (times) =>
        page.evaluate((count) => {
          const {face, view, player} = quellard;
          for (let i = 0; i < count; ++i) {
            player.tell('levels', {
              input: (i % 97) / 97,
              output: (i % 89) / 60,
              gateIsOpen: i % 7 > 0,
              held: i % 3,
            });
            view.moveTo(18, (i % 101) / 101);
            if (i % 50 === 0) face.choosePreset((i / 50) % 12);
            view.update(view.updatedAt + 33);
          }
        }, times);
      await work(300);
      const before = await held();
      await work(3000);
      const more = (await held()) - before;
      assert.ok(more < 100000, `${more} bytes more`);
      console.log(`the page: ${more} bytes more after 3000 pictures`);
    } finally {
      await end();
    }
  });
});
