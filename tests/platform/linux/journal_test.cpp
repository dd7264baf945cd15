#include "platform/journal.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <utility>

#include "platform/linux/history/journal_reader.h"
#include "platform/linux/history/run_journal.h"
#include "platform/linux/system/disk_names.h"
#include "platform/linux/tree/folder_table.h"
#include "platform/trash.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/tree_change_fault.h"

namespace {

namespace fs = std::filesystem;

std::string Header(std::string_view path = "/drop") {
  JournalHeader header;
  header.program = "vannerly 1";
  header.time = "2026-01-01T00:00:00Z";
  header.process = 42;
  header.device = 7;
  header.identity = {100, 5};
  header.path = path;
  header.above = {{7, 2}};
  return WriteJournalHeader(header);
}

/// Of a journal in the format that tells steps alone.
std::string OldHeader(const std::string &folder = "7\t100:5\t/drop") {
  return "Vannerly journal 1\tv\t2026-01-01T00:00:00Z\t42\t" + folder + "\nabove\t7:2\n";
}

TEST(JournalReader, RefusesWhatIsNoJournal) {
  const std::string folder = "folder\t1\t0\t7:101\tone\t755\t0:0\t1\n";
  EXPECT_TRUE(ParseJournal(Header() + folder + "move\t1\ta\t5:6\t0\n"));
  for (const char *line :
       {"folder\t2\t0\t7:101\ta gap\t755\t0:0\t1", "folder\t1\t0\t7\tx\t755\t0:0\t1",
        "folder\t1\t0\t7:101\tx\t788\t0:0\t1", "folder\t1\t0\t7:101\tx", "move\t1\ta\t5:6\t0",
        "move\t0\ta\t5\t0\tb", "steps\t0\ta\t5:6", "rename\t0\ta", "unlink\t0", "", "erase\t0\ta",
        "trash\t0\ta\t5:6\t/t\tb/c", "trash\t0\ta\t5:6\tt\tb"}) {
    EXPECT_FALSE(ParseJournal(Header() + line + "\n")) << line;
  }
  EXPECT_FALSE(ParseJournal(Header("drop")));
  EXPECT_FALSE(ParseJournal(Header(std::string_view("/dr\0op", 6))));
  std::string other = Header();
  other[other.find('2')] = '3';
  EXPECT_FALSE(ParseJournal(other)) << "another version";
}

TEST(JournalReader, KnowsWhereAnItemCanBeInEitherFormat) {
  // The steps are the same; the older format does not say what they are to lead to.
  struct Case {
    std::vector<std::string> steps;  ///< "I" stands for the identity that the older one tells
    std::vector<JournalPlace> places;
    std::size_t goal;
    std::size_t placeHolders = 0;  ///< that can still be there
  };
  const JournalPlace origin{1, "a"};
  const JournalPlace hidden{1, "T"};
  const JournalPlace half{0, "T"};
  const JournalPlace end{0, "b"};
  const std::string first = "rename\t1\ta\t1\tT\tI";
  const std::string second = "rename\t1\tT\t0";
  const std::string third = "rename\t0\tT\t0\tb";
  const Case cases[] = {
      {{first}, {origin, hidden}, 0},
      {{first, second}, {origin, hidden, half}, 0},
      {{first, second, third}, {origin, hidden, half, end}, 3},
      {{first, second, third, "failed\tEIO"}, {origin, hidden, half, end}, 0},
      {{first, second, third, "failed\tEIO", "rename\t0\tT\t1"}, {origin, hidden, half, end}, 0},
      {{first, second, "hold\t0\tb", third, "failed\tEIO", "release\t0\tb"},
       {origin, hidden, half, end},
       0,
       1},
      {{"link\t1\ta\t0\tb\tI"}, {origin, end}, 1},
      {{"link\t1\ta\t0\tb\tI", "unlink\t1\ta", "failed\tEIO", "unlink\t0\tb", "failed\tEIO"},
       {origin, end},
       0},
  };
  for (const Case &which : cases) {
    std::string old = OldHeader() + "folder\t1\t0\t7:101\tone\n";
    std::string text =
        Header() + "folder\t1\t0\t7:101\tone\t755\t0:0\t1\n" + "steps\t1\ta\t5:6\t0\tb\n";
    for (const std::string &step : which.steps) {
      const bool isFirst = step.ends_with("\tI");
      text += step.substr(0, step.size() - (isFirst ? 2 : 0)) + "\n";
      old += (isFirst ? step.substr(0, step.size() - 1) + "5:6" : step) + "\n";
    }
    for (const std::string &journal : {old, text}) {
      const auto read = ParseJournal(journal);
      ASSERT_TRUE(read) << journal;
      ASSERT_EQ(read->halfMoves.size(), 1u) << journal;
      EXPECT_EQ(read->halfMoves[0].item, (ItemIdentity{5, 6})) << journal;
      EXPECT_EQ(read->halfMoves[0].places, which.places) << journal;
      EXPECT_EQ(read->halfMoves[0].goal, which.goal) << journal;
      EXPECT_EQ(read->placeHolders.size(), which.placeHolders) << journal;
    }
  }
}

class RunJournal : public testing::Test {
 protected:
  RunJournal() {
    setenv("XDG_STATE_HOME", home_.PathOf("state").c_str(), 1);
    JournalSetLineHandler([](const std::string &line) { Told().push_back(line); });
    files_.MakeFolder("drop/sub/deep");
    files_.MakeFolder("beside");
  }
  ~RunJournal() override {
    EndRunJournal(RunEnd::kDone);
    JournalSetLineHandler(nullptr);
    Told().clear();
  }

  static std::vector<std::string> &Told() {
    static std::vector<std::string> lines;
    return lines;
  }

  FSRef Ref(std::string_view path) const {
    FSRef ref{};
    EXPECT_EQ(FSPathMakeRef(files_.PathOf(path).c_str(), &ref, nullptr), noErr) << path;
    return ref;
  }

  OSErr Begin(std::string_view path) {
    reason_.clear();
    return BeginRunJournal(Ref(path), &reason_);
  }

  std::vector<std::string> Journals() const {
    std::vector<std::string> names;
    for (const auto &file : fs::directory_iterator(home_.PathOf("state/vannerly/journal"))) {
      names.push_back(file.path().filename());
    }
    std::ranges::sort(names);
    return names;
  }

  std::string Text(const std::string &name) const {
    return home_.ReadFile("state/vannerly/journal/" + name);
  }

  /// Has folders of that name made in a folder, of which none gets as far as the disk: all are
  /// answered with that error, 0 for none.
  void Make(int count, std::string_view parent, const std::string &name, int error) const {
    OpenedFolder folder{-1, 0};
    ASSERT_EQ(FindTableFolder(Ref(parent), &folder.index, &folder.descriptor), noErr);
    struct : CTreeLayer {
      int Change(const TreeChange &) override { return answer; }
      int answer = 0;
    } nowhere;
    nowhere.answer = error;
    PutLayerOnDisk(&nowhere);
    for (int i = 0; i < count; ++i) {
      EXPECT_EQ(Tree().Change({ChangeKind::kMakeFolder, name.c_str(), folder}), error);
    }
    RemoveLayer(&nowhere);
  }
  void RecordMany(int count) const { Make(count, "drop", std::string(255, '\n'), 0); }

  CTemporaryFolder home_;
  CTemporaryFolder files_;
  std::string reason_;
};

TEST_F(RunJournal, IsPrivateAndGrowsWithTheRun) {
  umask(0);
  ASSERT_EQ(Begin("drop"), noErr);
  RecordMany(20000);
  Make(1, "beside", "elsewhere", EIO);
  EndRunJournal(RunEnd::kStopped);
  ASSERT_EQ(Journals().size(), 1u);
  const std::string text = Text(Journals()[0]);
  EXPECT_EQ(std::ranges::count(text, '\n'), 2 + 20000 + 1);
  const auto journal = ParseJournal(text);
  ASSERT_TRUE(journal);
  EXPECT_TRUE(journal->isEnded);
  EXPECT_EQ(journal->size, text.size());
  EXPECT_EQ(journal->header.path, files_.PathOf("drop"));
  for (const auto &[path, mode] : {std::pair{std::string("state/vannerly"), 0700u},
                                   {std::string("state/vannerly/journal"), 0700u},
                                   {"state/vannerly/journal/" + Journals()[0], 0600u}}) {
    struct stat status;
    ASSERT_EQ(stat(home_.PathOf(path).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, mode) << path;
  }
}

TEST_F(RunJournal, TellsOfEveryItemAndFolderWhatItWas) {
  files_.WriteFile("drop/sub/first", "0");
  files_.WriteFile("drop/sub/plain", "1");
  files_.WriteFile("drop/sub/renamed", "2");
  const timespec times[] = {{0, 0}, {1'000'000'000, 5}};
  ASSERT_EQ(utimensat(AT_FDCWD, files_.PathOf("drop/sub").c_str(), times, 0), 0);
  ASSERT_EQ(chmod(files_.PathOf("drop/sub").c_str(), 02751), 0);
  const auto status = [this](const std::string &path) {
    struct stat found {};
    EXPECT_EQ(stat(files_.PathOf(path).c_str(), &found), 0) << path;
    return found;
  };
  const struct stat drop = status("drop");
  const std::string plain = std::to_string(status("drop/sub/plain").st_ino);
  const std::string renamed = std::to_string(status("drop/sub/renamed").st_ino);
  ASSERT_EQ(Begin("drop"), noErr);
  FSIterator iterator;
  ASSERT_EQ(FSOpenIterator(Ref("drop/sub"), kFSIterateFlat, &iterator), noErr);
  FSRef items[5];
  std::uint32_t count = 0;
  EXPECT_EQ(FSGetCatalogInfoBulk(iterator, 5, &count, nullptr, kFSCatInfoNone, nullptr, items,
                                 nullptr, nullptr),
            errFSNoMoreItems);
  ASSERT_EQ(count, 4u);  // deep, first, plain, renamed
  FSRef item = items[3];
  // With the first it is found out whether listings tell the truth.
  for (const int i : {1, 2}) EXPECT_EQ(FSMoveObject(items[i], Ref("drop"), &items[i]), noErr);
  EXPECT_EQ(FSBeginMove(items[3], Ref("drop"), u"new"), noErr);
  EXPECT_EQ(FSRenameUnicode(item, u"517A7274", kTextEncodingUnknown, &item), noErr);
  EXPECT_EQ(FSMoveObject(item, Ref("drop"), &item), noErr);
  EXPECT_EQ(FSRenameUnicode(item, u"new", kTextEncodingUnknown, &item), noErr);
  FSEndMove();
  EXPECT_EQ(FSOpenIterator(items[0], kFSIterateFlat, &iterator), noErr);
  EXPECT_EQ(FSDeleteObject(items[0]), noErr);
  EXPECT_EQ(FSDeleteObject(Ref("drop/sub")), noErr);
  EndRunJournal(RunEnd::kDone);

  const std::string text = Text(Journals()[0]);
  const auto journal = ParseJournal(text);
  ASSERT_TRUE(journal) << text;
  EXPECT_EQ(journal->filesDone, 3u);
  ASSERT_EQ(journal->folders.size(), 3u) << text;
  EXPECT_EQ(journal->folders[1].before,
            (FolderState{02751, getuid(), getgid(), 1'000'000'000'000'000'005}));
  EXPECT_EQ(journal->header.before.modified,
            drop.st_mtim.tv_sec * 1'000'000'000 + drop.st_mtim.tv_nsec);
  for (const std::string &line :
       {"move\t1\tplain\t" + plain + ":0\t0\n", "steps\t1\trenamed\t" + renamed + ":",
        std::string("\t0\tnew\nrename\t1\trenamed\t1\t517A7274\n"
                    "rename\t1\t517A7274\t0\nrename\t0\t517A7274\t0\tnew\nover\n"),
        std::string("\nrmdir\t1\tdeep\t2\nrmdir\t0\tsub\t1\nend\tdone\t")}) {
    EXPECT_NE(text.find(line), std::string::npos) << line << " in " << text;
  }
}

TEST_F(RunJournal, AMoveToTheTrashIsOneLine) {
  setenv("XDG_DATA_HOME", home_.PathOf("data").c_str(), 1);
  const auto identity = [this] {
    struct statx item {};
    EXPECT_EQ(statx(AT_FDCWD, files_.PathOf("drop/sub").c_str(), 0, STATX_BTIME, &item), 0);
    return std::to_string(item.stx_ino) + ":" +
           std::to_string(item.stx_btime.tv_sec * 1'000'000'000 + item.stx_btime.tv_nsec);
  }();
  ASSERT_EQ(Begin("drop"), noErr);
  SetTreeChangeFault(
      [](const TreeChange &change) { return change.kind == ChangeKind::kRename ? EACCES : 0; });
  EXPECT_EQ(TrashMoveItem(Ref("drop/sub")), afpAccessDenied);
  // Where the rename takes several steps it is one line still.
  SetTreeChangeFault(
      [](const TreeChange &change) { return change.kind == ChangeKind::kRename ? EINVAL : 0; });
  EXPECT_EQ(TrashMoveItem(Ref("drop/sub")), noErr);
  SetTreeChangeFault(nullptr);
  EndRunJournal(RunEnd::kDone);
  EXPECT_TRUE(home_.Exists("data/Trash/files/sub/deep"));
  const std::string text = Text(Journals()[0]);
  const std::string line =
      "trash\t0\tsub\t" + identity + "\t" + home_.PathOf("data/Trash") + "\tsub\n";
  EXPECT_NE(text.find("\n" + line + "failed\tEACCES\n" + line + "end\tdone\t"), std::string::npos)
      << text;
  EXPECT_TRUE(ParseJournal(text));
}

TEST_F(RunJournal, ThatCannotBeWrittenIsToldOnceAndStopsNothing) {
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  ASSERT_EQ(Begin("drop"), noErr);
  const rlimit small{150'000, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  RecordMany(2000);
  EndRunJournal(RunEnd::kDone);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
  const std::string text = Text(Journals()[0]);
  EXPECT_NE(text.find("\nunrecorded\tEFBIG\nend\tdone\t"), std::string::npos);
  EXPECT_TRUE(ParseJournal(text));
  EXPECT_EQ(Told().size(), 1u);

  for (const char *place : {"/dev/null", "/proc/nowhere"}) {
    setenv("XDG_STATE_HOME", place, 1);
    EXPECT_EQ(Begin("drop"), noErr);
    RecordMany(1);
    EndRunJournal(RunEnd::kDone);
    EXPECT_EQ(RecoverInterruptedRuns().size(), 0u);
  }
  EXPECT_EQ(Told().size(), 1u);
}

TEST_F(RunJournal, KeepsOtherProcessesOutOfTheFoldersAroundIt) {
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t other = fork();
  if (other == 0) {
    (void)!write(ready[1], Begin("drop/sub") == noErr ? "y" : "n", 1);
    for (;;) pause();
  }
  char answer = 0;
  ASSERT_EQ(read(ready[0], &answer, 1), 1);
  EXPECT_EQ(answer, 'y');
  const std::string who = "another Vannerly (process " + std::to_string(other) + ") is at work in ";
  for (const char *path : {"drop/sub", "drop", "drop/sub/deep", ""}) {
    EXPECT_EQ(Begin(path), fBsyErr) << path;
    EXPECT_EQ(reason_,
              who + (std::string_view(path) == "drop/sub" ? "it" : files_.PathOf("drop/sub")));
  }
  EXPECT_EQ(Begin("beside"), noErr);
  EndRunJournal(RunEnd::kDone);
  // A run is known by its folder, not by the path that the folder had.
  fs::rename(files_.PathOf("drop"), files_.PathOf("moved"));
  EXPECT_EQ(Begin("moved/sub"), fBsyErr);
  EXPECT_EQ(Begin("moved"), fBsyErr);
  EXPECT_EQ(RecoverInterruptedRuns().size(), 0u) << "it is not dead";
  ASSERT_EQ(kill(other, SIGKILL), 0);
  ASSERT_EQ(waitpid(other, nullptr, 0), other);
  EXPECT_EQ(Begin("moved/sub"), noErr);
}

TEST_F(RunJournal, TheLastTwentyOfTwoHundredMebibytesAreKept) {
  const std::string folder = "state/vannerly/journal/";
  const auto add = [&](const std::string &name, const char *end, std::uintmax_t size = 0) {
    home_.WriteFile(folder + name, Header("/nowhere") + end);
    if (size > 0) {
      // A hole, with the last line behind it.
      fs::resize_file(home_.PathOf(folder + name), size);
      std::FILE *const file = std::fopen(home_.PathOf(folder + name).c_str(), "a");
      (void)std::fputs("\nend\tdone\t\n", file);
      (void)std::fclose(file);
    }
  };
  const auto begin = [&] {
    EXPECT_EQ(Begin("drop"), noErr);
    EndRunJournal(RunEnd::kDone);
    std::vector<std::string> names = Journals();
    names.pop_back();  // the new one
    return names;
  };
  const auto numbered = [](int from, int to) {
    std::vector<std::string> names;
    for (int i = from; i <= to; ++i) names.push_back(std::to_string(i) + ".journal");
    return names;
  };
  for (const std::string &name : numbered(100, 130)) add(name, "end\tdone\t\n");
  add("115.journal", "");  // interrupted
  add("101.journal", "");
  std::vector<std::string> expected = numbered(112, 130);
  expected.insert(expected.begin(), "101.journal");
  EXPECT_EQ(begin(), expected);

  for (const std::string &name : Journals()) home_.Remove(folder + name);
  constexpr std::uintmax_t kMebibyte = 1 << 20;
  add("101.journal", "", 60 * kMebibyte);
  add("102.journal", "", 90 * kMebibyte);
  add("103.journal", "", 80 * kMebibyte);
  EXPECT_EQ(begin(), (std::vector<std::string>{"102.journal", "103.journal"}));
  add("104.journal", "", 300 * kMebibyte);
  for (const std::string &name : Journals()) {
    if (name != "104.journal") home_.Remove(folder + name);
  }
  EXPECT_EQ(begin(), (std::vector<std::string>{"104.journal"})) << "the last one stays";
}

TEST_F(RunJournal, OnlyTheUsersOwnFilesAreObeyed) {
  files_.WriteFile("drop/517A7274", "file");
  struct stat file;
  struct stat drop;
  ASSERT_EQ(stat(files_.PathOf("drop/517A7274").c_str(), &file), 0);
  ASSERT_EQ(stat(files_.PathOf("drop").c_str(), &drop), 0);
  const std::string text = OldHeader(std::to_string(drop.st_dev) + "\t" +
                                     std::to_string(drop.st_ino) + ":0\t" + files_.PathOf("drop")) +
                           "rename\t0\told\t0\t517A7274\t" + std::to_string(file.st_ino) + ":0\n";
  const std::string name = "state/vannerly/journal/1.journal";
  files_.WriteFile("elsewhere", text);
  home_.MakeSymbolicLink(name, files_.PathOf("elsewhere"));
  EXPECT_EQ(RecoverInterruptedRuns().size(), 0u);
  home_.Remove(name);
  home_.WriteFile(name, text);
  fs::create_hard_link(home_.PathOf(name), home_.PathOf("other name"));
  EXPECT_EQ(RecoverInterruptedRuns().size(), 0u);
  EXPECT_TRUE(files_.Exists("drop/517A7274"));
  fs::remove(home_.PathOf("other name"));
  EXPECT_EQ(RecoverInterruptedRuns().size(), 1u);
  EXPECT_EQ(files_.ReadFile("drop/old"), "file");
}

}  // namespace
