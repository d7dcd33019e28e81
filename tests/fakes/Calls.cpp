// SPDX-License-Identifier: MIT
#include "tests/fakes/Calls.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace qm::testing {

std::string recorded(std::string_view text) { return std::string(text); }
std::string recorded(const std::string& text) { return text; }
std::string recorded(const char* text) { return text; }
std::string recorded(bool flag) { return flag ? "YES" : "NO"; }
std::string recorded(long long number) { return std::to_string(number); }
std::string recorded(const std::optional<std::string>& text) { return text.value_or("nil"); }

std::string recorded(const std::vector<std::string>& list) {
  std::string text;
  for (const std::string& element : list) {
    if (&element != &list.front()) text += ", ";
    text += element;
  }
  return text;
}

void Calls::failNth(const std::string& call, std::size_t n) {
  const std::scoped_lock lock(mutex_);
  failures_.push_back({call, n, {}});
}

void Calls::failAlways(const std::string& call) {
  const std::scoped_lock lock(mutex_);
  failures_.push_back({call, 0, {}});
}

void Calls::stopFailing(const std::string& call) {
  const std::scoped_lock lock(mutex_);
  std::erase_if(failures_, [&](const Plan& plan) { return plan.call == call; });
}

void Calls::failCallNumber(std::size_t n) {
  const std::scoped_lock lock(mutex_);
  failingNumber_ = n;
}

void Calls::setFailure(int code, const std::string& sentence) {
  const std::scoped_lock lock(mutex_);
  failureCode_ = code;
  failureSentence_ = sentence;
}

void Calls::hang(const std::string& call) {
  const std::scoped_lock lock(mutex_);
  hanging_.push_back(call);
}

void Calls::release(const std::string& call) {
  const std::scoped_lock lock(mutex_);
  std::erase(hanging_, call);
  changed_.notify_all();
}

void Calls::releaseAll() {
  const std::scoped_lock lock(mutex_);
  hanging_.clear();
  changed_.notify_all();
}

bool Calls::waitUntilHanging(const std::string& call) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, std::chrono::seconds(30), [&] {
    return std::any_of(held_.begin(), held_.end(), [&](const Entry& entry) { return entry.is(call); });
  });
}

void Calls::before(const std::string& call, std::size_t n, std::function<void()> action) {
  const std::scoped_lock lock(mutex_);
  actions_.push_back({call, n, std::move(action)});
}

std::vector<std::string> Calls::log() const {
  const std::scoped_lock lock(mutex_);
  std::vector<std::string> texts;
  for (const Entry& entry : entries_) {
    if (entry.kind == Kind::Command) texts.push_back(entry.text);
  }
  return texts;
}

std::vector<std::string> Calls::everything() const {
  const std::scoped_lock lock(mutex_);
  std::vector<std::string> texts;
  for (const Entry& entry : entries_) texts.push_back(entry.text);
  return texts;
}

std::size_t Calls::count(const std::string& call) const {
  const std::scoped_lock lock(mutex_);
  const auto number =
      std::count_if(entries_.begin(), entries_.end(), [&](const Entry& entry) { return entry.is(call); });
  return static_cast<std::size_t>(number);
}

std::optional<std::size_t> Calls::indexOf(const std::string& call) const {
  const std::scoped_lock lock(mutex_);
  const auto found = std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) { return entry.is(call); });
  if (found == entries_.end()) return std::nullopt;
  return static_cast<std::size_t>(found - entries_.begin());
}

bool Calls::areInOrder(std::initializer_list<std::string> calls) const {
  std::vector<std::size_t> places;
  for (const auto& call : calls) {
    const auto place = indexOf(call);
    if (!place) return false;
    places.push_back(*place);
  }
  return std::adjacent_find(places.begin(), places.end(), std::greater_equal<>()) == places.end();
}

std::size_t Calls::callCount() const {
  const std::scoped_lock lock(mutex_);
  return callCount_;
}

std::vector<std::string> Calls::failed() const {
  const std::scoped_lock lock(mutex_);
  return failed_;
}

void Calls::clear() {
  const std::scoped_lock lock(mutex_);
  entries_.clear();
  failed_.clear();
  callCount_ = 0;
}

platform::Status Calls::failure() const {
  const std::scoped_lock lock(mutex_);
  return platform::Status::failed(failureCode_, failureSentence_);
}

/// Counts the call in the plans that match it, and removes and returns those whose turn it is.
std::vector<Calls::Plan> Calls::takeDue(std::vector<Plan>& plans, const Entry& entry) {
  std::vector<Plan> due;
  for (Plan& plan : plans) {
    if (entry.is(plan.call) && plan.left > 0 && --plan.left == 0) due.push_back(std::exchange(plan, {}));
  }
  std::erase_if(plans, [](const Plan& plan) { return plan.call.empty(); });
  return due;
}

bool Calls::isToFail(const Entry& entry) {
  if (entry.kind == Kind::Note) return false;
  const bool always = std::any_of(failures_.begin(), failures_.end(),
                                  [&](const Plan& plan) { return plan.left == 0 && entry.is(plan.call); });
  const bool now = !takeDue(failures_, entry).empty();
  return ++callCount_ == failingNumber_ || now || always;
}

bool Calls::isHeld(const Entry& entry) const {
  return std::any_of(hanging_.begin(), hanging_.end(), [&](const std::string& call) { return entry.is(call); });
}

void Calls::holdWhileHanging(std::unique_lock<std::mutex>& lock, const Entry& entry) {
  if (!isHeld(entry)) return;
  held_.push_back(entry);
  changed_.notify_all();
  changed_.wait(lock, [&] { return !isHeld(entry); });
  const auto own = std::find_if(held_.begin(), held_.end(), [&](const Entry& held) { return held.text == entry.text; });
  held_.erase(own);
}

bool Calls::enter(Kind kind, std::string_view name, const std::string& arguments) {
  const Entry entry{std::string(name), std::string(name) + "(" + arguments + ")", kind};
  std::unique_lock lock(mutex_);
  entries_.push_back(entry);
  const bool fails = isToFail(entry);
  if (fails) failed_.push_back(entry.text);
  const std::vector<Plan> due = takeDue(actions_, entry);
  holdWhileHanging(lock, entry);
  lock.unlock();
  for (const Plan& plan : due) plan.action();
  return fails;
}

}  // namespace qm::testing
