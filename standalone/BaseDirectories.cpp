#include "standalone/BaseDirectories.h"

#include <fcntl.h>

#include <cerrno>
#include <string_view>

#include "platform/darwin/descriptors/ItemStatus.h"
#include "platform/darwin/names/PathText.h"
#include "platform/darwin/user/UserDirectories.h"
#include "platform/osx/Operation.h"

namespace quill {
namespace {

std::optional<std::string> BaseDirectory(CoreFileManager& manager, const char* variable, const char* belowHome) {
  return darwin::BaseDirectory(variable, belowHome, [&manager]() -> std::optional<std::string> {
    QuillFileString home;
    return manager.DirGetUserHomePath(home) ? std::optional<std::string>(home.getUTF8()) : std::nullopt;
  });
}

/// The kernel marks the path of a program whose file has gone (proc(5)), as after an upgrade. A program can also be
/// called that.
void RemoveMarkOfDeletion(std::string& program) {
  constexpr std::string_view kMark = " (deleted)";
  darwin::ItemStatus status;
  if (!program.ends_with(kMark) || !darwin::GetStatusOf(AT_FDCWD, program.c_str(), darwin::FinalLink::kItself, status))
    return;
  program.resize(program.size() - kMark.size());
}

}  // namespace

std::optional<std::string> DataDirectory(CoreFileManager& manager) {
  return BaseDirectory(manager, "XDG_DATA_HOME", ".local/share");
}

std::optional<std::string> StateDirectory(CoreFileManager& manager) {
  return BaseDirectory(manager, "XDG_STATE_HOME", ".local/state");
}

bool EnsureProgramDirectory(CoreFileManager& manager, const std::optional<std::string>& base,
                            QuillFileString& directory) {
  QuillFileString programDirectory, programName;
  const darwin::Error unknown = base ? SplitProgramPath(programDirectory, programName) : ENOENT;
  if (unknown) {
    Operation::HandUp(manager, unknown);
    return false;
  }
  QuillFileString result = PathFrom(*base);
  result.appendLeaf(programName);
  if (!manager.DirEnsure(result)) return false;
  directory = result;
  return true;
}

darwin::Error SplitProgramPath(QuillFileString& directory, QuillFileString& name) {
  std::string program;
  if (const darwin::Error error = darwin::GetProgramPath(program)) return error;
  RemoveMarkOfDeletion(program);
  directory = PathFrom(std::string(darwin::ParentOf(program)));
  name = PathFrom(std::string(darwin::LeafOf(program)));
  return {};
}

QuillFileString PathFrom(const std::string& text) {
  QuillFileString path;
  path.setUTF8(text.c_str());
  return path;
}

std::string LeafOf(const QuillFileString& path) {
  return path.isEmpty() ? std::string() : std::string(darwin::LeafOf(path.getUTF8()));
}

}  // namespace quill
