#include <cstddef>
#include <cstring>

#include "runtime/memory.h"
#include "streams/registry.h"
#include "streams/stream.h"

namespace rvn {

RsgStream* makeStream(const BrngRecord& record, std::int32_t brngId) {
  auto* const made = static_cast<RsgStream*>(rvnMalloc(record.stateSize, blockAlignment));
  if (made == nullptr) return nullptr;
  made->brngId = brngId;
  made->resourcesSlot = 0;
  made->resources = nullptr;
  made->validMark = 1;
  return made;
}

RsgStream* copyStream(const BrngRecord& record, const RsgStream* stream) {
  RsgStream* const copy = makeStream(record, stream->brngId);
  if (copy == nullptr) return nullptr;
  std::memcpy(reinterpret_cast<unsigned char*>(copy) + sizeof(RsgStream),
              reinterpret_cast<const unsigned char*>(stream) + sizeof(RsgStream),
              record.stateSize - sizeof(RsgStream));
  return copy;
}

}  // namespace rvn
