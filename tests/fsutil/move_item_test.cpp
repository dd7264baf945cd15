#include "fsutil/move_item.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>

#include "tests/support/temporary_folder.h"
#include "tests/support/tree_change_fault.h"

namespace {

/// What every change is asked before it is made; the argument is its number, 1 for the first.
std::function<int(int, const TreeChange &)> fault;
int changes = 0;

class MoveItem : public testing::Test {
 protected:
  MoveItem() {
    changes = 0;
    fault = nullptr;
    SetTreeChangeFault([](const TreeChange &change) {
      ++changes;
      return fault ? fault(changes, change) : 0;
    });
    folder.WriteFile("to/a.txt", "upper");
    folder.WriteFile("to/sub/a.txt", "lower");
  }
  ~MoveItem() override { SetTreeChangeFault(nullptr); }

  FSRef Ref(std::string_view relative) const {
    FSRef ref{};
    EXPECT_EQ(FSPathMakeRef(folder.PathOf(relative).c_str(), &ref, nullptr), noErr) << relative;
    return ref;
  }

  OSErr Move(std::optional<std::u16string_view> newName) {
    return MoveItemWithNewName(Ref("to/sub/a.txt"), Ref("to"), newName, kTextEncodingUnknown,
                               &result);
  }

  std::string PathOfResult() const {
    char path[4096] = "";
    EXPECT_EQ(FSRefMakePath(result, path, sizeof path), noErr);
    return path;
  }

  CTemporaryFolder folder;
  FSRef result{};
  std::vector<std::string> movedNames;  ///< for a fault to note them
};

TEST_F(MoveItem, IsReferredToWhereItIsWhetherItMovesOrNot) {
  const auto before = folder.Tree();
  const std::u16string tooLong(255, u'\u20AC');
  using Name = std::optional<std::u16string_view>;
  for (const auto &[name, error] : {std::pair<Name, OSErr>{std::nullopt, dupFNErr},
                                    {u"a.txt", dupFNErr},
                                    {tooLong, bdNamErr},
                                    {u"no/name", bdNamErr}}) {
    EXPECT_EQ(Move(name), error);
    EXPECT_EQ(folder.Tree(), before);
    EXPECT_EQ(PathOfResult(), folder.PathOf("to/sub/a.txt"));
  }
  ASSERT_EQ(Move(u"a - new.txt"), noErr);
  EXPECT_EQ(folder.Tree("to"), (CTemporaryFolder::Contents{
                                   {"a - new.txt", "lower"}, {"a.txt", "upper"}, {"sub/", ""}}));
  EXPECT_EQ(PathOfResult(), folder.PathOf("to/a - new.txt"));
}

TEST_F(MoveItem, FailingStepIsUndone) {
  const auto before = folder.Tree();
  // Temporary name, move, final name; each failure is followed by the undoing of those before.
  for (const auto &[failing, changesInAll] : {std::pair{1, 1}, {2, 3}, {3, 5}}) {
    changes = 0;
    fault = [failing = failing](int number, const TreeChange &) {
      return number == failing ? ENOSPC : 0;
    };
    EXPECT_EQ(Move(u"b.txt"), dskFulErr) << failing;
    EXPECT_EQ(changes, changesInAll) << failing;
    EXPECT_EQ(folder.Tree(), before) << failing;
    EXPECT_EQ(PathOfResult(), folder.PathOf("to/sub/a.txt")) << failing;
  }
}

TEST_F(MoveItem, TemporaryNameIsFreeInBothFolders) {
  folder.WriteFile("to/sub/517A7274", "in source");
  folder.WriteFile("to/517A7275", "in destination");
  fault = [this](int, const TreeChange &change) {
    movedNames.push_back(change.name);
    return 0;
  };
  ASSERT_EQ(Move(u"b.txt"), noErr);
  EXPECT_EQ(movedNames, (std::vector<std::string>{"a.txt", "517A7276", "517A7276"}));
  EXPECT_EQ(folder.ReadFile("to/sub/517A7274"), "in source");
  EXPECT_EQ(folder.ReadFile("to/517A7275"), "in destination");
  EXPECT_EQ(folder.ReadFile("to/b.txt"), "lower");
}

TEST_F(MoveItem, TemporaryNamesWrapAndEndPastTheFreeOne) {
  folder.WriteFile("to/FFFFFFFF");
  std::uint32_t counter = 0xFFFFFFFF;
  HFSUniStr255 name;
  ASSERT_EQ(FindFreeTemporaryName(&counter, Ref("to/sub"), Ref("to"), &name), noErr);
  EXPECT_EQ(name.View(), u"00000000");
  EXPECT_EQ(counter, 1u);
}

}  // namespace
