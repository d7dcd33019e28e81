// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace qm::platform {

/// The names of the product that the services work for. A program makes one `ProductIdentity` and passes it to the
/// services. The texts must outlive every service that uses them. In a program that runs as root the names are compiled
/// in, and it accepts none from its caller. Names may be left out: operations that need them fail and say so.
struct ProductIdentity {
  /// The program's file name. Messages use it if the system cannot tell the path of the running program. It is also the
  /// name of the folder in `dataFolder` that has the program's information dictionary.
  std::string_view program{};
  /// The identifier by which a running instance is recognised: each user has one instance at most.
  std::string_view identifier{};

  /// Where an installation has the other programs, relative to the running program's folder. An absolute path is taken
  /// as it is.
  std::string_view programsFolder = "../libexec";
  /// The same for the data.
  std::string_view dataFolder = "../share";

  /// The helper with administrator rights for the product's own items. For this and the other programs of the product,
  /// a file name means one in `programsFolder`, or else one beside the running program; an absolute path is taken as it
  /// is.
  std::string_view helper{};
  /// The helper with administrator rights for any tool. A product that has no `helper` uses it.
  std::string_view toolHelper{};
  /// The agent that answers a dialog with credentials.
  std::string_view credentialsAgent{};
  /// The zip tool.
  std::string_view zipTool{};
  /// The polkit action of `helper`. Systems without polkit do not use it.
  std::string_view helperAction{};
  /// The action of `toolHelper`, likewise.
  std::string_view toolHelperAction{};

  /// The prefix of the names of root's work folders in a Trash. Folders with another prefix are never touched; without
  /// a prefix none is created.
  std::string_view workFolderPrefix{};
  /// The key that marks a menu entry as created for a registered bundle. If this or `bundleEntryPrefix` is missing, no
  /// bundle is registered.
  std::string_view bundleEntryKey{};
  /// The prefix of the file name of such an entry.
  std::string_view bundleEntryPrefix{};
};

}  // namespace qm::platform
