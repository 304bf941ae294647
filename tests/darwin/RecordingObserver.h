// An observer that remembers what it is told, and can meddle in between.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/darwin/TreeObserver.h"

namespace quill_test {

struct RecordingObserver final : darwin::TreeObserver {
  bool Advanced(const darwin::TreeProgress& progress) override {
    done = progress;
    return !meddle || meddle(progress);
  }
  void MetadataNotKept(const char* entry, darwin::TreeMetadata what, int) override {
    notKept.emplace_back(std::string(entry) + " " + std::to_string(static_cast<int>(what)));
  }
  void Failed(const char* entry, int error) override { failures.emplace_back(entry, error); }

  /// Called on every report; false stops the operation.
  std::function<bool(const darwin::TreeProgress&)> meddle;
  darwin::TreeProgress done;
  std::vector<std::string> notKept;
  std::vector<std::pair<std::string, int>> failures;
};

}  // namespace quill_test
