// Draws the digital channels that change as bars below the charts, over the same time axis.

/// Returns the stretches of time in which a channel is 1.
function onTimes({ first_state: first, changes: all }) {
  const bounds = first ? [recordStart] : [];
  let state = first;
  for (const change of all) {
    if (change.state === state) continue;
    state = change.state;
    bounds.push(change.time_s);
  }
  if (state) bounds.push(recordEnd);
  const times = [];
  for (let i = 0; i + 1 < bounds.length; i += 2) times.push([bounds[i], bounds[i + 1]]);
  return times;
}

/// Draws them under a plot, which gives the scale of the time axis. They are hidden together with the currents.
function drawDigitals(plot, from, to) {
  const place = document.getElementById("digitals");
  if (!charts.withOthers || digitals.length === 0) {
    place.replaceChildren();
    return;
  }
  const left = plot.bbox.left / devicePixelRatio;
  const width = plot.bbox.width / devicePixelRatio;
  const across = (seconds) => left + ((Math.min(Math.max(seconds, from), to) - from) / (to - from)) * width;
  const row = 18;
  const svg = drawn("svg", { width: left + width, height: digitals.length * row, role: "img", "aria-label": "Digital channels" });
  digitals.forEach((channel, i) => {
    const middle = (i + 0.5) * row;
    svg.append(drawn("path", { class: "off", d: `M${left} ${middle}H${left + width}` }));
    for (const [begin, end] of onTimes(channel)) {
      if (end < from || begin > to) continue;
      svg.append(drawn("rect", { class: "on", x: across(begin), y: middle - 4, width: Math.max(across(end) - across(begin), 1), height: 8 }));
    }
    const name = drawn("text", { x: left + 4, y: middle + 4 });
    name.textContent = endCut(channel.name || `digital channel ${channel.number}`, 80);
    svg.append(name);
  });
  place.replaceChildren(svg);
}
