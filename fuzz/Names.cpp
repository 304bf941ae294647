// Normalization, and finding an item by any form of its name in a real directory.
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>

#include "fuzz/Fuzz.h"
#include "platform/darwin/names/NameLookup.h"
#include "platform/darwin/names/Normalization.h"
#include "platform/darwin/paths/Status.h"

using fuzz::Require;
using quill::darwin::FormC;
using quill::darwin::FormD;

namespace {

constexpr std::size_t kLongestName = 255;

/// In memory where that is possible; removed at the end.
struct ScratchDirectory {
  ScratchDirectory() {
    std::error_code error;
    const bool hasMemory = std::filesystem::is_directory("/dev/shm", error);
    path = (hasMemory ? "/dev/shm" : std::filesystem::temp_directory_path().string()) + "/quill-fuzz.XXXXXX";
    Require(::mkdtemp(path.data()) != nullptr);
  }
  ~ScratchDirectory() { std::filesystem::remove_all(path); }
  std::string In(std::string_view name) const { return path + "/" + std::string(name); }

  std::string path;
};

void CheckForms(std::string_view text) {
  const std::string composed = FormC(text);
  const std::string decomposed = FormD(text);
  Require(FormC(composed) == composed);
  Require(FormD(decomposed) == decomposed);
  Require(FormC(decomposed) == composed);
  Require(FormD(composed) == decomposed);
  if (quill::darwin::IsUTF8(text)) Require(quill::darwin::IsUTF8(composed) && quill::darwin::IsUTF8(decomposed));
}

bool CanBeName(std::string_view name) {
  return !name.empty() && name.size() <= kLongestName && name != "." && name != "..";
}

quill::darwin::Error Status(const std::string& path) {
  quill::darwin::ItemStatus status;
  return quill::darwin::GetStatus(path.c_str(), quill::darwin::FinalLink::kItself, status);
}

/// An item with the name \p stored is found by \p asked, and a creation by that name meets it.
void CheckLookup(const ScratchDirectory& directory, std::string_view stored, std::string_view asked) {
  if (stored == asked || !CanBeName(stored) || !CanBeName(asked)) return;
  const std::string item = directory.In(stored);
  Require(std::ofstream(item).is_open());
  Require(!Status(directory.In(asked)));
  std::string place;
  Require(!quill::darwin::FindPathForCreation(directory.In(asked).c_str(), place) && place == item);
  Require(::unlink(item.c_str()) == 0);
  Require(Status(directory.In(asked)) == ENOENT);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const ScratchDirectory directory;
  const std::string_view text = fuzz::TextIn(fuzz::Bytes(data, size));
  CheckForms(text);

  const std::string_view name = text.substr(0, text.find('/'));
  const std::string composed = FormC(name);
  const std::string decomposed = FormD(name);
  CheckLookup(directory, name, composed);
  CheckLookup(directory, name, decomposed);
  CheckLookup(directory, composed, name);
  CheckLookup(directory, decomposed, name);
  CheckLookup(directory, decomposed, composed);
  return 0;
}
