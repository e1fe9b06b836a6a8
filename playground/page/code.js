// The programs that make a curve of the page and print its values at the chosen sites.

import { kinds, outsides, request } from "./kinds.js";

// Numbers in lines of a readable length.
function list(values, indent) {
  const lines = [];
  let line = "";
  for (const value of values) {
    const text = line === "" ? `${value}` : `, ${value}`;
    if (line.length + text.length > 92) {
      lines.push(`${line},`);
      line = `${value}`;
    } else {
      line += text;
    }
  }
  lines.push(line);
  return lines.length === 1 ? line : `\n${indent}${lines.join(`\n${indent}`)}`;
}

const hasEnds = ({ kind }) => kinds[kind].ends.length > 0;
const given = ({ type }) => type === "slope" || type === "curvature";
const bothAlike = ({ left, right }) => left.type === right.type && left.value === right.value;

const cppKinds = { "modified-akima": "modified_akima" };
const cppEnds = { own: "own_end()", free: "free_end()", "not-a-knot": "not_a_knot()" };
const cppOutsides = { proceed: null, clamp: "clamp", wrap: "wrap", nan: "outside_mode::nan" };

function cppOptions(curve, x, y, outside) {
  let text = `ravenfit::${cppKinds[curve.kind] ?? curve.kind}(`;
  if (curve.kind === "quadratic") text += request(curve, x, y).bc[0];
  if (curve.kind === "smoothing" && curve.lambda !== null) text += curve.lambda;
  text += ")";
  if (hasEnds(curve)) {
    const end = ({ type, value }) => `ravenfit::${cppEnds[type] ?? `${type}(${value})`}`;
    if (curve.left.type === "periodic") text += ".periodic()";
    else if (bothAlike(curve)) text += `.ends(${end(curve.left)})`;
    else text += `.left(${end(curve.left)}).right(${end(curve.right)})`;
  }
  const mode = cppOutsides[outside];
  return mode ? `${text}.outside(ravenfit::${mode})` : text;
}

function cpp({ curve, x, y, outside, sites }) {
  return `// g++ -std=c++17 curve.cpp $(pkg-config --cflags --libs ravenfit)
#include <cstddef>
#include <cstdio>
#include <vector>

#include <ravenfit/ravenfit.hpp>

int main() {
  const std::vector<double> x = {${list(x, "      ")}};
  const std::vector<double> y = {${list(y, "      ")}};
  const std::vector<double> sites = {${list(sites, "      ")}};
  const ravenfit::spline curve(x, y, ${cppOptions(curve, x, y, outside)});
  const std::vector<double> values = curve.at(sites);
  for (std::size_t i = 0; i < sites.size(); ++i) std::printf("%.10g %.10g\\n", sites[i], values[i]);
}
`;
}

const cKinds = {
  cubic: "DF_KIND_NATURAL",
  bessel: "DF_KIND_BESSEL",
  akima: "DF_KIND_AKIMA",
  "modified-akima": "DF_KIND_MODIFIED_AKIMA",
  pchip: "DF_KIND_PCHIP",
  steffen: "DF_KIND_STEFFEN",
  subbotin: "DF_KIND_SUBBOTIN",
  smoothing: "DF_KIND_NATURAL",
};
const cOrders = { 2: "DF_ORDER_LINEAR", 3: "DF_ORDER_QUADRATIC", 4: "DF_ORDER_CUBIC" };
const cBoth = {
  0: "DF_END_NONE",
  1: "DF_END_NOT_A_KNOT",
  2: "DF_END_FREE",
  64: "DF_END_PERIODIC",
  128: "DF_END_QUADRATIC_VALUE",
};
const cOutsides = { proceed: "CONTINUE", clamp: "CLAMP", wrap: "WRAP", nan: "NAN" };

function cEnds({ left, right }, bcType) {
  if (bcType in cBoth) return cBoth[bcType];
  const word = ({ type }) => (type === "slope" ? "SLOPE" : type === "not-a-knot" ? "NOT_A_KNOT" : "CURVATURE");
  const [a, b] = [word(left), word(right)];
  return a === "NOT_A_KNOT" || b === "NOT_A_KNOT" ? `DF_END_${a}_${b}` : `DF_END_LEFT_${a} + DF_END_RIGHT_${b}`;
}

function c({ curve, x, y, outside, sites }) {
  const { order, bcType, bc } = request(curve, x, y);
  const knotted = curve.kind === "subbotin";
  const smooth = curve.kind === "smoothing";
  const asked = `${cOrders[order]}, ${cKinds[curve.kind] ?? "DF_KIND_DEFAULT"}`;
  const edit = (ends, knots) =>
    `dfTaskEditSpline(task, ${asked}, ${ends}, bc, ${knots ? `DF_IC_KNOTS, ${knots}` : "DF_IC_NONE, NULL"}, coeff,
                              DF_COEFF_DEFAULT)`;
  const step = (call) => `  if (status == 0)\n    status = ${call};\n`;
  const create = "dfTaskCreate(&task, nx, x, DF_XHINT_NONE, 1, y, DF_VALUES_DEFAULT)";
  let made = `  int32_t status = ${create};\n`;
  if (smooth) {
    const method = curve.lambda === null ? "DF_SMOOTH_GCV, 0" : `DF_SMOOTH_LAMBDA, ${curve.lambda}`;
    made =
      `  int32_t status = dfSmooth(nx, x, DF_XHINT_NONE, 1, y, DF_VALUES_DEFAULT, NULL, ${method}, NULL, coeff);\n` +
      step(create) +
      step(edit("DF_END_NONE"));
  } else {
    made += step(edit(cEnds(curve, bcType), knotted ? "knots" : null)) + step("dfTaskConstruct(task, 0, 0)");
    if (knotted) made += step(edit("DF_END_NONE", "knots + 1"));
  }
  const mode = `DF_OUTSIDE_${cOutsides[outside]}`;
  const knots = `  double knots[nx + 1]; /* the middles of cells, and both ends */
  knots[0] = x[0];
  for (int i = 1; i < nx; ++i)
    knots[i] = x[i - 1] + 0.5 * (x[i] - x[i - 1]);
  knots[nx] = x[nx - 1];
`;
  return `/* cc -std=c99 curve.c $(pkg-config --cflags --libs ravenfit) */
#include <stdio.h>
#include <ravenfit/smoothing.h>
#include <ravenfit/spline_tools.h>
#include <ravenfit/tools.h>

int main(void) {
  static const double x[] = {${list(x, "      ")}};
  static const double y[] = {${list(y, "      ")}};
  static const double sites[] = {${list(sites, "      ")}};
  enum { nx = sizeof x / sizeof x[0], n = sizeof sites / sizeof sites[0] };
  const double bc[2] = {${(bc ?? [0, 0]).join(", ")}};
  static double coeff[${order} * nx];
  double values[n];
${knotted ? knots : ""}  DfTask* task = NULL;
${made}${step(`dfTaskSetOutside(task, ${mode}, ${mode}, 0)`)}${step(`dfTaskInterpolate(task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, n, sites, DF_SITES_GENERAL, 0,
                               NULL, NULL, values, DF_RESULTS_DEFAULT, NULL)`)}  if (task != NULL) dfTaskDestroy(&task);
  if (status != 0) {
    fprintf(stderr, "%s\\n", rvnStatusText(RVN_DOMAIN_FIT, status));
    return 1;
  }
  for (int i = 0; i < n; ++i)
    printf("%.10g %.10g\\n", sites[i], values[i]);
  return 0;
}
`;
}

const pyClasses = {
  cubic: "CubicSpline",
  akima: "Akima1DInterpolator",
  "modified-akima": "Akima1DInterpolator",
  pchip: "PchipInterpolator",
  steffen: "SteffenInterpolator",
  bessel: "BesselSpline",
  subbotin: "SubbotinSpline",
  quadratic: "QuadraticSpline",
  linear: "LinearSpline",
  smoothing: "SmoothingSpline",
};
const pyOutsides = { proceed: "True", clamp: '"clamp"', wrap: '"periodic"', nan: "False" };

function python({ curve, x, y, outside, sites }) {
  const { kind, left, right, lambda } = curve;
  const options = [];
  if (["cubic", "bessel", "subbotin"].includes(kind)) {
    const end = ({ type, value }) => {
      if (given({ type })) return `(${type === "slope" ? 1 : 2}, ${value})`;
      return type === "free" ? '"natural"' : `"${type}"`;
    };
    options.push(`bc_type=${bothAlike(curve) && !given(left) ? end(left) : `(${end(left)}, ${end(right)})`}`);
  } else if (hasEnds(curve) && left.type !== "own") {
    return `# This kind has its own ends in Python; the other languages have the curve shown.\n`;
  }
  if (kind === "modified-akima") options.push('method="makima"');
  if (kind === "quadratic") options.push(`midpoint=${request(curve, x, y).bc[0]}`);
  if (kind === "smoothing" && lambda !== null) options.push(`lam=${lambda}`);
  options.push(`extrapolate=${pyOutsides[outside]}`);
  return `from ravenfit import ${pyClasses[kind]}

x = [${list(x, "    ")}]
y = [${list(y, "    ")}]
sites = [${list(sites, "    ")}]
curve = ${pyClasses[kind]}(x, y, ${options.join(", ")})
for site, value in zip(sites, curve(sites)):
    print(f"{site:.10g} {value:.10g}")
`;
}

function command({ curve, x, y, outside, sites }) {
  const { kind, left, right, lambda } = curve;
  const data = `cat > points.csv <<'END'\nx,y\n${x.map((value, i) => `${value},${y[i]}`).join("\n")}\nEND\n`;
  if (kind === "smoothing") {
    const weight = lambda === null ? "" : ` --lambda ${lambda}`;
    return `${data}printf '%s\\n' site ${sites.join(" ")} > sites.csv\nravenfit smooth points.csv${weight} --at sites.csv --outside ${outside}\n`;
  }
  const end = ({ type, value }) => (given({ type }) ? `${type}=${value}` : type);
  const alike = bothAlike(curve) ? ` --ends ${end(left)}` : ` --left ${end(left)} --right ${end(right)}`;
  const ends = hasEnds(curve) ? alike : "";
  const middle = kind === "quadratic" ? ` --midpoints=${request(curve, x, y).bc[0]}` : "";
  return `${data}ravenfit eval points.csv --sites=${sites.join(",")} --kind ${kind}${middle}${ends} --outside ${outside}\n`;
}

const writers = { cpp, c, python, command };
export const languageTitles = { cpp: "C++", c: "C", python: "Python", command: "Command" };

// curve, x, y, outside and sites of the page as a program.
export const program = (language, what) => writers[language](what);
export const outsideTitles = Object.fromEntries(Object.entries(outsides).map(([name, { title }]) => [name, title]));
