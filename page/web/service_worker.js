// SPDX-License-Identifier: ISC
// Keeps the whole page for use without a network. scripts/page writes the two constants: another
// page is another version, which takes over when no tab shows the old one.
const kVersion = '@VERSION@';
const kFiles = ['@FILES@'];

const kPrefix = `quellard ${registration.scope} `;
const kCache = kPrefix + kVersion;

addEventListener('install', (event) => {
  const fresh = kFiles.map((file) => new Request(file, {cache: 'reload'}));
  event.waitUntil(caches.open(kCache).then((cache) => cache.addAll(fresh)));
});

addEventListener('activate', (event) => {
  const old = (name) => name.startsWith(kPrefix) && name !== kCache;
  event.waitUntil(
    caches.keys().then((names) => Promise.all(names.filter(old).map((name) => caches.delete(name)))),
  );
});

addEventListener('fetch', (event) => {
  if (event.request.method !== 'GET') return;
  event.respondWith(
    caches
      .open(kCache)
      .then((cache) => cache.match(event.request, {ignoreSearch: true}))
      .then((kept) => kept ?? fetch(event.request)),
  );
});
