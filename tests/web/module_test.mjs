// Compares the WebAssembly module with the dipx command, output by output, on the examples and on made records:
//   MODULE=dipx_module.wasm DIPX=dipx SOURCE=ROOT node --test module_test.mjs
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { copyFileSync, mkdtempSync, readFileSync, readdirSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, before, test } from "node:test";
import { gzipSync } from "node:zlib";
import { differences, inCommand, inModule, startedAnalyser } from "./native.mjs";

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

before(async () => {
  analyser = await startedAnalyser(wasm);
  for (const name of ["rte_00.cfg", "rte_00.dat", "rte_08_volts.csv"]) copyFileSync(join(examples, name), path(name));
  synth("steps.csv", "--depth", "30,60", "--duration", "0.2,0.15", "--phases", "A", "--harmonics", "5:4,7:3", "--noise", "0.3");
  synth("jump.cff", "--depth", "40", "--phases", "B-C", "--rate", "4800", "--frequency", "60");
  synth("text.cfg", "--depth", "70");
  synth("packed.pqd", "--depth", "55", "--noise", "0.5");
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
  assert.deepEqual(JSON.parse(listed.members), ["rte_00.cfg", "jump.cff"]);
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

test("a request that is damaged gives a message", () => {
  analyser.run("dipx_analyse", { name: "x.csv" }, new Uint8Array());
  analyser.write(0, new TextEncoder().encode("{"));
  assert.equal(analyser.exports.dipx_analyse(), 4);
  assert.notEqual(analyser.read(0), "");
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
