#include "platform/darwin/trees/Trees.h"
#include "platform/darwin/trees/Copy.h"

namespace quill::darwin {
namespace {

int Check(const char* fromText, const char* toText, TreePath& from, TreeItem& item, TreePath& to) {
  if (const int error = FindItemToCopy(fromText, from, item)) return error;
  std::string standing;
  if (const int error = FindFreePlace(toText, to, standing)) return error;
  if (!item.IsDirectory()) return to.demandsDirectory ? ENOTDIR : 0;
  return Holds(item, to.parent.get()) ? EINVAL : 0;
}

}  // namespace

int CopyTree(const char* fromText, const char* toText) {
  TreeReport report;
  TreePath from;
  TreePath to;
  TreeItem item;
  if (const int error = Check(fromText, toText, from, item, to)) return report.FailAsWhole(fromText, error);
  CopyItem({from, item, to}, report);
  return report.error();
}

}  // namespace quill::darwin
