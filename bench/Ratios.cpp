// SPDX-License-Identifier: MIT
#include "bench/Ratios.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace qm::bench {
namespace {

double measured(const Contender& contender) {
  if (contender.prepare) contender.prepare();
  if (contender.measuredRun) return contender.measuredRun();
  const auto start = std::chrono::steady_clock::now();
  contender.run();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace

void compare(const Comparison& comparison) {
  std::vector<const Contender*> contenders = {&comparison.ours, &comparison.limit};
  for (const auto& peer : comparison.peers) contenders.push_back(&peer);
  std::vector<std::vector<double>> times(contenders.size());
  for (int round = 0; round <= comparison.rounds; ++round) {
    for (std::size_t i = 0; i < contenders.size(); ++i) {
      // The order changes from round to round, because the second one finds warmer caches.
      const std::size_t turn = (i + static_cast<std::size_t>(round)) % contenders.size();
      const double time = measured(*contenders[turn]);
      if (round > 0) times[turn].push_back(time);  // the first round warms up
    }
  }
  const double ours = median(times[0]);
  const double limit = median(times[1]);
  std::printf("%s\n  ours   %10.3f ms\n  limit  %10.3f ms   ours / limit %.2f, at most %.2f: %s\n",
              comparison.name.c_str(), ours, limit, ours / limit, comparison.bar,
              ours / limit <= comparison.bar ? "holds" : "OVER");
  for (std::size_t i = 0; i < comparison.peers.size(); ++i) {
    const double peer = median(times[i + 2]);
    std::printf("  %-32s %10.3f ms   ours / it %.2f: %s\n", comparison.peers[i].name.c_str(), peer, ours / peer,
                ours < peer ? "ahead" : "BEHIND");
  }
  std::fflush(stdout);
}

}  // namespace qm::bench
