// The paths are looked at first, and everything that makes an operation impossible is refused before anything is made
// or removed. From then on only descriptors and single names are used.
#include "platform/darwin/trees/Trees.h"

#include "platform/darwin/trees/Copy.h"
#include "platform/darwin/trees/Removal.h"

namespace quill::darwin {
namespace {

Error Remove(const char* text, TreeReport& report) {
  TreePath path;
  ItemStatus status;
  if (const Error error = FindItemToTake(text, path, status)) return error;
  // As the kernel says of it, but before everything below has gone.
  if (status.isMountRoot) return EBUSY;
  RemoveTreeAt(path.parent.get(), path.name.c_str(), report);
  return report.error();
}

Error Copy(const char* fromText, const char* toText, TreeReport& report) {
  TreePath from, to;
  ItemStatus source;
  std::string existingName;
  if (const Error error = FindItemToCopy(fromText, from, source)) return error;
  if (const Error error = FindFreePlace(toText, to, existingName)) return error;
  if (!source.IsDirectory() && to.demandsDirectory) return ENOTDIR;
  // The copy would be copied into itself without an end.
  if (source.IsDirectory() && Holds(source, to.parent.get())) return EINVAL;
  return CopyItem({from, source, to}, report);
}

bool IsWithinOneDirectory(const MoveRequest& request) {
  ItemStatus from, to;
  if (GetStatus(request.from.parent.get(), from) || GetStatus(request.to.parent.get(), to)) return false;
  return from.IsSameAs(to);
}

Error Move(const char* fromText, const char* toText, TreeReport& report) {
  MoveRequest request;
  std::string existingName;
  if (const Error error = FindItemToTake(fromText, request.from, request.source)) return error;
  const Error error = FindFreePlace(toText, request.to, existingName);
  if (error == EEXIST && !existingName.empty() && IsWithinOneDirectory(request)) {
    // Its own name in another normalization is free, as far as the kernel is concerned.
    const bool isOwnName = existingName == request.from.name && existingName != request.to.name;
    return isOwnName ? MoveItem(request, report) : ChangeSpelling(request, existingName);
  }
  if (error) return error;
  if (request.to.demandsDirectory && !request.source.IsDirectory()) return ENOTDIR;
  return MoveItem(request, report);
}

}  // namespace

Error RemoveTree(const char* path) {
  TreeReport report(path);
  return report.FailAsWhole(Remove(path, report));
}

Error CopyTree(const char* from, const char* to) {
  TreeReport report(from);
  return report.FailAsWhole(Copy(from, to, report));
}

Error MoveTree(const char* from, const char* to) {
  TreeReport report(from);
  return report.FailAsWhole(Move(from, to, report));
}

Error MoveTree(const MoveRequest& request) {
  TreeReport report(request.from.text);
  std::string existingName;
  const Error error = FindFreeName(request.to, existingName);
  return report.FailAsWhole(error ? error : MoveItem(request, report));
}

}  // namespace quill::darwin
