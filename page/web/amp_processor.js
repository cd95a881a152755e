// SPDX-License-Identifier: ISC
// The page's audio worklet: one input, one output, one channel each. Its port takes
// {values: [[parameter, value], ...]} with the time at which they begin to move, if that is not at
// once, or {cabinet: the response}, and tells levels.
import {LiveAmp} from './live_amp.js';

class AmpProcessor extends AudioWorkletProcessor {
  constructor({processorOptions: {module, values}}) {
    super();
    this.amp = new LiveAmp(module, values, sampleRate, true);
    this.deferred = [];
    this.post = (levels) => this.port.postMessage(levels);
    this.port.onmessage = ({data}) => {
      if (data.cabinet) this.amp.setCabinet(data.cabinet);
      else if (data.time > currentTime) this.defer(data);
      else this.amp.set(data.values);
    };
  }

  defer(move) {
    this.deferred.push(move);
    this.deferred.sort((a, b) => a.time - b.time);
  }

  process([[input]], [[output]]) {
    while (this.deferred.length && this.deferred[0].time <= currentTime)
      this.amp.set(this.deferred.shift().values);
    this.amp.play(input, output);
    this.amp.tell(output.length, this.post);
    return true;
  }
}

registerProcessor('quellard', AmpProcessor);
