// SPDX-License-Identifier: ISC
// What is heard: a recording or the interface's input, through the amplifier, to the loudspeakers.
import {asAudioBuffer} from './recording.js';

// So long the amplifier rings on after a stop; then the sound card may rest.
const kRings_ms = 4000;

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
  }

  get isPlaying() {
    return Boolean(this.source);
  }
  get isSuspended() {
    return this.isPlaying && this.context.state !== 'running';
  }

  // Browsers give sound only after a click or a key.
  async open() {
    if (this.context) return;
    const context = new AudioContext({latencyHint: 'interactive'});
    await context.audioWorklet.addModule(new URL('amp_processor.js', import.meta.url));
    this.context = context;
    this.amp = this.makeAmp(context);
    this.amp.connect(context.destination);
    this.amp.port.onmessage = ({data}) => this.tell('levels', data);
    this.amp.onprocessorerror = () => this.tell('broken');
    context.onstatechange = () => this.tell('state');
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

  async playRecording(recording, loop) {
    await this.open();
    const source = new AudioBufferSourceNode(this.context, {buffer: asAudioBuffer(recording), loop});
    source.onended = () => {
      if (this.source === source) this.stop();
    };
    this.begin(source, source);
    source.start();
    this.resume();
  }

  // channel: 0, 1, or 'both' for their mean. device: of inputDevices(), '' for the browser's choice.
  // Throws what the browser throws.
  async playInput(channel, device = '') {
    if (!navigator.mediaDevices) throw new Error('this page is not served over https');
    const chosen = device ? {deviceId: {exact: device}} : {};
    const stream = await navigator.mediaDevices.getUserMedia({audio: {...kGuitarInput, ...chosen}});
    await this.open();
    const source = new MediaStreamAudioSourceNode(this.context, {mediaStream: stream});
    const [track] = stream.getAudioTracks();
    track.onended = () => {
      if (this.source === source) this.stop();
    };
    this.begin(source, source.channelCount > 1 && channel !== 'both' ? this.side(source, channel) : source);
    this.stream = stream;
    this.resume();
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

  side(source, channel) {
    const splitter = new ChannelSplitterNode(this.context, {numberOfOutputs: 2});
    source.connect(splitter);
    this.splitter = splitter;
    return {connect: (to) => splitter.connect(to, channel)};
  }

  begin(source, from) {
    this.stop();
    this.source = source;
    from.connect(this.amp);
    this.tell('state');
  }

  // It may stay suspended, as before a click: whoever listens to 'state' says so.
  resume() {
    this.context.resume().then(
      () => this.tell('state'),
      () => this.tell('state'),
    );
    this.tell('state');
  }

  setLoop(loop) {
    if (this.source && 'loop' in this.source) this.source.loop = loop;
  }

  stop() {
    if (!this.source) return;
    const source = this.source;
    this.source = null;
    source.stop?.();
    source.disconnect();
    this.splitter?.disconnect();
    this.splitter = null;
    for (const track of this.stream?.getTracks() ?? []) track.stop();
    this.stream = null;
    this.tell('state');
    setTimeout(() => {
      if (!this.source) this.context.suspend();
    }, kRings_ms);
  }
}
