// Commands that read and write the bytes of files.
//
// All of it goes through file objects in pieces of kChunkSize, so that a file of any size takes the same memory. What
// cannot be written to standard output ends the reading.
#include <unistd.h>
#include <cerrno>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/foundation/NSException.h"
#include "tools/quillfs/Command.h"

namespace {

constexpr std::size_t kChunkSize = 128 * 1024;

/// Opening fails without a code for what cannot be read in order, such as a directory or a FIFO, and for reasons of the
/// system that have no code.
void FailToOpen(Session& session, const QuillFileString& path) {
  const int cause = session.manager.LastFailure().posixError;
  const bool isOfWrongKind = cause == EISDIR || cause == ESPIPE || cause == ENXIO || cause == 0;
  if (session.manager.GetLastError() != kQuillErrNone) return session.Fail(path);
  isOfWrongKind ? session.Fail(TextOf(path), kQuillErrNotAFile) : session.FailForSystem(TextOf(path), cause);
}

/// An open that could not empty a file opens it all the same; what is written then would stand in the old contents.
bool IsEmptied(Session& session, const QuillFileString& path) {
  long long size = 0;
  if (!session.manager.FileGetSize(path, size) || size == 0) return true;
  session.Fail(TextOf(path), kQuillErrIO);
  return false;
}

/// Makes \p call and reports its failure, or the platform exception that it throws, as one of \p path.
template <typename Call>
bool Guarded(Session& session, const QuillFileString& path, Call call) {
  try {
    if (call()) return true;
    session.Fail(path);
  } catch (const quill::foundation::NSException& failure) {
    session.FailForSystem(TextOf(path), failure.code().value());
  }
  return false;
}

/// What a command writes: a text, or all of standard input if the text is "-". The first piece is read at once, so that
/// the file is not emptied if the input cannot be read, nor before a pipeline that reads the same file has started.
class Input {
 public:
  Input(Session& running, const Arguments& arguments)
      : Input(running, arguments.Count() > 1 ? std::string_view(arguments.Text(1)) : "-") {}

  Input(Session& running, std::string_view text) : session_(running), chunk_(text) {
    if (text != "-") return;
    buffer_.resize(kChunkSize);
    ReadOn();
  }

  bool IsReadable() const { return isReadable_; }

  /// Passes the input on piece by piece, until \p write returns false.
  template <typename Write>
  void PassTo(Write write) {
    while (!chunk_.empty() && write(chunk_)) ReadOn();
  }

 private:
  void ReadOn() {
    chunk_ = {};
    if (buffer_.empty()) return;
    ssize_t count = 0;
    do {
      count = ::read(STDIN_FILENO, buffer_.data(), buffer_.size());
    } while (count < 0 && errno == EINTR);
    isReadable_ = count >= 0;
    if (!isReadable_) return session_.FailForSystem("standard input", errno);
    chunk_ = std::string_view(buffer_.data(), static_cast<std::size_t>(count));
  }

  Session& session_;
  std::string_view chunk_;
  std::vector<char> buffer_;
  bool isReadable_ = true;
};

void PrintContents(Session& session, const QuillFileString& path, IQuillFileReadOnly& file) {
  std::vector<char> buffer(kChunkSize);
  for (unsigned long count = 0;;) {
    if (!file.Read(buffer.data(), buffer.size(), count)) return session.Fail(TextOf(path), file.GetLastError());
    if (count == 0 || !session.output.Print({buffer.data(), count})) return;
  }
}

void Cat(Session& session, const Arguments& arguments) {
  for (const QuillFileString& path : arguments.Paths()) {
    session.Begin();
    const std::unique_ptr<IQuillFileReadOnly> file(session.manager.FileOpenReadOnly(path));
    if (!file) {
      FailToOpen(session, path);
      continue;
    }
    PrintContents(session, path, *file);
  }
}

void Write(Session& session, const Arguments& arguments) {
  Input input(session, arguments);
  if (!input.IsReadable()) return;
  session.Begin();
  const QuillFileString path = arguments.Path(0);
  const auto position = arguments.Number("--at");
  const unsigned int flags = kQuillOpenWrite | kQuillOpenCreate | (position ? 0U : kQuillOpenTruncate);
  const std::unique_ptr<IQuillFileReadWriteTemp> file(session.manager.FileOpen(path, flags));
  if (!file) return FailToOpen(session, path);
  if (!position && !IsEmptied(session, path)) return;

  long long reached = 0;
  if (position && !file->Seek(*position, kQuillFileSeekBegin, reached)) {
    return session.Fail(TextOf(path), file->GetLastError());
  }
  input.PassTo([&](std::string_view chunk) {
    return Guarded(session, path, [&] { return file->Write(chunk.data(), chunk.size()); });
  });
  if (arguments.Has("--sync")) (void)Guarded(session, path, [&] { return file->Flush(); });  // reports by itself
}

void Append(Session& session, const Arguments& arguments) {
  Input input(session, arguments);
  if (!input.IsReadable()) return;
  session.Begin();
  const QuillFileString path = arguments.Path(0);
  const ETruncateOnOpen truncate = arguments.Has("--empty") ? kQuillTruncateOnOpen : kQuillKeepOnOpen;
  const std::unique_ptr<IQuillFileAppendOnly> file(session.manager.FileOpenAppend(path, truncate));
  if (!file) return FailToOpen(session, path);
  if (truncate == kQuillTruncateOnOpen && !IsEmptied(session, path)) return;
  input.PassTo([&](std::string_view chunk) {
    return Guarded(session, path, [&] { return file->Append(chunk.data(), chunk.size()); });
  });
}

void Truncate(Session& session, const Arguments& arguments) {
  session.Begin();
  const QuillFileString path = arguments.Path(0);
  const unsigned int flags = kQuillOpenWrite | (arguments.Has("--create") ? kQuillOpenCreate : 0U);
  const std::unique_ptr<IQuillFileReadWriteTemp> file(session.manager.FileOpen(path, flags));
  if (!file) return FailToOpen(session, path);

  long long reached = 0;
  if (!file->Seek(arguments.Number("--size").value_or(0), kQuillFileSeekBegin, reached)) {
    return session.Fail(TextOf(path), file->GetLastError());
  }
  (void)Guarded(session, path, [&] { return file->Truncate(); });  // reports by itself
}

void Spool(Session& session, const Arguments&) {
  session.Begin();
  const std::unique_ptr<IQuillFileReadWriteTemp> file(session.manager.FileOpenTemp());
  if (!file) return session.Fail("temporary file");
  const QuillFileString path = file->GetFileName();
  bool isWhole = true;
  Input(session, "-").PassTo([&](std::string_view chunk) {
    return isWhole = Guarded(session, path, [&] { return file->Write(chunk.data(), chunk.size()); });
  });
  long long start = 0;
  if (isWhole && file->Seek(0, kQuillFileSeekBegin, start)) PrintContents(session, path, *file);
}

}  // namespace

CommandGroup ContentCommands() {
  return {"Contents",
          {
              {"cat", "PATH...", "print the contents of files", "quillfs cat /etc/hostname", {}, Cat},
              {"write",
               "PATH [TEXT]",
               "replace a file's contents by TEXT, or by standard input (-)",
               "quillfs write notes.txt 'first line'",
               {{"--at", OptionKind::kNumber, "write at this position and keep the rest"},
                {"--sync", OptionKind::kFlag, "return when the data is on the device"}},
               Write},
              {"append",
               "PATH [TEXT]",
               "add TEXT, or standard input (-), to the end of a file",
               "date | quillfs append log.txt -",
               {{"--empty", OptionKind::kFlag, "empty the file first"}},
               Append},
              {"truncate",
               "PATH",
               "cut a file, or extend it with zero bytes",
               "quillfs truncate --size 1024 image.bin",
               {{"-s,--size", OptionKind::kNumber, "the size in bytes (0)"},
                {"--create", OptionKind::kFlag, "create the file when it is missing"}},
               Truncate},
              {"spool",
               "",
               "print standard input once all of it is in a temporary file",
               "sort list.txt | quillfs spool | quillfs write list.txt -",
               {},
               Spool},
          }};
}
