// SPDX-License-Identifier: MIT
#include "bench/Machine.h"
#include "Uninstaller/Product.h"

#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <utility>

#include "Platform/linux/LinuxPlatform.h"

namespace qm::bench {
namespace {

std::function<void()>& hook() {
  static auto* function = new std::function<void()>;
  return *function;
}

class HookedMainThread final : public platform::MainThread {
 public:
  bool isMainThread() const override { return false; }
  void performAndWait(std::function<void()> /*work*/) override {
    if (hook()) hook()();
  }
  void perform(std::function<void()> /*work*/) override {}
  bool handleOneEvent(std::chrono::milliseconds /*limit*/) override { return false; }
};

class NoDescriptorWait final : public posix::DescriptorWait {
 public:
  void waitUntilReadable(int /*descriptor*/) override {}
};

}  // namespace

const platform::Platform& machine() {
  static auto* mainThread = new HookedMainThread;
  static auto* descriptorWait = new NoDescriptorWait;
  return linux_::wholeLinuxPlatform(kProduct, {*mainThread, *descriptorWait});
}

void onPerformAndWait(std::function<void()> function) { hook() = std::move(function); }

std::string freshFolder(const std::string& name) {
  static int number = 0;
  const std::string folder = std::string(std::getenv("HOME")) + "/" + name + std::to_string(++number);
  ::mkdir(folder.c_str(), 0755);
  return folder;
}

void writeFile(const std::string& path, const std::string& contents) {
  std::ofstream(path, std::ios::binary) << contents;
}

}  // namespace qm::bench
