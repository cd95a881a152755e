// SPDX-License-Identifier: ISC
// The amplifier in an audio worklet: one input, one output, one channel each. Its port takes
// {values: [[parameter, value], ...]} with the time at which they begin to move, if that is not at
// once, and tells levels, thirty times a second.
import {instantiate} from './module.js';

const kFrames = 128;  // that browsers ask for; more are played in pieces
const kTellsPerSecond = 30;

class AmpProcessor extends AudioWorkletProcessor {
  constructor({processorOptions: {module, values}}) {
    super();
    this.amp = instantiate(module);
    this.deferred = [];
    this.set(values);
    if (!this.amp.amp_prepare(1, sampleRate, kFrames)) throw new RangeError(`${sampleRate} Hz`);
    this.tellAfter = Math.round(sampleRate / kTellsPerSecond);
    this.untold = 0;
    this.levels = {input: 0, output: 0, gateIsOpen: true, held: 0, memory: 0};
    this.port.onmessage = ({data}) => {
      if (data.end) this.ended = true;
      else if (data.time > currentTime) this.defer(data);
      else this.set(data.values);
    };
  }

  defer(move) {
    this.deferred.push(move);
    this.deferred.sort((a, b) => a.time - b.time);
  }

  set(values) {
    for (const [index, value] of values) this.amp.amp_set(index, value);
  }

  // The module's memory for one piece; where it has grown, what was made before is void.
  buffer() {
    const {memory} = this.amp;
    if (this.samples?.buffer !== memory.buffer) {
      this.samples = new Float32Array(memory.buffer, this.amp.amp_floats(0), kFrames);
    }
    return this.samples;
  }

  play(input, output, begin) {
    const end = Math.min(begin + kFrames, output.length);
    const samples = this.buffer();
    const isWhole = begin === 0 && end === output.length && end === kFrames;
    if (!input) samples.fill(0);
    else samples.set(isWhole ? input : input.subarray(begin, end));
    this.amp.amp_play_floats(end - begin);
    this.levels.held += this.amp.amp_hold(end - begin);
    output.set(isWhole ? this.buffer() : this.buffer().subarray(0, end - begin), begin);
  }

  tell(frames) {
    this.untold += frames;
    if (this.untold < this.tellAfter) return;
    this.untold = 0;
    this.levels.input = this.amp.amp_input_peak();
    this.levels.output = this.amp.amp_output_peak();
    this.levels.gateIsOpen = this.amp.amp_gate_is_open() !== 0;
    this.levels.memory = this.amp.memory.buffer.byteLength;
    this.port.postMessage(this.levels);
    this.levels.held = 0;
  }

  process([[input]], [[output]]) {
    while (this.deferred.length && this.deferred[0].time <= currentTime) this.set(this.deferred.shift().values);
    for (let begin = 0; begin < output.length; begin += kFrames) this.play(input, output, begin);
    this.tell(output.length);
    return !this.ended;
  }
}

registerProcessor('quellard', AmpProcessor);
