// What the page holds: the document that `dipx analyse --json` prints, and the curves.
"use strict";

const found = JSON.parse(document.getElementById("document").textContent);
const samples = JSON.parse(document.getElementById("samples").textContent);

const phases = ["a", "b", "c"];
const rate = found.record.sampling_rate_hz;
const cycle = found.record.samples_per_cycle;
// What was analysed, which of a record in parts is one of them.
const recordStart = samples.start_s;
const recordEnd = recordStart + (samples.count - 1) / rate;

/// How long a dip lasted, as far as it was recorded; seconds.
function lasted(dip) {
  return dip.duration_s ?? recordStart + samples.count / rate - dip.start.time_s;
}

/// 16-bit integers, little end first, as base64.
function integers(text) {
  const bytes = atob(text);
  const values = new Int16Array(bytes.length / 2);
  for (let i = 0; i < values.length; i++) values[i] = bytes.charCodeAt(2 * i) | (bytes.charCodeAt(2 * i + 1) << 8);
  return values;
}

/// A curve's three phases: value i lies at analysed sample i * step.
function curve({ step, scale, data }) {
  return { step, scale, values: data.map(integers) };
}

/// Where a time lies among a curve's values, not rounded; and the other way round.
function placeOf(seconds, { step }) {
  return ((seconds - recordStart) * rate) / step;
}
function timeOf(place, { step }) {
  return recordStart + (place * step) / rate;
}

const wave = curve(samples.wave);
const rms = curve(samples.rms);

/// The values of a curve between two times, one more on either side.
function raw(curve_, from, to) {
  const { scale, values } = curve_;
  const first = Math.max(0, Math.floor(placeOf(from, curve_)) - 1);
  const last = Math.min(values[0].length - 1, Math.ceil(placeOf(to, curve_)) + 1);
  const count = last - first + 1;
  const times = new Float64Array(count);
  for (let i = 0; i < count; i++) times[i] = timeOf(first + i, curve_);
  const levels = values.map((phase) => {
    const list = new Float64Array(count);
    for (let i = 0; i < count; i++) list[i] = phase[first + i] * scale;
    return list;
  });
  return [times, ...levels];
}

/// Highest and lowest of a curve in each of at most `most` pieces of at least `least` values between two times:
/// [times, highest a, lowest a, highest b, ...].
function envelope(curve_, from, to, most, least) {
  const { scale, values } = curve_;
  const first = Math.max(0, Math.floor(placeOf(from, curve_)));
  const last = Math.min(values[0].length, Math.ceil(placeOf(to, curve_)) + 1);
  const piece = Math.max(least, Math.ceil((last - first) / most));
  const count = Math.max(1, Math.floor((last - first) / piece));
  const lists = [[]];
  // To the edges, so that no gap is left where a piece's middle lies inside.
  for (let p = 0; p < count; p++) lists[0].push(timeOf(first + (p + 0.5) * piece, curve_));
  lists[0][0] = timeOf(first, curve_);
  lists[0][count - 1] = timeOf(last - 1, curve_);
  for (const phase of values) {
    const high = new Array(count);
    const low = new Array(count);
    for (let p = 0; p < count; p++) {
      const begin = first + p * piece;
      const end = p === count - 1 ? last : begin + piece;
      let highest = phase[begin];
      let lowest = highest;
      for (let i = begin + 1; i < end; i++) {
        const value = phase[i];
        if (value > highest) highest = value;
        if (value < lowest) lowest = value;
      }
      high[p] = highest * scale;
      low[p] = lowest * scale;
    }
    lists.push(high, low);
  }
  return lists;
}
