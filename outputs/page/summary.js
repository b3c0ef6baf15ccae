// The events at a glance: a card each, or a table that can be sorted where there are many.

/// With more events than this there is a table.
const mostCards = 3;

function whenWords(event) {
  const at = clockAt(event.start.time_s);
  const since = `${time(event.start.time_s)} of the record`;
  if (!event.start.known) return "on when the record begins";
  return at === null ? since : `${at.clock} (${since})`;
}

/// The link that leads to an event's tables and shows it in the charts.
function linkTo(event) {
  const link = element("a", { href: `#event-${event.number}` }, nameOf(event));
  link.addEventListener("click", () => charts.showEvent(event));
  return link;
}

function card(event) {
  const fact = (name, words) => (words ? [element("dt", {}, name), element("dd", {}, words)] : []);
  const level = event.kind === "rapid_voltage_change" ? event.delta_max : event.extreme;
  const name = { swell: "highest", rapid_voltage_change: "largest change" }[event.kind] ?? "residual";
  const show = element("button", { type: "button" }, "Show");
  show.addEventListener("click", () => charts.showEvent(event));
  return element("li", { class: `card ${event.kind}` },
    element("h2", {}, linkTo(event)),
    element("p", { class: "figure" },
      element("strong", {}, level.percent === null ? volts(level.voltage_v) : percent(level.percent)),
      ` of the ${referenceName}, ${volts(event.reference.voltage_v)}`),
    element("dl", {},
      ...fact("Begins", whenWords(event)),
      ...fact("Duration", lastingWords(event)),
      ...fact("Voltage", `${name} ${volts(level.voltage_v)}${event.extreme ? ` in ${event.extreme.phase}` : ""}`),
      ...fact("Phases", event.phases),
      ...fact("Type", typeWords(event))),
    show);
}

/// The columns of the table: a name, the words of a cell, and the value that it is sorted by.
const columns = [
  ["event", (event) => linkTo(event), (event) => event.number],
  ["begins", (event) => whenWords(event), (event) => event.start.time_s],
  ["duration", (event) => lastingWords(event), (event) => lasted(event)],
  ["voltage", (event) => extentWords(event), (event) => (event.extreme ?? event.delta_max).percent ?? 0],
  ["phases", (event) => event.phases, (event) => event.phases],
  ["type", (event) => typeWords(event), (event) => typeWords(event)],
];

function eventTable() {
  const body = element("tbody");
  const heads = columns.map(([name, , key]) => {
    const button = element("button", { type: "button" }, name);
    const head = element("th", { scope: "col" }, button);
    button.addEventListener("click", () => sort(head, key));
    return head;
  });
  const fill = (list) =>
    body.replaceChildren(...list.map((event) =>
      element("tr", { class: event.kind }, ...columns.map(([, words]) => element("td", {}, words(event))))));
  const sort = (head, key) => {
    const down = head.getAttribute("aria-sort") === "ascending";
    for (const other of heads) other.removeAttribute("aria-sort");
    head.setAttribute("aria-sort", down ? "descending" : "ascending");
    const order = (one, other) => (key(one) < key(other) ? -1 : key(one) > key(other) ? 1 : one.number - other.number);
    fill([...events].sort((one, other) => (down ? order(other, one) : order(one, other))));
  };
  fill(events);
  return element("table", { id: "events-table" }, element("thead", {}, element("tr", {}, ...heads)), body);
}

function addSummary() {
  document.getElementById("file").textContent = found.record.file;
  const place = document.getElementById("summary");
  if (found.library) {
    place.append(element("p", {}, "This analysis has the results of the embedded library only; they are in its document."));
  } else if (events.length === 0) {
    place.append(element("p", { class: "none" }, "No dips, swells, interruptions or rapid voltage changes."));
  } else if (events.length <= mostCards) {
    place.append(element("ol", { class: "cards" }, ...events.map(card)));
  } else {
    place.append(element("div", { class: "wide many" }, eventTable()));
  }
}
