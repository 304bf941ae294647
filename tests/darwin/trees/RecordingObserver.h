// An observer that remembers what it is told, and can meddle in between.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/darwin/trees/TreeObserver.h"

namespace quill_test {

struct RecordingObserver final : quill::darwin::TreeObserver {
  bool Advanced(const quill::darwin::TreeProgress& progress) override {
    done = progress;
    return !meddle || meddle(progress);
  }
  void MetadataNotKept(const char* entry, quill::darwin::TreeMetadata what, int) override {
    notKept.emplace_back(std::string(entry) + " " + std::to_string(static_cast<int>(what)));
  }
  void Failed(const char* entry, int error) override { failures.emplace_back(entry, error); }

  /// Called on every report; false stops the operation.
  std::function<bool(const quill::darwin::TreeProgress&)> meddle;
  quill::darwin::TreeProgress done;
  std::vector<std::string> notKept;
  std::vector<std::pair<std::string, int>> failures;
};

}  // namespace quill_test
