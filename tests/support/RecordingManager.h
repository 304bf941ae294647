// A manager that remembers every code that came through SetLastError, and what the layer called through the table.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "standalone/StandaloneFileManager.h"
#include "tests/support/Fixture.h"

namespace quill_test {

class RecordingManager : public quill::StandaloneFileManager {
 public:
  /// A code that no failure records, so that an unchanged code is recognised.
  static constexpr int kUntouched = 4711;

  RecordingManager() { quill::StandaloneFileManager::SetLastError(kUntouched); }

  void SetLastError(int code) override {
    observed.push_back(code);
    quill::StandaloneFileManager::SetLastError(code);
  }

  void Forget() {
    observed.clear();
    quill::StandaloneFileManager::SetLastError(kUntouched);
  }

  /// "3003 recorded", "3003 stored" if SetLastError did not see it, or "nothing". Then forgets it.
  std::string Reason() {
    const int code = GetLastError();
    const bool seen = !observed.empty() && observed.back() == code;
    Forget();
    if (code == kUntouched) return "nothing";
    return std::to_string(code) + (seen ? " recorded" : " stored");
  }

  std::vector<int> observed;
};

/// The entries of a directory, each with its type.
inline std::multimap<std::string, int> List(CoreFileManager& manager, const QuillFileString& directory) {
  std::multimap<std::string, int> entries;
  FindFileInfo info;
  const auto close = [&](QuillFileFindRef* handle) { manager.FindClose(handle); };
  const std::unique_ptr<QuillFileFindRef, decltype(close)> handle(manager.FindFirst(directory, info), close);
  for (bool more = handle != nullptr; more; more = manager.FindNext(handle.get(), info)) {
    entries.emplace(Text(info.path), info.type);
  }
  return entries;
}

class ManagerTest : public DirectoryTest {
 protected:
  /// The answer and the reason, as in "false, 3003 recorded". Then forgets them.
  std::string Outcome(bool succeeded) { return (succeeded ? "true, " : "false, ") + manager.Reason(); }

  QuillFileString At(std::string_view name) const { return Path(In(name)); }

  RecordingManager manager;
};

}  // namespace quill_test
