// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Platform/Tasks.h"

namespace qm::testing {

/// A command line of a world.
struct Tool {
  std::string path;
  std::vector<std::string> arguments;
};

/// Tasks together with tools of known behaviour, either the fakes' or real ones.
class TaskWorld {
 public:
  virtual ~TaskWorld() = default;

  virtual platform::Tasks& tasks() = 0;
  /// Makes every thread the main thread, or none.
  virtual void setMainThread(bool isMain) = 0;

  virtual Tool exiting(int status) = 0;
  /// Prints both and exits.
  virtual Tool printing(const std::string& output, const std::string& error) = 0;
  /// Runs until it is terminated.
  virtual Tool endless() = 0;
  /// Prints "x", closes both of its outputs and runs until it is terminated.
  virtual Tool closingItsOutput() = 0;
  /// Cannot be started.
  virtual Tool missing() = 0;
};

std::unique_ptr<TaskWorld> makeFakeTaskWorld();
std::unique_ptr<TaskWorld> makeRealTaskWorld();

}  // namespace qm::testing
