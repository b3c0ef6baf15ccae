// Wheel, keys, buttons and fingers that move and zoom the charts.

/// With more events than this they are chosen from a list.
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
  tools.append(element("output", { id: "range" }));
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
  // Without Ctrl the wheel scrolls the page. A trackpad's pinch comes as wheel with Ctrl.
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
  area.addEventListener("keydown", (event) => {
    const action = {
      ArrowLeft: () => charts.move(-1 / 4),
      ArrowRight: () => charts.move(1 / 4),
      "+": () => charts.zoom(1 / 2),
      "=": () => charts.zoom(1 / 2),
      "-": () => charts.zoom(2),
      Home: () => charts.showAll(),
    }[event.key];
    if (!action || event.ctrlKey || event.metaKey) return;
    action();
    event.preventDefault();
  });

  // Shift and drag move; uPlot's own drag selects, so it must not see these.
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
}
