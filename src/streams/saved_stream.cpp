#include "streams/saved_stream.h"

#include <cstring>

#include "runtime/memory.h"

namespace rvn {
namespace {

// The line ends fall to whoever treats the bytes as text.
constexpr unsigned char mark[8] = {0xD7, 'r', 's', 'g', '\r', '\n', 0x1A, '\n'};
constexpr std::uint32_t version = 1;
constexpr std::size_t versionPlace = sizeof mark;
constexpr std::size_t generatorPlace = versionPlace + 4;
constexpr std::size_t countPlace = generatorPlace + 4;
constexpr std::size_t wordsPlace = countPlace + 4;
constexpr std::size_t sumBytes = 8;

void put(unsigned char* to, std::uint64_t number, std::size_t bytes) {
  for (std::size_t i = 0; i < bytes; ++i)
    to[i] = static_cast<unsigned char>(number >> 8 * i);
}

std::uint64_t get(const unsigned char* from, std::size_t bytes) {
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < bytes; ++i)
    number |= std::uint64_t{from[i]} << 8 * i;
  return number;
}

std::uint32_t getWord(const unsigned char* from) {
  return static_cast<std::uint32_t>(get(from, 4));
}

// FNV-1a (G. Fowler, L. C. Noll, K.-P. Vo, 1991): every step can be undone, so that no change of one byte is lost.
std::uint64_t checkSum(const unsigned char* bytes, std::size_t size) {
  std::uint64_t sum = 0xCBF29CE484222325;
  for (std::size_t i = 0; i < size; ++i)
    sum = (sum ^ bytes[i]) * 0x100000001B3;
  return sum;
}

std::size_t bytesBeforeSum(const BrngRecord& record) {
  return wordsPlace + 4 * static_cast<std::size_t>(record.operations->savedWords);
}

}  // namespace

std::size_t savedSize(const BrngRecord& record) {
  return bytesBeforeSum(record) + sumBytes;
}

void saveStream(const BrngRecord& record, const RsgStream* stream, unsigned char* bytes) {
  const auto count = static_cast<std::uint32_t>(record.operations->savedWords);
  std::uint32_t words[mostSavedWords];
  record.operations->save(stream, words);
  std::memcpy(bytes, mark, sizeof mark);
  put(bytes + versionPlace, version, 4);
  put(bytes + generatorPlace, static_cast<std::uint32_t>(stream->brngId), 4);
  put(bytes + countPlace, count, 4);
  for (std::size_t i = 0; i < count; ++i)
    put(bytes + wordsPlace + 4 * i, words[i], 4);
  const std::size_t end = bytesBeforeSum(record);
  put(bytes + end, checkSum(bytes, end), sumBytes);
}

std::int32_t readSavedGenerator(const unsigned char* bytes, std::size_t size, std::int32_t* brngId) {
  if (size < wordsPlace + sumBytes || std::memcmp(bytes, mark, sizeof mark) != 0)
    return RSG_ERROR_SAVED_STREAM;
  const std::uint32_t written = getWord(bytes + versionPlace);
  if (written != version) return written > version ? RSG_ERROR_SAVED_VERSION : RSG_ERROR_SAVED_STREAM;
  *brngId = static_cast<std::int32_t>(getWord(bytes + generatorPlace));
  return RSG_STATUS_OK;
}

std::int32_t loadStream(const BrngRecord& record, std::int32_t brngId, const unsigned char* bytes,
                        std::size_t size, RsgStream** loaded) {
  const auto count = static_cast<std::uint32_t>(record.operations->savedWords);
  const std::size_t end = bytesBeforeSum(record);
  if (size < savedSize(record) || getWord(bytes + countPlace) != count) return RSG_ERROR_SAVED_STREAM;
  if (get(bytes + end, sumBytes) != checkSum(bytes, end)) return RSG_ERROR_SAVED_STREAM;
  std::uint32_t words[mostSavedWords];
  for (std::size_t i = 0; i < count; ++i)
    words[i] = getWord(bytes + wordsPlace + 4 * i);
  RsgStream* const stream = makeStream(record, brngId);
  if (stream == nullptr) {
    *loaded = nullptr;
    return RSG_ERROR_MEMORY;
  }
  if (!record.operations->restore(stream, words)) {
    rvnFree(stream);
    return RSG_ERROR_SAVED_STREAM;
  }
  *loaded = stream;
  return RSG_STATUS_OK;
}

}  // namespace rvn
