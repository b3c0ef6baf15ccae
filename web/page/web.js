// The page into which records are dropped: reads the files, has the worker analyse them, and shows the outcome.
"use strict";

const byId = (id) => document.getElementById(id);

function element(name, attributes = {}, ...content) {
  const made = document.createElement(name);
  for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, value);
  made.append(...content);
  return made;
}

// --- the worker --------------------------------------------------------------------------------------------------------

const worker = {
  jobs: new Map(),
  last: 0,
  thread: null,

  /// Starts the worker, which unpacks the module.
  start() {
    const packed = Uint8Array.from(atob(byId("module").textContent), (letter) => letter.charCodeAt(0));
    const address = URL.createObjectURL(new Blob([byId("worker").textContent], { type: "text/javascript" }));
    this.thread = new Worker(address);
    this.thread.onmessage = ({ data }) => {
      this.jobs.get(data.id)(data);
      this.jobs.delete(data.id);
    };
    this.thread.onerror = (event) => complain(`The analysis cannot run in this browser: ${event.message}`);
    this.thread.postMessage({ packed }, [packed.buffer]);
  },

  run(work, request, bytes, data) {
    if (this.thread === null) this.start();
    const id = ++this.last;
    return new Promise((done) => {
      this.jobs.set(id, done);
      this.thread.postMessage({ id, work, request, bytes, data }, data ? [bytes, data] : [bytes]);
    });
  },
};

// --- records and options -----------------------------------------------------------------------------------------------

const onlyRemarks = /\.(hdr|inf)$/i;

/// Returns the files as records, { name, file, data }, of which a pair has both files; and messages about files that
/// cannot be a record.
function recordsIn(files) {
  const stem = (name) => name.replace(/\.[^.]*$/, "");
  const records = [];
  const complaints = [];
  const list = [...files];
  const data = list.filter(({ name }) => /\.dat$/i.test(name));
  const used = new Set();
  for (const file of list) {
    if (data.includes(file) || (onlyRemarks.test(file.name) && list.length > 1)) continue;
    let pair = null;
    if (/\.cfg$/i.test(file.name)) {
      const alike = data.filter(({ name }) => stem(name).toLowerCase() === stem(file.name).toLowerCase());
      pair = alike.find(({ name }) => stem(name) === stem(file.name)) ?? alike[0] ?? null;
      if (pair === null) {
        complaints.push(`${file.name}: is only one of the two files of a COMTRADE record; choose its .dat file together with it`);
        continue;
      }
      used.add(pair);
    }
    records.push({ name: file.name, file, data: pair });
  }
  for (const file of data) {
    if (used.has(file)) continue;
    complaints.push(`${file.name}: is only one of the two files of a COMTRADE record; choose its .cfg file together with it`);
  }
  records.sort((one, other) => (one.name < other.name ? -1 : one.name > other.name ? 1 : 0));
  return { records, complaints };
}

/// Returns the volts of "230", "20kV" or "0.4 kV". Throws an Error for any other text.
function voltsIn(words) {
  const parts = words.trim().match(/^(\d+\.?\d*(?:[eE][+-]?\d+)?|\.\d+) *(V|v|kV|kv|KV|MV)?$/);
  const volts = parts === null ? 0 : Number(parts[1]) * ({ k: 1e3, K: 1e3, M: 1e6 }[parts[2]?.[0]] ?? 1);
  if (!(volts > 0 && volts <= 1e7)) throw new Error(`Declared voltage: '${words}' is not a voltage; use a form such as 230 or 20kV.`);
  return volts;
}

/// Returns "all" or the digits of a whole number. Throws an Error for any other text.
function numberOrAll(label, words) {
  if (/^all$/i.test(words)) return "all";
  if (/^[1-9][0-9]{0,8}$/.test(words)) return words;
  throw new Error(`${label}: '${words}' is neither a whole number from 1 on nor 'all'.`);
}

/// Returns the files of tolerance curves as the module reads them. Throws an Error for a file that is too long.
async function curvesGiven() {
  const most = 2 ** 20; // bytes, as the command reads them
  const given = { curve_file: [], curve: [] };
  for (const file of byId("curves").files) {
    if (file.size > most) throw new Error(`${file.name}: is longer than ${most} bytes; choose a file with a voltage-tolerance curve`);
    given.curve_file.push(file.name);
    given.curve.push(new Uint8Array(await file.arrayBuffer()));
  }
  return given;
}

/// Throws an Error for options that do not go together.
function checkTogether(given) {
  if (given.set !== undefined && given.channels !== undefined) {
    throw new Error("Voltage set: it cannot be chosen together with named voltages; leave one of the two empty.");
  }
  if (given.from !== undefined && given.to !== undefined && !(given.from < given.to)) {
    throw new Error("Use from: this time is not before that of 'Use up to'; choose an earlier one.");
  }
  if (given.reference === "declared" && given.nominal === undefined) {
    throw new Error("Thresholds refer to: the declared voltage is not given; state it, or choose another reference.");
  }
}

/// Returns the options as the module reads them. Throws an Error for one that it would not accept.
async function optionsGiven() {
  const form = byId("form");
  const given = {};
  for (const field of form.elements) {
    if (!field.name || field.type === "file") continue;
    if (field.type === "checkbox") given[field.name] = field.checked;
    else if (field.value.trim() !== "" || field.validity.badInput) {
      if (!field.checkValidity()) throw new Error(`${field.labels[0].textContent.trim()}: ${field.validationMessage}`);
      given[field.name] = field.type === "number" ? Number(field.value) : field.value.trim();
    }
  }
  if (given.nominal) given.nominal = voltsIn(given.nominal);
  if (given.set) given.set = numberOrAll("Voltage set", given.set);
  if (given.part) given.part = numberOrAll("Part of the record", given.part);
  checkTogether(given);
  return { ...given, ...(await curvesGiven()) };
}

async function analysed(record, options) {
  const request = { ...options, name: record.name, data_name: record.data?.name ?? "", member: record.member ?? "" };
  try {
    const bytes = await record.file.arrayBuffer();
    const data = record.data ? await record.data.arrayBuffer() : undefined;
    return await worker.run("dipx_analyse", request, bytes, data);
  } catch (fault) {
    return { status: 4, message: `${record.name}: cannot be read by the browser (${fault.message}); choose the file again` };
  }
}

/// Returns the records in a zip file if it has several, and otherwise the file itself.
async function withMembers(record) {
  const head = new Uint8Array(await record.file.slice(0, 2).arrayBuffer());
  if (head[0] !== 0x50 || head[1] !== 0x4b) return [record];
  const { status, members } = await worker.run("dipx_members", { name: record.name }, await record.file.arrayBuffer());
  const names = status === 0 ? members.split("\0").slice(0, -1) : [];
  return names.length > 1 ? names.map((member) => ({ ...record, member })) : [record];
}

// --- what is shown -----------------------------------------------------------------------------------------------------

function complain(message) {
  byId("complaints").append(element("p", {}, message));
}

function titleOf(record) {
  return record.member ? `${record.name}:${record.member}` : record.name;
}

/// Offers text as a file of the browser's downloads.
function download(name, content, type) {
  const link = element("a", { href: URL.createObjectURL(new Blob([content], { type })), download: name });
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 10000);
}

/// Returns a name for files without an ending: "fault_set_2" for "archive.zip:fault.cfg, set 2".
function stemOf(title) {
  const [, file, which] = title.split(/[/\\:]/).at(-1).match(/^(.*?)((?:, set \d+)?(?:, part \d+)?)$/);
  return (file.replace(/\.[^.]*$/, "") || "record") + which.replace(/[, ]+/g, "_");
}

/// Shows the page of an analysis, with buttons that save it and the other outputs.
function showResult(title, result) {
  const stem = stemOf(title);
  const saving = byId("saving");
  byId("shown").textContent = title;
  for (const button of saving.querySelectorAll("button")) button.remove();
  const offer = (label, ending, content, type) => {
    if (!content) return;
    const button = element("button", { type: "button" }, label);
    button.addEventListener("click", () => download(`${stem}${ending}`, content, type));
    saving.append(button);
  };
  offer("Save this page", ".html", result.page, "text/html");
  offer("Save as CSV", ".csv", result.table, "text/csv");
  offer("Save as JSON", ".json", result.document, "application/json");
  const frame = byId("page");
  if (frame.src) URL.revokeObjectURL(frame.src);
  byId("result").hidden = false;
  frame.src = URL.createObjectURL(new Blob([result.page], { type: "text/html" }));
}

/// Returns the event that the table shows: of dips the deepest, otherwise the first event.
function worstOf(events) {
  const dips = events.filter(({ kind }) => kind === "dip");
  return dips.reduce((worst, dip) => (dip.extreme.percent < worst.extreme.percent ? dip : worst), dips[0]) ?? events[0];
}

/// Returns the cells of a row after the name, for a document.
function cellsOf({ events }) {
  if (!events) return [element("td", { colspan: "5" }, "results of the embedded library")];
  const cell = (words) => element("td", {}, words);
  if (events.length === 0) return [cell("0"), cell("none"), cell(""), cell(""), cell("")];
  const worst = worstOf(events);
  const seconds = worst.duration_s ?? worst.recorded_duration_s;
  const percent = worst.extreme?.percent;
  return [
    cell(String(events.length)),
    cell(worst.kind.replaceAll("_", " ")),
    cell(`${worst.start.time_s.toFixed(4)} s`),
    cell(seconds === null || seconds === undefined ? "" : `${(seconds * 1000).toFixed(1)} ms`),
    cell(percent === null || percent === undefined ? "" : `${percent.toFixed(1)} %`),
  ];
}

/// Offers the tables of several records as one, with a single heading.
function saveTables(tables) {
  byId("save-all")?.remove();
  if (tables.length === 0) return;
  const rows = tables.map((lines, i) => (i === 0 ? lines : lines.slice(lines.indexOf("\n") + 1)));
  const button = element("button", { type: "button", id: "save-all" }, "Save the events of all records as CSV");
  button.addEventListener("click", () => download("events.csv", rows.join(""), "text/csv"));
  byId("several").append(button);
}

/// All sets or all parts of each record are asked for.
function wantsAll({ set, part }) {
  return set === "all" || part === "all";
}

/// Returns what an analysis says: why it failed, or for all sets or parts a line for each that has no analysis.
function messagesOf(result) {
  return result.status === 0 ? result.message.split("\n").filter((line) => line !== "") : [result.message];
}

/// Returns the analyses in a result: { title, document, record, options }, whose options give that analysis alone.
function analysesOf(record, options, result) {
  if (!wantsAll(options)) return [{ title: titleOf(record), document: JSON.parse(result.document), record, options }];
  return result.document.split("\n").filter((line) => line !== "").map((line) => {
    const document_ = JSON.parse(line);
    const { set, part } = document_.record;
    const own = { ...options };
    let title = titleOf(record);
    if (options.set === "all") {
      own.set = set?.number;
      if (set !== null) title += `, set ${set.number}`;
    }
    if (options.part === "all") {
      own.part = part.number;
      title += `, part ${part.number}`;
    }
    return { title, document: document_, record, options: own };
  });
}

/// Returns the row of an analysis, whose name shows its page.
function rowOf({ title, document: document_, record, options }, body, mine) {
  const name = element("button", { type: "button" }, title);
  const row = element("tr", {}, element("td", {}, name), ...cellsOf(document_));
  name.addEventListener("click", async () => {
    for (const other of body.rows) other.removeAttribute("aria-current");
    row.setAttribute("aria-current", "true");
    await showOne(record, options, mine, title);
  });
  return row;
}

async function showSeveral(records, options, mine) {
  const table = byId("records");
  const headings = ["Record", "Events", "Worst event", "Begins at", "Lasts", "Residual or highest voltage"];
  const body = element("tbody");
  table.replaceChildren(element("thead", {}, element("tr", {}, ...headings.map((words) => element("th", { scope: "col" }, words)))), body);
  byId("several").hidden = false;
  const tables = [];
  let analysedRecords = 0;
  for (const [i, record] of records.entries()) {
    byId("status").textContent = `Analysing ${titleOf(record)} (${i + 1} of ${records.length}) …`;
    const result = await analysed(record, options);
    if (!mine()) return;
    for (const message of messagesOf(result)) {
      body.append(element("tr", {}, element("td", {}, titleOf(record)), element("td", { class: "bad", colspan: "5" }, message)));
    }
    if (result.status !== 0) continue;
    analysedRecords++;
    for (const part of analysesOf(record, options, result)) body.append(rowOf(part, body, mine));
    if (result.table) tables.push(result.table);
  }
  saveTables(tables);
  const counted = `${analysedRecords} of ${records.length} records ${analysedRecords === 1 ? "was" : "were"} analysed.`;
  byId("status").textContent = `${counted} A click on a name shows ${wantsAll(options) ? "its page" : "the record"}.`;
}

async function showOne(record, options, mine, title = titleOf(record)) {
  const began = performance.now();
  byId("status").textContent = `Analysing ${title} …`;
  const result = await analysed(record, { ...options, page: true });
  if (!mine()) return;
  if (result.status !== 0) {
    byId("status").textContent = "";
    complain(result.message);
    return;
  }
  byId("status").textContent = `${title} was analysed in ${((performance.now() - began) / 1000).toFixed(1)} s.`;
  showResult(title, result);
}

// --- what the user does ------------------------------------------------------------------------------------------------

let chosen = []; // the files that were chosen last
let runs = 0;

async function analyseChosen() {
  const run = ++runs;
  const mine = () => run === runs; // no other files were chosen in the meantime
  byId("complaints").replaceChildren();
  byId("status").textContent = "";
  for (const id of ["several", "result"]) byId(id).hidden = true;
  if (chosen.length === 0) return;
  document.body.classList.add("analysed");
  try {
    const options = await optionsGiven();
    if (!mine()) return;
    const { records, complaints } = recordsIn(chosen);
    complaints.forEach(complain);
    byId("status").textContent = "Starting …";
    const all = (await Promise.all(records.map(withMembers))).flat();
    if (!mine()) return;
    byId("status").textContent = "";
    if (all.length === 1 && !wantsAll(options)) await showOne(all[0], options, mine);
    else if (all.length > 0) await showSeveral(all, options, mine);
  } catch (fault) {
    byId("status").textContent = "";
    complain(fault.message);
  }
}

byId("files").addEventListener("change", (event) => {
  chosen = [...event.target.files];
  analyseChosen();
});
byId("form").addEventListener("submit", (event) => {
  event.preventDefault();
  analyseChosen();
});
addEventListener("dragover", (event) => {
  event.preventDefault();
  document.body.classList.add("dragging");
});
addEventListener("dragleave", () => document.body.classList.remove("dragging"));
addEventListener("drop", (event) => {
  event.preventDefault();
  document.body.classList.remove("dragging");
  chosen = [...event.dataTransfer.files];
  analyseChosen();
});

if (typeof WebAssembly === "undefined") {
  complain("This browser is too old for the page: it lacks WebAssembly. Use a current one, or the dipx command.");
}
