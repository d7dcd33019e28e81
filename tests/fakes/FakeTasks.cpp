// SPDX-License-Identifier: MIT
#include "tests/fakes/FakeTasks.h"

#include <cerrno>
#include <system_error>
#include <utility>

namespace qm::testing {

using platform::OutputReader;
using platform::Status;
using platform::TaskStream;

namespace {
constexpr int terminationSignal = 15;

const char* nameOf(TaskStream stream) {
  if (stream == TaskStream::NullDevice) return "null device";
  return stream == TaskStream::Pipe ? "pipe" : "inherited";
}
}  // namespace

/// Shared by a task, its readers and the alarm that ends it.
struct FakeTask::Run {
  struct Stream {
    TaskStream kind = TaskStream::Inherited;
    std::deque<std::string> pieces;
    bool ended = false;
    bool closed = false;
  };

  explicit Run(FakeMainThread& thread) : mainThread(thread) {}

  FakeMainThread& mainThread;
  mutable std::mutex mutex;
  std::condition_variable changed;
  std::string path;
  std::vector<std::string> arguments;
  TaskStream input = TaskStream::Inherited;
  Stream output;
  Stream error;
  bool launched = false;
  bool running = false;
  bool terminated = false;
  bool ignoresTermination = false;
  int status = 0;
  ToolEffect effect;

  void endStreams() { output.ended = error.ended = true; }

  /// Ends the run, once.
  void end(int exitStatus, bool withEffect) {
    std::unique_lock lock(mutex);
    if (!running) return;
    const ToolEffect doing = withEffect ? std::exchange(effect, {}) : ToolEffect();
    lock.unlock();
    if (doing) doing(arguments);
    lock.lock();
    if (!running) return;
    running = false;
    status = exitStatus;
    endStreams();
    changed.notify_all();
    lock.unlock();
    mainThread.poke();
  }

  void print(Stream& stream, const std::string& piece) {
    const std::scoped_lock lock(mutex);
    stream.pieces.push_back(piece);
    changed.notify_all();
  }

  template <class Value>
  Value get(const Value& value) const {
    const std::scoped_lock lock(mutex);
    return value;
  }
  template <class Value>
  void set(Value& value, const Value& from) {
    const std::scoped_lock lock(mutex);
    value = from;
  }
};

namespace {

class FakeReader : public OutputReader {
 public:
  FakeReader(Calls& calls, std::shared_ptr<FakeTask::Run> run, FakeTask::Run::Stream FakeTask::Run::*stream,
             const char* name)
      : calls_(calls), run_(std::move(run)), stream_(stream), name_(name) {}

  std::string availableData() override {
    if (calls_.question("tasks.availableData", run_->get(run_->path), name_)) return "";
    std::unique_lock lock(run_->mutex);
    FakeTask::Run::Stream& stream = (*run_).*stream_;
    run_->changed.wait(lock, [&] { return !stream.pieces.empty() || stream.ended || stream.closed; });
    if (stream.closed || stream.pieces.empty()) return "";
    std::string piece = std::move(stream.pieces.front());
    stream.pieces.pop_front();
    return piece;
  }

  void close() override {
    calls_.note("tasks.closeReader", run_->get(run_->path), name_);
    const std::scoped_lock lock(run_->mutex);
    ((*run_).*stream_).closed = true;
    run_->changed.notify_all();
  }

 private:
  Calls& calls_;
  std::shared_ptr<FakeTask::Run> run_;
  FakeTask::Run::Stream FakeTask::Run::*stream_;
  const char* name_;
};

}  // namespace

FakeTask::FakeTask(Calls& calls, FakeMainThread& mainThread, std::function<TaskScript(const std::string&)> scriptFor,
                   FakeClock& clock)
    : calls_(calls),
      mainThread_(mainThread),
      clock_(clock),
      scriptFor_(std::move(scriptFor)),
      run_(std::make_shared<Run>(mainThread)) {}

std::vector<std::string> FakeTask::arguments() const { return run_->get(run_->arguments); }
bool FakeTask::wasLaunched() const { return run_->get(run_->launched); }
bool FakeTask::wasTerminated() const { return run_->get(run_->terminated); }
TaskStream FakeTask::standardInput() const { return run_->get(run_->input); }
TaskStream FakeTask::standardOutput() const { return run_->get(run_->output.kind); }
TaskStream FakeTask::standardError() const { return run_->get(run_->error.kind); }
void FakeTask::print(const std::string& piece) { run_->print(run_->output, piece); }
void FakeTask::printError(const std::string& piece) { run_->print(run_->error, piece); }
void FakeTask::exit(int status) { run_->end(status, true); }

void FakeTask::setLaunchPath(const std::string& path) {
  calls_.note("tasks.setLaunchPath", path);
  run_->set(run_->path, path);
}
std::string FakeTask::launchPath() const { return run_->get(run_->path); }
void FakeTask::setArguments(const std::vector<std::string>& arguments) {
  calls_.note("tasks.setArguments", arguments);
  run_->set(run_->arguments, arguments);
}
void FakeTask::setStandardInput(TaskStream stream) {
  calls_.note("tasks.setStandardInput", nameOf(stream));
  run_->set(run_->input, stream);
}
void FakeTask::setStandardOutput(TaskStream stream) {
  calls_.note("tasks.setStandardOutput", nameOf(stream));
  run_->set(run_->output.kind, stream);
}
void FakeTask::setStandardError(TaskStream stream) {
  calls_.note("tasks.setStandardError", nameOf(stream));
  run_->set(run_->error.kind, stream);
}

Status FakeTask::launch() {
  if (wasLaunched()) return Status::failed(EALREADY, std::generic_category().message(EALREADY));
  const std::string path = launchPath();
  std::vector<std::string> commandLine = arguments();
  commandLine.insert(commandLine.begin(), path);
  const bool fails = calls_.command("tasks.launch", commandLine);
  const TaskScript script = fails ? TaskScript() : scriptFor_(path);
  if (!fails && !script.launchFailure) {
    begin(script);
    return Status::success();
  }
  const std::scoped_lock lock(run_->mutex);
  run_->endStreams();
  return fails ? calls_.failure() : Status(*script.launchFailure);
}

void FakeTask::begin(const TaskScript& script) {
  {
    const std::scoped_lock lock(run_->mutex);
    run_->launched = run_->running = true;
    run_->ignoresTermination = script.ignoresTermination;
    run_->effect = script.effect;
    run_->output.pieces.insert(run_->output.pieces.end(), script.standardOutput.begin(), script.standardOutput.end());
    run_->error.pieces.insert(run_->error.pieces.end(), script.standardError.begin(), script.standardError.end());
    if (script.closesOutputEarly) run_->endStreams();
    run_->changed.notify_all();
  }
  if (script.runsUntilEnded) return;
  const auto exits = [run = run_, status = script.exitStatus] { run->end(status, true); };
  if (script.runsFor) {
    clock_.setAlarm(*script.runsFor, exits);
  } else {
    exits();
  }
}

bool FakeTask::isRunning() const {
  calls_.note("tasks.isRunning", launchPath());
  return run_->get(run_->running);
}

void FakeTask::waitUntilExit() {
  calls_.note("tasks.waitUntilExit", launchPath());
  const std::shared_ptr<Run> run = run_;
  if (mainThread_.isMainThread()) {
    mainThread_.pumpUntil([&] { return !run->get(run->running); });
    return;
  }
  std::unique_lock lock(run->mutex);
  run->changed.wait(lock, [&] { return !run->running; });
}

int FakeTask::terminationStatus() const {
  calls_.note("tasks.terminationStatus", launchPath());
  return run_->get(run_->status);
}

void FakeTask::terminate() {
  if (calls_.command("tasks.terminate", launchPath())) return;
  {
    const std::scoped_lock lock(run_->mutex);
    run_->terminated = run_->terminated || run_->running;
    if (run_->ignoresTermination) return;
  }
  run_->end(terminationSignal, false);
}

std::shared_ptr<OutputReader> FakeTask::standardOutputReader() const {
  if (standardOutput() != TaskStream::Pipe) return nullptr;
  return std::make_shared<FakeReader>(calls_, run_, &Run::output, "standard output");
}

std::shared_ptr<OutputReader> FakeTask::standardErrorReader() const {
  if (standardError() != TaskStream::Pipe) return nullptr;
  return std::make_shared<FakeReader>(calls_, run_, &Run::error, "standard error");
}

void FakeTasks::script(const std::string& path, TaskScript script) {
  const std::scoped_lock lock(mutex_);
  scripts_[path] = std::move(script);
}

void FakeTasks::scriptOnce(const std::string& path, TaskScript script) {
  const std::scoped_lock lock(mutex_);
  once_[path].push_back(std::move(script));
}

TaskScript FakeTasks::nextScript(const std::string& path) {
  const std::scoped_lock lock(mutex_);
  TaskScript script;
  if (std::deque<TaskScript>& queue = once_[path]; !queue.empty()) {
    script = std::move(queue.front());
    queue.pop_front();
  } else if (const auto usual = scripts_.find(path); usual != scripts_.end()) {
    script = usual->second;
  }
  if (!script.effect) script.effect = fileCommand(path, disk_);
  return script;
}

std::vector<std::shared_ptr<FakeTask>> FakeTasks::all() const {
  const std::scoped_lock lock(mutex_);
  return tasks_;
}

std::shared_ptr<FakeTask> FakeTasks::last() const {
  const std::scoped_lock lock(mutex_);
  return tasks_.empty() ? nullptr : tasks_.back();
}

std::vector<std::vector<std::string>> FakeTasks::launches() const {
  std::vector<std::vector<std::string>> lines;
  for (const std::shared_ptr<FakeTask>& task : all()) {
    if (!task->wasLaunched()) continue;
    lines.push_back(task->arguments());
    lines.back().insert(lines.back().begin(), task->launchPath());
  }
  return lines;
}

void FakeTasks::endAll() {
  for (const std::shared_ptr<FakeTask>& task : all()) task->exit(0);
}

std::shared_ptr<platform::Task> FakeTasks::makeTask() {
  calls_.note("tasks.makeTask");
  const auto scriptFor = [this](const std::string& path) { return nextScript(path); };
  auto task = std::make_shared<FakeTask>(calls_, mainThread_, scriptFor, clock_);
  const std::scoped_lock lock(mutex_);
  tasks_.push_back(task);
  return task;
}

}  // namespace qm::testing
