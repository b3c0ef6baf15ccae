// Compares the WebAssembly module with the dipx command, output by output, on the examples and on made records:
//   MODULE=dipx_module.wasm DIPX=dipx SOURCE=ROOT node --test module_test.mjs
import assert from "node:assert/strict";
import { execFileSync, spawnSync } from "node:child_process";
import { copyFileSync, mkdtempSync, readFileSync, readdirSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { gzipSync } from "node:zlib";
import { differences, inCommand, inModule, startedAnalyser, twoSets, withGap } from "./native.mjs";

const [wasm, dipx, source] = ["MODULE", "DIPX", "SOURCE"].map((name) => process.env[name]);
const folder = mkdtempSync(join(tmpdir(), "dipx-web-"));
const path = (name) => join(folder, name);
const examples = join(source, "examples");
let analyser;

function synth(name, ...options) {
  execFileSync(dipx, ["synth", ...options, "-o", path(name)]);
}

/// Both give the same status; the same document, table and page, character by character; or the same message.
function expectSame(file, options = {}, given = [], data = undefined) {
  const made = inModule(analyser, file, { ...options, page: true }, data);
  const json = inCommand(dipx, file, ["--json", ...given]);
  assert.equal(made.fault, undefined);
  assert.equal(made.status, json.status, made.message || json.message);
  if (made.status !== 0) {
    assert.equal(made.message, json.message);
    return made;
  }
  assert.deepEqual(differences(JSON.parse(made.document), JSON.parse(json.output)), []);
  assert.equal(made.document, json.output);
  if (!options.library) assert.equal(made.table, inCommand(dipx, file, ["--csv", ...given]).output);
  const page = path("page.html");
  inCommand(dipx, file, ["-q", "--html", page, ...given]);
  assert.ok(made.page === readFileSync(page, "utf8"), "the pages differ");
  return made;
}

/// All sets or parts: both give the same documents, the same table and the same complaints.
function expectSameAll(file, options, given) {
  const made = inModule(analyser, file, options);
  const json = inCommand(dipx, file, ["--json", ...given]);
  assert.equal(made.fault, undefined);
  assert.equal(made.status, json.status, made.message || json.message);
  if (made.status !== 0) {
    assert.equal(made.message, json.message.split("\n").at(-1)); // the command names each set and part before
    return made;
  }
  assert.equal(made.message.trim(), json.message);
  assert.equal(made.document, json.output);
  if (!options.library) assert.equal(made.table, inCommand(dipx, file, ["--csv", ...given]).output);
  return made;
}

/// The module refuses a request with the words of the command, which names its option before them.
function expectRefused(options, given, expected) {
  const made = inModule(analyser, path("steps.csv"), options);
  const refused = inCommand(dipx, path("steps.csv"), given);
  assert.equal(made.status, 1);
  assert.equal(refused.status, 1);
  assert.match(made.message, expected);
  const [words] = refused.message.split("\n"); // a hint on --help may follow
  assert.ok(words.endsWith(made.message), `${words} | ${made.message}`);
}

before(async () => {
  analyser = await startedAnalyser(wasm);
  for (const name of ["rte_00.cfg", "rte_00.dat", "rte_08_volts.csv"]) copyFileSync(join(examples, name), path(name));
  synth("steps.csv", "--depth", "30,60", "--duration", "0.2,0.15", "--phases", "A", "--harmonics", "5:4,7:3", "--noise", "0.3");
  synth("jump.cff", "--depth", "40", "--phases", "B-C", "--rate", "4800", "--frequency", "60");
  synth("text.cfg", "--depth", "70");
  synth("packed.pqd", "--depth", "55", "--noise", "0.5");
  const tables = { flat: ["--depth", "40"], one_phase: ["--depth", "60", "--phases", "A"], long: ["--depth", "40", "--length", "3", "--start", "2.5"] };
  // Without noise the uncertainties would be those of rounding, which is not the same in every C library's sines.
  for (const [name, options] of Object.entries(tables)) synth(`${name}.csv`, "--rate", "1600", "--noise", "0.5", ...options);
  const table = (name) => readFileSync(path(`${name}.csv`), "utf8");
  writeFileSync(path("two_sets.csv"), twoSets(table("flat"), table("one_phase")));
  writeFileSync(path("two_parts.csv"), withGap(table("long"), 1, 2));
  writeFileSync(path("short_part.csv"), withGap(table("long"), 0.02, 1.5));
  synth("integers.cfg", "--binary", "--depth", "20", "--fall", "0.1", "--recovery", "0.2");
});

after(() => rmSync(folder, { recursive: true }));

test("a COMTRADE record gives the command's outputs", () => {
  const made = expectSame(path("rte_00.cfg"), {}, [], path("rte_00.dat"));
  assert.equal(JSON.parse(made.document).events[0].kind, "dip");
});

test("a CSV file gives the command's outputs", () => {
  expectSame(path("rte_08_volts.csv"));
});

test("made records of all formats give the command's outputs", () => {
  for (const name of ["steps.csv", "jump.cff", "packed.pqd"]) expectSame(path(name));
  for (const stem of ["text", "integers"]) expectSame(path(`${stem}.cfg`), {}, [], path(`${stem}.dat`));
});

test("options have the command's meaning", () => {
  const record = [path("rte_00.cfg"), path("rte_00.dat")];
  const same = (options, given) => expectSame(record[0], options, given, record[1]);
  same({ nominal: 110000, nominal_kind: "line" }, ["--nominal", "110kV:line"]);
  same({ channels: "v1" }, ["--channels", "v1"]);
  same({ line_to_line: true }, ["--line-to-line"]);
  same({ through: "Dyn11" }, ["--through", "Dyn11"]);
  same({ rate: 3200, frequency: 25 }, ["--rate", "3200", "--frequency", "25"]);
  same({ set: 7 }, ["--set", "7"]);
  same({ from: 0, to: 0.3 }, ["--from", "0", "--to", "0.3"]);
  same({ from: 0.1 }, ["--from", "0.1"]);
  same({ from: 1000 }, ["--from", "1000"]);
  same({ nominal: 90000, nominal_kind: "line", reference: "declared" }, ["--nominal", "90kV:line", "--reference", "declared"]);
  same({ reference: "sliding" }, ["--reference", "sliding"]);
  same({ nominal: 90000, reference: "pre-event" }, ["--nominal", "90kV", "--reference", "pre-event"]);
});

test("thresholds have the command's meaning", () => {
  const options = { dip_threshold: 68.5, swell_threshold: 101, interruption_threshold: 60, hysteresis: 1, rvc_threshold: 0 };
  const given = ["--dip-threshold", "68.5", "--swell-threshold", "101", "--interruption-threshold", "60", "--hysteresis", "1", "--rvc-threshold", "0"];
  const made = JSON.parse(expectSame(path("steps.csv"), options, given).document);
  assert.deepEqual(made.parameters, {
    reference: "pre-event", dip_threshold_percent: 68.5, swell_threshold_percent: 101, interruption_threshold_percent: 60, hysteresis_percent: 1,
    rvc_threshold_percent: 0,
  });
  const usual = JSON.parse(expectSame(path("steps.csv")).document).events[0];
  assert.ok(usual.start.time_s < made.events[0].start.time_s, "the first step falls to 70 %, which is no dip below 68.5 %");
  expectRefused({ dip_threshold: 20, interruption_threshold: 30 }, ["--dip-threshold", "20", "--interruption-threshold", "30"],
    /^--interruption-threshold 30 is not below --dip-threshold 20; /);
  expectRefused({ hysteresis: 11 }, ["--hysteresis", "11"], /use at most 10$/);
});

test("tolerance curves have the command's meaning", () => {
  const curves = { "press.csv": "# name: Press 3 \xb5\nduration_ms,voltage_percent\n50,0\n400,60\n", "oven.csv": "duration (s);voltage\n0,02;0\n1;80\n" };
  const request = { curve_file: [], curve: [] };
  const given = [];
  for (const [name, text] of Object.entries(curves)) {
    writeFileSync(path(name), Buffer.from(text, "latin1"));
    request.curve_file.push(name);
    request.curve.push(new Uint8Array(Buffer.from(text, "latin1")));
    given.push("--curve", name);
  }
  const { events } = JSON.parse(expectSame(path("steps.csv"), request, given).document);
  const verdicts = events[0].verdicts.map(({ curve }) => curve);
  assert.ok(verdicts.includes("oven"), verdicts.join(" "));
  writeFileSync(path("bad_curve.csv"), "duration_ms,voltage\n50,x\n");
  const bad = { curve_file: ["bad_curve.csv"], curve: [new Uint8Array(readFileSync(path("bad_curve.csv")))] };
  expectRefused(bad, ["--curve", "bad_curve.csv"], /^bad_curve\.csv, line 2: the curve .*; expected .*; /);
});

test("all sets and parts give the command's outputs", () => {
  const made = expectSameAll(path("two_sets.csv"), { set: "all" }, ["--set", "all"]);
  const sets = made.document.trim().split("\n").map((line) => JSON.parse(line));
  assert.deepEqual(sets.map(({ record }) => record.set), [{ number: 1, of: 2 }, { number: 2, of: 2 }]);
  expectSameAll(path("two_sets.csv"), { set: "all", library: true }, ["--set", "all", "--library"]);
  expectSameAll(path("two_parts.csv"), { part: "all" }, ["--part", "all"]);
  expectSameAll(path("two_parts.csv"), { set: "all", part: "all" }, ["--set", "all", "--part", "all"]);
  const refused = expectSameAll(path("short_part.csv"), { set: "all", part: "all" }, ["--set", "all", "--part", "all"]);
  assert.match(refused.message, /^set 1, part 1: short_part\.csv: it holds less than two cycles; /);
  assert.equal(refused.status, 0);
  const none = expectSameAll(path("two_parts.csv"), { part: "all", to: 0.02 }, ["--part", "all", "--to", "0.02"]);
  assert.equal(none.status, 3);
});

test("the embedded library gives the command's results", () => {
  const made = expectSame(path("rte_00.cfg"), { library: true }, ["--library"], path("rte_00.dat"));
  assert.ok(JSON.parse(made.document).library.dips.length > 0);
  expectSame(path("jump.cff"), { library: true }, ["--library"]);
});

test("archives give the command's outputs", () => {
  writeFileSync(path("steps.csv.gz"), gzipSync(readFileSync(path("steps.csv"))));
  expectSame(path("steps.csv.gz"));
  execFileSync("python3", ["-m", "zipfile", "-c", path("one.zip"), path("rte_00.cfg"), path("rte_00.dat")]);
  expectSame(path("one.zip"));
  execFileSync("python3", ["-m", "zipfile", "-c", path("two.zip"), path("rte_00.cfg"), path("rte_00.dat"), path("jump.cff")]);
  expectSame(path("two.zip")); // a message that lists the records
  const listed = analyser.run("dipx_members", { name: "two.zip" }, readFileSync(path("two.zip")));
  assert.equal(listed.members, "rte_00.cfg\0jump.cff\0");
  const member = analyser.run("dipx_analyse", { name: "two.zip", member: "rte_00.cfg" }, readFileSync(path("two.zip")));
  const json = inCommand(dipx, path("two.zip:rte_00.cfg"), ["--json"]);
  assert.equal(member.document, json.output);
});

test("names in other character sets are read as the command reads them", () => {
  const table = readFileSync(path("steps.csv"), "latin1").replace(/^[^\n]*/, (line) => line.replaceAll("U", "\xcd\xe0\xef\xf0\xff\xe6\xe5\xed\xe8\xe5 U"));
  writeFileSync(path("cyrillic.csv"), Buffer.from(table, "latin1"));
  expectSame(path("cyrillic.csv"));
  expectSame(path("cyrillic.csv"), { charset: "GBK" }, ["--charset", "GBK"]);
  writeFileSync(path("wide.csv"), Buffer.concat([Buffer.from([0xff, 0xfe]), Buffer.from(readFileSync(path("steps.csv"), "utf8"), "utf16le")]));
  expectSame(path("wide.csv"));
});

test("text in character sets that browsers take for others is read as the command reads it", () => {
  const every = Buffer.from(Array.from({ length: 128 }, (_, i) => 0x80 + i));
  for (const charset of ["WINDOWS-1252", "Latin-1", "ISO-8859-1", "ASCII", "Windows-1251", "KOI8-R", "GBK", "GB18030", "UTF-16"]) {
    for (const bytes of [every, Buffer.from("\x80 \xb5\xe7\xd1\xb9\x80\xff\xa2\xe3", "latin1")]) {
      const [time, rest] = readFileSync(path("steps.csv"), "utf8").split(/(?<=^\w+,)/);
      writeFileSync(path("letters.csv"), Buffer.concat([Buffer.from(time), bytes, Buffer.from(rest)]));
      const made = expectSame(path("letters.csv"), { charset, channels: "1,2,3" }, ["--charset", charset, "--channels", "1,2,3"]);
      if (charset !== "UTF-16") assert.match(JSON.parse(made.document).voltages[0].name, /[^ -~]/, charset);
    }
  }
  expectRefused({ charset: "Klingon" }, ["--charset", "Klingon"], /'Klingon' is not known/);
});

test("a file that cannot be used gives the command's message with file, place and cure", () => {
  const csv = readFileSync(path("steps.csv"), "utf8");
  const bad = {
    "empty.csv": "",
    "picture.png": "\x89PNG\r\n\x1a\n",
    "quote.csv": csv.replace(/\n([^\n]*)\n/, '\n"$1\n'),
    "no_voltages.csv": "t,x\n0,1\n1,2\n",
    "cut.pqd": readFileSync(path("packed.pqd")).subarray(0, 900),
    "cut.cff": readFileSync(path("jump.cff")).subarray(0, 300),
    "damaged.zip": "PK\x03\x04 and nothing else",
    "cut.csv.gz": gzipSync(csv).subarray(0, 500),
    "remarks.hdr.csv": "remarks",
  };
  for (const [name, content] of Object.entries(bad)) {
    writeFileSync(path(name), content);
    const made = expectSame(path(name));
    assert.notEqual(made.status, 0, name);
    assert.match(made.message, new RegExp(`^${name}:.*; `), name);
  }
  writeFileSync(path("short.dat"), readFileSync(path("rte_00.dat")).subarray(0, 0));
  copyFileSync(path("rte_00.cfg"), path("short.cfg"));
  assert.notEqual(expectSame(path("short.cfg"), {}, [], path("short.dat")).status, 0);
});

test("the module needs no vectors, which some browsers and processors lack", { skip: process.arch !== "x64" }, () => {
  const compiledWithout = (file) => {
    const program = "WebAssembly.compile(require('fs').readFileSync(process.argv[1])).catch(() => process.exit(1))";
    return spawnSync(process.execPath, ["--no-enable-sse4-1", "-e", program, file]).status === 0;
  };
  // One function: i32.const 0, i8x16.splat, drop.
  const vectors = [0, 0x61, 0x73, 0x6d, 1, 0, 0, 0, 1, 4, 1, 0x60, 0, 0, 3, 2, 1, 0, 10, 9, 1, 7, 0, 0x41, 0, 0xfd, 15, 0x1a, 11];
  writeFileSync(path("vectors.wasm"), new Uint8Array(vectors));
  assert.ok(WebAssembly.validate(readFileSync(path("vectors.wasm"))));
  assert.ok(!compiledWithout(path("vectors.wasm")));
  assert.ok(compiledWithout(wasm));
});

test("a request that is damaged gives a message", () => {
  analyser.run("dipx_analyse", { name: "x.csv" }, new Uint8Array());
  for (const damaged of ["{", "name\n", "name x\n", "name 5\nx.cs", "name 5\nx.csv{"]) {
    analyser.write(0, new TextEncoder().encode(damaged));
    assert.equal(analyser.exports.dipx_analyse(), 4, damaged);
    assert.equal(analyser.read(0), "The request of the page is damaged.");
  }
  for (const request of [{ set: "-1" }, { part: "0" }, { rate: "fast" }, { dip_threshold: "" }]) {
    const made = analyser.run("dipx_analyse", { name: "x.csv", ...request }, new Uint8Array());
    assert.equal(made.status, 1, JSON.stringify(request));
    assert.match(made.message, /^\w+: '.*' is .*; use /);
  }
});

test("inputs that found a fault do not stop the module", () => {
  let runs = 0;
  for (const kind of readdirSync(join(source, "fuzz/regressions"))) {
    for (const name of readdirSync(join(source, "fuzz/regressions", kind))) {
      const bytes = readFileSync(join(source, "fuzz/regressions", kind, name));
      for (const ending of ["csv", "cff", "pqd", "zip"]) {
        const made = analyser.run("dipx_analyse", { name: `input.${ending}`, page: true }, bytes);
        assert.equal(made.fault, undefined, `${name} as ${ending}`);
        assert.ok(made.status === 0 || made.message !== "", `${name} as ${ending}`);
        runs++;
      }
      const cut = bytes.length >> 1;
      const pair = analyser.run("dipx_analyse", { name: "input.cfg", data_name: "input.dat" }, bytes.subarray(0, cut), bytes.subarray(cut));
      assert.equal(pair.fault, undefined, `${name} as a pair`);
    }
  }
  assert.ok(runs >= 20);
});
