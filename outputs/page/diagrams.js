// Draws phasors before and during a dip, and the events on the voltage-tolerance curves.

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

/// Draws the diagrams of a dip: one before it, and one for each segment. Percentages refer to the highest voltage
/// before it. A phase without a phase jump has almost no voltage; it is drawn at its angle before.
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

/// Returns the events that are judged by curves, and of them those that the table of EN 50160 has.
const judged = events.filter((event) => event.voltage_tolerance !== undefined && event.extreme.percent !== null);
const swellsJudged = events.filter((event) => event.kind === "swell" && event.extreme.percent !== null && samples.tolerance.some((curve_) => curve_.for_swells));

/// Returns the events at a load beyond transformers, with the shape of their marks and the voltages that they are of.
function eventsOfLoad() {
  if (!found.at_load) return [];
  const kinds = [["phase_voltages", "square", "to neutral"], ["line_voltages", "diamond", "between phases"]];
  return kinds.flatMap(([kind, shape, words]) =>
    found.at_load[kind].events
      .filter((event) => event.duration_s !== null && event.extreme?.percent != null)
      .map((event) => ({ event, shape, words: `the load's voltages ${words}` })));
}

/// Draws a mark of a shape round a place.
function markOf(shape, [x, y], attributes, ...children) {
  if (shape === "circle") return drawn("circle", { ...attributes, cx: x, cy: y, r: 8 }, ...children);
  const d = shape === "square" ? `M${x - 7} ${y - 7}h14v14h-14Z` : `M${x} ${y - 10}l10 10l-10 10l-10 -10Z`;
  return drawn("path", { ...attributes, d }, ...children);
}

/// Curves differ by their dashes as well as by their colours.
const classOfCurve = (i) => `curve curve${i % 8}`;

/// Residual voltage over duration, with the curves and the events. If swells are judged, it reaches up to them.
function toleranceDiagram(width) {
  const height = Math.round(Math.min(charts.most < Infinity ? 260 : 380, Math.max(250, width * 0.5)));
  const frame = { left: 44, right: width - 8, top: 10, bottom: height - 42 };
  const [shortest, longest] = [1e-3, 100];
  const highest = swellsJudged.length > 0 ? 140 : 100;
  const x = (seconds) => {
    const share = Math.log(Math.min(Math.max(seconds, shortest), longest) / shortest) / Math.log(longest / shortest);
    return frame.left + share * (frame.right - frame.left);
  };
  const y = (percents) => frame.bottom - (Math.min(Math.max(percents, 0), highest) / highest) * (frame.bottom - frame.top);
  const label = `Events on ${samples.tolerance.length} voltage-tolerance curves`;
  const svg = drawn("svg", { width, height, role: "img", "aria-label": label });
  const text = (words, at, attributes = {}) => svg.append(drawn("text", { x: at[0], y: at[1], ...attributes }, words));
  for (let tick = 0; tick <= highest; tick += 20) {
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
  text(`${highest > 100 ? "residual or highest" : "residual"} voltage (%)`, [0, 0], { transform: `translate(12 ${(frame.top + frame.bottom) / 2}) rotate(-90)`, "text-anchor": "middle" });
  text("duration", [(frame.left + frame.right) / 2, height - 8], { "text-anchor": "middle" });
  samples.tolerance.forEach((curve_, i) => {
    let line = "";
    let from = curve_.from_s;
    for (const [until, percents] of curve_.steps) {
      line += `${line ? "L" : "M"}${x(from)} ${y(percents)}H${x(until ?? longest)}`;
      from = until;
    }
    svg.append(drawn("path", { class: classOfCurve(i), d: line }, drawn("title", {}, curve_.name)));
  });
  const mark = (shape, at, number, title, attributes) => {
    svg.append(markOf(shape, at, attributes, drawn("title", {}, title)));
    text(String(number), [at[0], at[1] + 4], { class: "number" });
  };
  for (const { event, shape, words } of eventsOfLoad()) {
    const at = [x(event.duration_s), y(event.extreme.percent)];
    const of = event.dips.length > 0 ? ` of dip ${event.dips.join(", ")}` : "";
    mark(shape, at, event.dips[0] ?? "", `${event.kind}${of} in ${words}: ${percent(event.extreme.percent)}`, { class: "at-load" });
  }
  for (const event of [...judged, ...swellsJudged]) {
    const at = [x(lasted(event)), y(event.extreme.percent)];
    if (event.duration_s === null) {
      svg.append(drawn("path", { class: "event", d: `M${at[0] + 8} ${at[1] - 6}l9 6l-9 6Z` }));
    }
    mark("circle", at, event.number, `${nameOf(event)}: ${eventWords(event)}`, { class: "event", "data-event": event.number });
  }
  return svg;
}

/// Lists the curves with their lines, and the marks if a load has some of its own.
function toleranceLegend() {
  const list = element("ul", { class: "legend" });
  const add = (sample, words) => list.append(element("li", {}, drawn("svg", { width: 36, height: 22, "aria-hidden": "true" }, sample), words));
  samples.tolerance.forEach((curve_, i) => add(drawn("path", { class: classOfCurve(i), d: "M2 11H34" }), curve_.name));
  const marks = new Map(eventsOfLoad().map(({ shape, words }) => [shape, words]));
  if (marks.size > 0) add(markOf("circle", [18, 11], { class: "event" }), "the record's voltages");
  for (const [shape, words] of marks) add(markOf(shape, [18, 11], { class: "at-load" }), `${words}, through ${found.at_load.through.join(", ")}`);
  return list;
}

function drawTolerance() {
  document.getElementById("judged-by").textContent = referenceName;
  const place = document.getElementById("curves");
  place.replaceChildren(toleranceDiagram(Math.max(Math.min(place.clientWidth, 760), 200)), toleranceLegend());
}
