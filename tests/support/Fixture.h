// A fresh directory for each test, removed afterwards, and the few helpers that most tests need.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>

#include "host/QuillFileString.h"

namespace quill_test {

QuillFileString Path(std::string_view text);
/// The text, or "(none)".
std::string Text(const QuillFileString& path);

/// The bytes of a file; fails the test when it cannot be read.
std::string Contents(const std::string& path);
void WriteFile(const std::string& path, std::string_view contents);
/// The permission bits of the item at a path, links followed.
unsigned ModeOf(const std::string& path);

/// A new directory below \p base, or "" with errno. Not a random name: one with a K, which has a second form, costs a
/// missing path one system call more.
std::string MakeNumberedDirectory(const std::string& base);

/// How many descriptors this process has open.
int OpenDescriptors();

/// Runs \p body in a child that has dropped to an unprivileged user when the tests run as root, and fails the test when
/// an expectation fails there. The fixture's directory belongs to that user meanwhile.
void AsOrdinaryUser(const std::string& directory, const std::function<void()>& body);

class DirectoryTest : public ::testing::Test {
 protected:
  void SetUp() override;
  /// Fails when a descriptor was left open.
  void TearDown() override;

  /// The fresh directory, and a name in it.
  const std::string& Root() const { return root; }
  std::string In(std::string_view name) const { return root + "/" + std::string(name); }

 private:
  std::string root;
  int descriptorsBefore = 0;
};

}  // namespace quill_test
