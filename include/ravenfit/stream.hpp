#ifndef RAVENFIT_STREAM_HPP
#define RAVENFIT_STREAM_HPP

// Random streams and quasi-random points for C++. Included by ravenfit.hpp.

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <istream>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <ravenfit/random_streams.h>
#include <ravenfit/stream_tools.h>
#include <ravenfit/variates.h>
#include <ravenfit/view.hpp>

namespace ravenfit {

// A basic generator; docs/streams.md says which one to take.
struct generator {
  // RSG_BRNG_*, plus the number of a member where it is a family.
  std::int32_t id;
};
constexpr generator mcg31{RSG_BRNG_MCG31};
constexpr generator r250{RSG_BRNG_R250};
constexpr generator mrg32k3a{RSG_BRNG_MRG32K3A};
constexpr generator mcg59{RSG_BRNG_MCG59};
constexpr generator mt19937{RSG_BRNG_MT19937};
constexpr generator sfmt19937{RSG_BRNG_SFMT19937};
constexpr generator rdrand{RSG_BRNG_RDRAND};
// Members 0 to 272 of a family.
constexpr generator wichmann_hill(int member = 0) {
  return {RSG_BRNG_WICHMANN_HILL + member};
}
// Members 0 to 6023 of a family.
constexpr generator mt2203(int member = 0) {
  return {RSG_BRNG_MT2203 + member};
}

namespace detail {

struct delete_stream {
  void operator()(RsgStream* stream) const { rsgDeleteStream(&stream); }
};
using stream_pointer = std::unique_ptr<RsgStream, delete_stream>;

inline status stream_status(int code, std::string text = {}) {
  return {code, RVN_DOMAIN_STREAMS, -1, std::move(text)};
}

// Calls fill(r, n) for at most so many values as a call takes.
template <class T, class Fill>
status fill_in_parts(view<T> r, Fill fill) {
  for (std::size_t from = 0; from < r.size();) {
    const std::size_t n = std::min<std::size_t>(r.size() - from, std::size_t{1} << 30);
    if (const int code = fill(static_cast<std::int32_t>(n), r.data() + from); code != RSG_STATUS_OK)
      return stream_status(code);
    from += n;
  }
  return {};
}

inline status bad_interval(const char* low, double a, const char* high, double b) {
  return stream_status(RSG_ERROR_ARGUMENT, std::string(low) + " = " + std::to_string(a) + " is not below " +
                                               high + " = " + std::to_string(b));
}

inline bool is_mean(double mean) {
  return std::isfinite(mean);
}
inline bool is_deviation(double sigma) {
  return std::isfinite(sigma) && sigma >= 0.0;
}

}  // namespace detail

// The state of a generator, owned: moving is cheap, a copy goes on from the same place. It is a uniform random bit
// generator, so that the distributions of <random> take it; fills are many times faster. One thread at a time uses it.
class stream {
 public:
  // Empty, as is a stream that was moved from: every operation on it fails.
  stream() = default;
  // Of one seed.
  explicit stream(generator which, std::uint32_t seed = 1) : stream(try_make(which, seed).value()) {}
  // Several seed words, as the generator's authors take them.
  stream(generator which, std::initializer_list<std::uint32_t> seeds)
      : stream(try_make(which, view<const std::uint32_t>(seeds.begin(), seeds.size())).value()) {}
  stream(generator which, view<const std::uint32_t> seeds) : stream(try_make(which, seeds).value()) {}

  // The same, as a result instead of an exception.
  static result<stream> try_make(generator which, std::uint32_t seed) {
    return try_make(which, view<const std::uint32_t>(&seed, 1));
  }
  static result<stream> try_make(generator which, view<const std::uint32_t> seeds) {
    detail::settle_level();
    RsgInfo known;
    if (const int code = rsgGeneratorInfo(which.id, &known); code != RSG_STATUS_OK)
      return detail::stream_status(code);
    if (seeds.size() > INT32_MAX)
      return detail::stream_status(RSG_ERROR_ARGUMENT, "more than 2^31 - 1 seeds");
    RsgStream* made = nullptr;
    const int code =
        rsgNewStreamFromSeeds(&made, which.id, static_cast<std::int32_t>(seeds.size()), seeds.data());
    return owned(code, made);
  }

  // Moves leave an empty stream behind.
  stream(stream&&) = default;
  stream& operator=(stream&&) = default;
  stream(const stream& other) { *this = other; }
  stream& operator=(const stream& other) {
    if (this == &other) return *this;
    RsgStream* made = nullptr;
    if (other.stream_ != nullptr) {
      if (const int code = rsgCopyStream(&made, other.stream_.get()); code != RSG_STATUS_OK)
        detail::fail(detail::stream_status(code));
    }
    stream_.reset(made);
    return *this;
  }

  // ---- for <random> ----
  using result_type = std::uint32_t;
  static constexpr result_type min() { return 0; }
  static constexpr result_type max() { return UINT32_MAX; }
  result_type operator()() {
    result_type word = 0;
    detail::check(try_fill_words(view<result_type>(&word, 1)));
    return word;
  }

  // ---- fills ----
  // a <= r < b, up to rounding; see vdRngUniform.
  void fill_uniform(view<double> r, double a = 0.0, double b = 1.0) {
    detail::check(try_fill_uniform(r, a, b));
  }
  void fill_uniform(view<float> r, float a = 0.0F, float b = 1.0F) {
    detail::check(try_fill_uniform(r, a, b));
  }
  // Doubles of 53 bits, 0 <= r < 1.
  void fill_uniform53(view<double> r) { detail::check(try_fill_uniform53(r)); }
  // By the quantile; see rsgNormal. sigma is the standard deviation.
  void fill_normal(view<double> r, double mean = 0.0, double sigma = 1.0) {
    detail::check(try_fill_normal(r, mean, sigma));
  }
  // By the quantile; see rsgExponential.
  void fill_exponential(view<double> r, double mean = 1.0) { detail::check(try_fill_exponential(r, mean)); }
  // mean and sigma of the logarithm.
  void fill_log_normal(view<double> r, double mean = 0.0, double sigma = 1.0) {
    detail::check(try_fill_log_normal(r, mean, sigma));
  }
  // Words of evenly distributed bits; see rsgWords32 and rsgWords64.
  void fill_words(view<std::uint32_t> r) { detail::check(try_fill_words(r)); }
  void fill_words(view<std::uint64_t> r) { detail::check(try_fill_words(r)); }
  // low <= r <= high, without bias.
  void fill_integers(view<std::int32_t> r, std::int32_t low, std::int32_t high) {
    detail::check(try_fill_integers(r, low, high));
  }

  // The same with a status instead of an exception. Nothing is written if the arguments are refused.
  status try_fill_uniform(view<double> r, double a = 0.0, double b = 1.0) {
    if (!(a < b)) return detail::bad_interval("a", a, "b", b);
    return fill(r, [&](std::int32_t n, double* to) {
      return vdRngUniform(RNG_UNIFORM_PLAIN, stream_.get(), n, to, a, b);
    });
  }
  status try_fill_uniform(view<float> r, float a = 0.0F, float b = 1.0F) {
    if (!(a < b) || !std::isfinite(b - a)) return detail::bad_interval("a", a, "b", b);
    return fill(r, [&](std::int32_t n, float* to) { return rsgUniformFloat(stream_.get(), n, to, a, b); });
  }
  status try_fill_uniform53(view<double> r) {
    return fill(r, [&](std::int32_t n, double* to) { return rsgUniform53(stream_.get(), n, to); });
  }
  status try_fill_normal(view<double> r, double mean = 0.0, double sigma = 1.0) {
    if (!detail::is_mean(mean) || !detail::is_deviation(sigma)) return bad_moments();
    return fill(r, [&](std::int32_t n, double* to) { return rsgNormal(stream_.get(), n, to, mean, sigma); });
  }
  status try_fill_exponential(view<double> r, double mean = 1.0) {
    if (!detail::is_deviation(mean)) return bad_moments();
    return fill(r, [&](std::int32_t n, double* to) { return rsgExponential(stream_.get(), n, to, mean); });
  }
  status try_fill_log_normal(view<double> r, double mean = 0.0, double sigma = 1.0) {
    if (!detail::is_mean(mean) || !detail::is_deviation(sigma)) return bad_moments();
    return fill(r,
                [&](std::int32_t n, double* to) { return rsgLogNormal(stream_.get(), n, to, mean, sigma); });
  }
  status try_fill_words(view<std::uint32_t> r) {
    return fill(r, [&](std::int32_t n, std::uint32_t* to) { return rsgWords32(stream_.get(), n, to); });
  }
  status try_fill_words(view<std::uint64_t> r) {
    return fill(r, [&](std::int32_t n, std::uint64_t* to) { return rsgWords64(stream_.get(), n, to); });
  }
  status try_fill_integers(view<std::int32_t> r, std::int32_t low, std::int32_t high) {
    if (low > high) return detail::bad_interval("low", low, "high + 1", high + 1.0);
    return fill(
        r, [&](std::int32_t n, std::int32_t* to) { return rsgIntegers(stream_.get(), n, to, low, high); });
  }

  // ---- moves and parts ----
  // As if that many values had been drawn.
  void skip(std::uint64_t values) { detail::check(try_skip(values)); }
  // The same, with a status.
  status try_skip(std::uint64_t values) {
    if (status s = usable(); !s.ok()) return s;
    return moved(RSG_MOVE_SKIP_AHEAD, RSG_ERROR_SKIP_AHEAD,
                 [&] { return rsgSkipAhead(stream_.get(), values); });
  }
  // Keeps value k of every `count` values.
  void leapfrog(int k, int count) { detail::check(try_leapfrog(k, count)); }
  // The same, with a status.
  status try_leapfrog(int k, int count) {
    if (status s = usable(); !s.ok()) return s;
    if (k < 0 || k >= count) return detail::bad_interval("k", k, "count", count);
    return moved(RSG_MOVE_LEAPFROG, RSG_ERROR_LEAPFROG, [&] { return rsgLeapfrog(stream_.get(), k, count); });
  }
  // Streams for `count` workers; see rsgSplit for how each generator does it. With a stretch, part i starts i * stretch
  // values ahead.
  std::vector<stream> split(int count, std::uint64_t stretch = 0) const {
    return std::move(try_split(count, stretch)).value();
  }
  // The same, as a result.
  result<std::vector<stream>> try_split(int count, std::uint64_t stretch = 0) const {
    if (status s = usable(); !s.ok()) return s;
    if (count < 1) return detail::stream_status(RSG_ERROR_ARGUMENT, "a stream is split into 1 part at least");
    const RsgInfo known = info();
    if (stretch == 0 ? known.split == RSG_SPLIT_NONE : (known.moves & RSG_MOVE_SKIP_AHEAD) == 0)
      return detail::stream_status(stretch == 0 ? int{RSG_ERROR_SPLIT} : int{RSG_ERROR_SKIP_AHEAD});
    if (stretch == 0 && known.split == RSG_SPLIT_MEMBERS && count > known.members)
      return detail::stream_status(RSG_ERROR_SPLIT);
    std::vector<RsgStream*> parts(static_cast<std::size_t>(count));
    if (const int code = rsgSplit(stream_.get(), count, stretch, parts.data()); code != RSG_STATUS_OK)
      return detail::stream_status(code);
    std::vector<stream> owned;
    owned.reserve(parts.size());
    for (RsgStream* part : parts)
      owned.push_back(stream(part));
    return owned;
  }

  // ---- saved streams ----
  // The whole state as bytes, for load(); see rsgSaveStream on their format.
  std::vector<unsigned char> save() const {
    detail::check(usable());
    std::vector<unsigned char> bytes(static_cast<std::size_t>(rsgSaveSize(stream_.get())));
    if (const int code = rsgSaveStream(stream_.get(), bytes.data(), static_cast<std::int32_t>(bytes.size()));
        code != RSG_STATUS_OK)
      detail::fail(detail::stream_status(code));
    return bytes;
  }
  // The length of what save() gives, in decimals, a line end, and the bytes. Open the file as binary.
  void save(std::ostream& to) const {
    const std::vector<unsigned char> bytes = save();
    to << bytes.size() << '\n';
    to.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }
  // The stream that was saved; damaged bytes are refused.
  static stream load(view<const unsigned char> bytes) { return try_load(bytes).value(); }
  static result<stream> try_load(view<const unsigned char> bytes) {
    detail::settle_level();
    const auto size = static_cast<std::int32_t>(std::min<std::size_t>(bytes.size(), INT32_MAX));
    if (size == 0) return detail::stream_status(RSG_ERROR_SAVED_STREAM);
    RsgStream* made = nullptr;
    const int code = rsgLoadStream(&made, bytes.data(), size);
    return owned(code, made);
  }
  // From what save() wrote to a stream, opened as binary; reading stops behind it.
  static stream load(std::istream& from) { return try_load(from).value(); }
  static result<stream> try_load(std::istream& from) {
    constexpr std::size_t most = 1 << 20;
    std::size_t size = 0;
    if (!(from >> size) || from.get() != '\n' || size > most)
      return detail::stream_status(RSG_ERROR_SAVED_STREAM);
    std::vector<unsigned char> bytes(size);
    if (!from.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size)))
      return detail::stream_status(RSG_ERROR_SAVED_STREAM);
    return try_load(bytes);
  }

  // What is known of its generator.
  RsgInfo info() const {
    detail::check(usable());
    RsgInfo known;
    rsgStreamInfo(stream_.get(), &known);
    return known;
  }
  // For C operations beyond this class; the stream still owns it.
  RsgStream* get() const { return stream_.get(); }

 private:
  friend class points;
  explicit stream(RsgStream* made) : stream_(made) {}

  static result<stream> owned(int code, RsgStream* made) {
    if (code != RSG_STATUS_OK) return detail::stream_status(code);
    return stream(made);
  }
  status usable() const {
    if (stream_ != nullptr) return {};
    return detail::stream_status(RSG_ERROR_NULL_STREAM, "the stream holds nothing: it was moved from");
  }
  static status bad_moments() {
    return detail::stream_status(RSG_ERROR_ARGUMENT,
                                 "the mean must be finite, the deviation finite and not below 0");
  }
  // Refuses what the generator cannot do, before the library reports it.
  template <class Move>
  status moved(int needed, int refusal, Move move) {
    if ((info().moves & needed) == 0) return detail::stream_status(refusal);
    const int code = move();
    return code == RSG_STATUS_OK ? status{} : detail::stream_status(code);
  }
  template <class T, class Fill>
  status fill(view<T> r, Fill call) {
    if (status s = usable(); !s.ok()) return s;
    return detail::fill_in_parts(r, call);
  }

  detail::stream_pointer stream_;
};

// Quasi-random points. A matrix of them has a row for each point, `dimension` coordinates side by side.
class points {
 public:
  // Coordinates of a point.
  int dimension() const { return dimension_; }

  // Moves ahead by `count` points.
  points& skip(std::uint64_t count) {
    const auto coordinates = static_cast<std::uint64_t>(dimension_);
    if (count > UINT64_MAX / coordinates) detail::fail(detail::stream_status(RSG_ERROR_SKIP_AHEAD));
    stream_.skip(count * coordinates);
    done_ += count;
    return *this;
  }
  // Whole points: the size must be a multiple of the dimension.
  void fill(view<double> matrix) {
    fill_by(matrix, [](stream& g, view<double> r) { g.fill_uniform(r); });
  }
  // Coordinates from a to b instead of from 0 to 1.
  void fill(view<double> matrix, double a, double b) {
    fill_by(matrix, [=](stream& g, view<double> r) { g.fill_uniform(r, a, b); });
  }
  // Normal variates, coordinate by coordinate.
  void fill_normal(view<double> matrix, double mean = 0.0, double sigma = 1.0) {
    fill_by(matrix, [=](stream& g, view<double> r) { g.fill_normal(r, mean, sigma); });
  }
  // By call(stream, matrix), which is to draw one value for each coordinate.
  template <class Fill>
  void fill_by(view<double> matrix, Fill call) {
    const auto coordinates = static_cast<std::size_t>(dimension_);
    if (matrix.size() % coordinates != 0)
      detail::fail(detail::stream_status(RSG_ERROR_ARGUMENT, std::to_string(matrix.size()) +
                                                                 " coordinates are no whole points of " +
                                                                 std::to_string(coordinates)));
    call(stream_, matrix);
    done_ += matrix.size() / coordinates;
  }
  // The underlying stream, which delivers coordinate by coordinate.
  stream& coordinates() { return stream_; }

 protected:
  points(stream made, int dimension) : stream_(std::move(made)), dimension_(dimension) {}

  static stream made(int code, RsgStream* pointer) {
    if (code != RSG_STATUS_OK) detail::fail(detail::stream_status(code));
    return stream(pointer);
  }
  static int checked(int dimension, int most) {
    detail::settle_level();
    if (dimension < 1 || dimension > most)
      detail::fail(detail::stream_status(
          RSG_ERROR_DIMENSION,
          std::to_string(dimension) + " dimensions: there are 1 to " + std::to_string(most)));
    return dimension;
  }

  stream stream_;
  int dimension_;
  std::uint64_t done_ = 0;  // points
};

// Sobol's sequence, in up to 40 dimensions; the origin is left out.
class sobol : public points {
 public:
  static constexpr int most_dimensions = 40;
  // From its first point on.
  explicit sobol(int dimension) : points(fresh(dimension), dimension) {}

  // Moves ahead by `count` points.
  sobol& skip(std::uint64_t count) {
    points::skip(count);
    return *this;
  }

  // From here on, points are randomised by a seed: by a random linear scrambling, if `linear`, and a digital shift. The
  // place in the sequence stays.
  sobol& scramble(std::uint64_t seed, bool linear = true) {
    RsgStream* scrambled = nullptr;
    const int code = rsgNewScrambledSobol(&scrambled, dimension_, seed,
                                          linear ? RSG_SCRAMBLING_LINEAR : RSG_SCRAMBLING_SHIFT);
    stream_ = made(code, scrambled);
    stream_.skip(done_ * static_cast<std::uint64_t>(dimension_));
    return *this;
  }

 private:
  static stream fresh(int dimension) {
    return stream(generator{RSG_BRNG_SOBOL}, static_cast<std::uint32_t>(checked(dimension, most_dimensions)));
  }
};

// Niederreiter's sequence, in up to 318 dimensions.
class niederreiter : public points {
 public:
  static constexpr int most_dimensions = 318;
  explicit niederreiter(int dimension)
      : points(stream(generator{RSG_BRNG_NIEDERREITER},
                      static_cast<std::uint32_t>(checked(dimension, most_dimensions))),
               dimension) {}
};

}  // namespace ravenfit

#endif
