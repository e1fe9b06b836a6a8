// What the page knows of spline kinds and their ends, in the numbers of ravenfit/data_fitting.h.

const all = ["free", "not-a-knot", "slope", "curvature", "periodic"];
const ownToo = ["own", ...all];

// least: the fewest points; ends: those that a kind serves, its usual one first; inner: it takes slopes (1) or second
// derivatives (2) at the inner points, which the page does not offer.
export const kinds = {
  cubic: {
    title: "Cubic, smoothest",
    order: 4,
    kind: 2,
    least: 3,
    ends: ["not-a-knot", "free", "slope", "curvature", "periodic"],
  },
  akima: { title: "Akima", order: 4, kind: 5, least: 5, ends: ownToo },
  "modified-akima": { title: "Modified Akima", order: 4, kind: 0x101, least: 5, ends: ownToo },
  pchip: { title: "PCHIP, monotone", order: 4, kind: 0x102, least: 3, ends: ownToo },
  steffen: { title: "Steffen, monotone", order: 4, kind: 0x103, least: 3, ends: ownToo },
  bessel: {
    title: "Bessel",
    order: 4,
    kind: 4,
    least: 4,
    ends: ["not-a-knot", "free", "slope", "curvature", "periodic"],
  },
  subbotin: { title: "Subbotin, parabolas", order: 3, kind: 1, least: 3, ends: ["curvature", "slope"] },
  quadratic: { title: "Quadratic, from a midpoint", order: 3, kind: 0, least: 2, ends: [] },
  linear: { title: "Linear", order: 2, kind: 0, least: 2, ends: [] },
  smoothing: { title: "Smoothing, for noise", order: 4, kind: 2, least: 2, ends: [] },
  hermite: { title: "Hermite", order: 4, kind: 3, least: 3, ends: all, inner: 1 },
  "second-derivatives": { title: "Given second derivatives", order: 4, kind: 0, least: 3, ends: all, inner: 2 },
};

export const offered = Object.keys(kinds).filter((name) => !kinds[name].inner);

export const endTitles = {
  own: "usual",
  free: "free",
  "not-a-knot": "not-a-knot",
  slope: "slope",
  curvature: "curvature",
  periodic: "periodic",
};

// What a curve is outside of its points, as dfTaskSetOutside numbers it.
export const outsides = {
  proceed: { title: "goes on", number: 0 },
  clamp: { title: "stays at the last value", number: 1 },
  wrap: { title: "repeats", number: 4 },
  nan: { title: "is not drawn", number: 3 },
};

export const end = (type, value = 0) => ({ type, value });

// A new curve of a kind; lambda and midpoint are null where the library or the points decide.
export function newCurve(kind) {
  const usual = kinds[kind].ends[0] ?? "own";
  return { kind, left: end(usual), right: end(usual), lambda: null, midpoint: null };
}

export const isPeriodic = (curve) => kinds[curve.kind].ends.includes(curve.left.type) && curve.left.type === "periodic";

const bothEnds = { own: 0, "not-a-knot": 1, free: 2, periodic: 64 };
const leftEnd = { slope: 4, curvature: 16, free: 16, "not-a-knot": 0x100 };
const rightEnd = { slope: 8, curvature: 32, free: 32, "not-a-knot": 0x200 };

// The bcType of two ends; undefined where no kind has the pair.
export function boundaryType(left, right) {
  if (left === right && left in bothEnds) return bothEnds[left];
  return left in leftEnd && right in rightEnd ? leftEnd[left] + rightEnd[right] : undefined;
}

// The value at the middle of the first cell on the parabola through the first three points.
export function usualMidpoint(x, y) {
  const middle = 0.5 * (y[0] + y[1]);
  if (x.length < 3) return middle;
  const [g, h] = [x[1] - x[0], x[2] - x[1]];
  return middle - (0.25 * g * g * ((y[2] - y[1]) / h - (y[1] - y[0]) / g)) / (g + h);
}

// Why a curve cannot be drawn through n points, in words for people; null if it can.
export function obstacle(curve, n) {
  const { left, right } = curve;
  const twoKnots = left.type === "not-a-knot" && right.type === "not-a-knot";
  let least = kinds[curve.kind].least;
  if (curve.kind === "cubic" && twoKnots) least = 4;
  if (curve.kind === "smoothing" && curve.lambda === null) least = 5;
  return n < least ? `needs ${least} points` : null;
}

// A curve as library.js takes it.
export function request(curve, x, y, inner = []) {
  const { order, kind, ends, inner: icType = 0 } = kinds[curve.kind];
  if (curve.kind === "smoothing") return { order, kind, lambda: curve.lambda };
  if (curve.kind === "quadratic") return { order, kind, bcType: 128, bc: [curve.midpoint ?? usualMidpoint(x, y), 0] };
  const { left, right } = curve;
  const bcType = ends.length === 0 ? 0 : boundaryType(left.type, right.type);
  const value = ({ type, value }) => (type === "slope" || type === "curvature" ? value : 0);
  return { order, kind, bcType, bc: [value(left), value(right)], icType, ic: inner };
}
