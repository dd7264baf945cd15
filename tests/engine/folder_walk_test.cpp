#include "engine/folder_walk.h"

#include <sys/stat.h>

#include "fsutil/item_info.h"
#include "tests/support/program_test.h"

namespace {

/// What a walk has seen: each item as its level and its name.
struct Visits {
  std::vector<std::string> items;
  std::string stopAt;
};

bool NoteVisit(bool, std::uint32_t level, const FSCatalogInfo *, const FSRef *ref, const FSSpec *,
               const HFSUniStr255 *, void *userData) {
  auto &visits = *static_cast<Visits *>(userData);
  std::string text;
  HFSUniStr255 itemName;
  EXPECT_TRUE(CopyItemName(*ref, &itemName));
  for (const char16_t unit : itemName.View()) text += static_cast<char>(unit);
  visits.items.push_back(std::to_string(level) + text);
  return text == visits.stopAt;
}

class FolderWalk : public CProgramTest {
 protected:
  FolderWalk() {
    files.WriteFile("top/a/deep/1");
    files.WriteFile("top/a/deep/2");
    files.WriteFile("top/b");
    files.WriteFile("top/c.app/3");
    files.WriteFile("top/d");
  }

  std::vector<std::string> Walk(std::string_view folder, std::uint32_t maxLevels = 0,
                                DescendMode mode = kDescendAll) {
    visits.items.clear();
    result = IterateFolderTree(Ref(folder), maxLevels, kFSCatInfoNone, false, false, mode,
                               NoteVisit, &visits);
    return visits.items;
  }

  using List = std::vector<std::string>;
  Visits visits;
  OSErr result = noErr;
};

TEST_F(FolderWalk, GoesDeepFirstInOrder) {
  EXPECT_EQ(Walk("top"), (List{"1a", "2deep", "31", "32", "1b", "1c.app", "23", "1d"}));
  EXPECT_EQ(Walk("top", 0, 99), (List{"1a", "2deep", "31", "32", "1b", "1c.app", "23", "1d"}));
  EXPECT_EQ(Walk("top", 1), (List{"1a", "1b", "1c.app", "1d"}));
  EXPECT_EQ(Walk("top", 2), (List{"1a", "2deep", "1b", "1c.app", "23", "1d"}));
  EXPECT_EQ(result, noErr);
  EXPECT_EQ(IterateFolderTree(Ref("top"), 0, 0, false, false, kDescendAll, nullptr, nullptr),
            paramErr);
}

TEST_F(FolderWalk, EntersOnlyWhatTheModeAllows) {
  files.WriteFile("top/e/AppRun");
  ASSERT_EQ(chmod(files.PathOf("top/e/AppRun").c_str(), 0755), 0);
  EXPECT_EQ(Walk("top", 0, kDescendSkipPackages),
            (List{"1a", "2deep", "31", "32", "1b", "1c.app", "1d", "1e"}));
  EXPECT_EQ(Walk("top", 0, kDescendSkipApplications),
            (List{"1a", "2deep", "31", "32", "1b", "1c.app", "23", "1d", "1e"}));
  EXPECT_EQ(Walk("top/c.app", 0, kDescendSkipPackages), List{}) << "the start is tested too";
  EXPECT_EQ(result, noErr);
}

TEST_F(FolderWalk, StopsOnEveryLevelWhenTheFilterSaysSo) {
  visits.stopAt = "1";
  EXPECT_EQ(Walk("top"), (List{"1a", "2deep", "31"}));
  EXPECT_EQ(result, noErr);
  visits.stopAt = "a";
  EXPECT_EQ(Walk("top"), (List{"1a"})) << "a folder at which the walk stops is not entered";
}

}  // namespace
