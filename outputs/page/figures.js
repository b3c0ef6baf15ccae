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

function volts(value) {
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

/// What curves, table and kind relate to.
function judgedBy() {
  const declared = found.declared_voltage;
  return declared === null
    ? { level: found.pre_event_voltage_v, of: "the pre-event voltage", share: (figures) => figures.percent }
    : { level: declared.level_v, of: "the declared voltage", share: (figures) => figures.percent_of_declared };
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

/// "interruption, residual voltage 29.1 %, 280.2 ms" and what a segment is called.
function dipWords(dip) {
  const lasts = dip.duration_s === null ? "not recovered" : duration(dip.duration_s);
  return `${dip.kind}, residual voltage ${percent(dip.residual_voltage.percent)} (${volts(dip.residual_voltage.voltage_v)}), ${lasts}`;
}

function segmentWords(segment) {
  return `${segment.category.name}${space}(${segment.category.code})`;
}

function lowest(segment) {
  return segment.residual_voltage.reduce((least, phase) => (phase.percent < least.percent ? phase : least));
}
