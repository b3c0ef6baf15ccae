// Puts the page together, and again where width, colours or paper change.

function width() {
  return document.getElementById("plots").clientWidth;
}

function layOut(across = width()) {
  overview.build(across);
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
if (samples.worst !== null && !found.library) charts.showEvent(events[samples.worst]);
addGestures();

let laidOutFor = width();
new ResizeObserver(() => {
  if (width() === laidOutFor || document.documentElement.classList.contains("printing")) return;
  laidOutFor = width();
  layOut();
}).observe(document.getElementById("plots"));
matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => layOut());

// Paper is white, and A4 is 182 mm wide within its margins.
addEventListener("beforeprint", () => {
  document.documentElement.classList.add("printing");
  for (const values of document.querySelectorAll("details:not([open])")) {
    values.open = true;
    values.dataset.folded = "";
  }
  layOut(Math.min(width(), 680));
  charts.draw();
});
addEventListener("afterprint", () => {
  document.documentElement.classList.remove("printing");
  for (const values of document.querySelectorAll("details[data-folded]")) {
    values.open = false;
    delete values.dataset.folded;
  }
  layOut();
});
