// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/agent/Credentials.h"

#include <sys/mman.h>

#include <cstdint>
#include <cstring>

#include "Platform/posix/process/Uninterrupted.h"

namespace qm::linux_ {
namespace {

bool readAll(int fd, char* bytes, std::size_t size) {
  while (size > 0) {
    const std::size_t got = posix::readOnce(fd, bytes, size);
    if (got == 0) return false;
    bytes += got;
    size -= got;
  }
  return true;
}

bool readText(int fd, char* text, std::size_t longest) {
  unsigned char length[4] = {};
  if (!readAll(fd, reinterpret_cast<char*>(length), sizeof length)) return false;
  std::uint32_t size = 0;
  for (unsigned i = 0; i < 4; ++i) size |= static_cast<std::uint32_t>(length[i]) << (8U * i);
  return size <= longest && readAll(fd, text, size) && ::strlen(text) == size;
}

}  // namespace

Credentials::Credentials() { ::mlock(this, sizeof *this); }

Credentials::~Credentials() {
  ::explicit_bzero(user_, sizeof user_);
  wipePassword();
  ::munlock(this, sizeof *this);
}

bool Credentials::read(int fd) { return readText(fd, user_, kLongest) && readText(fd, password_, kLongest); }

void Credentials::wipePassword() { ::explicit_bzero(password_, sizeof password_); }

}  // namespace qm::linux_
