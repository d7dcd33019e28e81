// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace qm::platform {

/// What a filled reference holds; each system has its own type.
class ReferencedItem {
 public:
  ReferencedItem() = default;
  ReferencedItem(const ReferencedItem&) = delete;
  ReferencedItem& operator=(const ReferencedItem&) = delete;
  virtual ~ReferencedItem() = default;
};

/// A stable reference to an item: it still refers to the item after the item was renamed or moved within its volume. A
/// value; copies share what they hold. An unfilled one refers to nothing.
class FileReference {
 public:
  /// An unfilled reference.
  FileReference() = default;
  /// For services: a reference that holds `item`.
  explicit FileReference(std::shared_ptr<const ReferencedItem> item) : item_(std::move(item)) {}

  /// Whether it refers to an item, which may be gone by now.
  bool isFilled() const { return item_ != nullptr; }
  /// What it holds, for services; null when unfilled.
  const ReferencedItem* item() const { return item_.get(); }

 private:
  std::shared_ptr<const ReferencedItem> item_;
};

/// Makes references to items and returns where these are. Any thread.
class FileReferences {
 public:
  virtual ~FileReferences() = default;

  /// A reference to the item at an absolute path. A symbolic link is not followed: the reference is to the link.
  /// Unfilled when nothing is there, or when the system cannot keep another one (each may hold a descriptor as long as
  /// it lives).
  virtual FileReference make(const std::string& path) const = 0;
  /// Where the item is now. Null for an unfilled reference, and when the item is gone or cannot be found.
  virtual std::optional<std::string> path(const FileReference& reference) const = 0;
};

}  // namespace qm::platform
