// Data sets of docs/choosing.md: a smooth function, a step, an outlier on a slow wave, noise; and many points. A noisy one asks for a smoothing spline.

const uneven = [0, 0.8, 1.8, 3, 3.7, 4.8, 6, 6.9, 7.7, 8.9, 10, 11.2, 12];
const rounded = (v) => Number(v.toFixed(4));
const over = (x, f) => ({ x: [...x], y: x.map((t, i) => rounded(f(t, i))) });

// A fixed sequence of numbers between -1 and 1 that look random (W. H. Press et al., the quick congruential one).
function noise() {
  let state = 7;
  return () => {
    state = (Math.imul(state, 1664525) + 1013904223) >>> 0;
    return state / 2 ** 31 - 1;
  };
}

function noisy(n, last, size) {
  const random = noise();
  const x = Array.from({ length: n }, (_, i) => rounded((i * last) / (n - 1)));
  return over(x, (t) => Math.sin(t) + size * (random() + random() + random()));
}

export const sets = {
  smooth: { title: "Smooth", make: () => over(uneven, (t) => Math.exp(-0.15 * t) * Math.sin(t)) },
  step: { title: "Step", make: () => over(uneven, (t) => (t > 5.4 ? 1 : 0)) },
  outlier: { title: "Outlier", make: () => over(uneven, (t, i) => 0.5 * Math.sin(0.4 * t) + (i === 6 ? 1 : 0)) },
  noise: { title: "Noise", noisy: true, make: () => noisy(60, 10, 0.2) },
  many: { title: "1,000 points", noisy: true, make: () => noisy(1000, 40, 0.05) },
};
