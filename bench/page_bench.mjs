// SPDX-License-Identifier: ISC
// Nanoseconds a sample of each channel in WebAssembly, in blocks as an audio worklet plays them.
// node bench/page_bench.mjs, after scripts/page
import {readFileSync} from 'node:fs';

const {instantiate} = await import('../out/page/module.js');
const kRate = 48000;
const kFrames = 128;
const kSelector = 19;
const kTurns = 60; // the fastest counts: on a shared machine others take their share

const module = readFileSync(new URL('../out/page/quellard.wasm', import.meta.url));

function nanoseconds(amp, seconds) {
  const samples = new Float32Array(amp.memory.buffer, amp.amp_floats(0), kFrames);
  const blocks = Math.ceil((seconds * kRate) / kFrames);
  let noise = 1;
  const begun = performance.now();
  for (let block = 0; block < blocks; ++block) {
    for (let i = 0; i < kFrames; ++i) {
      noise = (noise * 16807) % 2147483647;
      samples[i] = noise / 2147483647 - 0.5;
    }
    amp.amp_play_floats(kFrames);
  }
  return ((performance.now() - begun) * 1e6) / (blocks * kFrames);
}

for (const [channel, name] of ['CLEAN', 'VINTAGE', 'MODERN'].entries()) {
  const amp = instantiate(module);
  amp.amp_set(kSelector, channel / 2);
  amp.amp_prepare(1, kRate, kFrames);
  const best = Math.min(...Array.from({length: kTurns}, () => nanoseconds(amp, 0.25)));
  console.log(`${name}: ${best.toFixed(0)} ns a sample, ${(1e9 / kRate / best).toFixed(0)} times real time`);
}
