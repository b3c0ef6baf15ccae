// Saves what is seen: the view as SVG and PNG, its values as CSV, the whole analysis as JSON, and a summary as text.

/// Offers text or data as a file of the browser's downloads.
function download(name, content, type) {
  const link = element("a", { href: URL.createObjectURL(new Blob([content], { type })), download: name });
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 10000);
}

/// Returns the name of the record's file without folders and extension, and the view: "rte_00_0.202-0.633s".
function fileStem() {
  const name = found.record.file.split(/[/\\]/).at(-1).replace(/\.[^.]*$/, "").replace(/[^\w.-]+/g, "_").slice(0, 60);
  return `${name || "record"}_${charts.shown.map((seconds) => +seconds.toFixed(4)).join("-")}s`;
}

// --- CSV ---------------------------------------------------------------------------------------------------------------

/// A cell that no spreadsheet reads as a formula.
function csvCell(words) {
  const safe = /^[=+\-@\t\r]/.test(words) ? `'${words}` : words;
  return /[",\n\r]/.test(safe) ? `"${safe.replaceAll('"', '""')}"` : safe;
}

/// Returns the values between two times as a table: of every sample where the page holds them, and otherwise the highest
/// and the lowest of short parts.
function csvOf(from, to) {
  const curves = [[wave, "V", voltages.map(({ name, phase }) => name ?? phase)], [rms, "V RMS", voltages.map(({ name, phase }) => name ?? phase)]];
  if (currents !== null) curves.push([currents, "A", currentChannels.map(({ name }) => name)]);
  const whole = pieceOver(wave, from, to);
  const titles = curves.flatMap(([, unit, names]) =>
    names.flatMap((name) => (whole ? [`${name} (${unit})`] : [`${name} highest (${unit})`, `${name} lowest (${unit})`])));
  const lists = curves.map(([one]) => (whole ? raw(one, pieceOver(one, from, to), from, to) : mixed(one, from, to, Infinity)));
  const lines = [["t (s)", ...titles].map(csvCell).join(",")];
  lists[0][0].forEach((seconds, row) => {
    if (seconds < from || seconds > to) return;
    const values = lists.flatMap(([, ...columns_]) => columns_.map((column) => (column[row] === null ? "" : String(+column[row].toPrecision(6)))));
    lines.push([seconds.toFixed(7), ...values].join(","));
  });
  return `${lines.join("\n")}\n`;
}

// --- SVG and PNG -------------------------------------------------------------------------------------------------------

const svgText = (words) => words.replace(/[&<>"]/g, (sign) => ({ "&": "&amp;", "<": "&lt;", ">": "&gt;", '"': "&quot;" })[sign]);

/// Returns the path of a series within a plot.
function pathOf(plot, series) {
  let path = "";
  let pen = "M";
  plot.data[0].forEach((seconds, i) => {
    const value = plot.data[series][i];
    if (value === null || value === undefined) {
      pen = "M";
      return;
    }
    path += `${pen}${plot.valToPos(seconds, "x").toFixed(1)} ${plot.valToPos(value, "y").toFixed(1)}`;
    pen = "L";
  });
  return path;
}

/// Returns a plot as SVG: its grid, the names of its axes and its curves. `colours_` has the colour of each curve.
function plotSvg(plot, top, colours_, clip) {
  const [left, above, width, height] = ["left", "top", "width", "height"].map((name) => plot.bbox[name] / devicePixelRatio);
  const [across, up] = plot.axes;
  const parts = [];
  const text = (x, y, anchor, words, more = "") => parts.push(`<text x="${x}" y="${y}" text-anchor="${anchor}"${more}>${svgText(words)}</text>`);
  (across._splits ?? []).forEach((tick, i) => {
    const x = plot.valToPos(tick, "x");
    if (x < 0 || x > width) return;
    parts.push(`<path class="grid" d="M${x} 0V${height}"/>`);
    text(x, height + 16, "middle", String(across._values?.[i] ?? ""));
  });
  (up._splits ?? []).forEach((tick, i) => {
    const y = plot.valToPos(tick, "y");
    if (y < 0 || y > height) return;
    parts.push(`<path class="grid" d="M0 ${y}H${width}"/>`);
    text(-6, y + 4, "end", String(up._values?.[i] ?? ""));
  });
  text(0, 0, "middle", up.label ?? "", ` transform="translate(${-left + 14} ${height / 2}) rotate(-90)"`);
  if (across.label) text(width / 2, height + 32, "middle", across.label);
  parts.push(`<rect class="frame" width="${width}" height="${height}"/><clipPath id="${clip}"><rect width="${width}" height="${height}"/></clipPath>`);
  plot.series.slice(1).forEach((one, i) => {
    if (one.show === false) return;
    const dash = (one.dash ?? []).join(" ");
    parts.push(`<path clip-path="url(#${clip})" fill="none" stroke="${colours_[i]}" stroke-width="1.3"${dash && ` stroke-dasharray="${dash}"`} d="${pathOf(plot, i + 1)}"/>`);
  });
  return `<g transform="translate(${left} ${top + above})">${parts.join("")}</g>`;
}

/// Returns the view as a picture of its own: a line of what it shows, the legend, the plots and the band.
function viewSvg() {
  const across = charts.plots[0].width;
  const colour = charts.colour;
  let top = 46;
  const plots = charts.plots.map((plot, number) => {
    const paired = plot === charts.plots[0] || plot === charts.currentsPlot;
    const names = plot.series.slice(1).map((_, i) => ["a", "b", "c", "faint"][paired ? i >> 1 : i]);
    const made = plotSvg(plot, top, names.map(colour), `clip${number}`);
    top += plot.height + (number === 1 ? 6 + document.getElementById("band").clientHeight : 6);
    return [made, number === 1 ? top - document.getElementById("band").clientHeight : null];
  });
  const band = document.querySelector("#band svg");
  const place = plots[1][1];
  const words = charts.event === null ? endCut(found.record.file, 90) : `${endCut(found.record.file, 60)}. ${nameOf(charts.event)}: ${eventWords(charts.event)}`;
  let x = 8;
  const legend_ = voltages.map((_, i) => {
    const key = `<path d="M${x} 34h30" fill="none" stroke="${colour(phases[i])}" stroke-width="2" stroke-dasharray="${dashes[i].join(" ")}"/><text x="${x + 36}" y="38">${svgText(voltageTitle(i))}</text>`;
    x += 60 + voltageTitle(i).length * 7;
    return key;
  });
  const style = `text{font:12px system-ui,"Segoe UI",Roboto,Arial,sans-serif;fill:${colour("ink")}}.grid{stroke:${colour("line")};fill:none}.frame{stroke:${colour("ink")};fill:none}` +
    `.segment{fill:${colour("segment")};stroke:${colour("boundary")}}.outline{fill:none;stroke:${colour("boundary")};stroke-dasharray:3 3}.span{fill:${colour("change")}}.swell{fill:${colour("swell")}}` +
    `.abrupt{stroke:${colour("ink")};stroke-width:2}.gradual{fill:${colour("hatch")}}`;
  return `<svg xmlns="http://www.w3.org/2000/svg" width="${across}" height="${top}" viewBox="0 0 ${across} ${top}"><style>${style}</style>` +
    `<rect width="100%" height="100%" fill="${colour("paper")}"/><text x="8" y="18">${svgText(words)}</text>${legend_.join("")}` +
    `${plots.map(([made]) => made).join("")}<g transform="translate(0 ${place})">${band ? new XMLSerializer().serializeToString(band) : ""}</g></svg>\n`;
}

/// Returns the view as a PNG of twice the size of the screen's pixels.
async function viewPng() {
  const picture = new Image();
  const svg = viewSvg();
  picture.src = `data:image/svg+xml;charset=utf-8,${encodeURIComponent(svg)}`;
  await picture.decode();
  const canvas = element("canvas", { width: 2 * picture.width, height: 2 * picture.height });
  canvas.getContext("2d").drawImage(picture, 0, 0, canvas.width, canvas.height);
  return new Promise((done) => canvas.toBlob(done, "image/png"));
}

// --- the menu ----------------------------------------------------------------------------------------------------------

/// Copies text, or selects it in a field where the browser does not let the page copy.
async function copySummary(output) {
  const words = summaryText();
  output.value = words;
  output.hidden = false;
  try {
    await navigator.clipboard.writeText(words);
    document.getElementById("readout").textContent = "The summary is copied.";
  } catch {
    output.select();
    document.getElementById("readout").textContent = "The summary is selected; copy it with Ctrl and C.";
  }
}

function addSaving(tools) {
  const output = element("textarea", { id: "sentence", rows: "3", readonly: "", "aria-label": "Summary" });
  output.hidden = true;
  const list = element("div", { class: "menu" });
  const button = (name, action) => {
    const made = element("button", { type: "button" }, name);
    made.addEventListener("click", action);
    list.append(made);
  };
  button("Copy a summary", () => copySummary(output));
  button("View as PNG", async () => download(`${fileStem()}.png`, await viewPng(), "image/png"));
  button("View as SVG", () => download(`${fileStem()}.svg`, viewSvg(), "image/svg+xml"));
  button("Values of the view as CSV", () => download(`${fileStem()}.csv`, csvOf(...charts.shown), "text/csv"));
  button("Analysis as JSON", () => download("analysis.json", JSON.stringify(found, null, 2), "application/json"));
  list.append(output);
  tools.append(element("details", { class: "saving" }, element("summary", {}, "Save and copy"), list));
}
