#include "runtime/fake_machine.h"

#include <cstring>

#include "runtime/cpu_features.h"
#include "runtime/cpu_level.h"
#include "runtime/cpuid.h"
#include "runtime/memory_state.h"
#include "runtime/messages.h"
#include "runtime/platform.h"
#include "runtime/rdrand.h"
#include "runtime/reproducibility.h"

namespace support {

FakeMachine machine;

void boot(const FakeProcessor& processor, const std::map<std::string, std::string>& environment) {
  machine = {};
  machine.processor = processor;
  machine.environment = environment;
  rvn::cpuState.level = -1;
  rvn::cpuState.solverType = -1;
  rvn::cpuState.detectedType = -1;
  rvn::cpuState.forcedSolverType = -1;
  rvn::vendorRule.ignored = false;
  rvn::cpuFeatures.mask = 0;
  rvn::cbwrState.mode = 0;
  rvn::cbwrState.read = -1;
  rvn::mmState.disabledRead = -1;
  rvn::mmState.disabled = -1;
  rvn::messageState.catalogueTried = 1;
  rvn::messageState.catalogueMissing = 1;
}

}  // namespace support

namespace rvn {

using support::machine;

bool hasCpuid() {
  return machine.processor.hasCpuid;
}

CpuidLeaf cpuid(std::uint32_t leaf, std::uint32_t) {
  const support::FakeProcessor& p = machine.processor;
  if (leaf == 0) {
    std::uint32_t words[3];
    std::memcpy(words, p.vendor, sizeof words);
    return {p.highestLeaf, words[0], words[2], words[1]};
  }
  if (leaf == 1) return {p.signature, 0, p.leaf1Ecx, p.leaf1Edx};
  if (leaf == 7) return {0, p.leaf7Ebx, 0, 0};
  if (leaf == 0x80000000) return {0x80000008, 0, 0, 0};
  if (leaf == 0x80000001) return {0, 0, p.extendedEcx, 0};
  return {};
}

std::uint64_t xgetbv(std::uint32_t) {
  return machine.processor.xcr0;
}

bool drawHardwareRandom(std::uint32_t* number) {
  if (machine.random.empty()) return false;
  const std::optional<std::uint32_t> drawn = machine.random.front();
  machine.random.pop_front();
  *number = drawn.value_or(0);
  return drawn.has_value();
}

std::size_t readEnvironment(const char* name, char* buffer, std::size_t size) {
  buffer[0] = '\0';
  const auto found = machine.environment.find(name);
  if (found == machine.environment.end()) return 0;
  const std::size_t length = found->second.size();
  if (length >= size) return length + 1;
  std::memcpy(buffer, found->second.c_str(), length + 1);
  return length;
}

std::uint32_t threadLocale() {
  return 1031;
}

void* openCatalogue(const char* fileName) {
  machine.catalogueName = fileName;
  ++machine.catalogueOpens;
  return machine.hasCatalogue ? &machine : nullptr;
}

std::size_t readCatalogue(void*, std::uint32_t id, char* buffer, std::size_t size) {
  const auto found = machine.catalogue.find(id);
  if (found == machine.catalogue.end() || found->second.size() >= size) return 0;
  std::memcpy(buffer, found->second.c_str(), found->second.size() + 1);
  return found->second.size();
}

}  // namespace rvn
