#include "tests/reliability/precious_tree.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <iterator>
#include <string_view>

#include "engine/run_observers.h"
#include "engine/take_back_run.h"

namespace {

/// Takes down what an undo has not put back.
class CToldPaths final : public CRunObserver {
 public:
  void TakeNote(const RunNote &note) noexcept override {
    if (note.event != RunEvent::kNotPutBack) return;
    paths.insert(*note.path);
    if (note.oldPath != nullptr) paths.insert(*note.oldPath);
  }
  std::set<std::string> paths;
};

CToldPaths &ToldPaths() {
  static CToldPaths told;
  static const bool isAdded = (AddRunObserver(&told), true);
  (void)isAdded;
  return told;
}

constexpr std::string_view kRemovalText = "Deleting emptied folders...";
constexpr std::string_view kApplication = "Tool.app/Contents/Info.plist";

/// Takes each " - UUID" out of a path; none of the names has the separator by itself.
std::string WithoutUuids(std::string path) {
  constexpr std::size_t kLength = 3 + 36;
  for (std::size_t at = 0; (at = path.find(" - ", at)) != std::string::npos;)
    path.erase(at, kLength);
  return path;
}

bool EndsWithItem(std::string_view path, std::string_view item) {
  return path == item || path.ends_with("/" + std::string(item));
}

}  // namespace

const std::vector<Rules> &AllRules() {
  static const std::vector<Rules> rules = {
      {"Usual"},
      {"EverythingOn", 1, true, true, true, true},
      {"DuplicatesDeleted", 1, false, true, true},
      {"ApplicationsOpened", 1, true, false, true},
      {"Aliases", 2, true, true, false, true},
      {"UsualByLinking", 1, true, true, false, false, true},
      {"EverythingOnByLinking", 1, true, false, true, true, true},
      {"EverythingOnByPlaceHolders", 1, true, true, true, true, false, true},
      {"DuplicatesTrashed", 1, false, true, true, false, false, false, true},
      {"EverythingTrashedByPlaceHolders", 3, true, true, true, true, false, true, true},
  };
  return rules;
}

int LackOf(const TreeChange &change, const Rules &rules) {
  // Volumes differ in how they say what they do not have.
  static unsigned renames = 0;
  static unsigned links = 0;
  constexpr int kNoFlag[] = {EINVAL, EOPNOTSUPP, ENOSYS};
  constexpr int kNoLinks[] = {EPERM, EOPNOTSUPP, ENOSYS, EMLINK};
  // The trash of a whole volume of this machine is none of a test's.
  if (std::string_view(change.name).starts_with(".Trash-")) return EROFS;
  if (!rules.isLinking && !rules.isHolding) return 0;
  if (change.kind == ChangeKind::kRename) return kNoFlag[++renames % std::size(kNoFlag)];
  const bool isLink = change.kind == ChangeKind::kLink;
  return rules.isHolding && isLink ? kNoLinks[++links % std::size(kNoLinks)] : 0;
}

int RefusalOf(const TreeChange &change, const Rules &rules) {
  if (const int error = LackOf(change, rules); error != 0) return error;
  if (rules.isLinking || rules.isHolding) return 0;
  const std::string_view operation(change.Word());
  if (operation != "unlink" && operation != "rmdir") return 0;
  struct stat item;
  const bool isThere =
      fstatat(change.folder.descriptor, change.name, &item, AT_SYMLINK_NOFOLLOW) == 0;
  return isThere && (item.st_mode & S_IWUSR) == 0 ? EPERM : 0;
}

std::string NameOfRules(const testing::TestParamInfo<Rules> &rules) {
  return rules.param.name;
}

void PrintTo(const Rules &rules, std::ostream *out) {
  *out << rules.name;
}

CPreciousTreeTest::CPreciousTreeTest() {
  SetPreference("Operation", GetParam().operation);
  SetPreference("RenameDuplicates", GetParam().renamesDuplicates);
  SetPreference("IgnoreApplications", GetParam().ignoresApplications);
  SetPreference("DeleteEmptiedFolders", GetParam().deletesFolders);
  SetPreference("DeleteToTrash", GetParam().isTrashing);
  SetPreference("AggregateFilesWhenDone", GetParam().collates);
  for (const char *path :
       {"a.txt", "Tool.app/Contents/Info.plist", "one/a.txt", "one/b", "one/517A7274",
        "one/in/a.txt", "one/Tool.app/Contents/Info.plist", "two/locked.txt", "two/locked/c.txt"}) {
    items.push_back({path, std::string("of ") + path});
  }
  items.push_back({"two/link", "-> ../../beside/kept"});
  items.push_back({"two/pipe", "special"});
  files.WriteFile("beside/kept", "kept");
  files.WriteFile("beside/in/locked", "kept too");
  EXPECT_EQ(chmod(files.PathOf("beside/in/locked").c_str(), 0444), 0);
  EXPECT_EQ(chmod(files.PathOf("beside/in").c_str(), 0555), 0);
  beside_ = PortraitOfBeside();
}

CPreciousTreeTest::~CPreciousTreeTest() {
  SetTreeChangeFault(nullptr);
}

void CPreciousTreeTest::MakeTree() {
  if (files.Exists("drop")) files.Remove("drop");
  // Journals of runs that were never put right would be tried again at every start.
  if (home.Exists("state")) home.Remove("state");
  if (home.Exists("data")) home.Remove("data");
  for (const auto &[path, content] : items) {
    const std::string place = "drop/" + path;
    if (content == "special") {
      ASSERT_EQ(mkfifo(files.PathOf(place).c_str(), 0600), 0);
    } else if (content.starts_with("-> ")) {
      files.MakeSymbolicLink(place, content.substr(3));
    } else {
      files.WriteFile(place, content);
    }
  }
  for (const char *path : {"drop/two/locked.txt", "drop/one/in/a.txt"}) {
    ASSERT_EQ(chmod(files.PathOf(path).c_str(), 0444), 0);
  }
  ASSERT_EQ(chmod(files.PathOf("drop/two/locked").c_str(), 0555), 0);
  mayBeGone.clear();
  dropped_ = NumberOf("drop");
}

ino_t CPreciousTreeTest::NumberOf(const char *path) const {
  struct stat item;
  return lstat(files.PathOf(path).c_str(), &item) == 0 ? item.st_ino : 0;
}

void CPreciousTreeTest::Flatten() {
  bool isNoted = false;
  Recorder().ForgetCalls();
  Recorder().AtEachYield([&](int) {
    if (isNoted || Recorder().Control(1).text != kRemovalText) return;
    isNoted = true;
    NoteWhatMayBeDeleted();
    if (whenDeletionBegins) whenDeletionBegins();
  });
  CProgramTest::Flatten({"drop"});
  Recorder().AtEachYield(nullptr);
}

void CPreciousTreeTest::OrderTakingBack(TakeBack how) {
  TakeBackOrder order{};
  order.folder = Ref("drop");
  std::string reason;
  ASSERT_EQ(FindRunToTakeBack(how, &order.folder, &order.run, &reason), noErr) << reason;
  TakeBackOrders.push_back(order);
}

void CPreciousTreeTest::TakeBackOrdered() {
  ToldPaths().paths.clear();
  TakeBackTimerProc(nullptr, nullptr);
  toldPaths = ToldPaths().paths;
}

CPreciousTreeTest::Portrait CPreciousTreeTest::PortraitOfDrop() const {
  Portrait portrait;
  const auto add = [&](const std::string &path, const std::string &content) {
    struct stat item;
    const bool isThere = lstat(files.PathOf("drop/" + path).c_str(), &item) == 0;
    EXPECT_TRUE(isThere) << path;
    std::string what = content + "; " + std::to_string(item.st_mode);
    const bool isAlias = content.starts_with("-> " + files.Path());
    if (!isAlias) {
      what +=
          " " + std::to_string(item.st_mtim.tv_sec) + "." + std::to_string(item.st_mtim.tv_nsec);
      if (!S_ISDIR(item.st_mode)) what += " " + std::to_string(item.st_ino);
    }
    portrait[path] = what;
  };
  add("", "");
  for (const auto &[path, content] : files.Tree("drop")) add(path, content);
  return portrait;
}

std::set<std::string> CPreciousTreeTest::Differences(const Portrait &before,
                                                     const Portrait &after) const {
  std::set<std::string> differing;
  for (const Portrait *one : {&before, &after}) {
    const Portrait &other = one == &before ? after : before;
    for (const auto &[path, what] : *one) {
      const auto found = other.find(path);
      if (found != other.end() && found->second == what) continue;
      const bool isGone =
          found == other.end() && mayBeGone.contains(what.substr(0, what.find("; ")));
      if (!isGone) differing.insert(path);
    }
  }
  return differing;
}

/// The deletion takes the sub-folders that are no packages, with everything left in them.
void CPreciousTreeTest::NoteWhatMayBeDeleted() {
  if (GetParam().isTrashing) return;
  // The folder may have been moved away during the run; it is the dropped one all the same.
  const bool isAway = NumberOf("drop") != dropped_;
  const CTemporaryFolder::Contents tree = files.Tree(isAway ? "away" : "drop");
  for (const auto &[path, content] : tree) {
    const std::string top = path.substr(0, path.find('/'));
    const bool isPackage = top.ends_with(".app") || tree.contains(top + "/Contents/Info.plist");
    if (top != path && !isPackage) mayBeGone.insert(content);
  }
  // Of what has two names one is enough.
  for (const auto &[path, content] : tree) {
    if (path.find('/') == std::string::npos) mayBeGone.erase(content);
  }
}

CTemporaryFolder::Contents CPreciousTreeTest::EverythingIn(std::string_view place) const {
  CTemporaryFolder::Contents found = files.Tree(place);
  if (!home.Exists("data/Trash/files")) return found;
  for (const auto &[path, content] : home.Tree("data/Trash/files")) {
    found.emplace("(in the trash) " + path, content);
  }
  return found;
}

std::string CPreciousTreeTest::PortraitOfBeside() const {
  std::string portrait;
  for (const auto &[path, content] : files.Tree("beside")) {
    struct stat item;
    EXPECT_EQ(lstat(files.PathOf("beside/" + path).c_str(), &item), 0);
    portrait += path + "=" + content + " " + std::to_string(item.st_mode) + " " +
                std::to_string(item.st_mtim.tv_sec) + "." + std::to_string(item.st_mtim.tv_nsec) +
                "\n";
  }
  return portrait;
}

bool CPreciousTreeTest::IsNameRight(const std::string &path, const std::string &origin) const {
  const bool isWhole = GetParam().ignoresApplications && EndsWithItem(origin, kApplication);
  return EndsWithItem(WithoutUuids(path),
                      isWhole ? kApplication : origin.substr(origin.rfind('/') + 1));
}

std::string CPreciousTreeTest::Damage(const Allowed &allowed) const {
  std::map<std::string, std::vector<std::string>> places;
  for (const auto &[path, content] : EverythingIn("drop")) {
    const bool isAlias = content.starts_with("-> " + files.Path());
    if (!path.ends_with('/') && !isAlias) places[content].push_back(path);
  }
  std::string damage;
  for (const auto &[origin, content] : items) {
    const std::vector<std::string> found = places[content];
    places.erase(content);
    if (found.empty() && !mayBeGone.contains(content)) damage += origin + " is lost\n";
    if (found.size() > 1 && !allowed.twoNames) {
      damage += origin + " is both " + found[0] + " and " + found[1] + "\n";
    }
    for (const std::string &path : found) {
      const bool isTemporary = path.find("517A72") != std::string::npos && origin != "one/517A7274";
      if (!(isTemporary ? allowed.temporaryNames : IsNameRight(path, origin))) {
        damage += origin + " is " + path + "\n";
      }
    }
  }
  for (const auto &[content, found] : places) {
    const bool isPlaceHolder = content.empty() && GetParam().isHolding && allowed.temporaryNames;
    if (!isPlaceHolder) damage += "\"" + content + "\" is new: " + found[0] + "\n";
  }
  if (PortraitOfBeside() != beside_) damage += "what lies beside it was changed\n";
  return damage;
}
