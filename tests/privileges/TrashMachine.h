// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "tests/privileges/LaunchMachine.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {

/// A private machine where `kPerson` has a home with a home trash that ~/.Trash leads to, and root has applications.
class TrashMachine : public ::testing::Test {
 protected:
  static void run(const std::function<void()>& body);

  /// A root-owned bundle with a closed file, a setuid tool and a link.
  static void makeBundle(const std::string& path);
  /// Moves an application to the Trash.
  static Outcome trashItem(const std::string& name);
  static Outcome trashPath(const std::string& path);

  static std::string home() { return machineFolder() + "/home"; }
  static std::string trash() { return home() + "/.local/share/Trash"; }
  static std::string files() { return trash() + "/files"; }
  static std::string applications() { return machineFolder() + "/applications"; }
  static std::string infoOf(const std::string& name) { return contentsOf(trash() + "/info/" + name + ".trashinfo"); }
  static std::string originIn(const std::string& info) { return info.substr(0, info.find("\nDeletionDate=20")); }

  /// Nothing was added to the Trash, and nothing hidden is left.
  static void expectEmptyTrash();
  /// The Trash contains only its two folders.
  static void expectNoLeftovers();
};

}  // namespace qm::testing
