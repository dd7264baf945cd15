#include "platform/scripting.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "platform/posix/disk_names.h"
#include "platform/posix/tree_changes.h"
#include "tests/support/temporary_folder.h"

namespace {

class Scripting : public testing::Test {
 protected:
  void TearDown() override { SetTreeChangeFault(nullptr); }

  OSStatus Compile(std::u16string_view source, OSAID *script) const {
    AEDesc text;
    EXPECT_EQ(AECreateDesc(typeUnicodeText, source.data(), source.size() * 2, &text), noErr);
    return OSACompile(component_, text, kOSAModeNull, script);
  }

  OSStatus Run(std::u16string_view source) const {
    OSAID script = kOSANullScript;
    OSAID result = kOSANullScript;
    OSStatus status = Compile(source, &script);
    if (status == noErr) {
      status = OSAExecute(component_, script, kOSANullScript, kOSAModeNull, &result);
    }
    EXPECT_EQ(OSADispose(component_, script), noErr);
    return status;
  }

  /// The script that makes an alias of `file` in `folder`, both as they stand in a literal.
  static std::u16string Script(std::string_view file, std::string_view folder) {
    return u"tell application \"Finder\" \rmake new alias file at  POSIX file \"" +
           TextFromDisk(folder) + u"\" to POSIX file \"" + TextFromDisk(file) + u"\" \r end tell";
  }

  OSStatus MakeAlias(std::string_view file, std::string_view folder) const {
    return Run(Script(folder_.PathOf(file), folder_.PathOf(folder)));
  }

  ComponentInstance component_ = OpenDefaultComponent(FourChars("osa "), FourChars("ascr"));
  CTemporaryFolder folder_;
};

TEST_F(Scripting, WhatCannotBeMadeIsAScriptError) {
  folder_.WriteFile("a/file");
  folder_.WriteFile("other");
  EXPECT_EQ(MakeAlias("a/missing", ""), errOSAScriptError);
  EXPECT_EQ(MakeAlias("a/file", "missing"), errOSAScriptError);
  EXPECT_EQ(MakeAlias("a/file", "other"), errOSAScriptError);
  SetTreeChangeFault([](const TreeChange &) { return ENOSPC; });
  EXPECT_EQ(MakeAlias("a/file", ""), errOSAScriptError);
  EXPECT_EQ(folder_.Tree(),
            (CTemporaryFolder::Contents{{"a/", ""}, {"a/file", ""}, {"other", ""}}));
}

TEST_F(Scripting, OnlyTheOneCommandCompiles) {
  OSAID script = kOSANullScript;
  for (const char16_t *good :
       {u"tell application \"Finder\"\nmake new alias file at POSIX file \"\" to POSIX file \"\"\n"
        "end tell",
        u"\r\n TELL\tApplication\"Finder\"\r\n\r\n  make  NEW alias file at posix FILE\"a\"to "
        u"POSIX "
        "file \"b\"\r\n\r\nEnd Tell\r\n \n"}) {
    EXPECT_EQ(Compile(good, &script), noErr);
    EXPECT_EQ(OSADispose(component_, script), noErr);
  }
  const std::u16string tell = u"tell application \"Finder\"\r";
  const std::u16string make = u"make new alias file at POSIX file \"a\" to POSIX file \"b\"\r";
  for (const std::u16string &bad :
       {std::u16string(), tell, tell + make, tell + make + u"end", tell + make + u"end tell x",
        tell + make + make + u"end tell", u"x" + tell + make + u"end tell",
        tell + u"delete POSIX file \"b\"\rend tell", tell + make + u"endtell",
        u"tell application \"Terminal\"\r" + make + u"end tell",
        u"tell application \"Finder\" " + make + u"end tell",
        tell + u"make new alias files at POSIX file \"a\" to POSIX file \"b\"\rend tell"}) {
    script = 99;
    EXPECT_EQ(Compile(bad, &script), OSASyntaxError);
    EXPECT_EQ(script, 99u);
  }
}

TEST_F(Scripting, ScriptsLiveUntilTheyAreDisposedOf) {
  folder_.WriteFile("in/a");
  folder_.WriteFile("in/b");
  OSAID first = kOSANullScript;
  OSAID second = kOSANullScript;
  OSAID result = kOSANullScript;
  EXPECT_EQ(Compile(Script(folder_.PathOf("in/a"), folder_.Path()), &first), noErr);
  EXPECT_EQ(Compile(Script(folder_.PathOf("in/b"), folder_.Path()), &second), noErr);
  EXPECT_EQ(OSADispose(component_, first), noErr);
  EXPECT_EQ(OSADispose(component_, kOSANullScript), noErr);
  EXPECT_NE(OSAExecute(component_, first, kOSANullScript, kOSAModeNull, &result), noErr);
  EXPECT_EQ(OSAExecute(component_, second, kOSANullScript, kOSAModeNull, &result), noErr);
  EXPECT_EQ(OSADispose(component_, second), noErr);
  EXPECT_FALSE(folder_.Exists("a"));
  EXPECT_TRUE(folder_.Exists("b"));

  EXPECT_EQ(OpenDefaultComponent(FourChars("osa "), FourChars("java")), nullptr);
  EXPECT_EQ(OSACompile(nullptr, AEDesc(), kOSAModeNull, &first), paramErr);
}

}  // namespace
