// Formats figures for people, in the same form as the command's text. A figure and its unit stay on one line.

const space = "\u00a0";

/// Works like toFixed, except that a figure exactly between two is rounded to the even digit, as in the text.
function rounded(value, decimals) {
  const away = value.toFixed(decimals);
  const longer = value.toFixed(decimals + 1);
  const between = Number.isInteger(value * 2 ** (decimals + 1)) && longer.endsWith("5");
  const towards = longer.slice(0, -1).replace(/\.$/, "");
  return between && "02468".includes(towards.at(-1)) ? towards : away;
}

function fixed(value, decimals) {
  const digits = rounded(value, decimals);
  return Number(digits) === 0 ? digits.replace("-", "") : digits.replace("-", "−");
}

/// Returns the number of decimals, from 0 to `most`, with which a half width has two significant digits; more say
/// nothing.
function decimalsFor(plusMinus, most) {
  if (!(plusMinus > 0)) return most;
  const exponent = Number(plusMinus.toExponential().split("e")[1]);
  const decimals = 1 - exponent;
  if (decimals > most) return most;
  const grows = Math.ceil(plusMinus * 10 ** decimals - 1e-6) >= 100;
  return Math.max(decimals - (grows ? 1 : 0), 0);
}

function volts(given, plusMinus) {
  return plusMinus === undefined ? withPrefix(given, "V") : voltsOf(given, plusMinus).join(space);
}

/// Returns the digits of a voltage with an uncertainty and their unit, which suits the larger of both.
function voltsOf(value, plusMinus) {
  const [factor, unit, digits] = voltScale(value, plusMinus);
  return [fixed(value / factor, digits), unit];
}

/// Returns the factor, the unit and the decimals of a voltage with an uncertainty.
function voltScale(value, plusMinus) {
  const size = Math.max(Math.abs(value), plusMinus);
  const [factor, unit] = size >= 1e6 ? [1e6, "MV"] : size >= 1e3 ? [1e3, "kV"] : size >= 1 || size === 0 ? [1, "V"] : [1e-3, "mV"];
  const scaled = size / factor;
  return [factor, unit, decimalsFor(plusMinus / factor, scaled >= 1000 ? 0 : scaled >= 100 ? 1 : scaled >= 10 ? 2 : 3)];
}

function amperes(given) {
  return withPrefix(given, "A");
}

/// Returns four digits and the unit with the prefix that suits the size.
function withPrefix(given, base) {
  if (given === null) return "unknown";
  // A zero with a rounding error has no digits to show.
  const value = Math.abs(given) < 1e-9 ? 0 : given;
  const size = Math.abs(value);
  const [scaled, prefix] =
    size >= 1e6 ? [value / 1e6, "M"] : size >= 1e3 ? [value / 1e3, "k"] : size >= 1 || size === 0 ? [value, ""] : [value * 1e3, "m"];
  const digits = scaled.toPrecision(4);
  const decimals = digits.split(".")[1]?.length ?? 0;
  return `${(digits.includes("e") ? digits : rounded(scaled, decimals)).replace("-", "−")}${space}${prefix}${base}`;
}

function percent(value, plusMinus) {
  return `${fixed(value, decimalsFor(plusMinus, 1))}${space}%`;
}

function degrees(value, plusMinus) {
  const decimals = decimalsFor(plusMinus, 1);
  const digits = fixed(value, decimals);
  return `${Number(digits) === 360 ? fixed(0, decimals) : digits}°`;
}

function turn(value, plusMinus) {
  const digits = fixed(value, decimalsFor(plusMinus, 1));
  return `${value > 0 && Number(digits) !== 0 ? "+" : ""}${digits}°`;
}

function time(value, plusMinus) {
  return `${fixed(value, 3 + decimalsFor(plusMinus * 1e3, 1))}${space}s`;
}

function duration(seconds) {
  return seconds < 1 ? `${fixed(seconds * 1e3, 1)}${space}ms` : `${fixed(seconds, 3)}${space}s`;
}

/// Returns a half width, rounded up to at least one unit of the last digit, so that the interval still contains the
/// true value as often as it should.
function upwards(value, decimals) {
  const units = Math.max(Math.ceil(value * 10 ** decimals - 1e-6), 1);
  return (units / 10 ** decimals).toFixed(decimals);
}

/// The half width of a voltage's interval, with the digits and the unit in which the voltage is shown.
function voltsWithin(plusMinus, value) {
  const [factor, unit, decimals] = voltScale(value, plusMinus);
  return `${upwards(plusMinus / factor, decimals)}${space}${unit}`;
}

function degreesWithin(plusMinus) {
  return `${upwards(plusMinus, decimalsFor(plusMinus, 1))}°`;
}

function timeWithin(plusMinus) {
  return `${upwards(plusMinus * 1e3, decimalsFor(plusMinus * 1e3, 1))}${space}ms`;
}

const referenceNames = { declared: "declared voltage", sliding: "sliding reference", "pre-event": "pre-event voltage" };
/// Returns the reference of the thresholds and percentages of events.
const referenceName = referenceNames[found.parameters.reference];

/// Returns a kind of event in words: "rapid voltage change".
function kindWords(event) {
  return event.kind.replaceAll("_", " ");
}

/// "Dip 1"
function nameOf(event) {
  const words = kindWords(event);
  return `${words[0].toUpperCase()}${words.slice(1)} ${event.number}`;
}

/// Returns the time of day at a time of the record, if the file gives its start: { day, clock }. The day is null after
/// midnight, because the order of day and month differs between files.
function clockAt(seconds) {
  const parts = found.record.start_time.match(/^(.*?)[,T\s]*(\d{1,2}):(\d\d):(\d\d(?:\.\d+)?)/);
  if (parts === null) return null;
  const [hours, minutes, rest] = parts.slice(2).map(Number);
  const ticks = Math.round((hours * 3600 + minutes * 60 + rest + seconds) * 1e4);
  const within = ((ticks % 864000000) + 864000000) % 864000000;
  const two = (number) => String(number).padStart(2, "0");
  const second = ((within % 600000) / 1e4).toFixed(4).padStart(7, "0");
  const clock = `${two(Math.floor(within / 36000000))}:${two(Math.floor(within / 600000) % 60)}:${second}`;
  return { day: within === ticks ? parts[1] : null, clock };
}

/// Creates an element with attributes and children; text is never interpreted as markup.
function element(name, attributes = {}, ...children) {
  const made = document.createElement(name);
  for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, value);
  made.append(...children);
  return made;
}

function drawn(name, attributes = {}, ...children) {
  const made = document.createElementNS("http://www.w3.org/2000/svg", name);
  for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, value);
  made.append(...children);
  return made;
}

/// Describes the extreme of an event: "residual voltage 29.1 %", "highest voltage 118.0 %", "largest change 4.2 %".
function extentWords(event) {
  if (event.kind === "rapid_voltage_change") return `largest change ${percent(event.delta_max.percent)}`;
  const name = event.kind === "swell" ? "highest voltage" : "residual voltage";
  return `${name} ${event.extreme.percent === null ? volts(event.extreme.voltage_v) : percent(event.extreme.percent)}`;
}

function lastingWords(event) {
  return event.duration_s === null ? `more than ${duration(event.recorded_duration_s)}` : duration(event.duration_s);
}

/// "residual voltage 29.1 %, 280.2 ms"
function eventWords(event) {
  return `${extentWords(event)}, ${lastingWords(event)}`;
}

/// The types of a dip's segments, each once: "C (BC), D (A)".
function typeWords(event) {
  const types = (event.course?.segments ?? []).map(({ type }) => type).filter((type) => type);
  return [...new Set(types.map(({ letter, phases: of }) => `${letter} (${of})`))].join(", ");
}

function segmentWords(segment) {
  if (!segment.measured) return "too many samples are missing";
  const low = segment.below_threshold ? `${segment.below_threshold} low` : "no voltage is low";
  const what = segment.type ? `${segment.category.name}, type${space}${segment.type.letter}` : low;
  return segment.gradual ? `${what}, gradual` : what;
}

/// The lowest voltage of a segment, per cent of its level before the dip; null where none was measured.
function lowest(segment) {
  const shares = (segment.voltage ?? []).filter((phase) => phase !== null).map((phase) => phase.percent_of_before);
  return shares.length > 0 ? Math.min(...shares) : null;
}

/// Names longer than this are shortened.
const longestName = 24;

/// Shortens names where they are the same, so that they still differ: "220kV…Sec A", "220kV…Sec B".
function shortened(names) {
  if (names.every((name) => name.length <= longestName)) return names;
  const least = Math.min(...names.map((name) => name.length));
  let head = 0;
  while (names.length > 1 && head < least && names.every((name) => name[head] === names[0][head])) head++;
  let tail = 0;
  while (names.length > 1 && tail < least - head && names.every((name) => name.at(-1 - tail) === names[0].at(-1 - tail))) tail++;
  return names.map((name) => {
    if (name.length <= longestName) return name;
    const own = middleCut(name.slice(head, name.length - tail), longestName - 4);
    const room = longestName - own.length;
    const after = Math.min(tail, Math.floor(room / 2));
    const before = Math.min(head, room - after);
    return endCut(name.slice(0, head), before) + own + startCut(name.slice(name.length - tail), tail, after);
  });
}

/// Returns the two ends of a text with at most `most` characters together.
function middleCut(text, most) {
  if (text.length <= most) return text;
  const half = Math.floor((most - 1) / 2);
  return `${text.slice(0, half)}…${text.slice(text.length - half)}`;
}

function endCut(text, most) {
  return text.length <= most ? text : `${text.slice(0, Math.max(most - 1, 0))}…`;
}

function startCut(text, length, most) {
  if (length === 0 || length <= most) return length === 0 ? "" : text;
  return `…${text.slice(text.length - Math.max(most - 1, 0))}`;
}

const shortNames = shortened(voltages.map(({ name, phase }) => name ?? phase));
/// Returns "A: Ua", or the letter alone where no channel has the voltage.
function voltageTitle(i) {
  return voltages[i].name === undefined ? voltages[i].phase : `${voltages[i].phase}: ${shortNames[i]}`;
}
