// What `dipx analyse --html` writes, in headless Chromium, as a user meets it.
import assert from "node:assert/strict";
import { execFileSync, spawnSync } from "node:child_process";
import { mkdtempSync, readFileSync, readdirSync, rmSync, statSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { Browser } from "./browser.mjs";

const [dipx, chromium, example] = ["DIPX", "CHROMIUM", "EXAMPLE"].map((name) => process.env[name]);
const folder = mkdtempSync(join(tmpdir(), "dipx-page-"));
const path = (name) => join(folder, name);
let browser;

const records = {
  example,
  steps: path("steps.cff"), // two steps, 60 s at the highest rate
  shallow: path("shallow.csv"), // short and shallow
  lasting: path("lasting.csv"), // not recovered
  flat: path("flat.csv"), // no event
  many: path("many.csv"), // more events than get a card
  part: path("part.cfg"), // the second part of a record with a gap
  kinds: path("kinds.csv"), // a swell, an interruption and the dip that it lies in
  one: path("one.csv"), // a single voltage, with missing samples
};
const options = { part: ["--nominal", "220"], one: ["--channels", "1"] };
const documents = {};

function synth(name, ...options) {
  execFileSync(dipx, ["synth", ...options, "-o", records[name]]);
}

/// Takes the rows from 0.2 s to 0.4 s out of a record of 5120 Hz.
function cutAGap(dat) {
  const rows = readFileSync(dat, "ascii").trim().split("\n");
  const kept = rows.filter((_, row) => row < 0.2 * 5120 || row >= 0.4 * 5120);
  writeFileSync(dat, kept.map((row, i) => row.replace(/^\d+/, i + 1) + "\n").join(""));
}

/// Rows of a record of some seconds, whose voltages are sines of 325 V times a factor of time and phase; nothing where
/// that is null.
function rowsOf(seconds, names, factor) {
  const lines = [["t_s", ...names].join(",")];
  for (let i = 0; i < seconds * 3200; i++) {
    const t = i / 3200;
    const volts = names.map((_, p) => {
      const share = factor(t, p);
      return share === null ? "" : (share * 325 * Math.sin(2 * Math.PI * (50 * t - p / 3))).toFixed(3);
    });
    lines.push([t.toFixed(7), ...volts].join(","));
  }
  return lines.join("\n") + "\n";
}

const within = (t, from, to) => t > from && t < to;
/// A dip of A every second, each a little less deep than the one before but for the third, which is the deepest.
const manyDips = (t, p) => (p === 0 && within(t % 1, 0.4, 0.55) ? (Math.floor(t) === 2 ? 0.4 : 0.5 + 0.03 * Math.floor(t)) : 1);
const manyKinds = (t, p) => (within(t, 0.5, 0.7) && p === 1 ? 1.2 : within(t, 1.5, 1.7) ? 0.01 : 1);
const oneWithAGap = (t) => (within(t, 0.2, 0.25) ? null : within(t, 0.5, 0.7) ? 0.6 : 1);

before(async () => {
  synth("steps", "--start", "5", "--duration", "8,7", "--depth", "30,60", "--length", "60", "--noise", "0.5", "--binary");
  synth("shallow", "--depth", "12", "--duration", "0.04");
  synth("lasting", "--duration", "1", "--length", "1");
  synth("flat", "--depth", "0");
  writeFileSync(records.many, rowsOf(10, ["Ua", "Ub", "Uc"], manyDips));
  writeFileSync(records.kinds, rowsOf(2.5, ["Ua", "Ub", "Uc"], manyKinds));
  writeFileSync(records.one, rowsOf(1.2, ["U"], oneWithAGap));
  synth("part", "--rate", "5120", "--phases", "A", "--start", "0.8", "--duration", "0.2", "--length", "1.5");
  cutAGap(path("part.dat"));
  for (const [name, file] of Object.entries(records)) {
    const printed = execFileSync(dipx, ["analyse", "--json", file, "--html", path(`${name}.html`), ...(options[name] ?? [])], { encoding: "utf8" });
    documents[name] = JSON.parse(printed);
  }
  browser = await Browser.start(chromium);
});

after(async () => {
  await browser?.stop();
  rmSync(folder, { recursive: true, force: true });
});

async function opened(name, options, act) {
  const page = await browser.open(path(`${name}.html`), options);
  try {
    await act(page);
    assert.deepEqual(page.complaints, []);
  } finally {
    await page.close();
  }
}

const range = async (page) =>
  (await page.value("document.getElementById('range').textContent")).match(/[\d.]+/g).map(Number);
const press = async (page, name) => {
  await page.value(`[...document.querySelectorAll("#tools button")].find((b) => b.textContent === ${JSON.stringify(name)}).click()`);
  await page.settled();
};
const picture = (page, plot) => page.value(`document.querySelector("#${plot} canvas").toDataURL()`);

for (const name of Object.keys(records)) {
  for (const [kind, look] of Object.entries({
    "a wide window": { width: 1400 },
    "a phone": { width: 360, height: 740, touch: true, scale: 2 },
    "dark": { width: 900, dark: true },
  })) {
    test(`the page of '${name}' opens in ${kind} without complaint, request or sideways scrolling`, () =>
      opened(name, look, async (page) => {
        assert.equal(page.requests.length, 1, page.requests.join());
        assert.ok((await page.value("document.documentElement.scrollWidth")) <= look.width);
        assert.equal(await page.value("document.querySelectorAll('#plots canvas').length"), 2);
      }));
  }

  test(`the page of '${name}' holds the JSON document as it is printed`, () =>
    opened(name, {}, async (page) => {
      assert.deepEqual(JSON.parse(await page.value("document.getElementById('document').textContent")), documents[name]);
    }));

  test(`the page of '${name}' shows the document's figures in its tables`, () =>
    opened(name, {}, async (page) => {
      const cells = await page.value(`[...document.querySelectorAll("[data-of]")].map((e) => [e.dataset.of, e.textContent])`);
      const shown = new Set();
      for (const [of, text] of cells) {
        const figure = of.split(".").reduce((place, step) => place[step], documents[name]);
        shown.add(of);
        if (typeof figure === "string") {
          assert.equal(text, figure, of);
          continue;
        }
        const [, digits, unit] = text.replace("−", "-").match(/^([+-]?[\d.]+)\s?(.*)$/);
        const factor = { MV: 1e6, kV: 1e3, mV: 1e-3, ms: 1e-3, "MV/s": 1e6, "kV/s": 1e3, "mV/s": 1e-3 }[unit] ?? 1;
        const decimals = digits.includes(".") ? digits.length - digits.indexOf(".") - 1 : 0;
        const unitInLast = factor * 10 ** -decimals;
        const away = Number(digits) * factor - figure;
        if (of.endsWith("_plus_minus")) {
          // Half widths are rounded up, to one unit of the last digit at least.
          assert.ok(away > -1.1e-6 * unitInLast && away <= unitInLast, `${of}: '${text}' for ${figure}`);
        } else {
          assert.ok(Math.abs(away) <= 0.5000001 * unitInLast, `${of}: '${text}' for ${figure}`);
        }
      }
      // Every figure of every event is there, but for samples (their times are) and what other words say.
      const left_out = [
        /\.(sample|number|known|gradual|measured|source)$/,
        /\.reference\.kind$/, // the same for all
        /\.(lowest_urms_half|highest_urms_half|voltage|phase_jump|point_on_wave|steepest_change)\.\d\.phase$/, // the column
        /\.transitions\.\d+\.(end_s|phases)$/, // of an abrupt one
      ];
      const expected = [];
      const walk = (value, at) => {
        if (value !== null && typeof value === "object") {
          for (const [key, inner] of Object.entries(value)) walk(inner, `${at}.${key}`);
        } else if (value !== null && value !== "" && !left_out.some((kind) => kind.test(at))) {
          expected.push(at);
        }
      };
      walk(documents[name].events, "events");
      walk(documents[name].changes_without_event, "changes_without_event");
      assert.deepEqual(expected.filter((at) => !shown.has(at)), []);
    }));
}

test("a page of 60 s stays below 6 MB", () => {
  assert.ok(statSync(path("steps.html")).size < 6e6);
});

test("its curves are the record's: RMS as low as the document says, waves as high as the voltage", () =>
  opened("steps", {}, async (page) => {
    const { lowest_urms_half } = documents.steps.events[0];
    const lowest = await page.value("rms.values.map((phase) => phase.reduce((a, b) => Math.min(a, b)) * rms.scale)");
    // The curve has windows that end at every sample and so more of the noise than Urms(1/2), by some tenths of a volt.
    lowest.forEach((volts, i) => assert.ok(Math.abs(volts - lowest_urms_half[i].voltage_v) < 0.5, `${volts}`));
    const count = await page.value("wave.values[0].length");
    assert.equal(count, documents.steps.record.samples, "every sample");
    const peak = await page.value("wave.values[0].subarray(0, 6400).reduce((a, b) => Math.max(a, b)) * wave.scale");
    assert.ok(Math.abs(peak - 230 * Math.SQRT2) < 8, `${peak} V with 0.5 % of noise`);
  }));

test("a part of a record is shown at its times", () =>
  opened("part", {}, async (page) => {
    const { record, events: [dip] } = documents.part;
    assert.equal(record.part.number, 2);
    await press(page, "Whole record");
    const [from, to] = await range(page);
    assert.ok(Math.abs(from - 0.4) < 2e-4 && Math.abs(to - 1.5) < 4e-4, `${from} to ${to}`);
    // The one-cycle RMS passes the middle between 115 and 230 V within the cycle after each end of the course.
    const crossings = await page.value(`(() => {
      const [times, a] = raw(rms, recordStart, recordEnd);
      const low = [...times.keys()].filter((i) => a[i] < 172);
      return [times[low[0]], times[low.at(-1)]];
    })()`);
    assert.ok(crossings[0] > dip.course.start_s && crossings[0] < dip.course.start_s + 0.02, `${crossings}`);
    assert.ok(crossings[1] > dip.course.end_s && crossings[1] < dip.course.end_s + 0.02, `${crossings}`);
    const facts = (await page.value("document.getElementById('facts').textContent")).replaceAll("\u00a0", " ");
    assert.match(facts, /5632 samples, part 2 of 2 from 0\.4000 s/);
    assert.match(facts, /5120 Hz, 102\.4 per cycle of 50 Hz/);
  }));

test("events are judged by the declared voltage where it is given, and the rules say so", () =>
  opened("part", {}, async (page) => {
    const percents = documents.part.events[0].extreme.percent;
    assert.ok(Math.abs(percents - 115 / 2.2) < 0.1);
    const frame = await page.value("(({ y, height }) => ({ y: y.baseVal.value, height: height.baseVal.value }))(document.querySelector('#curves rect'))");
    const y = await page.value("document.querySelector('#curves circle').cy.baseVal.value");
    assert.ok(Math.abs((y - frame.y) / frame.height - (1 - percents / 100)) < 0.001);
    assert.equal(await page.value("document.getElementById('judged-by').textContent"), "declared voltage");
    const rules = (await page.value("document.getElementById('rules').textContent")).replaceAll("\u00a0", " ");
    assert.match(rules, /Referencedeclared voltage: A 220\.0 V, B 220\.0 V, C 220\.0 V/);
    assert.match(rules, /Declared voltage220\.0 V \(phase, as its level tells\): the voltages should be 220\.0 V/);
    assert.match(rules, /Dipbelow 90 %Swellabove 110 %Interruptionall voltages below 5 %Hysteresis2 %/);
  }));

test("the page opens on the worst event with some cycles to either side, the whole record in the strip above", () =>
  opened("many", {}, async (page) => {
    const worst = documents.many.events[2];
    const [from, to] = await range(page);
    assert.ok(from < worst.start.time_s - 0.03 && to > worst.end.time_s + 0.03, `${from} to ${to}`);
    assert.ok(to - from < 3 * worst.duration_s);
    const strip = await page.value("(({ x, width }) => [x.baseVal.value, width.baseVal.value])(document.querySelector('#overview .shown'))");
    const { width } = await page.box("#overview svg");
    assert.ok(Math.abs(strip[0] / width - from / 10) < 0.01 && Math.abs(strip[1] / width - (to - from) / 10) < 0.01, `${strip}`);
    assert.equal(await page.value("document.querySelectorAll('#overview .span').length"), documents.many.events.length);
  }));

test("a press on the strip moves the part that is shown there", () =>
  opened("many", {}, async (page) => {
    const before = await range(page);
    await page.value("document.getElementById('overview').scrollIntoView()");
    const { left, top, width, height } = await page.box("#overview svg");
    await page.mouse("mousePressed", left + width * 0.75, top + height / 2);
    await page.mouse("mouseReleased", left + width * 0.75, top + height / 2);
    await page.settled();
    const [from, to] = await range(page);
    assert.ok(Math.abs((from + to) / 2 - 7.5) < 0.02, `${from} to ${to}`);
    assert.ok(Math.abs(to - from - (before[1] - before[0])) < 3e-4);
  }));

test("each of a few events has a card within the first screen, which says what and when it is", () =>
  opened("kinds", { height: 800 }, async (page) => {
    const { events } = documents.kinds;
    assert.deepEqual(events.map(({ kind }) => kind), ["swell", "dip", "interruption"]);
    const cards = (await page.value("[...document.querySelectorAll('#summary .card')].map((card) => card.innerText)"))
      .map((text) => text.replaceAll("\u00a0", " ").replace(/\s+/g, " "));
    assert.equal(cards.length, 3);
    assert.match(cards[0], /^Swell 1 120\.0 % of the pre-event voltage, 229\.8 V Begins 0\.\d+ s of the record .* Phases B/);
    assert.match(cards[1], /^Dip 2 1\.0 % of the pre-event voltage, 229\.8 V .* Phases ABC Type A \(ABC\)/);
    assert.match(cards[2], /^Interruption 3 1\.0 % /);
    const bottom = await page.value("document.getElementById('summary').getBoundingClientRect().bottom");
    assert.ok(bottom < 800, `${bottom}`);
    await page.value("[...document.querySelectorAll('#summary .card button')][0].click()");
    await page.settled();
    const [from, to] = await range(page);
    assert.ok(from < events[0].start.time_s && to > events[0].end.time_s && to < 1.4, `${from} to ${to}`);
  }));

test("the clock time of an event follows from the record's beginning", () =>
  opened("example", {}, async (page) => {
    const cases = [
      ["01/02/2020,23:59:59.500000", 0.25, { day: "01/02/2020", clock: "23:59:59.7500" }],
      ["01/02/2020,23:59:59.500000", 0.75, { day: null, clock: "00:00:00.2500" }],
      ["2020-02-01T07:08:09", 60.00004, { day: "2020-02-01", clock: "07:09:09.0000" }],
      ["yesterday", 1, null],
      ["", 1, null],
    ];
    for (const [start, seconds, expected] of cases) {
      assert.deepEqual(await page.value(`(found.record.start_time = ${JSON.stringify(start)}, clockAt(${seconds}))`), expected, start);
    }
  }));

test("the table of many events is sorted by the column that is pressed, and the other way round by a second press", () =>
  opened("many", {}, async (page) => {
    const { events } = documents.many;
    const order = () => page.value("[...document.querySelectorAll('#events-table tbody tr')].map((row) => Number(row.cells[0].textContent.match(/\\d+/)[0]))");
    const pressHead = (name) => page.value(`[...document.querySelectorAll('#events-table th button')].find((b) => b.textContent === ${JSON.stringify(name)}).click()`);
    assert.deepEqual(await order(), events.map(({ number }) => number));
    await pressHead("voltage");
    const deepestFirst = [...events].sort((a, b) => a.extreme.percent - b.extreme.percent).map(({ number }) => number);
    assert.deepEqual(await order(), deepestFirst);
    await pressHead("voltage");
    assert.deepEqual(await order(), deepestFirst.reverse());
  }));

test("missing samples are gaps in the curves", () =>
  opened("one", {}, async (page) => {
    const [gaps, wrong] = await page.value(`(() => {
      const [times, u] = raw(wave, recordStart, recordEnd);
      const lost = times.filter((_, i) => u[i] === null);
      return [lost.length, lost.filter((t) => t < 0.2 - 1e-6 || t > 0.25 + 1e-6).length];
    })()`);
    assert.equal(gaps, 0.05 * 3200 - 1, "from 0.2 s to 0.25 s, both excluded");
    assert.equal(wrong, 0);
    assert.equal(await page.value("document.querySelectorAll('#legend .key').length"), 1);
    assert.equal(await page.value("document.querySelectorAll('#overview path').length"), 1);
  }));

test("the worst event of a long record is drawn from every sample", () => {
  const long = path("long.csv");
  const lines = rowsOf(160, ["Ua", "Ub", "Uc"], (t, p) => (p === 0 && within(t, 80, 80.2) ? 0.5 : 1));
  writeFileSync(long, lines);
  execFileSync(dipx, ["analyse", long, "--html", path("long.html")]);
  return opened("long", {}, async (page) => {
    assert.ok((await page.value("wave.step")) > 1);
    assert.equal(await page.value("waveBetween(...charts.shown).step"), 1);
    assert.equal(await page.value("waveBetween(recordStart, recordEnd) === wave"), true);
    // 162.5 V in the middle of the dip, found at the right time.
    const peak = await page.value("Math.max(...raw(waveBetween(80.09, 80.11), 80.09, 80.11)[1])");
    assert.ok(Math.abs(peak - 162.5) < 0.5, `${peak}`);
  });
});

test("dragging across zooms both plots to what was chosen, a double click shows the whole record", () =>
  opened("example", {}, async (page) => {
    await press(page, "Whole record");
    const whole = await range(page);
    const pictures = [await picture(page, "wave"), await picture(page, "rms")];
    const { left, top, width } = await page.box("#wave .u-over");
    await page.drag(left + width * 0.25, left + width * 0.5, top + 40);
    const [from, to] = await range(page);
    const end = whole[1];
    assert.ok(Math.abs(from - end * 0.25) < end / width + 1e-4, `${from}`);
    assert.ok(Math.abs(to - end * 0.5) < end / width + 1e-4, `${to}`);
    assert.notEqual(await picture(page, "wave"), pictures[0]);
    assert.notEqual(await picture(page, "rms"), pictures[1]);
    await page.mouse("mousePressed", left + 50, top + 40, { clickCount: 2 });
    await page.mouse("mouseReleased", left + 50, top + 40, { clickCount: 2 });
    await page.settled();
    assert.deepEqual(await range(page), whole);
  }));

test("Shift and drag move, Ctrl and wheel zoom at the pointer, the wheel alone scrolls the page", () =>
  opened("example", { height: 500 }, async (page) => {
    await press(page, "Dip 1");
    await page.value("document.getElementById('plots').scrollIntoView()");
    const { left, top, width } = await page.box("#wave .u-over");
    const before = await range(page);
    const span = before[1] - before[0];
    await page.drag(left + width * 0.6, left + width * 0.5, top + 40, 8);
    const moved = await range(page);
    assert.ok(Math.abs(moved[0] - before[0] - span / 10) < span / width * 2 + 2e-4, `${moved}`);
    assert.ok(Math.abs(moved[1] - moved[0] - span) < 2e-4);
    const at = moved[0] + 0.25 * span;
    await page.mouse("mouseWheel", left + width * 0.25, top + 40, { button: "none", deltaX: 0, deltaY: -300, modifiers: 2 });
    await page.settled();
    const zoomed = await range(page);
    assert.ok(Math.abs(zoomed[1] - zoomed[0] - span / Math.E) < 1e-3, `${zoomed}`);
    assert.ok(Math.abs(zoomed[0] + 0.25 * (zoomed[1] - zoomed[0]) - at) < 1e-3);
    await page.mouse("mouseWheel", left + width * 0.25, top + 40, { button: "none", deltaX: 0, deltaY: 100 });
    await page.settled();
    assert.deepEqual(await range(page), zoomed);
  }));

test("two fingers zoom, one moves", () =>
  opened("example", { width: 390, height: 800, touch: true }, async (page) => {
    await page.value("document.getElementById('plots').scrollIntoView({ block: 'center' })");
    const { left, top, width } = await page.box("#wave .u-over");
    await press(page, "Whole record");
    const whole = await range(page);
    const y = top + 60;
    const middle = left + width / 2;
    await page.touch("touchStart", [[middle - 30, y], [middle + 30, y]]);
    for (const apart of [40, 50, 60]) await page.touch("touchMove", [[middle - apart, y], [middle + apart, y]]);
    await page.touch("touchEnd", []);
    await page.settled();
    const zoomed = await range(page);
    assert.ok(Math.abs((zoomed[1] - zoomed[0]) / (whole[1] - whole[0]) - 0.5) < 0.02, `${zoomed}`);
    await page.touch("touchStart", [[middle, y]]);
    for (const by of [20, 40, 60]) await page.touch("touchMove", [[middle + by, y]]);
    await page.touch("touchEnd", []);
    await page.settled();
    const moved = await range(page);
    assert.ok(moved[0] < zoomed[0] - 0.05, `${moved} after ${zoomed}`);
    assert.ok(Math.abs(moved[1] - moved[0] - (zoomed[1] - zoomed[0])) < 2e-4);
  }));

test("an event's button shows it with what lies round it; keys move and zoom", () =>
  opened("example", {}, async (page) => {
    const [dip] = documents.example.events;
    await press(page, "Whole record");
    await press(page, "Dip 1");
    const [from, to] = await range(page);
    assert.ok(from < dip.start.time_s && to > dip.end.time_s);
    assert.ok(to - from < 2 * dip.duration_s);
    await page.value("document.getElementById('plots').focus()");
    const key = async (name) => {
      await page.send("Input.dispatchKeyEvent", { type: "keyDown", key: name });
      await page.settled();
      return range(page);
    };
    const right = await key("ArrowRight");
    assert.ok(Math.abs(right[0] - from - (to - from) / 4) < 2e-4);
    const closer = await key("+");
    assert.ok(Math.abs(closer[1] - closer[0] - (to - from) / 2) < 2e-4);
    assert.equal((await key("Home"))[0], 0);
  }));

test("zooming and moving in 60 s take less than a tenth of a second mostly: the machine may be busy", () =>
  opened("steps", {}, async (page) => {
    const times = await page.value(`(async () => {
      const frame = () => new Promise((done) => requestAnimationFrame(done));
      const buttons = Object.fromEntries([...document.querySelectorAll("#tools button")].map((b) => [b.textContent, b]));
      const times = [];
      for (const name of ["+", "▶", "−", "+", "+", "▶", "+", "+", "+", "◀", "−", "Whole record"]) {
        await frame();
        buttons[name].click();
        const begin = performance.now();
        charts.draw();
        times.push(performance.now() - begin);
      }
      return times;
    })()`);
    console.log(`drawn in ${times.map((time) => time.toFixed(1)).join(", ")} ms`);
    const median = times.sort((a, b) => a - b)[times.length / 2];
    assert.ok(median < 100, `${times}`);
  }));

test("the pointer's place is read out with the samples that lie there", () =>
  opened("steps", {}, async (page) => {
    await press(page, "Whole record");
    await page.value("document.getElementById('rms').scrollIntoView({ block: 'center' })");
    const { left, top, width } = await page.box("#rms .u-over");
    await page.mouse("mouseMoved", left + (width * 9) / 60, top + 20, { button: "none" });
    await page.settled();
    const words = await page.value("document.getElementById('readout').textContent");
    const [at] = words.match(/[\d.]+/);
    assert.ok(Math.abs(Number(words.match(/[\d.]+/)[0]) - 9) < 0.1, `${at}`);
    assert.match(words.replaceAll("\u00a0", " "), /Ua .* RMS 16\d\.\d V \((69|70)\.\d %\)/);
  }));

test("phasors are drawn before the dip and for each segment, with lengths and angles of the document", () =>
  opened("example", {}, async (page) => {
    const [{ course }] = documents.example.events;
    const lines = await page.value(
      `[...document.querySelectorAll(".phasors figure")].map((f) => [...f.querySelectorAll("path[stroke-linecap]")].map((p) => p.getAttribute("d")))`,
    );
    assert.equal(lines.length, 1 + course.segments.length);
    const tip = (d) => d.match(/L([-\d.]+) ([-\d.]+)/).slice(1).map(Number);
    const polar = (d) => {
      const [x, y] = tip(d);
      return [Math.hypot(x - 100, y - 100), (Math.atan2(100 - y, x - 100) * 180) / Math.PI];
    };
    const before = course.level_before.voltage;
    const unit = polar(lines[0][0])[0] / before[0].voltage_v;
    course.segments.forEach((segment, s) => {
      for (let phase = 0; phase < 3; phase++) {
        const [length, angle] = polar(lines[s + 1][phase]);
        assert.ok(Math.abs(length / unit / segment.voltage[phase].voltage_v - 1) < 1e-6);
        const due = before[phase].degrees + segment.phase_jump[phase].degrees;
        assert.ok(Math.abs(Math.sin(((angle - due) * Math.PI) / 360)) < 1e-6, `${angle} for ${due}`);
      }
    });
  }));

test("each dip is on the tolerance curves and in its cell of EN 50160's table", () =>
  opened("many", {}, async (page) => {
    const { events } = documents.many;
    assert.equal(events.length, 10);
    assert.equal(await page.value("document.querySelectorAll('#curves circle.event').length"), events.length);
    for (const dip of events) {
      const words = await page.value(`document.querySelector('[data-cell="${dip.en50160_cell}"]').textContent`);
      assert.ok(words.split(", ").includes(`dip ${dip.number}`), words);
    }
    // 50 % of a plot from 0 to 100 %: halfway up.
    const frame = await page.value("(({ y, height }) => ({ y: y.baseVal.value, height: height.baseVal.value }))(document.querySelector('#curves rect'))");
    const y = await page.value("document.querySelector('#curves circle').cy.baseVal.value");
    assert.ok(Math.abs(y - frame.y - frame.height / 2) < frame.height * 0.01);
  }));

test("many events are chosen from a list", () =>
  opened("many", {}, async (page) => {
    const [, second] = documents.many.events;
    await page.value(`(() => {
      const choice = document.querySelector("#tools select");
      choice.value = "2";
      choice.dispatchEvent(new Event("change"));
    })()`);
    await page.settled();
    const [from, to] = await range(page);
    assert.ok(from < second.start.time_s && to > second.end.time_s && to - from < 3 * second.duration_s);
  }));

test("tables of many events are folded, and unfolded on paper", () =>
  opened("many", {}, async (page) => {
    const open = () => page.value("document.querySelectorAll('details[open]').length");
    assert.equal(await open(), 0);
    await page.value("dispatchEvent(new Event('beforeprint'))");
    assert.equal(await open(), 10);
    await page.value("dispatchEvent(new Event('afterprint'))");
    assert.equal(await open(), 0);
  }));

test("charts follow the window's width and the change to dark", () =>
  opened("example", { width: 1000 }, async (page) => {
    const light = await picture(page, "wave");
    await page.send("Emulation.setEmulatedMedia", { features: [{ name: "prefers-color-scheme", value: "dark" }] });
    await page.settled();
    const dark = await picture(page, "wave");
    assert.notEqual(dark, light);
    const offPixels = async () => Math.abs((await page.box("#wave canvas")).width - (await page.box("#plots")).width);
    assert.ok((await offPixels()) < 1);
    await page.send("Emulation.setDeviceMetricsOverride", { width: 600, height: 900, deviceScaleFactor: 1, mobile: false });
    await page.settled();
    await page.settled();
    const { width } = await page.box("#wave canvas");
    assert.ok(width < 600 && width > 500, `${width}`);
    assert.ok((await offPixels()) < 1);
  }));

test("paper is white although the screen is dark", () =>
  opened("example", { dark: true }, async (page) => {
    const corner = () => page.value(`getComputedStyle(document.documentElement).getPropertyValue("--paper").trim()`);
    assert.equal(await corner(), "#14171c");
    await page.value("dispatchEvent(new Event('beforeprint'))");
    assert.equal(await corner(), "#ffffff");
  }));

test("a page is written whole or not at all", () => {
  const kept = path("kept.html");
  writeFileSync(kept, "old");
  for (const more of [["--report", path("no-such-folder/report.txt")], ["--svg", path("no-such-folder/figure.svg")]]) {
    const run = spawnSync(dipx, ["analyse", example, "--html", kept, ...more], { encoding: "utf8" });
    assert.equal(run.status, 4);
    assert.match(run.stderr, /^dipx: .*no-such-folder.*: No such file or directory\n$/);
    assert.equal(readFileSync(kept, "utf8"), "old");
  }
  assert.deepEqual(readdirSync(folder).filter((name) => name.startsWith("kept")), ["kept.html"]);
});

test("text from the file is text", async () => {
  const hostile = "</script><script>document.title='taken'</script><img src=x onerror=document.title='taken'>";
  const csv = readFileSync(records.shallow, "utf8").replace("Ua", hostile).replace("Ub", "{{samples}}");
  const file = path("<b onclick=1>&amp;.csv");
  writeFileSync(file, csv);
  execFileSync(dipx, ["analyse", file, "--channels", "1,2,3", "--html", path("hostile.html")]);
  await opened("hostile", {}, async (page) => {
    assert.equal(await page.value("document.title"), `Voltage events: ${file}`);
    assert.equal(await page.value("document.querySelectorAll('img, b').length"), 0);
    assert.equal(await page.value("document.scripts.length"), 4);
    assert.equal(await page.value("document.getElementById('legend').textContent.includes('{{samples}}')"), true);
  });
});

/// How far apart two colours are (CIE 1976) to an eye of a kind of colour vision.
const vision = {
  normal: [[1, 0, 0], [0, 1, 0], [0, 0, 1]],
  "without red": [[0.152286, 1.052583, -0.204868], [0.114503, 0.786281, 0.099216], [-0.003882, -0.048116, 1.051998]],
  "without green": [[0.367322, 0.860646, -0.227968], [0.280085, 0.672501, 0.047413], [-0.01182, 0.04294, 0.968881]],
  "without blue": [[1.255528, -0.076749, -0.178779], [-0.078411, 0.930809, 0.147602], [0.004733, 0.691367, 0.3039]],
};
const linear = (colour) =>
  [1, 3, 5].map((i) => parseInt(colour.slice(i, i + 2), 16) / 255).map((c) => (c <= 0.04045 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4));
function lab([r, g, b]) {
  const f = (t) => (t > 0.008856 ? Math.cbrt(t) : 7.787 * t + 16 / 116);
  const x = f(Math.max(0.4124 * r + 0.3576 * g + 0.1805 * b, 0) / 0.9505);
  const y = f(Math.max(0.2126 * r + 0.7152 * g + 0.0722 * b, 0));
  const z = f(Math.max(0.0193 * r + 0.1192 * g + 0.9505 * b, 0) / 1.089);
  return [116 * y - 16, 500 * (x - y), 200 * (y - z)];
}
const luminance = (colour) => linear(colour).reduce((sum, part, i) => sum + part * [0.2126, 0.7152, 0.0722][i], 0);

for (const dark of [false, true]) {
  test(`phases and paper are told apart by every kind of colour vision, ${dark ? "dark" : "light"}`, () =>
    opened("example", { dark }, async (page) => {
      const [paper, ...phases] = await page.value(
        `["paper", "a", "b", "c"].map((name) => getComputedStyle(document.documentElement).getPropertyValue("--" + name).trim())`,
      );
      for (const phase of phases) {
        const [low, high] = [luminance(phase), luminance(paper)].sort((a, b) => a - b);
        assert.ok((high + 0.05) / (low + 0.05) >= 3, `${phase} on ${paper}`);
      }
      for (const [kind, matrix] of Object.entries(vision)) {
        const seen = phases.map((phase) => lab(matrix.map((row) => row.reduce((sum, m, i) => sum + m * linear(phase)[i], 0))));
        for (const [i, j] of [[0, 1], [1, 2], [0, 2]]) {
          const apart = Math.hypot(...seen[i].map((part, k) => part - seen[j][k]));
          assert.ok(apart > 25, `${phases[i]} and ${phases[j]}, ${kind}: ${apart}`);
        }
      }
    }));
}

test("figures right between two are rounded as the text rounds them", () =>
  opened("example", {}, async (page) => {
    const figures = [
      ["fixed(131.25, 1)", "131.2"],
      ["fixed(131.75, 1)", "131.8"],
      ["fixed(10.625, 2)", "10.62"],
      ["fixed(-0.25, 1)", "−0.2"],
      ["fixed(0.35, 1)", "0.3"], // a little less than it looks
      ["fixed(-0.04, 1)", "0.0"],
      ["volts(123.25)", "123.2\u00a0V"],
      ["volts(2.8e-11)", "0.000\u00a0V"], // a computer's zero
      ["volts(1000.5)", "1.000\u00a0kV"],
      ["degrees(359.97)", "0.0°"],
      ["degrees(359.94)", "359.9°"],
      ["turn(0.04)", "0.0°"],
      ["turn(4.25)", "+4.2°"],
      ["voltsWithin(0.0001, 63360)", "0.01\u00a0kV"],
      ["voltsWithin(201, 63360)", "0.21\u00a0kV"],
      ["degreesWithin(0.31)", "0.4°"],
      ["timeWithin(0.00021)", "0.3\u00a0ms"],
    ];
    for (const [call, digits] of figures) assert.equal(await page.value(call), digits, call);
  }));

test("the table says how long a dip lasts that goes on at the record's end", () =>
  opened("lasting", {}, async (page) => {
    const { events: [dip], record } = documents.lasting;
    assert.equal(dip.duration_s, null);
    const seconds = record.samples / record.sampling_rate_hz - dip.start.time_s;
    const rows = await page.value(`[...document.querySelectorAll("#events tr")].map((row) => row.textContent)`);
    assert.ok(rows.includes(`recorded of it${(seconds * 1e3).toFixed(1)}\u00a0ms`), rows.join("; "));
    const heading = await page.value("document.querySelector('#event-1 h2').textContent");
    assert.ok(heading.endsWith(`more than ${(seconds * 1e3).toFixed(1)}\u00a0ms`), heading);
    assert.equal(dip.voltage_tolerance.itic, "below");
  }));
