// The page: its two tabs, its state, and the address that keeps it.

import wasm from "../../build/playground/wasm/ravenfit.wasm";
import { fromAddress, toAddress, usualState } from "./address.js";
import { choices, makeDraw } from "./draw.js";
import { makeFit } from "./fit.js";
import { load, whatIsMissing } from "./library.js";

const byId = (id) => document.getElementById(id);

function refuse(why) {
  byId("missing").textContent =
    `${why} The playground needs it. A current Firefox, Chrome, Edge or Safari has what it takes.`;
  byId("missing").hidden = false;
}

async function start() {
  const missing = whatIsMissing();
  if (missing) return refuse(missing);
  const library = await load(wasm);

  const state = usualState();
  let written = null;
  let waiting = 0;
  // Browsers refuse an address that changes too often.
  const changed = () => {
    clearTimeout(waiting);
    waiting = setTimeout(() => {
      written = toAddress(state);
      history.replaceState(null, "", written);
    }, 250);
  };

  const tabs = { fit: makeFit(library, state, changed), draw: makeDraw(library, state, changed) };
  const open = (name) => {
    state.tab = name;
    for (const tab of Object.keys(tabs)) {
      byId(tab).hidden = tab !== name;
      byId(`tab-${tab}`).setAttribute("aria-selected", tab === name);
      byId(`tab-${tab}`).tabIndex = tab === name ? 0 : -1;
    }
    tabs[name].show();
  };
  const names = Object.keys(tabs);
  names.forEach((name, i) => {
    byId(`tab-${name}`).onclick = () => open(name);
    byId(`tab-${name}`).onkeydown = ({ key }) => {
      if (key !== "ArrowRight" && key !== "ArrowLeft") return;
      const next = names[(i + 1) % names.length];
      open(next);
      byId(`tab-${next}`).focus();
    };
  });

  const read = () => {
    const { state: found, message } = fromAddress(location.hash, choices);
    Object.assign(state, found);
    open(state.tab);
    tabs.fit.say(message ?? "", Boolean(message));
  };
  window.addEventListener("hashchange", () => location.hash !== written && read());
  read();
}

start().catch((error) => refuse(`The library could not be started (${error.message}).`));
