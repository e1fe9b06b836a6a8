// Puts style, scripts and the library into one page that needs no server: node build.mjs PAGE.

import { mkdirSync, readFileSync, writeFileSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";
import { build } from "esbuild";

const here = dirname(fileURLToPath(import.meta.url));
const page = process.argv[2];
const read = (...names) => readFileSync(join(here, ...names), "utf8");

const { outputFiles, metafile } = await build({
  entryPoints: [join(here, "page", "main.js")],
  bundle: true,
  minify: true,
  format: "iife",
  target: "es2022",
  charset: "utf8",
  loader: { ".wasm": "binary" },
  legalComments: "none",
  metafile: true,
  write: false,
});

// The licences of what is bundled stand in the page, since it is handed on whole; the module has parts of musl, the C
// library of Emscripten.
const packages = new Set(
  Object.keys(metafile.inputs).flatMap((name) => name.match(/node_modules\/((?:@[^/]+\/)?[^/]+)/)?.[1] ?? []),
);
const licences = [...packages].sort().map((name) => {
  const { version } = JSON.parse(read("node_modules", name, "package.json"));
  return `${name} ${version}\n\n${read("node_modules", name, "LICENSE")}`;
});
const musl = readFileSync("/usr/share/emscripten/system/lib/libc/musl/COPYRIGHT", "utf8");
const ours = readFileSync(join(here, "..", "LICENSE"), "utf8");
const notice = [`Ravenfit\n\n${ours}`, ...licences, `musl\n\n${musl}`].join("\n----\n\n");

const script = outputFiles[0].text.replaceAll("</script", "<\\/script");
// A function as replacement: `$` in what is put in has no meaning of its own.
const whole = read("page", "template.html")
  .replace("<!doctype html>\n", () => `<!doctype html>\n<!--\n${notice.replaceAll("--", "- -")}\n-->\n`)
  .replace("/*STYLE*/", () => read("page", "page.css"))
  .replace("/*SCRIPT*/", () => script);
mkdirSync(dirname(page), { recursive: true });
writeFileSync(page, whole);
console.log(`${page}: ${Math.round(whole.length / 1024)} KB`);
