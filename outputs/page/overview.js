// Draws the whole record in a strip above the charts: the RMS of each phase, the events, and a window around the visible
// part. The window is dragged, or widened by its edges; a press beside it, and the arrow keys, move it.

const edgeWidth = 7; // pixels

const overview = {
  height: 64,

  across(seconds) {
    return ((seconds - recordStart) / (recordEnd - recordStart || 1)) * this.width;
  },

  build(width) {
    this.width = Math.max(width, 1);
    const place = document.getElementById("overview");
    const svg = drawn("svg", { width: this.width, height: this.height, "aria-hidden": "true" });
    for (const event of events) {
      const from = this.across(event.start.time_s);
      const to = event.end.time_s === null ? this.width : this.across(event.end.time_s);
      svg.append(drawn("rect", { class: `span ${event.kind}`, x: from, y: 0, width: Math.max(to - from, 2), height: this.height }));
    }
    this.addCurves(svg);
    this.frame = drawn("rect", { class: "shown", y: 0.75, height: this.height - 1.5 });
    this.veils = [drawn("rect", { class: "veil", y: 0, height: this.height }), drawn("rect", { class: "veil", y: 0, height: this.height })];
    this.handles = [drawn("rect", { class: "handle", rx: 2 }), drawn("rect", { class: "handle", rx: 2 })];
    svg.append(...this.veils, this.frame, ...this.handles);
    place.replaceChildren(svg);
    this.mark();
  },

  addCurves(svg) {
    const [times, ...pairs] = envelope(rms, recordStart, recordEnd, Math.floor(this.width), 1);
    const most = pairs.flat().reduce((top, value) => (value !== null && value > top ? value : top), 0) || 1;
    const y = (value) => (this.height - 3 - (value / most) * (this.height - 8)).toFixed(1);
    phases.forEach((phase, i) => {
      let path = "";
      let pen = "M";
      times.forEach((at, p) => {
        if (pairs[2 * i][p] === null) {
          pen = "M";
          return;
        }
        path += `${pen}${this.across(at).toFixed(1)} ${y(pairs[2 * i][p])}V${y(pairs[2 * i + 1][p])}`;
        pen = "L";
      });
      svg.append(drawn("path", { class: phase, d: path, fill: "none" }));
    });
  },

  /// Puts the window round the part that is shown.
  mark() {
    if (!this.frame) return;
    const [from, to] = charts.shown;
    const left = this.across(from);
    const right = Math.max(this.across(to), left + 3);
    const put = (shape, values) => Object.entries(values).forEach(([name, value]) => shape.setAttribute(name, value));
    put(this.frame, { x: left, width: right - left });
    put(this.veils[0], { x: 0, width: Math.max(left, 0) });
    put(this.veils[1], { x: right, width: Math.max(this.width - right, 0) });
    [left, right].forEach((x, i) => put(this.handles[i], { x: x - 3, y: this.height / 2 - 11, width: 6, height: 22 }));
    const place = document.getElementById("overview");
    put(place, { "aria-valuemin": recordStart.toFixed(4), "aria-valuemax": recordEnd.toFixed(4), "aria-valuenow": ((from + to) / 2).toFixed(4),
      "aria-valuetext": `${time(from)} to ${time(to)}` });
  },

  /// Returns how a press at a place of the strip (pixels from its left edge) changes the window: a function of the times
  /// at the press and at the pointer, and of the window before.
  grip(x) {
    const [left, right] = charts.shown.map((seconds) => this.across(seconds));
    const moved = (start, at, [from, to]) => [from + at - start, to + at - start];
    const near = (edge) => Math.abs(x - edge) < edgeWidth;
    if (right - left > 3 * edgeWidth || near(left) !== near(right)) {
      if (near(left)) return (_, at, [, to]) => [Math.min(at, to), to];
      if (near(right)) return (_, at, [from]) => [from, Math.max(at, from)];
    }
    if (x > left && x < right) return moved;
    return (_, at, [from, to]) => [at - (to - from) / 2, at + (to - from) / 2];
  },

  addGestures() {
    const place = document.getElementById("overview");
    let held = null;
    const timeAt = (event) => {
      const { left, width } = place.getBoundingClientRect();
      return recordStart + ((event.clientX - left) / width) * (recordEnd - recordStart);
    };
    const follow = (event) => held && charts.show(...held.change(held.start, timeAt(event), held.shown));
    place.addEventListener("pointerdown", (event) => {
      const { left } = place.getBoundingClientRect();
      held = { change: this.grip(event.clientX - left), start: timeAt(event), shown: charts.shown };
      place.setPointerCapture(event.pointerId);
      follow(event);
    });
    place.addEventListener("pointermove", follow);
    for (const end of ["pointerup", "pointercancel"]) place.addEventListener(end, () => (held = null));
    place.addEventListener("keydown", (event) => pressed(event, viewKeys(1 / 10)));
  },
};
