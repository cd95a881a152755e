// SPDX-License-Identifier: ISC
// The face on the page: a canvas that takes the mouse, and behind it, at the same places, real
// controls with names, which take the keyboard and speak to screen readers.

const kWidth = 960;
const kHeight = 600;
const kLargestSide = 4096; // pixels
const kUpdate_ms = 33;
const kWheelNotch = 100; // pixels of a wheel's notch in most browsers
const kWheelLine = 1 / 3; // notches of a line, in others

const kLabels = {
  previousPreset: 'Previous preset',
  presetName: 'Preset',
  nextPreset: 'Next preset',
  bypass: 'Bypass',
  inputMeter: 'Input level',
  outputMeter: 'Output level',
};
const kChannelNames = ['Clean channel', 'Vintage channel', 'Modern channel'];

// In the units of Face.asControl().
function rangeOf(face, index) {
  const isKnob = index < 20;
  return {min: face.asControl(index, 0), max: face.asControl(index, 1), step: isKnob ? 0.01 : 0.1};
}

function element(tag, properties) {
  return Object.assign(document.createElement(tag), properties);
}

export class FaceView extends EventTarget {
  constructor(face, place) {
    super();
    this.face = face;
    this.levels = {input: 0, output: 0, gateIsOpen: true};
    this.canvas = element('canvas', {});
    this.canvas.setAttribute('aria-hidden', 'true');
    this.context = this.canvas.getContext('2d', {alpha: false});
    this.behind = element('div', {className: 'controls'});
    this.elements = face.controls.map((control) => this.makeElement(control));
    this.behind.append(...this.elements);
    this.announcer = element('p', {className: 'controls'});
    this.announcer.setAttribute('role', 'status');
    place.append(this.announcer, this.behind, this.canvas);
    this.listenToMouse();
    this.listenToKeys();
    this.observer = new ResizeObserver(() => this.resize());
    this.observer.observe(place);
    this.resize();
    this.listPresets();
    this.updatedAt = performance.now();
    const frame = (now) => {
      if (now - this.updatedAt >= kUpdate_ms) this.update(now);
      this.nextFrame = requestAnimationFrame(frame);
    };
    this.nextFrame = requestAnimationFrame(frame);
  }

  end() {
    cancelAnimationFrame(this.nextFrame);
    this.observer.disconnect();
  }

  // The focused element of the page, or of the shadow that the face stands in.
  get active() {
    return this.behind.getRootNode().activeElement;
  }

  makeElement(control) {
    const made = this.makers[control.kind]?.call(this, control) ?? element('button', {type: 'button'});
    made.setAttribute('aria-label', this.labelOf(control));
    Object.assign(made.style, {
      left: `${(100 * control.x) / kWidth}%`,
      top: `${(100 * control.y) / kHeight}%`,
      width: `${(100 * control.width) / kWidth}%`,
      height: `${(100 * control.height) / kHeight}%`,
    });
    made.addEventListener('focus', () => this.elementFocused(control.place));
    if (made.tagName === 'BUTTON') made.addEventListener('click', () => this.activate(control.place));
    return made;
  }

  // What is no button. An assistive program may move these without a key.
  makers = {
    knob({parameter}) {
      const knob = element('input', {type: 'range', ...rangeOf(this.face, parameter)});
      knob.addEventListener('input', () => {
        this.moveTo(parameter, this.face.asValue(parameter, Number(knob.value)));
      });
      return knob;
    },
    channel({parameter, channel}) {
      const radio = element('input', {type: 'radio', name: 'channel', value: channel});
      radio.addEventListener('change', () => this.moveTo(parameter, this.face.asValue(parameter, channel)));
      return radio;
    },
    presetName() {
      const list = element('select', {});
      list.addEventListener('change', () => {
        this.face.choosePreset(Number(list.value));
        this.afterHand();
      });
      this.presetList = list;
      return list;
    },
  };

  labelOf({kind, channel, parameter}) {
    if (kind === 'channel') return kChannelNames[channel];
    return kind === 'knob' ? this.face.parameters[parameter].title : kLabels[kind];
  }

  moveTo(parameter, value) {
    this.face.set(parameter, value);
    this.dispatchEvent(new CustomEvent('moves', {detail: [[parameter, value]]}));
    this.afterHand();
  }

  // A button that something other than the face's own mouse and keys has pressed.
  activate(place) {
    this.face.module.face_focus_on(place);
    this.face.key({key: 'Enter', shiftKey: false});
    this.afterHand();
  }

  elementFocused(place) {
    if (!this.isPointing) this.face.module.face_focus_on(place);
  }

  resize() {
    const {width, height} = this.canvas.getBoundingClientRect();
    this.ratio = window.devicePixelRatio;
    const scale = Math.min(this.ratio || 1, kLargestSide / Math.max(width, height, 1));
    const pixels = [width, height].map((side) => Math.max(1, Math.round(side * scale)));
    if (this.canvas.width === pixels[0] && this.canvas.height === pixels[1]) return;
    [this.canvas.width, this.canvas.height] = pixels;
    this.face.resize(...pixels);
    this.paint();
  }

  paint() {
    this.face.paint(this.context, this.canvas.width, this.canvas.height);
  }

  update(now) {
    if (this.ratio !== window.devicePixelRatio) this.resize(); // another screen
    this.face.update((now - this.updatedAt) / 1000, this.levels);
    this.updatedAt = now;
    this.showValues();
    this.paint();
  }

  // Moves that hands have made go out at once, and what they changed is shown.
  afterHand() {
    const moves = this.face.takeMoves();
    if (moves.length) this.dispatchEvent(new CustomEvent('moves', {detail: moves}));
    this.face.update(0, this.levels);
    this.showValues();
    this.announceTyping();
    this.paint();
  }

  // The controls behind the picture, where they differ from it.
  showValues() {
    this.face.controls.forEach(({kind, parameter, channel}, i) => {
      const shown = this.elements[i];
      if (kind === 'knob') this.showKnob(shown, parameter);
      if (kind === 'channel') shown.checked = this.face.asControl(parameter) === channel;
      if (kind === 'bypass') this.setAttribute(shown, 'aria-pressed', this.face.value(parameter) >= 0.5);
      if (kind === 'inputMeter' || kind === 'outputMeter') this.showMeter(shown, kind);
    });
    if (this.presetList.value !== String(this.face.preset)) this.presetList.value = this.face.preset;
  }

  showKnob(knob, parameter) {
    const value = this.face.value(parameter);
    if (knob.shownValue === value) return;
    knob.shownValue = value;
    knob.value = this.face.asControl(parameter, value);
    knob.setAttribute('aria-valuetext', this.face.valueText(parameter, value));
  }

  showMeter(meter, kind) {
    const text = this.face.levelText(kind === 'outputMeter');
    this.setAttribute(meter, 'aria-label', `${kLabels[kind]} ${text}, forget the peak`);
  }

  setAttribute(of, name, value) {
    if (of.getAttribute(name) !== String(value)) of.setAttribute(name, value);
  }

  announceTyping() {
    const {typed} = this.face;
    const text =
      typed === null ? '' : `${this.face.typedIsWrong ? 'No such value' : 'Type a value'}: ${typed}`;
    if (this.announcer.textContent !== text) this.announcer.textContent = text;
  }

  listPresets() {
    const groups = [
      ['Factory', true],
      ['Yours', false],
    ].map(([label, isFactory]) => {
      const group = element('optgroup', {label});
      this.face.presets().forEach((preset, i) => {
        if (preset.isFactory === isFactory) group.append(new Option(preset.name, i));
      });
      return group;
    });
    this.presetList.replaceChildren(...groups.filter((group) => group.children.length));
    this.presetList.value = this.face.preset;
  }

  // A point of the canvas in pixels of the picture.
  pixelOf({offsetX, offsetY}) {
    const scale = this.canvas.width / this.canvas.clientWidth;
    return [offsetX * scale, offsetY * scale];
  }

  elementAt({offsetX, offsetY}) {
    const [x, y] = [
      (offsetX * kWidth) / this.canvas.clientWidth,
      (offsetY * kHeight) / this.canvas.clientHeight,
    ];
    const found = this.face.controls.find(
      (control) =>
        x >= control.x && x < control.x + control.width && y >= control.y && y < control.y + control.height,
    );
    return found && this.elements[found.place];
  }

  listenToMouse() {
    const {
      canvas,
      face: {module},
    } = this;
    const on = (type, act) =>
      canvas.addEventListener(type, (event) => {
        act(event, ...this.pixelOf(event));
        this.afterHand();
      });
    on('pointerdown', (event, x, y) => {
      event.preventDefault();
      canvas.setPointerCapture(event.pointerId);
      this.isPointing = true;
      if (!this.face.menuIsOpen) (this.elementAt(event) ?? this.active)?.focus({preventScroll: true});
      module.face_press(x, y, event.button === 2, event.shiftKey, event.timeStamp / 1000);
      this.isPointing = false;
    });
    on('pointermove', (event, x, y) => module.face_drag(x, y, event.shiftKey));
    on('pointerup', (_event, x, y) => module.face_release(x, y));
    on('pointercancel', () => module.face_let_go());
    on('pointerleave', () => module.face_leave());
    canvas.addEventListener('contextmenu', (event) => event.preventDefault());
    canvas.addEventListener(
      'wheel',
      (event) => {
        event.preventDefault();
        // Shift turns a wheel to the side.
        const way = event.deltaY || event.deltaX;
        const notches = event.deltaMode === 0 ? way / kWheelNotch : way * kWheelLine;
        module.face_wheel(...this.pixelOf(event), -notches, event.shiftKey);
        this.afterHand();
      },
      {passive: false},
    );
  }

  listenToKeys() {
    this.behind.addEventListener('keydown', (event) => {
      if (event.ctrlKey || event.metaKey || event.altKey || event.isComposing) return;
      if (event.key === 'Tab') return this.leaveByTab();
      if (event.repeat && !this.face.isRepeatable(event)) return event.preventDefault();
      if (!this.face.key(event)) return;
      event.preventDefault();
      this.afterHand();
      this.followFocus();
    });
    this.behind.addEventListener('focusout', ({relatedTarget}) => {
      if (this.isPointing || this.behind.contains(relatedTarget)) return;
      this.face.module.face_let_go();
      this.afterHand();
    });
  }

  // A value that is being typed is taken; the browser moves the focus.
  leaveByTab() {
    if (this.face.menuIsOpen) this.face.key({key: 'Escape', shiftKey: false});
    if (this.face.typed !== null) this.face.key({key: 'Tab', shiftKey: false});
    this.afterHand();
  }

  // The arrow keys lead from one channel to the next.
  followFocus() {
    const focused = this.elements[this.face.focus];
    if (focused && focused !== this.active) focused.focus({preventScroll: true});
  }
}
