// SPDX-License-Identifier: ISC
// What is heard: a recording or the interface's input, through the amplifier, to the loudspeakers.
import {preparedCabinet} from './cabinet.js';
import {asAudioBuffer} from './recording.js';

// So long the amplifier rings on after a stop; then the sound card may rest.
const kRings_ms = 4000;
// So long a source takes to its end: a sine that is cut would be a click.
const kFade_s = 0.01;
const kFaded_ms = 100; // by then it is over
// Browsers take some time to start, which is no reason to complain.
const kStarts_ms = 1500;

// A guitar is no voice: nothing may change its level or take its noise, which browsers do for calls.
const kGuitarInput = {
  echoCancellation: false,
  autoGainControl: false,
  noiseSuppression: false,
  channelCount: {ideal: 2},
  latency: {ideal: 0},
};

const kInputProblems = {
  NotAllowedError:
    'The browser was not allowed to listen to the input. Allow it in its settings for this page.',
  NotFoundError: 'There is no microphone or interface to listen to.',
  OverconstrainedError: 'This interface is no longer there.',
  NotReadableError: 'Another program holds the input, or it has gone.',
};

export function inputProblem(error) {
  return kInputProblems[error.name] ?? `The input cannot be opened: ${error.message}`;
}

export class Player extends EventTarget {
  // values: [[parameter, value], ...], called when an amplifier is made.
  constructor(module, values) {
    super();
    this.module = module;
    this.values = values;
    this.cabinet = null;
    this.turn = 0; // counts what was asked for: only the last one plays
  }

  get isPlaying() {
    return Boolean(this.source);
  }
  get isSuspended() {
    return this.isPlaying && !this.isStarting && this.context.state !== 'running';
  }

  // Browsers give sound only after a click or a key.
  open() {
    this.opening ??= this.openContext().catch((error) => {
      this.opening = null;
      throw error;
    });
    return this.opening;
  }

  async openContext() {
    if (!globalThis.AudioWorkletNode) {
      throw new Error('Browsers let a page play only where it comes over https, or from this machine.');
    }
    const context = new AudioContext({latencyHint: 'interactive'});
    try {
      await context.audioWorklet.addModule(new URL('amp_processor.js', import.meta.url));
      this.amp = this.makeAmp(context);
    } catch (error) {
      context.close();
      throw error;
    }
    this.context = context;
    this.amp.connect(context.destination);
    this.amp.port.onmessage = ({data}) => this.tell('levels', data);
    this.amp.onprocessorerror = () => this.tell('broken');
    context.onstatechange = () => this.tell('state');
    await this.sendCabinet();
  }

  makeAmp(context) {
    return new AudioWorkletNode(context, 'quellard', {
      numberOfInputs: 1,
      numberOfOutputs: 1,
      outputChannelCount: [1],
      channelCount: 1,
      channelCountMode: 'explicit',
      processorOptions: {module: this.module, values: this.values()},
    });
  }

  tell(type, detail) {
    this.dispatchEvent(new CustomEvent(type, {detail}));
  }

  move(values) {
    this.amp?.port.postMessage({values});
  }

  // cabinet: of readCabinet(), or null for none.
  async setCabinet(cabinet) {
    this.cabinet = cabinet;
    if (this.context) await this.sendCabinet();
  }

  async sendCabinet() {
    const {cabinet} = this;
    const response = await preparedCabinet(this.module, cabinet, this.context.sampleRate);
    if (cabinet === this.cabinet) this.amp.port.postMessage({cabinet: response});
  }

  // recording: a promise of one.
  async playRecording(recording, loop) {
    const turn = ++this.turn;
    const [played] = await Promise.all([recording, this.open()]);
    if (turn !== this.turn) return;
    const source = new AudioBufferSourceNode(this.context, {buffer: asAudioBuffer(played), loop});
    source.onended = () => {
      if (this.source === source) this.stop();
    };
    this.begin(source);
    source.start();
  }

  // channel: 0, 1, or 'both' for their mean. device: of inputDevices(), '' for the browser's choice.
  // Throws what the browser throws.
  async playInput(channel, device = '') {
    const turn = ++this.turn;
    if (!navigator.mediaDevices) throw new Error('this page is not served over https');
    const chosen = device ? {deviceId: {exact: device}} : {};
    await this.open();
    const stream = await navigator.mediaDevices.getUserMedia({audio: {...kGuitarInput, ...chosen}});
    const [track] = stream.getAudioTracks();
    if (turn !== this.turn) return track.stop();
    const source = new MediaStreamAudioSourceNode(this.context, {mediaStream: stream});
    track.onended = () => {
      if (this.source !== source) return;
      this.stop();
      this.tell('lost');
    };
    this.begin(source, source.channelCount > 1 ? channel : 'both');
    this.stream = stream;
  }

  // [{name, id}, ...], which browsers tell after the player has allowed one; with the one that plays first.
  async inputDevices() {
    const now = this.stream?.getAudioTracks()[0].getSettings().deviceId;
    const all = await navigator.mediaDevices.enumerateDevices();
    return all
      .filter(({kind, deviceId}) => kind === 'audioinput' && deviceId)
      .map(({label, deviceId}) => ({name: label || 'Input', id: deviceId}))
      .sort((a, b) => (b.id === now) - (a.id === now));
  }

  begin(source, channel = 'both') {
    this.end();
    clearTimeout(this.resting);
    const fader = new GainNode(this.context);
    if (channel === 'both') {
      source.connect(fader);
    } else {
      const splitter = new ChannelSplitterNode(this.context, {numberOfOutputs: 2});
      source.connect(splitter).connect(fader, channel);
    }
    fader.connect(this.amp);
    this.source = source;
    this.fader = fader;
    this.resume();
    this.tell('state');
  }

  // Where sound is to be and is not. It may stay suspended, as before a click: whoever listens to
  // 'state' says so.
  resume() {
    if (!this.isPlaying) return;
    const settle = () => {
      clearTimeout(this.starting);
      this.isStarting = false;
      this.tell('state');
    };
    clearTimeout(this.starting);
    this.starting = setTimeout(settle, kStarts_ms);
    this.isStarting = true;
    this.context.resume().then(settle, settle);
  }

  setLoop(loop) {
    if (this.source && 'loop' in this.source) this.source.loop = loop;
  }

  stop() {
    ++this.turn;
    this.end();
  }

  end() {
    if (!this.source) return;
    const {source, fader, stream} = this;
    this.source = null;
    this.stream = null;
    const now = this.context.currentTime;
    fader.gain.setValueAtTime(1, now).linearRampToValueAtTime(0, now + kFade_s);
    setTimeout(() => {
      source.stop?.();
      source.disconnect();
      fader.disconnect();
      for (const track of stream?.getTracks() ?? []) track.stop();
    }, kFaded_ms);
    this.tell('state');
    this.resting = setTimeout(() => this.context.suspend(), kRings_ms);
  }
}
