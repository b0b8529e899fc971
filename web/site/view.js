/** Before and after on one canvas, with a divider: pan, zoom, and what has to be there for it to be drawn. */

/** @typedef {import("./core.js").Grid} Grid */
/** @typedef {import("./core.js").Rectangle} Rectangle */
/**
 * @typedef {object} Cell a tile at one size
 * @property {Rectangle} write
 * @property {Rectangle} read
 * @property {number} level every 2^level-th pixel
 * @property {ImageBitmap} [before]
 * @property {ImageBitmap} [after]
 * @property {number} version of the settings that after was made with; -1 for none
 */

const MOST_ZOOM = 16;
const KEPT_PIXELS = 4e6;
const NUDGE = 80;

/** @param {number} value @param {number} least @param {number} most */
const clamp = (value, least, most) => Math.min(Math.max(value, least), most);

export class View {
  /**
   * @param {HTMLCanvasElement} canvas
   * @param {HTMLElement} divider
   * @param {() => void} onMove the visible part is another one
   */
  constructor(canvas, divider, onMove) {
    this.canvas = canvas;
    this.divider = divider;
    this.onMove = onMove;
    this.width = this.height = 1;
    this.scale = 1; // pixels of the screen for one of the picture
    this.x = this.y = 0; // the picture's point in the middle
    this.at = 0.5; // of the divider, as a share of the width
    this.isFitted = true;
    this.showsBefore = false;
    /** @type {Grid} */
    this.grid = { columns: [], rows: [] };
    /** @type {Map<string, Cell>} */
    this.cells = new Map();
    this.drawing = 0; // the frame that is asked for
    this.isStale = true;
    /** @type {Set<Cell>} */
    this.changed = new Set();
    new ResizeObserver(() => this.resize()).observe(canvas);
    this.listen();
  }

  /** A new picture. @param {number} width @param {number} height @param {Grid} grid */
  show(width, height, grid) {
    for (const cell of this.cells.values()) this.forget(cell);
    this.cells.clear();
    [this.width, this.height, this.grid] = [width, height, grid];
    this.resize();
    this.fit();
  }

  get ratio() {
    return window.devicePixelRatio || 1;
  }
  get fittedScale() {
    return Math.min(this.canvas.width / this.width, this.canvas.height / this.height, 1);
  }
  /** The zoom as people count: 1 is a pixel of the picture for a pixel of the screen. */
  get zoom() {
    return this.scale;
  }
  get level() {
    return Math.max(0, Math.floor(Math.log2(1 / this.scale) + 1e-9));
  }

  resize() {
    const width = Math.max(1, Math.round(this.canvas.clientWidth * this.ratio));
    const height = Math.max(1, Math.round(this.canvas.clientHeight * this.ratio));
    if (width !== this.canvas.width) this.canvas.width = width;
    if (height !== this.canvas.height) this.canvas.height = height;
    if (this.isFitted) this.fit();
    else this.moved();
  }

  fit() {
    this.isFitted = true;
    this.scale = this.fittedScale;
    [this.x, this.y] = [this.width / 2, this.height / 2];
    this.moved();
  }

  /** @param {number} scale @param {number} [px] the point of the canvas that stays @param {number} [py] */
  zoomTo(scale, px = this.canvas.width / 2, py = this.canvas.height / 2) {
    const [x, y] = this.pictureAt(px, py);
    this.isFitted = false;
    this.scale = clamp(scale, this.fittedScale, MOST_ZOOM);
    this.x = x - (px - this.canvas.width / 2) / this.scale;
    this.y = y - (py - this.canvas.height / 2) / this.scale;
    this.moved();
  }

  /** @param {number} dx pixels of the screen @param {number} dy */
  pan(dx, dy) {
    this.isFitted = false;
    this.x += dx / this.scale;
    this.y += dy / this.scale;
    this.moved();
  }

  /** @param {number} share of the width */
  divide(share) {
    this.at = clamp(share, 0, 1);
    this.divider.style.left = `${100 * this.at}%`;
    this.divider.setAttribute("aria-valuenow", String(Math.round(100 * this.at)));
    this.draw();
  }

  moved() {
    // At least the middle of the screen shows something, and what fits is centred.
    const halfWidth = this.canvas.width / 2 / this.scale;
    const halfHeight = this.canvas.height / 2 / this.scale;
    this.x = 2 * halfWidth >= this.width ? this.width / 2 : clamp(this.x, halfWidth, this.width - halfWidth);
    this.y = 2 * halfHeight >= this.height ? this.height / 2 : clamp(this.y, halfHeight, this.height - halfHeight);
    this.draw();
    this.onMove();
  }

  /** @param {number} px @param {number} py of the canvas */
  pictureAt(px, py) {
    return [this.x + (px - this.canvas.width / 2) / this.scale, this.y + (py - this.canvas.height / 2) / this.scale];
  }

  /** Where the picture's left and top are on the canvas; whole pixels at whole zooms. */
  get origin() {
    return [
      Math.round(this.canvas.width / 2 - this.x * this.scale),
      Math.round(this.canvas.height / 2 - this.y * this.scale),
    ];
  }

  /** The cells that are to be seen, the middle ones first. @returns {Cell[]} */
  visible() {
    const [x0, y0] = this.pictureAt(0, 0);
    const [x1, y1] = this.pictureAt(this.canvas.width, this.canvas.height);
    const columns = this.grid.columns.filter((c) => c.end > x0 && c.start < x1);
    const rows = this.grid.rows.filter((r) => r.end > y0 && r.start < y1);
    const cells = rows.flatMap((row) => columns.map((column) => this.cellAt(column, row)));
    const distance = (/** @type {Cell} */ { write: w }) =>
      Math.hypot((w.x0 + w.x1) / 2 - this.x, (w.y0 + w.y1) / 2 - this.y);
    return cells.sort((a, b) => distance(a) - distance(b));
  }

  /** @param {import("./core.js").Span} column @param {import("./core.js").Span} row @returns {Cell} */
  cellAt(column, row) {
    const key = `${this.level} ${column.start} ${row.start}`;
    const known = this.cells.get(key);
    this.cells.delete(key); // what was seen last stands last
    const cell = known ?? {
      write: { x0: column.start, x1: column.end, y0: row.start, y1: row.end },
      read: { x0: column.readStart, x1: column.readEnd, y0: row.readStart, y1: row.readEnd },
      level: this.level,
      version: -1,
    };
    this.cells.set(key, cell);
    return cell;
  }

  /** @param {Cell} cell */
  forget(cell) {
    cell.before?.close();
    cell.after?.close();
    cell.before = cell.after = undefined;
    cell.version = -1;
  }

  /** Lets go of what was not seen for long, never of what is seen. */
  tidy() {
    const size = (/** @type {Cell} */ c) => ((c.write.x1 - c.write.x0) * (c.write.y1 - c.write.y0)) / 4 ** c.level;
    const seen = new Set(this.visible());
    let pixels = 0;
    for (const cell of this.cells.values()) pixels += size(cell);
    for (const [key, cell] of this.cells) {
      if (pixels <= KEPT_PIXELS) return;
      if (seen.has(cell) || cell.level === this.fittedLevel) continue;
      pixels -= size(cell);
      this.forget(cell);
      this.cells.delete(key);
    }
  }

  get fittedLevel() {
    return Math.max(0, Math.floor(Math.log2(1 / this.fittedScale) + 1e-9));
  }

  /** Soon, with the next frame: a cell that has come, or everything. @param {Cell} [cell] */
  draw(cell) {
    if (cell) this.changed.add(cell);
    else this.isStale = true;
    this.drawing ||= requestAnimationFrame(() => {
      this.drawing = 0;
      if (this.isStale) this.drawAll();
      else for (const one of this.changed) this.drawCells([one]);
      this.changed.clear();
      this.isStale = false;
    });
  }

  get pen() {
    return /** @type {CanvasRenderingContext2D} */ (this.canvas.getContext("2d"));
  }

  drawAll() {
    this.pen.clearRect(0, 0, this.canvas.width, this.canvas.height);
    const seen = this.visible();
    // What is known in another size is better than nothing until the right one is there.
    if (seen.some((cell) => !cell.before)) {
      const others = [...this.cells.values()].filter((cell) => cell.level !== this.level);
      this.drawCells(others.sort((a, b) => b.level - a.level));
    }
    this.drawCells(seen);
  }

  /** @param {Cell[]} cells */
  drawCells(cells) {
    const { width } = this.canvas;
    const border = this.showsBefore ? width : Math.round(this.at * width);
    this.drawSide(cells, "before", 0, border);
    this.drawSide(cells, "after", border, width);
  }

  /** @param {Cell[]} cells @param {"before" | "after"} side @param {number} left @param {number} right */
  drawSide(cells, side, left, right) {
    const { pen } = this;
    pen.save();
    pen.beginPath();
    pen.rect(left, 0, right - left, this.canvas.height);
    pen.clip();
    pen.imageSmoothingEnabled = this.scale < 2;
    for (const cell of cells) {
      const bitmap = cell[side] ?? cell.before;
      if (bitmap) this.drawCell(pen, cell.write, bitmap, left, right);
    }
    pen.restore();
  }

  /**
   * @param {CanvasRenderingContext2D} pen @param {Rectangle} r @param {ImageBitmap} bitmap
   * @param {number} from the columns of the canvas that can be seen @param {number} to
   */
  drawCell(pen, r, bitmap, from, to) {
    const [left, top] = this.origin;
    // Edges on whole pixels, so that neighbours neither gape nor overlap.
    const [x0, x1] = [r.x0, r.x1].map((x) => left + Math.round(x * this.scale));
    const [y0, y1] = [r.y0, r.y1].map((y) => top + Math.round(y * this.scale));
    if (x1 <= from || y1 <= 0 || x0 >= to || y0 >= this.canvas.height) return;
    pen.clearRect(x0, y0, x1 - x0, y1 - y0);
    pen.drawImage(bitmap, x0, y0, x1 - x0, y1 - y0);
  }

  listen() {
    const { canvas, divider } = this;
    /** @type {Map<number, {x: number, y: number}>} */
    const fingers = new Map();
    const place = (/** @type {MouseEvent} */ e) => {
      const box = canvas.getBoundingClientRect();
      return { x: (e.clientX - box.left) * this.ratio, y: (e.clientY - box.top) * this.ratio };
    };
    canvas.addEventListener("pointerdown", (e) => {
      canvas.setPointerCapture(e.pointerId);
      fingers.set(e.pointerId, place(e));
    });
    canvas.addEventListener("pointermove", (e) => {
      const from = fingers.get(e.pointerId);
      if (!from) return;
      const to = place(e);
      if (fingers.size === 2) this.pinch(fingers, e.pointerId, to);
      else this.pan(from.x - to.x, from.y - to.y);
      fingers.set(e.pointerId, to);
    });
    for (const end of /** @type {const} */ (["pointerup", "pointercancel"])) {
      canvas.addEventListener(end, (e) => fingers.delete(e.pointerId));
    }
    canvas.addEventListener("dblclick", (e) => {
      const { x, y } = place(e);
      this.isFitted ? this.zoomTo(1, x, y) : this.fit();
    });
    canvas.addEventListener(
      "wheel",
      (e) => {
        e.preventDefault();
        const { x, y } = place(e);
        this.zoomTo(this.scale * 2 ** (-clamp(e.deltaY, -200, 200) / 300), x, y);
      },
      { passive: false },
    );
    canvas.addEventListener("keydown", (e) => this.key(e));
    divider.addEventListener("pointerdown", (e) => divider.setPointerCapture(e.pointerId));
    divider.addEventListener("pointermove", (e) => {
      if (divider.hasPointerCapture(e.pointerId)) this.divide(place(e).x / canvas.width);
    });
    divider.addEventListener("keydown", (e) => {
      const step = /** @type {Record<string, number>} */ ({
        ArrowLeft: -0.02,
        ArrowDown: -0.02,
        ArrowRight: 0.02,
        ArrowUp: 0.02,
        PageUp: 0.1,
        PageDown: -0.1,
        Home: -1,
        End: 1,
      })[e.key];
      if (step === undefined) return;
      e.preventDefault();
      this.divide(this.at + step);
    });
  }

  /** Two fingers: the point between them stays. @param {Map<number, {x: number, y: number}>} fingers @param {number} id @param {{x: number, y: number}} to */
  pinch(fingers, id, to) {
    const [other] = [...fingers].filter(([k]) => k !== id).map(([, p]) => p);
    const from = /** @type {{x: number, y: number}} */ (fingers.get(id));
    const middle = { x: (to.x + other.x) / 2, y: (to.y + other.y) / 2 };
    const before = { x: (from.x + other.x) / 2, y: (from.y + other.y) / 2 };
    const grown =
      Math.hypot(to.x - other.x, to.y - other.y) / Math.max(1, Math.hypot(from.x - other.x, from.y - other.y));
    this.pan(before.x - middle.x, before.y - middle.y);
    this.zoomTo(this.scale * grown, middle.x, middle.y);
  }

  /** @param {KeyboardEvent} e */
  key(e) {
    const nudge = NUDGE * this.ratio;
    /** @type {Record<string, () => void>} */
    const keys = {
      ArrowLeft: () => this.pan(-nudge, 0),
      ArrowRight: () => this.pan(nudge, 0),
      ArrowUp: () => this.pan(0, -nudge),
      ArrowDown: () => this.pan(0, nudge),
      "+": () => this.zoomTo(this.scale * 2),
      "=": () => this.zoomTo(this.scale * 2),
      "-": () => this.zoomTo(this.scale / 2),
      0: () => this.fit(),
      1: () => this.zoomTo(1),
      2: () => this.zoomTo(2),
    };
    if (!keys[e.key] || e.ctrlKey || e.metaKey || e.altKey) return;
    e.preventDefault();
    keys[e.key]();
  }
}
