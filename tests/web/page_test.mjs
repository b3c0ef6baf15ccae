// Opens the browser page in headless Chromium and chooses files as a user does:
//   PAGE=dipx.html CHROMIUM=chromium DIPX=dipx SOURCE=ROOT node --test page_test.mjs
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { gzipSync } from "node:zlib";
import { Browser } from "../outputs/page/browser.mjs";
import { inCommand, twoSets } from "./native.mjs";

const [html, chromium, dipx, source] = ["PAGE", "CHROMIUM", "DIPX", "SOURCE"].map((name) => process.env[name]);
const folder = mkdtempSync(join(tmpdir(), "dipx-web-"));
const example = (name) => join(source, "examples", name);
let browser;
let page;

before(async () => {
  browser = await Browser.start(chromium);
  page = await browser.open(html);
});

after(async () => {
  await browser.stop();
  rmSync(folder, { recursive: true });
});

async function fillFiles(selector, files) {
  const { root } = await page.send("DOM.getDocument");
  const { nodeId } = await page.send("DOM.querySelector", { nodeId: root.nodeId, selector });
  await page.send("DOM.setFileInputFiles", { nodeId, files });
}

async function choose(...files) {
  await page.value("document.getElementById('files').value = ''"); // the same files would be no change
  await fillFiles("#files", files);
}

/// Sets controls by their names; those that are not named become empty.
async function setOptions(values) {
  await page.value(`document.getElementById("form").reset(), undefined`);
  for (const [name, value] of Object.entries(values)) {
    await page.value(`document.querySelector("[name=${name}]").value = ${JSON.stringify(String(value))}`);
  }
}

async function submit() {
  await page.value("document.querySelector('#form button').click()");
}

/// Returns the complaint about options once there is one that the expression accepts.
async function complaintAfter(values, expected) {
  const files = await page.value("chosen.length");
  await setOptions(values);
  await submit();
  assert.match(await until("document.getElementById('complaints').innerText"), expected);
  assert.ok(files > 0);
}

/// Waits until an expression has a true value and returns it.
async function until(expression) {
  for (const end = Date.now() + 30000; Date.now() < end; ) {
    const value = await page.value(expression);
    if (value) return value;
    await new Promise((done) => setTimeout(done, 50));
  }
  throw new Error(`${expression} did not become true: ${await page.value("document.body.innerText")}`);
}

/// Returns the value of an expression in the frame of the analysis, once it has a true one there. The browser runs the
/// frame in a process of its own, so it is a target of its own.
async function untilInFrame(expression) {
  const wanted = await page.value("document.getElementById('page').src");
  let sessionId;
  for (const end = Date.now() + 30000; Date.now() < end; ) {
    const { targetInfos } = await browser.send("Target.getTargets");
    const frame = targetInfos.find(({ type, url }) => type === "iframe" && url.startsWith(wanted));
    if (frame) {
      sessionId ??= (await browser.send("Target.attachToTarget", { targetId: frame.targetId, flatten: true })).sessionId;
      const { result } = await browser.send("Runtime.evaluate", { expression, returnByValue: true }, sessionId);
      if (result.value) return result.value;
    }
    await new Promise((done) => setTimeout(done, 50));
  }
  throw new Error(`${expression} did not become true in the frame`);
}

test("says that nothing leaves the machine, and may not open a connection", async () => {
  assert.match(await page.value("document.getElementById('promise').innerText"), /Nothing leaves this machine/);
  const policy = await page.value("document.querySelector('meta[http-equiv]').content");
  assert.match(policy, /default-src 'none'; connect-src 'none';/);
  assert.equal(await page.value("fetch('https://example.org/').then(() => 'sent', () => 'refused')"), "refused");
  page.complaints.length = 0; // the browser reports what it refused
});

test("shows the page of a record that is chosen", async () => {
  await choose(example("rte_00.cfg"), example("rte_00.dat"));
  await until("!document.getElementById('result').hidden");
  const document_ = await untilInFrame("document.querySelectorAll('#plots canvas').length > 1 && document.getElementById('document').textContent");
  const { output } = inCommand(dipx, example("rte_00.cfg"), ["--json"]);
  assert.deepEqual(JSON.parse(document_), JSON.parse(output));
  assert.match(await untilInFrame("document.getElementById('summary').innerText"), /Dip/);
  assert.deepEqual(await page.value("[...document.querySelectorAll('#saving button')].map((button) => button.textContent)"),
    ["Save this page", "Save as CSV", "Save as JSON"]);
});

test("shows several records as a table, from which one can be opened", async () => {
  writeFileSync(join(folder, "bad.csv"), "t,x\n0,1\n1,2\n");
  await choose(example("rte_00.dat"), example("rte_08_volts.csv"), example("rte_00.cfg"), join(folder, "bad.csv"));
  await until("document.querySelectorAll('#records tbody tr').length === 3 && document.getElementById('save-all')");
  const rows = await page.value("[...document.querySelectorAll('#records tbody tr')].map((row) => [...row.cells].map((cell) => cell.innerText))");
  const { events } = JSON.parse(inCommand(dipx, example("rte_00.cfg"), ["--json"]).output);
  const event = events.find(({ kind }) => kind === "dip");
  assert.equal(rows[0][0], "bad.csv");
  assert.match(rows[0][1], /^bad\.csv: .*; /);
  assert.deepEqual(rows[1].slice(0, 4), ["rte_00.cfg", String(events.length), "dip", `${event.start.time_s.toFixed(4)} s`]);
  assert.equal(rows[1][5], `${event.extreme.percent.toFixed(1)} %`);
  await page.value("document.querySelectorAll('#records button')[1].click()");
  await until("!document.getElementById('result').hidden");
  assert.match(await untilInFrame("document.getElementById('file').innerText"), /rte_08_volts\.csv/);
});

test("uses the options", async () => {
  await page.value("document.querySelector('[name=nominal]').value = '400 kV'; document.querySelector('[name=nominal_kind]').value = 'line'");
  await choose(example("rte_08_volts.csv"));
  const { output } = inCommand(dipx, example("rte_08_volts.csv"), ["--json", "--nominal", "400kV:line"]);
  await until("/was analysed/.test(document.getElementById('status').innerText)");
  assert.deepEqual(JSON.parse(await untilInFrame("document.getElementById('document').textContent")), JSON.parse(output));
  await page.value("document.querySelector('[name=nominal]').value = 'high'; document.querySelector('#form button').click()");
  assert.match(await until("document.getElementById('complaints').innerText"), /'high' is not a voltage; use a form such as 230 or 20kV/);
  await page.value("document.querySelector('[name=nominal]').value = ''");
});

test("uses thresholds, a stretch and a tolerance curve", async () => {
  const record = example("rte_08_volts.csv");
  const curve = join(folder, "press.csv");
  writeFileSync(curve, "duration_ms,voltage_percent\n50,0\n400,60\n");
  await choose(record);
  await until("!document.getElementById('result').hidden");
  await setOptions({ dip_threshold: 70, from: 0.01, to: 2 });
  await fillFiles("#curves", [curve]);
  await page.value("document.getElementById('status').textContent = ''");
  await submit();
  await until("/was analysed/.test(document.getElementById('status').innerText)");
  const { output } = inCommand(dipx, record, ["--json", "--dip-threshold", "70", "--from", "0.01", "--to", "2", "--curve", curve]);
  assert.deepEqual(JSON.parse(await untilInFrame("document.getElementById('document').textContent")), JSON.parse(output));
});

test("says what is wrong with options", async () => {
  await choose(example("rte_08_volts.csv"));
  await until("!document.getElementById('result').hidden");
  await complaintAfter({ set: "two" }, /^Voltage set: 'two' is neither a whole number from 1 on nor 'all'/);
  await complaintAfter({ part: "0" }, /^Part of the record: '0' is neither/);
  await complaintAfter({ set: "all", channels: "1,2,3" }, /^Voltage set: it cannot be chosen together with named voltages; /);
  await complaintAfter({ from: 2, to: 1 }, /^Use from: this time is not before/);
  await complaintAfter({ reference: "declared" }, /^Thresholds refer to: the declared voltage is not given; /);
  await complaintAfter({ dip_threshold: 101 }, /^A dip is below, %: /);
  await complaintAfter({ dip_threshold: 4 }, /^--interruption-threshold 5 is not below --dip-threshold 4; /);
  await setOptions({});
});

test("shows all sets of a record as a table, from which one can be opened", async () => {
  const tables = [["--depth", "40"], ["--depth", "60", "--phases", "A"]];
  const [one, other] = tables.map((options) => execFileSync(dipx, ["synth", "--rate", "1600", "--noise", "0.5", ...options], { encoding: "utf8" }));
  const record = join(folder, "two_sets.csv");
  writeFileSync(record, twoSets(one, other));
  await setOptions({ set: "all" });
  await choose(record);
  await until("document.querySelectorAll('#records tbody tr').length === 2 && document.getElementById('save-all')");
  const names = await page.value("[...document.querySelectorAll('#records button')].map((button) => button.innerText)");
  assert.deepEqual(names, ["two_sets.csv, set 1", "two_sets.csv, set 2"]);
  await page.value("document.querySelectorAll('#records button')[1].click()");
  await until("!document.getElementById('result').hidden");
  const { output } = inCommand(dipx, record, ["--json", "--set", "2"]);
  assert.deepEqual(JSON.parse(await untilInFrame("document.getElementById('document').textContent")), JSON.parse(output));
  assert.equal(await page.value("stemOf(document.getElementById('shown').innerText)"), "two_sets_set_2");
  await setOptions({});
});

test("says what is wrong with a file, where, and what helps", async () => {
  await choose(example("rte_00.cfg"));
  assert.match(await until("document.getElementById('complaints').innerText"), /^rte_00\.cfg: is only one of the two files.*; choose its \.dat file/);
  writeFileSync(join(folder, "empty.csv"), "");
  await choose(join(folder, "empty.csv"));
  const { message } = inCommand(dipx, join(folder, "empty.csv"));
  await until("document.getElementById('complaints').innerText.startsWith('empty.csv')");
  assert.equal(await page.value("document.getElementById('complaints').innerText.trim()"), message);
  await choose(example("rte_08_volts.csv"));
  await until("!document.getElementById('result').hidden");
});

test("has less than 500 kB when a server compresses it", () => {
  assert.ok(gzipSync(readFileSync(html), { level: 9 }).length < 500e3);
});

test("says so if the browser cannot run the analysis", async () => {
  const broken = join(folder, "broken.html");
  const whole = readFileSync(html, "utf8");
  const without = whole.replace(/(<script id="module"[^>]*>)[^<]+/, "$1AAAA");
  assert.ok(without.length < whole.length / 2);
  writeFileSync(broken, without);
  const usual = page;
  try {
    page = await browser.open(broken);
    await choose(example("rte_08_volts.csv"));
    assert.match(await until("document.getElementById('complaints').innerText"), /^This browser is too old .*\. Use a current one, or the dipx command\./);
  } finally {
    page = usual;
  }
});

test("neither complains nor asks for anything from elsewhere", () => {
  assert.deepEqual(page.complaints, []);
  assert.deepEqual(page.requests.filter((url) => !/^(file|blob|data):|^https:\/\/example\.org\/$/.test(url)), []);
});
