#include "curve_file.h"

#include <bit>
#include <cmath>
#include <cstring>

#include "byte_source.h"
#include "errors.h"

namespace command {

namespace {

static_assert(std::endian::native == std::endian::little, "files are written as memory has them");

constexpr char magic[] = "ravenfit curve ";
constexpr char version[] = "1\n";
constexpr std::uint64_t most = std::uint64_t{1} << 31;

struct header {
  std::int32_t order;
  std::int32_t kind;
  std::int32_t outside;
  std::int32_t reserved;
  std::uint64_t functions;
  std::uint64_t breakpoints;
  std::uint64_t name_bytes;
  double outside_value;
};
static_assert(sizeof(header) == 48);

class fnv1a {
 public:
  void add(const void* bytes, std::size_t count) {
    const auto* const p = static_cast<const unsigned char*>(bytes);
    for (std::size_t i = 0; i < count; ++i)
      sum_ = (sum_ ^ p[i]) * 0x100000001b3U;
  }
  std::uint64_t sum() const { return sum_; }

 private:
  std::uint64_t sum_ = 0xcbf29ce484222325U;
};

// Reads and sums up.
class curve_reader {
 public:
  explicit curve_reader(const std::string& path) : source_(path) {}

  void take(void* to, std::size_t count) {
    if (source_.read(static_cast<char*>(to), count) != count) refuse("the curve ends before its last number");
    sum_.add(to, count);
  }
  // Sizes of a damaged header are not believed: memory comes as the bytes do.
  void take_doubles(std::vector<double>& to, std::uint64_t count) {
    constexpr std::uint64_t block = 1 << 20;
    while (to.size() < count) {
      const auto n = static_cast<std::size_t>(std::min(block, count - to.size()));
      to.resize(to.size() + n);
      take(to.data() + to.size() - n, n * sizeof(double));
    }
  }
  void check_sum() {
    const std::uint64_t is = sum_.sum();
    std::uint64_t wanted = 0;
    take(&wanted, sizeof wanted);
    char more = 0;
    if (is != wanted || source_.read(&more, 1) != 0) refuse("the curve is damaged");
  }
  [[noreturn]] void refuse(const char* why) const { throw data_error(source_.name() + ": " + why); }

 private:
  byte_source source_;
  fnv1a sum_;
};

std::uint64_t coefficients_in_a_row(const header& h) {
  const std::uint64_t pieces = h.kind == DF_KIND_SUBBOTIN ? h.breakpoints : h.breakpoints - 1;
  return static_cast<std::uint64_t>(h.order) * pieces;
}

}  // namespace

bool is_curve_file(const std::string& path) {
  if (path == "-") return false;
  return byte_source(path).peek(sizeof magic - 1) == magic;
}

void write_curve(output& to, const curve::parts& parts) {
  std::string names = parts.x_name + '\0';
  for (const std::string& name : parts.y_names)
    names += name + '\0';
  const header h = {parts.order,          parts.kind,     parts.outside, 0,
                    parts.y_names.size(), parts.x.size(), names.size(),  parts.outside_value};
  fnv1a sum;
  const auto put = [&](const void* bytes, std::size_t count) {
    sum.add(bytes, count);
    to.write({static_cast<const char*>(bytes), count});
  };
  put(magic, sizeof magic - 1);
  put(version, sizeof version - 1);
  put(&h, sizeof h);
  put(names.data(), names.size());
  put(parts.x.data(), parts.x.size() * sizeof(double));
  put(parts.coefficients.data(), parts.coefficients.size() * sizeof(double));
  const std::uint64_t end = sum.sum();
  put(&end, sizeof end);
}

curve::parts read_curve(const std::string& path) {
  curve_reader from(path);
  char first[sizeof magic - 1] = {};
  from.take(first, sizeof first);
  if (std::memcmp(first, magic, sizeof first) != 0) from.refuse("is not a curve");
  char second[sizeof version - 1] = {};
  from.take(second, sizeof second);
  if (std::memcmp(second, version, sizeof second) != 0)
    from.refuse("the curve is of a later version; use a newer ravenfit");
  header h{};
  from.take(&h, sizeof h);
  if (h.order < DF_ORDER_LINEAR || h.order > DF_ORDER_CUBIC ||
      (h.kind != DF_KIND_DEFAULT && h.kind != DF_KIND_SUBBOTIN) ||
      (h.kind == DF_KIND_SUBBOTIN && h.order != DF_ORDER_QUADRATIC) || h.outside < DF_OUTSIDE_CONTINUE ||
      h.outside > DF_OUTSIDE_REFUSE || h.breakpoints < 2 || h.breakpoints >= most || h.functions < 1 ||
      h.functions >= most / 2 || h.name_bytes <= h.functions || h.name_bytes > most)
    from.refuse("the curve is damaged");

  curve::parts parts;
  parts.order = h.order;
  parts.kind = h.kind;
  parts.outside = h.outside;
  parts.outside_value = h.outside_value;
  std::string names;
  for (std::uint64_t left = h.name_bytes; left > 0;) {
    const auto n = static_cast<std::size_t>(std::min<std::uint64_t>(left, 1 << 20));
    names.resize(names.size() + n);
    from.take(names.data() + names.size() - n, n);
    left -= n;
  }
  std::size_t at = 0;
  for (std::uint64_t k = 0; k <= h.functions; ++k) {
    const std::size_t end = names.find('\0', at);
    if (end == std::string::npos) from.refuse("the curve is damaged");
    if (k == 0)
      parts.x_name = names.substr(at, end - at);
    else
      parts.y_names.push_back(names.substr(at, end - at));
    at = end + 1;
  }
  from.take_doubles(parts.x, h.breakpoints);
  from.take_doubles(parts.coefficients, h.functions * coefficients_in_a_row(h));
  from.check_sum();
  for (std::size_t i = 0; i < parts.x.size(); ++i)
    if (!std::isfinite(parts.x[i]) || (i > 0 && !(parts.x[i - 1] < parts.x[i])))
      from.refuse("the curve is damaged");
  return parts;
}

}  // namespace command
