/// Right before every change that a run makes, another program does the worst thing it could do at
/// that moment: what races hit upon by chance is gone through here call by call.

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>

#include "tests/reliability/precious_tree.h"

namespace {

namespace fs = std::filesystem;

/// What is about to be changed, as paths.
struct Moment {
  std::string operation;
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
  void (*act)(const Moment &moment);
};

const Deed kDeeds[] = {
    {"takes the new name",
     [](const Moment &moment) {
       if (!moment.goal.empty() && !IsTaken(moment.goal)) WriteTheirs(moment.goal);
     }},
    {"takes the new name with a folder",
     [](const Moment &moment) {
       if (!moment.goal.empty() && mkdir(moment.goal.c_str(), 0755) == 0) {
         WriteTheirs(moment.goal + "/in");
       }
     }},
    {"takes the new name with a link",
     [](const Moment &moment) {
       if (!moment.goal.empty()) (void)!symlink(moment.beside.c_str(), moment.goal.c_str());
     }},
    {"saves a file by renaming a new one over it",
     [](const Moment &moment) {
       if (IsFolder(moment.item)) return;
       if (IsTaken(moment.item)) replaced = ContentOf(moment.item);
       WriteTheirs(moment.away);
       if (rename(moment.away.c_str(), moment.item.c_str()) == 0) pathOfTheirs = moment.item;
     }},
    {"takes the item away", [](const Moment &moment) { TakeAway(moment.item, moment); }},
    {"swaps the item for a link to a folder",
     [](const Moment &moment) {
       if (TakeAway(moment.item, moment)) {
         (void)!symlink(moment.beside.c_str(), moment.item.c_str());
       }
     }},
    {"swaps the item for a second name of a file elsewhere",
     [](const Moment &moment) {
       if (TakeAway(moment.item, moment)) {
         (void)!link((moment.beside + "/in/locked").c_str(), moment.item.c_str());
       }
     }},
    {"swaps the item for a folder",
     [](const Moment &moment) {
       if (TakeAway(moment.item, moment) && mkdir(moment.item.c_str(), 0755) == 0) {
         WriteTheirs(moment.item + "/in");
       }
     }},
    {"swaps the folder for a link",
     [](const Moment &moment) {
       if (!moment.folder.ends_with("/drop") && TakeAway(moment.folder, moment)) {
         (void)!symlink(moment.beside.c_str(), moment.folder.c_str());
       }
     }},
    {"swaps the dropped folder for a link",
     [](const Moment &moment) {
       const std::string drop = fs::path(moment.beside).replace_filename("drop");
       if (TakeAway(drop, moment)) (void)!symlink(moment.beside.c_str(), drop.c_str());
     }},
};

const Deed *deed = nullptr;
int momentOfDeed = 0;
int moments = 0;
const Rules *rules = nullptr;
bool isDeleting = false;
bool wasDeleting = false;  ///< when the deed was done
const CTemporaryFolder *place = nullptr;

std::string PathOfDescriptor(int descriptor) {
  return fs::read_symlink("/proc/self/fd/" + std::to_string(descriptor));
}

Moment MomentOf(const TreeChange &change) {
  Moment moment;
  moment.operation = change.Word();
  moment.folder = PathOfDescriptor(change.folder.descriptor);
  moment.item = moment.folder + "/" + change.name;
  moment.away = place->PathOf("away");
  moment.beside = place->PathOf("beside");
  if (change.newFolder.descriptor >= 0) {
    moment.goal = PathOfDescriptor(change.newFolder.descriptor) + "/" + change.newName;
  } else if (moment.operation == "mkdir" || moment.operation == "symlink") {
    moment.goal = moment.item;
  }
  return moment;
}

int BeHostile(const TreeChange &change) {
  if (++moments == momentOfDeed) {
    wasDeleting = isDeleting;
    deed->act(MomentOf(change));
  }
  return RefusalOf(change, *rules);
}

class HostileChanges : public CPreciousTreeTest {
 protected:
  HostileChanges() {
    rules = &GetParam();
    place = &files;
    portraitBefore_ = PortraitOfBeside();
  }

  /// Flattens a new tree with the deed done before the change of that number; 0: never.
  void FlattenWith(int moment) {
    if (files.Exists("away")) files.Remove("away");
    if (files.Exists("drop")) files.Remove("drop");
    MakeTree();
    pathOfTheirs.clear();
    replaced.clear();
    isDeleting = false;
    whenDeletionBegins = [] { isDeleting = true; };
    moments = 0;
    momentOfDeed = moment;
    SetTreeChangeFault(BeHostile);
    Flatten();
    SetTreeChangeFault(nullptr);
  }

  std::string WhatIsLost() const {
    std::map<std::string, int> found;
    for (const auto &[path, content] : files.Tree()) {
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
    const bool mayBeMissing = wasDeleting || mayBeGone.contains(kTheirs);
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
  deed = kDeeds;
  FlattenWith(0);
  const int changes = moments;
  for (const Deed &next : kDeeds) {
    deed = &next;
    for (int moment = 1; moment <= changes; ++moment) {
      FlattenWith(moment);
      ASSERT_EQ(WhatIsLost(), "") << next.name << " before change " << moment;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Under, HostileChanges, testing::ValuesIn(AllRules()), NameOfRules);

}  // namespace
