#include "engine/emptied_folders.h"

#include <sys/stat.h>

#include <cerrno>

#include "platform/posix/tree_changes.h"
#include "tests/support/program_test.h"

namespace {

using EmptiedFolders = CProgramTest;
using Contents = CTemporaryFolder::Contents;

TEST_F(EmptiedFolders, LockedItemsAreUnlockedFirst) {
  files.WriteFile("top/sub/locked folder/locked file");
  for (const char *item :
       {"top/sub/locked folder/locked file", "top/sub/locked folder", "top/sub"}) {
    ASSERT_EQ(chmod(files.PathOf(item).c_str(), 0555), 0);
  }
  std::vector<std::string> unlocked;
  static std::vector<std::string> *notes = &unlocked;
  notes = &unlocked;
  SetTreeChangeFault([](const TreeChange &change) {
    notes->push_back(std::string(change.operation) + " " + change.name);
    return 0;
  });
  EXPECT_EQ(DeleteFolderTree(Ref("top/sub")), noErr);
  SetTreeChangeFault(nullptr);
  EXPECT_EQ(unlocked, (std::vector<std::string>{"chmod locked file", "unlink locked file",
                                                "chmod locked folder", "rmdir locked folder",
                                                "chmod sub", "rmdir sub"}));
  EXPECT_FALSE(files.Exists("top/sub"));
}

TEST_F(EmptiedFolders, FirstFailureEndsOneTreeAndNotTheNext) {
  files.WriteFile("top/one/a");
  files.WriteFile("top/one/b/stuck", "kept");
  files.WriteFile("top/one/c", "kept");
  files.WriteFile("top/two/d");
  SetTreeChangeFault([](const TreeChange &change) {
    return std::string_view(change.name) == "stuck" ? EPERM : 0;
  });
  EXPECT_EQ(DeleteFolderTree(Ref("top/one")), permErr);
  RemoveEmptiedFolders(Ref("top"));
  SetTreeChangeFault(nullptr);
  EXPECT_EQ(files.Tree("top"),
            (Contents{{"one/", ""}, {"one/b/", ""}, {"one/b/stuck", "kept"}, {"one/c", "kept"}}));
}

}  // namespace
