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

  /// Unpacks the module and starts the worker. Throws if the browser lacks what this needs.
  async start() {
    const packed = Uint8Array.from(atob(byId("module").textContent), (letter) => letter.charCodeAt(0));
    const unpacked = new Blob([packed]).stream().pipeThrough(new DecompressionStream("gzip"));
    const module_ = await new Response(unpacked).arrayBuffer();
    const address = URL.createObjectURL(new Blob([byId("worker").textContent], { type: "text/javascript" }));
    this.thread = new Worker(address);
    this.thread.onmessage = ({ data }) => {
      this.jobs.get(data.id)(data);
      this.jobs.delete(data.id);
    };
    this.thread.onerror = (event) => complain(`The analysis cannot run in this browser: ${event.message}`);
    this.thread.postMessage({ module: module_ }, [module_]);
  },

  async run(work, request, bytes, data) {
    await (this.started ??= this.start());
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

/// Returns the options as the module reads them. Throws an Error for one that it would not accept.
function optionsGiven() {
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
  return given;
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
  const names = status === 0 ? JSON.parse(members) : [];
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

/// Shows the page of a record, with buttons that save it and the other outputs.
function showResult(record, result) {
  const stem = titleOf(record).split(/[/\\:]/).at(-1).replace(/\.[^.]*$/, "") || "record";
  const saving = byId("saving");
  byId("shown").textContent = titleOf(record);
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

/// Returns the cells of a record's row after its name.
function cellsOf(result) {
  if (result.status !== 0) return [element("td", { class: "bad", colspan: "5" }, result.message)];
  const { events } = JSON.parse(result.document);
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

async function showSeveral(records, options, mine) {
  const table = byId("records");
  const headings = ["Record", "Events", "Worst event", "Begins at", "Lasts", "Residual or highest voltage"];
  const body = element("tbody");
  table.replaceChildren(element("thead", {}, element("tr", {}, ...headings.map((words) => element("th", { scope: "col" }, words)))), body);
  byId("several").hidden = false;
  const tables = [];
  for (const [i, record] of records.entries()) {
    byId("status").textContent = `Analysing ${titleOf(record)} (${i + 1} of ${records.length}) …`;
    const result = await analysed(record, options);
    if (!mine()) return;
    const name = element("button", { type: "button" }, titleOf(record));
    const row = element("tr", {}, element("td", {}, result.status === 0 ? name : titleOf(record)), ...cellsOf(result));
    name.addEventListener("click", async () => {
      for (const other of body.rows) other.removeAttribute("aria-current");
      row.setAttribute("aria-current", "true");
      await showOne(record, options, mine);
    });
    body.append(row);
    if (result.table) tables.push(result.table);
  }
  saveTables(tables);
  const shown = [...body.rows].filter((row) => row.querySelector("button")).length;
  byId("status").textContent = `${shown} of ${records.length} records were analysed. A click on a name shows the record.`;
}

async function showOne(record, options, mine) {
  const began = performance.now();
  byId("status").textContent = `Analysing ${titleOf(record)} …`;
  const result = await analysed(record, { ...options, page: true });
  if (!mine()) return;
  if (result.status !== 0) {
    byId("status").textContent = "";
    complain(result.message);
    return;
  }
  byId("status").textContent = `${titleOf(record)} was analysed in ${((performance.now() - began) / 1000).toFixed(1)} s.`;
  showResult(record, result);
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
    const options = optionsGiven();
    const { records, complaints } = recordsIn(chosen);
    complaints.forEach(complain);
    byId("status").textContent = "Starting …";
    const all = (await Promise.all(records.map(withMembers))).flat();
    if (!mine()) return;
    byId("status").textContent = "";
    if (all.length === 1) await showOne(all[0], options, mine);
    else if (all.length > 1) await showSeveral(all, options, mine);
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

if (typeof DecompressionStream === "undefined" || typeof WebAssembly === "undefined") {
  complain("This browser is too old for the page: it lacks WebAssembly or DecompressionStream. Use a current one, or the dipx command.");
}
