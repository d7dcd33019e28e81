// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Platform/FileOperations.h"
#include "tests/fakes/Calls.h"
#include "tests/fakes/FakeDisk.h"
#include "tests/fakes/FakeMainThread.h"

namespace qm::testing {

/// One operation: its request, and reports made by the test.
class FakeFileOperation : public platform::FileOperation, public std::enable_shared_from_this<FakeFileOperation> {
 public:
  bool isScheduled() const { return read(scheduled_); }
  bool isCancelled() const { return read(cancelled_); }
  std::string source() const { return read(request_.source); }
  std::string destinationFolder() const { return read(request_.destinationFolder); }
  std::string newName() const { return read(request_.newName); }
  std::chrono::milliseconds statusInterval() const { return read(request_.statusInterval); }

  /// Main thread: makes a report of any kind, unless the operation is not scheduled. The last one releases the
  /// callback.
  void report(const platform::FileOperationReport& report);

 private:
  friend class FakeFileOperations;

  template <class Value>
  Value read(const Value& value) const {
    const std::scoped_lock lock(mutex_);
    return value;
  }
  bool setScheduled(bool scheduled);
  bool begin(const platform::CopyObjectRequest& request);
  void cancel();
  void abandon();

  mutable std::mutex mutex_;
  bool scheduled_ = false;
  bool begun_ = false;
  bool cancelled_ = false;
  platform::CopyObjectRequest request_;
};

/// Copies on the fake disk in steps of the fake main thread: the preflight, progress with nothing copied yet, the copy
/// with its end. Recorded as "fileOperations.copyObject(/source, /folder, name)" and
/// "fileOperations.scheduleWithMainRunLoop()"; a call that is told to fail returns the number of `Calls::setFailure`.
class FakeFileOperations : public platform::FileOperations {
 public:
  FakeFileOperations(Calls& calls, FakeDisk& disk, FakeMainThread& mainThread)
      : calls_(calls), disk_(disk), mainThread_(mainThread) {}
  ~FakeFileOperations() override { abandonAll(); }

  /// From now on a started copy does and reports nothing by itself.
  void keepCopies();
  /// The operation made last, while it exists.
  std::shared_ptr<FakeFileOperation> last() const;
  /// Releases every copy and its callback.
  void abandonAll();

  platform::FileOperationRef create() override;
  platform::FileOperationStatus scheduleWithMainRunLoop(const platform::FileOperationRef& operation) override;
  platform::FileOperationStatus unscheduleFromMainRunLoop(const platform::FileOperationRef& operation) override;
  platform::FileOperationStatus copyObject(const platform::FileOperationRef& operation,
                                           const platform::CopyObjectRequest& request) override;
  platform::FileOperationStatus cancel(const platform::FileOperationRef& operation) override;

 private:
  using Operation = std::shared_ptr<FakeFileOperation>;

  void preflight(const Operation& operation);
  void run(const Operation& operation);
  void complete(const Operation& operation);
  platform::FileOperationStatusDictionary statusOfBeginning(const std::string& source);

  Calls& calls_;
  FakeDisk& disk_;
  FakeMainThread& mainThread_;
  mutable std::mutex mutex_;
  bool keeps_ = false;
  std::weak_ptr<FakeFileOperation> last_;
  std::vector<Operation> kept_;
};

}  // namespace qm::testing
