// The cursor with a box of values beside it and the phasors of its time, and two markers with what lies between them.

const cursor = {
  at: null, // seconds
  exact: null, // the time that a key moved the cursor to; the pointer's is that of a pixel
  used: false, // before the cursor is used, it has phasors and no box
  markers: [null, null],

  /// Puts it where an event is deepest: in the middle of the segment with the lowest voltage.
  rest(event) {
    const lowestOf = (segment) => lowest(segment) ?? Infinity;
    const measured = (event.course?.segments ?? []).filter((segment) => segment.measured);
    if (this.used || measured.length === 0) return;
    const deepest = measured.reduce((one, other) => (lowestOf(other) < lowestOf(one) ? other : one));
    this.at = (deepest.start_s + (deepest.end_s ?? recordEnd)) / 2;
    this.drawPhasors();
  },

  /// Called when a plot's cursor has moved.
  moved(plot) {
    const { left } = plot.cursor;
    const box = document.getElementById("values");
    if (left === null || left < 0) {
      box.hidden = true;
      return;
    }
    this.used = true;
    this.at = this.exact ?? Math.min(Math.max(plot.posToVal(left, "x"), recordStart), recordEnd);
    this.fillBox();
    box.hidden = false;
    this.placeBox(plot, left);
    this.drawPhasors();
  },

  /// Moves the cursor by a number of samples, and the view after it.
  step(by) {
    const from = this.at ?? (charts.shown[0] + charts.shown[1]) / 2;
    const place = Math.min(Math.max(Math.round(placeOf(from)) + by, 0), samples.count - 1);
    this.put(timeOf(place));
    clearTimeout(this.pending);
    this.pending = setTimeout(() => this.say(), 300);
  },

  put(seconds) {
    const [from, to] = charts.shown;
    this.at = seconds;
    this.used = true;
    if (seconds < from || seconds > to) {
      charts.show(seconds - (to - from) / 2, seconds + (to - from) / 2);
      charts.draw();
    }
    this.follow();
  },

  /// Puts the plots' cursors at its time after they have moved.
  follow() {
    if (!this.used) return;
    const [plot] = charts.plots;
    const [from, to] = charts.shown;
    const inside = this.at >= from && this.at <= to;
    this.exact = inside ? this.at : null;
    plot.setCursor({ left: inside ? plot.valToPos(this.at, "x") : -10, top: inside ? 10 : -10 });
    this.exact = null;
  },

  /// Samples per step of an arrow key: one, or as many as a pixel has.
  finest() {
    const [from, to] = charts.shown;
    return Math.max(1, Math.round(((to - from) * rate) / (charts.plots[0].bbox.width / devicePixelRatio)));
  },

  /// Returns the values of a phase at a time as texts: u, RMS, its share of the reference, and the angle.
  texts(phase, seconds, phasors) {
    const words = (range) => (range === null ? "missing" : range[0] === range[1] ? volts(range[0]) : `${volts(range[1])} to ${volts(range[0])}`);
    const level = rangeAt(rms, phase, seconds);
    const share = level === null ? "–" : percent((100 * level[1]) / charts.reference());
    const phasor = phasors[phase];
    const angle = phasor === null || phasor[0] < 0.005 * charts.reference() ? "–" : turn(phasor[1]);
    return [words(rangeAt(wave, phase, seconds)), words(level), share, angle];
  },

  fillBox() {
    const phasors = phasorsAt(this.at);
    const clock = clockAt(this.at);
    const heads = ["", "u", "RMS", "", "angle"].map((name) => element("th", {}, name));
    const rows = phases.map((phase, i) =>
      element("tr", {}, element("th", { class: phase }, voltages[i].name === undefined ? voltages[i].phase : shortNames[i]),
        ...this.texts(i, this.at, phasors).map((text) => element("td", {}, text))));
    document.getElementById("values").replaceChildren(
      element("p", {}, `${time(this.at)}${clock === null ? "" : `, ${clock.clock}`}`),
      element("table", {}, element("thead", {}, element("tr", {}, ...heads)), element("tbody", {}, ...rows)));
  },

  /// Puts the box beside the cursor, on the side that has more room.
  placeBox(plot, left) {
    const box = document.getElementById("values");
    const x = plot.bbox.left / devicePixelRatio + left;
    const right = x > plot.width / 2;
    box.style.left = right || charts.narrow ? "auto" : `${x + 14}px`;
    box.style.right = right && !charts.narrow ? `${document.getElementById("plots").clientWidth - x + 14}px` : "auto";
  },

  drawPhasors() {
    const place = document.getElementById("phasors-now");
    const phasors = phasorsAt(this.at);
    if (phasors.some((phasor) => phasor === null)) {
      place.replaceChildren(element("figcaption", {}, found.record.values === "waveform" ? "No phasors: the page does not hold all samples of the cycle before the cursor." : "Recorded RMS values have no phasors."));
      return;
    }
    const full = charts.reference();
    const shares = phasors.map(([size, angle]) => [(100 * size) / full, angle]);
    const reach = Math.max(100, ...shares.map(([share]) => share));
    place.replaceChildren(phasorDiagram(shares, null, reach),
      element("figcaption", {}, `over the cycle that ends at ${time(this.at)}`));
  },

  /// Sets a marker (0 or 1) at the cursor.
  mark(number) {
    if (this.at === null) this.put((charts.shown[0] + charts.shown[1]) / 2);
    this.markers[number] = this.at;
    this.showMarkers();
  },

  clearMarkers() {
    this.markers = [null, null];
    this.showMarkers();
  },

  showMarkers() {
    const place = document.getElementById("between");
    const fact = (name, words) => element("div", {}, element("dt", {}, name), element("dd", {}, words));
    const facts = this.markers.flatMap((at, i) => (at === null ? [] : [fact(`Marker ${i + 1}`, time(at))]));
    if (this.markers.every((at) => at !== null)) facts.push(...this.between().map(([name, words]) => fact(name, words)));
    place.replaceChildren(...facts);
    for (const plot of charts.plots) plot.redraw(false);
  },

  /// Returns what lies between the markers: the time, and the change of each phase's values from the first to the second.
  between() {
    const [first, second] = this.markers;
    const apart = second - first;
    const cycles = (apart * rate) / cycle;
    const change = (curve_, i) => {
      const [before, after] = [first, second].map((at) => rangeAt(curve_, i, at));
      return before === null || after === null ? null : after[1] - before[1];
    };
    const signed = (value) => `${value > 0 ? "+" : ""}${volts(value)}`;
    const lines = phases.map((_, i) => {
      const [level, instant] = [change(rms, i), change(wave, i)];
      if (level === null || instant === null) return [`ΔU ${voltages[i].phase}`, "missing"];
      return [`ΔU ${voltages[i].phase}`, `${signed(level)} RMS (${turn((100 * level) / charts.reference()).replace("°", `${space}%`)}), u ${signed(instant)}`];
    });
    return [["Δt", `${fixed(apart * 1e3, 3)}${space}ms, ${fixed(cycles, 3)} cycles`], ...lines];
  },

  /// Draws the markers over a plot.
  drawMarkers(plot) {
    const { ctx, bbox } = plot;
    this.markers.forEach((at, i) => {
      if (at === null || at < charts.shown[0] || at > charts.shown[1]) return;
      const x = plot.valToPos(at, "x", true);
      ctx.save();
      charts.upright(ctx, bbox, x, "link", [2, 2]);
      const side = 14 * devicePixelRatio;
      ctx.fillStyle = charts.colour("link");
      ctx.fillRect(x - side / 2, bbox.top + bbox.height - side, side, side);
      ctx.fillStyle = charts.colour("paper");
      ctx.font = `bold ${11 * devicePixelRatio}px system-ui, sans-serif`;
      ctx.textAlign = "center";
      ctx.textBaseline = "middle";
      ctx.fillText(String(i + 1), x, bbox.top + bbox.height - side / 2);
      ctx.restore();
    });
  },

  /// Reads the values to screen readers.
  say() {
    const phasors = phasorsAt(this.at);
    const parts = phases.map((_, i) => {
      const [instant, level, share, angle] = this.texts(i, this.at, phasors);
      return `${shortNames[i]} ${instant}, RMS ${level}, ${share}, ${angle}`;
    });
    document.getElementById("readout").textContent = `${time(this.at)}: ${parts.join("; ")}`;
  },

  keys(shift) {
    const by = shift ? Math.round(cycle) : this.finest();
    return {
      ArrowLeft: () => this.step(-by),
      ArrowRight: () => this.step(by),
      1: () => this.mark(0),
      2: () => this.mark(1),
      Escape: () => this.clearMarkers(),
    };
  },

  addTools() {
    const tools = document.getElementById("markers");
    const button = (name, action, title) => {
      const made = element("button", { type: "button", title }, name);
      made.addEventListener("click", action);
      tools.append(made);
    };
    button("Set marker 1", () => this.mark(0), "At the cursor; the key 1 and a click do the same");
    button("Set marker 2", () => this.mark(1), "At the cursor; the key 2 and a click with Shift do the same");
    button("Clear", () => this.clearMarkers(), "Removes both markers");
    let press = null;
    const area = document.getElementById("plots");
    area.addEventListener("pointerdown", (event) => (press = event.clientX), { capture: true });
    // uPlot keeps clicks to itself that follow a press which it did not see.
    const click = (event) => {
      if (press === null || Math.abs(event.clientX - press) > 3 || !event.target.closest(".u-over")) return;
      this.mark(event.shiftKey ? 1 : 0);
    };
    area.addEventListener("click", click, { capture: true });
  },
};
