// The whole record in a strip above the charts: the RMS of each phase, the events, and a frame round the part that is
// shown. A press or a drag moves that part.

const overview = {
  height: 64,

  across(seconds) {
    return ((seconds - recordStart) / (recordEnd - recordStart || 1)) * this.width;
  },

  build(width) {
    this.width = Math.max(width, 1);
    const place = document.getElementById("overview");
    const svg = drawn("svg", { width: this.width, height: this.height, role: "img", "aria-label": "RMS of the whole record" });
    for (const event of events) {
      const from = this.across(event.start.time_s);
      const to = event.end.time_s === null ? this.width : this.across(event.end.time_s);
      svg.append(drawn("rect", { class: `span ${event.kind}`, x: from, y: 0, width: Math.max(to - from, 2), height: this.height }));
    }
    this.addCurves(svg);
    this.frame = drawn("rect", { class: "shown", y: 0.75, height: this.height - 1.5 });
    svg.append(this.frame);
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

  /// Puts the frame round the part that is shown.
  mark() {
    if (!this.frame) return;
    const [from, to] = charts.shown;
    const left = this.across(from);
    this.frame.setAttribute("x", left);
    this.frame.setAttribute("width", Math.max(this.across(to) - left, 3));
  },

  addGestures() {
    const place = document.getElementById("overview");
    let held = false;
    const moveTo = (event) => {
      const { left, width } = place.getBoundingClientRect();
      const [from, to] = charts.shown;
      const middle = recordStart + ((event.clientX - left) / width) * (recordEnd - recordStart);
      charts.show(middle - (to - from) / 2, middle + (to - from) / 2);
    };
    place.addEventListener("pointerdown", (event) => {
      held = true;
      place.setPointerCapture(event.pointerId);
      moveTo(event);
    });
    place.addEventListener("pointermove", (event) => held && moveTo(event));
    for (const end of ["pointerup", "pointercancel"]) place.addEventListener(end, () => (held = false));
  },
};
