// Writes the record's facts, the rules, and the tables of all values. The attribute data-of of a cell names the member
// of the document that it shows.

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
  if (wave.blocks) {
    notes.push(`The record is long: this page has every sample round the events, and the highest and lowest of each ${wave.blocks.length} samples elsewhere.`);
  }
  for (const note of notes) document.getElementById("notes").append(element("li", {}, note));
  document.getElementById("made").textContent = `dipx ${found.dipx_version}. This page loads nothing from a network.`;
}

/// Puts a wide table into a box that scrolls by itself, with the keyboard too.
function scrolled(table, name) {
  return element("div", { class: "wide", tabindex: "0", role: "region", "aria-label": name }, table);
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
  if (record.measured_frequency_hz !== null) fact("Measured frequency", `${fixed(record.measured_frequency_hz, 3)} Hz`);
  if (found.line_to_line) fact("Voltages", "between phases");
  const [first] = voltages;
  if (first.side && first.transformer_primary !== first.transformer_secondary) {
    const [primary, secondary] = [first.transformer_primary, first.transformer_secondary].map((turns) => +turns.toPrecision(6));
    fact("Transformer", `${first.side} values, ${primary}:${secondary}`);
  }
  const assumed = voltages.filter(({ unit_assumed }) => unit_assumed !== undefined);
  if (assumed.length > 0) fact("Unit", `assumed to be V: ${assumed.map(({ name }) => name).join(", ")}`);
  fact("Usual voltage", voltages.map((voltage) => `${voltage.phase} ${volts(voltage.usual_rms_v)}`).join(", "));
  const { wiring } = found;
  if (wiring.phase_order !== "ABC") fact("Phase order", wiring.phase_order);
  if (wiring.turned_phase !== null) fact("Opposite polarity", wiring.turned_phase);
}

/// Writes the rules by which the events were found.
function addRules() {
  const { parameters, declared_voltage: declared } = found;
  const rule = factsIn("rules");
  rule("Reference", `${referenceName}: ${voltages.map((voltage) => `${voltage.phase} ${volts(voltage.reference_v)}`).join(", ")}`);
  if (declared !== null) {
    const ratio = declared.divided_by_ratio ? ", divided by the transformer's ratio" : "";
    const told = declared.kind_from === "user" ? "" : ", as its level shows";
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
  document.getElementById("legend").replaceChildren(
    ...voltages.map(({ name }, i) =>
      element("span", { class: "key", title: (name ?? "").slice(0, 500) },
        drawn("svg", { width: 34, height: 10, "aria-hidden": "true" },
          drawn("path", { class: phases[i], d: "M0 5H34", "stroke-width": 2.5, "stroke-dasharray": dashes[i].join(" ") })),
        voltageTitle(i)),
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
  return [piece(`${path}.${member}`, words(figures[member], figures[plusMinus])), " ± ",
    piece(`${path}.${plusMinus}`, halfWords(figures[plusMinus], figures[member]))];
}
/// The half width of a voltage's share of its level before, per cent; zero where none is known.
const shareWithin = (entry) => (entry.voltage_v > 0 ? (entry.percent_of_before * entry.voltage_v_plus_minus) / entry.voltage_v : 0);
/// The half width of each symmetrical component: it is the third of a sum of the three voltages, each of them turned.
const sequenceWithin = (segment) => Math.hypot(...segment.voltage.map((entry) => entry.voltage_v_plus_minus)) / 3;
/// The largest error of the unbalance, per cent, that those of the two sequences can make together.
const unbalanceWithin = (segment) => ((100 + segment.unbalance_percent) * sequenceWithin(segment)) / segment.sequences.positive_v;
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
  /// Adds one value across all columns, unless it is null.
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
    const names = voltages.map(({ name }, i) => element("th", { scope: "col", title: (name ?? "").slice(0, 500) }, voltageTitle(i)));
    return element("table", {}, element("thead", {}, element("tr", {}, element("td"), ...names)), this.body);
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
  for (const curve_ of samples.tolerance.filter(({ code }) => event.voltage_tolerance?.[code] !== undefined)) {
    table.whole(`residual voltage and duration on ${curve_.name}`, `${at}.voltage_tolerance.${curve_.code}`, event.voltage_tolerance?.[curve_.code]);
  }
  if (event.en50160_cell) {
    const near = event.en50160_cell_near_limit ? [" ± (a limit of the cell is near)"] : [];
    table.pieces("cell of EN 50160", [piece(`${at}.en50160_cell`, event.en50160_cell), ...near]);
  }
  assessmentValues(table, at, event);
  if (event.origin) originValues(table, `${at}.origin`, event.origin);
  if (event.course) courseValues(table, `${at}.course`, event.course);
  return table.table();
}

/// The side of the cause of a dip, as the currents show it, and the likely cause.
function originValues(table, at, { side, methods, likely_cause: cause }) {
  table.pieces("side of the cause", side === null ? ["the methods disagree"] : [piece(`${at}.side`, side)]);
  methods.forEach((method, i) => {
    const path = `${at}.methods.${i}`;
    const says = method.side === null ? "undecided" : piece(`${path}.side`, method.side);
    table.pieces("by a method", [piece(`${path}.method`, method.method), ": ", says]);
  });
  if (cause === null) return;
  table.pieces("likely cause", [piece(`${at}.likely_cause.cause`, cause.cause), ", because ", piece(`${at}.likely_cause.grounds`, cause.grounds)]);
}

/// Verdicts of all curves, classes and indices of a dip or a swell.
function assessmentValues(table, at, event) {
  (event.verdicts ?? []).forEach((verdict, i) => {
    const path = `${at}.verdicts.${i}`;
    const pieces = [piece(`${path}.words`, verdict.words)];
    if (verdict.limit_percent !== null) pieces.push(", limit ", piece(`${path}.limit_percent`, percent(verdict.limit_percent)));
    if (verdict.severity !== null) pieces.push(", severity ", piece(`${path}.severity`, fixed(verdict.severity, 3)));
    if (verdict.step_by_step !== null) pieces.push("; step by step: ", piece(`${path}.step_by_step.words`, verdict.step_by_step.words));
    table.row(verdict.name, [element("td", { colspan: voltages.length, class: "whole" }, ...pieces)]);
  });
  table.whole("cell of EN 50160", `${at}.classes.en50160_swell_cell`, event.classes?.en50160_swell_cell);
  table.whole("cell of UNIPEDE", `${at}.classes.unipede_cell`, event.classes?.unipede_cell);
  table.whole("class of IEEE 1159", `${at}.classes.ieee_1159`, event.classes?.ieee_1159);
  table.whole("type of C4.110", `${at}.classes.c4_110_type`, event.classes?.c4_110_type);
  table.whole("dip energy", `${at}.indices.energy_s`, event.indices?.energy_s, duration);
  table.whole("lost volt-seconds", `${at}.indices.lost_v_s`, event.indices?.lost_v_s, (value) => `${fixed(value, 3)}${space}V s`);
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
    piece(`${path}.percent_of_before`, percent(entry.percent_of_before, shareWithin(entry)), { class: "percent" })], low);
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
    const words = (value) => volts(value, sequenceWithin(segment));
    for (const name of ["positive", "negative", "zero"]) table.whole(`${name} sequence`, `${path}.${name}_v`, segment.sequences[`${name}_v`], words);
  }
  table.whole("unbalance", `${at}.unbalance_percent`, segment.unbalance_percent, (value) => percent(value, unbalanceWithin(segment)));
}

/// If there are more events than this, their tables are folded.
const mostOpen = 3;

const shortCurrents = shortened(currentChannels.map(({ name }) => name));

/// The currents in the bay of the voltages before and during an event.
function currentValues(event) {
  const body = element("tbody");
  event.currents.forEach((current, i) => {
    const at = `events.${event.number - 1}.currents.${i}`;
    const size = (member) => (current[member] === null ? element("td", {}, "–") : cell(`${at}.${member}`, amperes(current[member])));
    body.append(element("tr", {}, element("th", { scope: "row" }, piece(`${at}.phase`, current.phase), `: ${shortCurrents[i]}`),
      size("before_a"), size("largest_a")));
  });
  const heads = ["current", "largest before", "largest during the event"];
  return element("table", {}, element("thead", {}, element("tr", {}, ...heads.map((name) => element("th", { scope: "col" }, name)))), body);
}

/// If there are more events than this, the tables and the phasors of each are made when they are opened.
const mostAtOnce = 20;

/// Makes the tables and the phasors of an event's section, once.
function fillEvent(section, event) {
  const body = section.querySelector(".values");
  if (body.children.length > 0) return;
  body.append(scrolled(eventValues(event), `Values of ${nameOf(event)}`));
  if (event.currents !== null) body.append(scrolled(currentValues(event), `Currents of ${nameOf(event)}`));
  if (event.course) section.querySelector(".event-body").prepend(phasorFigures(event.course));
}

function addEvents() {
  const place = document.getElementById("events");
  for (const event of events) {
    const values = element("details", {}, element("summary", {}, "All values"), element("div", { class: "values" }));
    const section = element("section", { class: "event", id: `event-${event.number}` },
      element("h2", {}, `${nameOf(event)}: ${eventWords(event)}`),
      element("div", { class: event.course ? "event-body body" : "event-body" }, values));
    values.addEventListener("toggle", () => fillEvent(section, event));
    if (events.length <= mostAtOnce) fillEvent(section, event);
    values.open = events.length <= mostOpen;
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
  return element("section", { id: "changes" }, element("h2", {}, "Changes that belong to no event"),
    scrolled(
      element("table", {}, element("thead", {}, element("tr", {}, ...heads.map((name) => element("th", { scope: "col" }, name)))), body), "Changes"));
}

/// If a cell of the table of EN 50160 has more events than this, it has their number.
const mostNamed = 12;

function addEn50160() {
  const table = document.getElementById("en50160");
  const columns = ["10 to 200 ms", "to 500 ms", "to 1 s", "to 5 s", "to 60 s"];
  const rows = { A: "90 > u ≥ 80 %", B: "80 > u ≥ 70 %", C: "70 > u ≥ 40 %", D: "40 > u ≥ 5 %", X: "5 % > u" };
  table.append(element("thead", {}, element("tr", {}, element("td"), ...columns.map((name) => element("th", { scope: "col" }, name)))));
  const body = element("tbody");
  for (const [letter, name] of Object.entries(rows)) {
    const cells = columns.map((_, i) => {
      const code = `${letter}${i + 1}`;
      const there = judged.filter((event) => event.en50160_cell === code);
      const words = there.length > mostNamed ? `${there.length} events` : there.map((event) => `${kindWords(event)} ${event.number}`).join(", ");
      return element("td", { "data-cell": code, class: there.length > 0 ? "hit" : "" }, words || element("span", { class: "code" }, code));
    });
    body.append(element("tr", {}, element("th", { scope: "row" }, name), ...cells));
  }
  table.append(body);
  const outside = judged.filter((event) => event.en50160_cell === null);
  if (outside.length > 0) {
    const names = outside.length > mostNamed ? `${outside.length} events` : outside.map((event) => `${kindWords(event)} ${event.number}`).join(", ");
    table.after(element("p", { class: "hint" }, `Not in the table: ${names}.`));
  }
}
