// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "Platform/DesktopShell.h"
#include "Platform/FileReferences.h"
#include "Platform/FinderInformation.h"

namespace qm::testing {

/// A disk and a desktop of an ordinary user, real or fake. `home` is the user's folder, empty at first; it can store
/// Finder information. Arranging is done without the services.
class DesktopWorld {
 public:
  virtual ~DesktopWorld() = default;

  virtual platform::FileReferences& references() = 0;
  virtual platform::FinderInformation& information() = 0;
  virtual platform::DesktopShell& shell() = 0;

  virtual std::string home() const = 0;
  std::string home(const std::string& name) const { return home() + "/" + name; }
  virtual void addFile(const std::string& path) = 0;
  virtual void addFolder(const std::string& path) = 0;
  virtual void addLink(const std::string& path, const std::string& target) = 0;
  virtual void addApplication(const std::string& path) = 0;
  virtual void rename(const std::string& path, const std::string& newPath) = 0;
  virtual void remove(const std::string& path) = 0;
  virtual void setReadable(const std::string& path, bool readable) = 0;
  virtual void setWritable(const std::string& path, bool writable) = 0;
  /// Whether somebody is listening on the desktop from now on; nobody is at first.
  virtual void setListening(bool listening) = 0;
  /// The paths of the notices that the desktop has received so far.
  virtual std::vector<std::string> notices() = 0;
};

using DesktopCase = std::function<void(DesktopWorld&)>;

struct DesktopWorldKind {
  const char* name;
  void (*run)(const DesktopCase&);
};
inline void PrintTo(const DesktopWorldKind& kind, std::ostream* stream) { *stream << kind.name; }

void runInFakeDesktop(const DesktopCase& body);
/// As an ordinary user.
void runInRealDesktop(const DesktopCase& body);

/// Cases that hold on the real desktop and on the fakes.
class DesktopWorldTest : public ::testing::TestWithParam<DesktopWorldKind> {
 protected:
  static void inWorld(const DesktopCase& body) { GetParam().run(body); }
};

inline auto bothDesktops() {
  return ::testing::Values(DesktopWorldKind{"Fake", runInFakeDesktop}, DesktopWorldKind{"Real", runInRealDesktop});
}
inline std::string nameOfDesktop(const ::testing::TestParamInfo<DesktopWorldKind>& kind) { return kind.param.name; }

}  // namespace qm::testing
