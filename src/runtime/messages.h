#pragma once

// Numbered messages on standard output, and reports of bad parameters by routine name and position, which a receiver may
// take instead. Two threads that print at once may mix their text.

#include <atomic>
#include <cstdint>

namespace rvn {

// Prints message `number` of the catalogue; `number` 0 prints an empty line. `kind` has no effect. With
// `argumentCount` above 0 the arguments are formatted into the text.
void rvnPrintMessage(std::int32_t kind, std::int32_t number, std::int32_t argumentCount, ...);

// Prints the message that belongs to error number `*info` of routine `name`, or hands it to the receiver; at most 20
// characters of the name count.
void rvnReportParameterError(const char* name, const std::int32_t* info, std::int32_t nameLength);

using ParameterErrorHandler = void (*)(const char* name, const std::int32_t* info, std::int32_t nameLength);

// Goes to the installed handler, or to rvnReportParameterError while there is none.
void rvnReportError(const char* name, const std::int32_t* info, std::int32_t nameLength);

struct MessageState {
  std::atomic<std::int32_t> catalogueTried{1};    // 0 from the first message on: one attempt to open it
  std::atomic<std::int32_t> catalogueMissing{1};  // 0 once it is open
  std::atomic<void*> module{nullptr};
  std::atomic<ParameterErrorHandler> parameterErrorHandler{nullptr};
};
extern MessageState messageState;

// Who takes reports of bad parameters; `take` null: standard output. Both are set and read together, under the service
// lock.
struct ReportReceiver {
  void (*take)(void* context, const char* text) = nullptr;
  void* context = nullptr;
};
void setReportReceiver(ReportReceiver receiver);

// The first setter wins; later calls change nothing.
void rvnSetParameterErrorHandler(ParameterErrorHandler handler);

}  // namespace rvn
