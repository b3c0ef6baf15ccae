// Puts module, scripts, style and licences into one page:
//   node assemble.mjs MODULE.wasm VERSION OUTPUT LICENCE...
import { readFileSync, writeFileSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";
import { gzipSync } from "node:zlib";

const [wasm, version, output, ...licences] = process.argv.slice(2);
const page = join(dirname(fileURLToPath(import.meta.url)), "page");
const text = (name) => readFileSync(join(page, name), "utf8");
const inert = (words) => words.replaceAll("&", "&amp;").replaceAll("<", "&lt;");
const parts = {
  version,
  web_style: text("web.css"),
  web_script: text("web.js"),
  module_script: text("module.js"),
  worker_script: text("worker.js"),
  licences: inert(licences.map((file) => readFileSync(file, "utf8").trim()).join("\n\n----\n\n")),
  module: gzipSync(readFileSync(wasm), { level: 9 }).toString("base64"),
};
const html = text("web.html").replace(/@(\w+)@/g, (_, name) => parts[name]);
writeFileSync(output, html);
const kilobytes = (bytes) => (bytes / 1000).toFixed(0);
console.log(`${output}: ${kilobytes(html.length)} kB, ${kilobytes(gzipSync(html, { level: 9 }).length)} kB compressed`);
