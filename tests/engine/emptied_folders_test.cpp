#include "engine/emptied_folders.h"

#include <sys/stat.h>

#include <cerrno>

#include "tests/support/program_test.h"
#include "tests/support/tree_change_fault.h"

namespace {

using EmptiedFolders = CProgramTest;
using Contents = CTemporaryFolder::Contents;

TEST_F(EmptiedFolders, LockedItemsThatRefuseAreUnlockedFirst) {
  files.WriteFile("top/sub/locked folder/locked file");
  for (const char *item :
       {"top/sub/locked folder/locked file", "top/sub/locked folder", "top/sub"}) {
    ASSERT_EQ(chmod(files.PathOf(item).c_str(), 0555), 0);
  }
  static std::vector<std::string> changes;
  changes.clear();
  // As an immutable item would, each refuses to be deleted until it has been unlocked.
  SetTreeChangeFault([](const TreeChange &change) {
    const bool isUnlocked =
        !changes.empty() && changes.back() == std::string("chmod ") + change.name;
    changes.push_back(std::string(change.Word()) + " " + change.name);
    return changes.back().starts_with("chmod") || isUnlocked ? 0 : EPERM;
  });
  EXPECT_EQ(DeleteFolderTree(Ref("top/sub")), noErr);
  SetTreeChangeFault(nullptr);
  EXPECT_EQ(changes, (std::vector<std::string>{"unlink locked file", "chmod locked file",
                                               "unlink locked file", "rmdir locked folder",
                                               "chmod locked folder", "rmdir locked folder",
                                               "rmdir sub", "chmod sub", "rmdir sub"}));
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
