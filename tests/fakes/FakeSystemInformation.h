// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include "Platform/SystemInformation.h"
#include "tests/fakes/Calls.h"

namespace qm::testing {

/// A machine with two processors and 8 GiB, running "Version 12.0 (Fake)", and a program
/// /Applications/Demo.app/Contents/MacOS/Demo of version "1.2.3". The zip tool is /usr/bin/ditto. Unique strings count
/// up: "unique-1", "unique-2" and so on.
class FakeSystemInformation : public platform::SystemInformation {
 public:
  explicit FakeSystemInformation(Calls& calls) : calls_(calls) {}

  void setOperatingSystemVersion(const std::string& version) { set(operatingSystemVersion_, version); }
  void setProcessorCount(int count) { set(processorCount_, count); }
  void setPhysicalMemory(std::uint64_t bytes) { set(physicalMemory_, bytes); }
  void setExecutablePath(const std::optional<std::string>& path) { set(executablePath_, path); }
  void setZipToolPath(const std::string& path) { set(zipToolPath_, path); }
  void setBundleVersion(const std::optional<std::string>& version) { set(bundleVersion_, version); }

  std::string operatingSystemVersion() const override {
    calls_.note("systemInformation.operatingSystemVersion");
    return get(operatingSystemVersion_);
  }
  int processorCount() const override {
    calls_.note("systemInformation.processorCount");
    return get(processorCount_);
  }
  std::uint64_t physicalMemory() const override {
    calls_.note("systemInformation.physicalMemory");
    return get(physicalMemory_);
  }
  std::string globallyUniqueString() const override {
    calls_.note("systemInformation.globallyUniqueString");
    return "unique-" + std::to_string(++uniqueStrings_);
  }
  std::optional<std::string> executablePath() const override {
    if (calls_.question("systemInformation.executablePath")) return std::nullopt;
    return get(executablePath_);
  }
  std::optional<std::string> bundleVersion() const override {
    if (calls_.question("systemInformation.bundleVersion")) return std::nullopt;
    return get(bundleVersion_);
  }
  std::string zipToolPath() const override {
    calls_.note("systemInformation.zipToolPath");
    return get(zipToolPath_);
  }

 private:
  template <class Value>
  void set(Value& value, const Value& from) {
    const std::scoped_lock lock(mutex_);
    value = from;
  }
  template <class Value>
  Value get(const Value& value) const {
    const std::scoped_lock lock(mutex_);
    return value;
  }

  Calls& calls_;
  mutable std::mutex mutex_;
  std::string operatingSystemVersion_ = "Version 12.0 (Fake)";
  int processorCount_ = 2;
  std::uint64_t physicalMemory_ = 8'589'934'592;
  std::optional<std::string> executablePath_ = "/Applications/Demo.app/Contents/MacOS/Demo";
  std::optional<std::string> bundleVersion_ = "1.2.3";
  std::string zipToolPath_ = "/usr/bin/ditto";
  mutable std::atomic<unsigned> uniqueStrings_{0};
};

}  // namespace qm::testing
