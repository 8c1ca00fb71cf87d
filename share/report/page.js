"use strict";
(() => {
const byId = (id) => document.getElementById(id);
const all = (selector, root = document) => [...root.querySelectorAll(selector)];
const make = (name, properties = {}, ...children) => {
  const element = Object.assign(document.createElement(name), properties);
  element.append(...children);
  return element;
};
const drawn = (name, attributes) => {
  const element = document.createElementNS("http://www.w3.org/2000/svg", name);
  for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
  return element;
};

// Numbers come from the data, every text of the document as ready nodes from the template.
const data = JSON.parse(byId("data").textContent);
const texts = byId("texts").content.children;
const nodesOf = (text) => [...texts[text].cloneNode(true).childNodes];
const plain = (text) => text === data.empty ? "" : texts[text].textContent.trim();
const unseen = (words) => make("span", {className: "unseen"}, words);

const original = -1;
const last = data.modifications.length - 1;
let position = last;

const lives = new Map(data.lives.map(([value, ...steps]) => {
  const life = {positions: [], texts: []};
  for (let i = 0; i < steps.length; i += 2) {
    life.positions.push(steps[i]);
    life.texts.push(steps[i + 1]);
  }
  return [value, life];
}));

// The index of the last entry at or before a place in a rising list; -1 when there is none.
const lastUpTo = (list, place) => {
  let low = 0;
  let high = list.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (list[middle] <= place) low = middle + 1;
    else high = middle;
  }
  return low - 1;
};

const count = (number, word) => `${number.toLocaleString("en")} ${word}${number === 1 ? "" : "s"}`;
const whoNodes = ([, , user, name]) => name === data.empty
  ? nodesOf(user) : [...nodesOf(name), " ", make("small", {}, ...nodesOf(user))];
const whenNodes = ([date, time]) => [...nodesOf(date), " ", ...nodesOf(time)];

document.documentElement.classList.add("js");

// Values

const slots = new Map();
for (const slot of all("[data-v]")) {
  const value = Number(slot.dataset.v);
  if (lives.has(value)) slots.set(value, [...slots.get(value) ?? [], slot]);
}

const showValue = (slot, text, old, isChanged) => {
  const key = `${text} ${isChanged}`;
  if (slot.shown === key) return;
  slot.shown = key;
  const isHead = slot.matches(".fact, .unit");
  if (isHead || !isChanged) {
    slot.hidden = text < 0 || (isHead && text === data.empty);
    slot.replaceChildren(...text < 0 ? [] : nodesOf(text));
    return;
  }
  slot.hidden = false;
  const was = old < 0 ? [] : [make("del", {}, unseen("was "), ...nodesOf(old))];
  const is = text < 0 ? [] : [make("ins", {}, unseen("now "), ...nodesOf(text))];
  slot.replaceChildren(...was, was.length && is.length ? " → " : "", ...is);
};

const showValues = () => {
  const rows = new Map();
  for (const [value, places] of slots) {
    const life = lives.get(value);
    const index = lastUpTo(life.positions, position);
    const text = index < 0 ? -1 : life.texts[index];
    const isChanged = index >= 0 && position !== original && life.positions[index] === position;
    for (const slot of places) {
      showValue(slot, text, index > 0 ? life.texts[index - 1] : -1, isChanged);
      const row = slot.closest(".row");
      if (row) rows.set(row, rows.get(row) || isChanged);
    }
  }
  for (const [row, isChanged] of rows) {
    row.classList.toggle("changed", isChanged);
    row.hidden = all("[data-v]", row).every((slot) => slot.hidden);
  }
};

// The life of a row's values

const lifeTable = (value) => {
  const life = lives.get(value);
  const body = make("tbody");
  for (let i = life.positions.length - 1; i >= 0; --i) {
    const at = life.positions[i];
    const text = life.texts[i] < 0 ? [make("i", {}, "not there any more")] : nodesOf(life.texts[i]);
    const modification = data.modifications[at];
    body.append(make("tr", {},
      make("td", {}, make("a", {href: `#p${at}`}, at === original ? "original" : at)),
      make("td", {}, ...at === original ? [] : whenNodes(modification)),
      make("td", {}, ...at === original ? [] : whoNodes(modification)),
      make("td", {}, ...text)));
  }
  const head = make("tr", {}, ...["No.", "When", "Who", "Value"].map(
    (title) => make("th", {scope: "col"}, title)));
  return make("table", {}, make("thead", {}, head), body);
};

const labelOf = (row) => row.matches(".lead .row") ? row.querySelector("b").textContent
  : row.querySelector("dt")?.textContent
    || row.closest(".branch, .card").querySelector("h2, h3, h4, h5, h6").textContent;

const openLife = (row) => {
  byId("life-title").textContent = labelOf(row);
  const parts = all("[data-v]", row).map((slot) => {
    const value = Number(slot.dataset.v);
    return lives.has(value) ? lifeTable(value)
      : make("p", {}, ...[...slot.cloneNode(true).childNodes], make("small", {},
        " from the original; no modification changed it"));
  });
  byId("life").querySelector("div").replaceChildren(...parts);
  byId("life").showModal();
};

for (const row of all(".row")) {
  const values = all("[data-v]", row).map((slot) => Number(slot.dataset.v));
  if (!values.length) continue;
  const changes = values.reduce((sum, value) => sum + (lives.get(value)?.positions
    .filter((at) => at !== original).length ?? 0), 0);
  const button = make("button", {type: "button", className: changes ? "life" : "life same"},
    changes ? count(changes, "change") : "original");
  button.setAttribute("aria-label", `History of ${labelOf(row)}: ${button.textContent}`);
  (row.querySelector("dd, td:last-child") ?? row).append(button);
}

document.addEventListener("click", (event) => {
  const row = event.target.closest?.(".row");
  if (row && event.target.closest(".life, [data-v]") && !String(getSelection())) openLife(row);
  if (event.target.closest?.("#life a")) byId("life").close();
});

// The table of changes

// The list has the rows that are seen, the rest all others, which only a printer sees.
const list = byId("list");
const rest = byId("rest");
const entries = [...list.rows, ...rest.rows].map((row, index) => {
  const [number, date, time, user, path] = [...row.cells].map((cell) => cell.textContent);
  return {row, index, number: Number(number), when: `${date} ${time}`, date, user, path,
    old: row.cells[5]?.textContent ?? "", new: row.cells[6]?.textContent ?? ""};
});
const entriesOf = new Map();
for (const entry of entries) {
  entriesOf.set(entry.number, [...entriesOf.get(entry.number) ?? [], entry]);
}
const portion = 500;
let shown = portion;

let ordered = entries;

const filterChanges = () => {
  const user = byId("user").value.toLowerCase();
  const path = byId("path").value.toLowerCase();
  const since = byId("since").value;
  const until = byId("until").value || "9999-99-99";
  const found = ordered.filter((entry) =>
    entry.user.toLowerCase().includes(user) && entry.path.toLowerCase().includes(path) &&
    entry.date >= since && entry.date <= until);
  rest.append(...list.rows);
  list.append(...found.slice(0, shown).map((entry) => entry.row));
  byId("more").parentElement.hidden = found.length <= shown;
  byId("count").textContent = found.length > shown
    ? `${shown} of ${count(found.length, "change")} shown` : `${count(found.length, "change")} shown`;
};

const listAll = () => list.append(...entries.map((entry) => entry.row));

let waiting = 0;
for (const id of ["user", "path", "since", "until"]) {
  byId(id).addEventListener("input", () => {
    clearTimeout(waiting);
    shown = portion;
    waiting = setTimeout(filterChanges, entries.length > 2000 ? 200 : 0);
  });
}
byId("more").addEventListener("click", () => {
  shown += portion;
  filterChanges();
});

const sortBy = (header, key) => {
  const turn = header.ariaSort === "ascending" ? -1 : 1;
  for (const other of all(".all th")) other.removeAttribute("aria-sort");
  header.setAttribute("aria-sort", turn > 0 ? "ascending" : "descending");
  const compare = (left, right) => left[key] < right[key] ? -1 : left[key] > right[key] ? 1 : 0;
  ordered = [...entries].sort(
    (left, right) => turn * (compare(left, right) || left.index - right.index));
  filterChanges();
};

all(".all th").forEach((header, column) => {
  const key = ["number", "date", "when", "user", "path", "old", "new"][column];
  const button = make("button", {type: "button"}, header.textContent);
  button.addEventListener("click", () => sortBy(header, key));
  header.replaceChildren(button);
});

// What this position changed

const showStep = (before) => {
  const most = 200;
  for (const {row} of entriesOf.get(before) ?? []) row.classList.remove("now");
  const changes = entriesOf.get(position) ?? [];
  for (const {row} of changes) row.classList.add("now");
  byId("step").hidden = position === original;
  byId("step").querySelector("tbody").replaceChildren(...changes.slice(0, most).map(({row}) =>
    make("tr", {}, ...[...row.cells].slice(4).map((cell, i) => {
      const nodes = [...cell.cloneNode(true).childNodes];
      const className = cell.querySelector("ol, ul") ? "list" : "";
      return make("td", {}, ...i === 0 || cell.colSpan > 1 ? nodes
        : [make(i === 1 ? "del" : "ins", {className}, ...nodes)]);
    }))));
  byId("step").querySelector(".note").replaceChildren(
    ...position === original ? [] : ["Identifier ", ...nodesOf(data.modifications[position][4])],
    changes.length > most ? `; ${count(changes.length - most, "more change")} in the table below` : "");
};

// The position

const slider = byId("slider");
const positions = byId("positions");
const where = byId("where");

const nameOf = (at) => at === original ? "original"
  : `${at}: ${data.modifications[at].slice(0, 3).map(plain).join("  ")}`.slice(0, 80);

const showPosition = () => {
  const words = position === original ? ["The original content"]
    : [`${position === last ? "The last position: after" : "After"} modification ${position}, `,
      ...whenNodes(data.modifications[position]), ", ", ...whoNodes(data.modifications[position])];
  where.replaceChildren(...words);
  slider.value = position;
  slider.setAttribute("aria-valuetext", where.textContent);
  positions.selectedIndex = position + 1;
  byId("back").disabled = position === original;
  byId("forward").disabled = position === last;
};

const moveTo = (wanted) => {
  const before = position;
  position = Math.min(last, Math.max(original, wanted));
  showPosition();
  showValues();
  showStep(before);
  figures.forEach((figure) => figure.draw());
};

const followLink = () => {
  const linked = /^#p(-?\d+)$/.exec(location.hash);
  if (linked) moveTo(Number(linked[1]));
};

// Waveforms

const alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
const digits = new Map([...alphabet].map((letter, value) => [letter, value]));

// Lowest and highest sample of each column.
const decode = ([, samples, perColumn, low, high, text]) => {
  const scale = (high - low) / 4095;
  const numbers = Float64Array.from({length: text.length / 2}, (_, i) =>
    low + scale * (digits.get(text[2 * i]) * 64 + digits.get(text[2 * i + 1])));
  const isExact = perColumn === 1;
  return {samples, perColumn, columns: isExact ? numbers.length : numbers.length / 2,
    low: (i) => numbers[isExact ? i : 2 * i], high: (i) => numbers[isExact ? i : 2 * i + 1]};
};

const tickStep = (extent) => {
  const power = 10 ** Math.floor(Math.log10(extent / 10));
  return [1, 2, 5, 10].map((factor) => factor * power).find((step) => extent / step <= 10);
};

class Lead {
  constructor(element) {
    const block = data.blocks[Number(element.dataset.b)];
    this.rate = block.rate;
    this.froms = block.waves.map(([from]) => from);
    this.stored = block.waves;
    this.waves = [];
    this.range = element.querySelector(".range");
    this.svg = element.querySelector(".wave");
    this.samples = Math.max(...block.waves.map(([, samples]) => samples));
    const perColumn = Math.max(...block.waves.map(([, , samples]) => samples));
    this.least = perColumn === 1 ? 20 : 400 * perColumn;
  }

  // What is drawn between two samples: a point, or a low and a high one, for each of the places.
  measure(from, to, places) {
    const index = lastUpTo(this.froms, position);
    this.points = [];
    this.low = Infinity;
    this.high = -Infinity;
    if (index < 0 || !this.svg) return;
    const wave = this.waves[index] ??= decode(this.stored[index]);
    const scale = places / (to - from);
    const end = Math.min(wave.columns, Math.ceil(to / wave.perColumn) + 1);
    for (let i = Math.max(0, Math.floor(from / wave.perColumn)); i < end;) {
      const at = (i * wave.perColumn - from) * scale;
      let low = wave.low(i);
      let high = wave.high(i);
      for (++i; i < end && (i * wave.perColumn - from) * scale < Math.floor(at) + 1; ++i) {
        low = Math.min(low, wave.low(i));
        high = Math.max(high, wave.high(i));
      }
      this.points.push([at, low, high]);
      this.low = Math.min(this.low, low);
      this.high = Math.max(this.high, high);
    }
  }

  draw(places, low, high) {
    if (!this.svg) return;
    const height = (sample) => (96 - 92 * (sample - low) / Math.max(1, high - low)).toFixed(1);
    let before = 0;
    const line = this.points.map(([at, from, to]) => {
      // The nearer end first: a line across a column would be a wave that is not there.
      const ends = Math.abs(before - from) <= Math.abs(before - to) ? [from, to] : [to, from];
      before = ends[1];
      const x = at.toFixed(1);
      return (from === to ? [from] : ends).map((end) => `${x} ${height(end)}`).join(" ");
    });
    const field = this.svg.querySelector("svg");
    field.setAttribute("viewBox", `0 0 ${places} 100`);
    field.querySelector("path").setAttribute("d", line.length ? `M${line.join(" ")}` : "");
    this.range.textContent = line.length
      ? `${Math.round(this.low)} to ${Math.round(this.high)}` : "not there";
  }
}

// The waves of one figure on one axis, of which a stretch is seen.
class Figure {
  constructor(element) {
    this.leads = all(".lead", element).map((lead) => new Lead(lead));
    this.inSeconds = this.leads.every((lead) => lead.rate !== null);
    this.extent = Math.max(...this.leads.map((lead) => lead.samples / this.unit(lead)));
    this.axis = element.querySelector(".axis");
    if (!this.axis) return;
    this.from = 0;
    this.span = this.extent;
    this.own = make("input", {type: "checkbox", onchange: () => this.draw()});
    this.pan = make("input", {type: "range", min: 0, max: 1000, value: 0,
      oninput: () => this.look(this.span, this.pan.value / 1000 * (this.extent - this.span))});
    this.pan.setAttribute("aria-label", "Where the waveforms are seen");
    const button = (words, label, act) => {
      const made = make("button", {type: "button", onclick: act}, words);
      made.setAttribute("aria-label", label);
      return made;
    };
    this.scale = make("small");
    element.querySelector("figcaption").after(make("div", {className: "tools"},
      button("−", "Zoom out", () => this.zoom(2)), button("+", "Zoom in", () => this.zoom(.5)),
      button("Whole", "Show the whole waveforms", () => this.look(this.extent, 0)),
      this.pan, this.scale, make("label", {}, this.own, " each to its own height")));
    element.addEventListener("dblclick", (event) => {
      const box = event.target.closest(".wave")?.getBoundingClientRect();
      if (box) this.zoom(.5, (event.clientX - box.left) / box.width);
    });
  }

  unit(lead) {
    return this.inSeconds ? lead.rate : 1;
  }

  zoom(factor, place = .5) {
    const span = this.span * factor;
    this.look(span, this.from + place * (this.span - span));
  }

  look(span, from) {
    // Closer than that, columns of several samples would show a wave that is not there.
    const least = Math.max(...this.leads.map((lead) => lead.least / this.unit(lead)));
    this.span = Math.min(this.extent, Math.max(Math.min(least, this.extent), span));
    this.from = Math.min(this.extent - this.span, Math.max(0, from));
    this.pan.value = this.span < this.extent ? 1000 * this.from / (this.extent - this.span) : 0;
    this.draw();
  }

  draw() {
    if (!this.axis) return;
    const width = this.leads.find((lead) => lead.svg).svg.clientWidth || 1000;
    const places = Math.round(Math.min(4000, width * devicePixelRatio));
    for (const lead of this.leads) {
      lead.measure(this.from * this.unit(lead), (this.from + this.span) * this.unit(lead), places);
    }
    const low = Math.min(...this.leads.map((lead) => lead.low));
    const high = Math.max(...this.leads.map((lead) => lead.high));
    for (const lead of this.leads) {
      const isOwn = this.own.checked;
      lead.draw(places, isOwn ? lead.low : low, isOwn ? lead.high : high);
    }
    this.drawGrid(low, high);
  }

  drawGrid(low, high) {
    const step = this.inSeconds ? tickStep(this.span) : Math.max(1, tickStep(this.span));
    const rise = Math.max(1, tickStep(Math.max(1, high - low)));
    this.scale.textContent = this.own.checked ? `grid ${this.place(step)}`
      : `grid ${this.place(step)} by ${rise.toLocaleString("en")}`;
    const levels = [];
    for (let i = Math.ceil(low / rise); !this.own.checked && i * rise <= high; ++i) {
      levels.push(`${96 - 92 * (i * rise - low) / Math.max(1, high - low)}%`);
    }
    const ticks = [];
    for (let i = Math.ceil(this.from / step); i * step <= this.from + this.span; ++i) {
      ticks.push([`${(100 * (i * step - this.from) / this.span).toFixed(3)}%`, i * step]);
    }
    this.axis.replaceChildren(...ticks.map(([x, at]) => {
      const text = drawn("text", {x, y: 14});
      text.textContent = this.place(at);
      return text;
    }));
    for (const {svg} of this.leads) {
      svg?.querySelector("g").replaceChildren(
        ...ticks.map(([x]) => drawn("line", {x1: x, x2: x, y1: 0, y2: "100%"})),
        ...levels.map((y) => drawn("line", {x1: 0, x2: "100%", y1: y, y2: y})));
    }
  }

  place(at) {
    return this.inSeconds ? `${Number(at.toPrecision(9))} s` : at.toLocaleString("en");
  }
}

const figures = all(".waves").map((element) => new Figure(element));

// Print

// The beginning

slider.max = last;
positions.append(...[original, ...data.modifications.keys()].map(
  (at) => make("option", {}, nameOf(at))));
if (last === original) byId("controls").hidden = true;
slider.addEventListener("input", () => moveTo(Number(slider.value)));
positions.addEventListener("change", () => moveTo(positions.selectedIndex - 1));
byId("back").addEventListener("click", () => moveTo(position - 1));
byId("forward").addEventListener("click", () => moveTo(position + 1));
addEventListener("hashchange", followLink);
addEventListener("beforeprint", listAll);
addEventListener("afterprint", filterChanges);
addEventListener("resize", () => figures.forEach((figure) => figure.draw()));
document.addEventListener("keydown", (event) => {
  const step = {ArrowLeft: -1, ArrowRight: 1}[event.key];
  if (step && !event.altKey && !event.ctrlKey && !event.metaKey &&
      !event.target.closest("input, select, dialog")) {
    moveTo(position + step);
    event.preventDefault();
  }
});
filterChanges();
moveTo(last);
followLink();
})();
