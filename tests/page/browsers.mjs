// SPDX-License-Identifier: ISC
// Debian's two browsers behind what their drivers have in common: `page` has evaluate, mouse,
// keyboard, goto, screenshot and close in both.
import {createReadStream, existsSync} from 'node:fs';
import {createServer} from 'node:http';
import {createRequire} from 'node:module';
import {extname, join, normalize} from 'node:path';

const {QUELLARD_PAGE: kFolder, QUELLARD_DRIVERS: kDrivers} = process.env;
const require = createRequire(join(kDrivers, 'package.json'));

const kTypes = {
  '.html': 'text/html',
  '.js': 'text/javascript',
  '.css': 'text/css',
  '.svg': 'image/svg+xml',
  '.json': 'application/json',
  '.wasm': 'application/wasm',
  '.flac': 'audio/flac',
  '.webmanifest': 'application/manifest+json',
};

// A web server of the page. Gives its address, what was asked of it, `files`, by whose names it
// serves further bytes, and stop().
export async function serve(folder = kFolder) {
  const asked = [];
  const files = new Map();
  const server = createServer((request, response) => {
    const path = normalize(decodeURIComponent(new URL(request.url, 'http://here').pathname));
    asked.push(path);
    const file = join(folder, path.endsWith('/') ? `${path}index.html` : path);
    const type = {'Content-Type': kTypes[extname(file)] ?? 'application/octet-stream'};
    if (files.has(path)) return response.writeHead(200, type).end(Buffer.from(files.get(path)));
    if (!existsSync(file)) return response.writeHead(404).end();
    response.writeHead(200, type);
    createReadStream(file).pipe(response);
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  const stop = () =>
    new Promise((resolve) => {
      server.close(resolve);
      server.closeAllConnections();
    });
  return {address: `http://localhost:${server.address().port}/`, asked, files, stop};
}

async function openChromium() {
  const {chromium} = require('playwright-core');
  const browser = await chromium.launch({
    executablePath: '/usr/bin/chromium',
    args: ['--no-sandbox', '--use-fake-device-for-media-stream'],
  });
  return {
    newPage: async ({microphone = false, scale = 1} = {}) => {
      const context = await browser.newContext({
        viewport: kViewport,
        deviceScaleFactor: scale,
        permissions: microphone ? ['microphone'] : [],
        acceptDownloads: true,
      });
      return context.newPage();
    },
    sibling: (page) => page.context().newPage(),
    close: () => browser.close(),
  };
}

const kViewport = {width: 1200, height: 1000};

// One process allows the microphone to every page or to none.
async function openFirefox({microphone = false} = {}) {
  const {default: puppeteer} = await import(require.resolve('puppeteer-core'));
  const browser = await puppeteer.launch({
    browser: 'firefox',
    executablePath: '/usr/bin/firefox-esr',
    extraPrefsFirefox: {
      'media.navigator.streams.fake': true,
      'media.navigator.permission.disabled': microphone,
      'permissions.default.microphone': microphone ? 1 : 2,
      'media.autoplay.default': 1,
    },
  });
  const newPage = async () => {
    const page = await browser.newPage();
    await page.setViewport(kViewport);
    return page;
  };
  return {newPage, sibling: newPage, close: () => browser.close()};
}

export const kBrowsers = {chromium: openChromium, firefox: openFirefox};

// What a group of tests begins with, and end(), which closes all of it.
export async function begin(open, options) {
  const server = await serve();
  let browser = null;
  const end = async () => {
    await browser?.close();
    await server.stop();
  };
  try {
    browser = await open(options);
    return {server, browser, end, page: await openPage(browser, server.address, options)};
  } catch (error) {
    await end();
    throw error;
  }
}

// Opens the page, and waits until its amplifier is there: `quellard` for what is evaluated in it, with
// base64Of() and bytesOf() for what goes out and in, since drivers take long for each number.
export async function openPage(browser, address, options) {
  const page = await browser.newPage(options);
  await show(page, address);
  return page;
}
export async function show(page, address) {
  if (address) await page.goto(address);
  await page.evaluate(async () => {
    const {page: opened} = await import(new URL('main.js', document.baseURI));
    window.quellard = await opened;
    window.base64Of = (part) =>
      new Promise((resolve) => {
        const reader = new FileReader();
        reader.onload = () => resolve(reader.result.split(',')[1]);
        reader.readAsDataURL(new Blob([part]));
      });
    window.bytesOf = (base64) => Uint8Array.from(atob(base64), (char) => char.charCodeAt(0));
  });
}

// The text of an element, once it matches.
export async function textOf(page, selector, pattern) {
  const [found] = await until(`${selector} ${pattern}`, async () => {
    const text = await page.evaluate((of) => document.querySelector(of).textContent, selector);
    return pattern.test(text) && [text];
  });
  return found;
}

export async function until(what, isSo, seconds = 8) {
  const end = Date.now() + 1000 * seconds;
  for (;;) {
    const found = await isSo();
    if (found) return found;
    if (Date.now() > end) throw new Error(`${what}: not within ${seconds} s`);
    await new Promise((resolve) => setTimeout(resolve, 50));
  }
}
