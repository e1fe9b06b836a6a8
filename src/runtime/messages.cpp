#include "runtime/messages.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "runtime/memory.h"
#include "runtime/platform.h"

namespace rvn {

MessageState messageState;

namespace {

struct MessageRow {
  std::int32_t number;
  const char* text;
};

// The messages that this library can print; the numbers are those of the catalogue.
constexpr MessageRow messages[] = {
    {6, "Vetra RVN ERROR: Parameter %d was incorrect on entry to %s."},
    {7, "Vetra RVN INTERNAL ERROR: Condition %d detected in function %s."},
    {8, "Vetra RVN INTERNAL ERROR: Insufficient workspace available in function %s."},
    {9, "Vetra RVN ERROR: Incompatible optional parameters on entry to %s."},
    {1089, "Vetra RVN INTERNAL ERROR: Not enough work memory in function %s"},
    {1210,
     "Vetra RVN FATAL ERROR: This system does not meet the minimum requirements for use of the Vetra(R) "
     "Ravenfit "
     "Numerics Library."},
    {1211,
     "The processor must support the Vetra(R) Streaming SIMD 2 Extensions (Vetra(R) SSE2) instructions."},
    {1212, "Vetra RVN INTERNAL ERROR: Issue accessing coprocessor %s."},
    {1213, "Vetra RVN ERROR: CPU %d is not supported."},
};

constexpr int bufferSize = 512;
constexpr std::size_t catalogueTextSize = 1024;

const char* defaultText(std::int32_t number) {
  for (const MessageRow& row : messages)
    if (row.number == number) return row.text;
  return "";
}

// One attempt for the life of the process.
void openCatalogueOnce() {
  if (messageState.catalogueTried.exchange(0, std::memory_order_relaxed) == 0) return;
  char fileName[64];
  std::snprintf(fileName, sizeof fileName, "%lu/%s", static_cast<unsigned long>(threadLocale()),
                "rvn_msg.dll");
  void* const module = openCatalogue(fileName);
  if (module == nullptr) return;
  messageState.module.store(module, std::memory_order_relaxed);
  messageState.catalogueMissing.store(0, std::memory_order_release);
}

// The catalogue's text of a message, without the line end that every text of a catalogue has; false where the
// built-in text stands.
bool catalogueText(std::int32_t number, char (&text)[catalogueTextSize]) {
  if (messageState.catalogueMissing.load(std::memory_order_acquire) != 0) return false;
  const std::uint32_t id = static_cast<std::uint32_t>(number) + 0x80000000;
  const std::size_t length =
      readCatalogue(messageState.module.load(std::memory_order_relaxed), id, text, sizeof text);
  if (length < 2 || text[length - 2] != '\r' || text[length - 1] != '\n') return false;
  text[length - 2] = '\0';
  return true;
}

const char* textOf(std::int32_t number, char (&fromCatalogue)[catalogueTextSize]) {
  openCatalogueOnce();
  return catalogueText(number, fromCatalogue) ? fromCatalogue : defaultText(number);
}

// The spelling of these texts is part of the interface: programs match on it.
[[noreturn]] void refuseLength(std::int32_t number, int length) {
  std::printf("\nRVN INTERNAL ERROR: message buffer overflow.");
  std::fflush(stdout);
  std::printf("\n       Message N %d   Lenght: %d   Buffer size: %d\n", number, length - 1, bufferSize);
  std::fflush(stdout);
  std::exit(8);
}

ReportReceiver reportReceiver;

// To the receiver, whose text is cut where it does not fit, or behind an empty line to standard output.
template <class... Arguments>
void report(std::int32_t number, Arguments... arguments) {
  mmLockAcquire();
  const ReportReceiver receiver = reportReceiver;
  mmLockRelease();
  if (receiver.take == nullptr) {
    rvnPrintMessage(0, 0, 0);
    rvnPrintMessage(0, number, std::int32_t{sizeof...(arguments)}, arguments...);
    return;
  }
  char fromCatalogue[catalogueTextSize];
  char text[bufferSize];
  std::snprintf(text, sizeof text, textOf(number, fromCatalogue), arguments...);
  receiver.take(receiver.context, text);
}

}  // namespace

void setReportReceiver(ReportReceiver receiver) {
  mmLockAcquire();
  reportReceiver = receiver;
  mmLockRelease();
}

void rvnPrintMessage(std::int32_t, std::int32_t number, std::int32_t argumentCount, ...) {
  if (number == 0) {
    std::fputs("\n", stdout);
    return;
  }
  char fromCatalogue[catalogueTextSize];
  const char* text = textOf(number, fromCatalogue);

  char formatted[bufferSize + 2];  // the longest text that passes the check, and its end
  auto length = static_cast<int>(std::strlen(text));
  if (argumentCount > 0) {
    std::va_list arguments;
    va_start(arguments, argumentCount);
    length = std::vsnprintf(formatted, sizeof formatted, text, arguments);
    va_end(arguments);
    text = formatted;
  }
  if (length - 1 > bufferSize) refuseLength(number, length);
  std::fputs(text, stdout);
  std::fputs("\n", stdout);
  std::fflush(nullptr);
}

void rvnReportParameterError(const char* name, const std::int32_t* info, std::int32_t nameLength) {
  constexpr std::int32_t longest = 20;
  char shown[longest + 1] = {};
  if (nameLength > 0)
    std::memcpy(shown, name, static_cast<std::size_t>(nameLength < longest ? nameLength : longest));

  const std::int32_t v = *info;
  const std::int32_t shownNumber = v < 1 ? static_cast<std::int32_t>(0u - static_cast<std::uint32_t>(v)) : v;
  switch (v) {
    case 1000:
      return report(8, shown);
    case 1001:
      return report(9, shown);
    case 1089:
    case 1212:
      return report(v, shown);
    default:
      return report(v < 1 ? 7 : 6, shownNumber, shown);
  }
}

void rvnReportError(const char* name, const std::int32_t* info, std::int32_t nameLength) {
  const ParameterErrorHandler handler = messageState.parameterErrorHandler.load(std::memory_order_acquire);
  (handler != nullptr ? handler : rvnReportParameterError)(name, info, nameLength);
}

void rvnSetParameterErrorHandler(ParameterErrorHandler handler) {
  ParameterErrorHandler none = nullptr;
  messageState.parameterErrorHandler.compare_exchange_strong(none, handler, std::memory_order_acq_rel);
}

}  // namespace rvn
