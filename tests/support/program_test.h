/// A test of the program on real files, with a preference store and a main window of its own.
#pragma once

#include <gtest/gtest.h>

#include <string_view>
#include <vector>

#include "platform/file_manager.h"
#include "platform/preferences.h"
#include "tests/support/recorder.h"
#include "tests/support/temporary_folder.h"

class CProgramTest : public testing::Test {
 protected:
  /// Empties the store, begins the recorder and the program's state anew and builds the window.
  CProgramTest();
  ~CProgramTest() override;

  /// Refers to an existing item of `files`; fails the test when it cannot.
  FSRef Ref(std::string_view relative = {}) const;

  /// Runs one flattening of these items, as if they had been dropped.
  void Flatten(const std::vector<std::string_view> &dropped);

  /// The texts that status line 1 or 2 has shown, in order.
  static std::vector<std::string> TextsOfLine(int line);

  CTemporaryFolder home;
  CTemporaryFolder files;
};

void SetPreference(std::string_view key, const CFPreferenceValue &value);
