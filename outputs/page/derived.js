// Draws quantities that follow from the voltages below the charts, one kind at a time: voltages between phases, symmetrical
// components, unbalance, frequency, and what the measured segments leave unexplained. All but the last are of the cycle
// that ends at each time.

const third = (2 * Math.PI) / 3;
const sum = (...all) => all.reduce(([re, im], [more, moreIm]) => [re + more, im + moreIm], [0, 0]);
const less = ([re, im], [other, otherIm]) => [re - other, im - otherIm];
const turned = ([re, im], angle) => [re * Math.cos(angle) - im * Math.sin(angle), re * Math.sin(angle) + im * Math.cos(angle)];

/// Returns the positive, the negative and the zero sequence of three phasors, volts RMS.
function sequencesOf([a, b, c]) {
  const share = (phasor) => sizeOf(phasor) / 3;
  return [share(sum(a, turned(b, third), turned(c, -third))), share(sum(a, turned(b, -third), turned(c, third))), share(sum(a, b, c))];
}

/// Returns the phasor whose direction shows the frequency: the positive sequence, or the only voltage.
function frequencyPhasor(all) {
  return all.length === 3 ? sum(all[0], turned(all[1], third), turned(all[2], -third)) : all[0];
}

const allAt = (seconds) => {
  const all = phases.map((_, phase) => fundamentalAt(phase, seconds));
  return all.includes(null) ? null : all;
};

/// Returns the frequency from the turn of the phasor over half a cycle to either side; null where there is no voltage.
function frequencyAt(seconds) {
  const [before, after] = [-1, 1].map((side) => allAt(seconds + (side * wholeTurn) / rate / 2));
  if (before === null || after === null) return null;
  const [first, second] = [frequencyPhasor(before), frequencyPhasor(after)];
  if (Math.min(sizeOf(first), sizeOf(second)) < 0.05 * charts.reference()) return null;
  const own = (turnPerSample * rate) / (2 * Math.PI);
  const steps = Math.round(placeOf(seconds + wholeTurn / rate / 2)) - Math.round(placeOf(seconds - wholeTurn / rate / 2));
  return own + ((wrapped(degreesOf(second) - degreesOf(first)) / 360) * rate) / steps;
}

/// Returns the voltage of a phase that the document's segments give for a time: a sine of the segment's voltage and phase
/// jump that continues the one before the dip; null where no segment lies that has one value.
function fittedAt(phase, seconds) {
  for (const { course } of events) {
    const origin = course?.point_on_wave?.[phase] ?? null;
    if (origin === null || course.start_s === null) continue;
    const segment = course.segments.find((one) => !one.gradual && one.measured && seconds >= one.start_s && seconds <= (one.end_s ?? recordEnd));
    const level = segment?.voltage[phase] ?? null;
    if (level === null) continue;
    const angle = 2 * Math.PI * course.frequency_hz * (seconds - course.start_s);
    const jump = segment.phase_jump[phase]?.degrees ?? 0;
    return Math.SQRT2 * level.voltage_v * Math.sin(angle + ((origin.degrees + jump) * Math.PI) / 180);
  }
  return null;
}

/// Returns what is recorded and not in the segments, volts.
function residualAt(phase, seconds) {
  const [fitted, value] = [fittedAt(phase, seconds), valueAt(wave, phase, seconds)];
  return fitted === null || value === null ? null : value - fitted;
}

const hasFit = events.some(({ course }) => course?.point_on_wave?.some((angle) => angle !== null));
const three = phases.length === 3;
const shareOf = (volts_) => (100 * volts_) / charts.reference();
/// The kinds: a name, the axis, the names of the curves, and their values at a time.
const derivedKinds = found.record.values !== "waveform" ? [] : [
  ...(three && !found.line_to_line
    ? [["Voltages between phases", "U (%)", ["AB", "BC", "CA"], (at) => {
      const all = allAt(at);
      return all && [0, 1, 2].map((i) => shareOf(sizeOf(less(all[i], all[(i + 1) % 3])) / Math.sqrt(3)));
    }]]
    : []),
  ...(three
    ? [
      ["Symmetrical components", "U (%)", ["positive", "negative", "zero"], (at) => allAt(at) && sequencesOf(allAt(at)).map(shareOf)],
      ["Unbalance", "U2/U1 (%)", ["unbalance"], (at) => {
        const all = allAt(at);
        const [positive, negative] = all === null ? [0, 0] : sequencesOf(all);
        return shareOf(positive) > 1 ? [(100 * negative) / positive] : null;
      }],
    ]
    : []),
  ["Frequency", "f (Hz)", ["frequency"], (at) => {
    const hertz = frequencyAt(at);
    return hertz === null ? null : [hertz];
  }],
  ...(hasFit ? [["Recorded less the measured segments", "Δu (%)", voltages.map(({ phase }) => phase),
    (at) => phases.map((_, i) => residualAt(i, at)).map((value) => value === null ? null : shareOf(value) / Math.SQRT2)]] : []),
];

const derived = {
  kind: null,

  /// Shows a kind, or none.
  choose(name) {
    this.kind = derivedKinds.find(([one]) => one === name) ?? null;
    charts.build(width());
  },

  addTool(tools) {
    if (derivedKinds.length === 0) return;
    const choice = element("select", { id: "derived-kind", "aria-label": "Derived quantity below the charts" }, element("option", { value: "" }, "Derived …"));
    for (const [name] of derivedKinds) choice.append(element("option", {}, name));
    choice.addEventListener("change", () => this.choose(choice.value));
    tools.append(choice);
    if (!hasFit) return;
    const box = element("input", { type: "checkbox", id: "with-fit" });
    box.addEventListener("change", () => {
      this.fit = box.checked;
      charts.draw();
    });
    tools.append(element("label", { title: "The sines of the measured segments, over the recorded waveform" }, box, "Fit"));
  },

  /// Returns the plot, or null if no kind is chosen.
  plot(across) {
    const place = document.getElementById("derived");
    place.hidden = this.kind === null;
    if (this.kind === null) return null;
    const [, label, names] = this.kind;
    const series = names.map((_, i) => ({ stroke: charts.colour(phases[i] ?? "ink"), width: 1.5, dash: dashes[i], pxAlign: 0, points: { show: false } }));
    const options = charts.options(across, charts.narrow ? 150 : 180, {
      range: () => this.range,
      label,
      axis: { values: (_, ticks) => ticks.map((tick) => String(+tick.toPrecision(6)).replace("-", "−")) },
      series,
      draw: (u) => this.nameCurves(u, names),
    });
    this.range = [0, 1];
    return new uPlot(options, [[recordStart, recordEnd], ...series.map(() => [0, 0])], place);
  },

  /// Returns the curves between two times, at each pixel or sample.
  curves(from, to, across) {
    const [, , names, valuesAt] = this.kind;
    const points = Math.max(2, Math.min(Math.floor(across), Math.ceil((to - from) * rate)));
    const lists = [[], ...names.map(() => [])];
    let [low, high] = [Infinity, -Infinity];
    for (let i = 0; i <= points; i++) {
      const at = from + ((to - from) * i) / points;
      const values = valuesAt(at);
      lists[0].push(at);
      names.forEach((_, k) => {
        const value = values === null ? null : values[k];
        lists[k + 1].push(value);
        if (value !== null) [low, high] = [Math.min(low, value), Math.max(high, value)];
      });
    }
    const room = Math.max((high - low) * 0.1, 1e-3 * Math.abs(high), 1e-6);
    this.range = low <= high ? [low - room, high + room] : [0, 1];
    return lists;
  },

  /// Writes the name of each curve with its dashes into the plot.
  nameCurves({ ctx, bbox }, names) {
    ctx.save();
    ctx.font = `${11 * devicePixelRatio}px system-ui, sans-serif`;
    ctx.textAlign = "left";
    ctx.textBaseline = "top";
    let x = bbox.left + 6 * devicePixelRatio;
    const y = bbox.top - 14 * devicePixelRatio;
    names.forEach((name, i) => {
      ctx.strokeStyle = ctx.fillStyle = charts.colour(phases[i] ?? "ink");
      ctx.lineWidth = 2 * devicePixelRatio;
      ctx.setLineDash(dashes[i].map((length) => length * devicePixelRatio));
      ctx.beginPath();
      ctx.moveTo(x, y + 6 * devicePixelRatio);
      ctx.lineTo(x + 24 * devicePixelRatio, y + 6 * devicePixelRatio);
      ctx.stroke();
      ctx.fillText(name, x + 29 * devicePixelRatio, y);
      x += ctx.measureText(name).width + 48 * devicePixelRatio;
    });
    ctx.restore();
  },

  /// Draws the fit over the waveforms of a plot.
  drawFit(u) {
    if (!this.fit) return;
    const { ctx, bbox } = u;
    const [from, to] = charts.shown;
    const points = Math.min(Math.floor(bbox.width), Math.ceil((to - from) * rate));
    ctx.save();
    ctx.strokeStyle = charts.colour("low");
    ctx.lineWidth = devicePixelRatio;
    ctx.beginPath();
    phases.forEach((_, phase) => {
      let pen = "moveTo";
      for (let i = 0; i <= points; i++) {
        const at = from + ((to - from) * i) / points;
        const value = fittedAt(phase, at);
        if (value === null) {
          pen = "moveTo";
          continue;
        }
        ctx[pen](u.valToPos(at, "x", true), u.valToPos(value, "y", true));
        pen = "lineTo";
      }
    });
    ctx.stroke();
    ctx.restore();
  },
};
