// Drives headless Chromium over its debugging pipe: opens a page, acts on it as a user does and reads it.
import { spawn } from "node:child_process";
import { mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";

export class Browser {
  static async start(program) {
    const browser = new Browser();
    browser.folder = mkdtempSync(join(tmpdir(), "dipx-browser-"));
    browser.process = spawn(
      program,
      [
        "--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
        "--disable-background-networking", "--disable-component-update", "--disable-sync",
        `--user-data-dir=${browser.folder}`, "--remote-debugging-pipe", "about:blank",
      ],
      { stdio: ["ignore", "ignore", "ignore", "pipe", "pipe"] },
    );
    browser.number = 0;
    browser.answers = new Map();
    browser.listeners = new Set();
    browser.gone = new Promise((_, fail) => {
      browser.process.once("exit", () => fail(new Error("the browser ended")));
      browser.process.once("error", fail);
    });
    browser.gone.catch(() => {});
    let rest = "";
    browser.process.stdio[4].setEncoding("utf8").on("data", (text) => {
      const messages = (rest + text).split("\0");
      rest = messages.pop();
      for (const message of messages) browser.receive(JSON.parse(message));
    });
    return browser;
  }

  receive(message) {
    if (message.id === undefined) {
      for (const listener of this.listeners) listener(message);
      return;
    }
    const { done, fail } = this.answers.get(message.id);
    this.answers.delete(message.id);
    if (message.error) fail(new Error(message.error.message));
    else done(message.result);
  }

  send(method, params = {}, sessionId = undefined) {
    const id = ++this.number;
    const answer = new Promise((done, fail) => this.answers.set(id, { done, fail }));
    this.process.stdio[3].write(JSON.stringify({ id, method, params, sessionId }) + "\0");
    return Promise.race([answer, this.gone]);
  }

  /// A page with a file in it, whose console errors, exceptions and requests are kept.
  async open(file, { width = 1200, height = 900, dark = false, touch = false, scale = 1 } = {}) {
    const { targetId } = await this.send("Target.createTarget", { url: "about:blank" });
    const { sessionId } = await this.send("Target.attachToTarget", { targetId, flatten: true });
    const page = new Page(this, targetId, sessionId);
    for (const domain of ["Page", "Runtime", "Log", "Network"]) await page.send(`${domain}.enable`);
    await page.send("Emulation.setDeviceMetricsOverride", { width, height, deviceScaleFactor: scale, mobile: touch });
    if (touch) await page.send("Emulation.setTouchEmulationEnabled", { enabled: true, maxTouchPoints: 2 });
    await page.send("Emulation.setEmulatedMedia", {
      features: [{ name: "prefers-color-scheme", value: dark ? "dark" : "light" }],
    });
    const loaded = page.event("Page.loadEventFired");
    await page.send("Page.navigate", { url: `file://${file}` });
    await loaded;
    await page.settled();
    return page;
  }

  async stop() {
    const ended = new Promise((done) => this.process.once("exit", done));
    // A browser that is killed leaves children that still write into its folder.
    await this.send("Browser.close").catch(() => this.process.kill());
    await ended;
    rmSync(this.folder, { recursive: true, force: true, maxRetries: 5 });
  }
}

class Page {
  constructor(browser, targetId, sessionId) {
    Object.assign(this, { browser, targetId, sessionId, complaints: [], requests: [] });
    this.listener = (message) => {
      if (message.sessionId !== sessionId) return;
      const { method, params } = message;
      if (method === "Runtime.exceptionThrown") this.complaints.push(params.exceptionDetails.exception?.description ?? params.exceptionDetails.text);
      if (method === "Runtime.consoleAPICalled" && ["error", "warning"].includes(params.type)) this.complaints.push(params.args.map((a) => a.value).join(" "));
      if (method === "Log.entryAdded" && params.entry.level !== "info") this.complaints.push(params.entry.text);
      if (method === "Network.requestWillBeSent") this.requests.push(params.request.url);
    };
    browser.listeners.add(this.listener);
  }

  send(method, params) {
    return this.browser.send(method, params, this.sessionId);
  }

  event(name) {
    return new Promise((done) => {
      const listener = (message) => {
        if (message.sessionId !== this.sessionId || message.method !== name) return;
        this.browser.listeners.delete(listener);
        done(message.params);
      };
      this.browser.listeners.add(listener);
    });
  }

  /// Returns the value of an expression; if it is a promise, its result.
  async value(expression) {
    const { result, exceptionDetails } = await this.send("Runtime.evaluate", { expression, returnByValue: true, awaitPromise: true });
    if (exceptionDetails) throw new Error(exceptionDetails.exception?.description ?? exceptionDetails.text);
    return result.value;
  }

  /// After the next picture was drawn.
  settled() {
    return this.value("new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(() => done())))");
  }

  box(selector) {
    return this.value(`(() => { const { left, top, width, height } = document.querySelector(${JSON.stringify(selector)}).getBoundingClientRect(); return { left, top, width, height }; })()`);
  }

  async mouse(type, x, y, more = {}) {
    await this.send("Input.dispatchMouseEvent", { type, x, y, button: "left", clickCount: 1, ...more });
  }

  async drag(from, to, y, modifiers = 0) {
    await this.mouse("mouseMoved", from, y, { button: "none", modifiers });
    await this.mouse("mousePressed", from, y, { modifiers });
    for (let i = 1; i <= 4; i++) await this.mouse("mouseMoved", from + ((to - from) * i) / 4, y, { modifiers, buttons: 1 });
    await this.mouse("mouseReleased", to, y, { modifiers });
    await this.settled();
  }

  async touch(type, points) {
    await this.send("Input.dispatchTouchEvent", { type, touchPoints: points.map(([x, y], id) => ({ x, y, id })) });
  }

  async picture(file, whole = true) {
    const { data } = await this.send("Page.captureScreenshot", { format: "png", captureBeyondViewport: whole });
    writeFileSync(file, Buffer.from(data, "base64"));
  }

  async print(file) {
    const { data } = await this.send("Page.printToPDF", { printBackground: true, preferCSSPageSize: true, paperWidth: 8.27, paperHeight: 11.69 });
    writeFileSync(file, Buffer.from(data, "base64"));
  }

  async close() {
    this.browser.listeners.delete(this.listener);
    await this.browser.send("Target.closeTarget", { targetId: this.targetId });
  }
}
