// SPDX-License-Identifier: ISC
// The page: what its buttons do.
import {addressOf, soundOf} from './address.js';
import {Face} from './face.js';
import {FaceView} from './face_view.js';
import {fetchModule, instantiateLater} from './module.js';
import {inputProblem, Player} from './player.js';
import {deletePreset, onPresetsChanged, readPresets, savePreset} from './presets.js';
import {mixDown, readRecording} from './recording.js';
import {render, withTail} from './render.js';
import {writeWav} from './wav.js';

// The page's elements by their names there.
const ui = Object.fromEntries([...document.querySelectorAll('[id]')].map((element) => [element.id, element]));

const kInput = 'input';
const kFile = 'file';
const kHeldShown_ms = 2000;

function say(text) {
  ui.message.textContent = text;
}
function complain(text) {
  ui.problem.textContent = text;
}

// Runs what a hand has started; what goes wrong is told.
async function attempt(task) {
  complain('');
  try {
    await task();
  } catch (error) {
    complain(error.message);
  }
}

class Page {
  constructor(module, face, takes) {
    this.module = module;
    this.face = face;
    this.takes = takes;
    this.recordings = new Map();
    this.player = new Player(module, () => face.values());
    face.showPresets(readPresets());
    this.adoptAddress();
    this.view = new FaceView(face, ui.face);
    this.listSources();
    this.listenToPlayer();
    this.listenToButtons();
    this.listenToFiles();
  }

  listSources() {
    const takes = this.takes.map(({name, file}) => new Option(name, file));
    ui.source.replaceChildren(
      ...takes,
      new Option('A recording of yours…', kFile),
      new Option('Microphone or interface', kInput),
    );
  }

  // Its name in the list, once it has been read.
  async recording() {
    const file = ui.source.value;
    if (file === kFile) throw new Error('Choose a recording, or drop one on the page.');
    if (!this.recordings.has(file)) {
      const response = await fetch(file);
      if (!response.ok) throw new Error(`${file} is not there (${response.status}).`);
      const {name} = this.takes.find((take) => take.file === file);
      this.recordings.set(file, await readRecording(name, await response.arrayBuffer()));
    }
    return this.recordings.get(file);
  }

  async play() {
    say('');
    if (ui.source.value === kInput) {
      const {value} = ui['input-channel'];
      await this.player
        .playInput(value === 'both' ? value : Number(value), ui.device.value)
        .catch((error) => {
          throw new Error(inputProblem(error), {cause: error});
        });
      await this.listDevices();
    } else {
      await this.player.playRecording(await this.recording(), ui.loop.checked);
    }
  }

  async listDevices() {
    const devices = await this.player.inputDevices();
    ui.device.replaceChildren(...devices.map(({name, id}) => new Option(name, id)));
    ui['device-choice'].hidden = devices.length < 2;
  }

  async choose() {
    const {value} = ui.source;
    ui['device-choice'].hidden = value !== kInput || ui.device.options.length < 2;
    ui['input-choice'].hidden = value !== kInput;
    ui.file.hidden = value !== kFile;
    ui.render.disabled = value === kInput || value === kFile;
    const wasPlaying = this.player.isPlaying;
    this.player.stop();
    if (wasPlaying && value !== kFile) await this.play();
  }

  async takeFile(file) {
    if (!file) return;
    const recording = await readRecording(file.name, await file.arrayBuffer());
    const name = `own:${file.name}`;
    this.recordings.set(name, recording);
    [...ui.source.options].find((option) => option.value === name)?.remove();
    ui.source.prepend(new Option(file.name, name, false, true));
    await this.choose();
    say(
      `${file.name}: ${(recording.channels[0].length / recording.rate).toFixed(1)} s at ${recording.rate} Hz.`,
    );
  }

  async renderWav() {
    const recording = await this.recording();
    ui.render.disabled = true;
    ui.progress.hidden = false;
    try {
      const {rate} = recording;
      const sound = {
        module: this.module,
        rate,
        values: this.face.values(),
        channels: [withTail(mixDown(recording), rate)],
      };
      const {channels, seconds} = await render(sound, (done) => {
        ui.progress.value = done;
      });
      this.save(new Blob([writeWav(channels, rate, ui.format.value)], {type: 'audio/wav'}), recording.name);
      const played = channels[0].length / rate;
      const speed = Math.round(played / seconds);
      say(`${played.toFixed(1)} s rendered in ${seconds.toFixed(2)} s, ${speed} times real time.`);
    } finally {
      ui.progress.hidden = true;
      ui.progress.value = 0;
      ui.render.disabled = false;
    }
  }

  save(blob, name) {
    const link = document.createElement('a');
    link.href = URL.createObjectURL(blob);
    link.download = `${name.replace(/\.[^.]*$/, '')} - Quellard.wav`;
    link.click();
    setTimeout(() => URL.revokeObjectURL(link.href), 60000);
  }

  async share() {
    history.replaceState(null, '', addressOf(this.face));
    const copied = await navigator.clipboard?.writeText(location.href).then(
      () => true,
      () => false,
    );
    say(
      copied
        ? 'The link to this sound is copied.'
        : 'The address of this page is now the link to this sound.',
    );
  }

  adoptAddress() {
    const sound = soundOf(location.hash, this.face);
    if (!sound) return;
    for (const [index, value] of sound.values) this.face.set(index, value);
    this.face.update(0, {input: 0, output: 0, gateIsOpen: true});
    this.player.move(this.face.values());
    if (sound.unknown.length)
      complain(`The address has what no amplifier knows: ${sound.unknown.join(', ')}`);
  }

  showPresets(chosen) {
    this.face.showPresets(readPresets(), chosen);
    this.view.listPresets();
    this.showDelete();
  }

  showDelete() {
    const own = this.face.presets()[this.face.preset];
    ui.delete.disabled = !own || own.isFactory;
  }

  savePreset() {
    const name = ui['preset-name'].value.trim();
    if (!name) throw new Error('A preset needs a name.');
    savePreset(name, this.face.values().slice(0, 19));
    this.showPresets(name);
    say(`${name} is saved in this browser.`);
  }

  deletePreset() {
    const {name} = this.face.presets()[this.face.preset];
    deletePreset(name);
    this.showPresets();
    say(`${name} is deleted.`);
  }

  listenToPlayer() {
    this.player.addEventListener('levels', ({detail}) => {
      this.view.levels = detail;
      if (detail.held) this.showHeld();
    });
    this.player.addEventListener('state', () => this.showState());
    this.player.addEventListener('broken', () => complain('The amplifier has stopped. Load the page again.'));
  }

  showHeld() {
    ui.held.hidden = false;
    clearTimeout(this.heldTimer);
    this.heldTimer = setTimeout(() => {
      ui.held.hidden = true;
    }, kHeldShown_ms);
  }

  showState() {
    const {isPlaying, isSuspended} = this.player;
    ui.play.textContent = isPlaying ? 'Stop' : 'Play';
    ui.play.setAttribute('aria-pressed', String(isPlaying));
    if (!isPlaying) this.view.levels = {input: 0, output: 0, gateIsOpen: true};
    if (isSuspended) {
      say(
        'The browser holds the sound back, or there is no sound output. Click anywhere on the page to hear it.',
      );
    } else if (this.wasSuspended) {
      say('');
    }
    this.wasSuspended = isSuspended;
  }

  listenToButtons() {
    const on = (name, type, act) =>
      ui[name].addEventListener(type, (event) => {
        event.preventDefault();
        attempt(() => act(event));
      });
    on('play', 'click', () => (this.player.isPlaying ? this.player.stop() : this.play()));
    on('source', 'change', () => this.choose());
    for (const choice of ['device', 'input-channel'])
      on(choice, 'change', () => this.player.isPlaying && this.play());
    ui.loop.addEventListener('change', () => this.player.setLoop(ui.loop.checked));
    on('save-form', 'submit', () => this.savePreset());
    on('delete', 'click', () => this.deletePreset());
    on('share', 'click', () => this.share());
    on('render', 'click', () => this.renderWav());
    this.view.addEventListener('moves', ({detail}) => {
      this.player.move(detail);
      this.showDelete();
    });
    onPresetsChanged(() => this.showPresets());
    addEventListener('hashchange', () => this.adoptAddress());
    addEventListener('pointerdown', () => {
      if (this.player.isSuspended) this.player.resume();
    });
  }

  listenToFiles() {
    ui.file.addEventListener('change', () => attempt(() => this.takeFile(ui.file.files[0])));
    const mark = (isOver) => document.body.classList.toggle('dropping', isOver);
    addEventListener('dragover', (event) => {
      event.preventDefault();
      mark(true);
    });
    addEventListener('dragleave', () => mark(false));
    addEventListener('drop', (event) => {
      event.preventDefault();
      mark(false);
      attempt(() => this.takeFile(event.dataTransfer.files[0]));
    });
  }
}

async function open() {
  const [module, takes] = await Promise.all([
    fetchModule(),
    fetch('takes/takes.json').then((response) => response.json()),
  ]);
  const page = new Page(module, new Face(await instantiateLater(module)), takes);
  await navigator.serviceWorker?.register('service_worker.js').catch(() => {}); // works without, too
  return page;
}

// For whoever drives the page from outside, such as its tests.
export const page = open();
page.catch((error) => complain(`The amplifier could not be loaded: ${error.message}`));
