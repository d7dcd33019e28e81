// SPDX-License-Identifier: MIT
#include "tests/faults/Campaign.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <iomanip>
#include <iostream>

namespace qm::testing {
namespace {

using std::chrono::steady_clock;

constexpr int kErrors[] = {EIO, ENOSPC, EROFS, EDQUOT, EMFILE, ENOMEM, EINTR};
constexpr std::size_t kMostExamples = 8;
// A run that takes longer hangs.
constexpr std::chrono::seconds kLimit{5};
constexpr int kMostHangs = 8;
constexpr const char* kEnds = "ends";

bool isAsked(const char* extent) {
  const char* asked = std::getenv("QM_FAULTS");
  return asked != nullptr && std::strcmp(asked, extent) == 0;
}

bool allOfThem() { return isAsked("all"); }

constexpr std::size_t kSomeStep = 5;

// The attempts at a call, in sequence over all calls, of which a sample takes every n-th. The step has no common
// divisor with the number of attempts for a call, so that each step reaches another one.
struct Plan {
  std::vector<Intervention> (*interventions)(const Call&);
  std::size_t step;
};

std::string describe(const Intervention& what) {
  const std::string call = describe(what.at);
  switch (what.deed) {
    case Deed::Fail:
      return call + " failed (" + std::strerror(what.error) + ")";
    case Deed::KillBefore:
      return "ended before " + call;
    default:
      return "ended after " + call;
  }
}

std::vector<Intervention> failures(const Call& call) {
  std::vector<Intervention> all;
  for (const int error : kErrors) all.push_back({Deed::Fail, call, error});
  return all;
}

std::vector<Intervention> ends(const Call& call) { return {{Deed::KillBefore, call, 0}, {Deed::KillAfter, call, 0}}; }

Said saidIn(const TracedRun& run) {
  if (run.end != End::Returned) return Said::Nothing;
  return run.status == 0 ? Said::Success : Said::Failure;
}

std::string shown(Said said) {
  if (said == Said::Nothing) return "nothing reported";
  return said == Said::Success ? "success reported" : "failure reported";
}

/// All runs of a scenario, and their numbers.
class Runs {
 public:
  explicit Runs(const Scenario& scenario)
      : scenario_(scenario), driver_(allOfThem() ? allCalls() : fileCalls(), kLimit) {}

  void carryOut(const Plan& plan) {
    std::vector<Call> calls;
    observe(calls);
    if (calls.empty()) return;
    const std::size_t step = stepOf(plan);
    std::size_t number = 0;
    for (const Call& call : calls) {
      for (const Intervention& what : plan.interventions(call)) {
        if (number++ % step == 0 && !::testing::Test::HasFatalFailure()) disturb(what);
      }
    }
    print(calls.size());
    report();
  }

 private:
  std::size_t stepOf(const Plan& plan) const {
    if (isAsked("each") || allOfThem()) return 1;
    if (scenario_.extent == Extent::Sample) return plan.step;
    return isAsked("some") ? kSomeStep : 1;
  }

  // Undisturbed, the work fulfils its purpose and the rules hold.
  void observe(std::vector<Call>& calls) {
    scenario_.prepare();
    TracedRun run = runOnce({});
    ASSERT_EQ(run.problem, "");
    for (const auto& [rule, found] : scenario_.judge(saidIn(run))) {
      ADD_FAILURE() << rule << " without any fault: " << found;
    }
    ASSERT_EQ(shown(saidIn(run)), shown(scenario_.undisturbed)) << "without any fault";
    ASSERT_FALSE(run.calls.empty());
    calls = std::move(run.calls);
  }

  TracedRun runOnce(const Intervention& what) const {
    return driver_.run(
        [this] {
          const CountedCalls counted;
          return scenario_.work() ? 0 : 1;
        },
        what);
  }

  void disturb(const Intervention& what) {
    ASSERT_NO_FATAL_FAILURE(scenario_.prepare());
    const TracedRun run = runOnce(what);
    ASSERT_EQ(run.problem, "");
    ++runs_;
    if (!run.met) ++missed_;
    if (run.end == End::OutOfTime) note(what, {{kEnds, "it did not end"}});
    ASSERT_LT(timesBroken(kEnds), kMostHangs) << "nothing more was tried";
    note(what, scenario_.judge(saidIn(run)));
    runUndisturbed([this] {
      scenario_.nextRun();
      return 0;
    });
    note(what, scenario_.judgeNextRun());
  }

  void note(const Intervention& what, const Violations& violations) {
    for (const auto& [rule, found] : violations) {
      ++broken_[rule];
      Finding& finding = findings_[rule][found];
      if (++finding.times == 1) finding.first = describe(what);
    }
  }

  std::vector<std::string> rules() const {
    std::vector<std::string> all = scenario_.rules;
    all.emplace_back(kEnds);
    return all;
  }

  void print(std::size_t calls) const {
    std::cout << std::left << std::setw(44) << "scenario" << std::right << std::setw(7) << "calls" << std::setw(7)
              << "runs" << std::setw(8) << "missed" << std::setw(9) << "seconds";
    for (const std::string& rule : rules()) std::cout << std::setw(7) << rule;
    const auto took = std::chrono::duration_cast<std::chrono::seconds>(steady_clock::now() - begin_);
    std::cout << '\n'
              << std::left << std::setw(44) << scenario_.name << std::right << std::setw(7) << calls << std::setw(7)
              << runs_ << std::setw(8) << missed_ << std::setw(9) << took.count();
    for (const std::string& rule : rules()) std::cout << std::setw(7) << timesBroken(rule);
    std::cout << std::endl;
  }

  int timesBroken(const std::string& rule) const {
    const auto found = broken_.find(rule);
    return found == broken_.end() ? 0 : found->second;
  }

  // A campaign that misses its calls has shown nothing.
  void report() const {
    EXPECT_LE(missed_ * 20, runs_) << "calls were not met again";
    for (const auto& [rule, times] : broken_) {
      ADD_FAILURE() << rule << " was broken " << times << " times:" << examplesOf(rule);
    }
  }

  // The most frequent findings, each with the first place.
  std::string examplesOf(const std::string& rule) const {
    std::vector<std::pair<std::string, Finding>> sorted(findings_.at(rule).begin(), findings_.at(rule).end());
    std::ranges::sort(sorted, std::greater(), [](const auto& finding) { return finding.second.times; });
    std::string text;
    for (std::size_t i = 0; i < std::min(sorted.size(), kMostExamples); ++i) {
      const auto& [found, finding] = sorted[i];
      text += "\n  " + std::to_string(finding.times) + " times " + found + "; first " + finding.first;
    }
    return text;
  }

  struct Finding {
    int times = 0;
    std::string first;
  };

  const Scenario& scenario_;
  const FaultDriver driver_;
  const steady_clock::time_point begin_ = steady_clock::now();
  int runs_ = 0;
  int missed_ = 0;
  std::map<std::string, int> broken_;
  std::map<std::string, std::map<std::string, Finding>> findings_;
};

}  // namespace

void noteFinding(Violations& violations, const std::string& rule, const std::string& finding) {
  if (!finding.empty()) violations[rule] = finding;
}

void failEveryCall(const Scenario& scenario) { Runs(scenario).carryOut({failures, 36}); }

void endAtEveryCall(const Scenario& scenario) { Runs(scenario).carryOut({ends, 11}); }

}  // namespace qm::testing
