// The worker of the page: analyses one record after another, so that the page can be used in the meantime.
"use strict";

let starting = null; // gives the analysis once its module is compiled

onmessage = async ({ data: job }) => {
  if (job.module) {
    starting = WebAssembly.compile(job.module).then((compiled) => new Analyser(compiled));
    return;
  }
  const analyser = await starting;
  const bytes = new Uint8Array(job.bytes);
  const data = new Uint8Array(job.data ?? 0);
  postMessage({ id: job.id, ...analyser.run(job.work, job.request, bytes, data) });
};
