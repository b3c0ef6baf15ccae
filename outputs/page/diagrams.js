// Phasors before and during a dip, and the events on the voltage-tolerance curves.

/// Phasors as [per cent, degrees]; `ghosts` are drawn faintly beneath.
function phasorDiagram(phasors, ghosts, reach) {
  const size = 200;
  const radius = 76;
  const place = ([percents, angle], scale = 1) => {
    const length = (scale * radius * percents) / reach;
    const turned = (angle * Math.PI) / 180;
    return [size / 2 + length * Math.cos(turned), size / 2 - length * Math.sin(turned)];
  };
  const words = phasors.map(([percents, angle], i) => `${voltages[i].phase} ${percent(percents)} at ${turn(angle)}`).join(", ");
  const svg = drawn("svg", { viewBox: `0 0 ${size} ${size}`, role: "img", "aria-label": words });
  for (const ring of [50, 100]) svg.append(drawn("circle", { class: "grid", cx: size / 2, cy: size / 2, r: (radius * ring) / reach }));
  const middle = `M${size / 2} ${size / 2}`;
  ghosts?.forEach((ghost, i) => {
    const [x, y] = place(ghost);
    svg.append(drawn("path", { class: phases[i], d: `${middle}L${x} ${y}`, "stroke-opacity": 0.35, "stroke-dasharray": "3 3" }));
  });
  phasors.forEach((phasor, i) => {
    const [x, y] = place(phasor);
    const angle = Math.atan2(y - size / 2, x - size / 2);
    const long = Math.hypot(x - size / 2, y - size / 2);
    let line = `${middle}L${x} ${y}`;
    if (long > 9) {
      for (const side of [-0.4, 0.4]) line += `M${x} ${y}L${x - 8 * Math.cos(angle + side)} ${y - 8 * Math.sin(angle + side)}`;
    }
    svg.append(drawn("path", { class: phases[i], d: line, "stroke-width": 2.5, fill: "none", "stroke-linecap": "round" }));
    const off = Math.max(long, 6) + 11;
    svg.append(
      drawn("text", { class: phases[i], x: size / 2 + off * Math.cos(angle), y: size / 2 + off * Math.sin(angle) + 4, "text-anchor": "middle" }, voltages[i].phase),
    );
  });
  return svg;
}

/// A dip's diagrams: before it, and of each segment. Per cent are of the highest voltage before it. A phase without a
/// phase jump has next to no voltage; it is drawn at its angle before.
function phasorFigures(course) {
  const levels = course.level_before.voltage.slice(0, voltages.length);
  const full = Math.max(...levels.map(({ voltage_v }) => voltage_v)) || 1;
  const before = levels.map(({ voltage_v, degrees: angle }) => [(100 * voltage_v) / full, angle]);
  const segments = course.segments.filter((segment) => segment.measured);
  const during = segments.map((segment) =>
    before.map(([, angle], i) => [(100 * segment.voltage[i].voltage_v) / full, angle + (segment.phase_jump[i].degrees ?? 0)]),
  );
  const reach = Math.max(100, ...during.flat().map(([percents]) => percents));
  const figures = element("div", { class: "phasors" });
  figures.append(element("figure", {}, phasorDiagram(before, null, reach), element("figcaption", {}, "before the dip")));
  segments.forEach((segment, i) => {
    figures.append(
      element("figure", {}, phasorDiagram(during[i], before, reach),
        element("figcaption", {}, `segment ${segment.number}: ${segmentWords(segment)}`)),
    );
  });
  return figures;
}

/// Events that the curves and the table of EN 50160 are for.
const judged = events.filter((event) => event.voltage_tolerance !== undefined && event.extreme.percent !== null);

/// Residual voltage over duration, with the curves and the events.
function toleranceDiagram(width) {
  const height = Math.round(Math.min(380, Math.max(250, width * 0.5)));
  const frame = { left: 44, right: width - 8, top: 10, bottom: height - 42 };
  const [shortest, longest] = [1e-3, 100];
  const x = (seconds) => {
    const share = Math.log(Math.min(Math.max(seconds, shortest), longest) / shortest) / Math.log(longest / shortest);
    return frame.left + share * (frame.right - frame.left);
  };
  const y = (percents) => frame.bottom - (Math.min(Math.max(percents, 0), 100) / 100) * (frame.bottom - frame.top);
  const svg = drawn("svg", { width, height, role: "img", "aria-label": "Events on the ITIC and SEMI F47 curves" });
  const text = (words, at, attributes = {}) => svg.append(drawn("text", { x: at[0], y: at[1], ...attributes }, words));
  for (let tick = 0; tick <= 100; tick += 20) {
    svg.append(drawn("path", { class: "grid", d: `M${frame.left} ${y(tick)}H${frame.right}` }));
    text(String(tick), [frame.left - 6, y(tick) + 4], { "text-anchor": "end" });
  }
  const names = { 0.001: "1 ms", 0.01: "10 ms", 0.1: "0.1 s", 1: "1 s", 10: "10 s", 100: "100 s" };
  for (const [tick, name] of Object.entries(names)) {
    svg.append(drawn("path", { class: "grid", d: `M${x(+tick)} ${frame.top}V${frame.bottom}` }));
    const anchor = +tick === longest ? "end" : "middle";
    text(name, [x(+tick), frame.bottom + 16], { "text-anchor": anchor });
  }
  svg.append(drawn("rect", { class: "frame", x: frame.left, y: frame.top, width: frame.right - frame.left, height: frame.bottom - frame.top }));
  text("residual voltage (%)", [0, 0], { transform: `translate(12 ${(frame.top + frame.bottom) / 2}) rotate(-90)`, "text-anchor": "middle" });
  text("duration", [(frame.left + frame.right) / 2, height - 8], { "text-anchor": "middle" });
  for (const curve_ of samples.tolerance) {
    let line = "";
    let from = curve_.from_s;
    for (const [until, percents] of curve_.steps) {
      line += `${line ? "L" : "M"}${x(from)} ${y(percents)}H${x(until ?? longest)}`;
      from = until;
    }
    svg.append(drawn("path", { class: curve_.code, d: line }));
  }
  // Each curve's name stands beneath a step that is the curve's own.
  for (const [curve_, step] of [[samples.tolerance[0], 2], [samples.tolerance[1], 0]]) {
    const from = step === 0 ? curve_.from_s : curve_.steps[step - 1][0];
    const [until, percents] = curve_.steps[step];
    text(curve_.name, [(x(from) + x(until)) / 2, y(percents) + 15], { class: curve_.code, "text-anchor": "middle" });
  }
  for (const event of judged) {
    const at = [x(lasted(event)), y(event.extreme.percent)];
    if (event.duration_s === null) {
      svg.append(drawn("path", { class: "event", d: `M${at[0] + 8} ${at[1] - 6}l9 6l-9 6Z` }));
    }
    svg.append(
      drawn("circle", { class: "event", cx: at[0], cy: at[1], r: 8, "data-event": event.number },
        drawn("title", {}, `${nameOf(event)}: ${eventWords(event)}`)),
    );
    text(String(event.number), [at[0], at[1] + 4], { class: "number" });
  }
  return svg;
}

function drawTolerance() {
  document.getElementById("judged-by").textContent = referenceName;
  const place = document.getElementById("curves");
  place.replaceChildren(toleranceDiagram(Math.max(Math.min(place.clientWidth, 760), 200)));
}
