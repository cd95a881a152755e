// SPDX-License-Identifier: ISC
// A render at full speed, in a thread of its own.

export const kTailSeconds = 2; // for the last chord to ring out

// sound: {module, channels: [Float64Array], rate, values, moves, cabinet}, see render_worker.js; its arrays
// are given away. onProgress: from 0 to 1. Gives {channels, seconds that it took, memory}.
export function render(sound, onProgress = () => {}) {
  const worker = new Worker(new URL('render_worker.js', import.meta.url), {type: 'module'});
  return new Promise((resolve, reject) => {
    worker.onmessage = ({data}) => {
      if (data.error) reject(new Error(data.error));
      else if (data.channels) resolve(data);
      else onProgress(data.done);
    };
    worker.onerror = (event) => reject(new Error(event.message || 'The renderer did not start.'));
    const buffers = sound.channels.map(({buffer}) => buffer);
    worker.postMessage({moves: [], ...sound}, buffers);
  }).finally(() => worker.terminate());
}

export function withTail(samples, rate, seconds = kTailSeconds) {
  const longer = new Float64Array(samples.length + Math.round(seconds * rate));
  longer.set(samples);
  return longer;
}
