// SPDX-License-Identifier: ISC
// Recordings of guitars: {name, rate, channels}, at the rate that the file has.
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

// Throws an Error with a reason for people.
export async function readRecording(name, bytes) {
  try {
    const sound = isWav(bytes) ? readWav(bytes) : await decode(bytes);
    if (!sound.channels[0].length) throw new Error('it has no samples');
    return {name, ...sound};
  } catch (error) {
    throw new Error(`${name} cannot be played: ${error.message}.`, {cause: error});
  }
}

// The mean of its channels, which one amplifier plays: a take recorded on both sides drives it as
// hard as one side does.
export function mixDown({channels}) {
  if (channels.length === 1) return Float64Array.from(channels[0]);
  const mean = new Float64Array(channels[0].length);
  for (const samples of channels)
    samples.forEach((x, i) => {
      mean[i] += x;
    });
  return mean.map((sum) => sum / channels.length);
}

export function asAudioBuffer({rate, channels}) {
  const buffer = new AudioBuffer({
    length: channels[0].length,
    sampleRate: rate,
    numberOfChannels: channels.length,
  });
  channels.forEach((samples, i) => buffer.copyToChannel(Float32Array.from(samples), i));
  return buffer;
}
