// A panel: axes in SVG, curves on a canvas, which are drawn quickly, and points in SVG, which people reach by keyboard.

import { scaleLinear } from "d3-scale";

const space = "http://www.w3.org/2000/svg";
export const margin = { left: 54, right: 10, top: 8, bottom: 22 };
export const dashes = [[], [7, 3], [2, 3], [9, 3, 2, 3], [14, 4], [5, 2, 1, 2], [3, 2], [1, 2]];

export function svgElement(name, attributes = {}, text = null) {
  const made = document.createElementNS(space, name);
  for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, value);
  if (text !== null) made.textContent = text;
  return made;
}

export const css = (name) => getComputedStyle(document.documentElement).getPropertyValue(name).trim();
export const colour = (i) => css(`--curve-${i % dashes.length}`);

// Points of a line that are stroked at once: the time for a path that crosses itself grows faster than its length.
const atOnce = 64;

// A panel in an element: its scales, and functions that draw into it. The scales map numbers to pixels.
export function makePanel(element, { title, scales = [scaleLinear(), scaleLinear()] }) {
  const canvas = document.createElement("canvas");
  const back = svgElement("svg", { class: "axes", "aria-hidden": true });
  const svg = svgElement("svg", { role: "group", "aria-label": title });
  element.replaceChildren(back, canvas, svg);
  const [x, y] = scales;
  const context = canvas.getContext("2d");
  let shown = null;
  const panel = { element, svg, x, y, width: 0, height: 0 };

  panel.resize = () => {
    const { width, height } = element.getBoundingClientRect();
    [panel.width, panel.height] = [width, height];
    x.range([margin.left, Math.max(width - margin.right, margin.left + 1)]);
    y.range([height - margin.bottom, margin.top]);
    const ratio = window.devicePixelRatio || 1;
    canvas.width = Math.round(width * ratio);
    canvas.height = Math.round(height * ratio);
    context.setTransform(ratio, 0, 0, ratio, 0, 0);
  };

  // Ticks, a title, and the stretches left and right of `inside`, which are marked as outside of the data. yForm: d3's
  // words for the form of numbers.
  panel.axes = ({ inside = null, xTitle = null, yForm } = {}) => {
    const wanted = JSON.stringify([x.domain(), x.range(), y.domain(), y.range(), inside]);
    if (wanted === shown) return;
    shown = wanted;
    const parts = [];
    const [left, right] = x.range();
    const [bottom, top] = y.range();
    if (inside) {
      const shade = (from, to) =>
        parts.push(
          svgElement("rect", {
            class: "outside",
            x: from,
            y: top,
            width: Math.max(to - from, 0),
            height: bottom - top,
          }),
        );
      shade(left, Math.min(x(inside[0]), right));
      shade(Math.max(x(inside[1]), left), right);
    }
    const across = Math.max(2, Math.min(10, Math.round((right - left) / 80)));
    const up = Math.max(2, Math.round((bottom - top) / 55));
    const xFormat = x.tickFormat(across);
    const yFormat = y.tickFormat(up, yForm);
    for (const tick of x.ticks(across)) {
      const at = Math.round(x(tick)) + 0.5;
      parts.push(svgElement("line", { x1: at, x2: at, y1: top, y2: bottom }));
      parts.push(svgElement("text", { x: at, y: bottom + 15, "text-anchor": "middle" }, xFormat(tick)));
    }
    for (const tick of y.ticks(up)) {
      const at = Math.round(y(tick)) + 0.5;
      parts.push(svgElement("line", { x1: left, x2: right, y1: at, y2: at }));
      parts.push(svgElement("text", { x: left - 6, y: at + 4, "text-anchor": "end" }, yFormat(tick)));
    }
    parts.push(svgElement("text", { class: "title", x: left + 6, y: top + 14 }, title));
    if (xTitle)
      parts.push(svgElement("text", { class: "title", x: right - 6, y: bottom - 6, "text-anchor": "end" }, xTitle));
    back.replaceChildren(...parts);
  };

  panel.clear = () => context.clearRect(0, 0, panel.width, panel.height);

  const clipped = (draw) => {
    const [left, right] = x.range();
    const [bottom, top] = y.range();
    context.save();
    context.beginPath();
    context.rect(left, top, right - left, bottom - top);
    context.clip();
    draw();
    context.restore();
  };

  // A curve through numbers, x ascending; it is broken where a value is none, and faint outside of an interval. Far values
  // stop a little outside: a browser cuts the whole length of a line into dashes before it leaves out what is not seen.
  panel.curve = (xs, ys, { stroke, dash = [], width = 2, faint = null }) => {
    const [lowest, highest] = [-panel.height, 2 * panel.height];
    const across = Float32Array.from(xs, x);
    const up = Float32Array.from(ys, (v) => Math.max(lowest, Math.min(highest, y(v))));
    const cut = dash.length === 0 ? atOnce : xs.length;
    const trace = (from, to) => {
      context.beginPath();
      let length = 0;
      for (let i = from; i < to; ++i) {
        if (up[i] !== up[i]) {
          length = 0;
          continue;
        }
        if (length === 0) context.moveTo(across[i], up[i]);
        else context.lineTo(across[i], up[i]);
        if (++length % cut !== 0) continue;
        context.stroke();
        context.beginPath();
        context.moveTo(across[i], up[i]);
      }
      context.stroke();
    };
    const bound = (wanted, otherwise) => {
      const found = xs.findIndex(wanted);
      return found < 0 ? otherwise : found;
    };
    const first = faint ? bound((v) => v >= faint[0], 0) : 0;
    const last = faint ? bound((v) => v > faint[1], xs.length) : xs.length;
    clipped(() => {
      context.strokeStyle = stroke;
      context.lineWidth = width;
      context.lineJoin = width > 1 ? "round" : "bevel";
      context.setLineDash(dash);
      trace(first, last);
      if (!faint) return;
      context.globalAlpha = 0.55;
      context.lineWidth = width * 0.75;
      context.setLineDash([2, 4]);
      trace(0, first + 1);
      trace(last - 1, xs.length);
    });
  };

  panel.dots = (xs, ys, size, fill) =>
    clipped(() => {
      context.fillStyle = fill;
      context.beginPath();
      for (let i = 0; i < xs.length; ++i) {
        const [px, py] = [x(xs[i]), y(ys[i])];
        context.moveTo(px + size, py);
        context.arc(px, py, size, 0, 7);
      }
      context.fill();
    });

  panel.boxes = (boxes, fill, stroke) =>
    clipped(() => {
      context.lineWidth = 1;
      for (const [x0, y0, x1, y1, marked] of boxes) {
        const rectangle = [x(x0), y(y1), x(x1) - x(x0), y(y0) - y(y1)];
        context.fillStyle = fill;
        if (marked) context.fillRect(...rectangle);
        context.strokeStyle = stroke;
        context.strokeRect(...rectangle);
      }
    });

  return panel;
}

// A domain around numbers, with room on both sides; what is far beyond most of them does not count.
export function domainAround(values, room = 0.08, share = 0) {
  const sorted = Float64Array.from(values.filter(Number.isFinite)).sort();
  if (sorted.length === 0) return [-1, 1];
  const skipped = Math.floor(share * sorted.length);
  let [low, high] = [sorted[skipped], sorted[sorted.length - 1 - skipped]];
  if (high - low <= 1e-12 * Math.max(Math.abs(low), Math.abs(high), 1e-300)) {
    const wide = Math.abs(low) > 0 ? 0.5 * Math.abs(low) : 1;
    [low, high] = [low - wide, high + wide];
  }
  return [low - room * (high - low), high + room * (high - low)];
}
