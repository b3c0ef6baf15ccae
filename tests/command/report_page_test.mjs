// Opens the page of `dipx archive report --html` in headless Chromium and uses it as a user does.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { Browser } from "../outputs/page/browser.mjs";

const [dipx, chromium] = ["DIPX", "CHROMIUM"].map((name) => process.env[name]);
const folder = mkdtempSync(join(tmpdir(), "dipx-report-"));
const report = join(folder, "report.html");
let browser;

before(async () => {
  const run = (...words) => execFileSync(dipx, words, { cwd: folder });
  mkdirSync(join(folder, "records"));
  // Sites with one, two and three dips, and one whose name is markup. A site is named in the first line of a .cfg file.
  const dips = { "West": [15], "<b>East</b>": [45, 50], "North": [25, 30, 35] };
  for (const [site, depths] of Object.entries(dips)) {
    for (const depth of depths) {
      const config = join(folder, "records", `r${depth}.cfg`);
      run("synth", "--rate", "1600", "--depth", String(depth), "-o", config);
      const [first, ...rest] = readFileSync(config, "utf8").split("\n");
      writeFileSync(config, [[site, "1", ...first.split(",").slice(2)].join(","), ...rest].join("\n"));
    }
  }
  run("archive", "add", "events.db", "records");
  run("archive", "report", "events.db", "--window", "0", "--html", report);
  browser = await Browser.start(chromium);
});

after(async () => {
  await browser?.stop();
  rmSync(folder, { recursive: true, force: true });
});

async function opened(options, act) {
  const page = await browser.open(report, options);
  try {
    await act(page);
    assert.deepEqual(page.complaints, []);
  } finally {
    await page.close();
  }
}

for (const [kind, look] of Object.entries({
  "a wide window": { width: 1400 },
  "a phone": { width: 360, height: 740, touch: true, scale: 2 },
  "dark": { width: 900, dark: true },
})) {
  test(`the report opens in ${kind} without complaint, request or sideways scrolling`, () =>
    opened(look, async (page) => {
      assert.equal(page.requests.length, 1, page.requests.join());
      assert.ok((await page.value("document.documentElement.scrollWidth")) <= look.width);
    }));
}

const sites = (page) => page.value("[...document.querySelectorAll('.sites tbody tr')].map((row) => row.cells[0].textContent)");
const sort = (page, column) => page.value(`document.querySelectorAll('.sites th button')[${column}].click()`);

test("a click on a heading sorts the table, and another one reverses it", () =>
  opened({}, async (page) => {
    const east = "<b>East</b>, 1";
    await sort(page, 2);
    assert.deepEqual(await sites(page), ["North, 1", east, "West, 1"]);
    assert.equal(await page.value("document.querySelectorAll('.sites th')[2].getAttribute('aria-sort')"), "descending");
    await sort(page, 2);
    assert.deepEqual(await sites(page), ["West, 1", east, "North, 1"]);
    await sort(page, 0);
    assert.deepEqual(await sites(page), [east, "North, 1", "West, 1"]);
    assert.equal(await page.value("document.querySelector('.sites tfoot td').textContent"), "all");
  }));

test("the scatter shows the events of one site when it is chosen", () =>
  opened({}, async (page) => {
    const shown = () => page.value("[...document.querySelectorAll('.points circle')].filter((p) => p.style.display !== 'none').length");
    assert.equal(await shown(), 6);
    const choose = (value) => page.value(`(() => { const s = document.getElementById('site'); s.value = ${JSON.stringify(value)}; s.dispatchEvent(new Event('change')); })()`);
    await choose("<b>East</b>, 1");
    assert.equal(await shown(), 2);
    await choose("");
    assert.equal(await shown(), 6);
  }));

test("it is printed on a few pages", () =>
  opened({}, async (page) => {
    const file = join(folder, "report.pdf");
    await page.print(file);
    const pages = readFileSync(file, "latin1").match(/\/Type \/Page\b(?!s)/g).length;
    assert.ok(pages >= 1 && pages <= 4, `${pages} pages`);
  }));
