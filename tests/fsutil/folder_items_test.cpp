#include "fsutil/folder_items.h"

#include <gtest/gtest.h>

#include <cstring>

#include "fsutil/item_info.h"
#include "tests/support/temporary_folder.h"

namespace {

FSRef RefOf(const std::string &path) {
  FSRef ref{};
  EXPECT_EQ(FSPathMakeRef(path.c_str(), &ref, nullptr), noErr) << path;
  return ref;
}

TEST(FolderItems, LeavesNothingInTheListOnFailure) {
  const CTemporaryFolder folder;
  folder.WriteFile("file");
  std::vector<FSRef> items(3);
  bool changed = false;
  EXPECT_EQ(GetFolderItemRefs(RefOf(folder.PathOf("file")), &items, &changed), dirNFErr);
  EXPECT_TRUE(items.empty());
  EXPECT_EQ(GetFolderItemRefs(RefOf(folder.Path()), nullptr, &changed), paramErr);
  EXPECT_EQ(GetFolderItemRefs(RefOf(folder.Path()), &items, nullptr), paramErr);
}

TEST(ItemInfo, RootFolderHasNoParent) {
  FSRef parent;
  ASSERT_EQ(GetParentFolderRef(RefOf("/"), &parent), noErr);
  const FSRef nothing{};
  EXPECT_EQ(std::memcmp(&parent, &nothing, sizeof parent), 0);
  EXPECT_EQ(GetParentFolderRef(RefOf("/"), nullptr), paramErr);

  const CTemporaryFolder folder;
  folder.WriteFile("file");
  ASSERT_EQ(GetParentFolderRef(RefOf(folder.PathOf("file")), &parent), noErr);
  EXPECT_EQ(FSCompareFSRefs(parent, RefOf(folder.Path())), noErr);
}

TEST(ItemInfo, NameThatCannotBeRuledOutIsTaken) {
  const CTemporaryFolder folder;
  folder.WriteFile("taken");
  const FSRef ref = RefOf(folder.Path());
  FSRef found;
  EXPECT_TRUE(FindItemInFolder(ref, u"taken", &found));
  EXPECT_FALSE(FindItemInFolder(ref, u"free", &found));
  EXPECT_TRUE(FindItemInFolder(ref, std::u16string(255, u'\u20AC'), &found))
      << "a name that is too long for the volume cannot be looked up";
}

}  // namespace
