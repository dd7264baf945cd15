#include "platform/file_manager.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <string>

#include "platform/aliases.h"
#include "platform/linux/tree/folder_descriptors.h"
#include "tests/support/temporary_folder.h"

namespace {

class FileManager : public testing::Test {
 protected:
  FSRef RefAt(std::string_view relative) const {
    FSRef ref{};
    EXPECT_EQ(FSPathMakeRef(folder_.PathOf(relative).c_str(), &ref, nullptr), noErr) << relative;
    return ref;
  }

  static std::string PathOf(const FSRef &ref) {
    std::array<char, 4096> path{};
    EXPECT_EQ(FSRefMakePath(ref, path.data(), path.size()), noErr);
    return path.data();
  }

  CTemporaryFolder folder_;
};

TEST_F(FileManager, AnotherFolderInThePlaceOfOneIsNotTakenForIt) {
  folder_.WriteFile("dropped/sub/a", "a");
  const FSRef sub = RefAt("dropped/sub");
  const FSRef file = RefAt("dropped/sub/a");
  CloseFolderDescriptors();
  ASSERT_EQ(rename(folder_.PathOf("dropped/sub").c_str(), folder_.PathOf("away").c_str()), 0);
  folder_.WriteFile("dropped/sub/a", "another");
  for (const FSIteratorFlags flags : {kFSIterateFlat, kFSIterateScan, kFSIterateDelete}) {
    FSIterator iterator;
    EXPECT_EQ(FSOpenIterator(sub, flags, &iterator), noErr);
    EXPECT_NE(FSGetIteratorError(iterator), noErr);
  }
  FSRef moved{};
  EXPECT_NE(FSMoveObject(file, RefAt("dropped"), &moved), noErr);
  EXPECT_NE(FSDeleteObject(file), noErr);
  EXPECT_EQ(folder_.ReadFile("dropped/sub/a"), "another");
}

TEST_F(FileManager, APathIsLookedUpAfreshWhenItsFolderWasReplaced) {
  folder_.WriteFile("photos/a", "old");
  (void)RefAt("photos/a");
  ASSERT_EQ(rename(folder_.PathOf("photos").c_str(), folder_.PathOf("moved").c_str()), 0);
  folder_.WriteFile("photos/b", "new");
  (void)RefAt("photos/b");
  FSRef ref;
  EXPECT_EQ(FSPathMakeRef(folder_.PathOf("photos/a").c_str(), &ref, nullptr), fnfErr);
}

TEST_F(FileManager, OnlyTheAliasThatWasMadeIsMadeAnew) {
  folder_.WriteFile("a/file");
  FSRef alias{};
  ASSERT_EQ(MakeAliasFile(RefAt("a/file"), RefAt(""), &alias), noErr);
  EXPECT_EQ(RetargetAliasFile(alias, "/elsewhere", "/new"), fnfErr);
  EXPECT_EQ(RetargetAliasFile(alias, folder_.PathOf("a/file"), "/new"), noErr);
  EXPECT_EQ(folder_.Tree().at("file"), "-> /new");
  folder_.Remove("file");
  folder_.WriteFile("file", "somebody's");
  EXPECT_EQ(RetargetAliasFile(alias, "/new", "/newer"), fnfErr);
  EXPECT_EQ(folder_.Tree().at("file"), "somebody's");
}

TEST_F(FileManager, SpecificationsAndAliasesLeadBackToTheItem) {
  for (const std::string &name :
       {std::string("short"), std::string(63, 's'), std::string(64, 'l'), std::string(255, 'm')}) {
    folder_.WriteFile(name, "x");
    FSSpec spec;
    ASSERT_EQ(FSGetCatalogInfo(RefAt(name), kFSCatInfoNone, nullptr, nullptr, &spec, nullptr),
              noErr);
    FSRef back;
    ASSERT_EQ(FSpMakeFSRef(spec, &back), noErr);
    EXPECT_EQ(PathOf(back), folder_.PathOf(name));
    AliasHandle alias;
    EXPECT_EQ(NewAlias(nullptr, spec, &alias), noErr);
    folder_.Remove(name);
    EXPECT_EQ(FSpMakeFSRef(spec, &back), fnfErr);
    EXPECT_EQ(UpdateAlias(nullptr, spec, alias, nullptr), fnfErr);
  }
}

}  // namespace
