// Shows an overview of the events: a card for each, or a table that can be sorted if there are many.

/// If there are more events than this, a table is shown.
const mostCards = 4;

function whenWords(event) {
  const at = clockAt(event.start.time_s);
  const since = `${time(event.start.time_s)} of the record`;
  if (!event.start.known) return "on when the record begins";
  return at === null ? since : `${at.clock} (${time(event.start.time_s)})`;
}

/// The link that leads to an event's tables and shows it in the charts.
function linkTo(event) {
  const link = element("a", { href: `#event-${event.number}` }, nameOf(event));
  link.addEventListener("click", () => charts.showEvent(event));
  return link;
}

/// The outcomes of verdicts from the worst on: the code in the document, the word, the colour and a sign that is clear
/// without colour.
const outcomes = [
  ["trips", "trips", "bad", "✕"],
  ["too_close", "too close to tell", "unsure", "≈"],
  ["rides_through", "rides through", "good", "✓"],
  ["not_covered", "not covered", "none", "–"],
];

/// Returns the verdicts of an event by outcome, the worst first: [[outcome, names of the curves], ...].
function verdictsByOutcome(event) {
  return outcomes
    .map((outcome) => [outcome, (event.verdicts ?? []).filter(({ verdict }) => verdict === outcome[0]).map(({ name }) => name)])
    .filter(([, names]) => names.length > 0);
}

function verdictWords([[, word, colour, sign], names]) {
  const words = `${word[0].toUpperCase()}${word.slice(1)}: ${names.join(", ")}`;
  return element("span", { class: `verdict ${colour}` }, element("span", { class: "sign", "aria-hidden": "true" }, sign), words);
}

/// "trips 5, rides through 1", with the sign of the worst.
function verdictCounts(event) {
  const groups = verdictsByOutcome(event);
  if (groups.length === 0) return "";
  const [[[, , colour, sign]]] = groups;
  return element("span", { class: `verdict ${colour}` }, element("span", { class: "sign", "aria-hidden": "true" }, sign),
    groups.map(([[, word], names]) => `${word} ${names.length}`).join(", "));
}

/// Sorts by the worst outcome, and then by the number of curves that have it.
function verdictKey(event) {
  const [worst] = verdictsByOutcome(event);
  return worst === undefined ? 1e6 : outcomes.indexOf(worst[0]) * 1e3 - worst[1].length;
}

function card(event) {
  const fact = (name, words) => (words ? [element("dt", {}, name), element("dd", {}, words)] : []);
  const level = event.kind === "rapid_voltage_change" ? event.delta_max : event.extreme;
  const name = { swell: "highest", rapid_voltage_change: "largest change" }[event.kind] ?? "residual";
  const show = element("button", { type: "button", "aria-label": `Show ${nameOf(event)} in the charts` }, "Show");
  show.addEventListener("click", () => charts.showEvent(event));
  const groups = verdictsByOutcome(event);
  return element("li", { class: `card ${groups[0]?.[0][2] ?? "none"}` },
    element("div", { class: "head" }, element("h2", {}, linkTo(event)), show),
    element("p", { class: "figure" },
      element("strong", {}, level.percent === null ? volts(level.voltage_v) : percent(level.percent)),
      ` of the ${referenceName}, ${volts(event.reference.voltage_v)}`),
    element("dl", {},
      ...fact("Begins", whenWords(event)),
      ...fact("Duration", lastingWords(event)),
      ...fact("Voltage", `${name} ${volts(level.voltage_v)}${event.extreme ? ` in ${event.extreme.phase}` : ""}`),
      ...fact("Phases", event.phases),
      ...fact("Type", typeWords(event)),
      ...fact("Cause", event.origin?.side)),
    ...(groups.length > 0 ? [element("ul", { class: "verdicts" }, ...groups.map((group) => element("li", {}, verdictWords(group))))] : []));
}

/// The columns of the table: a name, the words of a cell, and the value that it is sorted by.
const columns = [
  ["event", (event) => linkTo(event), (event) => event.number],
  ["begins", (event) => whenWords(event), (event) => event.start.time_s],
  ["duration", (event) => lastingWords(event), (event) => lasted(event)],
  ["voltage", (event) => extentWords(event), (event) => (event.extreme ?? event.delta_max).percent ?? 0],
  ["phases", (event) => event.phases, (event) => event.phases],
  ["type", (event) => typeWords(event), (event) => typeWords(event)],
  ["verdicts", (event) => verdictCounts(event), (event) => verdictKey(event)],
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
    place.append(element("div", { class: "wide many", tabindex: "0", role: "region", "aria-label": "Events" }, eventTable()));
  }
}
