// SPDX-License-Identifier: ISC
// The amplifier as a Web Audio Module, version 2, for hosts in browsers. Its parameters have the
// symbols of the page's addresses: knobs from 0 to 10, levels and the gate in decibels.
import {Face} from '../face.js';
import {FaceView} from '../face_view.js';
import {fetchModule, instantiateLater, kSelector} from '../module.js';
import {WamNode, WebAudioModule} from './sdk.js';

const kBypass = 20;
const kChannels = ['clean', 'vintage', 'modern'];
const kReads_ms = 100; // between two looks at what the host has moved, while the face is shown

// As the module's parameters are described to hosts.
function described(face) {
  return Object.values(face.parameters).map(({index, title, symbol, neutral}) => ({
    index,
    symbol,
    label: title,
    type: {[kSelector]: 'choice', [kBypass]: 'boolean'}[index] ?? 'float',
    choices: index === kSelector ? kChannels : [],
    defaultValue: face.asControl(index, neutral),
    minValue: face.asControl(index, 0),
    maxValue: face.asControl(index, 1),
  }));
}

class AmpNode extends WamNode {
  onLevels = new Set(); // functions that take them; the kit's node lets only its own events through

  _onMessage(message) {
    const {levels} = message.data;
    if (!levels) return super._onMessage(message);
    for (const take of this.onLevels) take(levels);
  }
}

export default class QuellardModule extends WebAudioModule {
  moves = 0; // of the face that are on their way

  async initialize(state) {
    const descriptor = await fetch(new URL('descriptor.json', import.meta.url));
    Object.assign(this._descriptor, await descriptor.json());
    await super.initialize();
    if (state) await this.audioNode.setState(state);
    return this;
  }

  async createAudioNode() {
    const module = await fetchModule();
    this.face = new Face(await instantiateLater(module));
    await AmpNode.addModules(this.audioContext, this.moduleId);
    await this.audioContext.audioWorklet.addModule(new URL('processor.js', import.meta.url));
    const node = new AmpNode(this, {
      numberOfInputs: 1,
      numberOfOutputs: 1,
      outputChannelCount: [1],
      channelCount: 1,
      channelCountMode: 'explicit',
      processorOptions: {module, parameters: described(this.face)},
    });
    await node._initialize();
    return node;
  }

  async createGui() {
    const place = document.createElement('div');
    const root = place.attachShadow({mode: 'open'});
    const style = document.createElement('link');
    style.rel = 'stylesheet';
    style.href = new URL('../face.css', import.meta.url);
    const shown = document.createElement('div');
    shown.className = 'face';
    root.append(style, shown);
    await this.readValues();
    const view = new FaceView(this.face, shown);
    view.addEventListener('moves', ({detail}) => this.move(detail));
    const showLevels = (levels) => {
      view.levels = levels;
    };
    this.audioNode.onLevels.add(showLevels);
    const reading = setInterval(() => this.readValues(), kReads_ms);
    place.end = () => {
      clearInterval(reading);
      this.audioNode.onLevels.delete(showLevels);
      view.end();
    };
    return place;
  }

  destroyGui(place) {
    place.end();
  }

  async move(moves) {
    const {
      face: {parameters},
    } = this;
    const values = moves.map(([index, value]) => {
      const {symbol} = parameters[index];
      return [symbol, {id: symbol, value: this.face.asControl(index, value), normalized: false}];
    });
    ++this.moves;
    await this.audioNode.setParameterValues(Object.fromEntries(values)).finally(() => --this.moves);
  }

  // What the host has set; not while a move of the face is on its way.
  async readValues() {
    const values = await this.audioNode.getParameterValues(false);
    if (this.moves) return;
    for (const {index, symbol} of Object.values(this.face.parameters)) {
      this.face.set(index, this.face.asValue(index, values[symbol].value));
    }
  }
}
