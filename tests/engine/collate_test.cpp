#include "engine/collate.h"

#include "tests/support/program_test.h"

namespace {

using Collate = CProgramTest;
using Contents = CTemporaryFolder::Contents;

TEST_F(Collate, SortsItemsByTheirExtensionAsSpelled) {
  files.WriteFile("top/a.jpg", "1");
  files.WriteFile("top/b.jpg", "2");
  files.WriteFile("top/c.JPG", "3");
  files.WriteFile("top/archive.tar.gz", "4");
  files.WriteFile("top/X.app/inside", "5");
  files.WriteFile("top/\xFF.\xFE", "bytes that are no text");
  files.WriteFile("top/README", "stays");
  files.WriteFile("top/dot.", "stays");
  files.WriteFile("top/.DS_Store", "stays");
  files.WriteFile("top/.hidden.jpg", "stays");
  files.WriteFile("top/folder/d.jpg", "stays");
  const Contents sorted = {{".DS_Store", "stays"},
                           {".hidden.jpg", "stays"},
                           {"JPG/", ""},
                           {"JPG/c.JPG", "3"},
                           {"README", "stays"},
                           {"app/", ""},
                           {"app/X.app/", ""},
                           {"app/X.app/inside", "5"},
                           {"dot.", "stays"},
                           {"folder/", ""},
                           {"folder/d.jpg", "stays"},
                           {"gz/", ""},
                           {"gz/archive.tar.gz", "4"},
                           {"jpg/", ""},
                           {"jpg/a.jpg", "1"},
                           {"jpg/b.jpg", "2"},
                           {"\xFE/", ""},
                           {"\xFE/\xFF.\xFE", "bytes that are no text"}};
  CollateFilesByExtension(Ref("top"));
  EXPECT_EQ(files.Tree("top"), sorted);
  CollateFilesByExtension(Ref("top"));
  EXPECT_EQ(files.Tree("top"), sorted) << "what is sorted stays sorted";
}

TEST_F(Collate, NothingIsReplacedOrRenamed) {
  files.WriteFile("top/a.jpg", "new");
  files.WriteFile("top/b.jpg", "new");
  files.WriteFile("top/jpg/a.jpg", "old");
  files.WriteFile("top/c.pdf", "stays");
  files.WriteFile("top/pdf", "a file that bears the name of an extension");
  CollateFilesByExtension(Ref("top"));
  EXPECT_EQ(files.Tree("top"), (Contents{{"a.jpg", "new"},
                                         {"c.pdf", "stays"},
                                         {"jpg/", ""},
                                         {"jpg/a.jpg", "old"},
                                         {"jpg/b.jpg", "new"},
                                         {"pdf", "a file that bears the name of an extension"}}));
}

TEST_F(Collate, PathsTooLongForItsBufferStay) {
  // A path of more than 2047 bytes, though every name and the folder itself could be reached.
  const std::string level(200, 'x');
  std::string folder = level;
  while (files.PathOf(folder).size() < 2040) folder += "/" + level;
  files.WriteFile(folder + "/a.jpg", "stays");
  FSRef ref = Ref();
  for (std::size_t i = 0; i < folder.size(); i += level.size() + 1) {
    FSRef next;
    ASSERT_EQ(FSMakeFSRefUnicode(ref, std::u16string(200, u'x'), kTextEncodingUnknown, &next),
              noErr);
    ref = next;
  }
  CollateFilesByExtension(ref);
  EXPECT_EQ(files.ReadFile(folder + "/a.jpg"), "stays");
}

}  // namespace
