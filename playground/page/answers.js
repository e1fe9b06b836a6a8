// What is read off the curves: a table of values, and the program that prints one column of it.

import { languageTitles, program } from "./code.js";
import { kinds } from "./kinds.js";

const byId = (id) => document.getElementById(id);

// Two sites outside and four between, of few digits.
function usualSites({ x }) {
  const [from, to] = [x[0], x[x.length - 1]];
  const digits = Math.max(0, Math.min(12, 2 - Math.floor(Math.log10(to - from))));
  return [-0.05, 0.1, 0.37, 0.63, 0.88, 1.05].map((part) => Number((from + part * (to - from)).toFixed(digits)));
}

const sitesOf = (state) => state.at ?? usualSites(state);
const shown = (value) => (Number.isFinite(value) ? String(Number(value.toPrecision(10))) : "none");
const inFull = (value) => (Number.isFinite(value) ? String(value) : "none");

export function showTable(state, evaluate) {
  const sites = sitesOf(state);
  if (document.activeElement !== byId("at")) byId("at").value = sites.join(", ");
  const columns = state.curves.map((curve) => evaluate(curve, sites).values);
  const cell = (name, text, title = text) => Object.assign(document.createElement(name), { textContent: text, title });
  const line = (cells) => {
    const row = document.createElement("tr");
    row.append(...cells);
    return row;
  };
  const heading = line([
    cell("th", "x"),
    ...state.curves.map(({ kind }) => cell("th", kinds[kind].title.split(",")[0])),
  ]);
  const rows = sites.map((site, i) =>
    line([
      cell("td", String(site)),
      ...columns.map((values) => (values ? cell("td", shown(values[i]), inFull(values[i])) : cell("td", "–"))),
    ]),
  );
  byId("table").replaceChildren(heading, ...rows);
}

export function showCode(state, evaluate) {
  const titles = state.curves.map(({ kind }, i) => [String(i), `${i + 1}: ${kinds[kind].title}`]);
  const fill = (id, entries, chosen) =>
    byId(id).replaceChildren(...entries.map(([value, title]) => new Option(title, value, false, value === chosen)));
  fill("code-curve", titles, String(state.chosen));
  fill("language", Object.entries(languageTitles), state.language);
  const curve = state.curves[state.chosen];
  const { message } = evaluate(curve, [state.x[0]]);
  const { x, y, outside, language } = state;
  byId("code").textContent = message
    ? `This curve is not drawn: ${message}`
    : program(language, { curve, x, y, outside, sites: sitesOf(state) });
}
