#include "standalone/HiddenNames.h"

#include <memory>
#include <string>
#include <string_view>

#include "platform/darwin/names/Normalization.h"
#include "standalone/BaseDirectories.h"

namespace quill {

namespace {

/// Reads the start of a small file. Real lists of hidden names are shorter than this.
std::string ReadSmallFile(CoreFileManager& manager, const QuillFileString& path) {
  // Bounded, because the directory may be anybody's, and so may the size of its list.
  constexpr unsigned long kMostBytes = 256 * 1024;
  std::string contents;
  const std::unique_ptr<IQuillFileReadOnly> file(manager.FileOpenReadOnly(path));
  if (!file) return contents;

  contents.resize(kMostBytes);
  unsigned long filled = 0, bytesRead = 0;
  // A read may give less than was asked for; only 0 bytes are the end.
  while (filled < kMostBytes && file->Read(contents.data() + filled, kMostBytes - filled, bytesRead) && bytesRead > 0) {
    filled += bytesRead;
  }
  contents.resize(filled);
  return contents;
}

bool HasLine(std::string_view text, std::string_view wanted) {
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    // Other programs write these lists, in any normalization. Composing the line comes second, as it costs an
    // allocation.
    if (line == wanted || darwin::FormC(line) == wanted) return true;
    text.remove_prefix(line.size() < text.size() ? line.size() + 1 : line.size());
  }
  return false;
}

}  // namespace

bool IsHiddenName(CoreFileManager& manager, const QuillFileString& path) {
  const std::string name = LeafOf(path);
  // Without these, every "." in a path would be hidden.
  if (name.empty() || name == "." || name == "..") return false;
  if (name.starts_with('.')) return true;

  QuillFileString list = path;
  if (!list.trimLeaf(nullptr)) list.freeAll();  // a bare name: the list is in the current directory
  list.appendLeaf(".hidden");
  // Ask first, because opening a missing file would record a code.
  if (manager.FileGetEffectivePermissions(list) < 2) return false;
  return HasLine(ReadSmallFile(manager, list), darwin::FormC(name));
}

}  // namespace quill
