#pragma once

#include <string_view>

namespace qm::platform {

/// The names by which the services know the product that they work for. A program makes one and hands it to them;
/// the texts outlive every user. A program that runs as root has its own compiled in and takes none from its caller.
/// What is left out is missing: operations that need it fail and say so.
struct ProductIdentity {
  /// The program's file name. It stands for the program in messages, where the system does not tell the running one,
  /// and names the folder of its information dictionary in `dataFolder`.
  std::string_view program{};
  /// What a user has one instance of.
  std::string_view identifier{};

  /// Where an installation has the other programs and the data, seen from the running program's folder; an absolute
  /// path is itself.
  std::string_view programsFolder = "../libexec";
  std::string_view dataFolder = "../share";

  /// The helper with administrator rights for the product's own items. Of this and the other parts of the program, a
  /// file name means one in `programsFolder`, or else beside the running program; an absolute path means itself.
  std::string_view helper{};
  /// The helper with administrator rights for any tool, where there is no other.
  std::string_view toolHelper{};
  /// The agent that answers a dialog with credentials.
  std::string_view credentialsAgent{};
  /// The zip tool.
  std::string_view zipTool{};
  /// The polkit action of `helper`.
  std::string_view helperAction{};
  /// The polkit action of `toolHelper`.
  std::string_view toolHelperAction{};

  /// What the names of root's work folders in a Trash begin with. Folders of another beginning are never touched, and
  /// without one none is made.
  std::string_view workFolderPrefix{};
  /// The key that marks a menu entry as made for a registered bundle. Without it and the prefix none is registered.
  std::string_view bundleEntryKey{};
  /// What the file name of such an entry begins with.
  std::string_view bundleEntryPrefix{};
};

}  // namespace qm::platform
