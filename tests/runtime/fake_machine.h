#pragma once

// A processor, an environment and a message catalogue of the test's own making. A program that links
// fake_machine.cpp runs on them.

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>

namespace support {

struct FakeProcessor {
  bool hasCpuid = true;
  const char* vendor = "GenuineVetra";
  std::uint32_t highestLeaf = 13;
  std::uint32_t signature = 0;
  std::uint32_t leaf1Ecx = 0;
  std::uint32_t leaf1Edx = 0;
  std::uint32_t leaf7Ebx = 0;
  std::uint32_t extendedEcx = 0;
  std::uint64_t xcr0 = 0;
};

struct FakeMachine {
  FakeProcessor processor;
  std::map<std::string, std::string> environment;
  std::deque<std::optional<std::uint32_t>> random;  // what is drawn; nothing: not at hand, as behind the last
  bool hasCatalogue = false;
  std::map<std::uint32_t, std::string> catalogue;
  std::string catalogueName;  // as last asked for
  int catalogueOpens = 0;
};
extern FakeMachine machine;

// Puts the process back to before its first call, on this machine.
void boot(const FakeProcessor& processor, const std::map<std::string, std::string>& environment = {});

}  // namespace support
