// What the page holds: the document that `dipx analyse --json` prints, and the curves.
"use strict";

const found = JSON.parse(document.getElementById("document").textContent);
const samples = JSON.parse(document.getElementById("samples").textContent);

// The document of the embedded library's own results has neither of the two lists.
const events = found.events ?? [];
const changes = found.changes_without_event ?? [];
const voltages = found.voltages.filter((voltage) => voltage !== null);
const phases = ["a", "b", "c"].slice(0, voltages.length);
const rate = samples.rate;
const cycle = found.record.samples_per_cycle;
// The part that was analysed, in the record's seconds.
const recordStart = samples.start_s;
const recordEnd = recordStart + (samples.count - 1) / rate;

/// How long an event lasted, as far as it was recorded; seconds.
function lasted(event) {
  return event.duration_s ?? event.recorded_duration_s;
}

/// 16-bit integers, little end first, as base64.
function integers(text) {
  const bytes = atob(text);
  const values = new Int16Array(bytes.length / 2);
  for (let i = 0; i < values.length; i++) values[i] = bytes.charCodeAt(2 * i) | (bytes.charCodeAt(2 * i + 1) << 8);
  return values;
}

/// A value that is missing; no other one is as low.
const missing = -32768;

/// A curve of each phase: value i is that of the analysed sample first + i * step.
function curve({ first, step, scale, data }) {
  return { first, step, scale, values: data.map(integers) };
}

/// Where a time lies among a curve's values, not rounded; and the other way round.
function placeOf(seconds, { first, step }) {
  return ((seconds - recordStart) * rate - first) / step;
}
function timeOf(place, { first, step }) {
  return recordStart + (first + place * step) / rate;
}

const wave = curve(samples.wave);
const rms = curve(samples.rms);
const details = samples.detail ? { wave: curve(samples.detail.wave), rms: curve(samples.detail.rms) } : null;

/// The curve to draw between two times: the detailed one where it has both.
function finest(whole, detail, from, to) {
  if (!detail || detail.step >= whole.step) return whole;
  const within = placeOf(from, detail) >= -1 && placeOf(to, detail) <= detail.values[0].length;
  return within ? detail : whole;
}
const waveBetween = (from, to) => finest(wave, details?.wave, from, to);
const rmsBetween = (from, to) => finest(rms, details?.rms, from, to);

/// The value of a phase at or nearest to a time; null where it is missing.
function valueAt(curve_, phase, seconds) {
  const values = curve_.values[phase];
  const value = values[Math.min(Math.max(Math.round(placeOf(seconds, curve_)), 0), values.length - 1)];
  return value === missing ? null : value * curve_.scale;
}

/// The values of a curve between two times, one more on either side; null where they are missing.
function raw(curve_, from, to) {
  const { scale, values } = curve_;
  const first = Math.max(0, Math.floor(placeOf(from, curve_)) - 1);
  const last = Math.min(values[0].length - 1, Math.ceil(placeOf(to, curve_)) + 1);
  const count = Math.max(last - first + 1, 0);
  const times = new Array(count);
  for (let i = 0; i < count; i++) times[i] = timeOf(first + i, curve_);
  const levels = values.map((phase) => {
    const list = new Array(count);
    for (let i = 0; i < count; i++) list[i] = phase[first + i] === missing ? null : phase[first + i] * scale;
    return list;
  });
  return [times, ...levels];
}

/// Highest and lowest value that is there from `begin` to before `end`; null where so many are missing that the peaks
/// may be among them.
function extremes(phase, begin, end, scale) {
  let gaps = 0;
  let highest = missing;
  let lowest = -missing;
  for (let i = begin; i < end; i++) {
    const value = phase[i];
    if (value === missing) {
      gaps++;
      continue;
    }
    if (value > highest) highest = value;
    if (value < lowest) lowest = value;
  }
  return highest === missing || 4 * gaps > end - begin ? [null, null] : [highest * scale, lowest * scale];
}

/// Highest and lowest of a curve in each of at most `most` pieces of at least `least` values between two times:
/// [times, highest a, lowest a, highest b, ...].
function envelope(curve_, from, to, most, least) {
  const { scale, values } = curve_;
  const first = Math.max(0, Math.floor(placeOf(from, curve_)));
  const last = Math.min(values[0].length, Math.ceil(placeOf(to, curve_)) + 1);
  const piece = Math.max(least, Math.ceil((last - first) / Math.max(most, 1)), 1);
  const count = Math.max(1, Math.floor((last - first) / piece));
  const lists = [[]];
  // The outermost values are put at the edges, so that no gap is left there.
  for (let p = 0; p < count; p++) lists[0].push(timeOf(first + (p + 0.5) * piece, curve_));
  lists[0][0] = timeOf(first, curve_);
  if (count > 1) lists[0][count - 1] = timeOf(last - 1, curve_);
  for (const phase of values) {
    const high = new Array(count);
    const low = new Array(count);
    for (let p = 0; p < count; p++) {
      const begin = first + p * piece;
      [high[p], low[p]] = extremes(phase, begin, p === count - 1 ? last : begin + piece, scale);
    }
    lists.push(high, low);
  }
  return lists;
}
