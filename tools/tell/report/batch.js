"use strict";
// A click on a head sorts by its column, another one the other way round. What has no value comes last.
const table = document.getElementById("pictures");
const heads = [...table.tHead.rows[0].cells];

function keyOf(row, column) {
  const value = row.cells[column].dataset.key;
  return value === undefined || value === "" ? null : value;
}

function compare(a, b) {
  const numbers = Number(a) - Number(b);
  return Number.isNaN(numbers) ? a.localeCompare(b, undefined, { numeric: true }) : numbers;
}

function sortBy(column) {
  const down = heads[column].getAttribute("aria-sort") === "ascending";
  const rows = [...table.tBodies[0].rows];
  rows.sort((a, b) => {
    const x = keyOf(a, column), y = keyOf(b, column);
    if (x === null || y === null) return (x === null) - (y === null);
    return down ? compare(y, x) : compare(x, y);
  });
  table.tBodies[0].append(...rows);
  heads.forEach((head) => head.removeAttribute("aria-sort"));
  heads[column].setAttribute("aria-sort", down ? "descending" : "ascending");
}

heads.forEach((head, column) => {
  if (head.textContent === "before and after") return;
  const button = document.createElement("button");
  button.type = "button";
  button.textContent = head.textContent;
  button.addEventListener("click", () => sortBy(column));
  head.replaceChildren(button);
});
