// SPDX-License-Identifier: ISC
// WAV files: samples as they are, at their own rate. Browsers would bring them to the rate of the
// sound card.

const kPcm = 1;
const kFloat = 3;
const kExtensible = 0xfffe;

const readers = {
  [`${kPcm}/8`]: (view, at) => (view.getUint8(at) - 128) / 128,
  [`${kPcm}/16`]: (view, at) => view.getInt16(at, true) / 0x8000,
  [`${kPcm}/24`]: (view, at) => (view.getUint8(at) | (view.getInt16(at + 1, true) << 8)) / 0x800000,
  [`${kPcm}/32`]: (view, at) => view.getInt32(at, true) / 0x80000000,
  [`${kFloat}/32`]: (view, at) => view.getFloat32(at, true),
  [`${kFloat}/64`]: (view, at) => view.getFloat64(at, true),
};

const tag = (view, at) => String.fromCharCode(...new Uint8Array(view.buffer, view.byteOffset + at, 4));

export function isWav(bytes) {
  const view = new DataView(bytes);
  return view.byteLength >= 12 && tag(view, 0) === 'RIFF' && tag(view, 8) === 'WAVE';
}

function readFormat(view, at, size) {
  if (size < 16) throw new Error('its header is damaged');
  let type = view.getUint16(at, true);
  const bits = view.getUint16(at + 14, true);
  if (type === kExtensible && size >= 26) type = view.getUint16(at + 24, true);
  const format = {
    channels: view.getUint16(at + 2, true),
    rate: view.getUint32(at + 4, true),
    read: readers[`${type}/${bits}`],
    width: bits / 8,
  };
  if (!format.read) throw new Error(`a WAV of type ${type} with ${bits} bits cannot be read here`);
  if (!format.channels || !format.rate) throw new Error('its header is damaged');
  return format;
}

function readSamples(view, at, size, {channels, read, width}) {
  const frames = Math.floor(size / (channels * width));
  return Array.from({length: channels}, (_, channel) => {
    const samples = new Float64Array(frames);
    for (let i = 0; i < frames; ++i) samples[i] = read(view, at + (i * channels + channel) * width);
    return samples;
  });
}

// {rate, channels: [Float64Array, ...]}. Throws an Error with a reason for people. What is cut off
// at the end is missing from the samples.
export function readWav(bytes) {
  const view = new DataView(bytes);
  let format = null;
  for (let at = 12; at + 8 <= view.byteLength; ) {
    const name = tag(view, at);
    const size = Math.min(view.getUint32(at + 4, true), view.byteLength - at - 8);
    if (name === 'fmt ') format = readFormat(view, at + 8, size);
    if (name === 'data' && format) {
      return {rate: format.rate, channels: readSamples(view, at + 8, size, format)};
    }
    at += 8 + size + (size % 2);
  }
  throw new Error('it has no samples');
}

// Whole numbers are held at full scale, as they know nothing above it.
const pcm = (bits) => {
  const most = 2 ** (bits - 1);
  return (x) => Math.max(-most, Math.min(most - 1, Math.round((Number.isNaN(x) ? 0 : x) * most)));
};
const pcm16 = pcm(16);
const pcm24 = pcm(24);

const writers = {
  float: {type: kFloat, width: 4, write: (view, at, x) => view.setFloat32(at, x, true)},
  double: {type: kFloat, width: 8, write: (view, at, x) => view.setFloat64(at, x, true)},
  pcm16: {type: kPcm, width: 2, write: (view, at, x) => view.setInt16(at, pcm16(x), true)},
  pcm24: {
    type: kPcm,
    width: 3,
    write: (view, at, x) => {
      const whole = pcm24(x);
      view.setUint8(at, whole & 0xff);
      view.setInt16(at + 1, whole >> 8, true);
    },
  },
};

// channels: arrays of samples of equal length. Returns an ArrayBuffer.
export function writeWav(channels, rate, format) {
  const {type, width, write} = writers[format];
  const frame = channels.length * width;
  const size = channels[0].length * frame;
  const padded = size + (size % 2);
  const view = new DataView(new ArrayBuffer(44 + padded));
  const put = (at, text) => [...text].forEach((c, i) => view.setUint8(at + i, c.charCodeAt(0)));
  put(0, 'RIFF');
  view.setUint32(4, 36 + padded, true);
  put(8, 'WAVEfmt ');
  view.setUint32(16, 16, true);
  view.setUint16(20, type, true);
  view.setUint16(22, channels.length, true);
  view.setUint32(24, rate, true);
  view.setUint32(28, rate * frame, true);
  view.setUint16(32, frame, true);
  view.setUint16(34, 8 * width, true);
  put(36, 'data');
  view.setUint32(40, size, true);
  channels.forEach((samples, channel) => {
    samples.forEach((x, i) => write(view, 44 + i * frame + channel * width, x));
  });
  return view.buffer;
}
