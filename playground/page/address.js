// The state of the page in its address, behind the #. What comes from there is tested like anything else from outside.

import { boundaryType, end, kinds, newCurve, offered, outsides } from "./kinds.js";
import { fault } from "./points.js";
import { sets } from "./sets.js";

export const languages = ["cpp", "c", "python", "command"];
const mostCurves = 8;

export function usualState() {
  return {
    tab: "fit",
    set: "smooth",
    ...sets.smooth.make(),
    curves: [newCurve("cubic"), newCurve("akima"), newCurve("pchip")],
    outside: "proceed",
    chosen: 0,
    language: "cpp",
    at: null,
    draw: {
      generator: "sobol",
      other: "mt19937",
      dimension: 2,
      a: 0,
      b: 1,
      m: 8,
      seed: 1,
      scrambling: "none",
      shape: 4,
      integrand: "smooth",
    },
  };
}

const written = ({ type, value }) => (value === 0 ? type : `${type}:${value}`);

function curveText(curve) {
  const { kind, left, right, lambda, midpoint } = curve;
  const number = kind === "smoothing" ? lambda : kind === "quadratic" ? midpoint : null;
  if (kinds[kind].ends.length > 0) return [kind, written(left), written(right)].join("~");
  return number === null ? kind : `${kind}~${number}`;
}

export function toAddress(state) {
  const parts = [`tab=${state.tab}`];
  if (state.set) parts.push(`set=${state.set}`);
  else parts.push(`points=${state.x.map((x, i) => `${x},${state.y[i]}`).join("_")}`);
  for (const curve of state.curves) parts.push(`curve=${curveText(curve)}`);
  parts.push(`outside=${state.outside}`, `code=${state.language},${state.chosen}`);
  if (state.at) parts.push(`at=${state.at.join(",")}`);
  parts.push(`draw=${Object.values(state.draw).join(",")}`);
  return `#${parts.join("&")}`;
}

const finite = (text) => {
  const value = text === undefined || text.trim() === "" ? NaN : Number(text);
  return Math.abs(value) <= 1e100 ? value : NaN;
};

function readEnd(text, kind) {
  const [type, value = "0"] = text.split(":");
  return kinds[kind].ends.includes(type) && !Number.isNaN(finite(value)) ? end(type, finite(value)) : null;
}

function readCurve(text) {
  const [kind, ...rest] = text.split("~");
  if (!offered.includes(kind)) return null;
  const curve = newCurve(kind);
  if (kinds[kind].ends.length > 0 && rest.length === 2) {
    const [left, right] = rest.map((part) => readEnd(part, kind));
    if (!left || !right || boundaryType(left.type, right.type) === undefined) return null;
    return { ...curve, left, right };
  }
  if (rest.length === 0) return curve;
  const number = finite(rest[0]);
  if (Number.isNaN(number)) return null;
  if (kind === "smoothing" && number >= 0) return { ...curve, lambda: number };
  return kind === "quadratic" ? { ...curve, midpoint: number } : null;
}

const whole = (text, least, most, otherwise) => {
  const value = finite(text);
  return Number.isInteger(value) && value >= least && value <= most ? value : otherwise;
};

// choices: what the words of the second tab may be.
function readDraw(text, usual, choices) {
  const [generator, other, dimension, a, b, m, seed, scrambling, shape, integrand] = text.split(",");
  const word = (name, value) => (Object.hasOwn(choices[name], value ?? "") ? value : usual[name]);
  const read = {
    generator: word("generator", generator),
    other: word("other", other),
    dimension: whole(dimension, 2, 40, usual.dimension),
    m: whole(m, 0, 14, usual.m),
    seed: whole(seed, 0, 2 ** 32 - 1, usual.seed),
    scrambling: word("scrambling", scrambling),
    integrand: word("integrand", integrand),
  };
  read.a = whole(a, 0, read.dimension - 1, 0);
  read.b = whole(b, 0, read.dimension - 1, 1);
  read.shape = whole(shape, 0, read.m, read.m >> 1);
  return { ...usual, ...read };
}

// Addresses that were sent around may have their commas written as %2C.
function decoded(address) {
  try {
    return decodeURIComponent(address);
  } catch {
    return address;
  }
}

// The state of an address, and a message where a part of it was not understood and the usual one stands for it.
export function fromAddress(address, choices) {
  const state = usualState();
  let message = null;
  const wrong = (what) => (message = `The address has ${what} that cannot be read; the usual ones are shown.`);
  const curves = [];
  for (const part of decoded(address).replace(/^#/, "").split("&")) {
    const cut = part.indexOf("=");
    const [name, value] = [part.slice(0, cut), part.slice(cut + 1)];
    if (name === "tab" && ["fit", "draw"].includes(value)) state.tab = value;
    if (name === "set") {
      if (Object.hasOwn(sets, value)) Object.assign(state, { set: value, ...sets[value].make() });
      else wrong("a data set");
    }
    if (name === "points") {
      const pairs = value.split("_").map((pair) => pair.split(",").map(finite));
      const [x, y] = [pairs.map((pair) => pair[0]), pairs.map((pair) => pair[1])];
      if (pairs.every((pair) => pair.length === 2) && fault(x, y) === null) Object.assign(state, { set: null, x, y });
      else wrong("points");
    }
    if (name === "curve" && curves.length < mostCurves) {
      const curve = readCurve(value);
      if (curve) curves.push(curve);
      else wrong("a curve");
    }
    if (name === "outside" && Object.hasOwn(outsides, value)) state.outside = value;
    if (name === "at") {
      const at = value.split(",").slice(0, 20).map(finite);
      if (!at.some(Number.isNaN)) state.at = at;
    }
    if (name === "code") {
      const [language, chosen] = value.split(",");
      if (languages.includes(language)) state.language = language;
      state.chosen = whole(chosen, 0, mostCurves - 1, 0);
    }
    if (name === "draw") state.draw = readDraw(value, state.draw, choices);
  }
  if (curves.length > 0) state.curves = curves;
  if (state.chosen >= state.curves.length) state.chosen = 0;
  return { state, message };
}
