#include "engine/collate.h"

#include "tests/support/program_test.h"

namespace {

using Collate = CProgramTest;

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
