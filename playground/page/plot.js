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

export const colour = (i) => getComputedStyle(document.documentElement).getPropertyValue(`--curve-${i % dashes.length}`).trim();

// A panel in an element: its scales, and functions that draw into it. The scales map numbers to pixels.
export function makePanel(element, { title, scales = [scaleLinear(), scaleLinear()] }) {
  const canvas = document.createElement("canvas");
  const back = svgElement("svg", { class: "axes", "aria-hidden": true });
  const svg = svgElement("svg", { role: "group", "aria-label": title });
  element.replaceChildren(back, canvas, svg);
  const [x, y] = scales;
  const context = canvas.getContext("2d");
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
    const parts = [];
    const [left, right] = x.range();
    const [bottom, top] = y.range();
    if (inside) {
      const shade = (from, to) =>
        parts.push(svgElement("rect", { class: "outside", x: from, y: top, width: Math.max(to - from, 0), height: bottom - top }));
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
    if (xTitle) parts.push(svgElement("text", { class: "title", x: right - 6, y: bottom - 6, "text-anchor": "end" }, xTitle));
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

  // A curve through numbers; it is broken where a value is none. Far values stop short of what a canvas can take.
  panel.curve = (xs, ys, { stroke, dash = [], width = 2, faint = null }) =>
    clipped(() => {
      context.strokeStyle = stroke;
      context.lineWidth = width;
      context.lineJoin = "round";
      context.setLineDash(dash);
      const trace = (wanted) => {
        context.beginPath();
        let drawn = false;
        for (let i = 0; i < xs.length; ++i) {
          if (!Number.isFinite(ys[i]) || !wanted(i)) {
            drawn = false;
            continue;
          }
          const at = Math.max(-1e4, Math.min(1e4, y(ys[i])));
          if (drawn) context.lineTo(x(xs[i]), at);
          else context.moveTo(x(xs[i]), at);
          drawn = true;
        }
        context.stroke();
      };
      if (!faint) return trace(() => true);
      trace((i) => xs[i] >= faint[0] && xs[i] <= faint[1]);
      context.globalAlpha = 0.55;
      context.lineWidth = width * 0.75;
      context.setLineDash([2, 4]);
      trace((i) => xs[i] <= faint[0]);
      trace((i) => xs[i] >= faint[1]);
    });

  panel.dots = (xs, ys, size, fill) =>
    clipped(() => {
      context.fillStyle = fill;
      for (let i = 0; i < xs.length; ++i) {
        context.beginPath();
        context.arc(x(xs[i]), y(ys[i]), size, 0, 7);
        context.fill();
      }
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
