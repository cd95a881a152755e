// SPDX-License-Identifier: ISC
// The player's own presets: [{name, values: [[parameter, value], ...]}, ...], in the browser's store.

const kKey = 'quellard.presets';

function isPreset(entry) {
  return (
    typeof entry?.name === 'string' &&
    entry.name !== '' &&
    Array.isArray(entry.values) &&
    entry.values.every((pair) => Array.isArray(pair) && pair.length === 2 && pair.every(Number.isFinite))
  );
}

// What is no preset is left out; where the store is closed to the page, there are none.
export function readPresets() {
  try {
    const all = JSON.parse(localStorage.getItem(kKey) ?? '[]');
    return Array.isArray(all) ? all.filter(isPreset) : [];
  } catch {
    return [];
  }
}

// Throws an Error with a reason for people.
function write(presets) {
  try {
    localStorage.setItem(kKey, JSON.stringify(presets));
  } catch (error) {
    throw new Error(`The browser keeps no presets for this page: ${error.message}`, {cause: error});
  }
}

// In place of one with the same name.
export function savePreset(name, values) {
  const others = readPresets().filter((preset) => preset.name !== name);
  write([...others, {name, values}].sort((a, b) => a.name.localeCompare(b.name)));
}

export function deletePreset(name) {
  write(readPresets().filter((preset) => preset.name !== name));
}

// Another tab has changed them.
export function onPresetsChanged(act) {
  addEventListener('storage', ({key}) => {
    if (key === kKey || key === null) act();
  });
}
