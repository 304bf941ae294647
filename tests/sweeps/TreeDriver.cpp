// Runs one operation of the standalone host and stops itself right before and right after it, so that a sweep can trace
// only that operation. Exits with 0 for true and 1 for false, and prints the code, the number of descriptors left open
// and what a copy could not preserve.
//
//   TreeDriver [--stop] copy|clobber|move|replace FROM TO | remove|ensure|trash PATH
//   TreeDriver temporaries DIRECTORY COUNT      prints the path of each file and directory that it makes
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "standalone/StandaloneFileManager.h"
#include "tests/support/Fixture.h"

namespace {

using Words = std::vector<std::string>;
using Operation = std::function<bool(quill::StandaloneFileManager&, const Words&)>;
using quill_test::Path;

class Witness final : public quill::darwin::TreeObserver {
 public:
  void MetadataNotKept(const char*, quill::darwin::TreeMetadata, int) override { ++notKept; }
  int notKept = 0;
};

bool MakeTemporaries(quill::StandaloneFileManager& manager, const Words& words) {
  for (int count = std::atoi(words[1].c_str()); count > 0; --count) {
    QuillFileString file;
    QuillFileString directory;
    if (!manager.FileCreateTempInDir(Path(words[0]), file)) return false;
    if (!manager.DirCreateTempInDir(Path(words[0]), directory)) return false;
    std::printf("%s\n%s\n", file.getUTF8(), directory.getUTF8());
  }
  return true;
}

bool MoveToTrash(quill::StandaloneFileManager& manager, const Words& words) {
  QuillFileString trashed;
  return manager.FileOrDirMoveToTrash(Path(words[0]), trashed);
}

const std::map<std::string, Operation> kOperations = {
    {"copy", [](auto& host, auto& at) { return host.FileOrDirCopy(Path(at[0]), Path(at[1]), /*clobber=*/false); }},
    {"clobber", [](auto& host, auto& at) { return host.FileOrDirCopy(Path(at[0]), Path(at[1]), /*clobber=*/true); }},
    {"move", [](auto& host, auto& at) { return host.FileOrDirMove(Path(at[0]), Path(at[1]), /*clobber=*/false); }},
    {"replace", [](auto& host, auto& at) { return host.FileOrDirMove(Path(at[0]), Path(at[1]), /*clobber=*/true); }},
    {"remove", [](auto& host, auto& at) { return host.DirDeleteWithContents(Path(at[0])); }},
    {"ensure", [](auto& host, auto& at) { return host.DirEnsure(Path(at[0])); }},
    {"temporaries", MakeTemporaries},
    {"trash", MoveToTrash},
};

}  // namespace

int main(int count, char** arguments) {
  Words words(arguments + 1, arguments + count);
  const bool stops = !words.empty() && words[0] == "--stop";
  if (stops) words.erase(words.begin());
  const auto operation = words.size() < 2 ? kOperations.end() : kOperations.find(words[0]);
  if (operation == kOperations.end()) return 2;
  words.erase(words.begin());

  quill::StandaloneFileManager manager;
  Witness witness;
  manager.SetTreeObserver(&witness);
  const int descriptorsBefore = quill_test::OpenDescriptors();
  bool result = false;
  bool threw = false;
  if (stops) ::raise(SIGSTOP);
  try {
    result = operation->second(manager, words);
  } catch (...) {
    threw = true;
  }
  if (stops) ::raise(SIGSTOP);
  if (stops)
    std::printf("code %d leaked %d unkept %d threw %d\n", manager.GetLastError(),
                quill_test::OpenDescriptors() - descriptorsBefore, witness.notKept, threw);
  return result ? 0 : 1;
}
