// The list of curves: kind, ends on both sides, lambda or midpoint, and what keeps a curve from being drawn.

import { endTitles, kinds, newCurve, offered, request } from "./kinds.js";
import { dashes, svgElement } from "./plot.js";

const element = (name, properties = {}, ...children) => {
  const made = Object.assign(document.createElement(name), properties);
  made.append(...children);
  return made;
};

const select = (titles, chosen, label, change) => {
  const made = element("select", { onchange: () => change(made.value) });
  made.setAttribute("aria-label", label);
  for (const [value, title] of titles) made.append(new Option(title, value, false, value === chosen));
  return made;
};

// The line as it is drawn.
function sample(i, colour) {
  const line = {
    x1: 1,
    x2: 39,
    y1: 6,
    y2: 6,
    stroke: colour(i),
    "stroke-width": 3,
    "stroke-dasharray": dashes[i].join(" "),
  };
  const made = svgElement("svg", { width: 40, height: 12, "aria-hidden": true });
  made.append(svgElement("line", line));
  return made;
}

const shortest = (value) => String(Number(value.toPrecision(4)));

const numberField = (value, label, change) => {
  const made = element("input", { className: "number", value, inputMode: "decimal", autocomplete: "off" });
  made.setAttribute("aria-label", label);
  made.onchange = () => {
    const number = made.value.trim() === "" ? NaN : Number(made.value);
    if (Math.abs(number) <= 1e100) change(number);
    else made.value = value;
  };
  return made;
};

// A period, and a kind's own ends, are for both sides.
function setEnd(curve, side, type) {
  const other = side === "left" ? "right" : "left";
  const paired = (t) => t === "periodic" || t === "own";
  curve[side] = { type, value: curve[side].value };
  if (paired(type) || paired(curve[other].type)) curve[other] = { type, value: curve[other].value };
}

function endOf(curve, side, redraw) {
  const titles = kinds[curve.kind].ends.map((type) => [type, endTitles[type]]);
  const { type, value } = curve[side];
  const made = element("label", {}, `${side === "left" ? "Ends: left" : "right"} `);
  const change = (next) => {
    setEnd(curve, side, next);
    redraw();
  };
  made.append(select(titles, type, `${side} end of ${kinds[curve.kind].title}`, change));
  if (type === "slope" || type === "curvature") {
    const set = (number) => {
      curve[side] = { type, value: number };
      redraw();
    };
    made.append(" ", numberField(value, `${type} at the ${side} end`, set));
  }
  return made;
}

const scaleOf = ({ x }) => ((x[x.length - 1] - x[0]) / (x.length - 1)) ** 3;
const decades = 9;

// lambda on a logarithmic slider, around the cube of the mean step, by which it is measured.
function smoothing(curve, state, result, { redraw, follow }) {
  const unit = scaleOf(state);
  const shown = curve.lambda ?? result.lambda ?? unit;
  const slider = element("input", { type: "range", min: -decades, max: decades, step: 0.05 });
  slider.value = Math.log10(Math.max(shown, 1e-300) / unit);
  slider.setAttribute("aria-label", "lambda, the weight of smoothness");
  const text = element("output", {}, `λ = ${shortest(shown)}`);
  const found = element("input", { type: "checkbox", checked: curve.lambda === null });
  slider.oninput = () => {
    curve.lambda = Number((unit * 10 ** Number(slider.value)).toPrecision(4));
    found.checked = false;
    text.textContent = `λ = ${shortest(curve.lambda)}`;
    follow();
  };
  found.onchange = () => {
    curve.lambda = found.checked ? null : Number(shown.toPrecision(4));
    redraw();
  };
  return element(
    "div",
    { className: "row" },
    "close",
    slider,
    "smooth ",
    text,
    element("label", {}, found, " found from the data"),
  );
}

// changes: redraw() where the list itself changes, follow() where a slider moves.
export function showCurves(state, results, colour, changes) {
  const { redraw } = changes;
  const rows = state.curves.map((curve, i) => {
    const row = element("div", { className: "curve" });
    row.style.borderColor = colour(i);
    const titles = offered.map((kind) => [kind, kinds[kind].title]);
    const kind = select(titles, curve.kind, `kind of curve ${i + 1}`, (next) => {
      state.curves[i] = newCurve(next);
      redraw();
    });
    const remove = element("button", { className: "remove", textContent: "✕", title: "Remove this curve" });
    remove.setAttribute("aria-label", `Remove ${kinds[curve.kind].title}`);
    remove.disabled = state.curves.length === 1;
    remove.onclick = () => {
      state.curves.splice(i, 1);
      if (state.chosen >= state.curves.length || state.chosen > i) state.chosen = Math.max(0, state.chosen - 1);
      redraw();
    };
    row.append(element("div", { className: "row" }, sample(i, colour), kind, remove));
    if (kinds[curve.kind].ends.length > 0)
      row.append(element("div", { className: "row" }, endOf(curve, "left", redraw), endOf(curve, "right", redraw)));
    if (curve.kind === "smoothing") row.append(smoothing(curve, state, results[i], changes));
    if (curve.kind === "quadratic") {
      const { bc } = request(curve, state.x, state.y);
      const set = (number) => {
        curve.midpoint = number;
        redraw();
      };
      row.append(
        element("label", {}, "Value at the middle of the first cell ", numberField(shortest(bc[0]), "midpoint", set)),
      );
    }
    if (curve.left.type === "periodic")
      row.append(element("div", { className: "note" }, "The last value follows the first one."));
    if (results[i].message) row.append(element("div", { className: "note bad" }, `Not drawn: ${results[i].message}`));
    return row;
  });
  document.getElementById("curves").replaceChildren(...rows);
}
