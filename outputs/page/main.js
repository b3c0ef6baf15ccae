// Builds the page, and builds it again when the width, the colours or the paper change.

function width() {
  return document.getElementById("plots").clientWidth;
}

function layOut(across = width()) {
  overview.build(Math.max(across, Math.min(document.getElementById("overview").clientWidth, charts.most)));
  charts.build(across);
  drawTolerance();
}

addSummary();
legend();
addTools();
addEvents();
addRecord();
addEn50160();
layOut();
if (!address.show() && samples.worst !== null && !found.library) charts.showEvent(events[samples.worst]);
address.ready = true;
addGestures();

let laidOutFor = width();
new ResizeObserver(() => {
  if (width() === laidOutFor || document.documentElement.classList.contains("printing")) return;
  laidOutFor = width();
  layOut();
}).observe(document.getElementById("plots"));
matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => layOut());

// Keys of the whole page, unless something is written or chosen.
addEventListener("keydown", (event) => {
  if (event.target.closest("input, select, textarea, #overview, #plots")) return;
  pressed(event, { n: () => charts.nextEvent(1), p: () => charts.nextEvent(-1) });
});

const paperWidth = 680; // pixels
/// Paper has no more rows of the table of events than this.
const printedRows = 20;

/// Marks what is printed: the event that was chosen, or else the worst one, and the first rows of a long table, so that
/// any number of events takes two pages.
function choosePrinted() {
  const number = charts.event?.number ?? (samples.worst === null ? null : samples.worst + 1);
  for (const section of document.querySelectorAll("section.event")) section.classList.toggle("printed", section.id === `event-${number}`);
  if (number !== null) fillEvent(document.getElementById(`event-${number}`), events[number - 1]);
  const rows = [...document.querySelectorAll("#events-table tbody tr")];
  rows.forEach((row, i) => row.classList.toggle("unprinted", i >= printedRows));
  document.getElementById("unprinted").textContent =
    rows.length > printedRows ? `${rows.length - printedRows} more events are in the page and in the document of the analysis.` : "";
}

// Paper is white, and A4 is 182 mm wide within its margins.
addEventListener("beforeprint", () => {
  document.documentElement.classList.add("printing");
  choosePrinted();
  charts.most = paperWidth;
  layOut(Math.min(width(), paperWidth));
  charts.draw();
});
addEventListener("afterprint", () => {
  document.documentElement.classList.remove("printing");
  charts.most = Infinity;
  layOut();
});
