// Runs the analysis module, both in the page's worker and in node. The module reaches nothing outside itself: it gets a
// clock and memory, its printed lines are dropped, and every other function of a system answers that there is none.
"use strict";

const inputs = { request: 0, bytes: 1, data: 2 };
const outputs = { message: 0, document: 1, table: 2, page: 3, members: 4 };
/// These are the exit statuses of the command.
const statuses = { success: 0, usage: 1, unreadable: 2, refused: 3, failed: 4 };

const notThere = 52; // the error number of a function that a system does not have

/// Returns what the module imports. `memory` gives its memory once it runs.
function importsOf(compiled, memory) {
  const view = () => new DataView(memory().buffer);
  const known = {
    ...charsetImports(memory),
    clock_time_get(_clock, _precision, result) {
      view().setBigUint64(result, BigInt(Math.round(performance.now() * 1e6)), true);
      return 0;
    },
    fd_write(_file, vectors, count, written) {
      let bytes = 0;
      for (let i = 0; i < count; i++) bytes += view().getUint32(vectors + 8 * i + 4, true);
      view().setUint32(written, bytes, true);
      return 0;
    },
    environ_sizes_get(count, size) {
      view().setUint32(count, 0, true);
      view().setUint32(size, 0, true);
      return 0;
    },
    environ_get: () => 0,
    emscripten_notify_memory_growth() {},
    proc_exit(status) {
      throw new Error(`the module ended with status ${status}`);
    },
  };
  const imports = {};
  for (const { module, name } of WebAssembly.Module.imports(compiled)) {
    // System calls of Linux give the negative error number, those of WASI the positive one.
    const lacking = name.startsWith("__syscall") ? () => -notThere : () => notThere;
    (imports[module] ??= {})[name] = known[name] ?? lacking;
  }
  return imports;
}

/// Returns a request as the module reads it: for each value its name, a blank, its number of bytes, a line feed and its
/// bytes. A list has one value for each entry; what is not given or false has none.
function requestBytes(request) {
  const encoder = new TextEncoder();
  const pieces = [];
  for (const [name, given] of Object.entries(request)) {
    for (const value of [given].flat()) {
      if (value === undefined || value === false) continue;
      const bytes = value instanceof Uint8Array ? value : encoder.encode(String(value));
      pieces.push(encoder.encode(`${name} ${bytes.length}\n`), bytes);
    }
  }
  const all = new Uint8Array(pieces.reduce((length, piece) => length + piece.length, 0));
  let at = 0;
  for (const piece of pieces) {
    all.set(piece, at);
    at += piece.length;
  }
  return all;
}

/// The analysis. A module that stopped at a fault or has taken much memory is replaced by a new one.
class Analyser {
  constructor(compiled) {
    this.compiled = compiled;
    this.exports = null;
  }

  start() {
    this.exports = new WebAssembly.Instance(this.compiled, importsOf(this.compiled, () => this.exports.memory)).exports;
    this.exports._initialize?.();
  }

  write(which, bytes) {
    const address = this.exports.dipx_input(which, bytes.length);
    new Uint8Array(this.exports.memory.buffer, address >>> 0, bytes.length).set(bytes);
  }

  read(which) {
    const address = this.exports.dipx_output(which) >>> 0;
    return new TextDecoder().decode(new Uint8Array(this.exports.memory.buffer, address, this.exports.dipx_output_size(which)));
  }

  /// Calls `work` ("dipx_analyse" or "dipx_members") for a request, the bytes of a file and those of the .dat file of a
  /// pair. Returns { status, message, document, table, page, members }.
  run(work, request, bytes, data = new Uint8Array()) {
    const mostKept = 256 * 2 ** 20; // bytes
    try {
      if (this.exports === null || this.exports.memory.buffer.byteLength > mostKept) this.start();
      this.write(inputs.request, requestBytes(request));
      this.write(inputs.bytes, bytes);
      this.write(inputs.data, data);
      const result = { status: this.exports[work]() };
      for (const [name, which] of Object.entries(outputs)) result[name] = this.read(which);
      return result;
    } catch (fault) {
      this.exports = null;
      const room = bytes.length + data.length > 2 ** 28 ? "it may need more memory than a page may use" : `this is a fault of dipx (${fault})`;
      return { status: statuses.failed, fault: String(fault), message: `${request.name}: the analysis stopped, because ${room}; analyse the record with the dipx command` };
    }
  }
}

globalThis.Analyser = Analyser;
