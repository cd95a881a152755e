// SPDX-License-Identifier: ISC
// Recordings of guitars: {name, rate, samples}, at the rate that the file has. One amplifier plays
// the mean of the channels: a take recorded on both sides drives it as hard as one side does.
import {isWav, readWav} from './wav.js';

const kUsualRate = 48000;

// Browsers bring what they decode to the rate of a context: one with the file's own leaves it.
function rateOf(bytes) {
  const view = new DataView(bytes);
  const isFlac = view.byteLength > 22 && view.getUint32(0) === 0x664c6143; // "fLaC"
  return isFlac ? view.getUint32(18) >>> 12 : kUsualRate;
}

async function decode(bytes) {
  const context = new OfflineAudioContext(1, 1, rateOf(bytes));
  const buffer = await context.decodeAudioData(bytes).catch(() => {
    throw new Error('this browser knows no such sound');
  });
  const channels = Array.from({length: buffer.numberOfChannels}, (_, i) => buffer.getChannelData(i));
  return {rate: buffer.sampleRate, channels};
}

function mixDown(channels) {
  if (channels.length === 1) return Float64Array.from(channels[0]);
  const mean = new Float64Array(channels[0].length);
  for (const samples of channels) {
    for (let i = 0; i < mean.length; ++i) mean[i] += samples[i];
  }
  return mean.map((sum) => sum / channels.length);
}

// Throws an Error with a reason for people.
export async function readRecording(name, bytes) {
  try {
    const {rate, channels} = isWav(bytes) ? readWav(bytes) : await decode(bytes);
    if (!channels[0].length) throw new Error('it has no samples');
    return {name, rate, samples: mixDown(channels)};
  } catch (error) {
    const reason = error instanceof RangeError ? 'it is too long for this browser' : error.message;
    throw new Error(`${name} cannot be played: ${reason}.`, {cause: error});
  }
}

// Throws an Error where the browser does not play at its rate.
export function asAudioBuffer({name, rate, samples}) {
  try {
    const buffer = new AudioBuffer({length: samples.length, sampleRate: rate, numberOfChannels: 1});
    buffer.copyToChannel(new Float32Array(samples), 0);
    return buffer;
  } catch (error) {
    throw new Error(`${name} has ${rate} Hz, which this browser only renders.`, {cause: error});
  }
}
