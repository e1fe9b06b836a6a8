#pragma once

// Streams as bytes that are the same on every platform:
//
//   0   8 bytes  mark
//   8   4        version of this form
//   12  4        identifier of the generator
//   16  4        number of words
//   20           the words of the generator's save()
//       8        check sum of all bytes before
//
// Numbers stand with their low byte first.

#include <cstddef>
#include <cstdint>

#include "streams/registry.h"
#include "streams/stream.h"

namespace rvn {

std::size_t savedSize(const BrngRecord& record);

// Writes savedSize() bytes.
void saveStream(const BrngRecord& record, const RsgStream* stream, unsigned char* bytes);

// The identifier that the bytes name. Returns 0, RSG_ERROR_SAVED_STREAM or RSG_ERROR_SAVED_VERSION.
std::int32_t readSavedGenerator(const unsigned char* bytes, std::size_t size, std::int32_t* brngId);

// A stream of the generator that they name. Returns 0, RSG_ERROR_SAVED_STREAM or RSG_ERROR_MEMORY.
std::int32_t loadStream(const BrngRecord& record, std::int32_t brngId, const unsigned char* bytes,
                        std::size_t size, RsgStream** loaded);

}  // namespace rvn
