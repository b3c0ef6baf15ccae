// Figures as people read them, in the same form as the command's text has them. A figure and its unit stay on a line.

const space = "\u00a0";

/// Like toFixed, which takes a figure right between two away from zero: here it gets the even digit, as in the text.
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

function volts(given) {
  // What is left of a zero after some computing has no digits to show.
  const value = Math.abs(given) < 1e-9 ? 0 : given;
  const size = Math.abs(value);
  const [scaled, unit] =
    size >= 1e6 ? [value / 1e6, "MV"] : size >= 1e3 ? [value / 1e3, "kV"] : size >= 1 || size === 0 ? [value, "V"] : [value * 1e3, "mV"];
  const digits = scaled.toPrecision(4);
  const decimals = digits.split(".")[1]?.length ?? 0;
  return `${(digits.includes("e") ? digits : rounded(scaled, decimals)).replace("-", "−")}${space}${unit}`;
}

function percent(value) {
  return `${fixed(value, 1)}${space}%`;
}

function degrees(value) {
  const digits = fixed(value, 1);
  return `${digits === "360.0" ? "0.0" : digits}°`;
}

function turn(value) {
  const digits = fixed(value, 1);
  return `${value > 0 && digits !== "0.0" ? "+" : ""}${digits}°`;
}

function time(value) {
  return `${fixed(value, 4)}${space}s`;
}

function duration(seconds) {
  return seconds < 1 ? `${fixed(seconds * 1e3, 1)}${space}ms` : `${fixed(seconds, 3)}${space}s`;
}

/// A half width, rounded up to one unit of the last digit at least, so that the interval still holds what it should.
function upwards(value, decimals) {
  const units = Math.max(Math.ceil(value * 10 ** decimals - 1e-6), 1);
  return (units / 10 ** decimals).toFixed(decimals);
}

/// The half width of a voltage's interval, with the digits and the unit in which the voltage is shown.
function voltsWithin(plusMinus, value) {
  const [digits, unit] = volts(value).split(space);
  const factor = { MV: 1e6, kV: 1e3, V: 1, mV: 1e-3 }[unit];
  return `${upwards(plusMinus / factor, digits.split(".")[1]?.length ?? 0)}${space}${unit}`;
}

function degreesWithin(plusMinus) {
  return `${upwards(plusMinus, 1)}°`;
}

function timeWithin(plusMinus) {
  return `${upwards(plusMinus * 1e3, 1)}${space}ms`;
}

const referenceNames = { declared: "declared voltage", sliding: "sliding reference", "pre-event": "pre-event voltage" };
/// What the thresholds and the per cents of events relate to.
const referenceName = referenceNames[found.parameters.reference];

/// A kind of event in words: "rapid voltage change".
function kindWords(event) {
  return event.kind.replaceAll("_", " ");
}

/// "Dip 1"
function nameOf(event) {
  const words = kindWords(event);
  return `${words[0].toUpperCase()}${words.slice(1)} ${event.number}`;
}

/// The time of day at a time of the record, where the file says when it begins: { day, clock }. The day is null past
/// midnight, as the order of day and month differs between files.
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

/// An element with attributes and children; text is never taken for markup.
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

/// How far an event went: "residual voltage 29.1 %", "highest voltage 118.0 %", "largest change 4.2 %".
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
