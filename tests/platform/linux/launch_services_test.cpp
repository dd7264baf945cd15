#include "platform/launch_services.h"

#include <gtest/gtest.h>
#include <plist/plist.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "platform/icons.h"
#include "platform/linux/packages/property_list.h"
#include "tests/support/temporary_folder.h"

namespace {

constexpr std::uint32_t kFolder = kLSItemInfoIsContainer;
constexpr std::uint32_t kPackage = kLSItemInfoIsContainer | kLSItemInfoIsPackage;
constexpr std::uint32_t kApplication = kLSItemInfoIsContainer | kLSItemInfoIsApplication;
constexpr std::uint32_t kBundledApplication = kPackage | kLSItemInfoIsApplication;

/// A property list whose package type is `type`, among enough else that counts need more bits.
std::string PropertyList(const char *type, bool isBinary) {
  plist_t root = plist_new_dict();
  for (unsigned i = 0; i < 300; ++i) {
    plist_dict_set_item(root, ("Key" + std::to_string(i)).c_str(), plist_new_uint(i + 1));
  }
  plist_dict_set_item(root, "CFBundlePackageType", plist_new_string(type));
  plist_dict_set_item(root, "CFBundleName", plist_new_string("APPL"));
  char *text = nullptr;
  std::uint32_t size = 0;
  (isBinary ? plist_to_bin : plist_to_xml)(root, &text, &size);
  std::string list(text, size);
  std::free(text);
  plist_free(root);
  return list;
}

class LaunchServices : public testing::Test {
 protected:
  /// The lists of package types are read once for the process, so they are there from the start.
  static void SetUpTestSuite() {
    config_ = std::make_unique<CTemporaryFolder>();
    setenv("XDG_CONFIG_DIRS", config_->PathOf("etc").c_str(), 1);
    setenv("XDG_CONFIG_HOME", config_->PathOf("home").c_str(), 1);
    config_->WriteFile("etc/vannerly/package-types", "# ours\n\n  projekt\t# with a comment\r\n");
    config_->WriteFile("home/vannerly/package-types", "\xC3\x84HNLICH");
  }
  static void TearDownTestSuite() { config_.reset(); }

  /// The flags of an item; 0, which no item has, when the call fails.
  std::uint32_t FlagsOf(std::string_view relative) const {
    FSRef ref{};
    if (FSPathMakeRef(folder_.PathOf(relative).c_str(), &ref, nullptr) != noErr) return 0;
    LSItemInfoRecord info{};
    return LSCopyItemInfoForRef(ref, kLSRequestBasicFlagsOnly, &info) == noErr ? info.flags : 0;
  }

  void MakeExecutable(std::string_view relative) const {
    folder_.WriteFile(relative, "#!/bin/sh\n");
    ASSERT_EQ(chmod(folder_.PathOf(relative).c_str(), 0755), 0);
  }

  static inline std::unique_ptr<CTemporaryFolder> config_;
  CTemporaryFolder folder_;
};

TEST_F(LaunchServices, BundlesAreToldByTheirPropertyList) {
  for (const bool isBinary : {false, true}) {
    folder_.WriteFile("a/Contents/Info.plist", PropertyList("APPL", isBinary));
    folder_.WriteFile("b/Contents/Info.plist", PropertyList("BNDL", isBinary));
    EXPECT_EQ(FlagsOf("a"), kBundledApplication);
    EXPECT_EQ(FlagsOf("b"), kPackage);
  }
  folder_.WriteFile("empty/Contents/Info.plist");
  folder_.WriteFile("large/Contents/Info.plist",
                    PropertyList("APPL", false) + std::string(1 << 20, ' '));
  folder_.MakeFolder("folder/Contents/Info.plist");
  folder_.MakeFolder("pipe/Contents");
  ASSERT_EQ(mkfifo(folder_.PathOf("pipe/Contents/Info.plist").c_str(), 0600), 0);
  folder_.MakeSymbolicLink("linked/Contents", "../a/Contents");
  folder_.MakeSymbolicLink("linkedlist/Contents/Info.plist", "../../a/Contents/Info.plist");
  folder_.MakeSymbolicLink("link", "a");
  EXPECT_EQ(FlagsOf("empty"), kPackage);
  EXPECT_EQ(FlagsOf("large"), kPackage);
  for (const char *plain : {"folder", "pipe", "linked", "linkedlist"}) {
    EXPECT_EQ(FlagsOf(plain), kFolder) << plain;
  }
  EXPECT_EQ(FlagsOf("link"), kLSItemInfoIsPlainFile);
  EXPECT_EQ(FlagsOf("a/Contents/Info.plist"), kLSItemInfoIsPlainFile);
}

TEST_F(LaunchServices, AppRunHasToBeAnExecutableFileInTheFolder) {
  MakeExecutable("real/AppRun");
  MakeExecutable("inside/usr/bin/program");
  folder_.MakeSymbolicLink("inside/AppRun", "usr/bin/program");
  MakeExecutable("Tool.rtfd/AppRun");
  folder_.WriteFile("plain/AppRun");
  folder_.MakeFolder("folder/AppRun");
  folder_.MakeSymbolicLink("outside/AppRun", "../real/AppRun");
  folder_.MakeSymbolicLink("absolute/AppRun", folder_.PathOf("real/AppRun"));
  folder_.MakeSymbolicLink("dangling/AppRun", "nothing");
  EXPECT_EQ(FlagsOf("real"), kApplication);
  EXPECT_EQ(FlagsOf("inside"), kApplication);
  EXPECT_EQ(FlagsOf("Tool.rtfd"), kBundledApplication);
  for (const char *name : {"plain", "folder", "outside", "absolute", "dangling"}) {
    EXPECT_EQ(FlagsOf(name), kFolder) << name;
  }
}

TEST_F(LaunchServices, DocumentPackagesAreToldByTypeOrBundleBit) {
  for (const char *name :
       {"n.rtfd", "n.PhotosLibrary", "a.b.XcodeProj", "n.Projekt", "n.\xC3\xA4hnlich", ".rtfd"}) {
    folder_.MakeFolder(name);
    EXPECT_EQ(FlagsOf(name), kPackage) << name;
  }
  for (const char *name : {"rtfd", "n.rtfdx", "n.rtfd.", "n.", "n.#", "n.with"}) {
    folder_.MakeFolder(name);
    EXPECT_EQ(FlagsOf(name), kFolder) << name;
  }
  folder_.WriteFile("file.rtfd");
  EXPECT_EQ(FlagsOf("file.rtfd"), kLSItemInfoIsPlainFile);

  folder_.MakeFolder("bit");
  std::string information(32, '\0');
  information[8] = 0x20;
  ASSERT_EQ(setxattr(folder_.PathOf("bit").c_str(), "user.com.apple.FinderInfo", information.data(),
                     information.size(), 0),
            0);
  EXPECT_EQ(FlagsOf("bit"), kPackage);
}

TEST_F(LaunchServices, AFolderThatCannotBeLookedIntoIsKeptWhole) {
  folder_.WriteFile("app/Contents/Info.plist", PropertyList("APPL", false));
  folder_.WriteFile("other/Contents/Info.plist", PropertyList("APPL", false));
  FSRef app{};
  ASSERT_EQ(FSPathMakeRef(folder_.PathOf("app").c_str(), &app, nullptr), noErr);
  EXPECT_EQ(FlagsOf("app"), kBundledApplication);
  EXPECT_EQ(FlagsOf("other"), kBundledApplication);
  rlimit limit{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  rlimit none = limit;
  none.rlim_cur = 0;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  LSItemInfoRecord info{};
  const OSStatus status = LSCopyItemInfoForRef(app, kLSRequestBasicFlagsOnly, &info);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  EXPECT_EQ(status, noErr);
  EXPECT_EQ(info.flags, kPackage);
}

TEST(PropertyLists, HostileOnesAreRefusedAtOnce) {
  const std::string_view key = "CFBundlePackageType";
  // Objects that each mention the next one twice: 2^60 objects when they are all written out.
  std::string list = "bplist00";
  std::string offsets;
  for (char i = 0; i < 60; ++i) {
    offsets += static_cast<char>(list.size());
    list += {'\xD1', static_cast<char>(i + 1), static_cast<char>(i + 1)};
  }
  const char table = static_cast<char>(list.size());
  const std::string trailer =
      std::string(6, '\0') + "\1\1" + std::string(7, '\0') + '\x3C' + std::string(15, '\0') + table;
  EXPECT_EQ(StringInPropertyList(list + offsets + trailer, key), std::nullopt);

  std::string deep = "<plist>";
  for (int i = 0; i < 100'000; ++i) deep += "<array>";
  EXPECT_EQ(StringInPropertyList(deep, key), std::nullopt);
}

TEST(Resources, AreFoundByNameAndExtension) {
  CFBundleRef bundle = CFBundleGetMainBundle();
  EXPECT_EQ(CFBundleCopyResourceURL(bundle, "No such thing", "icns"), std::nullopt);
  EXPECT_EQ(CFBundleCopyResourceURL(nullptr, "Vannerly", "icns"), std::nullopt);
  const auto icon = CFBundleCopyResourceURL(bundle, "Vannerly", "icns");
  ASSERT_TRUE(icon.has_value());
  FSRef ref{};
  EXPECT_TRUE(CFURLGetFSRef(*icon, &ref));
  EXPECT_FALSE(CFURLGetFSRef(*icon + "x", &ref));
}

}  // namespace
