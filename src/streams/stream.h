#pragma once

// The random stream object and the buffers that belong to streams.

#include <cstddef>
#include <cstdint>

#include <ravenfit/random_streams.h>

namespace rvn {
struct RsgStreamResource;
}

// Header of a stream; the generator's state follows at byte 16 of the same block. The size and the states' own are
// the same on all platforms.
struct alignas(8) RsgStream {
  std::int32_t brngId;      // as the caller gave it
  std::uint8_t validMark;   // 1 in every stream
  std::uint8_t padding[3];  // never read
  union {
    rvn::RsgStreamResource* resources;  // newest first
    std::uint64_t resourcesSlot;
  };
};
static_assert(sizeof(RsgStream) == 16);
static_assert(offsetof(RsgStream, resources) == 8);

namespace rvn {

// A key under which streams share one buffer; all zero: the buffer belongs to one stream alone.
struct RsgResourceKey {
  std::uint32_t word[4];
};
static_assert(sizeof(RsgResourceKey) == 16);

// A buffer that goes with a stream.
struct RsgStreamResource {
  std::int32_t tag;    // what the buffer is to its generator
  std::uint32_t size;  // bytes, as the generator told
  void* data;
  RsgStreamResource* next;
  RsgResourceKey key;
};

// 0 for a stream, otherwise RSG_ERROR_NULL_STREAM or RSG_ERROR_NOT_A_STREAM.
static inline std::int32_t rsgStreamCheck(const RsgStream* stream) {
  if (stream == nullptr) return RSG_ERROR_NULL_STREAM;
  return stream->validMark == 1 ? RSG_STATUS_OK : RSG_ERROR_NOT_A_STREAM;
}

// Gives the stream a buffer, which deletion frees. With a key that another stream's buffer has, the node gets
// that buffer in place of `data`; with a new key `data` can be shared from now on, unless the table is full.
// A null or zero key keeps it private. Returns 0 or RSG_ERROR_MEMORY.
std::int32_t rsgAttachResource(RsgStream* stream, std::int32_t tag, const RsgResourceKey* key, void* data,
                               std::uint32_t size);

// Makes a key that no shared buffer has, from the time and the buffer's address. Always 0.
std::int32_t rsgMakeResourceKey(RsgResourceKey* key, const void* data);

// The buffer of the newest node with `tag`, or null.
void* rsgStreamFindResource(const RsgStream* stream, std::int32_t tag);

// Frees the nodes of a stream and the buffers that no other stream shares.
void rsgReleaseResources(RsgStream* stream);

}  // namespace rvn
