// Points from text that people paste, or a message that says what is wrong with it and where.

export const mostPoints = 20000;
const largest = 1e100;

// Fields of a line, by the separator that the text uses; quotes around a field are dropped.
function separatorOf(line) {
  if (line.includes("\t")) return "\t";
  if (line.includes(";")) return ";";
  return line.includes(",") ? "," : /\s+/;
}

const number = (field, decimalComma) => {
  const text = field
    .trim()
    .replace(/^"(.*)"$/, "$1")
    .trim();
  const plain = decimalComma ? text.replace(",", ".") : text;
  return /^[-+]?(\d+\.?\d*|\.\d+)([eE][-+]?\d+)?$/.test(plain) ? Number(plain) : NaN;
};

const shortened = (field) => (field.length > 24 ? `${field.slice(0, 24)}…` : field);

// Why x and y, in ascending order, are no points; null if they are. The page's address is tested in this way too.
export function fault(x, y) {
  if (x.length !== y.length || x.length < 2) return "There must be at least two points.";
  if (x.length > mostPoints) return `There are ${x.length} points; ${mostPoints} can be shown.`;
  for (let i = 0; i < x.length; ++i) {
    if (!(Math.abs(x[i]) <= largest && Math.abs(y[i]) <= largest)) return `Point ${i + 1} is not within ±${largest}.`;
    if (i > 0 && !(x[i] > x[i - 1])) return `x = ${x[i]} occurs twice; a curve has one value there.`;
  }
  const span = x[x.length - 1] - x[0];
  for (let i = 1; i < x.length; ++i)
    if (x[i] - x[i - 1] < 1e-12 * span)
      return `x = ${x[i - 1]} and ${x[i]} are too close together to be told apart here.`;
  return null;
}

// {x, y, note} or {message}. The first two columns count; a heading is left out, rows may come in any order.
export function parsePoints(text) {
  const rows = [];
  let separator = null;
  let headings = 0;
  const lines = text.replace(/^\uFEFF/, "").split(/\r\n|\n|\r/);
  for (let i = 0; i < lines.length; ++i) {
    const line = lines[i].trim();
    if (line === "" || line.startsWith("#")) continue;
    separator ??= separatorOf(line);
    const fields = line.split(separator);
    if (fields.length < 2) return { message: `Line ${i + 1}: two numbers are wanted, x and y: “${shortened(line)}”` };
    const [x, y] = fields.map((field) => number(field, separator === ";"));
    if (rows.length === 0 && headings === 0 && Number.isNaN(x) && Number.isNaN(y)) {
      headings = 1;
      continue;
    }
    const bad = [x, y].findIndex(Number.isNaN);
    if (bad >= 0) return { message: `Line ${i + 1}: “${shortened(fields[bad].trim())}” is no number.` };
    rows.push([x, y]);
    if (rows.length > mostPoints)
      return { message: `There are more than ${mostPoints} points; that many can be shown.` };
  }
  if (rows.length === 0) return { message: "There are no numbers in this text." };
  const sorted = rows.every((row, i) => i === 0 || row[0] >= rows[i - 1][0]);
  if (!sorted) rows.sort((a, b) => a[0] - b[0]);
  const x = rows.map((row) => row[0]);
  const y = rows.map((row) => row[1]);
  const message = fault(x, y);
  return message ? { message } : { x, y, note: `${x.length} points taken${sorted ? "" : ", sorted by x"}.` };
}
