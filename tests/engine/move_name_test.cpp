#include "engine/move_name.h"

#include "fsutil/item_info.h"
#include "tests/support/program_test.h"

namespace {

class MoveName : public CProgramTest {
 protected:
  /// The name found for a file when the folder above it holds that name too, with each UUID as
  /// "U".
  std::string NameFor(const std::string &name) {
    files.WriteFile("top/" + name);
    files.WriteFile("top/sub/" + name);
    const auto found = MakeUniqueMoveName(Ref("top"), Ref("top/sub/" + name));
    if (!found) return "none";
    std::string text;
    for (const char16_t unit : *found) {
      text += unit < 0x80 ? std::string(1, static_cast<char>(unit)) : "?";
    }
    return WithoutIdentifiers(text);
  }
};

TEST_F(MoveName, PutsAnIdentifierBetweenBaseAndExtension) {
  for (const auto &[name, expected] : {std::pair{"photo.jpg", "photo - U.jpg"},
                                       {"README", "README - U"},
                                       {"X.app", "X - U.app"},
                                       {"IMG.JPG", "IMG - U.JPG"},
                                       {"a.tar.gz", "a.tar - U.gz"},
                                       {"a.b.b", "a.b - U.b"},
                                       {".profile", "U.profile"},
                                       {"dot.", "dot. - U"},
                                       {"caf\xC3\xA9.\xC3\xA9", "caf? - U.?"}}) {
    EXPECT_EQ(NameFor(name), expected);
  }
}

TEST_F(MoveName, IsNoneWhileTheOwnNameIsFree) {
  files.WriteFile("top/sub/file");
  EXPECT_FALSE(MakeUniqueMoveName(Ref("top"), Ref("top/sub/file")));
}

TEST_F(MoveName, IsDifferentEveryTime) {
  files.WriteFile("top/a");
  files.WriteFile("top/sub/a");
  const auto first = MakeUniqueMoveName(Ref("top"), Ref("top/sub/a"));
  const auto second = MakeUniqueMoveName(Ref("top"), Ref("top/sub/a"));
  ASSERT_TRUE(first && second);
  EXPECT_NE(*first, *second);
}

}  // namespace
