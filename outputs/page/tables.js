// The record's facts, the rules, and the tables of all values. A cell says in data-of which member of the document it
// shows.

function cell(path, words, more = {}) {
  return element("td", { "data-of": path, ...more }, words);
}

/// A part of a cell that shows a member of its own.
function piece(path, words, more = {}) {
  return element("span", { "data-of": path, ...more }, words);
}

function addRecord() {
  addFacts();
  addRules();
  const notes = [...found.notes];
  if (wave.step > 1) {
    notes.push(`The record is long: this page draws one in ${wave.step} samples of its waveforms${details ? ", and the worst event in more detail" : ""}.`);
  }
  for (const note of notes) document.getElementById("notes").append(element("li", {}, note));
  document.getElementById("made").textContent = `dipx ${found.dipx_version}. This page loads nothing from a network.`;
}

function factsIn(id) {
  const facts = document.getElementById(id);
  return (name, words) => {
    if (words !== "") facts.append(element("div", {}, element("dt", {}, name), element("dd", {}, words)));
  };
}

function addFacts() {
  const { record } = found;
  const { part } = record;
  const fact = factsIn("facts");
  fact("Format", record.format);
  fact("Station", record.station);
  fact("Device", record.device);
  fact("Begins", record.time_zone && record.start_time ? `${record.start_time} (${record.time_zone})` : record.start_time);
  const which = part.of > 1 ? `, part ${part.number} of ${part.of} from ${time(part.start_s)}` : "";
  fact("Length", `${fixed(part.samples / rate, 3)} s, ${part.samples} samples${which}`);
  fact("Sampling", `${+rate.toPrecision(6)} Hz, ${+cycle.toPrecision(6)} per cycle of ${record.line_frequency_hz} Hz`);
  fact("Measured frequency", `${fixed(record.measured_frequency_hz, 3)} Hz`);
  if (found.line_to_line) fact("Voltages", "between phases");
  const [first] = voltages;
  if (first.side && first.transformer_primary !== first.transformer_secondary) {
    const [primary, secondary] = [first.transformer_primary, first.transformer_secondary].map((turns) => +turns.toPrecision(6));
    fact("Transformer", `${first.side} values, ${primary}:${secondary}`);
  }
  const assumed = voltages.filter(({ unit_assumed }) => unit_assumed !== undefined);
  if (assumed.length > 0) fact("Unit", `taken for V: ${assumed.map(({ name }) => name).join(", ")}`);
  fact("Usual voltage", voltages.map((voltage) => `${voltage.phase} ${volts(voltage.usual_rms_v)}`).join(", "));
  const { wiring } = found;
  if (wiring.phase_order !== "ABC") fact("Phase order", wiring.phase_order);
  if (wiring.turned_phase !== null) fact("Opposite polarity", wiring.turned_phase);
}

/// By which rules the events were found.
function addRules() {
  const { parameters, declared_voltage: declared } = found;
  const rule = factsIn("rules");
  rule("Reference", `${referenceName}: ${voltages.map((voltage) => `${voltage.phase} ${volts(voltage.reference_v)}`).join(", ")}`);
  if (declared !== null) {
    const ratio = declared.divided_by_ratio ? ", divided by the transformer's ratio" : "";
    const told = declared.kind_from === "user" ? "" : ", as its level tells";
    rule("Declared voltage", `${volts(declared.given_v)} (${declared.kind}${told}${ratio}): the voltages should be ${volts(declared.level_v)}`);
  }
  const share = (value) => `${+value.toPrecision(6)}${space}%`;
  rule("Dip", `below ${share(parameters.dip_threshold_percent)}`);
  rule("Swell", `above ${share(parameters.swell_threshold_percent)}`);
  rule("Interruption", `all voltages below ${share(parameters.interruption_threshold_percent)}`);
  rule("Hysteresis", share(parameters.hysteresis_percent));
  const rapid = parameters.rvc_threshold_percent;
  rule("Rapid voltage change", rapid > 0 ? `more than ${share(rapid)} from a steady voltage` : "not looked for");
}

function legend() {
  const dashes = ["", "7 3", "2 3"];
  document.getElementById("legend").replaceChildren(
    ...voltages.map((voltage, i) =>
      element("span", { class: "key" },
        drawn("svg", { width: 34, height: 10 },
          drawn("path", { class: phases[i], d: "M0 5H34", "stroke-width": 2.5, "stroke-dasharray": dashes[i] })),
        voltage.name === undefined ? voltage.phase : `${voltage.phase}: ${voltage.name}`),
    ),
  );
}

/// A voltage in volts and in per cent.
function levelWords(path, { voltage_v, percent: share, percent_of_declared }) {
  const words = [piece(`${path}.voltage_v`, volts(voltage_v))];
  if (share !== null) words.push(" ", piece(`${path}.percent`, percent(share), { class: "percent" }));
  if (percent_of_declared !== undefined) {
    words.push(" ", element("span", { class: "declared" }, piece(`${path}.percent_of_declared`, percent(percent_of_declared)), " of declared"));
  }
  return words;
}

/// A figure and the half width of its interval, which follows it in the document.
function within(path, member, figures, words, halfWords) {
  if (figures[member] === null) return ["–"];
  const plusMinus = `${member}_plus_minus`;
  return [piece(`${path}.${member}`, words(figures[member])), " ± ",
    piece(`${path}.${plusMinus}`, halfWords(figures[plusMinus], figures[member]))];
}
const angleWithin = (path, figures, words) => within(path, "degrees", figures, words, degreesWithin);

/// A table of an event: a row for each value, a column for each phase.
class EventTable {
  constructor() {
    this.body = element("tbody");
  }

  row(name, cells) {
    this.body.append(element("tr", {}, element("th", { scope: "row" }, name), ...cells));
  }
  part(name) {
    this.body.append(element("tr", { class: "part" }, element("th", { colspan: voltages.length + 1, scope: "colgroup" }, name)));
  }
  /// One value across all columns; nothing where it is null.
  whole(name, path, value, words = String) {
    if (value !== null && value !== undefined) this.row(name, [cell(path, words(value), { colspan: voltages.length, class: "whole" })]);
  }
  pieces(name, pieces) {
    this.row(name, [element("td", { colspan: voltages.length, class: "whole" }, ...pieces)]);
  }
  /// A cell for each phase, of the pieces that `make` has for an entry of a list.
  each(name, path, list, make, low = () => false) {
    if (!list) return;
    this.row(name, voltages.map((_, i) =>
      element("td", list[i] !== null && low(list[i], i) ? { class: "low" } : {}, ...(list[i] === null ? ["–"] : make(`${path}.${i}`, list[i])))));
  }
  table() {
    const names = voltages.map((voltage) =>
      element("th", { scope: "col" }, voltage.name === undefined ? voltage.phase : `${voltage.phase}: ${voltage.name}`));
    return element("table", {}, element("thead", {}, element("tr", {}, element("th"), ...names)), this.body);
  }
}

function eventValues(event) {
  const at = `events.${event.number - 1}`;
  const table = new EventTable();
  table.whole("kind", `${at}.kind`, event.kind);
  table.whole("start", `${at}.start.time_s`, event.start.time_s, time);
  table.whole("start by the clock", `${at}.start.clock`, event.start.clock);
  table.whole("start after the trigger", `${at}.start.from_trigger_s`, event.start.from_trigger_s, time);
  table.whole("end", `${at}.end.time_s`, event.end.time_s, time);
  table.whole("end by the clock", `${at}.end.clock`, event.end.clock);
  table.whole("end after the trigger", `${at}.end.from_trigger_s`, event.end.from_trigger_s, time);
  table.whole("duration", `${at}.duration_s`, event.duration_s, duration);
  table.whole("duration in cycles", `${at}.duration_cycles`, event.duration_cycles, (value) => fixed(value, 2));
  table.whole("recorded of it", `${at}.recorded_duration_s`, event.recorded_duration_s, duration);
  table.whole("voltages", `${at}.phases`, event.phases);
  table.pieces("reference", [referenceName, " ", piece(`${at}.reference.voltage_v`, volts(event.reference.voltage_v))]);
  if (event.extreme) {
    table.pieces(event.kind === "swell" ? "highest voltage" : "residual voltage",
      [...levelWords(`${at}.extreme`, event.extreme), " in ", piece(`${at}.extreme.phase`, event.extreme.phase)]);
  }
  table.whole("depth", `${at}.depth_percent`, event.depth_percent, percent);
  if (event.delta_max) {
    table.pieces("largest change", levelWords(`${at}.delta_max`, event.delta_max));
    table.pieces("change between the steady voltages", levelWords(`${at}.delta_steady`, event.delta_steady));
  }
  const low = (level) => level.percent !== null && level.percent < found.parameters.dip_threshold_percent;
  const high = (level) => level.percent !== null && level.percent > found.parameters.swell_threshold_percent;
  table.each("lowest Urms(1/2)", `${at}.lowest_urms_half`, event.lowest_urms_half, levelWords, low);
  table.each("highest Urms(1/2)", `${at}.highest_urms_half`, event.highest_urms_half, levelWords, high);
  for (const curve_ of samples.tolerance) {
    table.whole(curve_.name, `${at}.voltage_tolerance.${curve_.code}`, event.voltage_tolerance?.[curve_.code]);
  }
  table.whole("cell of EN 50160", `${at}.en50160_cell`, event.en50160_cell);
  if (event.course) courseValues(table, `${at}.course`, event.course);
  return table.table();
}

const levelSources = {
  before: "the voltage before the dip",
  declared: "the declared voltage",
  after: "the voltage after the dip",
};

/// A time, or two of one object, with the half width of its interval.
function instant(table, name, path, member, course) {
  if (course[member] !== null) table.pieces(name, within(path, member, course, time, timeWithin));
}

function courseValues(table, at, course) {
  table.part("Course on the waveform");
  instant(table, "start", at, "start_s", course);
  instant(table, "end", at, "end_s", course);
  table.whole("duration", `${at}.duration_s`, course.duration_s, duration);
  table.each("point on wave", `${at}.point_on_wave`, course.point_on_wave, (path, entry) => angleWithin(path, entry, degrees));
  table.each("voltage before", `${at}.level_before.voltage`, course.level_before.voltage,
    (path, entry) => [piece(`${path}.voltage_v`, volts(entry.voltage_v)), " at ", piece(`${path}.degrees`, turn(entry.degrees))]);
  if (course.level_before.source !== "before") table.pieces("", [`It is ${levelSources[course.level_before.source]}: the record begins in the dip.`]);
  const hertz = (value) => `${fixed(value, 3)}${space}Hz`;
  table.whole("frequency", `${at}.frequency_hz`, course.frequency_hz, hertz);
  table.whole("frequency before", `${at}.frequency_before_hz`, course.frequency_before_hz, hertz);
  table.whole("frequency after", `${at}.frequency_after_hz`, course.frequency_after_hz, hertz);
  table.each("steepest change", `${at}.steepest_change`, course.steepest_change,
    (path, entry) => [piece(`${path}.v_per_s`, `${volts(entry.v_per_s)}/s`)]);
  if (course.lowest_of_six !== null) {
    table.whole("lowest of the six voltages of IEEE 1564", `${at}.lowest_of_six.voltage`, course.lowest_of_six.voltage);
    table.whole("its share of the level before", `${at}.lowest_of_six.percent_of_before`,
      course.lowest_of_six.percent_of_before, percent);
  }
  table.whole("share of the waveform that the segments explain", `${at}.explained_percent`, course.explained_percent, percent);
  course.transitions.forEach((transition, i) => {
    const path = `${at}.transitions.${i}`;
    const pieces = transition.gradual || transition.end_s !== transition.start_s
      ? [piece(`${path}.start_s`, time(transition.start_s)), " to ", piece(`${path}.end_s`, time(transition.end_s))]
      : [piece(`${path}.start_s`, time(transition.start_s))];
    table.pieces(`transition ${i + 1}`, [transition.gradual ? "gradual, " : "abrupt, ", ...pieces,
      ...(transition.phases ? [", ", piece(`${path}.phases`, transition.phases)] : [])]);
  });
  course.segments.forEach((segment, i) => segmentValues(table, `${at}.segments.${i}`, segment));
}

function segmentValues(table, at, segment) {
  table.part(`Segment ${segment.number}${segment.gradual ? ": gradual change" : ""}`);
  table.whole("start", `${at}.start_s`, segment.start_s, time);
  table.whole("end", `${at}.end_s`, segment.end_s, time);
  if (!segment.measured) {
    table.pieces("", ["Too many samples are missing for any figure."]);
    return;
  }
  const low = (_, i) => segment.voltage[i].percent_of_before < 90;
  table.each(segment.gradual ? "lowest voltage" : "voltage", `${at}.voltage`, segment.voltage, (path, entry) => [
    ...within(path, "voltage_v", entry, volts, voltsWithin), " ",
    piece(`${path}.percent_of_before`, percent(entry.percent_of_before), { class: "percent" })], low);
  const rmsRow = (name, member) => {
    if (!segment.voltage.some((entry) => entry !== null && entry[member] !== null)) return;
    table.each(name, `${at}.voltage`, segment.voltage, (path, entry) => (entry[member] === null ? ["–"] : [piece(`${path}.${member}`, volts(entry[member]))]));
  };
  rmsRow("lowest one-cycle RMS", "lowest_rms_v");
  rmsRow("highest one-cycle RMS", "highest_rms_v");
  table.each("phase jump", `${at}.phase_jump`, segment.phase_jump, (path, entry) => angleWithin(path, entry, turn));
  table.whole("below 90 % of before", `${at}.below_threshold`, segment.below_threshold || null);
  if (segment.type) {
    table.pieces("type", [piece(`${at}.type.letter`, segment.type.letter), " ", piece(`${at}.type.phases`, segment.type.phases), ": ",
      piece(`${at}.category.name`, segment.category.name), " (", piece(`${at}.category.code`, String(segment.category.code)), ")"]);
    for (const [name, member] of [["characteristic voltage", "characteristic_voltage"], ["PN factor", "pn_factor"]]) {
      const path = `${at}.type.${member}`;
      table.pieces(name, [piece(`${path}.percent_of_before`, percent(segment.type[member].percent_of_before)), " at ",
        piece(`${path}.degrees`, turn(segment.type[member].degrees))]);
    }
  }
  if (segment.sequences) {
    const path = `${at}.sequences`;
    for (const name of ["positive", "negative", "zero"]) table.whole(`${name} sequence`, `${path}.${name}_v`, segment.sequences[`${name}_v`], volts);
  }
  table.whole("unbalance", `${at}.unbalance_percent`, segment.unbalance_percent, percent);
}

/// With more events than this their tables are folded.
const mostOpen = 3;

function addEvents() {
  const place = document.getElementById("events");
  for (const event of events) {
    const section = element("section", { class: "event", id: `event-${event.number}` },
      element("h2", {}, `${nameOf(event)}: ${eventWords(event)}`));
    const values = element("details", {}, element("summary", {}, "All values"), element("div", { class: "wide" }, eventValues(event)));
    values.open = events.length <= mostOpen;
    const figures = event.course ? [phasorFigures(event.course)] : [];
    section.append(element("div", { class: event.course ? "body" : "" }, ...figures, values));
    place.append(section);
  }
  if (changes.length > 0) place.append(changesWithoutEvent());
}

/// The changes of the voltage that cross no threshold.
function changesWithoutEvent() {
  const body = element("tbody");
  changes.forEach((change, k) => {
    const at = `changes_without_event.${k}`;
    const levels = voltages.map((_, i) =>
      element("td", {}, ...(change.voltage[i] === null ? ["–"] : [
        piece(`${at}.voltage.${i}.before_v`, volts(change.voltage[i].before_v)), " to ",
        piece(`${at}.voltage.${i}.after_v`, volts(change.voltage[i].after_v))])));
    body.append(element("tr", {}, cell(`${at}.start_s`, time(change.start_s)), cell(`${at}.end_s`, time(change.end_s)),
      cell(`${at}.phases`, change.phases), ...levels));
  });
  const heads = ["start", "end", "phases", ...voltages.map(({ phase }) => phase)];
  return element("section", { id: "changes" }, element("h2", {}, "Changes that are no event"),
    element("div", { class: "wide" },
      element("table", {}, element("thead", {}, element("tr", {}, ...heads.map((name) => element("th", { scope: "col" }, name)))), body)));
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
      const there = judged.filter((event) => event.en50160_cell === code);
      const words = there.map((event) => `${kindWords(event)} ${event.number}`).join(", ");
      return element("td", { "data-cell": code, class: there.length > 0 ? "hit" : "" }, words || element("span", { class: "code" }, code));
    });
    body.append(element("tr", {}, element("th", { scope: "row" }, name), ...cells));
  }
  table.append(body);
  const outside = judged.filter((event) => event.en50160_cell === null);
  if (outside.length > 0) {
    const names = outside.map((event) => `${kindWords(event)} ${event.number}`).join(", ");
    table.after(element("p", { class: "hint" }, `Not in the table: ${names}.`));
  }
}
