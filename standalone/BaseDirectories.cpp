#include "standalone/BaseDirectories.h"

#include <string>
#include <string_view>

#include "platform/darwin/paths/CanonicalPath.h"
#include "platform/darwin/user/UserDirectories.h"

namespace quill {

bool FindBaseDirectory(CoreFileManager& manager, const BaseDirectory& base, QuillFileString& directory) {
  if (const char* value = darwin::AbsolutePathInVariable(base.variable)) {
    directory.setUTF8(value);
    return true;
  }
  QuillFileString home;
  if (!manager.DirGetUserHomePath(home)) return false;
  home.appendLeaf(base.belowHome);
  directory = home;
  return true;
}

bool EnsureProgramDirectory(CoreFileManager& manager, const BaseDirectory& base, QuillFileString& directory) {
  QuillFileString programDirectory, programName, result;
  if (!SplitProgramPath(programDirectory, programName)) return false;
  if (!FindBaseDirectory(manager, base, result)) return false;
  result.appendLeaf(programName);
  if (!manager.DirEnsure(result)) return false;
  directory = result;
  return true;
}

bool SplitProgramPath(QuillFileString& directory, QuillFileString& name) {
  QuillFileString path;
  path.setUTF8(darwin::ProgramPath().c_str());
  const QuillFileString leaf = LeafOf(path);
  if (!path.trimLeaf(&directory)) return false;
  name = leaf;
  return true;
}

QuillFileString LeafOf(const QuillFileString& path) {
  std::string_view text = path.isEmpty() ? std::string_view() : path.getUTF8();
  while (text.ends_with('/')) text.remove_suffix(1);
  const std::string leaf(text.substr(text.find_last_of('/') + 1));  // no separator: everything
  QuillFileString result;
  result.setUTF8(leaf.c_str());
  return result;
}

}  // namespace quill
