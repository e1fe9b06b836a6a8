// The library in WebAssembly against the one of this processor, curve by curve: node library_test.mjs MODULE NATIVE.

import assert from "node:assert";
import { execFileSync } from "node:child_process";
import { readFileSync } from "node:fs";
import { kinds, newCurve, outsides, request } from "../page/kinds.js";
import { load } from "../page/library.js";

const [wasm, native] = process.argv.slice(2);
const library = await load(readFileSync(wasm));
const cases = execFileSync(native, { encoding: "utf8" })
  .trim()
  .split("\n")
  .map((line) => JSON.parse(line));

let furthest = 0;
for (const { kind, outside, left, right, lambda, midpoint, x, y, inner, sites, ...expected } of cases) {
  const curve = { ...newCurve(kind), lambda, midpoint };
  if (left) Object.assign(curve, { left, right });
  const got = library.curve(request(curve, x, y, inner), x, y, outsides[outside].number, sites);
  const where = `${kind}, ${left?.type}, ${right?.type}, ${lambda}, ${outside}`;
  assert.strictEqual(got.status, 0, `${where}: ${got.message}`);
  for (const [what, values] of Object.entries(expected)) {
    const size = Math.max(...values.map(Math.abs), 1);
    // A lambda found by search is known to 1e-5 of itself.
    const close = lambda === null ? 1e-4 : 1e-13;
    values.forEach((value, i) => {
      if (value === null) return assert.ok(Number.isNaN(got[what][i]), `${where}: ${what} at ${sites[i]}`);
      const off = Math.abs(got[what][i] - value) / size;
      if (lambda !== null) furthest = Math.max(furthest, off);
      assert.ok(off <= close, `${where}: ${what} at ${sites[i]}: ${got[what][i]}, native ${value}`);
    });
  }
}
assert.deepStrictEqual(
  Object.keys(kinds).filter((kind) => !cases.some((one) => one.kind === kind)),
  [],
);

// MT19937 with the key 1, of which CPython's random.seed(1) makes doubles of two words each; the points of Sobol's sequence
// behind the origin, as in P. Bratley and B. L. Fox, 1988.
const words = library.draw(0x800000, 1, 1, -1, 4);
[0.13436424411240122, 0.8474337369372327].forEach((double, i) => assert.ok(Math.abs(words[2 * i] - double) < 2 ** -26));
assert.deepStrictEqual([...library.draw(0x600000, 0, 2, -1, 6)], [0.5, 0.5, 0.75, 0.25, 0.25, 0.75]);
assert.throws(() => library.draw(0x600001, 0, 2, -1, 6), /generator/i);

console.log(`${cases.length} curves as on this processor, within ${furthest.toExponential(1)} of the largest value`);
