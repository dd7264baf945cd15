#include "app/preview.h"

#include <algorithm>
#include <functional>
#include <nlohmann/json.hpp>
#include <utility>

#include "app/own_events.h"
#include "engine/flatten_run.h"
#include "platform/plan.h"
#include "tests/app/results_list.h"
#include "tests/support/program_test.h"

namespace {

using List = std::vector<std::string>;

class PreviewTest : public CProgramTest {
 protected:
  PreviewTest() {
    static const bool isInstalled = (InstallPreviews(), true);
    (void)isInstalled;
    WatchRunsOnce();
    (void)AEInstallEventHandler(kCoreEventClass, kAEOpenDocuments, HandleOpenOrPreview, 0, false);
    FlattenRun.askFirst = AskFirst::kBeforeWork;
    files.WriteFile("drop/a.txt", "1");
    files.WriteFile("drop/sub/a.txt", "2");
    files.WriteFile("drop/sub/a.pdf", "3");
    files.WriteFile("drop/sub/deep/a.txt", "4");
    files.WriteFile("drop/sub/deep/b", "5");
  }
  ~PreviewTest() override {
    if (IsShown()) Results().Close();
  }

  static bool IsShown() { return Recorder().Results() != nullptr; }

  void Send(AEEventID eventID, const List &folders) {
    AEDescList items;
    ASSERT_EQ(AECreateList(nullptr, 0, false, &items), noErr);
    for (const std::string &folder : folders) {
      const FSRef ref = Ref(folder);
      ASSERT_EQ(AEPutPtr(&items, 0, typeFSRef, &ref, sizeof ref), noErr);
    }
    ASSERT_EQ(SendItemsToSelf(eventID, items), noErr);
    Recorder().RunEventLoop();
  }

  /// Sends the event, and opens the window if it is asked for.
  void Preview(const List &folders = {"drop"}, AEEventID eventID = kAEPreviewDocuments) {
    const bool wasShown = IsShown();
    Send(eventID, folders);
    if (!IsShown()) return;
    if (!wasShown) Results().Open([] {});
    (void)Follow();
  }

  /// Presses Flatten.
  static void CarryOut() {
    Results().CarryOut();
    Recorder().RunEventLoop();
    (void)Follow();
  }

  static bool IsFlattenOffered() {
    const auto question = Results().Question();
    return question && question->canBeCarriedOut;
  }
};

TEST_F(PreviewTest, WhatIsShownIsDoneWhenTheUserSaysSo) {
  SetPreference("DeleteEmptiedFolders", true);
  SetPreference("AggregateFilesWhenDone", true);
  SetPreference("QuitWhenDone", true);
  const auto before = files.Tree();
  Preview();
  EXPECT_EQ(files.Tree(), before);
  List rows = Rows();
  std::ranges::sort(rows);
  EXPECT_EQ(rows, (List{"a - UUID.txt | would be collated | txt/a - UUID.txt",
                        "a - UUID.txt | would be collated | txt/a - UUID.txt",
                        "a.pdf | would be collated | pdf/a.pdf",
                        "a.txt | would be collated | txt/a.txt", "pdf | folder would be made | ",
                        "sub | folder would be deleted | ", "sub/a.pdf | would be moved | a.pdf",
                        "sub/a.txt | would be moved and renamed | a - UUID.txt",
                        "sub/deep | folder would be deleted | ",
                        "sub/deep/a.txt | would be moved and renamed | a - UUID.txt",
                        "sub/deep/b | would be moved | b", "txt | folder would be made | "}));
  EXPECT_EQ(Results().PathOf(0), files.PathOf("drop/sub/a.pdf")) << "where it is now";
  const auto question = Results().Question();
  ASSERT_TRUE(question);
  EXPECT_EQ(
      question->summary,
      "4 files would be moved, 2 of them under new names, 2 folders would be deleted, 4 items "
      "would be collated.");
  EXPECT_EQ(question->notice, "");
  EXPECT_TRUE(Recorder().CallsBeginningWith("ExitToShell").empty());
  EXPECT_TRUE(Recorder().CallsBeginningWith("SetControlData 1 \"Moving").empty());
  EXPECT_TRUE(Recorder().CallsBeginningWith("SetControlData 1 \"Deleting").empty());

  std::string saved;
  EXPECT_TRUE(Results().Save(ResultFormat::kJson, [&saved](std::string_view text) {
    saved += text;
    return true;
  }));
  const auto document = nlohmann::json::parse(saved);
  EXPECT_EQ(document["preview"], true);
  EXPECT_EQ(document["folders"][0]["changes"].size(), rows.size());
  EXPECT_EQ(document["folders"][0]["counts"]["moved"], 4);

  Results().CarryOut();
  EXPECT_FALSE(IsFlattenOffered()) << "twice";
  EXPECT_THROW(Recorder().RunEventLoop(), ExitedToShell);
  (void)Follow();
  EXPECT_FALSE(Results().Question());
  List done = Rows();
  for (std::string &row : rows) {
    for (const auto &[would, did] :
         {std::pair<std::string, std::string>{"folder would be ", "folder "},
          {"would be ", ""},
          {"moved and renamed", "moved under another name"}}) {
      if (const std::size_t at = row.find(would); at != std::string::npos)
        row.replace(at, would.size(), did);
    }
  }
  std::ranges::sort(done);
  std::ranges::sort(rows);
  EXPECT_EQ(done, rows);
  EXPECT_EQ(files.Tree("drop/txt").size(), 3u);
}

TEST_F(PreviewTest, NothingIsDoneWhenItWouldBeSomethingElse) {
  SetPreference("AggregateFilesWhenDone", true);
  Preview();
  std::size_t rows = Results().Count();
  const struct {
    std::string_view what;
    std::function<void()> change;
    std::ptrdiff_t moreRows;
  } kChanges[] = {{"a new file", [&] { files.WriteFile("drop/sub/new"); }, 1},
                  {"another name",
                   [&] {
                     files.Remove("drop/sub/new");
                     files.WriteFile("drop/sub/now");
                   },
                   0},
                  {"another folder",
                   [&] {
                     files.Remove("drop/sub/now");
                     files.WriteFile("drop/sub/deep/now");
                   },
                   0},
                  {"no clash any more", [&] { files.Remove("drop/a.txt"); }, -1},
                  {"a preference", [] { SetPreference("AggregateFilesWhenDone", false); }, -5}};
  for (const auto &[what, change, moreRows] : kChanges) {
    change();
    const auto before = files.Tree();
    CarryOut();
    EXPECT_EQ(files.Tree(), before) << what;
    EXPECT_EQ(static_cast<std::ptrdiff_t>(Results().Count()),
              static_cast<std::ptrdiff_t>(rows) + moreRows)
        << what;
    rows = Results().Count();
    ASSERT_TRUE(IsFlattenOffered()) << what;
    EXPECT_TRUE(Results().Question()->notice.starts_with("Something has changed meanwhile"))
        << what;
  }
  CarryOut();
  EXPECT_TRUE(files.Exists("drop/now")) << "the new plan has been seen";

  files.WriteFile("drop/sub/last");
  Preview();
  ASSERT_TRUE(IsFlattenOffered());
  files.Remove("drop");
  CarryOut();
  EXPECT_FALSE(IsFlattenOffered());
  EXPECT_NE(Results().Question()->notice.find("drop is no longer there."), std::string::npos);
}

TEST_F(PreviewTest, WhatIsNotWholeOrDismissedIsNotDone) {
  const auto before = files.Tree();
  const auto stop = [](int) {
    if (IsPlanning()) FlattenRun.StopRequested = true;
  };
  Recorder().AtEachYield(stop);
  Preview();
  EXPECT_FALSE(IsFlattenOffered());
  EXPECT_NE(Results().WhatIsMissing(), "");

  // Stopped the second time, or dismissed meanwhile.
  Recorder().AtEachYield(nullptr);
  Preview();
  EXPECT_TRUE(IsFlattenOffered());
  Recorder().AtEachYield(stop);
  CarryOut();
  EXPECT_FALSE(IsFlattenOffered());
  Recorder().AtEachYield(nullptr);
  Preview();
  bool isOpen = true;
  Recorder().AtEachYield([&](int) {
    if (std::exchange(isOpen, false)) Results().Close();
  });
  Results().CarryOut();
  Recorder().RunEventLoop();
  EXPECT_FALSE(isOpen);
  EXPECT_EQ(files.Tree(), before);
  Results().Open([] {});

  // Flatten is pressed while another plan is being made, which takes the place of this one.
  files.WriteFile("other/sub/c");
  Recorder().AtEachYield(nullptr);
  Preview();
  Recorder().AtEachYield([](int) {
    if (Results().Question()->canBeCarriedOut) Results().CarryOut();
  });
  Preview({"other"});
  EXPECT_EQ(Results().Folders(), List{files.PathOf("other")});
  EXPECT_TRUE(IsFlattenOffered());
  EXPECT_TRUE(files.Exists("other/sub/c"));
  EXPECT_TRUE(files.Exists("drop/sub/a.pdf"));
}

TEST_F(PreviewTest, ACheckoutIsShownFirstWithTheReason) {
  SetPreference("QuitWhenDone", false);
  files.WriteFile("code/site/.git");
  files.WriteFile("code/site/x/.svn/entries");
  files.WriteFile("code/other/.hg/hgrc");
  Preview({"code", "drop"}, kAEOpenDocuments);
  EXPECT_TRUE(files.Exists("drop/b")) << "the others are flattened as ever";
  EXPECT_TRUE(files.Exists("code/site/.git"));
  ASSERT_TRUE(IsShown());
  EXPECT_EQ(Results().Folders(), List{files.PathOf("code")});
  const auto question = Results().Question();
  ASSERT_TRUE(question);
  EXPECT_TRUE(question->isGrave);
  EXPECT_EQ(
      question->notice,
      "code/other is a Mercurial checkout, and 2 more are in code: flattening would take them "
      "apart.");
  CarryOut();
  EXPECT_TRUE(files.Exists("code/.git")) << "asked again";

  files.WriteFile("one/.git/config");
  Preview({"one"});
  EXPECT_EQ(Results().Question()->notice,
            "one is a Git checkout: flattening it would take it apart.");
}

TEST_F(PreviewTest, EveryDropIsPreviewedWhenThePreferencesSaySo) {
  SetPreference("PreviewFirst", true);
  Preview({"drop"}, kAEOpenDocuments);
  ASSERT_TRUE(IsShown());
  EXPECT_TRUE(IsFlattenOffered());
  EXPECT_TRUE(files.Exists("drop/sub/deep/b"));
}

}  // namespace
