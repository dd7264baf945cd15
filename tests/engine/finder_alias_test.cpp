#include "engine/finder_alias.h"

#include <cstring>

#include "engine/script_runner.h"
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

TEST(ScriptRunner, DescribesTextAsPlainUnits) {
  AEDesc desc;
  ASSERT_EQ(MakeUnicodeTextDesc(u"a\u20AC", &desc), noErr);
  EXPECT_EQ(desc.descriptorType, typeUnicodeText);
  const char16_t units[] = {u'a', u'\u20AC'};
  ASSERT_EQ(desc.data.size(), sizeof units);
  EXPECT_EQ(std::memcmp(desc.data.data(), units, sizeof units), 0);

  OSAID script = 7;
  OpenScriptingComponent();
  EXPECT_EQ(CompileScriptSource(u"no script at all", &script), OSASyntaxError);
  EXPECT_EQ(script, kOSANullScript);
}

}  // namespace
