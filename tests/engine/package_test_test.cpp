#include "engine/package_test.h"

#include "tests/support/program_test.h"

namespace {

using PackageTest = CProgramTest;

TEST_F(PackageTest, NamesAndContentsDecide) {
  files.MakeFolder("Tool.APP");
  files.MakeFolder("Helper.Bundle");
  files.MakeFolder("a.b.framework");
  files.MakeFolder("x.plugin");
  files.WriteFile("file.kext");
  files.MakeFolder("plugins");
  files.MakeFolder("x.plugins");
  files.MakeFolder("app");
  files.MakeFolder("app.");
  files.MakeFolder("x.ap");
  files.WriteFile("Named/Contents/Info.plist",
                  "<plist version=\"1.0\"><dict><key>CFBundlePackageType</key>"
                  "<string>APPL</string></dict></plist>");
  for (const auto &[name, isPackage] : {std::pair{"Tool.APP", true},
                                        {"Helper.Bundle", true},
                                        {"a.b.framework", true},
                                        {"x.plugin", true},
                                        {"file.kext", true},
                                        {"plugins", false},
                                        {"x.plugins", false},
                                        {"app", false},
                                        {"app.", false},
                                        {"x.ap", false},
                                        {"Named", true}}) {
    EXPECT_EQ(IsPackage(Ref(name)), isPackage) << name;
  }
  EXPECT_TRUE(IsApplication(Ref("Named")));
  EXPECT_TRUE(IsPackageOrApplication(Ref("Named")));
  EXPECT_FALSE(HasPackageExtension(Ref("Named")));
  EXPECT_FALSE(IsApplication(Ref("Tool.APP"))) << "a name alone makes no application";
}

}  // namespace
