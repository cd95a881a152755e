// SPDX-License-Identifier: ISC
// A sound as the part of an address behind "#": channel=vintage&vintage_gain=7.5&input=-3, with what
// differs from the defaults. Knobs are 0 to 10, levels and the gate decibels.
import {kSelector} from './module.js';

const kChannels = ['clean', 'vintage', 'modern'];

// The fewest digits that are this float again.
function shortest(float) {
  for (let digits = 1; digits < 9; ++digits) {
    const text = String(Number(float.toPrecision(digits)));
    if (Math.fround(Number(text)) === float) return text;
  }
  return String(float);
}

export function addressOf(face) {
  const parts = new URLSearchParams();
  for (const {index, symbol, neutral} of Object.values(face.parameters)) {
    if (index !== kSelector && face.value(index) === neutral) continue;
    const control = face.asControl(index);
    parts.set(symbol, index === kSelector ? kChannels[control] : shortest(control));
  }
  return `#${parts}`;
}

// {values: all of them, unknown: what could not be read}; null for an address without a sound.
export function soundOf(address, face) {
  const parts = new URLSearchParams(address.replace(/^#/, ''));
  if (![...parts].length) return null;
  const all = Object.values(face.parameters);
  const values = new Map(all.map(({index, neutral}) => [index, neutral]));
  const unknown = [];
  for (const [symbol, text] of parts) {
    const index = all.find((parameter) => parameter.symbol === symbol)?.index;
    const control = index === kSelector ? kChannels.indexOf(text) : Number(text || NaN);
    if (!index || !Number.isFinite(control) || (index === kSelector && control < 0)) {
      unknown.push(`${symbol}=${text}`);
    } else {
      values.set(index, face.asValue(index, control));
    }
  }
  return {values: [...values], unknown};
}

// A page that is loaded again in its tab goes on with the sound that it had.
const kKept = 'quellard.sound';

export function keepSound(sound) {
  try {
    sessionStorage.setItem(kKept, JSON.stringify({page: location.href, sound}));
  } catch {} // a store that is closed to the page
}

// Null where there is none, or where it was of another address.
export function keptSound() {
  try {
    const {page, sound} = JSON.parse(sessionStorage.getItem(kKept));
    return page === location.href ? sound : null;
  } catch {
    return null;
  }
}
