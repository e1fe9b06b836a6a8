// Saved streams as somebody else may hand them over: cut, changed, of another generator, with a check sum that fits.

#include "input.h"

#include <ravenfit/random_streams.h>
#include <ravenfit/stream_tools.h>
#include <ravenfit/variates.h>

namespace fuzz {
namespace {

using Bytes = std::vector<std::uint8_t>;

void removeStream(RsgStream*& stream) {
  FUZZ_EXPECT(rsgDeleteStream(&stream) == 0 && stream == nullptr);
}

Bytes saved(const RsgStream* stream) {
  const std::int32_t size = rsgSaveSize(stream);
  FUZZ_EXPECT(size > 0 && size <= 2528);
  Bytes bytes(static_cast<std::size_t>(size));
  FUZZ_EXPECT(rsgSaveStream(stream, bytes.data(), size) == 0);
  return bytes;
}

Bytes savedFresh(Input& in) {
  static constexpr std::int32_t generators[] = {RSG_BRNG_MCG31,     RSG_BRNG_R250,
                                                RSG_BRNG_MRG32K3A,  RSG_BRNG_MCG59,
                                                RSG_BRNG_SOBOL,     RSG_BRNG_NIEDERREITER,
                                                RSG_BRNG_MT19937,   RSG_BRNG_MT2203 + 5,
                                                RSG_BRNG_SFMT19937, RSG_BRNG_WICHMANN_HILL + 9,
                                                RSG_BRNG_RDRAND,    RSG_BRNG_SCRAMBLED_SOBOL};
  RsgStream* stream = nullptr;
  const std::uint32_t words[] = {1 + in.byte() % 40u, in.byte(), in.byte(), in.byte() % 3u};
  FUZZ_EXPECT(rsgNewStreamFromSeeds(&stream, in.oneOf(generators), 4, words) == 0);
  std::vector<double> r(in.byte());
  const std::int32_t status =
      vdRngUniform(0, stream, static_cast<std::int32_t>(r.size()), r.data(), 0.0, 1.0);
  FUZZ_EXPECT(status == 0 || status == RSG_ERROR_NO_HARDWARE || status == RSG_ERROR_HARDWARE_RETRY);
  Bytes bytes = saved(stream);
  removeStream(stream);
  return bytes;
}

// FNV-1a of all bytes but the last eight, which receive it.
void seal(Bytes& bytes) {
  if (bytes.size() < 8) return;
  std::uint64_t sum = 0xCBF29CE484222325;
  for (std::size_t i = 0; i + 8 < bytes.size(); ++i)
    sum = (sum ^ bytes[i]) * 0x100000001B3;
  for (std::size_t i = 0; i < 8; ++i)
    bytes[bytes.size() - 8 + i] = static_cast<std::uint8_t>(sum >> 8 * i);
}

void change(Input& in, Bytes& bytes) {
  static constexpr std::uint8_t edges[] = {0, 1, 0x7F, 0x80, 0xFF, 0xFE};
  for (int changes = in.below(5); changes > 0; --changes) {
    const std::size_t at = in.oneIn(2) ? in.byte() : in.word() % 2528;
    if (at >= bytes.size()) continue;
    switch (in.below(4)) {
      case 0:
        bytes[at] = in.byte();
        break;
      case 1:
        bytes[at] = in.oneOf(edges);
        break;
      case 2:  // a whole stretch, as of states that are all zeros or all ones
        for (std::size_t i = at; i + 8 < bytes.size(); ++i)
          bytes[i] = in.oneIn(2) ? std::uint8_t{0} : in.oneOf(edges);
        break;
      default:
        bytes.resize(in.oneIn(2) ? at : bytes.size() + at);
    }
  }
}

std::int32_t load(const Bytes& bytes, RsgStream** stream) {
  // An array of its own, so that a byte beyond its end is noticed.
  const Bytes exact(bytes.begin(), bytes.end());
  return rsgLoadStream(stream, exact.data(), static_cast<std::int32_t>(exact.size()));
}

// A stream that was let in works like any other.
void use(Input& in, RsgStream*& stream) {
  const Bytes now = saved(stream);
  RsgStream* again = nullptr;
  FUZZ_EXPECT(load(now, &again) == 0);
  FUZZ_EXPECT(saved(again) == now);
  RsgInfo info = {};
  FUZZ_EXPECT(rsgStreamInfo(stream, &info) == 0 && info.name != nullptr);
  FUZZ_EXPECT(info.member >= 0 && info.member < info.members);
  const bool hardware = info.brngId == RSG_BRNG_RDRAND;
  const std::int32_t n = 600;
  std::vector<double> whole(n);
  std::vector<double> cut(n);
  if (!hardware) {
    const std::int32_t first = in.byte();
    FUZZ_EXPECT(vdRngUniform(0, stream, n, whole.data(), 0.0, 1.0) == 0);
    FUZZ_EXPECT(vdRngUniform(0, again, first, cut.data(), 0.0, 1.0) == 0);
    FUZZ_EXPECT(vdRngUniform(0, again, n - first, cut.data() + first, 0.0, 1.0) == 0);
    for (std::size_t i = 0; i < whole.size(); ++i)
      FUZZ_EXPECT(same(whole[i], cut[i]) && whole[i] >= 0.0 && whole[i] <= 1.0);
    FUZZ_EXPECT(saved(stream) == saved(again));
    FUZZ_EXPECT(rsgNormal(stream, n, whole.data(), 0.0, 1.0) == 0);
    for (const double one : whole)
      FUZZ_EXPECT(std::fabs(one) < 9.0);
  }
  removeStream(again);
  // Far moves of the long Mersenne Twisters take tens of milliseconds, and many more under sanitizers.
  const bool slow = info.brngId == RSG_BRNG_MT19937 || info.brngId == RSG_BRNG_SFMT19937;
  if (slow && !in.oneIn(16)) return;
  const std::int32_t skipped = rsgSkipAhead(stream, in.word());
  FUZZ_EXPECT(skipped == 0 || skipped == RSG_ERROR_SKIP_AHEAD);
  RsgStream* parts[3] = {};
  const std::int32_t split = rsgSplit(stream, 3, in.oneIn(2) ? 0 : in.byte(), parts);
  FUZZ_EXPECT(split == 0 || split == RSG_ERROR_SPLIT || split == RSG_ERROR_SKIP_AHEAD);
  for (RsgStream*& part : parts) {
    FUZZ_EXPECT((part != nullptr) == (split == 0));
    if (part == nullptr) continue;
    if (!hardware) FUZZ_EXPECT(vdRngUniform(0, part, 50, whole.data(), 0.0, 1.0) == 0);
    removeStream(part);
  }
}

}  // namespace

void runSaved(Input in) {
  Bytes bytes = savedFresh(in);
  const Bytes fresh = bytes;
  change(in, bytes);
  const bool sealed = in.oneIn(2);
  if (sealed) seal(bytes);
  RsgStream* stream = nullptr;
  const std::int32_t status = load(bytes, &stream);
  FUZZ_EXPECT(status == 0 || status == RSG_ERROR_SAVED_STREAM || status == RSG_ERROR_SAVED_VERSION ||
              (bytes.empty() && status == RSG_ERROR_ARGUMENT));  // an empty array may have no address
  FUZZ_EXPECT((status == 0) == (stream != nullptr));
  const bool begins = bytes.size() >= fresh.size() && std::equal(fresh.begin(), fresh.end(), bytes.begin());
  if (begins) FUZZ_EXPECT(status == 0);  // what stands behind is not looked at
  // The sum finds every change of one byte, and here any that left the sum itself alone.
  if (!sealed && bytes.size() == fresh.size() && bytes != fresh) FUZZ_EXPECT(status != 0);
  if (stream == nullptr) return;
  use(in, stream);
  removeStream(stream);
}

}  // namespace fuzz
