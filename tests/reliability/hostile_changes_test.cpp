/// Right before every change that a run or an undo makes, and before every folder that it opens or
/// lists, another program does the worst thing it could do at that moment: what races hit upon by
/// chance is gone through here call by call.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

#include "tests/reliability/precious_tree.h"

namespace {

namespace fs = std::filesystem;

/// What is about to be changed, opened or listed, as paths.
struct Moment {
  std::string folder;  ///< of the item
  std::string item;
  std::string goal;  ///< where it is to be renamed or linked to, or what is to be made
  std::string away;  ///< a free path outside the dropped folder
  std::string beside;
};

/// The content of what the other program makes.
constexpr char kTheirs[] = "theirs";
/// Where it has made it, and the content that it has replaced with it.
std::string pathOfTheirs;
std::string replaced;

void WriteTheirs(const std::string &path) {
  std::ofstream(path) << kTheirs;
  pathOfTheirs = path;
}

std::string ContentOf(const std::string &path) {
  const fs::file_status status = fs::symlink_status(path);
  if (fs::is_symlink(status)) return "-> " + fs::read_symlink(path).string();
  if (!fs::is_regular_file(status)) return "special";
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

bool IsFolder(const std::string &path) {
  return fs::is_directory(fs::symlink_status(path));
}

bool IsTaken(const std::string &path) {
  return fs::exists(fs::symlink_status(path));
}

bool TakeAway(const std::string &path, const Moment &moment) {
  return rename(path.c_str(), moment.away.c_str()) == 0;
}

struct Deed {
  const char *name;
  bool needsGoal;
  void (*act)(const Moment &moment);
};

const Deed kDeeds[] = {
    {"takes the new name", true,
     [](const Moment &moment) {
       if (!IsTaken(moment.goal)) WriteTheirs(moment.goal);
     }},
    {"takes the new name with a folder", true,
     [](const Moment &moment) {
       if (mkdir(moment.goal.c_str(), 0755) == 0) WriteTheirs(moment.goal + "/in");
     }},
    {"takes the new name with a link", true,
     [](const Moment &moment) { (void)!symlink(moment.beside.c_str(), moment.goal.c_str()); }},
    {"saves a file over one that holds the new name", true,
     [](const Moment &moment) {
       if (!fs::is_regular_file(fs::symlink_status(moment.goal)) || !fs::is_empty(moment.goal)) {
         return;
       }
       WriteTheirs(moment.away);
       if (rename(moment.away.c_str(), moment.goal.c_str()) == 0) pathOfTheirs = moment.goal;
     }},
    {"saves a file by renaming a new one over it", false,
     [](const Moment &moment) {
       if (IsFolder(moment.item)) return;
       if (IsTaken(moment.item)) replaced = ContentOf(moment.item);
       WriteTheirs(moment.away);
       if (rename(moment.away.c_str(), moment.item.c_str()) == 0) pathOfTheirs = moment.item;
     }},
    {"takes the item away", false, [](const Moment &moment) { TakeAway(moment.item, moment); }},
    {"swaps the item for a link to a folder", false,
     [](const Moment &moment) {
       if (TakeAway(moment.item, moment)) {
         (void)!symlink(moment.beside.c_str(), moment.item.c_str());
       }
     }},
    {"swaps the item for a second name of a file elsewhere", false,
     [](const Moment &moment) {
       if (TakeAway(moment.item, moment)) {
         (void)!link((moment.beside + "/in/locked").c_str(), moment.item.c_str());
       }
     }},
    {"swaps the item for a folder", false,
     [](const Moment &moment) {
       if (TakeAway(moment.item, moment) && mkdir(moment.item.c_str(), 0755) == 0) {
         WriteTheirs(moment.item + "/in");
       }
     }},
    {"swaps the folder for a link", false,
     [](const Moment &moment) {
       if (!moment.folder.ends_with("/drop") && TakeAway(moment.folder, moment)) {
         (void)!symlink(moment.beside.c_str(), moment.folder.c_str());
       }
     }},
    {"swaps the dropped folder for a link", false,
     [](const Moment &moment) {
       const std::string drop = fs::path(moment.beside).replace_filename("drop");
       if (TakeAway(drop, moment)) (void)!symlink(moment.beside.c_str(), drop.c_str());
     }},
    {"swaps the dropped folder for another with the same names", false,
     [](const Moment &moment) {
       const std::string drop = fs::path(moment.beside).replace_filename("drop");
       if (!TakeAway(drop, moment)) return;
       fs::create_directories(drop + "/one/in");
       WriteTheirs(drop + "/one/a.txt");
     }},
};

const Deed *deed = nullptr;
int momentOfDeed = 0;
int moments = 0;
const Rules *rules = nullptr;
bool isDeleting = false;
bool wasDeleting = false;  ///< when the deed was done
const CTemporaryFolder *place = nullptr;

std::string PathOf(int folder, const char *name) {
  if (folder == AT_FDCWD) return name;
  const fs::path path = fs::read_symlink("/proc/self/fd/" + std::to_string(folder)) / name;
  const std::string normal = path.lexically_normal();
  return normal.ends_with('/') ? normal.substr(0, normal.size() - 1) : normal;
}

/// Which of the moments of a run know a goal.
std::vector<bool> haveGoal;

void Meet(const std::string &item, const std::string &goal = {}) {
  haveGoal.push_back(!goal.empty());
  // What lies above can only be opened: nobody is to act there.
  if (++moments != momentOfDeed || !item.starts_with(place->Path() + "/")) return;
  wasDeleting = isDeleting;
  deed->act(
      {fs::path(item).parent_path(), item, goal, place->PathOf("away"), place->PathOf("beside")});
}

class CHostileLayer final : public CTreeLayer {
 public:
  int Change(const TreeChange &change) override {
    const std::string item = PathOf(change.folder.descriptor, change.name);
    const bool isMade = change.Word() == "mkdir" || change.Word() == "symlink";
    Meet(item, change.newFolder.descriptor >= 0
                   ? PathOf(change.newFolder.descriptor, change.newName)
                   : (isMade ? item : ""));
    const int error = RefusalOf(change, *rules);
    return error != 0 ? error : CTreeLayer::Change(change);
  }
  int OpenFolder(int folder, const char *name, FolderUse use, int *descriptor) override {
    Meet(PathOf(folder, name));
    return CTreeLayer::OpenFolder(folder, name, use, descriptor);
  }
  int List(int folder, const ItemVisitor &visit) override {
    Meet(PathOf(folder, ""));
    return CTreeLayer::List(folder, visit);
  }
};

class HostileChanges : public CPreciousTreeTest {
 protected:
  HostileChanges() {
    rules = &GetParam();
    place = &files;
    portraitBefore_ = PortraitOfBeside();
  }

  /// Flattens a new tree, or takes that back, with the deed done at the moment of that number; 0:
  /// never.
  void DoWith(bool isUndo, int moment) {
    if (files.Exists("away")) files.Remove("away");
    if (files.Exists("drop")) files.Remove("drop");
    MakeTree();
    pathOfTheirs.clear();
    replaced.clear();
    momentOfDeed = 0;
    CHostileLayer layer;
    PutLayerOnDisk(&layer);
    whenDeletionBegins = [] { isDeleting = true; };
    if (isUndo) {
      Flatten();
      OrderTakingBack(TakeBack::kUndo);
    }
    isDeleting = wasDeleting = false;
    moments = 0;
    momentOfDeed = moment;
    haveGoal.clear();
    if (isUndo) {
      TakeBackOrdered();
    } else {
      Flatten();
    }
    RemoveLayer(&layer);
  }

  void GoThrough(bool isUndo) {
    DoWith(isUndo, 0);
    const std::vector<bool> withGoal = haveGoal;
    int runs = 0;
    for (const Deed &next : kDeeds) {
      deed = &next;
      for (std::size_t moment = 1; moment <= withGoal.size(); ++moment) {
        if (next.needsGoal && !withGoal[moment - 1]) continue;
        DoWith(isUndo, static_cast<int>(moment));
        ASSERT_EQ(WhatIsLost(), "") << next.name << " at moment " << moment;
        ++runs;
      }
    }
    std::printf("%zu moments, %d runs\n", withGoal.size(), runs);
  }

  std::string WhatIsLost() const {
    std::map<std::string, int> found;
    for (const auto &[path, content] : EverythingIn("")) {
      if (!path.ends_with('/') && !path.starts_with("beside/")) ++found[content];
    }
    std::string lost;
    for (const auto &[origin, content] : items) {
      const bool mayBeMissing = mayBeGone.contains(content) || content == replaced;
      if (found[content] == 0 && !mayBeMissing) lost += origin + " is lost\n";
      // A link that was made is kept when the other program has taken the old name away with it.
      if (found[content] > 1 && !GetParam().isLinking) lost += origin + " is there twice\n";
    }
    // What is put into a sub-folder while the deletion is at work there goes with it.
    const bool isDeleted = wasDeleting && !GetParam().isTrashing;
    const bool mayBeMissing = isDeleted || mayBeGone.contains(kTheirs);
    if (!pathOfTheirs.empty() && found[kTheirs] != 1 && !mayBeMissing) {
      lost += "theirs, " + pathOfTheirs + ", is lost\n";
    }
    if (PortraitOfBeside() != portraitBefore_) lost += "what lies beside it was changed\n";
    return lost;
  }

 private:
  std::string portraitBefore_;
};

TEST_P(HostileChanges, CostNothing) {
  GoThrough(false);
}

TEST_P(HostileChanges, CostNothingWhileARunIsTakenBack) {
  GoThrough(true);
}

INSTANTIATE_TEST_SUITE_P(Under, HostileChanges, testing::ValuesIn(AllRules()), NameOfRules);

}  // namespace
