// The library in WebAssembly against the one of this processor, curve by curve: node library_test.mjs MODULE NATIVE.

import assert from "node:assert";
import { execFileSync } from "node:child_process";
import { readFileSync } from "node:fs";
import { kinds, newCurve, outsides, request } from "../page/kinds.js";
import { load } from "../page/library.js";

const [wasm, native] = process.argv.slice(2);
const library = await load(readFileSync(wasm));
const cases = execFileSync(native, { encoding: "utf8" }).trim().split("\n").map((line) => JSON.parse(line));

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
assert.deepStrictEqual(Object.keys(kinds).filter((kind) => !cases.some((one) => one.kind === kind)), []);
console.log(`${cases.length} curves as on this processor, within ${furthest.toExponential(1)} of the largest value`);
