// Functions over the unit cube whose integrals are known, and the errors of their means over points.

// f takes the points, where one of them begins, and its dimensions.
const product = (factor) => (p, from, dimension) => {
  let value = 1;
  for (let k = 0; k < dimension; ++k) value *= factor(p[from + k], k);
  return value;
};

// Every integral is 1 but for the corner, whose simplex x_1 + ... + x_s < 1 has volume 1 / s!.
export const integrands = {
  smooth: { title: "a smooth product", f: product((x, k) => 1 + (x - 0.5) / (k + 1)), exact: () => 1 },
  wave: { title: "a wave", f: product((x, k) => 1 + Math.sin(2 * Math.PI * x) / (k + 1)), exact: () => 1 },
  kink: {
    title: "a product with kinks",
    f: product((x, k) => 1 + (Math.abs(4 * x - 2) - 1) / (k + 1)),
    exact: () => 1,
  },
  corner: {
    title: "a corner cut off",
    f: (p, from, dimension) => {
      let sum = 0;
      for (let k = 0; k < dimension; ++k) sum += p[from + k];
      return sum < 1 ? 1 : 0;
    },
    exact: (dimension) => {
      let volume = 1;
      for (let k = 2; k <= dimension; ++k) volume /= k;
      return volume;
    },
  },
};

export const pseudoRuns = 8;

// Errors of the means over the first 1, 2, 4, ... 2^most points; of several runs their root mean square.
export function meanErrors({ f, exact }, dimension, runs, most) {
  const truth = exact(dimension);
  const squares = new Float64Array(most + 1);
  for (const points of runs) {
    let sum = 0;
    let k = 0;
    for (let n = 1; n <= 2 ** most; ++n) {
      sum += f(points, (n - 1) * dimension, dimension);
      if (n !== 2 ** k) continue;
      squares[k] += (sum / n - truth) ** 2;
      ++k;
    }
  }
  return Array.from(squares, (square) => Math.sqrt(square / runs.length));
}
