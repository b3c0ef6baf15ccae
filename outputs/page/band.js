// Draws the events in view as bands under the RMS, over the same time axis: the segments of dips, the transitions between
// them, and the other events. A line marks an abrupt transition; a slope marks a gradual one.

const bandHeight = 22;

/// Returns the events between two times in rows, so that those of a row do not overlap.
function bandRows(from, to) {
  const end = (event) => event.end.time_s ?? recordEnd;
  const rows = [];
  for (const event of events) {
    if (end(event) < from || event.start.time_s > to) continue;
    const row = rows.find((one) => end(one.at(-1)) <= event.start.time_s);
    if (row) row.push(event);
    else rows.push([event]);
  }
  return rows;
}

/// Draws under a plot, which gives the scale of the time axis.
function drawBand(plot, from, to) {
  const place = document.getElementById("band");
  const rows = bandRows(from, to);
  const left = plot.bbox.left / devicePixelRatio;
  const width = plot.bbox.width / devicePixelRatio;
  const across = (seconds) => left + ((Math.min(Math.max(seconds, from), to) - from) / (to - from)) * width;
  const words = rows.flat().map((event) => `${nameOf(event)}: ${eventWords(event)}`).join("; ");
  const svg = drawn("svg", { width: left + width, height: Math.max(rows.length * (bandHeight + 4), 1), role: "img", "aria-label": words || "No events in view" });
  rows.slice(0, 6).forEach((row, i) => {
    for (const event of row) addToBand(svg, event, i * (bandHeight + 4) + 2, across);
  });
  place.replaceChildren(svg);
}

function addToBand(svg, event, top, across) {
  const end = event.end.time_s ?? recordEnd;
  if (!event.course) {
    bandPart(svg, `span ${event.kind}`, across(event.start.time_s), across(end), top, [`${nameOf(event)}: ${extentWords(event)}`, nameOf(event), String(event.number)]);
    return;
  }
  bandPart(svg, "outline", across(event.start.time_s), across(end), top, []);
  for (const segment of event.course.segments) {
    const number = `${event.number}.${segment.number}`;
    const share = lowest(segment);
    const level = share === null ? "" : ` ${percent(share)}`;
    const type = segment.type ? `, type${space}${segment.type.letter}` : "";
    bandPart(svg, segment.gradual ? "segment slope" : "segment", across(segment.start_s), across(segment.end_s ?? recordEnd), top,
      [`${number}:${level}${type}${segment.gradual ? ", gradual" : ""}`, `${number}:${level}`, number]);
  }
  for (const transition of event.course.transitions) addTransition(svg, transition, top, across);
}

/// A part of a row with the first of several texts that fits.
function bandPart(svg, kind, left, right, top, texts) {
  if (right - left < 0.5) return;
  svg.append(drawn("rect", { class: kind, x: left, y: top, width: right - left, height: bandHeight }));
  const fitting = texts.find((text) => text.length * 6.6 + 6 < right - left);
  if (fitting) svg.append(drawn("text", { x: (left + right) / 2, y: top + bandHeight / 2 + 4, "text-anchor": "middle" }, fitting));
}

function addTransition(svg, { start_s, end_s, gradual, phases: of }, top, across) {
  const [left, right] = [across(start_s), across(end_s)];
  if (right <= left && (right <= across(-Infinity) || left >= across(Infinity))) return;
  const words = `${gradual ? "gradual" : "abrupt"} transition${of ? ` of ${of}` : ""}`;
  const shape = gradual
    ? { class: "gradual", d: `M${left} ${top + bandHeight}L${right} ${top}V${top + bandHeight}Z` }
    : { class: "abrupt", d: `M${left} ${top - 2}V${top + bandHeight + 2}M${left - 4} ${top - 2}h8` };
  svg.append(drawn("path", shape, drawn("title", {}, words)));
}
