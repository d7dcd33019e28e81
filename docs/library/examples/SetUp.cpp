// SPDX-License-Identifier: MIT
#include "Platform/SetUp.h"

#include <atomic>
#include <iostream>
#include <thread>

using qm::platform::platform;

int main() {
  qm::platform::setUp({.program = "example", .identifier = "com.example.example"});

  std::atomic<bool> isDone = false;
  std::thread worker([&] {
    std::cout << std::boolalpha << "the worker is the main thread: " << platform().mainThread->isMainThread() << '\n';
    platform().mainThread->performAndWait(
        [] { std::cout << "what it hands over runs there: " << platform().mainThread->isMainThread() << '\n'; });
    isDone = true;
  });
  while (!isDone) platform().mainThread->handleOneEvent(std::chrono::milliseconds(100));
  worker.join();
  return 0;
}
