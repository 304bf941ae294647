// What the copy of a tree does with each entry that the walk visits.
#pragma once

#include "platform/darwin/trees/Contents.h"
#include "platform/darwin/trees/Copy.h"
#include "platform/darwin/trees/HardLinks.h"
#include "platform/darwin/trees/Metadata.h"
#include "platform/darwin/trees/Walk.h"

namespace quill::darwin {

class CopyVisitor final : public TreeVisitor {
 public:
  /// The copy is made in \p staging, under the name of that directory.
  CopyVisitor(const CopyRequest& request, const StagingDirectory& staging, TreeReport& report);

  void Run();

  /// The copy of a directory that nobody may write to, which must have that right to leave the staging directory.
  const FileDescriptor& readOnlyRoot() const { return readOnlyRoot_; }

 private:
  /// Where an entry is copied to.
  struct Target {
    int directory;
    const char* name;
  };

  Next Visit(TreeLevel& in, const DirectoryReader::Entry& entry) override;
  Next OpenFailed(TreeLevel& in, const char* name, Error error) override;
  Next Enter(TreeLevel& in, TreeLevel& directory) override;
  Next Leave(TreeLevel& in, TreeLevel& directory, Error error) override;
  void PathLost(Error error) override;

  Next Miss(TreeLevel& in, Error error);
  Error CopyFile(TreeLevel& in, const char* name, Target target);
  Error CopyOpenFile(int from, const ItemStatus& source, Target target);
  Error CopyOther(OpenItem from, const ItemStatus& source, Target target);
  Error MakeOther(OpenItem from, const ItemStatus& source, Target target);
  Error LinkEarlier(const ItemStatus& source, Target target);
  Error Remember(const ItemStatus& source, Target target);
  Error MakeCounterpart(TreeLevel& in, TreeLevel& directory);
  Error FinishCounterpart(TreeLevel& in, TreeLevel& directory);
  Error Add(Error error, const ItemStatus& source);
  Next Answer(Error error);
  Target TargetOf(const TreeLevel& in, const char* name) const;

  const CopyRequest& request_;
  const StagingDirectory& staging_;
  TreeReport& report_;
  TreeWalk walk_;
  ContentsCopier contents_;
  MetadataCopier metadata_;
  HardLinks links_;
  FileDescriptor readOnlyRoot_;
  const bool syncsOneByOne_;
};

}  // namespace quill::darwin
