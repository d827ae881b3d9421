// Drives Debian's Chromium for the simulated host's browser item. One JSON object per line in
// both directions: commands on stdin, replies and page events on stdout.
//
// In (each may carry "id"; commands with an id are answered with {"reply": id, ...}); the end
// of input closes the browser and ends the driver:
//   {"op": "load", "url"}                      navigate; not waited for
//   {"op": "exec", "script"}                   run a script, errors swallowed
//   {"op": "register", "name", "functions"}    window.NAME.FUNCTION(arg) -> add-on, every document
//   {"op": "eval", "script"}                   run a script, reply with its (awaited) value
//   {"op": "wait", "script", "timeoutMs"}      reply once the script's value is truthy
//   {"op": "click", "selector", "timeoutMs"}   click an element as a user would
//   {"op": "reload"}                           reload; replies once the new document is committed
//   {"op": "screenshot", "path"}               save the viewport as PNG
//   {"op": "result", "call", "value"}          the add-on's JSON answer to a page call
// Out:
//   {"event": "ready"} once the page exists, or {"event": "failed", "error"}
//   {"event": "loading", "loading": true|false} as the page starts and finishes loading
//   {"event": "call", "call", "object", "function", "argument"} (argument as JSON text)
//   {"reply": id, "ok": true, "value": JSON text} or {"reply": id, "ok": false, "error"}
import { createInterface } from 'node:readline';
import { chromium } from 'playwright-core';

const kChromium = '/usr/bin/chromium';
// Without the networking switches Chromium keeps trying to reach outside hosts.
const kChromiumArgs = [
  '--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
  '--disable-background-networking', '--disable-component-update', '--disable-sync',
];
// The palette's panel size.
const kViewport = { width: 440, height: 720 };
const kPollMs = 100;

// Playwright's messages go on with a coloured call log; the first line says what happened.
function firstLine(error) {
  return String(error?.message ?? error).split('\n')[0];
}

function send(message) {
  process.stdout.write(JSON.stringify(message) + '\n');
}

// The page-side object: each function hands its argument over as JSON text and resolves with
// the add-on's answer. Runs in every document, so it must stand on its own.
function defineBridgeObject({ name, functions, prefix }) {
  const object = {};
  for (const fn of functions) {
    object[fn] = (argument) => {
      let text = 'null';
      try {
        text = JSON.stringify(argument) ?? 'null';
      } catch (error) {
        text = 'null';
      }
      return window[prefix + fn](text).then((answer) => {
        try {
          return JSON.parse(answer);
        } catch (error) {
          return null;
        }
      });
    };
  }
  window[name] = object;
}

const kHostOps = new Set(['load', 'exec', 'register', 'zoom']);

class Driver {
  constructor(browser, page) {
    this.browser = browser;
    this.page = page;
    this.pendingCalls = new Map();
    this.nextCall = 1;
    this.bindings = new Set();
    this.registered = new Set();
    this.queue = Promise.resolve();
    this.hostQueue = Promise.resolve();
    this.closing = false;
    this.watchLoading();
  }

  // A navigation of the main frame starts loading (also one the page starts itself); the
  // document's load event ends it. Repeats of the same state are not reported.
  watchLoading() {
    this.loading = false;
    this.page.on('request', (request) => {
      if (request.isNavigationRequest() && request.frame() === this.page.mainFrame())
        this.reportLoading(true);
    });
    this.page.on('load', () => this.reportLoading(false));
  }

  reportLoading(loading) {
    if (loading === this.loading)
      return;
    this.loading = loading;
    send({ event: 'loading', loading });
  }

  // Page calls wait on the add-on, which may be waiting on a queued command: answers bypass
  // the queues. What the add-on asks of its browser control (load, exec, register, zoom) runs
  // in its own order and never waits behind what a user does (a click, or a wait whose page
  // script calls into the add-on, which then runs a script of its own in the page).
  accept(message) {
    if (message.op === 'result') {
      const resolve = this.pendingCalls.get(message.call);
      this.pendingCalls.delete(message.call);
      if (resolve)
        resolve(typeof message.value === 'string' ? message.value : 'null');
      return;
    }
    if (kHostOps.has(message.op))
      this.hostQueue = this.hostQueue.then(() => this.run(message));
    else
      this.queue = this.queue.then(() => this.run(message));
  }

  async run(message) {
    try {
      const value = await this.perform(message);
      if (message.id !== undefined)
        send({ reply: message.id, ok: true, value: JSON.stringify(value ?? null) });
    } catch (error) {
      if (message.id !== undefined)
        send({ reply: message.id, ok: false, error: firstLine(error) });
    }
  }

  perform(message) {
    switch (message.op) {
      case 'load':
        // Not waited for: the load is reported through the page's events, as a browser
        // control does (data: addresses make no request to see).
        this.reportLoading(true);
        this.page.goto(message.url).catch(() => {});
        return null;
      case 'exec':
        return this.page.evaluate((script) => { (0, eval)(script); }, message.script)
          .catch(() => null);
      case 'register':
        return this.register(message.name, message.functions);
      case 'zoom':
        // A headless page has no user zoom to turn off; zoom is left to the page.
        return null;
      case 'eval':
        return this.page.evaluate((script) => (0, eval)(script), message.script);
      case 'wait':
        return this.waitFor(message.script, message.timeoutMs ?? 30000);
      case 'click':
        return this.page.click(message.selector, { timeout: message.timeoutMs ?? 30000 })
          .then(() => true);
      case 'reload':
        return this.page.reload({ waitUntil: 'commit' }).then(() => true);
      case 'screenshot':
        return this.page.screenshot({ path: message.path }).then(() => message.path);
      default:
        throw new Error(`unknown op ${message.op}`);
    }
  }

  async register(name, functions) {
    const prefix = `__velmoraBridge_${name}_`;
    for (const fn of functions) {
      if (this.bindings.has(prefix + fn))
        continue;
      this.bindings.add(prefix + fn);
      await this.page.exposeBinding(prefix + fn, (source, argument) =>
        this.callAddOn(name, fn, argument));
    }
    const definition = { name, functions, prefix };
    const key = JSON.stringify(definition);
    if (!this.registered.has(key)) {
      this.registered.add(key);
      await this.page.addInitScript(defineBridgeObject, definition);
    }
    // The document already shown gets the object too; it may be mid-navigation.
    await this.page.evaluate(defineBridgeObject, definition).catch(() => {});
    return true;
  }

  callAddOn(object, fn, argument) {
    const call = this.nextCall++;
    return new Promise((resolve) => {
      this.pendingCalls.set(call, resolve);
      send({ event: 'call', call, object, function: fn, argument: String(argument) });
    });
  }

  async waitFor(script, timeoutMs) {
    const deadline = Date.now() + timeoutMs;
    let lastError = 'timed out';
    while (Date.now() < deadline) {
      try {
        const value = await this.page.evaluate((text) => (0, eval)(text), script);
        if (value)
          return value;
        lastError = `still ${JSON.stringify(value ?? null)}`;
      } catch (error) {
        lastError = firstLine(error); // e.g. a document being replaced
      }
      await new Promise((resolve) => setTimeout(resolve, kPollMs));
    }
    throw new Error(`not true within ${timeoutMs} ms (${lastError})`);
  }

  async close() {
    if (this.closing)
      return null;
    this.closing = true;
    for (const resolve of this.pendingCalls.values())
      resolve('null');
    this.pendingCalls.clear();
    await this.browser.close().catch(() => {});
    return null;
  }
}

async function main() {
  let browser;
  let driver;
  try {
    browser = await chromium.launch({
      executablePath: kChromium, headless: true, args: kChromiumArgs,
    });
    const page = await browser.newPage({ viewport: kViewport });
    driver = new Driver(browser, page);
  } catch (error) {
    send({ event: 'failed', error: firstLine(error) });
    if (browser)
      await browser.close().catch(() => {});
    process.exit(1);
  }
  send({ event: 'ready' });

  const lines = createInterface({ input: process.stdin });
  lines.on('line', (line) => {
    let message;
    try {
      message = JSON.parse(line);
    } catch (error) {
      return;
    }
    driver.accept(message);
  });
  // The host closed our input (done, or gone): nothing may outlive it.
  lines.on('close', async () => {
    await driver.close();
    process.exit(0);
  });
}

main();
