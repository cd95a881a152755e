// SPDX-License-Identifier: ISC
// The amplifier and its face, compiled: one module, of which each thread has an instance of its own.

// The C library closes and writes files where it ends a program, which a page never does.
const kBadFile = 8;
const refuse = () => kBadFile;
const imports = {wasi_snapshot_preview1: {fd_close: refuse, fd_seek: refuse, fd_write: refuse}};

export const kNumValues = 23; // numbered from 1
export const kSelector = 19;

// The bytes of the module, which any thread compiles in a moment.
export async function fetchModule(url = new URL('quellard.wasm', import.meta.url)) {
  const response = await fetch(url);
  if (!response.ok) throw new Error(`${url} is not there (${response.status})`);
  return response.arrayBuffer();
}

// Its exported functions, and `memory`. Synchronous: an audio worklet cannot wait.
export function instantiate(bytes) {
  const {exports} = new WebAssembly.Instance(new WebAssembly.Module(bytes), imports);
  exports._initialize();
  return exports;
}

// The same where a thread may wait, as a page's main thread must.
export async function instantiateLater(bytes) {
  const {instance} = await WebAssembly.instantiate(bytes, imports);
  instance.exports._initialize();
  return instance.exports;
}
