// Windows alone: lines end as the tests expect them, here and in what GoogleTest captures.

#include <fcntl.h>
#include <io.h>
#include <stdlib.h>

namespace {

[[maybe_unused]] const bool binaryStreams = [] {
  _fmode = _O_BINARY;
  return _setmode(1, _O_BINARY) >= 0 && _setmode(2, _O_BINARY) >= 0;
}();

}  // namespace
