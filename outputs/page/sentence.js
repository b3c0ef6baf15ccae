// Sums an event up in a sentence, for reports and mails.

/// "Dip 1 in a.cfg on 2000-01-01 at 00:00:00.2636: residual voltage 29.1 % of the pre-event voltage (18.19 kV in A) for
/// 307.7 ms; phases AC; type E (AC), B (A); trips: ITIC."
function summarySentence(event) {
  const clock = clockAt(event.start.time_s);
  const day = found.record.start_time.match(/^(.*?)[,T\s]*\d{1,2}:/)?.[1];
  const when = !event.start.known ? "on when the record begins" : clock === null
    ? `${time(event.start.time_s)} after the beginning of the record`
    : `${day ? `on ${day} ` : ""}at ${clock.clock}${clock.day === null ? " (the day after)" : ""}`;
  const level = event.extreme ?? event.delta_max;
  const share = level.percent === null ? "" : ` of the ${referenceName}`;
  const where = event.extreme ? ` (${volts(level.voltage_v)} in ${event.extreme.phase})` : ` (${volts(level.voltage_v)})`;
  const parts = [`${nameOf(event)} in ${endCut(found.record.file, 200)}, ${when}: ${extentWords(event)}${share}${where} for ${lastingWords(event)}`];
  if (event.phases) parts.push(`phases ${endCut(event.phases, 200)}`);
  if (typeWords(event)) parts.push(`type ${typeWords(event)}`);
  for (const [[, word], names] of verdictsByOutcome(event)) parts.push(`${word}: ${names.join(", ")}`);
  return `${parts.join("; ").replaceAll(space, " ")}.`;
}

/// Returns a sentence for each event, or for the one that was chosen.
function summaryText() {
  if (events.length === 0) return `No dips, swells, interruptions or rapid voltage changes in ${endCut(found.record.file, 200)}.`;
  return (charts.event === null ? events : [charts.event]).map(summarySentence).join("\n");
}
