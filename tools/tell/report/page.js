"use strict";
const data = JSON.parse(document.getElementById("data").textContent);
const at = (id) => document.getElementById(id);
const make = (name, text, className) => {
  const element = document.createElement(name);
  if (text !== undefined) element.textContent = text;
  if (className) element.className = className;
  return element;
};
const show = (number, digits) => Number(number).toLocaleString("en", { maximumFractionDigits: digits });

function sigma() {
  const all = data.noise_sigma.map((value) => value.toFixed(1));
  return all.every((value) => value === all[0]) ? all[0] : all.join(", ");
}

function summary() {
  const parts = [`${data.width} × ${data.height}`, data.samples];
  if (data.mode === "full") parts.push("chroma and luminance");
  if (data.mode === "chroma") parts.push("chroma only");
  if (data.noise_sigma) parts.push(`noise sigma ${sigma()}`);
  if (data.noise_measured) parts.push(`noise level ${data.noise_level.toFixed(1)}`);
  parts.push(`preset ${data.preset}`, `strength ${data.strength}`, `${show(100 * data.changed.share, 1)} % of the pixels changed`);
  if (data.changed.scale === "0 to 255") parts.push(`by ${show(data.changed.mean, 2)} of 255 on average`);
  at("summary").textContent = parts.join(" · ");
  const why = [];
  if (data.defaults_used) why.push(`The noise could not be measured, so the library worked with its defaults: ${data.defaults_reason}.`);
  if (data.noise_grain === "textured") why.push("No block of the picture is smooth. What was read may be texture, so the milder of the readings counts.");
  if (data.why_unchanged) why.push(`Nothing to see changed: ${data.why_unchanged}.`);
  if (data.note) why.push(`Note: ${data.note}.`);
  at("why").textContent = why.join(" ");
  at("why").hidden = why.length === 0;
  at("versions").textContent = Object.entries(data.versions).map(([library, version]) => `${library} ${version}`).join(" · ");
}

// Windows that look at the same place.
function together(windows) {
  for (const box of windows) {
    box.addEventListener("scroll", () => {
      for (const other of windows) {
        if (other.scrollLeft !== box.scrollLeft) other.scrollLeft = box.scrollLeft;
        if (other.scrollTop !== box.scrollTop) other.scrollTop = box.scrollTop;
      }
    });
  }
}

function slider() {
  const box = at("slider"), position = at("position");
  position.hidden = false;
  document.querySelector(".handle").hidden = false;
  const move = () => {
    box.style.setProperty("--at", `${position.value}%`);
    position.setAttribute("aria-valuetext", `${position.value} % before, ${100 - position.value} % after`);
  };
  position.addEventListener("input", move);
  // The arrow keys move by 1; with the page keys, or Shift, by 10.
  position.addEventListener("keydown", (event) => {
    const up = ["ArrowRight", "ArrowUp"].includes(event.key), down = ["ArrowLeft", "ArrowDown"].includes(event.key);
    const step = event.key === "PageUp" || (event.shiftKey && up) ? 10 : event.key === "PageDown" || (event.shiftKey && down) ? -10 : 0;
    if (step === 0) return;
    event.preventDefault();
    position.value = Number(position.value) + step;
    move();
  });
  move();
}

// The whole picture as it is, before and after side by side, around the place that was chosen.
function view() {
  const windows = [at("view-before"), at("view-after")];
  at("view").hidden = false;
  at("whole-before").src = at("before").src;
  at("whole-after").src = at("after").src;
  const { width, height } = data.picture;
  const show = (x, y) => {
    for (const box of windows) box.scrollTo(x - box.clientWidth / 2, y - box.clientHeight / 2);
  };
  const tell = () => {
    const box = windows[1];
    at("place").textContent = `${data.picture.scale} around ${Math.round(box.scrollLeft + Math.min(box.clientWidth, width) / 2)}, ${Math.round(box.scrollTop + Math.min(box.clientHeight, height) / 2)}; click into the picture for another place, or drag.`;
  };
  windows[1].addEventListener("scroll", tell);
  together(windows);
  for (const box of windows) {
    box.addEventListener("pointermove", (event) => {
      if (event.buttons === 1 && event.pointerType === "mouse") box.scrollBy(-event.movementX, -event.movementY);
    });
    box.addEventListener("dragstart", (event) => event.preventDefault());
  }
  at("position").addEventListener("click", (event) => {
    if (event.detail === 0) return;
    const box = at("slider").getBoundingClientRect();
    show(((event.clientX - box.left) / box.width) * width, ((event.clientY - box.top) / box.height) * height);
  });
  for (const place of data.places) {
    const button = make("button", place.words);
    button.type = "button";
    const scale = width / data.width_shown;
    button.addEventListener("click", () => show((place.left + place.width / 2) * scale, (place.top + place.height / 2) * scale));
    at("place-buttons").append(button);
  }
  const first = data.places[0];
  if (first) at("place-buttons").firstChild.click();
  else show(width / 2, height / 2);
}

function crops() {
  at("zoom-label").hidden = false;
  for (const row of document.querySelectorAll("#crops .crop")) together([...row.querySelectorAll(".window")]);
  const zoom = () => {
    for (const image of document.querySelectorAll("#crops img")) image.style.width = `${image.getAttribute("width") * at("zoom").value}px`;
  };
  at("zoom").addEventListener("change", zoom);
  zoom();
}

function plot() {
  if (!data.blocks || data.blocks.length === 0) return;
  at("profile").hidden = false;
  at("grain-words").textContent = data.noise_sigma
    ? `Standard deviation ${sigma()} of 255 at mid grey${data.mode ? ", of square roots of the light" : ""} (red, green, blue); correlation ${data.noise_correlation.toFixed(2)} (0: white, 1: smoothed); blotches of colour ${data.noise_blotches.toFixed(2)} (0 to 1); grain ${data.noise_grain}.`
    : "";
  at("profile-words").textContent = data.noise_measured
    ? `Mean difference of neighbouring samples in each 32 × 32 block, made comparable across brightness. The smoothest blocks of the shadows and of the highlights were measured again; the lowest four of them average ${data.noise_statistic.toFixed(2)}, which gives the library's own noise level ${data.noise_level.toFixed(1)}.`
    : "Mean difference of neighbouring samples in each usable 32 × 32 block.";
  const canvas = at("plot");
  const style = getComputedStyle(document.documentElement);
  const colour = (name) => style.getPropertyValue(name).trim();
  const ratio = window.devicePixelRatio || 1;
  const width = canvas.clientWidth, height = canvas.clientHeight;
  canvas.width = width * ratio;
  canvas.height = height * ratio;
  const pen = canvas.getContext("2d");
  pen.scale(ratio, ratio);
  pen.font = "12px system-ui, sans-serif";
  const box = { left: 46, right: width - 10, top: 10, bottom: height - 36 };
  const all = data.blocks.map((block) => block[1]).sort((a, b) => a - b);
  // Texture reaches far above noise: the axis is logarithmic.
  const low = Math.max(0.05, Math.min(all.find((value) => value > 0) || 0.1, data.noise_statistic || 1) / 1.5);
  const high = Math.max(all[all.length - 1] * 1.2, low * 10);
  const x = (brightness) => box.left + (brightness / 255) * (box.right - box.left);
  const y = (deviation) => box.bottom - (Math.log(Math.max(deviation, low) / low) / Math.log(high / low)) * (box.bottom - box.top);
  pen.fillStyle = colour("--quiet");
  pen.strokeStyle = colour("--line");
  pen.textAlign = "center";
  for (const brightness of [0, 64, 128, 192, 255]) {
    pen.beginPath();
    pen.moveTo(x(brightness), box.top);
    pen.lineTo(x(brightness), box.bottom);
    pen.stroke();
    pen.fillText(brightness, x(brightness), box.bottom + 15);
  }
  pen.fillText("brightness of the block", (box.left + box.right) / 2, height - 4);
  pen.textAlign = "right";
  for (const deviation of [0.1, 0.2, 0.5, 1, 2, 5, 10, 20, 50, 100, 200]) {
    if (deviation < low || deviation > high) continue;
    pen.beginPath();
    pen.moveTo(box.left, y(deviation));
    pen.lineTo(box.right, y(deviation));
    pen.stroke();
    pen.fillText(deviation, box.left - 6, y(deviation) + 4);
  }
  pen.save();
  pen.translate(11, (box.top + box.bottom) / 2);
  pen.rotate(-Math.PI / 2);
  pen.textAlign = "center";
  pen.fillText("mean difference", 0, 0);
  pen.restore();
  const kinds = [[0, "--quiet", 1.6, 0.45], [1, "--blue", 3, 0.9], [2, "--red", 4.5, 1]];
  for (const [kind, name, radius, alpha] of kinds) {
    pen.fillStyle = colour(name);
    pen.globalAlpha = alpha;
    for (const [brightness, deviation, own] of data.blocks) {
      if (own !== kind) continue;
      pen.beginPath();
      pen.arc(x(brightness), y(deviation), radius, 0, 2 * Math.PI);
      pen.fill();
    }
  }
  pen.globalAlpha = 1;
  if (data.noise_measured) {
    pen.strokeStyle = pen.fillStyle = colour("--red");
    pen.setLineDash([6, 4]);
    pen.beginPath();
    pen.moveTo(box.left, y(data.noise_statistic));
    pen.lineTo(box.right, y(data.noise_statistic));
    pen.stroke();
    pen.setLineDash([]);
    pen.textAlign = "right";
    pen.fillText(`noise level ${data.noise_level.toFixed(1)}`, box.right - 4, y(data.noise_statistic) - 6);
  }
}

function table(id, heads, rows) {
  const head = make("tr");
  heads.forEach(([text, className]) => {
    const cell = make("th", text, className);
    cell.scope = "col";
    head.append(cell);
  });
  at(id).append(head);
  for (const [className, cells] of rows) {
    const row = make("tr", undefined, className);
    cells.forEach((text, i) => row.append(make("td", text, heads[i][1])));
    at(id).append(row);
  }
}

function tables() {
  if (data.parameters) {
    at("parameters").hidden = false;
    const rows = Object.entries(data.parameters).map(([name, p]) => [p.origin, [name, show(p.value, 4), show(p.default, 4), p.origin, p.meaning]]);
    table("parameter-table", [["parameter"], ["used", "number"], ["default", "number"], ["origin"], ["meaning"]], rows);
  }
  if (data.statistics) {
    at("statistics").hidden = false;
    table("statistics-table", [["figure"], ["value", "number"]], Object.entries(data.statistics).map(([name, value]) => ["", [name.replaceAll("_", " "), show(value, 4)]]));
  }
}

function times() {
  at("time").hidden = false;
  const { total, ...phases } = data.seconds;
  const longest = Math.max(...Object.values(phases), 1e-6);
  for (const [name, seconds] of [...Object.entries(phases), ["total", total]]) {
    const row = make("div", undefined, "time");
    const bar = make("i");
    bar.style.width = name === "total" ? "0" : `${(100 * seconds) / longest}%`;
    const cell = make("span");
    if (name !== "total") cell.append(bar);
    row.append(make("span", name), cell, make("b", `${show(seconds * 1000, 1)} ms`));
    at("times").append(row);
  }
  at("times").append(make("p", `${show(data.megapixels_per_second, 1)} megapixels a second on ${data.threads} thread${data.threads === 1 ? "" : "s"}${data.statistics ? "; denoise includes the library's own measurement" : ""}.`, "quiet"));
}

summary();
slider();
view();
crops();
plot();
tables();
times();
window.addEventListener("resize", plot);
