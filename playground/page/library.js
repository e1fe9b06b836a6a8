// The library, compiled to WebAssembly: loads the module in a browser or in Node, and hands typed arrays over.

// A module of one function that splats a vector: valid where there are vectors of 128 bits.
const vectorModule = new Uint8Array([
  0, 97, 115, 109, 1, 0, 0, 0, 1, 5, 1, 96, 0, 1, 123, 3, 2, 1, 0, 10, 10, 1, 8, 0, 65, 0, 253, 15, 253, 98, 11,
]);

// What is missing here, in words for people; null if nothing is.
export function whatIsMissing() {
  if (typeof WebAssembly !== "object") return "This browser does not run WebAssembly.";
  if (!WebAssembly.validate(vectorModule)) return "This browser runs WebAssembly without vectors (SIMD).";
  return null;
}

const streams = 2;
const fits = 1;

export async function load(bytes) {
  // What the library prints, reports of bad parameters, comes as statuses too: it counts as written, and is dropped.
  const write = (file, parts, count, written) => {
    const view = new DataView(instance.exports.memory.buffer);
    let length = 0;
    for (let i = 0; i < count; ++i) length += view.getUint32(parts + 8 * i + 4, true);
    view.setUint32(written, length, true);
    return 0;
  };
  const exit = (code) => {
    throw new Error(`the library ended with code ${code}`);
  };
  const { instance } = await WebAssembly.instantiate(bytes, {
    env: { emscripten_notify_memory_growth: () => {} },
    wasi_snapshot_preview1: { fd_write: write, proc_exit: exit },
  });
  const wasm = instance.exports;
  wasm._initialize();

  // One block for the arrays of a call, which grows.
  let block = 0;
  let size = 0;
  let used = 0;
  const reserve = (doubles) => {
    used = 0;
    if (doubles * 8 <= size) return;
    wasm.free(block);
    size = doubles * 16;
    block = wasm.malloc(size);
    if (block === 0) {
      size = 0;
      throw new RangeError("out of memory");
    }
  };
  const room = (doubles) => {
    const at = block + used;
    used += doubles * 8;
    return at;
  };
  const at = (address, length) => new Float64Array(wasm.memory.buffer, address, length);
  const put = (values) => {
    const address = room(values.length);
    at(address, values.length).set(values);
    return address;
  };
  const text = (address) => {
    const all = new Uint8Array(wasm.memory.buffer);
    return new TextDecoder().decode(all.slice(address, all.indexOf(0, address)));
  };

  // The results of a curve at n sites, apart by order.
  const sampled = (status, r, n, lambda) =>
    status === 0
      ? { status, lambda, values: at(r, n).slice(), slopes: at(r + 8 * n, n).slice(), bends: at(r + 16 * n, n).slice() }
      : { status, message: text(wasm.play_status(fits, status)) };

  return {
    // A curve as kinds.js describes it, through the points x, y, at sites.
    curve(request, x, y, outside, sites) {
      const nx = x.length;
      const n = sites.length;
      const { order, kind, bcType, bc, icType = 0, ic = [], lambda } = request;
      reserve(2 * nx + order * nx + ic.length + 4 * n + 8);
      const [px, py, pbc, pic, ps] = [put(x), put(y), put(bc ?? [0, 0]), put(ic), put(sites)];
      const coeff = room(order * nx);
      const r = room(3 * n);
      if (lambda !== undefined) {
        const used = put([lambda ?? -1]);
        const status = wasm.play_smooth(nx, px, py, used, outside, 0, n, ps, coeff, r);
        return sampled(status, r, n, at(used, 1)[0]);
      }
      const conditions = icType === 0 ? 0 : pic;
      const status = wasm.play_curve(
        nx,
        px,
        py,
        order,
        kind,
        bcType,
        pbc,
        icType,
        conditions,
        outside,
        0,
        n,
        ps,
        coeff,
        r,
      );
      return sampled(status, r, n);
    },

    // n values of a generator over [0, 1); scrambling -1 for none.
    draw(generator, seed, dimension, scrambling, n) {
      reserve(n);
      const r = room(n);
      const status = wasm.play_draw(generator, seed, dimension, scrambling, n, r);
      if (status !== 0) throw new Error(text(wasm.play_status(streams, status)));
      return at(r, n).slice();
    },
  };
}
