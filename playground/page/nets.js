// Nets in two coordinates. An elementary box of sides 2^-i and 2^-j holds 2^(m-i-j) of 2^m points if these are even; the
// points are a (t, m, 2)-net if all boxes with i + j = m - t hold 2^t of them (H. Niederreiter, 1987).

function counts(u, v, i, j) {
  const held = new Int32Array(2 ** (i + j));
  const [columns, rows] = [2 ** i, 2 ** j];
  for (let k = 0; k < u.length; ++k) ++held[Math.floor(u[k] * columns) * rows + Math.floor(v[k] * rows)];
  return held;
}

function isNet(u, v, m, t) {
  for (let i = 0; i <= m - t; ++i) if (!counts(u, v, i, m - t - i).every((n) => n === 2 ** t)) return false;
  return true;
}

// The least t with which 2^m points are a net; m if nothing better holds.
export function qualityOf(u, v, m) {
  let t = 0;
  while (t < m && !isNet(u, v, m, t)) ++t;
  return t;
}

// The boxes of 2^i by 2^j as corners, every other one marked like a chess board, and how many do not hold `wanted`.
export function boxesOf(u, v, i, j, wanted) {
  const held = counts(u, v, i, j);
  const [columns, rows] = [2 ** i, 2 ** j];
  const boxes = [];
  let uneven = 0;
  for (let column = 0; column < columns; ++column) {
    for (let row = 0; row < rows; ++row) {
      if (held[column * rows + row] !== wanted) ++uneven;
      boxes.push([column / columns, row / rows, (column + 1) / columns, (row + 1) / rows, (column + row) % 2 === 0]);
    }
  }
  return { boxes, uneven };
}
