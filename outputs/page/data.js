// Reads the data of the page: the document that `dipx analyse --json` prints, and the curves.
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

/// Returns the recorded duration of an event in seconds.
function lasted(event) {
  return event.duration_s ?? event.recorded_duration_s;
}

/// This value marks a missing one; no other value is as low.
const missing = -32768;

/// Unpacks integers that packed_integers.cpp packed.
function integers(text, count) {
  const bytes = Uint8Array.from(atob(text), (letter) => letter.charCodeAt(0));
  const values = new Int16Array(count);
  let at = 0; // bits
  const ahead = () => {
    const i = at >> 3;
    const window = (bytes[i] << 24) | (bytes[i + 1] << 16) | (bytes[i + 2] << 8) | bytes[i + 3];
    return (window << (at & 7)) | (bytes[i + 4] >> (8 - (at & 7)));
  };
  const bits = (number) => {
    if (number === 0) return 0;
    const value = ahead() >>> (32 - number);
    at += number;
    return value;
  };
  let [last, second, third] = [0, 0, 0];
  for (let begin = 0; begin < count; begin += 256) {
    const order = bits(2);
    const width = bits(4);
    for (let i = begin; i < Math.min(begin + 256, count); i++) {
      const ones = Math.clz32(~ahead());
      let code;
      if (ones >= 24) {
        at += 24;
        code = bits(20);
      } else {
        at += ones + 1;
        code = ones * 2 ** width + bits(width);
      }
      const change = code & 1 ? -(code + 1) / 2 : code / 2;
      const expected = order === 0 ? 0 : order === 1 ? last : order === 2 ? 2 * last - second : 3 * last - 3 * second + third;
      [third, second, last] = [second, last, expected + change];
      values[i] = last;
    }
  }
  return values;
}

/// Curves with a common scale. Each piece has every sample from `first` on; the blocks have the highest and the lowest
/// value of each `length` samples of the whole record, and are null if one piece is the whole record.
function curve({ scale, pieces, blocks }) {
  const count = blocks && Math.ceil(samples.count / blocks.length);
  const unpack = (texts) => texts.map((text) => integers(text, count));
  return {
    scale,
    pieces: pieces.map(({ first, count: length, data }) => ({ first, length, values: data.map((text) => integers(text, length)) })),
    blocks: blocks && { length: blocks.length, highest: unpack(blocks.highest), lowest: unpack(blocks.lowest) },
  };
}

/// Converts a time to a number of samples from the first one, not rounded, and back.
function placeOf(seconds) {
  return (seconds - recordStart) * rate;
}
function timeOf(place) {
  return recordStart + place / rate;
}

const wave = curve(samples.wave);
const rms = curve(samples.rms);
// The currents of the bay, in amperes, and the digital channels that change within the analysed part.
const currentChannels = found.currents?.channels ?? [];
const currents = samples.currents ? curve(samples.currents) : null;
const digitals = found.digital_channels.filter(({ changes: of }) => of.some(({ time_s }) => time_s >= recordStart && time_s <= recordEnd));

/// Returns the largest magnitude of curves.
function peakOf({ scale, pieces, blocks }) {
  let peak = 0;
  for (const one of [...pieces.flatMap(({ values }) => values), ...(blocks ? [...blocks.highest, ...blocks.lowest] : [])]) {
    for (const value of one) if (value !== missing && Math.abs(value) > peak) peak = Math.abs(value);
  }
  return peak * scale;
}

/// Returns the piece that has every sample between two times; undefined if none has.
function pieceOver(curve_, from, to) {
  const first = Math.max(Math.floor(placeOf(from)), 0);
  const last = Math.min(Math.ceil(placeOf(to)), samples.count - 1);
  return curve_.pieces.find((piece) => piece.first <= first && last < piece.first + piece.length);
}

/// Returns the value of a curve at the sample nearest to a time; null if it is missing or not held by the page.
function valueAt(curve_, i, seconds) {
  const place = Math.min(Math.max(Math.round(placeOf(seconds)), 0), samples.count - 1);
  const piece = pieceOver(curve_, timeOf(place), timeOf(place));
  const value = piece ? piece.values[i][place - piece.first] : missing;
  return value === missing ? null : value * curve_.scale;
}

/// Returns the highest and the lowest value of a curve near a time: of the sample there, or of its block; null if they
/// are missing.
function rangeAt(curve_, i, seconds) {
  const place = Math.min(Math.max(Math.round(placeOf(seconds)), 0), samples.count - 1);
  if (!curve_.blocks || pieceOver(curve_, timeOf(place), timeOf(place))) {
    const value = valueAt(curve_, i, seconds);
    return value === null ? null : [value, value];
  }
  const block = Math.floor(place / curve_.blocks.length);
  const [high, low] = [curve_.blocks.highest[i][block], curve_.blocks.lowest[i][block]];
  return high === missing ? null : [high * curve_.scale, low * curve_.scale];
}

/// The samples of a piece between two times, one more on either side: [times, values a, ...]; null where they are
/// missing.
function raw({ scale }, piece, from, to) {
  const first = Math.max(0, Math.floor(placeOf(from) - piece.first) - 1);
  const last = Math.min(piece.length - 1, Math.ceil(placeOf(to) - piece.first) + 1);
  const count = Math.max(last - first + 1, 0);
  const times = new Array(count);
  for (let i = 0; i < count; i++) times[i] = timeOf(piece.first + first + i);
  const levels = piece.values.map((phase) => {
    const list = new Array(count);
    for (let i = 0; i < count; i++) list[i] = phase[first + i] === missing ? null : phase[first + i] * scale;
    return list;
  });
  return [times, ...levels];
}

/// Returns the highest value of one list and the lowest of another from `begin` up to, but not including, `end`; null
/// if so many values are missing that the peaks may be among them.
function extremes(highs, lows, begin, end, scale) {
  let gaps = 0;
  let highest = missing;
  let lowest = -missing;
  for (let i = begin; i < end; i++) {
    if (highs[i] === missing) {
      gaps++;
      continue;
    }
    if (highs[i] > highest) highest = highs[i];
    if (lows[i] < lowest) lowest = lows[i];
  }
  return highest === missing || 4 * gaps > end - begin ? [null, null] : [highest * scale, lowest * scale];
}

/// Joins values that are `step` samples apart, the first of them at sample `start`, into at most `most` parts of at
/// least `least` values each: [times, highest a, lowest a, highest b, ...].
function joined({ highest, lowest, start, step, scale }, first, last, most, least) {
  const size = Math.max(least, Math.ceil((last - first) / Math.max(most, 1)), 1);
  const count = Math.max(1, Math.floor((last - first) / size));
  const lists = [[]];
  const at = (place) => Math.min(timeOf(start + place * step), recordEnd);
  // The outermost values are moved to the edges, so that there is no gap.
  for (let p = 0; p < count; p++) lists[0].push(at(first + (p + 0.5) * size));
  if (count > 1) {
    lists[0][0] = at(first);
    lists[0][count - 1] = at(step > 1 ? last : last - 1);
  }
  highest.forEach((highs, i) => {
    const high = new Array(count);
    const low = new Array(count);
    for (let p = 0; p < count; p++) {
      const begin = first + p * size;
      [high[p], low[p]] = extremes(highs, lowest[i], begin, p === count - 1 ? last : begin + size, scale);
    }
    lists.push(high, low);
  });
  return lists;
}

/// Highest and lowest of the samples of a piece between two times.
function pieceEnvelope({ scale }, piece, from, to, most, least) {
  const first = Math.max(0, Math.floor(placeOf(from) - piece.first));
  const last = Math.min(piece.length, Math.ceil(placeOf(to) - piece.first) + 1);
  return joined({ highest: piece.values, lowest: piece.values, start: piece.first, step: 1, scale }, first, last, most, least);
}

/// Highest and lowest of the blocks between two times.
function blockEnvelope({ scale, blocks }, from, to, most) {
  const { highest, lowest, length: step } = blocks;
  const first = Math.max(0, Math.floor(placeOf(from) / step));
  const last = Math.min(highest[0].length, Math.ceil(placeOf(to) / step) + 1);
  return joined({ highest, lowest, start: 0, step, scale }, first, Math.max(last, first + 1), most, 1);
}

/// Samples of the pieces, where there are some, and blocks between them.
function mixed(curve_, from, to, most) {
  const lists = [[], ...curve_.pieces.length ? curve_.pieces[0].values.flatMap(() => [[], []]) : curve_.blocks.highest.flatMap(() => [[], []])];
  const add = (more) => more.forEach((list, k) => lists[k].push(...list));
  const share = (begin, end) => Math.max(Math.ceil((most * (end - begin)) / (to - from)), 1);
  let at = from;
  for (const piece of curve_.pieces) {
    const begin = Math.max(timeOf(piece.first), from);
    const end = Math.min(timeOf(piece.first + piece.length - 1), to);
    if (begin >= end) continue;
    if (begin > at) add(blockEnvelope(curve_, at, begin, share(at, begin)));
    // Blocks reach into the piece; its samples replace that part.
    while (lists[0].length > 0 && lists[0].at(-1) >= begin) for (const list of lists) list.pop();
    add(pieceEnvelope(curve_, piece, begin, end, share(begin, end), 1));
    at = end;
  }
  if (at < to) {
    const rest = blockEnvelope(curve_, at, to, share(at, to));
    const skipped = rest[0].findIndex((time) => time > at);
    if (skipped >= 0) add(rest.map((list) => list.slice(skipped)));
  }
  return lists;
}

/// Highest and lowest of a curve in at most about `most` parts, which have at least `least` samples where all samples
/// are held, between two times: [times, highest a, lowest a, highest b, ...].
function envelope(curve_, from, to, most, least) {
  const piece = pieceOver(curve_, from, to);
  if (piece) return pieceEnvelope(curve_, piece, from, to, most, least);
  const blocks = placeOf(to) - placeOf(from) >= 2 * most * curve_.blocks.length;
  return blocks ? blockEnvelope(curve_, from, to, most) : mixed(curve_, from, to, 2 * most);
}
