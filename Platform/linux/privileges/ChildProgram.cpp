#include "Platform/linux/privileges/ChildProgram.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <unistd.h>
#include <csignal>

#include <array>
#include <cerrno>
#include <fstream>
#include <sstream>

#include "Platform/posix/process/Descriptors.h"
#include "Platform/posix/process/SpawnRequest.h"

namespace qm::linux_ {
namespace {

constexpr int kPatienceMilliseconds = 3000;
constexpr int kStartTimeField = 22;

// pkexec refuses to run where a variable looks odd, and speaks the language that it is told to.
char pathVariable[] = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";
char languageVariable[] = "LANG=C";
char shellVariable[] = "SHELL=/bin/sh";
std::array<char*, 4> environment() { return {pathVariable, languageVariable, shellVariable, nullptr}; }

class Actions {
 public:
  Actions() { note(::posix_spawn_file_actions_init(&actions_)); }
  Actions(const Actions&) = delete;
  Actions& operator=(const Actions&) = delete;
  ~Actions() { ::posix_spawn_file_actions_destroy(&actions_); }

  void connect(int stream, int descriptor) {
    note(descriptor < 0 ? ::posix_spawn_file_actions_addopen(&actions_, stream, "/dev/null", O_RDWR, 0)
                        : ::posix_spawn_file_actions_adddup2(&actions_, descriptor, stream));
  }
  int closeOthers() {
    note(posix::addCloseAllButStandardStreams(&actions_));
    return error_;
  }
  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  void note(int error) { error_ = error_ == 0 ? error : error_; }

  posix_spawn_file_actions_t actions_{};
  int error_ = 0;
};

class Attributes {
 public:
  Attributes() {
    sigset_t all;
    sigset_t none;
    sigfillset(&all);
    sigemptyset(&none);
    ::posix_spawnattr_init(&attributes_);
    ::posix_spawnattr_setsigdefault(&attributes_, &all);
    ::posix_spawnattr_setsigmask(&attributes_, &none);
    ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
  }
  Attributes(const Attributes&) = delete;
  Attributes& operator=(const Attributes&) = delete;
  ~Attributes() { ::posix_spawnattr_destroy(&attributes_); }
  const posix_spawnattr_t* get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_{};
};

std::vector<char*> argumentVector(const std::string& path, const std::vector<std::string>& arguments) {
  std::vector<char*> vector = {const_cast<char*>(path.c_str())};
  vector.reserve(arguments.size() + 2);
  for (const std::string& argument : arguments) vector.push_back(const_cast<char*>(argument.c_str()));
  vector.push_back(nullptr);
  return vector;
}

}  // namespace

ChildProgram& ChildProgram::operator=(ChildProgram&& other) noexcept {
  end();
  handle_ = std::exchange(other.handle_, posix::ProcessHandle());
  return *this;
}

int ChildProgram::start(const std::string& path, const std::vector<std::string>& arguments, const Streams& streams) {
  Actions actions;
  const Attributes attributes;
  actions.connect(STDIN_FILENO, streams.input);
  actions.connect(STDOUT_FILENO, streams.output);
  actions.connect(STDERR_FILENO, streams.errors);
  if (const int error = actions.closeOthers(); error != 0) return error;
  pid_t child = -1;
  const auto vector = argumentVector(path, arguments);
  if (const int error =
          ::posix_spawn(&child, path.c_str(), actions.get(), attributes.get(), vector.data(), environment().data());
      error != 0) {
    return error;
  }
  handle_ = posix::ProcessHandle::open(child);
  return handle_ ? 0 : errno;
}

int ChildProgram::wait() {
  if (!handle_) return -1;
  handle_.waitForExit();
  const auto status = handle_.reap();
  handle_ = posix::ProcessHandle();
  return status.value_or(-1);
}

// One that runs with other rights cannot be ended; it ends by itself when its connection does.
void ChildProgram::end() {
  if (!handle_) return;
  handle_.signal(SIGTERM);
  pollfd ended{handle_.descriptor(), POLLIN, 0};
  if (::poll(&ended, 1, kPatienceMilliseconds) <= 0) handle_.signal(SIGKILL);
  wait();
}

bool makePipe(posix::UniqueFd& reading, posix::UniqueFd& writing) {
  posix::Pipe pipe = posix::makePipe();
  reading = std::move(pipe.reading);
  writing = std::move(pipe.writing);
  return static_cast<bool>(reading);
}

// The program's name stands in brackets and may hold anything; the numbers follow.
std::string ownStartTime() {
  std::ifstream file("/proc/self/stat");
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  const std::size_t bracket = text.rfind(')');
  if (bracket == std::string::npos) return {};
  std::istringstream fields(text.substr(bracket + 1));
  std::string field;
  for (int number = 3; number <= kStartTimeField; ++number) fields >> field;
  return field;
}

}  // namespace qm::linux_
