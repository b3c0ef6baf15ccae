// The record's facts and the tables of all values. A cell says in data-of which member of the document it shows.

function cell(path, words, more = {}) {
  return element("td", { "data-of": path, ...more }, words);
}

function addHeader() {
  const { record } = found;
  document.getElementById("file").textContent = record.file;
  const facts = document.getElementById("facts");
  const fact = (name, words) => {
    if (words !== "") facts.append(element("div", {}, element("dt", {}, name), element("dd", {}, words)));
  };
  fact("Format", record.format);
  fact("Station", record.station);
  fact("Device", record.device);
  fact("Begins", record.start_time);
  const { part } = record;
  const which = part.of > 1 ? `, part ${part.number} of ${part.of} from ${time(part.start_s)}` : "";
  fact("Length", `${fixed(part.samples / part.recorded_rate_hz, 3)} s, ${part.samples} samples${which}`);
  const per = part.resampled ? `resampled to ${cycle}` : String(cycle);
  fact("Sampling", `${+part.recorded_rate_hz.toPrecision(6)} Hz, ${per} per cycle of ${record.line_frequency_hz} Hz`);
  if (found.line_to_line) fact("Voltages", "between phases: A, B, C stand for AB, BC, CA");
  const [first] = found.voltages;
  if (first.side !== null && first.transformer_primary !== first.transformer_secondary) {
    const [primary, secondary] = [first.transformer_primary, first.transformer_secondary].map((turns) => +turns.toPrecision(6));
    fact("Transformer", `${first.side} values, ${primary}:${secondary}`);
  }
  const assumed = found.voltages.filter(({ unit_assumed }) => unit_assumed !== undefined);
  if (assumed.length > 0) fact("Unit", `taken for V: ${assumed.map(({ name }) => name).join(", ")}`);
  fact("Pre-event voltage", volts(found.pre_event_voltage_v));
  const declared = found.declared_voltage;
  if (declared !== null) {
    const ratio = declared.divided_by_ratio ? ", divided by the transformer's ratio" : "";
    fact("Declared voltage", `${declared.kind} ${volts(declared.given_v)}${ratio}; the pre-event voltage is ${percent(declared.pre_event_percent)} of it`);
  }
  fact("Dip threshold", volts(found.threshold_v));
  const notes = [...found.notes];
  if (wave.step > 1) notes.push(`The record is long: this page draws one in ${wave.step} samples of its waveforms.`);
  for (const note of notes) document.getElementById("notes").append(element("li", {}, note));
  const summary = document.getElementById("summary");
  if (found.dips.length === 0) summary.append(element("li", { class: "none" }, "No dips."));
  for (const dip of found.dips) {
    const link = element("a", { href: `#dip-${dip.number}` }, `Dip ${dip.number}`);
    const what = dip.analysed ? dip.segments.map(segmentWords).join(", then ") : `not analysed: ${dip.not_analysed.reason}`;
    summary.append(element("li", {}, link, ` at ${time(dip.start.time_s)}: ${dipWords(dip)}; ${what}`));
  }
  document.getElementById("made").textContent = `dipx ${found.dipx_version}. This page loads nothing from a network.`;
}

function legend() {
  const dashes = ["", "7 3", "2 3"];
  document.getElementById("legend").replaceChildren(
    ...found.voltages.map((voltage, i) =>
      element("span", { class: "key" },
        drawn("svg", { width: 34, height: 10 },
          drawn("path", { class: phases[i], d: "M0 5H34", "stroke-width": 2.5, "stroke-dasharray": dashes[i] })),
        `${voltage.phase}: ${voltage.name}`),
    ),
  );
}

/// A voltage in volts and in per cent.
function levelWords(path, { voltage_v, percent: share, percent_of_declared }) {
  const words = [
    element("span", { "data-of": `${path}.voltage_v` }, volts(voltage_v)), " ",
    element("span", { class: "percent", "data-of": `${path}.percent` }, percent(share)),
  ];
  if (percent_of_declared !== undefined) {
    words.push(" ", element("span", { class: "declared" },
      element("span", { "data-of": `${path}.percent_of_declared` }, percent(percent_of_declared)), " of declared"));
  }
  return words;
}

/// One dip's values: a row each, a column for each phase.
function dipTable(dip) {
  const at = `dips.${dip.number - 1}`;
  const body = element("tbody");
  const row = (name, cells, kind = "") => body.append(element("tr", kind ? { class: kind } : {}, element("th", { scope: "row" }, name), ...cells));
  const whole = (name, path, words) => row(name, [cell(path, words, { colspan: 3, class: "whole" })]);
  const part = (name) => body.append(element("tr", { class: "part" }, element("th", { colspan: 4, scope: "colgroup" }, name)));
  const levels = (name, path, list) =>
    row(name, list.map((level, i) =>
      element("td", level.voltage_v < found.threshold_v ? { class: "low" } : {}, ...levelWords(`${path}.${i}`, level))));
  const each = (name, path, member, list, words) =>
    row(name, list.map((figure, i) => cell(`${path}.${i}.${member}`, words(figure[member]))));

  whole("kind", `${at}.kind`, dip.kind);
  whole("start", `${at}.start.time_s`, time(dip.start.time_s));
  if (dip.end !== null) whole("end", `${at}.end.time_s`, time(dip.end.time_s));
  if (dip.duration_s !== null) {
    whole("duration", `${at}.duration_s`, duration(dip.duration_s));
    whole("duration in cycles", `${at}.duration_cycles`, fixed(dip.duration_cycles, 2));
  } else {
    row("duration", [element("td", { colspan: 3, class: "whole" }, `${duration(lasted(dip))} and on`)]);
  }
  row("residual voltage", [
    element("td", { colspan: 3, class: "whole" }, ...levelWords(`${at}.residual_voltage`, dip.residual_voltage),
      ` in ${found.voltages.find(({ phase }) => phase === dip.residual_voltage.phase).name}`),
  ]);
  whole("depth", `${at}.depth_percent`, percent(dip.depth_percent));
  levels("lowest voltage", `${at}.lowest_voltage`, dip.lowest_voltage);
  each("fundamental before it", `${at}.before_dip`, "voltage_v", dip.before_dip, volts);
  each("its angle", `${at}.before_dip`, "degrees", dip.before_dip, degrees);
  if (dip.point_on_wave !== null) each("point on wave", `${at}.point_on_wave`, "degrees", dip.point_on_wave, degrees);
  if (dip.fastest_change !== null) each("fastest change", `${at}.fastest_change`, "v_per_s", dip.fastest_change, (value) => `${volts(value)}/s`);
  for (const curve_ of samples.tolerance) {
    whole(curve_.name, `${at}.voltage_tolerance.${curve_.code}`, dip.voltage_tolerance[curve_.code]);
  }
  if (dip.en50160_cell !== null) whole("cell of EN 50160", `${at}.en50160_cell`, dip.en50160_cell);
  dip.segments.forEach((segment, i) => {
    const inside = `${at}.segments.${i}`;
    part(`Segment ${segment.number}`);
    whole("start", `${inside}.start.time_s`, time(segment.start.time_s));
    whole("end", `${inside}.end.time_s`, time(segment.end.time_s));
    whole("category", `${inside}.category.name`, segment.category.name);
    whole("category code", `${inside}.category.code`, String(segment.category.code));
    levels("residual voltage", `${inside}.residual_voltage`, segment.residual_voltage);
    each("phase jump", `${inside}.phase_jump`, "degrees", segment.phase_jump, turn);
    whole("phases below threshold", `${inside}.phases_below_threshold.letters`, segment.phases_below_threshold.letters);
    whole("unbalance", `${inside}.unbalance_percent`, percent(segment.unbalance_percent));
    if (segment.next_to_nothing) {
      row("", [element("td", { colspan: 3, class: "whole low" }, "With next to no voltage, its angles and unbalance are noise.")]);
    }
  });
  const names = found.voltages.map((voltage, i) => element("th", { scope: "col" }, `${"ABC"[i]}: ${voltage.name}`));
  return element("table", {}, element("thead", {}, element("tr", {}, element("th"), ...names)), body);
}

/// With more dips than this their tables are folded.
const mostOpen = 3;

function addDips() {
  const place = document.getElementById("dips");
  for (const dip of found.dips) {
    const section = element("section", { class: "dip", id: `dip-${dip.number}` },
      element("h2", {}, `Dip ${dip.number}: ${dipWords(dip)}`));
    if (!dip.analysed) section.append(element("p", { class: "low" }, `Not analysed further: ${dip.not_analysed.reason}.`));
    if (dip.analysed && dip.gradual_fall_doubtful) {
      section.append(element("p", { class: "low" }, "Less than five steady cycles lie before it: a gradual fall may be measured wrongly."));
    }
    const values = element("details", {}, element("summary", {}, "All values"), element("div", { class: "wide" }, dipTable(dip)));
    values.open = found.dips.length <= mostOpen;
    section.append(element("div", { class: "body" }, phasorFigures(dip), values));
    place.append(section);
  }
}

function addEn50160() {
  const table = document.getElementById("en50160");
  const columns = ["10 to 200 ms", "to 500 ms", "to 1 s", "to 5 s", "to 60 s"];
  const rows = { A: "90 > u ≥ 80 %", B: "80 > u ≥ 70 %", C: "70 > u ≥ 40 %", D: "40 > u ≥ 5 %", X: "5 % > u" };
  table.append(element("thead", {}, element("tr", {}, element("th"), ...columns.map((name) => element("th", { scope: "col" }, name)))));
  const body = element("tbody");
  for (const [letter, name] of Object.entries(rows)) {
    const cells = columns.map((_, i) => {
      const code = `${letter}${i + 1}`;
      const dips = found.dips.filter((dip) => dip.en50160_cell === code);
      const words = dips.map((dip) => `dip ${dip.number}`).join(", ");
      return element("td", { "data-cell": code, class: dips.length > 0 ? "hit" : "" }, words || element("span", { class: "code" }, code));
    });
    body.append(element("tr", {}, element("th", { scope: "row" }, name), ...cells));
  }
  table.append(body);
  const outside = found.dips.filter((dip) => dip.en50160_cell === null);
  if (outside.length > 0) {
    table.after(element("p", { class: "hint" }, `Not in the table: dip ${outside.map((dip) => dip.number).join(", ")}.`));
  }
}
