// SPDX-License-Identifier: MIT
#include "Platform/posix/process/PosixTask.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <system_error>

#include "Platform/posix/process/ChildWait.h"
#include "Platform/posix/process/Descriptors.h"

namespace qm::posix {

using platform::Status;
using platform::TaskStream;

PosixTask::~PosixTask() {
  if (process_ && !hasExited()) surroundings_->reaper.adopt(std::move(process_));
}

void PosixTask::setLaunchPath(const std::string& path) {
  const std::scoped_lock lock(mutex_);
  launchPath_ = path;
}

std::string PosixTask::launchPath() const {
  const std::scoped_lock lock(mutex_);
  return launchPath_;
}

void PosixTask::setArguments(const std::vector<std::string>& arguments) {
  const std::scoped_lock lock(mutex_);
  arguments_ = arguments;
}

void PosixTask::setStandardInput(TaskStream stream) { setStream(STDIN_FILENO, stream, connectInput); }
void PosixTask::setStandardOutput(TaskStream stream) { setStream(STDOUT_FILENO, stream, connectOutput); }
void PosixTask::setStandardError(TaskStream stream) { setStream(STDERR_FILENO, stream, connectOutput); }

void PosixTask::connectInput(Stream& stream) {
  Pipe pipe = makePipe();
  if (!pipe.reading) stream.error = errno;
  stream.childEnd = std::move(pipe.reading);
  stream.writingEnd = std::move(pipe.writing);
}

void PosixTask::connectOutput(Stream& stream) {
  Pipe pipe = makeLargestPipe();
  if (!pipe.writing) stream.error = errno;
  stream.childEnd = std::move(pipe.writing);
  const auto reader = std::make_shared<PipeReader>(std::move(pipe.reading));
  if (stream.error == 0 && !reader->canBeWoken()) stream.error = EMFILE;
  stream.reader = reader;
}

void PosixTask::setStream(std::size_t number, TaskStream kind, void (*connect)(Stream&)) {
  Stream stream;
  stream.kind = kind;
  if (kind == TaskStream::Pipe) connect(stream);
  const std::scoped_lock lock(mutex_);
  streams_.at(number) = std::move(stream);
}

std::shared_ptr<platform::OutputReader> PosixTask::standardOutputReader() const { return reader(STDOUT_FILENO); }
std::shared_ptr<platform::OutputReader> PosixTask::standardErrorReader() const { return reader(STDERR_FILENO); }

std::shared_ptr<platform::OutputReader> PosixTask::reader(std::size_t number) const {
  const std::scoped_lock lock(mutex_);
  return streams_.at(number).reader;
}

Status PosixTask::launch() {
  const std::scoped_lock lock(mutex_);
  const int error = process_ ? EALREADY : start();
  if (error == 0) return Status::success();
  return Status::failed(error, std::generic_category().message(error));
}

int PosixTask::start() {
  int error = streamError();
  // The child is identified by a descriptor. Reserving one checks that it is available before the tool has any effect.
  ProcessHandle reserved = ProcessHandle::open(::getpid());
  if (error == 0 && !reserved) error = errno;
  if (error == 0) {
    SpawnRequest request;
    describeStreams(request);
    pid_t child = -1;
    error = request.spawn(launchPath_, arguments_, &child);
    reserved = ProcessHandle();
    if (error == 0) error = adopt(child);
  }
  forgetPipes(error == 0);
  return error;
}

int PosixTask::adopt(pid_t child) {
  process_ = ProcessHandle::open(child);
  if (process_) return 0;
  // Another thread took the reserved descriptor. The child is not reaped yet, so its id cannot have been reused.
  const int error = errno;
  ::kill(child, SIGKILL);
  waitForChild(child);
  return error;
}

void PosixTask::describeStreams(SpawnRequest& request) const {
  for (int number = STDIN_FILENO; number <= STDERR_FILENO; ++number) {
    const Stream& stream = streams_.at(static_cast<std::size_t>(number));
    switch (stream.kind) {
      case TaskStream::Inherited:
        request.inherit(number);
        break;
      case TaskStream::NullDevice:
        request.connectToNullDevice(number);
        break;
      case TaskStream::Pipe:
        request.connect(number, stream.childEnd.get());
        break;
    }
  }
}

int PosixTask::streamError() const {
  for (const Stream& stream : streams_) {
    if (stream.error != 0) return stream.error;
  }
  return 0;
}

// Once the child's ends are closed here, the child's exit ends its output. After a failed launch the other end of the
// input is closed, too.
void PosixTask::forgetPipes(bool launched) {
  for (Stream& stream : streams_) {
    stream.childEnd.reset();
    if (!launched) stream.writingEnd.reset();
  }
}

bool PosixTask::isRunning() const {
  const std::scoped_lock lock(mutex_);
  return process_ && !hasExited();
}

void PosixTask::waitUntilExit() {
  const ProcessHandle* process = processToWaitFor();
  if (process == nullptr) return;
  if (surroundings_->mainThread.isMainThread()) surroundings_->descriptorWait.waitUntilReadable(process->descriptor());
  process->waitForExit();
  const std::scoped_lock lock(mutex_);
  hasExited();
}

const ProcessHandle* PosixTask::processToWaitFor() const {
  const std::scoped_lock lock(mutex_);
  return process_ && !status_ ? &process_ : nullptr;
}

int PosixTask::terminationStatus() const {
  const std::scoped_lock lock(mutex_);
  return process_ && hasExited() ? *status_ : 0;
}

void PosixTask::terminate() {
  const std::scoped_lock lock(mutex_);
  if (process_ && !status_) process_.signal(SIGTERM);
}

// Reaps the child if it has exited. The lock must be held.
bool PosixTask::hasExited() const {
  if (!status_) status_ = process_.reap();
  return status_.has_value();
}

}  // namespace qm::posix
