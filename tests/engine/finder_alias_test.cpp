#include "engine/finder_alias.h"

#include "platform/strings.h"
#include "tests/support/program_test.h"

namespace {

class FinderAlias : public CProgramTest {
 protected:
  std::u16string Path(std::string_view relative) const {
    return CFStringCreateWithCString(files.PathOf(relative).c_str(), kCFStringEncodingUTF8).value();
  }
};

TEST_F(FinderAlias, LiesInTheFolderAndLeadsToTheFile) {
  files.WriteFile("A/B/c.txt", "kept");
  EXPECT_TRUE(MakeFinderAlias(Path("A/B/c.txt"), Path("A")));
  EXPECT_TRUE(MakeFinderAlias(Path("A/B/c.txt"), Path("A"))) << "with the same component";
  const std::string target = "-> " + files.PathOf("A/B/c.txt");
  EXPECT_EQ(files.Tree("A"),
            (CTemporaryFolder::Contents{
                {"B/", ""}, {"B/c.txt", "kept"}, {"c.txt", target}, {"c.txt alias", target}}));
}

TEST_F(FinderAlias, FailsWithoutATrace) {
  files.WriteFile("A/B/quo\"te", "kept");
  files.WriteFile("A/B/c", "kept");
  const auto before = files.Tree();
  EXPECT_FALSE(MakeFinderAlias(Path("A/B/quo\"te"), Path("A")));
  EXPECT_FALSE(MakeFinderAlias(Path("A/B/none"), Path("A")));
  EXPECT_FALSE(MakeFinderAlias(Path("A/B/c"), Path("A/none")));
  EXPECT_EQ(files.Tree(), before);
}

}  // namespace
