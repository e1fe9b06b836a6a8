// The first tab: points under people's hands, curves through them, their slopes and curvatures.

import { showCode, showTable } from "./answers.js";
import { showCurves } from "./curve_list.js";
import { isPeriodic, kinds, newCurve, obstacle, offered, outsides, request } from "./kinds.js";
import { colour, css, dashes, domainAround, makePanel } from "./plot.js";
import { parsePoints } from "./points.js";
import { areMany, makePoints } from "./point_layer.js";
import { sets } from "./sets.js";

const byId = (id) => document.getElementById(id);
export const options = (select, titles, chosen) => {
  select.replaceChildren(
    ...Object.entries(titles).map(([value, title]) => new Option(title, value, false, value === chosen)),
  );
};
const titlesOf = (table) => Object.fromEntries(Object.entries(table).map(([name, { title }]) => [name, title]));

export function makeFit(library, state, changed) {
  const panels = {
    values: makePanel(byId("values"), { title: "Value" }),
    slopes: makePanel(byId("slopes"), { title: "Slope" }),
    bends: makePanel(byId("bends"), { title: "Curvature (second derivative)" }),
  };
  const [main, ...lower] = Object.values(panels);
  let results = [];
  let sites = [];

  const say = (text, bad = false) => {
    byId("message").textContent = text;
    byId("message").classList.toggle("bad", bad);
  };

  const evaluate = (curve, at) => {
    const why = obstacle(curve, state.x.length);
    if (why) return { message: why };
    return library.curve(request(curve, state.x, state.y), state.x, state.y, outsides[state.outside].number, at);
  };

  // A site for each column of pixels, and the points themselves.
  const placeSites = () => {
    const [from, to] = main.x.domain();
    const [left, right] = main.x.range();
    const count = Math.max(Math.min(Math.round(right - left), 2000), 2);
    const all = Float64Array.from({ length: count + 1 }, (_, i) => from + ((to - from) * i) / count);
    const both = new Float64Array(all.length + state.x.length);
    both.set(all);
    both.set(state.x, all.length);
    sites = both.sort();
  };

  const compute = () => {
    placeSites();
    results = state.curves.map((curve) => evaluate(curve, sites));
  };

  const inside = () => [state.x[0], state.x[state.x.length - 1]];

  // The window: the data with some room, and as much of the curves as lies within twice their height.
  const frame = () => {
    const [from, to] = inside();
    main.x.domain([from - 0.12 * (to - from), to + 0.12 * (to - from)]);
    for (const panel of lower) panel.x.domain(main.x.domain());
    compute();
    const [low, high] = domainAround(state.y, 0);
    const shown = [low, high];
    for (const { values } of results)
      values?.forEach((v, i) => {
        const near = sites[i] >= from && sites[i] <= to && Math.abs(v - 0.5 * (low + high)) <= 1.5 * (high - low);
        if (near) shown.push(v);
      });
    main.y.domain(domainAround(shown, 0.12));
  };

  const frameLower = () => {
    const [from, to] = inside();
    for (const [name, panel] of [
      ["slopes", panels.slopes],
      ["bends", panels.bends],
    ]) {
      const shown = [];
      for (const result of results)
        for (let i = 0; result[name] && i < sites.length; i += 2)
          if (sites[i] >= from && sites[i] <= to) shown.push(result[name][i]);
      panel.y.domain(domainAround(shown, 0.15, 0.01));
    }
  };

  // The lower windows follow too, but where one point of many hardly changes them.
  const drawCurves = (moving = false) => {
    const many = areMany(state);
    const strokes = results.map((_, i) => colour(i));
    const dots = css("--point");
    if (!moving || !many) frameLower();
    for (const [name, panel] of Object.entries(panels)) {
      panel.clear();
      panel.axes({ inside: inside(), xTitle: name === "values" ? "shaded: outside the data" : null });
      // The first curve lies on top.
      for (let i = results.length - 1; i >= 0; --i) {
        const thin = many && state.curves[i].kind !== "smoothing";
        const line = {
          stroke: strokes[i],
          faint: inside(),
          width: thin ? 1 : 2,
          dash: many ? [] : dashes[i % dashes.length],
        };
        if (results[i][name]) panel.curve(sites, results[i][name], line);
      }
    }
    if (many) main.dots(state.x, state.y, 2.2, dots);
  };

  const answers = () => {
    showTable(state, evaluate);
    showCode(state, evaluate);
  };

  // Curves follow a point that is moved; the window stays, and so does what is read rather than seen, until it is let go.
  const follow = () => {
    compute();
    drawCurves(true);
  };

  let pending = 0;
  const soon = () => {
    if (pending) return;
    pending = requestAnimationFrame(() => {
      pending = 0;
      follow();
    });
  };

  const showAll = () => {
    // Ends of a period are one value.
    if (state.curves.some(isPeriodic)) state.y[state.y.length - 1] = state.y[0];
    for (const panel of Object.values(panels)) panel.resize();
    frame();
    points.show();
    drawCurves();
    showCurves(state, results, colour, { redraw: showAll, follow: () => (follow(), answers(), changed()) });
    answers();
    changed();
  };

  const own = () => {
    state.set = null;
    byId("set").value = "";
  };

  // The ends of a period move together.
  const points = makePoints(main, state, {
    moving: (i) => {
      own();
      if (state.curves.some(isPeriodic)) {
        const last = state.y.length - 1;
        if (i === 0) state.y[last] = state.y[0];
        if (i === last) state.y[0] = state.y[last];
        points.place(i === 0 ? last : 0);
      }
      soon();
    },
    settled: showAll,
    changed: () => {
      own();
      showAll();
    },
    say,
  });

  // In the widest gap, on the first curve that is drawn.
  const addPoint = () => {
    let widest = 0;
    for (let i = 1; i + 1 < state.x.length; ++i)
      if (state.x[i + 1] - state.x[i] > state.x[widest + 1] - state.x[widest]) widest = i;
    const x = 0.5 * (state.x[widest] + state.x[widest + 1]);
    const drawn = state.curves.map((curve) => evaluate(curve, [x])).find(({ values }) => Number.isFinite(values?.[0]));
    points.add(x, drawn ? drawn.values[0] : 0.5 * (state.y[widest] + state.y[widest + 1]));
  };

  const takePasted = () => {
    const taken = parsePoints(byId("csv").value);
    if (taken.message) return say(taken.message, true);
    Object.assign(state, { x: taken.x, y: taken.y, at: null });
    points.choose(0);
    own();
    say(taken.note);
    showAll();
  };

  const listen = (id, event, handler) => byId(id).addEventListener(event, handler);
  listen("set", "change", () => {
    const set = byId("set").value;
    if (!sets[set]) return;
    Object.assign(state, { set, at: null, ...sets[set].make() });
    const smooths = state.curves.some(({ kind }) => kind === "smoothing");
    if (sets[set].noisy && !smooths && state.curves.length < dashes.length) state.curves.unshift(newCurve("smoothing"));
    points.choose(0);
    say("");
    showAll();
  });
  listen("add", "click", addPoint);
  listen("remove", "click", () => points.remove());
  listen("paste", "click", () => {
    const open = byId("pasting").hidden;
    byId("pasting").hidden = !open;
    byId("paste").setAttribute("aria-expanded", open);
    if (open) byId("csv").focus();
  });
  listen("take", "click", takePasted);
  listen("outside", "change", () => {
    state.outside = byId("outside").value;
    showAll();
  });
  listen("new-kind", "change", () => {
    const kind = byId("new-kind").value;
    byId("new-kind").value = "";
    if (!kind || state.curves.length >= dashes.length) return;
    state.curves.push(newCurve(kind));
    showAll();
  });
  listen("code-curve", "change", () => {
    state.chosen = Number(byId("code-curve").value);
    answers();
    changed();
  });
  listen("language", "change", () => {
    state.language = byId("language").value;
    answers();
    changed();
  });
  listen("at", "change", () => {
    const at = byId("at")
      .value.split(/[,;\s]+/)
      .filter(Boolean)
      .map(Number);
    if (at.some((v) => !(Math.abs(v) <= 1e100)))
      return say("The sites must be numbers with commas between them.", true);
    state.at = at.length > 0 ? at.slice(0, 20) : null;
    say("");
    answers();
    changed();
  });
  listen("copy", "click", async () => {
    const text = byId("code").textContent;
    try {
      await navigator.clipboard.writeText(text);
    } catch {
      // Pages from files may not write to the clipboard; the old way still works there.
      const area = document.createElement("textarea");
      area.value = text;
      document.body.append(area);
      area.select();
      document.execCommand("copy");
      area.remove();
    }
    byId("copy").textContent = "Copied";
    setTimeout(() => (byId("copy").textContent = "Copy"), 1500);
  });
  new ResizeObserver(() => !byId("fit").hidden && showAll()).observe(byId("values"));
  matchMedia("(prefers-color-scheme: dark)").addEventListener("change", showAll);

  return {
    say,
    show() {
      options(byId("set"), { "": "your own", ...titlesOf(sets) }, state.set ?? "");
      options(byId("outside"), titlesOf(outsides), state.outside);
      const all = Object.fromEntries(offered.map((kind) => [kind, kinds[kind].title]));
      options(byId("new-kind"), { "": "a curve…", ...all }, "");
      showAll();
    },
  };
}
