// SPDX-License-Identifier: ISC
// The page: what its buttons do.
import {addressOf, keepSound, keptSound, soundOf} from './address.js';
import {keepCabinet, keptCabinet, preparedCabinet, readCabinet} from './cabinet.js';
import {Face} from './face.js';
import {FaceView} from './face_view.js';
import {fetchModule, instantiateLater} from './module.js';
import {inputProblem, Player} from './player.js';
import {deletePreset, onPresetsChanged, readPresets, savePreset} from './presets.js';
import {readRecording} from './recording.js';
import {render, withTail} from './render.js';
import {writeWav} from './wav.js';

// The page's elements by their names there.
const ui = Object.fromEntries([...document.querySelectorAll('[id]')].map((element) => [element.id, element]));

const kInput = 'input';
const kFile = 'file';
const kNoCabinet = 'none';
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
    face.showCabinet(kNoCabinet);
    this.adoptSound(keptSound() ?? location.hash);
    this.view = new FaceView(face, ui.face);
    this.listSources();
    this.showRender();
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
      await this.player.playRecording(this.recording(), ui.loop.checked);
    }
  }

  // The one that was chosen stays so while it is there; at first it is the one that plays.
  async listDevices() {
    const chosen = ui.device.value;
    const devices = await this.player.inputDevices();
    ui.device.replaceChildren(...devices.map(({name, id}) => new Option(name, id)));
    if (devices.some(({id}) => id === chosen)) ui.device.value = chosen;
    this.showChoices();
  }

  showChoices() {
    const {value} = ui.source;
    ui['device-choice'].hidden = value !== kInput || ui.device.options.length < 2;
    ui['input-choice'].hidden = value !== kInput;
    ui.file.hidden = value !== kFile;
  }

  showRender() {
    ui.render.disabled = this.isRendering || ui.source.value === kInput || ui.source.value === kFile;
    ui.progress.hidden = !this.isRendering;
  }

  async choose() {
    const {value} = ui.source;
    this.showChoices();
    this.showRender();
    const wasPlaying = this.player.isPlaying;
    this.player.stop();
    if (wasPlaying && value !== kFile) await this.play();
  }

  async takeFile(file) {
    if (!file) return;
    ui.file.value = ''; // so that the same one can be chosen again
    const recording = await readRecording(file.name, await file.arrayBuffer());
    const name = `own:${file.name}`;
    this.recordings.set(name, recording);
    [...ui.source.options].find((option) => option.value === name)?.remove();
    ui.source.prepend(new Option(file.name, name, false, true));
    await this.choose();
    const {samples, rate} = recording;
    say(`${file.name}: ${(samples.length / rate).toFixed(1)} s at ${rate} Hz.`);
  }

  async chooseCabinet() {
    const {value} = ui.cabinet;
    ui['cabinet-file'].hidden = value !== kFile;
    if (value === kFile) return;
    const cabinet = value === kNoCabinet ? null : this.ownCabinet;
    await this.player.setCabinet(cabinet);
    this.face.showCabinet(cabinet?.name ?? kNoCabinet);
    await keepCabinet(cabinet);
  }

  async takeCabinet(file) {
    if (!file) return;
    ui['cabinet-file'].value = '';
    await this.addCabinet(await readCabinet(this.module, file.name, await file.arrayBuffer()));
    say(`The amplifier plays through ${this.ownCabinet.name}.`);
  }

  async addCabinet(cabinet) {
    this.ownCabinet = cabinet;
    [...ui.cabinet.options].find((option) => option.value === 'own')?.remove();
    ui.cabinet.options[0].after(new Option(cabinet.name, 'own', false, true));
    await this.chooseCabinet();
  }

  async renderWav() {
    if (this.isRendering) return;
    const {name, rate, samples} = await this.recording();
    this.isRendering = true;
    this.showRender();
    try {
      const sound = {
        module: this.module,
        rate,
        values: this.face.values(),
        cabinet: await preparedCabinet(this.module, this.player.cabinet, rate),
        channels: [withTail(samples, rate)],
      };
      const {channels, seconds} = await render(sound, (done) => {
        ui.progress.value = done;
      });
      this.save(new Blob([writeWav(channels, rate, ui.format.value)], {type: 'audio/wav'}), name);
      const played = channels[0].length / rate;
      const speed = Math.round(played / seconds);
      say(`${played.toFixed(1)} s rendered in ${seconds.toFixed(2)} s, ${speed} times real time.`);
    } finally {
      this.isRendering = false;
      ui.progress.value = 0;
      this.showRender();
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

  // address: the part of one behind "#".
  adoptSound(address) {
    const sound = soundOf(address, this.face);
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
    this.player.addEventListener('lost', () =>
      complain('The interface has gone, or was taken from this page.'),
    );
    const stopped = () => complain('The amplifier has stopped. Load the page again.');
    this.player.addEventListener('broken', stopped);
    addEventListener('error', ({error}) => error instanceof WebAssembly.RuntimeError && stopped());
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
    ui.play.classList.toggle('playing', isPlaying);
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
    on('cabinet', 'change', () => this.chooseCabinet());
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
    addEventListener('hashchange', () => this.adoptSound(location.hash));
    addEventListener('pagehide', () => keepSound(addressOf(this.face)));
    for (const hand of ['pointerdown', 'keydown']) {
      addEventListener(hand, () => this.player.resume());
    }
    navigator.mediaDevices?.addEventListener('devicechange', () => this.listDevices());
  }

  listenToFiles() {
    const take = (file, {target}) =>
      attempt(() => (ui['cabinet-choice'].contains(target) ? this.takeCabinet(file) : this.takeFile(file)));
    for (const name of ['file', 'cabinet-file']) {
      ui[name].addEventListener('change', (event) => take(ui[name].files[0], event));
    }
    const mark = (isOver) => document.body.classList.toggle('dropping', isOver);
    const hasFile = ({dataTransfer}) => dataTransfer.types.includes('Files');
    addEventListener('dragover', (event) => {
      if (!hasFile(event)) return;
      event.preventDefault();
      mark(true);
    });
    addEventListener('dragleave', ({relatedTarget}) => mark(relatedTarget !== null));
    addEventListener('drop', (event) => {
      if (!hasFile(event)) return;
      event.preventDefault();
      mark(false);
      take(event.dataTransfer.files[0], event);
    });
  }
}

async function open() {
  const [module, takes] = await Promise.all([
    fetchModule(),
    fetch('takes/takes.json').then((response) => (response.ok ? response.json() : [])),
  ]);
  const page = new Page(module, new Face(await instantiateLater(module)), takes);
  const cabinet = await keptCabinet();
  if (cabinet) await page.addCabinet(cabinet);
  await navigator.serviceWorker?.register('service_worker.js').catch(() => {}); // works without, too
  return page;
}

// For whoever drives the page from outside, such as its tests.
export const page = open();
page.catch((error) => complain(`The amplifier could not be loaded: ${error.message}`));
