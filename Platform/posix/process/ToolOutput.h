// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cerrno>
#include <cstdio>

#include "Platform/AuthorizationServices.h"

namespace qm::posix {

/// The output of a tool, as a stream that this object closes. Remembers whether the tool has ended: the end of the
/// output, or a failure to read it, is taken for the tool's end.
class ToolOutput final : public platform::CommunicationsPipe {
 public:
  explicit ToolOutput(std::FILE* stream) : stream_(stream) {}
  ToolOutput(const ToolOutput&) = delete;
  ToolOutput& operator=(const ToolOutput&) = delete;
  ~ToolOutput() override { static_cast<void>(std::fclose(stream_)); }

  int readCharacter() override {
    const int character = nextCharacter();
    hasEnded_ = hasEnded_ || character < 0;
    return character;
  }

  bool hasEnded() const { return hasEnded_; }
  /// Reads what is left of the output. Blocks.
  void waitForEnd() {
    while (!hasEnded_) static_cast<void>(readCharacter());
  }

 private:
  /// A signal interrupts the reading, but not the tool.
  int nextCharacter() {
    int character = std::fgetc(stream_);
    while (character < 0 && std::ferror(stream_) != 0 && errno == EINTR) {
      std::clearerr(stream_);
      character = std::fgetc(stream_);
    }
    return character;
  }

  std::FILE* stream_;
  std::atomic<bool> hasEnded_ = false;
};

}  // namespace qm::posix
