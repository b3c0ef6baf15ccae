// Opens the page of `dipx analyse --html` in headless Chromium and uses it as a user does.
import assert from "node:assert/strict";
import { execFileSync, spawnSync } from "node:child_process";
import { mkdtempSync, readFileSync, readdirSync, rmSync, statSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { Browser } from "./browser.mjs";

const [dipx, chromium, example] = ["DIPX", "CHROMIUM", "EXAMPLE"].map((name) => process.env[name]);
const axe = process.env.AXE || undefined; // the file of axe-core
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
  relay: path("relay.cff"), // currents and a digital channel
  load: path("load.csv"), // a dip of one phase, seen by a load beyond a transformer
};
const options = { part: ["--nominal", "220"], one: ["--channels", "1"], load: ["--through", "Dyn11"] };
const documents = {};

function synth(name, ...options) {
  execFileSync(dipx, ["synth", ...options, "-o", records[name]]);
}

/// Removes the rows from 0.2 s to 0.4 s from a record of 5120 Hz.
function cutAGap(dat) {
  const rows = readFileSync(dat, "ascii").trim().split("\n");
  const kept = rows.filter((_, row) => row < 0.2 * 5120 || row >= 0.4 * 5120);
  writeFileSync(dat, kept.map((row, i) => row.replace(/^\d+/, i + 1) + "\n").join(""));
}

/// Returns the rows of a record of some seconds whose voltages are sines of 325 V times a factor of time and phase. A
/// cell is empty if the factor is null.
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

/// Returns a record with the currents Ia to Ic, which are the voltages divided by 10, and a breaker that is closed from
/// 0.4 s on.
function relayRecord() {
  const lines = [",relay,2013", "7,6A,1D"];
  ["Ua", "Ub", "Uc", "Ia", "Ib", "Ic"].forEach((name, i) => {
    lines.push(`${i + 1},${name},,,${i < 3 ? "V" : "A"},${i < 3 ? 0.01 : 0.001},0,0,-99999,99999,1,1,P`);
  });
  lines.push("1,breaker,,,0", "50", "1", "3200,3200", "01/01/2000,00:00:00.0", "01/01/2000,00:00:00.0", "ASCII", "1", "0,0", "0,0");
  const rows = [];
  for (let i = 0; i < 3200; i++) {
    const t = i / 3200;
    const volts = [0, 1, 2].map((p) => Math.round((within(t, 0.5, 0.7) ? 0.5 : 1) * 32500 * Math.sin(2 * Math.PI * (50 * t - p / 3))));
    rows.push([i + 1, Math.round(t * 1e6), ...volts, ...volts, t >= 0.4 ? 1 : 0].join(","));
  }
  const part = (name, of) => `--- file type: ${name} ---\n${of.join("\n")}\n`;
  return part("CFG", lines) + part("INF", []) + part("HDR", []) + part("DAT ASCII", rows);
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
  synth("load", "--phases", "A", "--depth", "60");
  writeFileSync(records.many, rowsOf(10, ["Ua", "Ub", "Uc"], manyDips));
  writeFileSync(records.kinds, rowsOf(2.5, ["Ua", "Ub", "Uc"], manyKinds));
  writeFileSync(records.one, rowsOf(1.2, ["U"], oneWithAGap));
  writeFileSync(records.relay, relayRecord());
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
        const factor = { MV: 1e6, kV: 1e3, mV: 1e-3, kA: 1e3, mA: 1e-3, ms: 1e-3, "MV/s": 1e6, "kV/s": 1e3, "mV/s": 1e-3 }[unit] ?? 1;
        const decimals = digits.includes(".") ? digits.length - digits.indexOf(".") - 1 : 0;
        const unitInLast = factor * 10 ** -decimals;
        const away = Number(digits) * factor - figure;
        if (of.endsWith("_plus_minus")) {
          // Half widths are rounded up, to at least one unit of the last digit.
          assert.ok(away > -1.1e-6 * unitInLast && away <= unitInLast, `${of}: '${text}' for ${figure}`);
        } else {
          assert.ok(Math.abs(away) <= 0.5000001 * unitInLast, `${of}: '${text}' for ${figure}`);
        }
      }
      // Every figure of every event is there, but for samples (their times are) and what other words say.
      const left_out = [
        /\.(sample|number|known|gradual|measured|source)$/,
        /\.reference\.kind$/, // the same for all
        /\.en50160_cell_near_limit$/, // said next to the cell
        /\.verdicts\.\d+\.(curve|name|verdict|step_by_step\.verdict)$/, // the heading and the words of the row
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

test("a page of 60 s with noise stays below 2 MB", () => {
  assert.ok(statSync(path("steps.html")).size < 2e6);
});

test("curves are unpacked to the samples of the file", () =>
  opened("shallow", {}, async (page) => {
    const rows = readFileSync(records.shallow, "utf8").trim().split("\n").slice(1).map((line) => line.split(",").slice(-3).map(Number));
    const held = await page.value("[wave.scale, wave.pieces.map(({ first, values }) => [first, values.map((phase) => [...phase])])]");
    const [unit, [[first, values]]] = held;
    assert.equal(first, 0);
    assert.equal(values[0].length, rows.length);
    const away = rows.map((row, i) => Math.max(...row.map((volts, p) => Math.abs(volts - values[p][i] * unit))));
    assert.ok(Math.max(...away) <= 0.5001 * unit, `${Math.max(...away)} V, ${unit} V per integer`);
  }));

test("its curves are the record's: RMS as low as the document says, waves as high as the voltage", () =>
  opened("steps", {}, async (page) => {
    const { lowest_urms_half } = documents.steps.events[0];
    const lowest = await page.value("phases.map((_, i) => Math.min(...envelope(rms, recordStart, recordEnd, 1e5, 1)[2 * i + 2]))");
    // The curve has windows that end at every sample and so more of the noise than Urms(1/2), by some tenths of a volt.
    lowest.forEach((volts, i) => assert.ok(Math.abs(volts - lowest_urms_half[i].voltage_v) < 0.5, `${volts}`));
    for (const { start_s, end_s } of documents.steps.events[0].course.transitions) {
      assert.equal(await page.value(`pieceOver(wave, ${start_s} - 0.07, ${end_s} + 0.07) !== undefined`), true, `every sample round ${start_s} s`);
    }
    const peak = await page.value("Math.max(...envelope(wave, 0, 1, 10, 1)[1])");
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
      const [times, a] = raw(rms, rms.pieces[0], recordStart, recordEnd);
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
    assert.match(rules, /Declared voltage220\.0 V \(phase, as its level shows\): the voltages should be 220\.0 V/);
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
    assert.match(cards[0], /^Swell 1 Show 120\.0 % of the pre-event voltage, 229\.8 V Begins 0\.\d+ s of the record .* Phases B/);
    assert.match(cards[1], /^Dip 2 Show 1\.0 % of the pre-event voltage, 229\.8 V .* Phases ABC Type A \(ABC\)/);
    assert.match(cards[2], /^Interruption 3 Show 1\.0 % /);
    const bottom = await page.value("document.getElementById('summary').getBoundingClientRect().bottom");
    assert.ok(bottom < 800, `${bottom}`);
    await page.value("[...document.querySelectorAll('#summary .card button')][0].click()");
    await page.settled();
    const [from, to] = await range(page);
    assert.ok(from < events[0].start.time_s && to > events[0].end.time_s && to < 1.4, `${from} to ${to}`);
  }));

test("a card says by which curves equipment trips, in words, with a sign and in the colour of the worst", () =>
  opened("kinds", {}, async (page) => {
    const cards = await page.value(`[...document.querySelectorAll("#summary .card")].map((card) =>
      [card.className, [...card.querySelectorAll(".verdict")].map((v) => v.className + ": " + v.textContent)])`);
    const looks = { trips: ["bad", "✕", "Trips"], too_close: ["unsure", "≈", "Too close to tell"], rides_through: ["good", "✓", "Rides through"], not_covered: ["none", "–", "Not covered"] };
    documents.kinds.events.forEach((event, i) => {
      const expected = Object.entries(looks).flatMap(([code, [colour, sign, word]]) => {
        const names = (event.verdicts ?? []).filter(({ verdict }) => verdict === code).map(({ name }) => name);
        return names.length > 0 ? [`verdict ${colour}: ${sign}${word}: ${names.join(", ")}`] : [];
      });
      assert.deepEqual(cards[i][1], expected);
      assert.equal(cards[i][0], `card ${expected[0]?.match(/verdict (\w+)/)[1] ?? "none"}`);
    });
    assert.ok(cards.some(([, verdicts]) => verdicts.length > 0));
  }));

test("the address shows an event and a part of the record, and follows the view", () =>
  opened("many", {}, async (page) => {
    const goTo = async (hash) => {
      await page.value(`new Promise((done) => { addEventListener("hashchange", () => done(), { once: true }); location.hash = ${JSON.stringify(hash)}; })`);
      await page.settled();
    };
    await goTo("#event-2&t=1.25,1.75");
    assert.deepEqual(await range(page), [1.25, 1.75]);
    assert.equal(await page.value("charts.event.number"), 2);
    await goTo("#event-5");
    const [from, to] = await range(page);
    assert.ok(from < documents.many.events[4].start.time_s && to > documents.many.events[4].end.time_s && to - from < 1);
    await goTo("#t=3,4");
    assert.deepEqual(await range(page), [3, 4]);
    for (const useless of ["#event-99", "#t=9,2", "#t=..,3", "#nothing"]) {
      await goTo(useless);
      assert.deepEqual(await range(page), [3, 4], useless);
    }
    await press(page, "+");
    await page.value("new Promise((done) => setTimeout(done, 300))");
    assert.equal(await page.value("location.hash"), "#event-5&t=3.25,3.75");
  }));

test("a page is opened with the view of its address", async () => {
  const page = await browser.open(path("many.html#event-2&t=1.25,1.75"));
  try {
    assert.deepEqual(await range(page), [1.25, 1.75]);
    assert.equal(await page.value("charts.event.number"), 2);
  } finally {
    await page.close();
  }
});

test("the window of the strip is dragged, widened by its edges, and moved with keys", () =>
  opened("many", {}, async (page) => {
    await page.value("charts.event = null, charts.show(2, 4)");
    await page.settled();
    await page.value("document.getElementById('overview').scrollIntoView()");
    const { left, top, width, height } = await page.box("#overview svg");
    const x = (seconds) => left + (width * seconds) / 10;
    const near = async (from, to) => {
      const shown = await range(page);
      assert.ok(Math.abs(shown[0] - from) < 0.03 && Math.abs(shown[1] - to) < 0.03, `${shown} for ${from}, ${to}`);
    };
    await page.drag(x(2.5), x(5.5), top + height / 2);
    await near(5, 7);
    await page.drag(x(7), x(9), top + height / 2);
    await near(5, 9);
    await page.drag(x(5), x(6), top + height / 2);
    await near(6, 9);
    await page.value("document.getElementById('overview').focus()");
    await page.send("Input.dispatchKeyEvent", { type: "keyDown", key: "ArrowLeft" });
    await page.settled();
    await near(5.7, 8.7);
    assert.match(await page.value("document.getElementById('overview').getAttribute('aria-valuetext')"), /^5\.\d+\ss to 8\.\d+\ss$/);
  }));

test("segments are drawn as a band under the RMS, with each transition as abrupt or gradual", () =>
  opened("example", {}, async (page) => {
    const [{ course, start, end }] = documents.example.events;
    const shapes = await page.value(`[...document.querySelectorAll("#band .segment")].map(({ x, width }) => [x.baseVal.value, width.baseVal.value])`);
    assert.equal(shapes.length, course.segments.length);
    const { left, width } = await page.value(`(({ left, width }) => ({ left: left / devicePixelRatio, width: width / devicePixelRatio }))(charts.plots[1].bbox)`);
    const [from, to] = await page.value("charts.shown");
    course.segments.forEach(({ start_s, end_s }, i) => {
      assert.ok(Math.abs(shapes[i][0] - left - ((start_s - from) / (to - from)) * width) < 0.5);
      assert.ok(Math.abs(shapes[i][1] - ((end_s - start_s) / (to - from)) * width) < 0.5);
    });
    const kinds = await page.value(`[...document.querySelectorAll("#band path")].map((path) => path.getAttribute("class"))`);
    assert.deepEqual(kinds, course.transitions.map(({ gradual }) => (gradual ? "gradual" : "abrupt")));
    assert.ok(start.time_s > from && end.time_s < to);
  }));

test("names are shortened where they are the same", () =>
  opened("example", {}, async (page) => {
    const long = [
      ["220kV Substation Nord Secondary A", "220kV Substation Nord Secondary B"],
      ["A of the busbar in the substation", "B of the busbar in the substation"],
    ];
    for (const names of long) {
      const short = await page.value(`shortened(${JSON.stringify(names)})`);
      assert.equal(new Set(short).size, names.length, `${short}`);
      for (const name of short) assert.ok(name.length <= 24, name);
    }
    const huge = await page.value('shortened(["A", "B", "C"].map((letter) => "x".repeat(5000) + letter + "y".repeat(5000)))');
    huge.forEach((name, i) => assert.ok(name.length <= 24 && name.includes("ABC"[i]), name));
    assert.deepEqual(await page.value('shortened(["Ua", "Ub"])'), ["Ua", "Ub"]);
  }));

test("names of 10 kB neither widen the page nor hide which is which", async () => {
  const long = "x".repeat(10000);
  const csv = readFileSync(records.shallow, "utf8").replace("Ua", `${long}a`).replace("Ub", `${long}b`).replace("Uc", `${long}c`);
  writeFileSync(path("long_names.csv"), csv);
  execFileSync(dipx, ["analyse", path("long_names.csv"), "--channels", "1,2,3", "--html", path("long_names.html")]);
  for (const width of [390, 768, 1280, 1920]) {
    await opened("long_names", { width, height: 800 }, async (page) => {
      assert.ok((await page.value("document.documentElement.scrollWidth")) <= width);
    });
  }
});

for (const [name, dark] of [["example", false], ["example", true], ["many", false], ["relay", false], ["flat", true], ["load", false]]) {
  test(`axe finds no violation in the page of '${name}', ${dark ? "dark" : "light"}`, { skip: axe === undefined && "needs axe-core" }, () =>
    opened(name, { dark }, async (page) => {
      await page.value("document.getElementById('with-currents')?.click()");
      await page.settled();
      // Chromium's debugger may run a script that the page's policy keeps out.
      await page.value(`${readFileSync(axe, "utf8")}; 0`);
      const violations = await page.value(`axe.run().then(({ violations }) => violations.map(({ id, nodes }) => id + ": " + nodes.map(({ html }) => html.slice(0, 120)).join(" | ")))`);
      assert.deepEqual(violations, []);
    }));
}

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
      const [times, u] = raw(wave, wave.pieces[0], recordStart, recordEnd);
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
    assert.equal(await page.value("pieceOver(wave, ...charts.shown) !== undefined"), true);
    assert.equal(await page.value("pieceOver(wave, 10, 10.1)"), undefined);
    // The voltage is 162.5 V in the middle of the dip, at the right time.
    const peak = await page.value("Math.max(...raw(wave, pieceOver(wave, 80.09, 80.11), 80.09, 80.11)[1])");
    assert.ok(Math.abs(peak - 162.5) < 0.5, `${peak}`);
    // Elsewhere the peaks are those of the whole voltage. Where both meet, times increase and nothing is left out.
    const [high, low] = await page.value("(([, high, low]) => [Math.max(...high), Math.min(...low)])(envelope(wave, 10, 10.1, 500, 1))");
    assert.ok(Math.abs(high - 325) < 0.5 && Math.abs(low + 325) < 0.5, `${high} ${low}`);
    const apart = await page.value(`(() => {
      const { first, length } = wave.pieces[0];
      const [times] = envelope(wave, timeOf(first) - 0.1, timeOf(first + length) + 0.1, 1000, 1);
      return [times.slice(1).map((time, i) => time - times[i]), times.at(-1) - times[0]];
    })()`);
    assert.ok(Math.min(...apart[0]) > 0 && Math.max(...apart[0]) < 0.01, `${Math.min(...apart[0])} ${Math.max(...apart[0])}`);
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
    const right = await key("PageDown");
    assert.ok(Math.abs(right[0] - from - (to - from) / 2) < 2e-4);
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

test("a box beside the pointer has the values that lie there, and a screen reader is told those at the cursor", () =>
  opened("steps", {}, async (page) => {
    await press(page, "Whole record");
    await page.value("document.getElementById('rms').scrollIntoView({ block: 'center' })");
    const { left, top, width } = await page.box("#rms .u-over");
    await page.mouse("mouseMoved", left + (width * 9) / 60, top + 20, { button: "none" });
    await page.settled();
    const words = (await page.value("document.getElementById('values').innerText")).replace(/\s+/g, " ");
    assert.ok(Math.abs(Number(words.match(/[\d.]+/)[0]) - 9) < 0.1, words);
    assert.match(words, /Ua .* 16\d\.\d V (69|70)\.\d %/);
    assert.equal(await page.value("document.getElementById('readout').textContent"), "");
    await page.value("document.getElementById('plots').focus()");
    await page.send("Input.dispatchKeyEvent", { type: "keyDown", key: "ArrowRight" });
    await page.value("new Promise((done) => setTimeout(done, 400))");
    assert.match(await page.value("document.getElementById('readout').textContent"), /^(8\.9|9\.[01])\d*\ss: Ua .* RMS 16/);
    // The box is within the window and beside the cursor.
    const box = await page.box("#values");
    const cursor = await page.box("#rms .u-cursor-x");
    assert.ok(box.left > cursor.left + 3 && box.left + box.width < 1200, `${box.left} ${cursor.left}`);
  }));

test("arrow keys move the cursor by a pixel or a sample, with Shift by a cycle, and the view after it", () =>
  opened("example", {}, async (page) => {
    await page.value("document.getElementById('plots').focus(), charts.show(0.3, 0.31), charts.draw(), cursor.put(0.305)");
    const key = async (name, modifiers = 0) => {
      await page.send("Input.dispatchKeyEvent", { type: "keyDown", key: name, modifiers });
      await page.settled();
      return page.value("cursor.at");
    };
    assert.ok(Math.abs((await key("ArrowRight")) - 0.305 - 1 / 6400) < 1e-9);
    assert.ok(Math.abs((await key("ArrowLeft")) - 0.305) < 1e-9);
    assert.ok(Math.abs((await key("ArrowRight", 8)) - 0.325) < 1e-9);
    const [from, to] = await range(page);
    assert.ok(from < 0.325 && to > 0.325 && Math.abs(to - from - 0.01) < 2e-4, `${from} ${to}`);
  }));

test("two markers show the time, the cycles and the change of the voltages between them", () =>
  opened("steps", {}, async (page) => {
    await page.value("document.getElementById('plots').focus(), charts.show(4, 6), charts.draw(), cursor.put(4.5)");
    const key = async (name) => page.send("Input.dispatchKeyEvent", { type: "keyDown", key: name });
    await key("1");
    await page.value("cursor.put(5.5)");
    await key("2");
    await page.settled();
    const words = (await page.value("document.getElementById('between').innerText")).replace(/\s+/g, " ");
    assert.match(words, /Marker 1 4\.5000 s Marker 2 5\.5000 s Δt 1000\.000 ms, 50\.000 cycles ΔU A −(68|69)\.\d+ V RMS \((−29\.\d|−30\.\d) %\)/);
    await key("Escape");
    assert.equal(await page.value("document.getElementById('between').children.length"), 0);
    // A click does the same as the keys.
    await page.value("document.getElementById('plots').scrollIntoView({ block: 'center' })");
    const { left, top, width } = await page.box("#wave .u-over");
    for (const [share, modifiers] of [[0.25, 0], [0.5, 8]]) {
      await page.mouse("mouseMoved", left + width * share, top + 50, { button: "none" });
      await page.mouse("mousePressed", left + width * share, top + 50, { modifiers });
      await page.mouse("mouseReleased", left + width * share, top + 50, { modifiers });
    }
    const markers = await page.value("cursor.markers");
    assert.ok(Math.abs(markers[0] - 4.5) < 0.01 && Math.abs(markers[1] - 5) < 0.01, `${markers}`);
  }));

test("phasors at the cursor have the sizes and the angles of the document's segments", () =>
  opened("example", {}, async (page) => {
    const [{ course }] = documents.example.events;
    await page.value("charts.showEvent(events[0])");
    for (const segment of course.segments.filter(({ gradual }) => !gradual)) {
      const phasors = await page.value(`(cursor.put(${(segment.start_s + segment.end_s) / 2}), phasorsAt(cursor.at))`);
      phasors.forEach(([size, angle], i) => {
        const { voltage_v } = segment.voltage[i];
        assert.ok(Math.abs(size / voltage_v - 1) < 0.03, `${size} V for ${voltage_v} V`);
        const away = angle - course.level_before.voltage[i].degrees - segment.phase_jump[i].degrees;
        assert.ok(Math.abs(away - 360 * Math.round(away / 360)) < 3, `${away}°`);
      });
    }
    assert.equal(await page.value("document.querySelectorAll('#phasors-now svg path[stroke-linecap]').length"), 3);
  }));

test("the values of the view are taken away as CSV, with every sample where the page holds it", () =>
  opened("shallow", {}, async (page) => {
    const rows = (await page.value("csvOf(0.1, 0.2)")).trim().split("\n").map((line) => line.split(","));
    assert.deepEqual(rows[0], ["t (s)", "Ua (V)", "Ub (V)", "Uc (V)", "Ua (V RMS)", "Ub (V RMS)", "Uc (V RMS)"]);
    const lines = readFileSync(records.shallow, "utf8").trim().split("\n").slice(1).map((line) => line.split(",").map(Number));
    const columns = lines[0].length - 3;
    const { record } = documents.shallow;
    assert.equal(rows.length - 1, 0.1 * record.sampling_rate_hz + 1);
    rows.slice(1).forEach(([t, ...values], i) => {
      const line = lines[0.1 * record.sampling_rate_hz + i];
      assert.ok(Math.abs(Number(t) - 0.1 - i / record.sampling_rate_hz) < 1e-6);
      for (let p = 0; p < 3; p++) assert.ok(Math.abs(Number(values[p]) - line[columns + p]) < 0.02, `${values[p]} for ${line[columns + p]}`);
    });
  }));

test("the values of a long view are the highest and the lowest of short parts", () =>
  opened("steps", {}, async (page) => {
    const rows = (await page.value("csvOf(30, 40)")).trim().split("\n").map((line) => line.split(","));
    assert.deepEqual(rows[0].slice(0, 3), ["t (s)", "Ua highest (V)", "Ua lowest (V)"]);
    assert.ok(rows.length > 10 * 50 * 7, `${rows.length} rows of 10 s`);
    for (const row of rows.slice(1)) assert.ok(Number(row[1]) >= Number(row[2]) && Math.abs(Number(row[1])) < 340, `${row}`);
  }));

test("text of a record becomes no formula in a spreadsheet", () =>
  opened("example", {}, async (page) => {
    const cells = [["=1+1", "'=1+1"], ["@a", "'@a"], ['a"b,c', '"a""b,c"'], ["Ua", "Ua"]];
    for (const [words, cell] of cells) assert.equal(await page.value(`csvCell(${JSON.stringify(words)})`), cell);
  }));

test("the view is taken away as a well-formed SVG and as a PNG", () =>
  opened("example", {}, async (page) => {
    await page.value("found.record.file = '<a & b>'");
    const [problems, texts, curves] = await page.value(`(() => {
      const picture = new DOMParser().parseFromString(viewSvg(), "image/svg+xml");
      return [picture.querySelectorAll("parsererror").length, picture.documentElement.textContent, [...picture.querySelectorAll("path[clip-path]")].map((p) => p.getAttribute("d").length)];
    })()`);
    assert.equal(problems, 0);
    assert.match(texts, /<a & b>\. Dip 1: residual voltage/);
    assert.match(texts, /A: v1.*RMS \(%\).*t \(s\).*1\.1: 32\.7/s);
    assert.equal(curves.filter((length) => length > 1000).length, 6, "three waveforms and three RMS curves");
    const [type, size, first] = await page.value(`(async () => {
      const png = await viewPng();
      return [png.type, png.size, [...new Uint8Array(await png.arrayBuffer()).slice(0, 4)]];
    })()`);
    assert.deepEqual([type, first], ["image/png", [0x89, 0x50, 0x4e, 0x47]]);
    assert.ok(size > 20000, `${size}`);
  }));

test("a summary in a sentence says when, how deep, how long and with which verdicts", () =>
  opened("example", {}, async (page) => {
    const [dip] = documents.example.events;
    const words = await page.value("summaryText()");
    assert.ok(words.startsWith(`Dip 1 in ${example}, on 01/01/2000 at 00:00:00.2636: residual voltage 29.1 % of the pre-event voltage (18.19 kV in A) for 307.7 ms; phases AC; type E (AC), B (A); `), words);
    const trips = dip.verdicts.filter(({ verdict }) => verdict === "trips").map(({ name }) => name);
    assert.ok(words.endsWith(`; trips: ${trips.join(", ")}.`), words);
    await page.value("[...document.querySelectorAll('.menu button')][0].click()");
    await page.settled();
    assert.equal(await page.value("document.getElementById('sentence').value"), words);
    await press(page, "Whole record");
    assert.equal((await page.value("summaryText()")).split("\n").length, documents.example.events.length);
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

test("every curve that events are judged by is drawn and named, and differs in dashes or colour from the others", () =>
  opened("load", {}, async (page) => {
    const [dip] = documents.load.events;
    const drawn = await page.value(`[...document.querySelectorAll("#curves > svg path.curve")].map((path) => {
      const { stroke, strokeDasharray } = getComputedStyle(path);
      return { name: path.textContent, look: stroke + strokeDasharray };
    })`);
    assert.equal(new Set(drawn.map(({ look }) => look)).size, drawn.length);
    const names = await page.value("[...document.querySelectorAll('#curves .legend li')].map((item) => item.textContent)");
    for (const { name } of dip.verdicts) assert.ok(drawn.some((curve) => curve.name === name) && names.includes(name), name);
  }));

test("the events of a load are in the diagram at their duration and voltage", () =>
  opened("load", {}, async (page) => {
    const { phase_voltages: phases, line_voltages: lines } = documents.load.at_load;
    const titles = await page.value("[...document.querySelectorAll('#curves > svg .at-load')].map((mark) => mark.textContent)");
    // A Dyn11 turns a dip of A to 40 % into one of A and C to neutral and into one of CA between phases.
    assert.deepEqual(titles.map((title) => title.replaceAll("\u00a0", " ")), [
      `dip of dip 1 in the load's voltages to neutral: ${phases.events[0].extreme.percent.toFixed(1)} %`,
      `dip of dip 1 in the load's voltages between phases: ${lines.events[0].extreme.percent.toFixed(1)} %`]);
    const [frame, square] = await page.value(`["rect.frame", "path.at-load"].map((mark) => {
      const { y, height } = document.querySelector("#curves > svg " + mark).getBBox();
      return { y, height };
    })`);
    const percents = phases.events[0].extreme.percent;
    assert.ok(Math.abs((square.y + square.height / 2 - frame.y) / frame.height - (1 - percents / 100)) < 0.001);
    assert.match(await page.value("document.querySelector('#curves .legend').textContent"), /through Dyn11/);
  }));

test("a swell is in the diagram with the curve for swells", () =>
  opened("kinds", {}, async (page) => {
    const swell = documents.kinds.events.find(({ kind }) => kind === "swell");
    const [frame, circle] = await page.value(`["rect.frame", "circle[data-event='${swell.number}']"].map((mark) => {
      const { y, height } = document.querySelector("#curves > svg " + mark).getBBox();
      return { y, height };
    })`);
    assert.ok(Math.abs((circle.y + circle.height / 2 - frame.y) / frame.height - (1 - swell.extreme.percent / 140)) < 0.001);
    assert.ok((await page.value("document.querySelector('#curves .legend').textContent")).includes("ITIC upper"));
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

test("tables of many events are folded", () =>
  opened("many", {}, async (page) => {
    assert.equal(await page.value("document.querySelectorAll('#events details[open]').length"), 0);
  }));

/// Returns the number of pages of a PDF.
const pagesOf = (file) => readFileSync(file, "latin1").match(/\/Type\s*\/Page\b/g).length;

for (const name of ["example", "many", "kinds", "flat", "relay"]) {
  test(`the page of '${name}' takes two sheets of paper at most`, () =>
    opened(name, {}, async (page) => {
      await page.print(path("printed.pdf"));
      assert.ok(pagesOf(path("printed.pdf")) <= 2, `${pagesOf(path("printed.pdf"))}`);
    }));
}

test("500 events take two sheets of paper and open as one table", async () => {
  writeFileSync(path("hundreds.csv"), rowsOf(100, ["Ua", "Ub", "Uc"], (t, p) => (p === 0 && within(t % 0.2, 0.05, 0.12) ? 0.5 : 1)));
  execFileSync(dipx, ["analyse", path("hundreds.csv"), "-q", "--html", path("hundreds.html")]);
  await opened("hundreds", {}, async (page) => {
    assert.equal(await page.value("document.querySelectorAll('#events-table tbody tr').length"), 500);
    await page.print(path("printed.pdf"));
    assert.ok(pagesOf(path("printed.pdf")) <= 2, `${pagesOf(path("printed.pdf"))}`);
  });
  assert.ok(statSync(path("hundreds.html")).size < 6e6, `${statSync(path("hundreds.html")).size}`);
});

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
    assert.match(run.stderr, /^dipx: .*no-such-folder.*: No such file or directory; make its folder first, or name another one\n$/);
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

/// Returns the distance between two colours (CIE 1976) for an eye with a kind of colour vision.
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
        assert.ok((high + 0.05) / (low + 0.05) >= 4.5, `${phase} on ${paper}`);
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
      ["voltsWithin(1637.4, 82670.6)", "1.7\u00a0kV"],
      ["volts(82670.6, 1637.4)", "82.7\u00a0kV"],
      ["volts(82670.6, 9999)", "83\u00a0kV"],
      ["volts(297, 5170)", "0.3\u00a0kV"],
      ["degrees(359.6, 81.1)", "0°"],
      ["turn(-19.4, 12.7)", "−19°"],
      ["time(0.3051, 0.0121)", "0.305\u00a0s"],
      ["timeWithin(0.0121)", "13\u00a0ms"],
      ["degreesWithin(81.1)", "82°"],
      ["degreesWithin(0.31)", "0.4°"],
      ["timeWithin(0.00021)", "0.3\u00a0ms"],
    ];
    for (const [call, digits] of figures) assert.equal(await page.value(call), digits, call);
  }));

for (const name of ["example", "load"]) {
  test(`the sequences and the unbalance in the page of '${name}' have the digits of the text`, () =>
    opened(name, {}, async (page) => {
      const text = execFileSync(dipx, ["analyse", records[name], ...(options[name] ?? [])], { encoding: "utf8" }).split(/^At the load/m)[0];
      const inText = [...text.matchAll(/sequences: positive (.*), negative (.*), zero (.*)\n +unbalance (\S+ %)/g)].map(([, ...figures]) => figures);
      const { segments } = documents[name].events[0].course;
      assert.equal(inText.length, segments.length);
      for (const [i, figures] of inText.entries()) {
        const members = ["sequences.positive_v", "sequences.negative_v", "sequences.zero_v", "unbalance_percent"];
        const cells = members.map((member) => `[data-of="events.0.course.segments.${i}.${member}"]`);
        const inPage = await page.value(`${JSON.stringify(cells)}.map((cell) => document.querySelector(cell).textContent)`);
        assert.deepEqual(inPage.map((words) => words.replaceAll("\u00a0", " ")), figures);
      }
    }));
}

test("the table shows the duration of a dip that continues past the record's end", () =>
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

test("currents and digital channels are shown when they are asked for", () =>
  opened("relay", { width: 900 }, async (page) => {
    assert.equal(await page.value("document.querySelectorAll('#digitals svg').length"), 0);
    await page.value("document.getElementById('with-currents').click()");
    await page.settled();
    assert.equal(await page.value("document.querySelectorAll('#plots canvas').length"), 3);
    assert.equal(await page.value("document.querySelector('#digitals text').textContent"), "breaker");
    // The peak of the currents is 32.5 A, so the first sample of a quarter of a cycle is near it.
    assert.ok(Math.abs((await page.value("valueAt(currents, 0, 0.005)")) - 32.5) < 0.01);
    assert.deepEqual(await page.value("onTimes(digitals[0])"), [[0.4, 3199 / 3200]]);
    await page.value("document.getElementById('with-currents').click()");
    await page.settled();
    assert.equal(await page.value("document.querySelectorAll('#plots canvas').length"), 2);
  }));

test("recorded RMS values have neither phasors nor derived quantities", async () => {
  const lines = ["t_s,Ua RMS,Ub RMS,Uc RMS"];
  for (let i = 0; i < 500; i++) lines.push([(i / 100).toFixed(2), ...[0, 1, 2].map((p) => (p === 0 && within(i, 200, 240) ? 115 : 230 + 0.01 * ((i + p) % 3)).toFixed(2))].join(","));
  writeFileSync(path("trend.csv"), `${lines.join("\n")}\n`);
  execFileSync(dipx, ["analyse", path("trend.csv"), "-q", "--html", path("trend.html")]);
  await opened("trend", {}, async (page) => {
    assert.equal(await page.value("found.record.values"), "rms");
    assert.equal(await page.value("(cursor.put(2.1), document.getElementById('phasors-now').textContent)"), "Recorded RMS values have no phasors.");
    assert.equal(await page.value("document.getElementById('derived-kind')"), null);
  });
});

test("derived quantities agree with the document's segments and the record", () =>
  opened("example", {}, async (page) => {
    const [{ course }] = documents.example.events;
    const [first] = course.segments;
    const at = (first.start_s + first.end_s) / 2;
    const kind = (name, seconds) => page.value(`(derived.choose(${JSON.stringify(name)}), derived.kind[3](${seconds}))`);
    const full = await page.value("charts.reference()");
    const sequences = await kind("Symmetrical components", at);
    ["positive", "negative", "zero"].forEach((name, i) => {
      assert.ok(Math.abs((sequences[i] * full) / 100 / first.sequences[`${name}_v`] - 1) < 0.02, `${name} ${sequences[i]} %`);
    });
    assert.ok(Math.abs((await kind("Unbalance", at))[0] - first.unbalance_percent) < 1);
    assert.ok(Math.abs((await kind("Frequency", 0.2))[0] - documents.example.record.measured_frequency_hz) < 0.05);
    // Before the dip all voltages are nearly equal and a third of a turn apart.
    for (const share of await kind("Voltages between phases", 0.2)) assert.ok(Math.abs(share - 100) < 0.5, `${share} %`);
    assert.equal(await page.value("document.querySelectorAll('#plots canvas').length"), 3);
    await page.value("derived.choose('')");
    assert.equal(await page.value("document.querySelectorAll('#plots canvas').length"), 2);
  }));

test("the fit of a synthetic dip leaves next to nothing, and is drawn over the waveform", () =>
  opened("shallow", {}, async (page) => {
    const [{ course }] = documents.shallow.events;
    const [{ start_s, end_s }] = course.segments;
    const rest = await page.value(`(() => {
      const rest = [];
      for (let t = ${start_s}; t < ${end_s}; t += 1 / rate) rest.push(...phases.map((_, i) => residualAt(i, t)));
      return rest;
    })()`);
    assert.ok(rest.length > 50 && rest.every((volts) => volts !== null));
    const least = Math.sqrt(rest.reduce((sum, volts) => sum + volts * volts, 0) / rest.length);
    assert.ok(least < 0.03 * 230, `${least} V`);
    const plain = await picture(page, "wave");
    await page.value("document.getElementById('with-fit').click()");
    await page.settled();
    assert.notEqual(await picture(page, "wave"), plain);
  }));

test("a record without them offers neither currents nor digital channels", () =>
  opened("flat", { width: 900 }, async (page) => {
    assert.equal(await page.value("document.getElementById('with-currents')"), null);
  }));
