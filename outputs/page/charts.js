// Waveforms and RMS over one time axis, with the dips in them. uPlot draws what lies in the range shown: the samples
// themselves, or, where cycles would lie closer than they can be told apart, the envelope of each phase.

const narrowestCycle = 8; // pixels
const colours = () => {
  const style = getComputedStyle(document.documentElement);
  return (name) => style.getPropertyValue(`--${name}`).trim();
};

/// How many decimals a step of ticks (1, 2, 2.5 or 5 of some power of ten) has.
function decimals(step) {
  let count = 0;
  while (Math.abs(step * 10 ** count - Math.round(step * 10 ** count)) > 1e-6 && count < 9) count++;
  return count;
}

const charts = {
  shown: [recordStart, recordEnd],
  plots: [],
  narrow: false,

  /// Draws both plots anew, in the colours and the width of now.
  build(width) {
    for (const plot of this.plots) plot.destroy();
    this.narrow = width < 560;
    this.colour = colours();
    this.plots = [this.wavePlot(width), this.rmsPlot(width)];
    this.show(...this.shown);
  },

  /// Makes a part of the record the one shown, a quarter of a cycle at least.
  show(from, to) {
    const least = cycle / rate / 4;
    const span = Math.min(Math.max(to - from, least), recordEnd - recordStart);
    const middle = (from + to) / 2;
    const begin = Math.min(Math.max(middle - span / 2, recordStart), recordEnd - span);
    this.shown = [begin, begin + span];
    document.getElementById("range").textContent = `${time(begin)} to ${time(begin + span)}`;
    cancelAnimationFrame(this.pending);
    this.pending = requestAnimationFrame(() => this.draw());
  },

  draw() {
    const [from, to] = this.shown;
    const width = this.plots[0].bbox.width / devicePixelRatio;
    const cycles = ((to - from) * rate) / cycle;
    let waves;
    if (width / cycles < narrowestCycle) {
      waves = envelope(wave, from, to, Math.floor(width / 2), Math.max(1, Math.round(cycle / wave.step)));
    } else {
      const [times, a, b, c] = raw(wave, from, to);
      const none = new Array(times.length).fill(null); // a curve needs no second edge
      waves = [times, a, none, b, none, c, none];
    }
    const points = ((to - from) * rate) / rms.step;
    const levels = points > 4 * width ? this.thinned(envelope(rms, from, to, Math.floor(width), 1)) : raw(rms, from, to);
    for (const [plot, data] of [[this.plots[0], waves], [this.plots[1], levels]]) {
      plot.batch(() => {
        plot.setData(data, false);
        plot.setScale("x", { min: from, max: to });
      });
    }
  },

  /// An envelope as one curve that runs through its lowest and its highest values in turn.
  thinned([times, ...pairs]) {
    const lists = [[], [], [], []];
    for (let i = 0; i < times.length; i++) {
      const next = i + 1 < times.length ? times[i + 1] : times[i];
      lists[0].push(times[i], (times[i] + next) / 2);
      for (let phase = 0; phase < 3; phase++) lists[phase + 1].push(pairs[2 * phase][i], pairs[2 * phase + 1][i]);
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
      scales: { x: { time: false, range: (_, min, max) => [min, max] }, y: { range: () => more.range } },
      axes: [
        { ...axis, size: more.label_x ? 30 : 12, values: more.label_x ? (_, ticks, axis_, space_, step) => ticks.map((tick) => tick.toFixed(decimals(step))) : (_, ticks) => ticks.map(() => ""),
          label: more.label_x, labelSize: 16 },
        { ...axis, size: this.narrow ? 42 : 50, label: more.label, ...more.axis },
      ],
      series: [{}, ...more.series],
      bands: more.bands,
      hooks: {
        drawClear: [(u) => this.drawDips(u, more.named)],
        draw: [(u) => more.draw?.(u)],
        setSelect: [(u) => this.zoomToSelection(u)],
        setCursor: [(u) => this.read(u)],
      },
    };
    return plot;
  },

  wavePlot(width) {
    let peak = 0;
    for (const phase of wave.values) for (const value of phase) if (Math.abs(value) > peak) peak = Math.abs(value);
    peak *= wave.scale * 1.08;
    const [factor, unit] = peak >= 1e6 ? [1e6, "MV"] : peak >= 1e3 ? [1e3, "kV"] : peak >= 1 ? [1, "V"] : [1e-3, "mV"];
    const series = phases.flatMap((phase) =>
      [0, 1].map(() => ({ stroke: this.colour(phase), width: 1.25, pxAlign: 0, points: { show: false } })),
    );
    const bands = phases.map((phase, i) => ({ series: [2 * i + 1, 2 * i + 2], fill: this.colour(phase) + "1f" }));
    const options = this.options(width, this.narrow ? 200 : 260, {
      range: [-peak, peak],
      label: `u (${unit})`,
      axis: { values: (_, ticks) => ticks.map((tick) => String(+(tick / factor).toPrecision(6)).replace("-", "−")) },
      series,
      bands,
      named: true,
    });
    return new uPlot(options, [[recordStart, recordEnd], ...series.map(() => [0, 0])], document.getElementById("wave"));
  },

  rmsPlot(width) {
    let most = 0;
    for (const phase of rms.values) for (const value of phase) if (value > most) most = value;
    const full = found.pre_event_voltage_v;
    const top = Math.max(105, (104 * most * rms.scale) / full);
    const dashes = [[], [7, 3], [2, 3]];
    const series = phases.map((phase, i) => ({
      stroke: this.colour(phase),
      width: 1.75,
      dash: dashes[i],
      pxAlign: 0,
      points: { show: false },
    }));
    const options = this.options(width, this.narrow ? 190 : 230, {
      range: [0, (top * full) / 100],
      label: "RMS (%)",
      label_x: "t (s)",
      axis: {
        splits: () => Array.from({ length: Math.floor(top / 20) + 1 }, (_, i) => (i * 20 * full) / 100),
        values: (_, ticks) => ticks.map((tick) => Math.round((100 * tick) / full)),
      },
      series,
      draw: (u) => {
        this.threshold(u, found.threshold_v, "dip 90 %", false);
        const { level, of } = judgedBy();
        this.threshold(u, 0.05 * level, this.narrow ? "interruption 5 %" : `interruption 5 % of ${of}`, true);
      },
    });
    return new uPlot(options, [[recordStart, recordEnd], ...series.map(() => [0, 0])], document.getElementById("rms"));
  },

  /// A level across the plot, with its name above or below it.
  threshold(u, level, words, above) {
    const { ctx, bbox } = u;
    const y = Math.round(u.valToPos(level, "y", true)) + 0.5;
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
    // Readable where curves pass behind it.
    ctx.setLineDash([]);
    ctx.lineWidth = 4 * devicePixelRatio;
    ctx.lineJoin = "round";
    ctx.strokeStyle = this.colour("paper");
    ctx.strokeText(words, ...place);
    ctx.fillText(words, ...place);
    ctx.restore();
  },

  /// Shades segments, draws the dips' boundaries and, where `named`, says over each segment what it is.
  drawDips(u, named) {
    const { ctx, bbox } = u;
    const across = (seconds) => {
      const x = u.valToPos(seconds, "x", true);
      return Math.min(Math.max(x, bbox.left), bbox.left + bbox.width);
    };
    const [from, to] = this.shown;
    this.lastLabel = -Infinity; // how far labels reach
    ctx.save();
    ctx.font = `${12 * devicePixelRatio}px system-ui, sans-serif`;
    ctx.textAlign = "center";
    ctx.textBaseline = "bottom";
    for (const dip of found.dips) {
      for (const segment of dip.segments) {
        const left = across(segment.start.time_s);
        const right = across(segment.end.time_s);
        if (segment.end.time_s < from || segment.start.time_s > to) continue;
        ctx.fillStyle = this.colour("segment");
        ctx.fillRect(left, bbox.top, Math.max(right - left, 1), bbox.height);
        if (named) this.nameSegment(ctx, dip, segment, left, right, bbox);
      }
      ctx.strokeStyle = this.colour("boundary");
      ctx.lineWidth = devicePixelRatio;
      ctx.setLineDash([3 * devicePixelRatio, 3 * devicePixelRatio]);
      for (const boundary of [dip.start, dip.end]) {
        if (boundary === null || boundary.time_s < from || boundary.time_s > to) continue;
        const x = Math.round(across(boundary.time_s)) + 0.5;
        ctx.beginPath();
        ctx.moveTo(x, bbox.top);
        ctx.lineTo(x, bbox.top + bbox.height);
        ctx.stroke();
      }
      if (named && dip.segments.length === 0 && dip.start.time_s <= to && (dip.end === null || dip.end.time_s >= from)) {
        const right = dip.end === null ? bbox.left + bbox.width : across(dip.end.time_s);
        this.nameSegment(ctx, dip, null, across(dip.start.time_s), right, bbox);
      }
    }
    ctx.restore();
  },

  nameSegment(ctx, dip, segment, left, right, bbox) {
    const number = segment === null || found.dips.length > 1 ? `dip ${dip.number}` : "";
    const short = segment === null ? number : `${number ? dip.number + "." : ""}${segment.number}`;
    const words =
      segment === null
        ? [`${number}: not analysed`, number]
        : [
            `${short}  ${segmentWords(segment)}  ${percent(lowest(segment).percent)}`,
            `${short}  (${segment.category.code})  ${percent(lowest(segment).percent)}`,
            short,
          ];
    const fitting = words.find((text) => ctx.measureText(text).width < right - left) ?? words.at(-1);
    const half = ctx.measureText(fitting).width / 2;
    const middle = Math.min(Math.max((left + right) / 2, bbox.left + half), bbox.left + bbox.width - half);
    // Labels that have no room of their own come once only.
    if (half * 2 > right - left && this.lastLabel > middle - half) return;
    this.lastLabel = middle + half;
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

  /// A dip with a fifth of it, three cycles at least, on either side.
  showDip(dip) {
    const from = dip.start.time_s;
    const to = dip.end === null ? recordEnd : dip.end.time_s;
    const margin = Math.max((to - from) / 5, (3 * cycle) / rate);
    this.show(from - margin, to + margin);
  },

  /// Under the cursor: the time and what each phase has there.
  read(u) {
    const { left } = u.cursor;
    if (left === null || left < 0) return;
    const at = u.posToVal(left, "x");
    const value = (curve_, phase) =>
      curve_.values[phase][Math.min(Math.max(Math.round(placeOf(at, curve_)), 0), curve_.values[phase].length - 1)] * curve_.scale;
    const parts = found.voltages.map((voltage, phase) => {
      const level = value(rms, phase);
      return `${voltage.name} ${volts(value(wave, phase))}, RMS ${volts(level)} (${percent((100 * level) / found.pre_event_voltage_v)})`;
    });
    document.getElementById("readout").textContent = `${time(at)}: ${parts.join("; ")}`;
  },
};
