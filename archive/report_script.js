// Sorts tables by the columns whose headings are clicked, and shows the events of one site in the scatter.
for (const table of document.querySelectorAll("table.sortable")) {
  const heads = [...table.tHead.rows[0].cells];
  heads.forEach((head, column) => {
    const button = document.createElement("button");
    button.append(...head.childNodes);
    head.append(button);
    button.addEventListener("click", () => {
      const rising = head.getAttribute("aria-sort") === "descending" ||
        (!head.hasAttribute("aria-sort") && head.classList.contains("text"));
      for (const other of heads) other.removeAttribute("aria-sort");
      head.setAttribute("aria-sort", rising ? "ascending" : "descending");
      const value = row => row.cells[column].dataset.value ?? row.cells[column].textContent;
      const compare = head.classList.contains("text")
        ? (one, other) => value(one).localeCompare(value(other))
        : (one, other) => Number(value(one)) - Number(value(other));
      const rows = [...table.tBodies[0].rows].sort(compare);
      if (!rising) rows.reverse();
      table.tBodies[0].append(...rows);
    });
  });
}
const choice = document.getElementById("site");
if (choice) {
  choice.closest(".handling").hidden = false;
  choice.addEventListener("change", () => {
    for (const point of document.querySelectorAll(".points [data-site]")) {
      point.style.display = choice.value === "" || point.dataset.site === choice.value ? "" : "none";
    }
  });
}
