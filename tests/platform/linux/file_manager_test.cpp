#include "platform/file_manager.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>
#include <utility>

#include "platform/linux/tree/folder_descriptors.h"
#include "platform/linux/tree/tree_memory.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/tree_change_fault.h"

namespace {

class FileManager : public testing::Test {
 protected:
  void TearDown() override {
    SetTreeChangeFault(nullptr);
    // What the faults said of the volume is not so.
    Memory().BeginRun();
  }

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

  static OSErr NodeFlags(const FSRef &ref, std::uint16_t *flags) {
    FSCatalogInfo info{};
    const OSErr error =
        FSGetCatalogInfo(ref, kFSCatInfoNodeFlags, &info, nullptr, nullptr, nullptr);
    *flags = info.nodeFlags;
    return error;
  }

  CTemporaryFolder folder_;
};

TEST_F(FileManager, WithoutSafeRenamesAndHardLinksOnlyPlaceHoldersAreReplaced) {
  folder_.WriteFile("to/taken", "old");
  folder_.WriteFile("from/taken", "new");
  folder_.WriteFile("from/free", "free");
  folder_.WriteFile("from/package.app/inside", "inside");
  folder_.MakeSymbolicLink("from/link", "nowhere");
  folder_.MakeFolder("to/empty");
  folder_.MakeFolder("from/empty");
  // The plain rename, which comes after the name has been taken, passes.
  static bool isHeld;
  isHeld = false;
  SetTreeChangeFault([](const TreeChange &change) {
    if (change.Word() == "link") return EPERM;
    if (change.Word() == "rename") return std::exchange(isHeld, false) ? 0 : EOPNOTSUPP;
    isHeld = change.Word() == "hold";
    return 0;
  });
  const FSRef to = RefAt("to");
  FSRef moved{};
  for (const auto &[name, expected] : {std::pair{"from/taken", dupFNErr},
                                       {"from/empty", dupFNErr},
                                       {"from/free", noErr},
                                       {"from/link", noErr},
                                       {"from/package.app", noErr}}) {
    EXPECT_EQ(FSMoveObject(RefAt(name), to, &moved), expected) << name;
  }
  EXPECT_EQ(folder_.Tree(), (CTemporaryFolder::Contents{{"from/", ""},
                                                        {"from/empty/", ""},
                                                        {"from/taken", "new"},
                                                        {"to/", ""},
                                                        {"to/empty/", ""},
                                                        {"to/free", "free"},
                                                        {"to/link", "-> nowhere"},
                                                        {"to/package.app/", ""},
                                                        {"to/package.app/inside", "inside"},
                                                        {"to/taken", "old"}}));
}

TEST_F(FileManager, ASwappedFolderIsRefusedNeverFollowed) {
  folder_.WriteFile("guarded/secret", "secret");
  folder_.WriteFile("dropped/sub/a", "a");
  for (const bool isLink : {true, false}) {
    const FSRef sub = RefAt("dropped/sub");
    const FSRef file = RefAt("dropped/sub/a");
    CloseFolderDescriptors();
    ASSERT_EQ(rename(folder_.PathOf("dropped/sub").c_str(), folder_.PathOf("away").c_str()), 0);
    if (isLink) {
      folder_.MakeSymbolicLink("dropped/sub", folder_.PathOf("guarded"));
    } else {
      folder_.WriteFile("dropped/sub/a", "another");
    }
    for (const FSIteratorFlags flags : {kFSIterateFlat, kFSIterateScan, kFSIterateDelete}) {
      FSIterator iterator;
      EXPECT_EQ(FSOpenIterator(sub, flags, &iterator), noErr);
      EXPECT_NE(FSGetIteratorError(iterator), noErr);
      std::uint32_t count = 1;
      EXPECT_NE(FSGetCatalogInfoBulk(iterator, 1, &count, nullptr, kFSCatInfoNone, nullptr, nullptr,
                                     nullptr, nullptr),
                noErr);
      EXPECT_EQ(count, 0u);
    }
    FSRef moved{};
    EXPECT_NE(FSMoveObject(file, RefAt("dropped"), &moved), noErr);
    std::uint16_t flags = 0;
    EXPECT_EQ(NodeFlags(sub, &flags), fnfErr);
    folder_.Remove("dropped/sub");
    ASSERT_EQ(rename(folder_.PathOf("away").c_str(), folder_.PathOf("dropped/sub").c_str()), 0);
  }
  EXPECT_EQ(folder_.ReadFile("guarded/secret"), "secret");
  FSRef throughLink;
  folder_.MakeSymbolicLink("link", "dropped");
  EXPECT_EQ(FSPathMakeRef(folder_.PathOf("link/sub").c_str(), &throughLink, nullptr), dirNFErr);
  bool isFolder = true;
  EXPECT_EQ(FSPathMakeRef(folder_.PathOf("link").c_str(), &throughLink, &isFolder), noErr);
  EXPECT_FALSE(isFolder);
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
  FSRef nothing{};
  FSRef back;
  EXPECT_EQ(FSpMakeFSRef(FSSpec{}, &back), paramErr);
  EXPECT_EQ(FSGetCatalogInfo(nothing, kFSCatInfoNone, nullptr, nullptr, nullptr, nullptr),
            paramErr);
  EXPECT_EQ(FSMoveObject(nothing, RefAt(""), &back), paramErr);
  EXPECT_EQ(FSDeleteObject(nothing), paramErr);
}

}  // namespace
