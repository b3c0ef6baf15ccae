// Keeps the view in the address: "#event-2&t=0.21,0.62" is the second event and the part from 0.21 s to 0.62 s.

const address = {
  pending: 0,
  ready: false, // before the first view is shown, the address is read and not written

  /// Returns the event and the times of an address: { event, times }, with null for what it lacks.
  read(hash) {
    const number = hash.match(/event-(\d+)/)?.[1];
    const times = hash.match(/[#&]t=(-?[\d.]+),(-?[\d.]+)/)?.slice(1).map(Number) ?? null;
    return {
      event: events[number - 1] ?? null,
      times: times !== null && times.every(Number.isFinite) && times[1] > times[0] ? times : null,
    };
  },

  /// Shows what the address says; returns false if it says nothing.
  show() {
    const { event, times } = this.read(decodeURIComponent(location.hash));
    if (event !== null) charts.showEvent(event);
    if (times !== null) charts.show(...times);
    return event !== null || times !== null;
  },

  /// Writes the view into the address, after it has come to rest because browsers limit how often it may change.
  follow() {
    if (!this.ready) return;
    clearTimeout(this.pending);
    this.pending = setTimeout(() => history.replaceState(null, "", this.words()), 200);
  },

  words() {
    const digits = (seconds) => String(+seconds.toFixed(6));
    const event = charts.event === null ? "" : `event-${charts.event.number}&`;
    return `#${event}t=${charts.shown.map(digits).join(",")}`;
  },
};

addEventListener("hashchange", () => address.show());
