"use strict";
for (const tools of document.querySelectorAll(".tools")) tools.hidden = false;

// Host names can wrap after each dot.
for (const host of document.querySelectorAll("tbody th")) {
  const parts = host.textContent.split(/(?<=\.)/);
  host.replaceChildren(...parts.flatMap((part) => [part, document.createElement("wbr")]));
}

// Filters: a row is shown if it contains all words of the filter.
for (const input of document.querySelectorAll("input[data-table]")) {
  const rows = [...document.getElementById(input.dataset.table).tBodies[0].rows];
  const texts = rows.map((row) => row.textContent.toLowerCase());
  const count = input.parentElement.querySelector("output");
  const filter = () => {
    const words = input.value.toLowerCase().split(/\s+/).filter(Boolean);
    let shown = 0;
    rows.forEach((row, index) => {
      row.hidden = !words.every((word) => texts[index].includes(word));
      shown += row.hidden ? 0 : 1;
    });
    count.textContent = shown + " of " + rows.length;
  };
  input.addEventListener("input", filter);
  filter();
}

// Sorting: the heading of each column becomes a button.
const collator = new Intl.Collator("en", { numeric: true });
for (const table of document.querySelectorAll("table")) {
  const headings = [...table.tHead.rows[0].cells];
  const keyOf = (row, column) => {
    const cell = row.cells[column];
    return cell.dataset.sort ?? cell.textContent;
  };
  headings.forEach((heading, column) => {
    const button = document.createElement("button");
    button.type = "button";
    button.textContent = heading.textContent;
    heading.replaceChildren(button);
    button.addEventListener("click", () => {
      const descending = heading.getAttribute("aria-sort") === "ascending";
      for (const other of headings) other.removeAttribute("aria-sort");
      heading.setAttribute("aria-sort", descending ? "descending" : "ascending");
      const numeric = heading.dataset.numeric !== undefined;
      const keyed = [...table.tBodies[0].rows].map((row) => [keyOf(row, column), row]);
      keyed.sort(([a], [b]) => (numeric ? a - b : collator.compare(a, b)) * (descending ? -1 : 1));
      table.tBodies[0].append(...keyed.map(([, row]) => row));
    });
  });
}
