// What the tests of the browser page share: the module in node, and the dipx command to which it is compared.
import { spawnSync } from "node:child_process";
import { readFileSync } from "node:fs";
import { basename, dirname, join } from "node:path";
import { runInThisContext } from "node:vm";

for (const name of ["charset.js", "module.js"]) {
  const source = join(import.meta.dirname, "../../web/page", name);
  runInThisContext(readFileSync(source, "utf8"), { filename: source });
}

/// Returns an analyser as the page's worker has it.
export async function startedAnalyser(wasm) {
  return new Analyser(await WebAssembly.compile(readFileSync(wasm)));
}

/// Analyses a file, or a pair by its .cfg file, in the module. The name is the file's name without folders.
export function inModule(analyser, file, options = {}, data = undefined) {
  const request = { ...options, name: basename(file), data_name: data ? basename(data) : "" };
  return analyser.run("dipx_analyse", request, readFileSync(file), data ? readFileSync(data) : undefined);
}

/// Runs `dipx analyse` in the file's folder: { status, message, output }.
export function inCommand(dipx, file, options = []) {
  const run = spawnSync(dipx, ["analyse", basename(file), ...options], {
    cwd: dirname(file), encoding: "utf8", maxBuffer: 2 ** 30,
  });
  return { status: run.status, message: run.stderr.trim().replace(/^dipx: /gm, ""), output: run.stdout };
}

/// Returns a table of the voltages of two such tables with the same times, as two sets.
export function twoSets(one, other) {
  const rows = (table) => table.trim().split("\n").map((line) => line.split(","));
  const second = rows(other);
  const numbered = (cells, row, set) => (row > 0 ? cells : cells.map((cell) => cell.replace("U", `U${set}`)));
  const joined = rows(one).map(([time, ...cells], row) => [time, ...numbered(cells, row, 1), ...numbered(second[row].slice(1), row, 2)]);
  return joined.map((cells) => `${cells.join(",")}\n`).join("");
}

/// Returns a table without the voltages between two times in seconds, which makes two parts of it.
export function withGap(table, from, to) {
  const blank = (line, row) => {
    const [time, ...cells] = line.split(",");
    return row > 0 && Number(time) >= from && Number(time) < to ? [time, ...cells.map(() => "")].join(",") : line;
  };
  return table.trim().split("\n").map(blank).map((line) => `${line}\n`).join("");
}

/// Returns the first places at which two documents differ, as "path: one, other".
export function differences(one, other, path = "", found = []) {
  if (found.length >= 10 || Object.is(one, other)) return found;
  const nested = (value) => typeof value === "object" && value !== null;
  if (!nested(one) || !nested(other)) {
    found.push(`${path}: ${JSON.stringify(one)}, ${JSON.stringify(other)}`);
    return found;
  }
  for (const key of new Set([...Object.keys(one), ...Object.keys(other)])) differences(one[key], other[key], `${path}/${key}`, found);
  return found;
}
