// SPDX-License-Identifier: ISC
// The compiled face with JavaScript's types around it. The functions are those of
// page/wasm/face_binding.cpp.
import {kNumValues, kSelector} from './module.js';

// As in face/layout.h and face/face.h.
const kKinds = [
  'previousPreset',
  'presetName',
  'nextPreset',
  'bypass',
  'channel',
  'knob',
  'inputMeter',
  'outputMeter',
];
const kKeys = [
  'Tab',
  'ArrowUp',
  'ArrowDown',
  'ArrowLeft',
  'ArrowRight',
  'PageUp',
  'PageDown',
  'Home',
  'End',
  'Enter',
  'Escape',
  'Backspace',
  'Delete',
];

const kRecordInts = 3;
const kTextBytes = 256;

export class Face {
  // module: the exports of an instance of its own.
  constructor(module) {
    this.module = module;
    module.face_open();
    this.indices = Array.from({length: kNumValues}, (_, i) => i + 1);
    this.controls = Array.from({length: module.face_control_count()}, (_, i) => this.control(i));
    this.parameters = Object.fromEntries(
      this.indices.map((index) => [
        index,
        {
          index,
          title: this.text(module.face_title(index)),
          symbol: index === kSelector ? 'channel' : this.text(module.face_symbol(index)),
          neutral: module.face_default(index),
        },
      ]),
    );
  }

  // Null for a null pointer.
  text(pointer) {
    if (!pointer) return null;
    const bytes = new Uint8Array(this.module.memory.buffer, pointer, kTextBytes);
    return new TextDecoder().decode(bytes.slice(0, bytes.indexOf(0)));
  }

  control(i) {
    const at = this.module.face_control(i);
    const [kind, parameter, channel] = new Int32Array(this.module.memory.buffer, at, kRecordInts);
    const [x, y, width, height] = new Float32Array(this.module.memory.buffer, at + 4 * kRecordInts, 4);
    return {place: i, kind: kKinds[kind], parameter, channel, x, y, width, height};
  }

  value(index) {
    return this.module.face_value(index);
  }
  set(index, value) {
    this.module.face_set(index, value);
  }
  values() {
    return this.indices.map((index) => [index, this.value(index)]);
  }
  valueText(index, value = this.value(index)) {
    return this.text(this.module.face_value_text(index, value));
  }
  asControl(index, value = this.value(index)) {
    return this.module.face_control_from_value(index, value);
  }
  asValue(index, control) {
    return this.module.face_value_from_control(index, control);
  }

  // [[parameter, value], ...] of what was moved by hand since the last call.
  takeMoves() {
    const moved = this.module.face_take_moved();
    return this.indices.filter((index) => (moved >>> index) & 1).map((index) => [index, this.value(index)]);
  }

  // Whether the face used the key of this event.
  key({key, shiftKey}) {
    const number = kKeys.indexOf(key);
    if (number >= 0) return this.module.face_key(number, shiftKey) !== 0;
    return [...key].length === 1 && this.module.face_type(key.codePointAt(0)) !== 0;
  }
  isRepeatable({key}) {
    return key !== 'Enter' && key !== ' ';
  }

  get typed() {
    return this.text(this.module.face_typed());
  }
  get typedIsWrong() {
    return this.module.face_typed_is_wrong() !== 0;
  }
  get menuIsOpen() {
    return this.module.face_menu_is_open() !== 0;
  }
  get focus() {
    return this.module.face_focus();
  }
  levelText(isOutput) {
    return this.text(this.module.face_level_text(isOutput)) || 'silent';
  }

  get preset() {
    return this.module.face_preset();
  }
  get isChanged() {
    return this.module.face_is_changed() !== 0;
  }
  presets() {
    return Array.from({length: this.module.face_preset_count()}, (_, i) => ({
      name: this.text(this.module.face_preset_name(i)),
      isFactory: this.module.face_preset_is_factory(i) !== 0,
    }));
  }
  putText(words) {
    const bytes = new TextEncoder().encode(words).subarray(0, kTextBytes - 1);
    const to = new Uint8Array(this.module.memory.buffer, this.module.face_text_in(), kTextBytes);
    to.set(bytes);
    to[bytes.length] = 0;
  }

  // From then on the picture has a place for it.
  showCabinet(name) {
    this.putText(name);
    this.module.face_show_cabinet();
  }

  choosePreset(i) {
    this.module.face_choose_preset(i);
  }

  // own: [{name, values}, ...]. chosen: the name of one of them.
  showPresets(own, chosen = null) {
    this.module.face_clear_presets();
    for (const {name, values} of own) {
      for (const [index, value] of values) this.module.face_preset_set(index, value);
      this.putText(name);
      this.module.face_add_preset();
    }
    const factory = this.presets().filter(({isFactory}) => isFactory).length;
    const place = own.findIndex(({name}) => name === chosen);
    const unmoved = this.preset < factory ? this.preset : -1; // the others may stand elsewhere now
    this.module.face_show_presets(place < 0 ? unmoved : factory + place);
  }

  resize(width, height) {
    this.module.face_resize(width, height);
  }
  update(seconds, {input, output, gateIsOpen}) {
    this.module.face_update(seconds, input, output, gateIsOpen);
  }

  // Paints what has changed into a canvas of the size that resize() was told.
  paint(context, width, height) {
    const areas = this.module.face_paint();
    if (!areas) return;
    const {buffer} = this.module.memory;
    const pixels = new Uint8ClampedArray(buffer, this.module.face_pixels(), 4 * width * height);
    const picture = new ImageData(pixels, width, height);
    for (let i = 0; i < areas; ++i) {
      const [left, top, right, bottom] = new Int32Array(buffer, this.module.face_area(i), 4);
      context.putImageData(picture, 0, 0, left, top, right - left, bottom - top);
    }
  }
}
