// The points over the main panel: dragged, added, removed, by pointer and by keyboard. One of them is chosen; it alone is
// a stop of the Tab key.

import { svgElement } from "./plot.js";

const longPress = 600; // ms
const farthest = 4; // pixels that a press may wander

// Browsers take long to repaint many circles: beyond this number they only take the pointer and the focus, and the canvas
// below shows the points.
export const areMany = ({ x }) => x.length > 200;

// on: moving(i) while point i is dragged, settled() when it is let go, changed() when points come or go, say(text, bad).
export function makePoints(panel, state, on) {
  const layer = panel.svg;
  let chosen = 0;
  let circles = [];

  const told = (i) => `Point ${i + 1} of ${state.x.length}: x ${state.x[i]}, y ${state.y[i]}`;

  const place = (i) => {
    const circle = circles[i];
    circle.setAttribute("cx", panel.x(state.x[i]));
    circle.setAttribute("cy", panel.y(state.y[i]));
    circle.setAttribute("aria-label", told(i));
  };

  const choose = (i) => {
    circles[chosen]?.setAttribute("tabindex", -1);
    circles[chosen]?.classList.remove("chosen");
    chosen = Math.max(0, Math.min(i, state.x.length - 1));
    circles[chosen]?.setAttribute("tabindex", 0);
    circles[chosen]?.classList.add("chosen");
  };

  const show = () => {
    const radius = state.x.length > 40 ? 4.5 : 6.5;
    layer.classList.toggle("many", areMany(state));
    while (circles.length > state.x.length) circles.pop().remove();
    while (circles.length < state.x.length) {
      const circle = svgElement("circle", {
        class: "point",
        role: "button",
        tabindex: -1,
        "data-index": circles.length,
      });
      layer.append(circle);
      circles.push(circle);
    }
    circles.forEach((circle, i) => {
      circle.setAttribute("r", radius);
      place(i);
    });
    choose(chosen);
  };

  // To a place as a number of few digits, between the neighbours.
  const moveTo = (i, x, y) => {
    const before = state.x[i - 1] ?? -1e100;
    const after = state.x[i + 1] ?? 1e100;
    const [from, to] = panel.x.domain();
    const least = 1e-6 * (to - from);
    const fine = (value, [low, high]) =>
      Number(value.toFixed(Math.max(0, Math.min(12, 3 - Math.floor(Math.log10(high - low))))));
    const at = fine(x, [from, to]);
    if (at - before >= least && after - at >= least) state.x[i] = at;
    const height = fine(y, panel.y.domain());
    if (Math.abs(height) <= 1e100) state.y[i] = height;
    place(i);
    on.moving(i);
  };

  const add = (x, y) => {
    if (state.x.includes(x)) return on.say("There is a point at this x already.", true);
    const at = state.x.findIndex((value) => value > x);
    const i = at < 0 ? state.x.length : at;
    state.x.splice(i, 0, x);
    state.y.splice(i, 0, y);
    chosen = i;
    on.changed();
    circles[chosen].focus();
  };

  const remove = (i = chosen) => {
    if (state.x.length <= 2) return on.say("Two points must stay.", true);
    state.x.splice(i, 1);
    state.y.splice(i, 1);
    chosen = Math.min(i, state.x.length - 1);
    on.changed();
    circles[chosen].focus();
  };

  const position = (event) => {
    const { left, top } = panel.svg.getBoundingClientRect();
    return [event.clientX - left, event.clientY - top];
  };

  // Where circles overlap, the pointer is on the topmost one, and somebody means the nearest.
  const nearest = (px, py) => {
    const distance = (i) => Math.hypot(panel.x(state.x[i]) - px, panel.y(state.y[i]) - py);
    let best = 0;
    for (let i = 1; i < state.x.length; ++i) if (distance(i) < distance(best)) best = i;
    return best;
  };

  layer.addEventListener("pointerdown", (event) => {
    if (!event.target.closest("circle.point") || event.button !== 0) return;
    const start = position(event);
    const i = nearest(...start);
    const circle = circles[i];
    choose(i);
    circle.setPointerCapture(event.pointerId);
    const offset = [panel.x(state.x[i]) - start[0], panel.y(state.y[i]) - start[1]];
    let moved = false;
    const timer = setTimeout(() => {
      if (moved) return;
      end();
      remove(i);
    }, longPress);
    const move = (next) => {
      const [px, py] = position(next);
      moved ||= Math.hypot(px - start[0], py - start[1]) > farthest;
      if (!moved) return;
      moveTo(i, panel.x.invert(px + offset[0]), panel.y.invert(py + offset[1]));
    };
    const end = () => {
      clearTimeout(timer);
      circle.removeEventListener("pointermove", move);
      circle.removeEventListener("pointerup", end);
      circle.removeEventListener("pointercancel", end);
      if (moved) on.settled();
    };
    circle.addEventListener("pointermove", move);
    circle.addEventListener("pointerup", end);
    circle.addEventListener("pointercancel", end);
  });

  // A long press is ours.
  layer.addEventListener("contextmenu", (event) => event.target.closest("circle.point") && event.preventDefault());

  panel.svg.addEventListener("dblclick", (event) => {
    if (event.target.closest("circle.point")) return;
    const [px, py] = position(event);
    const [left, right] = panel.x.range();
    if (px < left || px > right) return;
    add(Number(panel.x.invert(px).toPrecision(5)), Number(panel.y.invert(py).toPrecision(4)));
  });

  layer.addEventListener("focusin", (event) => {
    const circle = event.target.closest("circle.point");
    if (circle) choose(Number(circle.dataset.index));
  });

  const steps = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, 1], ArrowDown: [0, -1] };
  layer.addEventListener("keydown", (event) => {
    const turns = { PageDown: chosen + 1, PageUp: chosen - 1, Home: 0, End: state.x.length - 1 };
    if (event.key in turns) {
      choose(turns[event.key]);
      circles[chosen].focus();
    } else if (event.key in steps) {
      const pixels = event.shiftKey ? 10 : 1;
      const [dx, dy] = steps[event.key].map((step) => step * pixels);
      const across = dx * (panel.x.invert(1) - panel.x.invert(0));
      const up = dy * (panel.y.invert(0) - panel.y.invert(1));
      moveTo(chosen, state.x[chosen] + across, state.y[chosen] + up);
    } else if (event.key === "Delete" || event.key === "Backspace") {
      remove();
    } else {
      return;
    }
    event.preventDefault();
  });
  layer.addEventListener("keyup", (event) => event.key in steps && on.settled());

  return { show, place, choose, add, remove };
}
