// Draws waveforms and RMS over one time axis, with the events in them. In the visible range uPlot draws the samples, or
// the envelope of each phase if cycles are too close to be distinguished.

const narrowestCycle = 8; // pixels
/// Each phase has its own pattern of dashes besides its colour.
const dashes = [[], [8, 3], [2.5, 2.5], [8, 3, 2, 3]];
const colours = () => {
  const style = getComputedStyle(document.documentElement);
  return (name) => style.getPropertyValue(`--${name}`).trim();
};

/// Returns the number of decimals of a distance between ticks (1, 2, 2.5 or 5 times a power of ten).
function decimals(step) {
  let count = 0;
  while (Math.abs(step * 10 ** count - Math.round(step * 10 ** count)) > 1e-6 && count < 9) count++;
  return count;
}

const charts = {
  shown: [recordStart, recordEnd],
  event: null, // the event that was chosen last; its reference and thresholds apply
  plots: [],
  currentsPlot: null,
  derivedPlot: null,
  narrow: false,
  most: Infinity, // the width of the paper, pixels
  withOthers: false, // whether currents and digital channels are shown

  /// Draws both plots again in the current colours and width.
  build(width) {
    for (const plot of this.plots) plot.destroy();
    this.narrow = width < 560;
    this.colour = colours();
    this.plots = [this.wavePlot(width), this.rmsPlot(width)];
    document.getElementById("currents").hidden = !this.withOthers || currents === null;
    this.currentsPlot = this.withOthers && currents !== null ? this.currentPlot(width) : null;
    this.derivedPlot = derived.plot(width);
    this.plots.push(...[this.currentsPlot, this.derivedPlot].filter((plot) => plot !== null));
    this.show(...this.shown);
  },

  /// Shows the currents and the digital channels, or hides them. They are hidden at first.
  toggleOthers(shown) {
    this.withOthers = shown;
    this.build(width());
  },

  /// Shows a part of the record, at least a quarter of a cycle.
  show(from, to) {
    const least = cycle / rate / 4;
    const span = Math.min(Math.max(to - from, least), recordEnd - recordStart);
    const middle = (from + to) / 2;
    const begin = Math.min(Math.max(middle - span / 2, recordStart), recordEnd - span);
    this.shown = [begin, begin + span];
    document.getElementById("range").textContent = `${time(begin)} to ${time(begin + span)}`;
    overview.mark();
    cancelAnimationFrame(this.pending);
    this.pending = requestAnimationFrame(() => this.draw());
  },

  showAll() {
    this.event = null;
    this.show(recordStart, recordEnd);
  },

  /// An event with some cycles to either side, against its own reference.
  showEvent(event) {
    this.event = event;
    this.show(...samples.views[event.number - 1]);
    cursor.rest(event);
  },

  /// Shows the event after or before the one that was chosen last.
  nextEvent(by) {
    if (events.length === 0) return;
    const at = this.event === null ? (by > 0 ? -1 : 0) : this.event.number - 1;
    this.showEvent(events[(at + by + events.length) % events.length]);
  },

  /// What the RMS is per cent of, volts.
  reference() {
    const highest = Math.max(...voltages.map((voltage) => voltage.reference_v));
    return this.event?.reference.voltage_v || highest || 1;
  },

  draw() {
    const [from, to] = this.shown;
    const width = this.plots[0].bbox.width / devicePixelRatio;
    const waves = this.waveform(wave, from, to, width);
    const levels = this.levels(from, to, width);
    this.rmsRange = this.rangeOf(levels);
    const contents = [[this.plots[0], waves], [this.plots[1], levels]];
    if (this.currentsPlot !== null) contents.push([this.currentsPlot, this.waveform(currents, from, to, width)]);
    if (this.derivedPlot !== null) contents.push([this.derivedPlot, derived.curves(from, to, width)]);
    for (const [plot, data] of contents) {
      plot.batch(() => {
        plot.setData(data, false);
        plot.setScale("x", { min: from, max: to });
      });
    }
    drawBand(this.plots[0], from, to);
    drawDigitals(this.plots[0], from, to);
    cursor.follow();
    address.follow();
  },

  /// Waveforms between two times, or their envelopes if cycles are too close to be distinguished or the page does not
  /// hold every sample.
  waveform(waveform, from, to, width) {
    const dense = (width * cycle) / ((to - from) * rate) < narrowestCycle;
    const piece = pieceOver(waveform, from, to);
    if (dense || !piece) return envelope(waveform, from, to, Math.floor(width / 2), dense ? Math.max(1, Math.round(cycle)) : 1);
    const [times, ...curves] = raw(waveform, piece, from, to);
    const none = new Array(times.length).fill(null); // a curve needs no second edge
    return [times, ...curves.flatMap((one) => [one, none])];
  },

  /// The RMS of each phase between two times.
  levels(from, to, width) {
    const piece = pieceOver(rms, from, to);
    const few = (to - from) * rate <= 4 * width;
    return piece && few ? raw(rms, piece, from, to) : this.thinned(envelope(rms, from, to, Math.floor(width), 1));
  },

  /// The RMS from zero for voltages that fall. Swells and rapid changes are a small share of the voltage, which zero
  /// would flatten.
  rangeOf([, ...levels]) {
    const full = this.reference();
    if (!["swell", "rapid_voltage_change"].includes(this.event?.kind)) {
      // The threshold of swells is seen beside that of dips.
      return [0, Math.max((1.03 * full * found.parameters.swell_threshold_percent) / 100, 1.04 * peakOf(rms))];
    }
    let low = full;
    let high = full;
    for (const phase of levels) {
      for (const value of phase) {
        if (value === null) continue;
        if (value < low) low = value;
        if (value > high) high = value;
      }
    }
    if (this.event.kind === "swell") high = Math.max(high, (full * found.parameters.swell_threshold_percent) / 100);
    const room = Math.max(0.12 * (high - low), 0.005 * full);
    return [Math.max(low - room, 0), high + room];
  },

  /// An envelope as one curve that runs through its lowest and its highest values in turn.
  thinned([times, ...pairs]) {
    const lists = [[], ...phases.map(() => [])];
    for (let i = 0; i < times.length; i++) {
      const next = i + 1 < times.length ? times[i + 1] : times[i];
      lists[0].push(times[i], (times[i] + next) / 2);
      for (let phase = 0; phase < phases.length; phase++) lists[phase + 1].push(pairs[2 * phase][i], pairs[2 * phase + 1][i]);
    }
    return lists;
  },

  options(width, height, more) {
    const colour = this.colour;
    const axis = {
      stroke: colour("ink"),
      grid: { stroke: colour("line"), width: 1 },
      ticks: { stroke: colour("line"), width: 1 },
      font: "12px system-ui, sans-serif",
      labelFont: "12px system-ui, sans-serif",
      labelSize: 16,
    };
    const plot = {
      width,
      height,
      padding: [this.narrow ? 16 : 18, 8, 0, 0],
      legend: { show: false },
      cursor: { sync: { key: "dipx" }, drag: { x: true, y: false, setScale: false }, points: { show: false }, y: false },
      scales: { x: { time: false, range: (_, min, max) => [min, max] }, y: { range: () => more.range() } },
      axes: [
        { ...axis, size: more.label_x ? 30 : 12, values: more.label_x ? (_, ticks, axis_, space_, step) => ticks.map((tick) => tick.toFixed(decimals(step))) : (_, ticks) => ticks.map(() => ""),
          label: more.label_x, labelSize: 16 },
        { ...axis, size: this.narrow ? 42 : 50, label: more.label, ...more.axis },
      ],
      series: [{}, ...more.series],
      bands: more.bands,
      hooks: {
        // Over the grid, which would hide lines at its ticks.
        drawAxes: [(u) => this.drawEvents(u, more.named)],
        draw: [(u) => more.draw?.(u), (u) => cursor.drawMarkers(u)],
        setSelect: [(u) => this.zoomToSelection(u)],
        setCursor: [(u) => u === this.plots[0] && cursor.moved(u)],
      },
    };
    return plot;
  },

  wavePlot(width) {
    return this.waveformPlot(width, wave, phases, "u", "V", "wave", (u) => derived.drawFit(u));
  },

  currentPlot(width) {
    return this.waveformPlot(width, currents, ["a", "b", "c", "faint"], "i", "A", "currents");
  },

  /// A plot of waveforms in `colours_`, with the symbol and the unit of their quantity.
  waveformPlot(width, waveform, colours_, symbol, unit, place, draw = () => {}) {
    const values = waveform.pieces[0]?.values ?? waveform.blocks.highest;
    const peak = peakOf(waveform) * 1.08 || 1;
    const [factor, prefix] = peak >= 1e6 ? [1e6, "M"] : peak >= 1e3 ? [1e3, "k"] : peak >= 1 ? [1, ""] : [1e-3, "m"];
    const series = values.flatMap((_, i) =>
      [0, 1].map(() => ({ stroke: this.colour(colours_[i]), width: 1.5, dash: dashes[i], pxAlign: 0, points: { show: false } })),
    );
    const bands = values.map((_, i) => ({ series: [2 * i + 1, 2 * i + 2], fill: this.colour(colours_[i]) + "1f" }));
    const options = this.options(width, this.narrow ? 200 : 260, {
      range: () => [-peak, peak],
      label: `${symbol} (${prefix}${unit})`,
      axis: { values: (_, ticks) => ticks.map((tick) => String(+(tick / factor).toPrecision(6)).replace("-", "−")) },
      series,
      bands,
      draw,
      named: true,
    });
    return new uPlot(options, [[recordStart, recordEnd], ...series.map(() => [0, 0])], document.getElementById(place));
  },

  rmsPlot(width) {
    this.rmsRange = [0, 1.05 * this.reference()];
    const series = phases.map((phase, i) => ({
      stroke: this.colour(phase),
      width: 1.75,
      dash: dashes[i],
      pxAlign: 0,
      points: { show: false },
    }));
    const options = this.options(width, this.narrow ? 190 : 230, {
      range: () => this.rmsRange,
      label: "RMS (%)",
      label_x: "t (s)",
      axis: {
        splits: () => this.percentTicks(),
        values: (_, ticks) => ticks.map((tick) => String(+((100 * tick) / this.reference()).toPrecision(6))),
      },
      series,
      draw: (u) => this.drawLevels(u),
    });
    return new uPlot(options, [[recordStart, recordEnd], ...series.map(() => [0, 0])], document.getElementById("rms"));
  },

  /// Round per cents of the reference within the range of the RMS plot, in volts.
  percentTicks() {
    const full = this.reference();
    const [low, high] = this.rmsRange.map((value) => (100 * value) / full);
    const step = [0.5, 1, 2, 5, 10, 20, 50, 100, 200, 500, 1000].find((one) => (high - low) / one <= 8) ?? (high - low) / 5;
    const ticks = [];
    for (let k = Math.ceil(low / step); k * step <= high && ticks.length < 12; k++) ticks.push((k * step * full) / 100);
    return ticks;
  },

  /// The thresholds that apply to what is shown, and the voltages of the segments.
  drawLevels(u) {
    const { parameters } = found;
    const level = (kind, percents, above) =>
      this.threshold(u, (percents / 100) * this.reference(), this.narrow ? `${kind} ${percents} %` : `${kind} ${percents} % of the ${referenceName}`, above);
    const kind = this.event?.kind ?? "";
    if (["", "dip", "interruption"].includes(kind)) {
      level("dip", parameters.dip_threshold_percent, false);
      level("interruption", parameters.interruption_threshold_percent, true);
    }
    if (kind !== "rapid_voltage_change") level("swell", parameters.swell_threshold_percent, false);
    for (const event of this.drawnEvents()) {
      for (const segment of event.course?.segments ?? []) this.drawSteps(u, segment);
    }
  },

  /// Each phase's voltage in a segment, as a level from its beginning to its end; dashed where it is the lowest of a
  /// gradual change.
  drawSteps(u, segment) {
    const { ctx, bbox } = u;
    const [from, to] = this.shown;
    const end = segment.end_s ?? recordEnd;
    if (!segment.measured || end < from || segment.start_s > to) return;
    ctx.save();
    ctx.beginPath();
    ctx.rect(bbox.left, bbox.top, bbox.width, bbox.height);
    ctx.clip();
    ctx.globalAlpha = 0.4;
    ctx.lineWidth = 5 * devicePixelRatio;
    ctx.setLineDash(segment.gradual ? [4 * devicePixelRatio, 4 * devicePixelRatio] : []);
    phases.forEach((phase, i) => {
      if (segment.voltage[i] === null) return;
      const y = u.valToPos(segment.voltage[i].voltage_v, "y", true);
      ctx.strokeStyle = this.colour(phase);
      ctx.beginPath();
      ctx.moveTo(u.valToPos(Math.max(segment.start_s, from), "x", true), y);
      ctx.lineTo(u.valToPos(Math.min(end, to), "x", true), y);
      ctx.stroke();
    });
    ctx.restore();
  },

  /// A level across the plot, with its name above or below it.
  threshold(u, level, words, above) {
    const { ctx, bbox } = u;
    const y = Math.round(u.valToPos(level, "y", true)) + 0.5;
    if (y < bbox.top || y > bbox.top + bbox.height) return;
    ctx.save();
    ctx.strokeStyle = ctx.fillStyle = this.colour("low");
    ctx.lineWidth = devicePixelRatio;
    ctx.setLineDash([6 * devicePixelRatio, 4 * devicePixelRatio]);
    ctx.beginPath();
    ctx.moveTo(bbox.left, y);
    ctx.lineTo(bbox.left + bbox.width, y);
    ctx.stroke();
    ctx.font = `${11 * devicePixelRatio}px system-ui, sans-serif`;
    ctx.textAlign = "right";
    ctx.textBaseline = above ? "bottom" : "top";
    const place = [bbox.left + bbox.width - 4 * devicePixelRatio, y + (above ? -2 : 3) * devicePixelRatio];
    // The background keeps the text readable over curves.
    ctx.setLineDash([]);
    ctx.lineWidth = 4 * devicePixelRatio;
    ctx.lineJoin = "round";
    ctx.strokeStyle = this.colour("paper");
    ctx.strokeText(words, ...place);
    ctx.fillText(words, ...place);
    ctx.restore();
  },

  /// Shades the segments of dips and the other events, draws transitions and the events' bounds and, where `named`, says
  /// over each segment what it is.
  drawEvents(u, named) {
    const { ctx, bbox } = u;
    const across = (seconds) => {
      const x = u.valToPos(seconds, "x", true);
      return Math.min(Math.max(x, bbox.left), bbox.left + bbox.width);
    };
    const [from, to] = this.shown;
    const visible = (begin, end) => end >= from && begin <= to;
    this.labels = []; // what is taken by labels, from left to right
    ctx.save();
    ctx.font = `${12 * devicePixelRatio}px system-ui, sans-serif`;
    ctx.textAlign = "center";
    ctx.textBaseline = "bottom";
    for (const event of this.drawnEvents()) {
      if (event.course) this.drawCourse(ctx, bbox, event, across, visible, named);
      else this.drawSpan(ctx, bbox, event, across, visible, named);
      for (const [bound, known] of [[event.start.time_s, event.start.known], [event.end.time_s, event.end.time_s !== null]]) {
        if (known && bound >= from && bound <= to) this.upright(ctx, bbox, across(bound), "boundary", [3, 3]);
      }
    }
    ctx.restore();
  },

  /// Returns the chosen event and those that do not overlap it, or all events, dips first, if none is chosen.
  drawnEvents() {
    const chosen = this.event;
    if (chosen === null) return [...events].sort((one, other) => Boolean(other.course) - Boolean(one.course));
    const end = (event) => event.end.time_s ?? recordEnd;
    return events.filter((event) => event === chosen || event.start.time_s > end(chosen) || end(event) < chosen.start.time_s);
  },

  /// Draws a dip's segments and transitions. An abrupt transition is a line at its beginning; gradual ones are hatched.
  drawCourse(ctx, bbox, event, across, visible, named) {
    for (const segment of event.course.segments) {
      if (!visible(segment.start_s, segment.end_s ?? recordEnd)) continue;
      const [left, right] = [across(segment.start_s), across(segment.end_s ?? recordEnd)];
      this.shade(ctx, bbox, left, right, "segment");
      if (segment.gradual) this.hatch(ctx, bbox, left, right);
      if (named) this.nameSegment(ctx, event, segment, left, right, bbox);
    }
    for (const transition of event.course.transitions) {
      if (!visible(transition.start_s, transition.end_s)) continue;
      const [left, right] = [across(transition.start_s), across(transition.end_s)];
      if (transition.gradual) {
        this.hatch(ctx, bbox, left, right);
      } else {
        this.shade(ctx, bbox, left, right, "transition");
        this.upright(ctx, bbox, left, "ink", []);
      }
    }
  },

  /// An event without a course, from its beginning to its end.
  drawSpan(ctx, bbox, event, across, visible, named) {
    const end = event.end.time_s ?? recordEnd;
    if (!visible(event.start.time_s, end)) return;
    const [left, right] = [across(event.start.time_s), across(end)];
    this.shade(ctx, bbox, left, right, event.kind === "swell" ? "swell" : "change");
    if (named) this.label(ctx, [`${nameOf(event)}: ${extentWords(event)}`, nameOf(event)], left, right, bbox);
  },

  shade(ctx, bbox, left, right, colour) {
    ctx.fillStyle = this.colour(colour);
    ctx.fillRect(left, bbox.top, Math.max(right - left, 1), bbox.height);
  },

  /// Slanted lines for what changes gradually.
  hatch(ctx, bbox, left, right) {
    const apart = 7 * devicePixelRatio;
    ctx.save();
    ctx.beginPath();
    ctx.rect(left, bbox.top, Math.max(right - left, 1), bbox.height);
    ctx.clip();
    ctx.strokeStyle = this.colour("hatch");
    ctx.lineWidth = devicePixelRatio;
    ctx.beginPath();
    for (let x = left - bbox.height - (left % apart); x < right; x += apart) {
      ctx.moveTo(x, bbox.top + bbox.height);
      ctx.lineTo(x + bbox.height, bbox.top);
    }
    ctx.stroke();
    ctx.restore();
  },

  upright(ctx, bbox, at, colour, dash) {
    const x = Math.round(at) + 0.5;
    ctx.strokeStyle = this.colour(colour);
    ctx.lineWidth = devicePixelRatio;
    ctx.setLineDash(dash.map((length) => length * devicePixelRatio));
    ctx.beginPath();
    ctx.moveTo(x, bbox.top);
    ctx.lineTo(x, bbox.top + bbox.height);
    ctx.stroke();
    ctx.setLineDash([]);
  },

  nameSegment(ctx, event, segment, left, right, bbox) {
    const short = events.length > 1 ? `${event.number}.${segment.number}` : String(segment.number);
    const share = lowest(segment);
    const level = share === null ? "" : `  ${percent(share)}`;
    this.label(ctx, [`${short}  ${segmentWords(segment)}${level}`, `${short}${level}`, short], left, right, bbox);
  },

  /// Returns the first of several texts that fits between two places above the frame.
  label(ctx, words, left, right, bbox) {
    const fitting = words.find((text) => ctx.measureText(text).width < right - left) ?? words.at(-1);
    const half = ctx.measureText(fitting).width / 2;
    const middle = Math.min(Math.max((left + right) / 2, bbox.left + half), bbox.left + bbox.width - half);
    if (this.labels.some(([begin, end]) => begin < middle + half && end > middle - half)) return;
    this.labels.push([middle - half, middle + half]);
    ctx.fillStyle = this.colour("ink");
    ctx.fillText(fitting, middle, bbox.top - 2 * devicePixelRatio);
  },

  zoomToSelection(u) {
    const { left, width } = u.select;
    if (width < 4) return;
    const from = u.posToVal(left, "x");
    const to = u.posToVal(left + width, "x");
    for (const plot of this.plots) plot.setSelect({ left: 0, top: 0, width: 0, height: 0 }, false);
    this.show(from, to);
  },

  zoom(factor, at = (this.shown[0] + this.shown[1]) / 2) {
    const [from, to] = this.shown;
    this.show(at - (at - from) * factor, at + (to - at) * factor);
  },

  move(share) {
    const [from, to] = this.shown;
    const by = Math.min(Math.max((to - from) * share, recordStart - from), recordEnd - to);
    this.show(from + by, to + by);
  },
};
