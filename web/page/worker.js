// The worker of the page: analyses one record after another, so that the page can be used in the meantime.
"use strict";

let starting = null; // gives the analysis once its module is compiled, and null if the browser cannot compile it

async function started(packed) {
  try {
    return new Analyser(await WebAssembly.compile(unpacked(packed)));
  } catch {
    return null;
  }
}

onmessage = async ({ data: job }) => {
  if (job.packed) {
    starting = started(job.packed);
    return;
  }
  const analyser = await starting;
  if (analyser === null) {
    const message = "This browser is too old for the page, or allows it no WebAssembly. Use a current one, or the dipx command.";
    postMessage({ id: job.id, status: statuses.failed, message, members: "" });
    return;
  }
  const bytes = new Uint8Array(job.bytes);
  const data = new Uint8Array(job.data ?? 0);
  postMessage({ id: job.id, ...analyser.run(job.work, job.request, bytes, data) });
};
