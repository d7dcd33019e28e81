// SPDX-License-Identifier: MIT

// Takes the place of a helper with administrator rights, on the connection that is its standard input. Says hello, and
// answers each tool: "/refused" is not started, "/leave" ends this program without an answer, and of any other one it
// is said that it runs. Its output is the command line, joined by "|". At the end it writes to the file "ended" in
// the working folder, if there is one.

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <string>
#include <variant>

#include "Platform/linux/privileges/protocol/Messages.h"
#include "Platform/posix/process/Descriptors.h"
#include "Platform/posix/process/SocketMessage.h"

namespace {

using namespace qm;

void send(const linux_::Message& message, int descriptor = -1) {
  std::string bytes = *linux_::encoded(message);
  posix::SocketMessage<int> sent(bytes.data(), bytes.size());
  if (descriptor >= 0) sent.attach(SCM_RIGHTS, descriptor);
  if (::sendmsg(STDIN_FILENO, sent.get(), MSG_NOSIGNAL) < 0) ::_exit(1);
}

void writeAll(int fd, const std::string& text) {
  for (std::size_t written = 0; written < text.size();) {
    const ssize_t count = ::write(fd, text.data() + written, text.size() - written);
    if (count < 0) return;
    written += static_cast<std::size_t>(count);
  }
}

void answer(const linux_::Launch& launch) {
  if (launch.tool == "/leave") ::_exit(0);
  if (launch.tool == "/refused") return send(linux_::Started{launch.number, EPERM, 0, "it is not for you"});
  std::string output = launch.tool;
  for (const std::string& argument : launch.arguments) output += "|" + argument;
  posix::Pipe pipe = posix::makePipe();
  send(linux_::Started{launch.number, 0, 1, ""}, pipe.reading.get());
  pipe.reading.reset();
  writeAll(pipe.writing.get(), output);
  send(linux_::Exited{launch.number, 0, ""});
}

}  // namespace

int main() {
  send(linux_::Hello{});
  linux_::MessageReader reader;
  char block[4096];
  for (ssize_t got = 0; (got = ::read(STDIN_FILENO, block, sizeof block)) > 0;) {
    reader.append({block, static_cast<std::size_t>(got)});
    while (const auto message = reader.next()) answer(std::get<linux_::Launch>(*message));
  }
  std::fstream("ended", std::ios::in | std::ios::out) << "ended";  // makes no file
  return 0;
}
