#include "platform/trash.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <iterator>

#include "platform/linux/trash/trash_info.h"
#include "platform/linux/trash/trash_moves.h"
#include "platform/linux/tree/folder_table.h"
#include "tests/support/temporary_folder.h"

namespace {

class Trash : public testing::Test {
 protected:
  Trash() {
    setenv("XDG_DATA_HOME", home_.PathOf("data").c_str(), 1);
    files_.WriteFile("drop/sub/in/file", "content");
  }

  FSRef Ref(std::string_view path) const {
    FSRef ref{};
    EXPECT_EQ(FSPathMakeRef(files_.PathOf(path).c_str(), &ref, nullptr), noErr) << path;
    return ref;
  }

  struct stat StatusOf(const std::string &path) const {
    struct stat status {};
    EXPECT_EQ(lstat(home_.PathOf(path).c_str(), &status), 0) << path;
    return status;
  }

  /// Puts drop/sub into the trash, and answers it as it was.
  TrashedItem Put() const {
    ItemStatus status{};
    EXPECT_EQ(Tree().Look(AT_FDCWD, files_.PathOf("drop/sub").c_str(), &status), 0);
    EXPECT_EQ(TrashMoveItem(Ref("drop/sub")), noErr);
    return {home_.PathOf("data/Trash"), "sub", status.device, status.identity,
            files_.PathOf("drop/sub")};
  }

  int TakeOut(const TrashedItem &item, const char *name) const {
    OpenedFolder folder{-1, 0};
    EXPECT_EQ(FindTableFolder(Ref("drop"), &folder.index, &folder.descriptor), noErr);
    return TakeOutOfTrash(item, folder, name);
  }

  CTemporaryFolder home_;
  CTemporaryFolder files_;
};

TEST_F(Trash, GivesBackTheVeryItemAndNothingElse) {
  const auto before = files_.Tree();
  const TrashedItem item = Put();
  files_.WriteFile("drop/taken", "theirs");
  home_.MakeFolder("data/elsewhere/files/sub");
  home_.WriteFile("data/Trash/files/plain", "another's");
  const auto inTrash = home_.Tree();
  TrashedItem other[7] = {item, item, item, item, item, item, item};
  other[0].name = "missing";
  other[1].trash = home_.PathOf("data/elsewhere");
  other[2].identity.birth += 1;
  other[3].oldPath += "x";
  other[4].device += 1;
  other[5].name = "plain";
  other[6].name = "../files/sub";
  const int expected[] = {ENOENT, ENOENT, ESTALE, ESTALE, EXDEV, ESTALE, ENOENT};
  for (std::size_t i = 0; i < std::size(other); ++i) {
    EXPECT_EQ(TakeOut(other[i], "sub"), expected[i]) << i;
  }
  EXPECT_EQ(TakeOut(item, "taken"), EEXIST);
  EXPECT_EQ(home_.Tree(), inTrash);
  files_.Remove("drop/taken");
  EXPECT_EQ(TakeOut(item, "sub"), 0);
  EXPECT_EQ(files_.Tree(), before);
  EXPECT_EQ(home_.Tree("data/Trash/info"), CTemporaryFolder::Contents());
  EXPECT_EQ(TakeOut(item, "again"), ENOENT);

  // Without its .trashinfo nobody knows what it is.
  const TrashedItem again = Put();
  home_.Remove("data/Trash/info/sub.trashinfo");
  EXPECT_EQ(TakeOut(again, "sub"), ESTALE);
  home_.Remove("data/Trash");
  EXPECT_EQ(TakeOut(again, "sub"), ENOENT) << "emptied";
}

TEST_F(Trash, SizesAreKeptWhereTheyAreKeptAlready) {
  const TrashedItem item = Put();
  EXPECT_FALSE(home_.Exists("data/Trash/directorysizes"));
  ASSERT_EQ(TakeOut(item, "sub"), 0);
  const std::string others = "4096 1 a%20sub\n8192 17 sub%20\n";
  home_.WriteFile("data/Trash/directorysizes", others + "1 1 sub\n");
  const TrashedItem again = Put();
  const auto use = 512 * (StatusOf("data/Trash/files/sub").st_blocks +
                          StatusOf("data/Trash/files/sub/in").st_blocks +
                          StatusOf("data/Trash/files/sub/in/file").st_blocks);
  const auto time = StatusOf("data/Trash/info/sub.trashinfo").st_mtim.tv_sec;
  EXPECT_EQ(home_.ReadFile("data/Trash/directorysizes"),
            others + std::to_string(use) + " " + std::to_string(time) + " sub\n");
  EXPECT_EQ(TakeOut(again, "sub"), 0);
  EXPECT_EQ(home_.ReadFile("data/Trash/directorysizes"), others);
}

TEST(TrashInfo, IsReadAsOtherProgramsWriteIt) {
  const std::string head = "[Trash Info]\n";
  EXPECT_EQ(PathInTrashInfo(head + "DeletionDate=x\nPath=/a%20b/%ff\nPath=/second\n"), "/a b/\xFF");
  EXPECT_EQ(PathInTrashInfo("[Other]\nPath=/no\n" + head + "Path=yes"), "yes");
  for (const char *line : {"", "Path=/%", "Path=/%4", "Path=/%4g", "Path=/%-1", "path=/a"}) {
    EXPECT_EQ(PathInTrashInfo(head + line), std::nullopt) << line;
  }
}

}  // namespace
