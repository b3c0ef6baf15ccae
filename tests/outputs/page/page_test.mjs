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
  steps: path("steps.cff"), // two dips' worth of segments, 60 s at the highest rate
  shallow: path("shallow.csv"), // found but not analysed
  lasting: path("lasting.csv"), // not recovered
  flat: path("flat.csv"), // no dip
  many: path("many.csv"), // more dips than are shown unfolded
  part: path("part.cfg"), // the second part of a record with a gap, at a rate that the analysis does not take
};
const options = { part: ["--nominal", "200"] };
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

/// Rows of a record with dips every second.
function rowsOfManyDips() {
  const lines = ["t_s,Ua,Ub,Uc"];
  for (let i = 0; i < 10 * 3200; i++) {
    const t = i / 3200;
    const factor = t > 0.4 && t % 1 > 0.4 && t % 1 < 0.55 ? 0.5 : 1;
    const volts = [0, 1, 2].map((p) => ((p === 0 ? factor : 1) * 325 * Math.sin(2 * Math.PI * (50 * t - p / 3))).toFixed(3));
    lines.push([t.toFixed(7), ...volts].join(","));
  }
  return lines.join("\n") + "\n";
}

before(async () => {
  synth("steps", "--start", "5", "--duration", "8,7", "--depth", "30,60", "--length", "60", "--noise", "0.5", "--binary");
  synth("shallow", "--depth", "12", "--duration", "0.04");
  synth("lasting", "--duration", "1", "--length", "1");
  synth("flat", "--depth", "0");
  writeFileSync(records.many, rowsOfManyDips());
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
        assert.ok(
          Math.abs(Number(digits) * factor - figure) <= 0.5000001 * factor * 10 ** -decimals,
          `${of}: '${text}' for ${figure}`,
        );
      }
      // Every figure of every dip is there, but for samples (their times are) and what others say.
      const left_out = /\.(sample|number|phase|mask|count|code|reason|analysed|recovered|gradual_fall_doubtful|next_to_nothing)$/;
      const expected = [];
      const walk = (value, at) => {
        if (value !== null && typeof value === "object") {
          for (const [key, inner] of Object.entries(value)) walk(inner, `${at}.${key}`);
        } else if (value !== null && !left_out.test(at)) {
          expected.push(at);
        }
      };
      walk(documents[name].dips, "dips");
      assert.deepEqual(expected.filter((at) => !shown.has(at)), []);
    }));
}

test("a page of 60 s stays below 6 MB", () => {
  assert.ok(statSync(path("steps.html")).size < 6e6);
});

test("its curves are the record's: RMS as low as the document says, waves as high as the voltage", () =>
  opened("steps", {}, async (page) => {
    const { lowest_voltage } = documents.steps.dips[0];
    const lowest = await page.value("rms.values.map((phase) => phase.reduce((a, b) => Math.min(a, b)) * rms.scale)");
    lowest.forEach((volts, i) => assert.ok(Math.abs(volts - lowest_voltage[i].voltage_v) < 0.05, `${volts}`));
    const count = await page.value("wave.values[0].length");
    assert.equal(count, documents.steps.record.samples, "every sample");
    const peak = await page.value("wave.values[0].subarray(0, 6400).reduce((a, b) => Math.max(a, b)) * wave.scale");
    assert.ok(Math.abs(peak - 230 * Math.SQRT2) < 8, `${peak} V with 0.5 % of noise`);
  }));

test("a part of a record, resampled, stands at its times", () =>
  opened("part", {}, async (page) => {
    const { record, dips: [dip] } = documents.part;
    assert.equal(record.part.number, 2);
    assert.ok(record.part.resampled);
    const [from, to] = await range(page);
    assert.ok(Math.abs(from - 0.4) < 2e-4 && Math.abs(to - 1.5) < 4e-4, `${from} to ${to}`);
    const crossings = await page.value(`(() => {
      const [times, a] = raw(rms, recordStart, recordEnd);
      const low = [...times.keys()].filter((i) => a[i] < found.threshold_v);
      return [times[low[0]], times[low.at(-1)]];
    })()`);
    const step = 1 / record.sampling_rate_hz;
    assert.ok(Math.abs(crossings[0] - dip.start.time_s) < 2 * step, `${crossings} for ${dip.start.time_s}`);
    assert.ok(Math.abs(crossings[1] - dip.end.time_s) < 2 * step, `${crossings} for ${dip.end.time_s}`);
    const facts = (await page.value("document.getElementById('facts').textContent")).replaceAll("\u00a0", " ");
    assert.match(facts, /5632 samples, part 2 of 2 from 0\.4000 s/);
    assert.match(facts, /5120 Hz, resampled to 104 per cycle of 50 Hz/);
  }));

test("dips are judged by the declared voltage where it is given", () =>
  opened("part", {}, async (page) => {
    const percents = documents.part.dips[0].residual_voltage.percent_of_declared;
    assert.ok(Math.abs(percents - 57.5) < 0.1);
    const frame = await page.value("(({ y, height }) => ({ y: y.baseVal.value, height: height.baseVal.value }))(document.querySelector('#curves rect'))");
    const y = await page.value("document.querySelector('#curves circle').cy.baseVal.value");
    assert.ok(Math.abs((y - frame.y) / frame.height - (1 - percents / 100)) < 0.001);
    assert.equal(await page.value("document.getElementById('judged-by').textContent"), "the declared voltage");
    const facts = (await page.value("document.getElementById('facts').textContent")).replaceAll("\u00a0", " ");
    assert.match(facts, /Declared voltagephase 200\.0 V; the pre-event voltage is 115\.0 % of it/);
  }));

test("dragging across zooms both plots to what was chosen, a double click shows the whole record", () =>
  opened("example", {}, async (page) => {
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

test("a dip's button shows it with what lies round it; keys move and zoom", () =>
  opened("example", {}, async (page) => {
    const [dip] = documents.example.dips;
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
    const { left, top, width } = await page.box("#rms .u-over");
    await page.mouse("mouseMoved", left + (width * 9) / 60, top + 20, { button: "none" });
    await page.settled();
    const words = await page.value("document.getElementById('readout').textContent");
    const [at] = words.match(/[\d.]+/);
    assert.ok(Math.abs(Number(words.match(/[\d.]+/)[0]) - 9) < 0.1, `${at}`);
    assert.match(words.replaceAll("\u00a0", " "), /Ua .* RMS 16\d\.\d V \((69|70)\.\d %\)/);
  }));

test("phasors stand before the dip and for each segment, with lengths and angles of the document", () =>
  opened("example", {}, async (page) => {
    const [dip] = documents.example.dips;
    const lines = await page.value(
      `[...document.querySelectorAll(".phasors figure")].map((f) => [...f.querySelectorAll("path[stroke-linecap]")].map((p) => p.getAttribute("d")))`,
    );
    assert.equal(lines.length, 1 + dip.segments.length);
    const tip = (d) => d.match(/L([-\d.]+) ([-\d.]+)/).slice(1).map(Number);
    const polar = (d) => {
      const [x, y] = tip(d);
      return [Math.hypot(x - 100, y - 100), (Math.atan2(100 - y, x - 100) * 180) / Math.PI];
    };
    const unit = polar(lines[0][0])[0] / dip.before_dip[0].voltage_v;
    dip.segments.forEach((segment, s) => {
      for (let phase = 0; phase < 3; phase++) {
        const [length, angle] = polar(lines[s + 1][phase]);
        assert.ok(Math.abs(length / unit / segment.residual_voltage[phase].voltage_v - 1) < 1e-6);
        const due = dip.before_dip[phase].degrees + segment.phase_jump[phase].degrees;
        assert.ok(Math.abs(Math.sin(((angle - due) * Math.PI) / 360)) < 1e-6, `${angle} for ${due}`);
      }
    });
  }));

test("each dip stands on the tolerance curves and in its cell of EN 50160's table", () =>
  opened("many", {}, async (page) => {
    const dips = documents.many.dips;
    assert.equal(dips.length, 10);
    assert.equal(await page.value("document.querySelectorAll('#curves circle.event').length"), dips.length);
    for (const dip of dips) {
      const words = await page.value(`document.querySelector('[data-cell="${dip.en50160_cell}"]').textContent`);
      assert.ok(words.split(", ").includes(`dip ${dip.number}`), words);
    }
    // 50 % of a plot from 0 to 100 %: halfway up.
    const frame = await page.value("(({ y, height }) => ({ y: y.baseVal.value, height: height.baseVal.value }))(document.querySelector('#curves rect'))");
    const y = await page.value("document.querySelector('#curves circle').cy.baseVal.value");
    assert.ok(Math.abs(y - frame.y - frame.height / 2) < frame.height * 0.01);
  }));

test("many dips are chosen from a list", () =>
  opened("many", {}, async (page) => {
    const [, second] = documents.many.dips;
    await page.value(`(() => {
      const choice = document.querySelector("#tools select");
      choice.value = "2";
      choice.dispatchEvent(new Event("change"));
    })()`);
    await page.settled();
    const [from, to] = await range(page);
    assert.ok(from < second.start.time_s && to > second.end.time_s && to - from < 2 * second.duration_s);
  }));

test("tables of many dips are folded, and unfolded on paper", () =>
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
    assert.equal(await page.value("document.title"), `Voltage dips: ${file}`);
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
      ["volts(1000.5)", "1.000\u00a0kV"],
      ["degrees(359.97)", "0.0°"],
      ["degrees(359.94)", "359.9°"],
      ["turn(0.04)", "0.0°"],
      ["turn(4.25)", "+4.2°"],
    ];
    for (const [call, digits] of figures) assert.equal(await page.value(call), digits, call);
  }));

test("how long a dip lasts that has not recovered stands in its table", () =>
  opened("lasting", {}, async (page) => {
    const { dips: [dip], record } = documents.lasting;
    const seconds = record.samples / record.sampling_rate_hz - dip.start.time_s;
    const rows = await page.value(`[...document.querySelectorAll("#dips tr")].map((row) => row.textContent)`);
    assert.ok(rows.includes(`duration${(seconds * 1e3).toFixed(1)}\u00a0ms and on`), rows.join("; "));
    assert.equal(dip.voltage_tolerance.itic, "below");
  }));
