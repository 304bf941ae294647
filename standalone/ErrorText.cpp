#include "standalone/ErrorText.h"

#include "host/QuillErr.h"

namespace quill {

namespace {

struct ErrorRow {
  QuillErr code;
  const char* name;
  const char* text;
};

// The codes are the contract's and never change; a host may define more, which have no name here. Each text follows a
// path and a colon, so it begins in lower case and has no full stop.
constexpr ErrorRow kErrorRows[] = {
    {kQuillErrNone, "kQuillErrNone", "no error"},
    {kQuillErrIO, "kQuillErrIO", "input/output error"},
    {kQuillErrIllegalPath, "kQuillErrIllegalPath", "path not acceptable"},
    {kQuillErrAccessDenied, "kQuillErrAccessDenied", "permission denied"},
    {kQuillErrNotFound, "kQuillErrNotFound", "not found"},
    {kQuillErrNoSpace, "kQuillErrNoSpace", "no space left"},
    {kQuillErrNotAFile, "kQuillErrNotAFile", "not permitted on this kind of item"},
    {kQuillErrNotADirectory, "kQuillErrNotADirectory", "not a directory"},
    {kQuillErrReadOnlyMedia, "kQuillErrReadOnlyMedia", "read-only file system"},
    {kQuillErrDirNotEmpty, "kQuillErrDirNotEmpty", "directory not empty"},
    {kQuillErrAlreadyExists, "kQuillErrAlreadyExists", "already exists"},
    {kQuillErrCannotClearDestination, "kQuillErrCannotClearDestination", "destination is occupied"},
    {kQuillErrInUse, "kQuillErrInUse", "busy or locked"},
};

const ErrorRow* Find(int code) noexcept {
  for (const ErrorRow& row : kErrorRows) {
    if (row.code == code) return &row;
  }
  return nullptr;
}

}  // namespace

const char* QuillErrName(int code) noexcept {
  const ErrorRow* row = Find(code);
  return row ? row->name : nullptr;
}

const char* QuillErrText(int code) noexcept {
  const ErrorRow* row = Find(code);
  return row ? row->text : "unknown error";
}

}  // namespace quill
