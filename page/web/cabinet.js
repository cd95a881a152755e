// SPDX-License-Identifier: ISC
// A loudspeaker behind the amplifier, from the recording of what it makes of one click.
import {instantiateLater} from './module.js';
import {readRecording} from './recording.js';

// A second of it is played, and the resampler looks ahead.
const kRead_s = 1.1;

// {name, rate, samples}, at the rate that the file has. Throws an Error with a reason for people.
export async function readCabinet(module, name, bytes) {
  const {rate, samples} = await readRecording(name, bytes);
  const read = samples.slice(0, Math.ceil(kRead_s * rate));
  const cabinet = {name: name.replace(/\.[^.]*$/, ''), rate, samples: read};
  await preparedCabinet(module, cabinet, rate);
  return cabinet;
}

function put(amp, samples) {
  const at = amp.cabinet_room(samples.length); // which may move the memory
  new Float64Array(amp.memory.buffer, at, samples.length).set(samples);
}

// Its response at the rate of the amplifier, as loud as no cabinet; without samples for null. Takes
// a moment, so it is not for an audio worklet.
export async function preparedCabinet(module, cabinet, rate) {
  if (!cabinet) return new Float64Array();
  const amp = await instantiateLater(module); // of its own: it stops where there is nothing to hear
  try {
    if (!cabinet.samples.every(Number.isFinite)) throw new RangeError('samples that are not finite');
    put(amp, cabinet.samples);
    const frames = amp.cabinet_prepare(cabinet.rate, rate);
    return new Float64Array(amp.memory.buffer, amp.cabinet_room(frames), frames).slice();
  } catch (error) {
    throw new Error(`${cabinet.name} is no cabinet: nothing is heard of it within a second.`, {cause: error});
  }
}

// response: of preparedCabinet(). What plays changes over to it in 20 ms.
export function loadCabinet(amp, response) {
  put(amp, response);
  amp.amp_load_cabinet();
}

// The browser keeps the one that was chosen last, until the page is visited again.
const kStore = 'quellard-cabinet';
const kEntry = 'cabinet';

export async function keepCabinet(cabinet) {
  try {
    if (!cabinet) return await caches.delete(kStore);
    const {name, rate, samples} = cabinet;
    const headers = {'X-Cabinet': encodeURIComponent(JSON.stringify({name, rate}))};
    await (await caches.open(kStore)).put(kEntry, new Response(samples, {headers}));
  } catch {} // a store that is full, or closed to the page
}

// Null where there is none.
export async function keptCabinet() {
  try {
    const kept = await (await caches.open(kStore)).match(kEntry);
    const {name, rate} = JSON.parse(decodeURIComponent(kept.headers.get('X-Cabinet')));
    return {name, rate, samples: new Float64Array(await kept.arrayBuffer())};
  } catch {
    return null;
  }
}
