#include "runtime/messages.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "support/printed.h"

namespace {

using support::printed;

std::string lines(const std::vector<std::string>& texts) {
  std::string all;
  for (const std::string& text : texts)
    all.append(text).append("\n");
  return all;
}

TEST(Messages, ParameterErrors) {
  const struct {
    std::int32_t info;
    const char* text;
  } cases[] = {
      {3, "Vetra RVN ERROR: Parameter 3 was incorrect on entry to rsgNewStream."},
      {999, "Vetra RVN ERROR: Parameter 999 was incorrect on entry to rsgNewStream."},
      {0, "Vetra RVN INTERNAL ERROR: Condition 0 detected in function rsgNewStream."},
      {-5, "Vetra RVN INTERNAL ERROR: Condition 5 detected in function rsgNewStream."},
      {INT32_MIN, "Vetra RVN INTERNAL ERROR: Condition -2147483648 detected in function rsgNewStream."},
      {1000, "Vetra RVN INTERNAL ERROR: Insufficient workspace available in function rsgNewStream."},
      {1001, "Vetra RVN ERROR: Incompatible optional parameters on entry to rsgNewStream."},
      {1089, "Vetra RVN INTERNAL ERROR: Not enough work memory in function rsgNewStream"},
      {1212, "Vetra RVN INTERNAL ERROR: Issue accessing coprocessor rsgNewStream."},
  };
  for (const auto& c : cases)
    EXPECT_EQ(printed([&] { rvn::rvnReportParameterError("rsgNewStream", &c.info, 12); }),
              lines({"", c.text}));
}

TEST(Messages, NamesAreCutAtTwentyCharacters) {
  const std::int32_t info = 1;
  const struct {
    const char* name;
    std::int32_t length;
    const char* shown;
  } cases[] = {
      {"abcdefghijklmnopqrst", 20, "abcdefghijklmnopqrst"},
      {"abcdefghijklmnopqrstu", 21, "abcdefghijklmnopqrst"},
      {"not terminated here", 3, "not"},
      {"%s%n%d", 6, "%s%n%d"},
      {"", 0, ""},
      {"x", -1, ""},
  };
  for (const auto& c : cases)
    EXPECT_EQ(
        printed([&] { rvn::rvnReportParameterError(c.name, &info, c.length); }),
        lines({"", std::string("Vetra RVN ERROR: Parameter 1 was incorrect on entry to ") + c.shown + "."}));
}

TEST(Messages, TextWithoutArgumentsIsPrintedAsItStands) {
  EXPECT_EQ(printed([] { rvn::rvnPrintMessage(1, 0, 5); }), "\n");
  EXPECT_EQ(printed([] { rvn::rvnPrintMessage(0, 6, 0); }),
            "Vetra RVN ERROR: Parameter %d was incorrect on entry to %s.\n");
}

// At most 513 characters pass.
TEST(MessagesDeathTest, TextBeyondTheBufferEndsTheProcess) {
  const std::string frame = "Vetra RVN INTERNAL ERROR: Issue accessing coprocessor .";
  const auto nameFor = [&](std::size_t length) { return std::string(length - frame.size(), 'x'); };
  const std::string longest = nameFor(513);
  EXPECT_EQ(printed([&] { rvn::rvnPrintMessage(0, 1212, 1, longest.c_str()); }).size(), 514u);
  for (const std::size_t length : {std::size_t{514}, std::size_t{5000}}) {
    EXPECT_EXIT(
        {
          dup2(2, 1);
          rvn::rvnPrintMessage(0, 1212, 1, nameFor(length).c_str());
        },
        testing::ExitedWithCode(8),
        "^\nRVN INTERNAL ERROR: message buffer overflow\\.\n       Message N 1212   Lenght: " +
            std::to_string(length - 1) + "   Buffer size: 512\n$");
  }
}

std::string handled;

TEST(Messages, FirstHandlerWins) {
  const rvn::ParameterErrorHandler kept = rvn::messageState.parameterErrorHandler;
  rvn::messageState.parameterErrorHandler = nullptr;
  const std::int32_t info = 2;
  EXPECT_EQ(printed([&] { rvn::rvnReportError("DDTTRSB", &info, 7); }),
            support::parameterReport(2, "DDTTRSB"));
  rvn::rvnSetParameterErrorHandler([](const char* name, const std::int32_t* at, std::int32_t length) {
    handled = std::string(name, static_cast<std::size_t>(length)) + std::to_string(*at);
  });
  rvn::rvnSetParameterErrorHandler(rvn::rvnReportParameterError);
  EXPECT_EQ(printed([&] { rvn::rvnReportError("DDTTRSB", &info, 7); }), "");
  EXPECT_EQ(handled, "DDTTRSB2");
  rvn::messageState.parameterErrorHandler = kept;
}

}  // namespace
