// SPDX-License-Identifier: MIT
#include "tests/privileges/MeddledPolicy.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <vector>

#include "Platform/posix/UniqueFd.h"

namespace qm::testing {

void leaveDescriptors(int number) {
  std::vector<posix::UniqueFd> free;
  int highest = -1;
  for (int i = 0; i <= number; ++i) {
    free.emplace_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    highest = std::max(highest, free.back().get());
  }
  const rlimit limit{static_cast<rlim_t>(highest), static_cast<rlim_t>(highest)};
  EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
}

}  // namespace qm::testing
