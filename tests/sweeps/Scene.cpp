#include "tests/sweeps/Scene.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string_view>

#include "tests/support/Fixture.h"
#include "tests/support/Trees.h"

namespace quill_sweep {
namespace {

using namespace quill_test;
namespace fs = std::filesystem;

Abilities CommonAbilities(const std::string& from, const std::string& to) {
  const Abilities here = AbilitiesOf(from);
  const Abilities there = AbilitiesOf(to);
  return {here.attributes && there.attributes, here.accessLists && there.accessLists,
          here.hardLinks && there.hardLinks};
}

}  // namespace

const std::vector<Operation>& Operations() {
  static const std::vector<Operation> operations = {
      {Verb::kCopy, "copy", {"cp", "-aT"}},
      {Verb::kCopy, "clobber", {"cp", "-aT"}, /*clobbers=*/true},
      {Verb::kCopy, "copy", {"cp", "-aT"}, /*clobbers=*/false, /*crosses=*/true},
      {Verb::kMove, "move", {"mv", "-T"}},
      {Verb::kMove, "replace", {"mv", "-T"}, /*clobbers=*/true},
      {Verb::kMove, "move", {"mv", "-T"}, /*clobbers=*/false, /*crosses=*/true},
      {Verb::kMove, "move", {"mv", "-T"}, /*clobbers=*/false, /*crosses=*/true, /*returns=*/true},
      {Verb::kRemove, "remove", {"rm", "-rf"}},
      {Verb::kEnsure, "ensure", {"mkdir", "-p"}},
  };
  return operations;
}

std::string Operation::Title() const {
  return std::string(name) + (!crosses ? "" : returns ? " from the other file system" : " to another file system");
}

Scene::Scene(const Operation& subject, const std::string& here, const std::string& elsewhere)
    : operation(subject), from((subject.returns ? elsewhere : here) + "/from") {
  source = from + "/source";
  destinationParent = (subject.crosses && !subject.returns ? elsewhere : here) + "/to";
  destination = destinationParent + (operation.verb == Verb::kEnsure ? "/one/two/three" : "/result");
  bait = (operation.returns ? elsewhere : here) + "/bait";
}

Scene::~Scene() {
  for (const auto& made : {from, destinationParent, bait}) RemoveAll(made);
}

void Scene::Build() {
  for (const auto& earlier : {from, destinationParent}) RemoveAll(earlier);
  fs::create_directories(from);
  fs::create_directories(destinationParent);
  MakeSampleTree(source, CommonAbilities(from, destinationParent));
  const bool isEmptied = operation.verb != Verb::kCopy;  // only root can empty a read-only directory
  if (isEmptied && ::geteuid() != 0) fs::permissions(source + "/locked", fs::perms::owner_all, fs::perm_options::add);
  original = Describe(source);
  if (operation.clobbers) {
    fs::create_directories(destination + "/old/older");
    WriteFile(destination + "/old/older/was", "old bytes");
    WriteFile(destination + "/before", "before bytes");
    occupant = Describe(destination);
  }
  if (fs::exists(bait)) return;
  for (const char* name : {"/nested/deep", "/empty", "/locked", "/old"}) fs::create_directories(bait + name);
  for (const char* name : {"/plain", "/nested/deep/leaf", "/nested/twin", "/locked/inside", "/special", "/empty/file"})
    WriteFile(bait + name, "BAIT");
}

Tracee Scene::Start() const {
  const char* subject = std::getenv("QUILL_SWEEP_SUBJECT");
  const bool isSystems = subject && std::string_view(subject) == "coreutils";
  auto words = isSystems ? operation.command : std::vector<std::string>{QUILL_TREE_DRIVER, "--stop", operation.name};
  if (operation.verb != Verb::kEnsure) words.push_back(source);
  if (operation.verb != Verb::kRemove) words.push_back(destination);
  return {words, isSystems ? Window::kWholeProgram : Window::kBetweenStops};
}

int Scene::CountCalls(const std::function<void(const Tracee&)>& look) {
  Build();
  const Abilities abilities = CommonAbilities(from, destinationParent);
  if (!abilities.attributes) std::cout << "SKIPPED extended attributes: not kept here" << std::endl;
  if (!abilities.accessLists) std::cout << "SKIPPED access control lists: not kept here" << std::endl;
  if (!abilities.hardLinks) std::cout << "SKIPPED hard links: not told from other files here" << std::endl;
  Tracee subject = Start();
  int count = 0;
  for (; subject.Next(); ++count) look(subject);
  EXPECT_EQ(0, subject.Finish().status) << operation.Title() << " undisturbed";
  EXPECT_EQ("", WhatIsUntrue(Scope::kMetadata)) << operation.Title() << " undisturbed";
  return count;
}

std::string Scene::WhatIsHalfMade(Scope scope) const {
  if (operation.verb == Verb::kRemove || operation.verb == Verb::kEnsure) return "";
  const Snapshot there = Describe(destination);
  const std::string difference = Difference(original, there, scope);
  const bool isOld = operation.clobbers && IsPartOf(there, occupant);
  if (!there.empty() && !difference.empty() && !isOld) return "half-made at the destination:" + difference;
  const std::string loss = Difference(original, Describe(source), Scope::kMetadata);
  if (loss.empty()) return "";
  if (operation.verb == Verb::kCopy) return "the source changed:" + loss;
  return difference.empty() ? "" : "neither source nor destination is whole:" + loss;
}

std::string Scene::WhatIsUntrue(Scope scope) const {
  if (operation.verb == Verb::kEnsure) return fs::is_directory(destination) ? "" : "no directory was made";
  if (operation.verb != Verb::kCopy && !Describe(source).empty()) return "the source still stands";
  if (operation.verb == Verb::kRemove) return "";
  return Difference(original, Describe(destination), scope);
}

std::vector<std::string> Scene::Strays() const {
  std::vector<std::string> strays;
  for (const auto& [directory, own] :
       {std::pair{from, "source"}, {destinationParent, operation.verb == Verb::kEnsure ? "one" : "result"}})
    for (const auto& entry : fs::directory_iterator(directory))
      if (entry.path().filename() != own) strays.push_back(entry.path());
  return strays;
}

bool HoldsBait(const std::string& root) {
  const Snapshot there = Describe(root);
  return std::any_of(there.begin(), there.end(),
                     [](const auto& entry) { return entry.second.substance == "file \"BAIT\""; });
}

}  // namespace quill_sweep
