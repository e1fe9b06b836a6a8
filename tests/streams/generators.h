#pragma once

// Every generator that a public identifier names, with an independent model that makes one raw output at a
// time, and a stream that calls the operations of its row directly.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "streams/registry.h"

#include <ravenfit/random_streams.h>

namespace support {

using Seeds = std::vector<std::uint32_t>;
using RawOutputs = std::function<std::uint64_t()>;

struct Generator {
  std::string name;
  std::int32_t brngId;
  std::vector<Seeds> seeds;  // worth testing
  RawOutputs (*model)(const Seeds& seeds);
  // A raw output mapped to the interval from a to b; `fuses` where the level fuses the last two operations.
  double (*value)(std::uint64_t raw, double a, double b, bool fuses);
  std::int32_t leapfrogStatus;  // of number 1 of 3 streams
  std::int32_t skipStatus;
  std::uint64_t farSkip = (std::uint64_t{1} << 40) + 12345;  // outputs that a stream of seed 4 can skip
};

const std::vector<Generator>& generators();
const Generator& generator(const std::string& name);

// The record of the level of this run.
const rvn::BrngRecord& registeredGenerator(std::int32_t brngId);

// Positions around which blocks, rings and state arrays of some generator end.
std::vector<std::size_t> edges();

class GeneratorStream {
 public:
  GeneratorStream(std::int32_t brngId, const Seeds& seeds);
  GeneratorStream(const Generator& which, const Seeds& seeds) : GeneratorStream(which.brngId, seeds) {}
  GeneratorStream(const GeneratorStream& other);
  GeneratorStream& operator=(const GeneratorStream&) = delete;
  ~GeneratorStream() { rsgDeleteStream(&stream_); }

  // Each checks that the call succeeds and that it writes nothing behind its n values.
  std::vector<std::uint64_t> raw(std::size_t n);
  std::vector<double> doubles(std::size_t n, double a = 0.0, double b = 1.0);
  std::vector<float> floats(std::size_t n, float a = 0.0F, float b = 1.0F);

  std::int32_t stateOp(std::int32_t method, std::int64_t count, const Seeds& args);
  void skip(std::uint64_t outputs);

  RsgStream* get() const { return stream_; }
  template <class State>
  State& state() const {
    return *reinterpret_cast<State*>(stream_);
  }

 private:
  const rvn::BrngRecord& record_;
  RsgStream* stream_ = nullptr;
};

}  // namespace support
