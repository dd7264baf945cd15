#include <gtest/gtest.h>

#include <cerrno>

#include "platform/aliases.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/tree_change_fault.h"

namespace {

class AliasFiles : public testing::Test {
 protected:
  void TearDown() override { SetTreeChangeFault(nullptr); }

  FSRef RefAt(std::string_view path) const {
    FSRef ref{};
    EXPECT_EQ(FSPathMakeRef(folder_.PathOf(path).c_str(), &ref, nullptr), noErr) << path;
    return ref;
  }

  OSErr MakeAlias(std::string_view file, std::string_view folder = "") {
    return MakeAliasFile(RefAt(file), RefAt(folder), &alias_);
  }

  CTemporaryFolder folder_;
  FSRef alias_{};
};

TEST_F(AliasFiles, WhatCannotBeMadeLeavesNothing) {
  folder_.WriteFile("a/file");
  folder_.WriteFile("other");
  const FSRef gone = RefAt("other");
  EXPECT_EQ(MakeAlias("a/file", "other"), dirNFErr);
  folder_.Remove("other");
  EXPECT_EQ(MakeAliasFile(gone, RefAt("a"), &alias_), fnfErr);
  SetTreeChangeFault([](const TreeChange &) { return ENOSPC; });
  EXPECT_EQ(MakeAlias("a/file"), dskFulErr);
  EXPECT_EQ(folder_.Tree(), (CTemporaryFolder::Contents{{"a/", ""}, {"a/file", ""}}));
}

TEST_F(AliasFiles, OnlyTheLinkThatWasMadeIsMadeAnew) {
  folder_.WriteFile("a/file");
  ASSERT_EQ(MakeAlias("a/file"), noErr);
  EXPECT_EQ(RetargetAliasFile(alias_, "/elsewhere", "/new"), fnfErr);
  EXPECT_EQ(RetargetAliasFile(alias_, folder_.PathOf("a/file"), "/new"), noErr);
  EXPECT_EQ(folder_.Tree().at("file"), "-> /new");
  folder_.Remove("file");
  folder_.WriteFile("file", "somebody's");
  EXPECT_EQ(RetargetAliasFile(alias_, "/new", "/newer"), fnfErr);
  EXPECT_EQ(folder_.Tree().at("file"), "somebody's");
}

}  // namespace
