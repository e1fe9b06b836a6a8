// Random streams for Python: the object behind a NumPy bit generator and behind quasi-random points.

#include <algorithm>
#include <cstdint>
#include <memory>
#include <new>
#include <numpy/random/bitgen.h>
#include <pybind11/stl.h>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "bind.h"

namespace py = pybind11;

namespace {

using StreamPointer = ravenfit::detail::stream_pointer;

[[noreturn]] void fail(int code) {
  if (code == RSG_ERROR_MEMORY) throw std::bad_alloc();
  const char* text = rvnStatusText(RVN_DOMAIN_STREAMS, code);
  if (code == RSG_ERROR_NO_HARDWARE || code == RSG_ERROR_HARDWARE_RETRY) throw std::runtime_error(text);
  throw py::value_error(text);
}

void accept(int code) {
  if (code != RSG_STATUS_OK) fail(code);
}

template <class T>
using Values = py::array_t<T, py::array::c_style>;

// ---- saved streams as words ----

constexpr std::size_t savedWordsPlace = 20;
constexpr std::size_t savedSumBytes = 8;

void put(unsigned char* to, std::uint64_t number, int bytes) {
  for (int i = 0; i < bytes; ++i)
    to[i] = static_cast<unsigned char>(number >> 8 * i);
}

std::uint32_t getWord(const unsigned char* from) {
  std::uint32_t word = 0;
  for (int i = 0; i < 4; ++i)
    word |= std::uint32_t{from[i]} << 8 * i;
  return word;
}

// FNV-1a, as rsgSaveStream ends its bytes.
std::uint64_t checkSum(const std::vector<unsigned char>& bytes, std::size_t size) {
  std::uint64_t sum = 0xCBF29CE484222325;
  for (std::size_t i = 0; i < size; ++i)
    sum = (sum ^ bytes[i]) * 0x100000001B3;
  return sum;
}

std::vector<unsigned char> saved(const RsgStream* stream) {
  const int size = rsgSaveSize(stream);
  if (size < 0) fail(size);
  std::vector<unsigned char> bytes(static_cast<std::size_t>(size));
  accept(rsgSaveStream(stream, bytes.data(), size));
  return bytes;
}

std::vector<std::uint32_t> stateWords(const RsgStream* stream) {
  const std::vector<unsigned char> bytes = saved(stream);
  std::vector<std::uint32_t> words((bytes.size() - savedWordsPlace - savedSumBytes) / 4);
  for (std::size_t i = 0; i < words.size(); ++i)
    words[i] = getWord(bytes.data() + savedWordsPlace + 4 * i);
  return words;
}

// A stream in another state of the same generator.
StreamPointer withState(const RsgStream* like, const std::vector<std::uint32_t>& words) {
  std::vector<unsigned char> bytes = saved(like);
  const std::size_t end = bytes.size() - savedSumBytes;
  if (words.size() != (end - savedWordsPlace) / 4)
    throw py::value_error("this generator's state has " + std::to_string((end - savedWordsPlace) / 4) +
                          " words, not " + std::to_string(words.size()));
  for (std::size_t i = 0; i < words.size(); ++i)
    put(bytes.data() + savedWordsPlace + 4 * i, words[i], 4);
  put(bytes.data() + end, checkSum(bytes, end), 8);
  RsgStream* made = nullptr;
  const int code = rsgLoadStream(&made, bytes.data(), static_cast<std::int32_t>(bytes.size()));
  if (code == RSG_ERROR_SAVED_STREAM) throw py::value_error("the generator cannot have this state");
  accept(code);
  return StreamPointer(made);
}

// ---- the object ----

// NumPy draws single words and doubles through pointers; they come from a store that is filled at once, with words, or
// with doubles where one is asked for while the store is empty. Where the caller stands is then behind the stream, and
// told by the stream as it was before the store was filled. Whoever calls holds the bit generator's lock. NumPy keeps
// the object's address: it is never replaced, only what it holds.
class Engine {
 public:
  explicit Engine(StreamPointer stream) : stream_(std::move(stream)) {
    RsgInfo facts;
    accept(rsgStreamInfo(stream_.get(), &facts));
    // What the hardware gave is handed out at once, so that a forked process does not have the same words.
    capacity_ = facts.split == RSG_SPLIT_INDEPENDENT ? 1 : storeWords;
  }
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;

  static std::unique_ptr<Engine> seeded(std::int32_t brngId, const std::vector<std::uint32_t>& words) {
    RsgStream* made = nullptr;
    accept(rsgNewStreamFromSeeds(&made, brngId, static_cast<std::int32_t>(words.size()), words.data()));
    return std::make_unique<Engine>(StreamPointer(made));
  }
  static std::unique_ptr<Engine> scrambledSobol(std::int32_t dimension, std::uint64_t seed,
                                                std::int32_t scrambling) {
    RsgStream* made = nullptr;
    accept(rsgNewScrambledSobol(&made, dimension, seed, scrambling));
    return std::make_unique<Engine>(StreamPointer(made));
  }

  std::unique_ptr<Engine> copy() const { return std::make_unique<Engine>(here()); }

  // Goes on where the other one stands.
  void take(const Engine& other) { stand(other.here()); }

  std::int32_t member() const {
    RsgInfo facts;
    accept(rsgStreamInfo(stream_.get(), &facts));
    return facts.member;
  }
  std::vector<std::uint32_t> words() const { return stateWords(here().get()); }
  void setWords(const std::vector<std::uint32_t>& words) { stand(withState(stream_.get(), words)); }

  void skip(std::uint64_t outputs) {
    StreamPointer moved = here();
    accept(rsgSkipAhead(moved.get(), outputs));
    stand(std::move(moved));
  }
  std::vector<std::unique_ptr<Engine>> split(std::int32_t count, std::uint64_t stretch) const {
    if (count < 1) throw py::value_error("a stream is split into 1 part at least");
    const StreamPointer from = here();
    std::vector<RsgStream*> parts(static_cast<std::size_t>(count));
    accept(rsgSplit(from.get(), count, stretch, parts.data()));
    std::vector<StreamPointer> owned;
    for (RsgStream* part : parts)
      owned.emplace_back(part);
    std::vector<std::unique_ptr<Engine>> engines;
    for (StreamPointer& part : owned)
      engines.push_back(std::make_unique<Engine>(std::move(part)));
    return engines;
  }

  // fill(stream, n, r) for at most so many values as a call takes.
  template <class T, class Fill>
  void fill(Values<T>& r, Fill call) {
    T* to = r.mutable_data();
    auto left = static_cast<std::size_t>(r.size());
    const Unlocked unlocked;
    if (stored_) stand(here());
    while (left > 0) {
      const std::size_t n = std::min<std::size_t>(left, std::size_t{1} << 30);
      accept(call(stream_.get(), static_cast<std::int32_t>(n), to));
      to += n;
      left -= n;
    }
  }

  // Lets the bit generator of the capsule draw from here.
  void attach(const py::capsule& capsule) {
    auto* const bits = static_cast<bitgen_t*>(PyCapsule_GetPointer(capsule.ptr(), "BitGenerator"));
    if (bits == nullptr) throw py::error_already_set();
    bits->state = this;
    bits->next_uint32 = [](void* engine) { return static_cast<Engine*>(engine)->nextWord(); };
    bits->next_raw = [](void* engine) { return std::uint64_t{static_cast<Engine*>(engine)->nextWord()}; };
    // Of two words the first is the upper half, and of doubles of 53 bits the upper 27, as NumPy's own MT19937 has them.
    bits->next_uint64 = [](void* engine) {
      const auto [first, second] = static_cast<Engine*>(engine)->nextPair();
      return std::uint64_t{first} << 32 | second;
    };
    bits->next_double = &doubleOf;
  }

 private:
  // At the begin of a line of the cache, for it is called for each double and hardly longer than the call.
  [[gnu::aligned(64)]] static double doubleOf(void* engine) {
    return static_cast<Engine*>(engine)->nextDouble();
  }

  static constexpr std::uint32_t storeWords = 2048;
  static constexpr std::uint32_t storeDoubles = storeWords / 2;

  struct Pair {
    std::uint32_t first, second;
  };

  std::uint32_t nextWord() {
    if (word_ == wordsEnd_) moreWords();
    return *word_++;
  }
  Pair nextPair() {
    if (wordsEnd_ - word_ >= 2) {
      const Pair pair = {word_[0], word_[1]};
      word_ += 2;
      return pair;
    }
    const std::uint32_t first = nextWord();
    return {first, nextWord()};
  }
  double nextDouble() {
    // One read and one write of memory, and no other: the time of the call is what counts here.
    const std::int64_t i = ++double_;
    if (i <= 0) [[likely]]
      return (doubles_ + storeDoubles - 1)[i];
    double_ = 0;
    return slowDouble();
  }

  [[gnu::noinline]] void moreWords() {
    if (double_ != 0)
      doublesToWords();
    else
      storeTheNext(capacity_);
  }

  [[gnu::noinline]] double slowDouble() {
    if (word_ == wordsEnd_ && capacity_ == storeWords) {
      keep();
      if (before_ != nullptr) {
        draw(&rsgUniform53, stream_.get(), storeDoubles, doubles_);
        stored_ = true;
        double_ = 1 - std::int64_t{storeDoubles};
        word_ = wordsEnd_ = words_ + storeWords;
        return doubles_[0];
      }
    }
    const std::uint32_t first = nextWord();
    // Alone, it leaves the store empty, to be filled with doubles.
    if (word_ == wordsEnd_) storeTheNext(1);
    const std::uint32_t second = nextWord();
    return ((first >> 5) * 67108864.0 + (second >> 6)) * 0x1p-53;
  }

  // What the store has left, as words.
  void doublesToWords() {
    const std::int64_t taken = storeWords + 2 * double_;
    RsgStream* made = nullptr;
    rsgCopyStream(&made, before_.get());
    const StreamPointer copied(made);
    draw(&rsgWords32, copied ? copied.get() : before_.get(), storeWords, words_);
    if (!copied) before_.reset();
    double_ = 0;
    word_ = words_ + taken;
    wordsEnd_ = words_ + storeWords;
  }

  void storeTheNext(std::uint32_t words) {
    keep();
    draw(&rsgWords32, stream_.get(), words, words_);
    stored_ = true;
    word_ = words_;
    wordsEnd_ = words_ + words;
  }

  // Without memory for it there is no state to tell until the next refill.
  void keep() {
    RsgStream* before = nullptr;
    rsgCopyStream(&before, stream_.get());
    before_.reset(before);
  }

  template <class T>
  static void draw(std::int32_t (*call)(RsgStream*, std::int32_t, T*), RsgStream* from, std::uint32_t n,
                   T* to) {
    int code = call(from, static_cast<std::int32_t>(n), to);
    for (int i = 0; code != RSG_STATUS_OK && i < 1000; ++i)
      code = call(from, static_cast<std::int32_t>(n), to);
    // Only hardware fails. NumPy asked by a pointer that cannot tell, and must not go on with numbers that are none.
    if (code != RSG_STATUS_OK) Py_FatalError(rvnStatusText(RVN_DOMAIN_STREAMS, code));
  }

  // A stream that gives what comes next.
  StreamPointer here() const {
    const RsgStream* from = stored_ ? before_.get() : stream_.get();
    if (from == nullptr) throw std::bad_alloc();
    RsgStream* made = nullptr;
    accept(rsgCopyStream(&made, from));
    StreamPointer copied(made);
    const std::int64_t taken = double_ != 0 ? storeWords + 2 * double_ : word_ - words_;
    std::uint32_t drawn[storeWords];
    if (stored_) accept(rsgWords32(copied.get(), static_cast<std::int32_t>(taken), drawn));
    return copied;
  }
  void stand(StreamPointer at) {
    stream_ = std::move(at);
    stored_ = false;
    word_ = wordsEnd_ = words_;
    double_ = 0;
  }

  // The store has words or doubles.
  std::int64_t double_ = 0;  // minus the doubles that are left, the last of the array
  const std::uint32_t* word_ = words_;
  const std::uint32_t* wordsEnd_ = words_;
  StreamPointer stream_;  // behind the store
  StreamPointer before_;  // before it
  std::uint32_t capacity_;
  bool stored_ = false;
  union {
    double doubles_[storeDoubles];
    std::uint32_t words_[storeWords];
  };
};

py::dict generatorInfo(std::int32_t brngId) {
  RsgInfo facts;
  accept(rsgGeneratorInfo(brngId, &facts));
  py::dict told;
  told["name"] = facts.name;
  told["member"] = facts.member;
  told["members"] = facts.members;
  told["seed_words"] = facts.seedWords;
  told["skip_ahead"] = (facts.moves & RSG_MOVE_SKIP_AHEAD) != 0;
  told["state_bytes"] = facts.stateBytes;
  return told;
}

}  // namespace

void bindRandom(py::module_& m) {
  m.def("generator_info", &generatorInfo, py::arg("brng_id"), "Facts of a generator.");
  py::class_<Engine>(m, "Engine", "A stream, behind a bit generator or quasi-random points.")
      .def_static("seeded", &Engine::seeded, py::arg("brng_id"), py::arg("words"))
      .def_static("scrambled_sobol", &Engine::scrambledSobol, py::arg("dimension"), py::arg("seed"),
                  py::arg("scrambling"))
      .def("copy", &Engine::copy)
      .def_property_readonly("member", &Engine::member)
      .def("take", &Engine::take)
      .def_property("words", &Engine::words, &Engine::setWords)
      .def("skip", &Engine::skip, py::call_guard<Unlocked>())
      .def("split", &Engine::split, py::arg("count"), py::arg("stretch"))
      .def("attach", &Engine::attach)
      .def(
          "uniform",
          [](Engine& e, Values<double> r, double a, double b) {
            e.fill(r, [=](RsgStream* s, std::int32_t n, double* to) {
              return vdRngUniform(RNG_UNIFORM_PLAIN, s, n, to, a, b);
            });
          },
          py::arg("r").noconvert(), py::arg("a"), py::arg("b"))
      .def(
          "uniform",
          [](Engine& e, Values<float> r, float a, float b) {
            e.fill(r,
                   [=](RsgStream* s, std::int32_t n, float* to) { return rsgUniformFloat(s, n, to, a, b); });
          },
          py::arg("r").noconvert(), py::arg("a"), py::arg("b"))
      .def(
          "normal",
          [](Engine& e, Values<double> r, double mean, double sigma) {
            e.fill(r, [=](RsgStream* s, std::int32_t n, double* to) {
              return rsgNormal(s, n, to, mean, sigma);
            });
          },
          py::arg("r").noconvert(), py::arg("mean"), py::arg("sigma"))
      .def(
          "exponential",
          [](Engine& e, Values<double> r, double mean) {
            e.fill(r,
                   [=](RsgStream* s, std::int32_t n, double* to) { return rsgExponential(s, n, to, mean); });
          },
          py::arg("r").noconvert(), py::arg("mean"))
      .def(
          "words_into", [](Engine& e, Values<std::uint32_t> r) { e.fill(r, &rsgWords32); },
          py::arg("r").noconvert())
      .def(
          "words_into", [](Engine& e, Values<std::uint64_t> r) { e.fill(r, &rsgWords64); },
          py::arg("r").noconvert());
}
