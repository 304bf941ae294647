#include <cstdio>

#include "standalone/ErrorText.h"
#include "standalone/StandaloneFileManager.h"

int main() {
  quill::StandaloneFileManager manager;
  QuillFileString path;
  path.setUTF8("greeting.txt");

  IQuillFileReadWriteTemp* file = manager.FileOpen(path, kQuillOpenRead | kQuillOpenWrite | kQuillOpenCreate);
  if (!file) return std::fprintf(stderr, "%s: %s\n", path.getUTF8(), quill::QuillErrText(manager.GetLastError())), 1;

  char text[32];
  unsigned long count = 0;
  long long position = 0;
  const bool good = file->Write("hello, world\n", 13) && file->Seek(0, kQuillFileSeekBegin, position) &&
                    file->Read(text, sizeof text, count);
  delete file;  // closes it
  if (!good || std::fwrite(text, 1, count, stdout) != count) return 1;
  return manager.FileDelete(path) ? 0 : 1;
}
