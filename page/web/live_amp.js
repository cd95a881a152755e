// SPDX-License-Identifier: ISC
// One side of the amplifier in an audio worklet, with its levels.
import {loadCabinet} from './cabinet.js';
import {instantiate} from './module.js';

const kFrames = 128; // that browsers ask for; more are played in pieces
const kTellsPerSecond = 30;

export class LiveAmp {
  // isLast: whether loudspeakers follow, before which what is above full scale is held there. Other
  // effects are to have it as it is.
  constructor(module, values, rate, isLast) {
    this.isLast = isLast;
    this.amp = instantiate(module);
    this.set(values);
    if (!this.amp.amp_prepare(1, rate, kFrames)) throw new RangeError(`${rate} Hz`);
    this.tellAfter = Math.round(rate / kTellsPerSecond);
    this.untold = 0;
    this.levels = {input: 0, output: 0, gateIsOpen: true, held: 0, memory: 0};
  }

  // values: [[parameter, value], ...], 0..1.
  set(values) {
    for (const [index, value] of values) this.amp.amp_set(index, value);
  }

  // control: of people, as in page/wasm/face_binding.cpp.
  setControl(index, control) {
    this.amp.amp_set(index, this.amp.face_value_from_control(index, control));
  }

  // response: of preparedCabinet(); none without samples.
  setCabinet(response) {
    loadCabinet(this.amp, response);
  }

  // The module's memory for one piece; where it has grown, what was made before is void.
  buffer() {
    const {memory} = this.amp;
    if (this.samples?.buffer !== memory.buffer) {
      this.samples = new Float32Array(memory.buffer, this.amp.amp_floats(0), kFrames);
    }
    return this.samples;
  }

  // Plays the frames from begin to end; no input is silence.
  play(input, output, begin = 0, end = output.length) {
    for (let at = begin; at < end; at += kFrames) {
      this.playPiece(input, output, at, Math.min(at + kFrames, end));
    }
  }

  playPiece(input, output, begin, end) {
    const samples = this.buffer();
    const isWhole = begin === 0 && end === output.length && end === kFrames;
    if (!input) samples.fill(0);
    else samples.set(isWhole ? input : input.subarray(begin, end));
    this.amp.amp_play_floats(end - begin);
    if (this.isLast) this.levels.held += this.amp.amp_hold(end - begin);
    output.set(isWhole ? this.buffer() : this.buffer().subarray(0, end - begin), begin);
  }

  // Calls post(levels) thirty times a second. frames: that were played since the last call.
  tell(frames, post) {
    this.untold += frames;
    if (this.untold < this.tellAfter) return;
    this.untold = 0;
    this.levels.input = this.amp.amp_input_peak();
    this.levels.output = this.amp.amp_output_peak();
    this.levels.gateIsOpen = this.amp.amp_gate_is_open() !== 0;
    this.levels.memory = this.amp.memory.buffer.byteLength;
    post(this.levels);
    this.levels.held = 0;
  }
}
