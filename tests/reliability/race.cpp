/// Flattens a small folder over and over while other processes create, rename, take away and swap
/// what is in it, as fast as they can.
///
///   race PROGRAM FOLDER SECONDS SEED
///
/// With VANNERLY_OTHER_DISK, the library built from tests/cli/other_disk.cpp, every other run is
/// slowed down. FOLDER is an empty one to work in. The others never replace and never delete
/// anything: what they take away they keep. So every content can be accounted for. The exit status
/// is 1 when one was lost or is there twice, or when the folder beside the dropped one was changed.

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "platform/linux/system/descriptor.h"

namespace {

namespace fs = std::filesystem;

constexpr int kOthers = 2;
/// Where nothing is deleted; what one run has collated the next may have to delete.
constexpr int kRunsInOneTree = 3;

std::string place;
std::mt19937 randomNumbers;

bool IsOneOf(unsigned count) {
  return randomNumbers() % count == 0;
}

template <std::size_t kCount>
const char *OneOf(const char *const (&values)[kCount]) {
  return values[randomNumbers() % kCount];
}

// The others --------------------------------------------------------------------------------------

volatile std::sig_atomic_t isToldToEnd = 0;

/// Does one deed after the other. Nothing that it makes in the dropped folder itself does it take
/// away again: each such file has to be there in the end.
class COther {
 public:
  /// It begins with the run's first change in the dropped folder, or else with its journal.
  COther(const std::string &name, bool waitsForChange)
      : name_(name),
        watched_(place + (waitsForChange ? "/drop" : "/home/vannerly/journal")),
        stateBefore_(StateOfWatched()),
        away_(open((place + "/away").c_str(), O_PATH | O_CLOEXEC)) {}

  /// Until it is told to end; then writes down what it has made.
  void Run() {
    while (isToldToEnd == 0 && StateOfWatched() == stateBefore_) usleep(50);
    while (isToldToEnd == 0) DoOne();
    std::ofstream file(place + "/made-by-" + name_);
    for (const std::string &content : made_) file << content << '\n';
  }

 private:
  long StateOfWatched() const {
    struct stat status {};
    (void)stat(watched_.c_str(), &status);
    return status.st_mtim.tv_nsec;
  }

  /// An item by the open folder that it lies in, which no link has led to.
  struct Item {
    CDescriptor folder;
    std::string name;
  };

  static CDescriptor Open(const std::string &path) {
    open_how how{};
    how.flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
    how.resolve = RESOLVE_NO_SYMLINKS;
    return CDescriptor(static_cast<int>(
        syscall(SYS_openat2, AT_FDCWD, (place + "/" + path).c_str(), &how, sizeof how)));
  }

  /// An item below a sub-folder, or a folder.
  static Item AnyItem() {
    static const char *const subs[] = {"sub0", "sub1", "sub2"};
    static const char *const folders[] = {"", "/in", "/in/deep"};
    static const char *const names[] = {"a.txt", "b.txt",    "c.jpg", "d",   "locked.txt",
                                        "in",    "517A7274", "deep",  "new", "Tool.app"};
    const std::string sub = OneOf(subs);
    if (IsOneOf(6)) return {Open("drop"), sub};
    return {Open("drop/" + sub + OneOf(folders)), OneOf(names)};
  }

  bool Rename(const Item &from, int folder, const std::string &name) {
    return renameat2(from.folder.Get(), from.name.c_str(), folder, name.c_str(),
                     RENAME_NOREPLACE) == 0;
  }

  void Write(const Item &item, const std::string &kind) {
    const CDescriptor file(openat(item.folder.Get(), item.name.c_str(),
                                  O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                                  IsOneOf(3) ? 0444 : 0644));
    if (!file.IsOpen()) return;
    made_.push_back(kind + "-" + name_ + "-" + std::to_string(made_.size()));
    (void)!write(file.Get(), made_.back().data(), made_.back().size());
  }

  /// Puts something else in the place of what was taken away.
  void PutOther(const Item &item) {
    const std::string beside = place + "/beside";
    const char *const name = item.name.c_str();
    switch (randomNumbers() % 5) {
      case 0:
        (void)!symlinkat(beside.c_str(), item.folder.Get(), name);
        break;
      case 1:
        (void)!symlinkat((beside + "/a.txt").c_str(), item.folder.Get(), name);
        break;
      case 2:
        (void)!linkat(AT_FDCWD, (beside + "/locked.txt").c_str(), item.folder.Get(), name, 0);
        break;
      case 3:
        (void)mkdirat(item.folder.Get(), name, IsOneOf(3) ? 0555 : 0755);
        break;
      default:
        Write(item, "swapped");
    }
  }

  void DoOne() {
    static const char *const wanted[] = {"a.txt",    "b.txt",    "c.jpg", "d",  "locked.txt",
                                         "517A7274", "517A7275", "txt",   "jpg"};
    const Item item = AnyItem();
    const std::string kept = name_ + "-" + std::to_string(next_++);
    switch (randomNumbers() % 8) {
      case 0:
        // A name that the program is about to use, taken before its eyes.
        Write({Open("drop"), OneOf(wanted)}, "kept");
        break;
      case 1:
        Write(item, "new");
        break;
      case 2:
        (void)mkdirat(item.folder.Get(), item.name.c_str(), 0755);
        break;
      case 3: {
        const Item goal = AnyItem();
        (void)Rename(item, goal.folder.Get(), goal.name);
        break;
      }
      case 4:
        BringBackOne(item);
        if (Rename(item, away_.Get(), kept)) taken_.push_back(kept);
        break;
      default:
        if (!Rename(item, away_.Get(), kept)) break;
        PutOther(item);
        taken_.push_back(kept);
        if (IsOneOf(2)) break;
        if (Rename(item, away_.Get(), kept + "-other")) taken_.push_back(kept + "-other");
        BringBackOne(item);
    }
  }

  /// Puts something that was taken away where the item was, or is to be.
  void BringBackOne(const Item &goal) {
    if (taken_.empty()) return;
    std::swap(taken_[randomNumbers() % taken_.size()], taken_.back());
    if (renameat2(away_.Get(), taken_.back().c_str(), goal.folder.Get(), goal.name.c_str(),
                  RENAME_NOREPLACE) == 0) {
      taken_.pop_back();
    }
  }

  std::string name_;
  std::string watched_;  ///< the folder whose first change it waits for
  long stateBefore_;
  CDescriptor away_;
  long next_ = 0;
  std::vector<std::string> taken_;  ///< names of what it has taken away
  std::vector<std::string> made_;
};

pid_t StartOther(const std::string &name, bool waitsForChange) {
  // One that is told to end before it has done anything writes nothing down.
  fs::remove(place + "/made-by-" + name);
  const unsigned seed = static_cast<unsigned>(randomNumbers());
  COther other(name, waitsForChange);
  const pid_t process = fork();
  if (process != 0) return process;
  std::signal(SIGTERM, [](int) { isToldToEnd = 1; });
  randomNumbers.seed(seed);
  other.Run();
  _exit(EXIT_SUCCESS);
}

// The tree ----------------------------------------------------------------------------------------

void WriteNew(const std::string &path, const std::string &content, mode_t mode = 0644) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream(path) << content;
  (void)chmod(path.c_str(), mode);
}

/// Makes the tree and answers the contents in it.
std::vector<std::string> MakeTree() {
  for (const char *old : {"drop", "away"}) fs::remove_all(place + "/" + old);
  fs::create_directories(place + "/away");
  std::vector<std::string> contents;
  const auto make = [&contents](const std::string &path, const std::string &kind, mode_t mode) {
    contents.push_back(kind + "-first-" + std::to_string(contents.size()));
    WriteNew(place + "/drop/" + path, contents.back(), mode);
  };
  make("a.txt", "kept", 0644);
  make("Tool.app/Contents/Info.plist", "kept", 0644);
  for (const char *sub : {"sub0", "sub1", "sub2"}) {
    for (const char *below : {"", "/in", "/in/deep"}) {
      for (const char *name : {"a.txt", "b.txt", "c.jpg", "d", "locked.txt"}) {
        const mode_t mode = std::string(name) == "locked.txt" ? 0444 : 0644;
        make(std::string(sub) + below + "/" + name, "new", mode);
      }
    }
  }
  make("sub1/Tool.app/Contents/Info.plist", "new", 0644);
  return contents;
}

std::string ContentOf(const fs::path &path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void CountContents(const std::string &top, std::map<std::string, int> *found) {
  for (const fs::directory_entry &item : fs::recursive_directory_iterator(top)) {
    if (!item.is_symlink() && item.is_regular_file()) ++(*found)[ContentOf(item.path())];
  }
}

/// All that can be seen of the folder beside the dropped one.
std::string PortraitOfBeside() {
  std::map<std::string, std::string> items;
  for (const fs::directory_entry &item : fs::recursive_directory_iterator(place + "/beside")) {
    struct stat status {};
    (void)lstat(item.path().c_str(), &status);
    items[item.path()] = std::to_string(status.st_mode) + " " +
                         std::to_string(status.st_mtim.tv_sec) + "." +
                         std::to_string(status.st_mtim.tv_nsec) + " " +
                         (item.is_directory() ? "" : ContentOf(item.path()));
  }
  std::string portrait;
  for (const auto &[path, text] : items) portrait += path + " " + text + "\n";
  return portrait;
}

// The program -------------------------------------------------------------------------------------

struct Options {
  bool deletes;
  bool isSlow;  ///< more is done in between
  std::vector<std::string> arguments;
};

Options RandomOptions() {
  Options options{IsOneOf(2), IsOneOf(2), {}};
  const auto add = [&options](const char *name, bool isOn) {
    options.arguments.push_back(std::string(isOn ? "--" : "--no-") + name);
  };
  add("delete-emptied-folders", options.deletes);
  add("aggregate-files-when-done", IsOneOf(2));
  add("rename-duplicates", !IsOneOf(4));
  add("ignore-applications", !IsOneOf(3));
  if (IsOneOf(8)) options.arguments.push_back("--operation=2");
  return options;
}

/// For the process that is to become the program: every rename takes longer.
void SlowDown() {
  const char *const disk = getenv("VANNERLY_OTHER_DISK");
  if (disk == nullptr) return;
  setenv("LD_PRELOAD", disk, 1);
  setenv("ASAN_OPTIONS", "verify_asan_link_order=0", 1);
  setenv("OTHER_DISK_DELAY_US", "200", 1);
}

/// The exit status; -1 when it was ended by a signal.
int RunProgram(const std::string &program, const Options &options) {
  std::vector<std::string> words = options.arguments;
  words.insert(words.begin(), {program, "--quiet"});
  words.push_back(place + "/drop");
  std::vector<char *> arguments(words.size() + 1, nullptr);
  std::ranges::transform(words, arguments.begin(), [](std::string &word) { return word.data(); });
  const pid_t process = fork();
  if (process == 0) {
    if (options.isSlow) SlowDown();
    execv(program.c_str(), arguments.data());
    _exit(EXIT_FAILURE);
  }
  int status = -1;
  (void)waitpid(process, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

class CRace {
 public:
  explicit CRace(std::string program) : program_(std::move(program)) {
    WriteNew(place + "/beside/a.txt", "beside 1");
    WriteNew(place + "/beside/locked.txt", "beside 2", 0444);
    WriteNew(place + "/beside/in/deep/d", "beside 3", 0444);
    (void)chmod((place + "/beside/in").c_str(), 0555);
    portrait_ = PortraitOfBeside();
  }

  /// One tree; false when something was wrong.
  bool RunRound() {
    std::vector<std::string> contents = MakeTree();
    // What changes before the files are counted and collected keeps all from being moved.
    const bool waitsForChange = !IsOneOf(4);
    pid_t others[kOthers];
    for (int i = 0; i < kOthers; ++i) others[i] = StartOther(std::to_string(i), waitsForChange);
    const Options options = RandomOptions();
    std::string wrong;
    const int runs = options.deletes ? 1 : kRunsInOneTree;
    for (int i = 0; i < runs; ++i) {
      // What the others take away meanwhile is left, and told of.
      if (int status = RunProgram(program_, options); status != 0 && status != 3) {
        wrong += "exit status " + std::to_string(status) + "\n";
      }
      ++runs_;
    }
    for (const pid_t other : others) (void)kill(other, SIGTERM);
    for (const pid_t other : others) (void)waitpid(other, nullptr, 0);
    for (int i = 0; i < kOthers; ++i) {
      std::ifstream file(place + "/made-by-" + std::to_string(i));
      for (std::string line; std::getline(file, line);) contents.push_back(line);
    }
    wrong += Account(contents, options.deletes);
    if (PortraitOfBeside() != portrait_) wrong += "the folder beside was changed\n";
    if (wrong.empty()) return true;
    std::printf("%s", wrong.c_str());
    for (const std::string &argument : options.arguments) std::printf(" %s", argument.c_str());
    std::printf("\n");
    return false;
  }

  void Report() const {
    std::printf("%ld runs, %ld contents made by others meanwhile, %ld deleted by rule\n", runs_,
                made_, deleted_);
  }

 private:
  /// What is wrong with the contents, each of which has to be there once. Only those in sub-folders
  /// may be gone, when those are deleted.
  std::string Account(const std::vector<std::string> &contents, bool deletes) {
    std::map<std::string, int> found;
    CountContents(place + "/drop", &found);
    CountContents(place + "/away", &found);
    std::string wrong;
    for (const std::string &content : contents) {
      const int count = found[content];
      if (count == 0 && deletes && !content.starts_with("kept")) {
        ++deleted_;
      } else if (count != 1) {
        wrong += content + " is there " + std::to_string(count) + " times\n";
      }
    }
    made_ += static_cast<long>(contents.size());
    return wrong;
  }

  std::string program_;
  std::string portrait_;
  long runs_ = 0;
  long made_ = 0;
  long deleted_ = 0;
};

}  // namespace

int main(int count, char **arguments) {
  if (count != 5) return 2;
  place = arguments[2];
  randomNumbers.seed(static_cast<unsigned>(std::atol(arguments[4])));
  umask(022);
  for (const char *variable : {"XDG_CONFIG_HOME", "XDG_STATE_HOME", "HOME"}) {
    setenv(variable, (place + "/home").c_str(), 1);
  }
  CRace race(arguments[1]);
  const std::time_t end = std::time(nullptr) + std::atol(arguments[3]);
  bool isGood = true;
  while (isGood && std::time(nullptr) < end) isGood = race.RunRound();
  race.Report();
  return isGood ? EXIT_SUCCESS : EXIT_FAILURE;
}
