// The second tab: points of a generator in two coordinates, the boxes that quasi-random ones fill evenly, and the error
// of an integral.

import { scaleLog } from "d3-scale";
import { integrands, pseudoRuns, meanErrors } from "./integrals.js";
import { boxesOf, qualityOf } from "./nets.js";
import { colour, css, makePanel } from "./plot.js";

const byId = (id) => document.getElementById(id);

const generators = {
  sobol: { title: "Sobol", number: 0x600000, quasi: true, most: 40 },
  niederreiter: { title: "Niederreiter", number: 0x700000, quasi: true, most: 40 },
  mt19937: { title: "MT19937", number: 0x800000 },
  sfmt19937: { title: "SFMT19937", number: 0xd00000 },
  mt2203: { title: "MT2203", number: 0x900000 },
  mrg32k3a: { title: "MRG32k3a", number: 0x300000 },
  "wichmann-hill": { title: "Wichmann-Hill", number: 0x500000 },
  mcg59: { title: "MCG59", number: 0x400000 },
  mcg31: { title: "MCG31", number: 0x100000 },
  r250: { title: "R250", number: 0x200000 },
};
const pseudo = Object.fromEntries(Object.entries(generators).filter(([, { quasi }]) => !quasi));
const scramblings = {
  none: { title: "none", number: -1 },
  shift: { title: "digital shift", number: 1 },
  linear: { title: "linear, and a shift", number: 2 },
};

// The words that the address may have.
export const choices = { generator: generators, other: pseudo, scrambling: scramblings, integrand: integrands };

const largestPower = 14;
const scrambles = ({ generator, scrambling }) => generator === "sobol" && scrambling !== "none";

export function makeDraw(library, state, changed) {
  const square = makePanel(byId("square"), { title: "" });
  const errors = makePanel(byId("errors"), { title: "Error", scales: [scaleLog(), scaleLog()] });

  // count points in the dimensions chosen. Unscrambled quasi-random streams leave out their first point, the origin; it is
  // put back, since the first 2^m points are a net with it.
  const pointsOf = (name, count, seed) => {
    const { dimension, scrambling } = state.draw;
    const { number, quasi } = generators[name];
    const scrambled = name === "sobol" && scrambling !== "none";
    if (!quasi || scrambled)
      return library.draw(number, seed, dimension, scrambled ? scramblings[scrambling].number : -1, count * dimension);
    const all = new Float64Array(count * dimension);
    if (count > 1) all.set(library.draw(number, seed, dimension, -1, (count - 1) * dimension), dimension);
    return all;
  };

  const coordinate = (points, k) => points.filter((_, i) => i % state.draw.dimension === k);

  const drawSquare = () => {
    const { generator, a, b, m, seed, shape } = state.draw;
    const points = pointsOf(generator, 2 ** m, seed);
    const [u, v] = [coordinate(points, a), coordinate(points, b)];
    square.x.domain([0, 1]);
    square.y.domain([0, 1]);
    square.resize();
    square.clear();
    square.axes();
    byId("shape").max = m;
    byId("shape").value = shape;
    const { title, quasi } = generators[generator];
    let text = `${2 ** m} points of ${title}. Pseudo-random points fall where they like: boxes of equal size hold different numbers of them.`;
    let words = "Choose Sobol or Niederreiter to see boxes.";
    if (quasi && a !== b) {
      const t = qualityOf(u, v, m);
      const inner = m - t;
      const across = Math.min(shape, inner);
      byId("shape").max = inner;
      const { boxes, uneven } = boxesOf(u, v, across, inner - across, 2 ** t);
      square.boxes(boxes, css("--mark"), css("--edge"));
      text = `${2 ** m} points of ${title}${scrambles(state.draw) ? ", scrambled" : ", its first point 0 included"}. In these two coordinates t = ${t}; the smaller t is, the more even they are.`;
      words = `Every box of this size, whatever its shape, holds exactly 2^t = ${2 ** t} of the points${uneven ? `; ${uneven} do not` : ""}.`;
      byId("shape-text").textContent = `${2 ** across} × ${2 ** (inner - across)}`;
    } else {
      byId("shape-text").textContent = "";
    }
    byId("shape").disabled = !quasi || a === b;
    square.dots(u, v, m > 11 ? 1.2 : m > 8 ? 2 : 3.5, colour(0));
    byId("about").textContent = text;
    byId("boxes").textContent = words;
  };

  const drawErrors = () => {
    const { generator, other, dimension, integrand, seed } = state.draw;
    const quasi = generators[generator].quasi ? generator : "sobol";
    const seeds = (runs) => Array.from({ length: runs }, (_, i) => (seed + i) % 2 ** 32);
    const measure = (name, runs) =>
      meanErrors(
        integrands[integrand],
        dimension,
        seeds(runs).map((s) => pointsOf(name, 2 ** largestPower, s)),
        largestPower,
      );
    const scrambled = quasi === "sobol" && state.draw.scrambling !== "none";
    const lines = [
      { title: generators[other].title, errors: measure(other, pseudoRuns), stroke: colour(1), dash: [7, 3] },
      {
        title: generators[quasi].title,
        errors: measure(quasi, scrambled ? pseudoRuns : 1),
        stroke: colour(0),
        dash: [],
      },
    ];
    const n = lines[0].errors.map((_, k) => 2 ** k);
    const all = lines.flatMap((line) => line.errors).filter((e) => e > 0);
    errors.x.domain([1, 2 ** largestPower]);
    errors.y.domain([Math.max(Math.min(...all) / 2, 1e-17), Math.max(...all) * 2]);
    errors.resize();
    errors.clear();
    errors.axes({ xTitle: "number of points", yForm: "~e" });
    for (const { errors: values, stroke, dash } of lines) {
      const shown = values.map((e) => (e > 0 ? e : NaN));
      errors.curve(n, shown, { stroke, dash });
      errors.dots(
        n.filter((_, k) => values[k] > 0),
        values.filter((e) => e > 0),
        2.5,
        stroke,
      );
    }
    const last = (line) => line.errors[largestPower].toPrecision(2);
    byId("error-text").textContent =
      `${lines[1].title} (solid) and ${lines[0].title} (dashed) in ${dimension} dimensions: errors of ${last(lines[1])} and ` +
      `${last(lines[0])} with ${2 ** largestPower} points. Pseudo-random errors are the root mean square over ${pseudoRuns} seeds` +
      `${scrambled ? ", scrambled ones too." : "."}`;
  };

  const showAll = () => {
    drawSquare();
    drawErrors();
    changed();
  };

  const field = (label, input) => {
    const made = document.createElement("label");
    made.append(label, input);
    return made;
  };
  const choice = (name, label, table) => {
    const select = document.createElement("select");
    select.id = `draw-${name}`;
    for (const [value, { title }] of Object.entries(table))
      select.append(new Option(title, value, false, value === state.draw[name]));
    select.onchange = () => {
      state.draw[name] = select.value;
      show();
    };
    return field(label, select);
  };
  const number = (name, label, least, most, from = 0) => {
    const input = Object.assign(document.createElement("input"), {
      type: "number",
      min: least,
      max: most,
      value: state.draw[name] + from,
    });
    input.id = `draw-${name}`;
    input.onchange = () => {
      const value = Math.round(Number(input.value));
      if (Number.isFinite(value)) state.draw[name] = Math.max(least, Math.min(most, value)) - from;
      const { draw } = state;
      [draw.a, draw.b] = [Math.min(draw.a, draw.dimension - 1), Math.min(draw.b, draw.dimension - 1)];
      draw.shape = Math.min(draw.shape, draw.m);
      show();
    };
    return field(label, input);
  };

  const show = () => {
    const { dimension, generator } = state.draw;
    const scrambling = choice("scrambling", "scrambling (Sobol)", scramblings);
    scrambling.lastChild.disabled = generator !== "sobol";
    const focused = document.activeElement?.id;
    byId("draw-options").replaceChildren(
      choice("generator", "generator", generators),
      number("m", "2 to this many points", 0, largestPower),
      number("dimension", "dimensions", 2, 40),
      number("a", "coordinate across", 1, dimension, 1),
      number("b", "coordinate up", 1, dimension, 1),
      number("seed", "seed", 0, 2 ** 32 - 1),
      scrambling,
    );
    byId("integral-options").replaceChildren(choice("integrand", "of", integrands), choice("other", "beside", pseudo));
    if (focused?.startsWith("draw-")) byId(focused)?.focus();
    showAll();
  };

  byId("shape").addEventListener("input", () => {
    state.draw.shape = Number(byId("shape").value);
    drawSquare();
    changed();
  });
  new ResizeObserver(() => !byId("draw").hidden && showAll()).observe(byId("square"));

  return { show };
}
