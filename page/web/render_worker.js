// SPDX-License-Identifier: ISC
// Renders beside the page, in doubles: what the command renders, as fast as the machine goes.
import {loadCabinet} from './cabinet.js';
import {instantiate} from './module.js';

const kBlock = 512; // frames, as the command plays them
const kTellEvery = 64; // blocks

// One block from `begin` to the next move or the end, in place of the input.
function playBlock(amp, channels, begin, end) {
  channels.forEach((samples, side) => {
    const at = new Float64Array(amp.memory.buffer, amp.amp_doubles(side), kBlock);
    at.set(samples.subarray(begin, end));
  });
  amp.amp_play_doubles(end - begin);
  channels.forEach((samples, side) => {
    const at = new Float64Array(amp.memory.buffer, amp.amp_doubles(side), end - begin);
    samples.set(at, begin);
  });
}

// moves: [frame, parameter, value], in the order of time; those at 0 belong to the values.
function render({module, channels, rate, values, moves, cabinet}, tell) {
  const amp = instantiate(module);
  for (const [index, value] of values) amp.amp_set(index, value);
  if (!amp.amp_prepare(channels.length, rate, kBlock)) {
    throw new RangeError(`The amplifier cannot play ${channels.length} channels at ${rate} Hz.`);
  }
  if (cabinet?.length) loadCabinet(amp, cabinet);
  const frames = channels[0].length;
  let next = 0;
  let blocks = 0;
  for (let begin = 0; begin < frames; ) {
    for (; next < moves.length && moves[next][0] <= begin; ++next) {
      amp.amp_set(moves[next][1], moves[next][2]);
    }
    const nextMove = next < moves.length ? moves[next][0] : Infinity;
    const end = Math.min(begin + kBlock, nextMove, frames);
    playBlock(amp, channels, begin, end);
    begin = end;
    if (++blocks % kTellEvery === 0) tell(begin / frames);
  }
  return amp.memory.buffer.byteLength;
}

addEventListener('message', ({data}) => {
  try {
    const started = performance.now();
    const memory = render(data, (done) => postMessage({done}));
    const seconds = (performance.now() - started) / 1000;
    const {channels} = data;
    postMessage(
      {channels, seconds, memory},
      channels.map(({buffer}) => buffer),
    );
  } catch (error) {
    postMessage({error: error.message});
  }
});
