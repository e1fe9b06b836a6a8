// Texts from a catalogue module in the directory that is named after the thread's locale.

#include <cstdint>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

#include "runtime/messages.h"
#include "runtime/platform.h"

namespace {

namespace fs = std::filesystem;

// The library looks for the catalogue once in the life of a process; this makes it look again.
void lookAgain() {
  rvn::messageState.catalogueTried = 1;
  rvn::messageState.catalogueMissing = 1;
}

std::string reported(std::int32_t info) {
  testing::internal::CaptureStdout();
  rvn::rvnReportParameterError("DDTTRSB", &info, 7);
  return testing::internal::GetCapturedStdout();
}

TEST(Catalogue, ReplacesBuiltInTexts) {
  const struct {
    std::int32_t info;
    const char* builtIn;
    const char* found;
  } cases[] = {
      {3, "Vetra RVN ERROR: Parameter 3 was incorrect on entry to DDTTRSB.",
       "From the catalogue: parameter 3 of DDTTRSB"},
      // no text at all
      {-3, "Vetra RVN INTERNAL ERROR: Condition 3 detected in function DDTTRSB.", nullptr},
      // not in the catalogue
      {1000, "Vetra RVN INTERNAL ERROR: Insufficient workspace available in function DDTTRSB.", nullptr},
      // no line break
      {1001, "Vetra RVN ERROR: Incompatible optional parameters on entry to DDTTRSB.", nullptr},
  };
  const fs::path start = fs::current_path();
  const fs::path scratch = fs::temp_directory_path() / ("ravenfit_catalogue_" + std::to_string(getpid()));
  const fs::path directory = scratch / std::to_string(rvn::threadLocale());
  fs::remove_all(scratch);
  fs::create_directories(directory);
  fs::current_path(scratch);
  const auto expectTexts = [&](bool fromCatalogue, const char* when) {
    for (const auto& c : cases) {
      const char* const text = fromCatalogue && c.found != nullptr ? c.found : c.builtIn;
      EXPECT_EQ(reported(c.info), std::string("\n") + text + "\n") << when;
    }
  };

  lookAgain();
  expectTexts(false, "no file");
  fs::copy_file(CATALOGUE_MODULE, directory / "rvn_msg.dll");
  expectTexts(false, "no second attempt");
  lookAgain();
  expectTexts(true, "with the file");
  rvn::messageState.catalogueMissing = 1;
  fs::current_path(start);
}

}  // namespace
