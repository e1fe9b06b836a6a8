// Streams of every generator: cut fills against whole ones, skips against fills, saved and loaded streams against the one
// that goes on, and saved bytes that were changed.

#include "input.h"

#include <ravenfit/random_streams.h>
#include <ravenfit/stream_tools.h>
#include <ravenfit/variates.h>

namespace fuzz {
namespace {

using Words = std::vector<std::uint32_t>;

struct Stream {
  RsgStream* stream = nullptr;

  Stream() = default;
  Stream(const Stream& other) { FUZZ_EXPECT(rsgCopyStream(&stream, other.stream) == 0); }
  Stream& operator=(const Stream&) = delete;
  ~Stream() {
    if (stream != nullptr) FUZZ_EXPECT(rsgDeleteStream(&stream) == 0 && stream == nullptr);
  }

  std::vector<double> fill(std::int32_t n, int kind) const {
    std::vector<double> r(static_cast<std::size_t>(n), -77.0);
    const std::int32_t status = kind == 0   ? vdRngUniform(0, stream, n, r.data(), -0.25, 2.0)
                                : kind == 1 ? rsgNormal(stream, n, r.data(), 1.0, 2.0)
                                            : rsgExponential(stream, n, r.data(), 1.0);
    FUZZ_EXPECT(status == 0);
    return r;
  }
};

bool isStatus(std::int32_t status) {
  return status <= 0 && status >= -1300;
}

bool equal(const std::vector<double>& a, const std::vector<double>& b) {
  FUZZ_EXPECT(a.size() == b.size());
  for (std::size_t i = 0; i < a.size(); ++i)
    if (!same(a[i], b[i])) return false;
  return true;
}

std::uint32_t seedOf(Input& in) {
  if (in.oneIn(2)) return static_cast<std::uint32_t>(in.word());
  return in.byte();
}

void make(Input& in, Stream& made) {
  static constexpr std::int32_t families[] = {
      RSG_BRNG_MCG31, RSG_BRNG_R250,         RSG_BRNG_MRG32K3A, RSG_BRNG_MCG59,  RSG_BRNG_WICHMANN_HILL,
      RSG_BRNG_SOBOL, RSG_BRNG_NIEDERREITER, RSG_BRNG_MT19937,  RSG_BRNG_MT2203, RSG_BRNG_SFMT19937};
  std::int32_t id = in.oneOf(families);
  if (in.oneIn(3)) id += in.byte();
  if (in.oneIn(12)) id = static_cast<std::int32_t>(in.word());
  const int how = in.below(4);
  std::int32_t status = 0;
  if (how == 0) {
    Words seeds(static_cast<std::size_t>(in.below(8)));
    for (std::uint32_t& seed : seeds)
      seed = seedOf(in);
    status = rsgNewStreamFromSeeds(&made.stream, id, static_cast<std::int32_t>(seeds.size()), seeds.data());
  } else if (how == 1) {
    status = rsgNewScrambledSobol(&made.stream, in.below(60) - 2, in.word(), in.below(5));
  } else {
    status = rsgNewStream(&made.stream, id, seedOf(in));
  }
  FUZZ_EXPECT(isStatus(status));
  FUZZ_EXPECT((status == 0) == (made.stream != nullptr));
}

void cutFill(Input& in, const Stream& s) {
  const int kind = in.below(3);
  const Stream whole(s);
  const std::int32_t first = in.byte();
  const std::int32_t second = in.byte() * (in.oneIn(4) ? 9 : 1);
  std::vector<double> pieces = s.fill(first, kind);
  const std::vector<double> rest = s.fill(second, kind);
  pieces.insert(pieces.end(), rest.begin(), rest.end());
  FUZZ_EXPECT(equal(pieces, whole.fill(first + second, kind)));
}

void skip(Input& in, const Stream& s) {
  const Stream filled(s);
  const std::uint64_t far = in.oneIn(4) ? in.word() : in.byte() * 3ULL;
  const std::int32_t status = rsgSkipAhead(s.stream, far);
  FUZZ_EXPECT(status == 0 || status == RSG_ERROR_SKIP_AHEAD);
  if (status == 0 && far < 4000) {
    filled.fill(static_cast<std::int32_t>(far), 0);
    FUZZ_EXPECT(equal(filled.fill(50, 0), s.fill(50, 0)));
  }
}

void leapfrog(Input& in, const Stream& s) {
  const Stream whole(s);
  const std::int32_t count = in.below(7);
  const std::int32_t k = in.below(8) - 1;
  const std::int32_t status = rsgLeapfrog(s.stream, k, count);
  FUZZ_EXPECT(isStatus(status));
  if (status != 0) return;
  const std::vector<double> all = whole.fill(20 * count, 0);
  const std::vector<double> mine = s.fill(20, 0);
  for (std::size_t i = 0; i < mine.size(); ++i)
    FUZZ_EXPECT(same(mine[i], all[i * static_cast<std::size_t>(count) + static_cast<std::size_t>(k)]));
}

void saveAndLoad(Input& in, const Stream& s) {
  const std::int32_t size = rsgSaveSize(s.stream);
  if (size == RSG_ERROR_NOT_SAVED) return;  // points by a table
  FUZZ_EXPECT(size > 0 && size <= 2528);
  std::vector<std::uint8_t> saved(static_cast<std::size_t>(size));
  FUZZ_EXPECT(rsgSaveStream(s.stream, saved.data(), size - 1) == RSG_ERROR_BUFFER_SIZE);
  FUZZ_EXPECT(rsgSaveStream(s.stream, saved.data(), size) == 0);
  Stream loaded;
  FUZZ_EXPECT(rsgLoadStream(&loaded.stream, saved.data(), size) == 0);
  FUZZ_EXPECT(equal(loaded.fill(40, 0), Stream(s).fill(40, 0)));
  for (int changes = 1 + in.below(3); changes > 0; --changes)
    saved[in.word() % saved.size()] ^= in.byte();
  const std::vector<std::uint8_t> cut(saved.begin(), saved.end() - in.below(2) * in.below(size));
  Stream damaged;
  const std::int32_t status =
      rsgLoadStream(&damaged.stream, cut.data(), static_cast<std::int32_t>(cut.size()));
  FUZZ_EXPECT(isStatus(status));
  if (status == 0) damaged.fill(300, 0);
}

void words(Input& in, const Stream& s) {
  const Stream whole(s);
  Words cut(200);
  Words all(200);
  const std::int32_t first = in.below(200);
  const std::int32_t status = rsgWords32(s.stream, first, cut.data());
  FUZZ_EXPECT(isStatus(status));
  FUZZ_EXPECT(rsgWords32(s.stream, 200 - first, cut.data() + first) == status || first == 0);
  const bool served = rsgWords32(whole.stream, 200, all.data()) == 0;
  FUZZ_EXPECT(!served || cut == all);
  std::vector<std::int32_t> integers(30);
  const auto low = static_cast<std::int32_t>(in.word());
  const auto high = static_cast<std::int32_t>(in.word());
  if (rsgIntegers(s.stream, 30, integers.data(), low, high) == 0)
    for (const std::int32_t one : integers)
      FUZZ_EXPECT(low <= one && one <= high);
}

}  // namespace

void runStream(Input input) {
  Stream s;
  make(input, s);
  if (s.stream == nullptr) {
    // What is no saved stream is none, whatever its bytes.
    std::vector<std::uint8_t> bytes;
    while (!input.empty())
      bytes.push_back(input.byte());
    Stream loaded;
    rsgLoadStream(&loaded.stream, bytes.data(), static_cast<std::int32_t>(bytes.size()));
    return;
  }
  for (int step = 0; step < 10 && !input.empty(); ++step) {
    switch (input.below(6)) {
      case 0:
        skip(input, s);
        break;
      case 1:
        leapfrog(input, s);
        break;
      case 2:
        saveAndLoad(input, s);
        break;
      case 3:
        words(input, s);
        break;
      default:
        cutFill(input, s);
    }
  }
}

}  // namespace fuzz
