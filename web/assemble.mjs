// Puts module, scripts, style and licences into one page:
//   node assemble.mjs MODULE.wasm VERSION OUTPUT LICENCE...
import { execFileSync } from "node:child_process";
import { readFileSync, statSync, writeFileSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";
import { gzipSync } from "node:zlib";

const [wasm, version, output, ...licences] = process.argv.slice(2);
const page = join(dirname(fileURLToPath(import.meta.url)), "page");
const text = (name) => readFileSync(join(page, name), "utf8");
/// Returns a file as LZMA. unpack.js wants to know the size of the content, which xz leaves open. The three numbers are
/// those that made the module smallest.
function packed(file) {
  const bytes = execFileSync("xz", ["--format=lzma", "--lzma1=preset=9e,lc=3,lp=0,pb=0", "--stdout", file], { maxBuffer: 2 ** 30 });
  bytes.writeUInt32LE(statSync(file).size, 5);
  bytes.writeUInt32LE(0, 9);
  return bytes;
}

const inert = (words) => words.replaceAll("&", "&amp;").replaceAll("<", "&lt;");
const parts = {
  version,
  web_style: text("web.css"),
  web_script: text("web.js"),
  unpack_script: text("unpack.js"),
  charset_script: text("charset.js"),
  module_script: text("module.js"),
  worker_script: text("worker.js"),
  licences: inert(licences.map((file) => readFileSync(file, "utf8").trim()).join("\n\n----\n\n")),
  module: packed(wasm).toString("base64"),
};
const html = text("web.html").replace(/@(\w+)@/g, (_, name) => parts[name]);
writeFileSync(output, html);
const kilobytes = (bytes) => (bytes / 1000).toFixed(0);
console.log(`${output}: ${kilobytes(html.length)} kB, ${kilobytes(gzipSync(html, { level: 9 }).length)} kB compressed`);
