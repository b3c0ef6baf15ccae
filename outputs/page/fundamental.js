// Measures the fundamental of each voltage over the cycle that ends at a time, from the samples that the page holds.

/// The rotation of a phasor at the measured frequency, radians per sample, and its cycle in samples.
const turnPerSample = (2 * Math.PI * (found.record.measured_frequency_hz ?? found.record.line_frequency_hz)) / rate;
const wholeTurn = (2 * Math.PI) / turnPerSample;

/// Running sums of a phase's samples times the cosine and the sine of the rotation, and of its missing samples, for each
/// piece. Item n has the sums of the n samples before it.
const runningSums = new Map();

function sumsOf(piece, phase) {
  if (!runningSums.has(piece)) runningSums.set(piece, []);
  const known = runningSums.get(piece);
  if (known[phase] === undefined) {
    const { first, length, values } = piece;
    const sums = { re: new Float64Array(length + 1), im: new Float64Array(length + 1), gaps: new Uint32Array(length + 1) };
    for (let i = 0; i < length; i++) {
      const value = values[phase][i];
      const gone = value === missing;
      const angle = turnPerSample * (first + i);
      sums.re[i + 1] = sums.re[i] + (gone ? 0 : value * Math.cos(angle));
      sums.im[i + 1] = sums.im[i] - (gone ? 0 : value * Math.sin(angle));
      sums.gaps[i + 1] = sums.gaps[i] + gone;
    }
    known[phase] = sums;
  }
  return known[phase];
}

/// Returns the fundamental of a phase as [real, imaginary], volts RMS, against a phasor that turns with the measured
/// frequency; null if the page does not hold the cycle or samples of it are missing.
function fundamentalAt(phase, seconds) {
  if (found.record.values !== "waveform") return null; // recorded RMS values have no phase
  const end = Math.round(placeOf(seconds)) + 1;
  const begin = end - wholeTurn;
  const piece = wave.pieces.find(({ first, length }) => first <= begin && end <= first + length);
  if (!piece) return null;
  const { re, im, gaps } = sumsOf(piece, phase);
  // The cycle rarely begins at a sample; a part of the first one belongs to it.
  const whole = Math.floor(begin - piece.first);
  const part = begin - piece.first - whole;
  const last = end - piece.first;
  if (gaps[last] > gaps[whole]) return null;
  const between = (sums) => sums[last] - (sums[whole] + part * (sums[whole + 1] - sums[whole]));
  const factor = (Math.SQRT2 * wave.scale) / wholeTurn;
  return [factor * between(re), factor * between(im)];
}

const degreesOf = ([re, im]) => (Math.atan2(im, re) * 180) / Math.PI;
const sizeOf = ([re, im]) => Math.hypot(re, im);
/// Returns the same direction from -180 to 180 degrees.
const wrapped = (angle) => angle - 360 * Math.round(angle / 360);

/// Returns the time just before an event at which its phasors are at rest.
function restBefore(event) {
  const start = event.course?.start_s ?? (event.start.known ? event.start.time_s : null);
  return start === null ? null : Math.min(start, event.start.time_s) - 1 / rate;
}

/// Returns the direction that counts as zero: that of the first voltage before the event, degrees; null if it is not
/// known.
function zeroDirection(event) {
  const at = event === null ? null : restBefore(event);
  const phasor = at === null ? null : fundamentalAt(0, at);
  return phasor !== null && sizeOf(phasor) > 0.05 * charts.reference() ? degreesOf(phasor) : null;
}

/// Returns the phasors of all phases at a time as [volts RMS, degrees], null where they are not known. Degrees refer to
/// the first voltage before the event that was chosen, or else to the first voltage itself.
function phasorsAt(seconds) {
  const all = phases.map((_, phase) => fundamentalAt(phase, seconds));
  const zero = zeroDirection(charts.event) ?? (all[0] === null ? 0 : degreesOf(all[0]));
  return all.map((phasor) => phasor && [sizeOf(phasor), wrapped(degreesOf(phasor) - zero)]);
}
