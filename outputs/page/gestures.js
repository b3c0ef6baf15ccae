// Moves and zooms the charts with wheel, keys, buttons and fingers.

/// If there are more events than this, the user chooses them from a list.
const mostButtons = 8;

function addTools() {
  const tools = document.getElementById("tools");
  const button = (name, action, title = name) => {
    const made = element("button", { type: "button", title }, name);
    made.addEventListener("click", action);
    tools.append(made);
  };
  button("Whole record", () => charts.showAll());
  if (events.length <= mostButtons) {
    for (const event of events) button(nameOf(event), () => charts.showEvent(event));
  } else {
    const choice = element("select", { "aria-label": "Event" }, element("option", { value: "" }, "Event …"));
    for (const event of events) choice.append(element("option", { value: event.number }, `${nameOf(event)}: ${eventWords(event)}`));
    choice.addEventListener("change", () => choice.value && charts.showEvent(events[choice.value - 1]));
    tools.append(choice);
  }
  button("+", () => charts.zoom(1 / 2), "Zoom in");
  button("−", () => charts.zoom(2), "Zoom out");
  button("◀", () => charts.move(-1 / 4), "Earlier");
  button("▶", () => charts.move(1 / 4), "Later");
  derived.addTool(tools);
  addCurrentsTool(tools);
  addSaving(tools);
  tools.append(element("output", { id: "range" }));
}

/// Offers the currents and the digital channels, if the record has them.
function addCurrentsTool(tools) {
  if (currents === null && digitals.length === 0) return;
  const words = currents === null ? "Digital channels" : digitals.length === 0 ? "Currents" : "Currents and digital channels";
  const box = element("input", { type: "checkbox", id: "with-currents" });
  box.addEventListener("change", () => charts.toggleOthers(box.checked));
  tools.append(element("label", {}, box, words));
}

/// Does what a key means, unless it is pressed together with Ctrl or its like.
function pressed(event, actions) {
  const action = actions[event.key];
  if (!action || event.ctrlKey || event.metaKey || event.altKey) return;
  action();
  event.preventDefault();
}

/// The keys of the view; the arrows move it by a share of its length.
function viewKeys(share) {
  return {
    ArrowLeft: () => charts.move(-share),
    ArrowRight: () => charts.move(share),
    PageUp: () => charts.move(-1 / 2),
    PageDown: () => charts.move(1 / 2),
    "+": () => charts.zoom(1 / 2),
    "=": () => charts.zoom(1 / 2),
    "-": () => charts.zoom(2),
    Home: () => charts.showAll(),
    n: () => charts.nextEvent(1),
    p: () => charts.nextEvent(-1),
  };
}

function addGestures() {
  const area = document.getElementById("plots");
  const over = () => charts.plots[0].over.getBoundingClientRect();
  const timeAt = (x) => {
    const { left, width } = over();
    const [from, to] = charts.shown;
    return from + ((x - left) / width) * (to - from);
  };

  area.addEventListener("dblclick", () => charts.showAll());
  // Without Ctrl the wheel scrolls the page. A pinch on a trackpad arrives as a wheel event with Ctrl.
  area.addEventListener(
    "wheel",
    (event) => {
      if (event.ctrlKey || event.metaKey) {
        charts.zoom(Math.exp(event.deltaY / 300), timeAt(event.clientX));
      } else if (event.shiftKey || Math.abs(event.deltaX) > Math.abs(event.deltaY)) {
        charts.move((event.deltaX || event.deltaY) / over().width);
      } else {
        return;
      }
      event.preventDefault();
    },
    { passive: false },
  );
  area.addEventListener("keydown", (event) => pressed(event, { ...viewKeys(1 / 4), ...cursor.keys(event.shiftKey) }));

  // Dragging with Shift moves the charts. uPlot must not see these events, because it would select instead.
  let last = null;
  area.addEventListener(
    "mousedown",
    (event) => {
      if (!event.shiftKey) return;
      last = event.clientX;
      event.stopPropagation();
      event.preventDefault();
    },
    { capture: true },
  );
  addEventListener("mousemove", (event) => {
    if (last === null) return;
    charts.move((last - event.clientX) / over().width);
    last = event.clientX;
  });
  addEventListener("mouseup", () => (last = null));

  const fingers = new Map();
  area.addEventListener("pointerdown", (event) => {
    if (event.pointerType === "touch") fingers.set(event.pointerId, event.clientX);
  });
  area.addEventListener("pointermove", (event) => {
    if (!fingers.has(event.pointerId)) return;
    const before = [...fingers.values()];
    fingers.set(event.pointerId, event.clientX);
    const now = [...fingers.values()];
    if (now.length === 1) {
      charts.move((before[0] - now[0]) / over().width);
    } else if (now.length === 2) {
      const apart = (pair) => Math.max(Math.abs(pair[0] - pair[1]), 10);
      charts.zoom(apart(before) / apart(now), timeAt((now[0] + now[1]) / 2));
    }
  });
  for (const end of ["pointerup", "pointercancel"]) {
    addEventListener(end, (event) => fingers.delete(event.pointerId));
  }
  overview.addGestures();
  cursor.addTools();
}
