#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <map>
#include <string>

#include "platform/file_manager.h"
#include "platform/linux/history/taking_back.h"
#include "platform/linux/tree/tree_memory.h"
#include "tests/fuzz/fuzz.h"
#include "tests/support/temporary_folder.h"

namespace {

/// What a journal can speak of: "@a" in the input stands for the first one's INODE:BIRTH, "#a" for
/// its DEVICE:INODE, and "~a" for its path.
constexpr const char *kItems[] = {
    "drop/a.txt",   "drop/b",        "drop/txt",   "drop/txt/c.txt",     "drop/s",
    "drop/s/t",     "drop/pack.app", "drop/h",     "drop/way",           "outside",
    "outside/o",    "outside/sub",   "data/Trash", "data/Trash/files/x", "drop",
    "outside/sub/p"};

const CTemporaryFolder &Place() {
  static const CTemporaryFolder place;
  setenv("XDG_DATA_HOME", place.PathOf("data").c_str(), 1);
  return place;
}

/// A folder as a run may have left it: files, a second name of a file elsewhere, links that lead
/// out of it, and what is in the trash. Each file's content is its first path.
void MakeTree(const CTemporaryFolder &place) {
  for (const char *top : {"drop", "outside", "data"}) {
    if (place.Exists(top)) place.Remove(top);
  }
  for (const char *file : {"outside/o", "outside/h", "outside/sub/p", "drop/a.txt", "drop/b",
                           "drop/txt/c.txt", "drop/pack.app/in", "data/Trash/files/x/in"}) {
    place.WriteFile(file, file);
  }
  place.MakeFolder("drop/s/t");
  place.WriteFile("data/Trash/info/x.trashinfo", "[Trash Info]\nPath=" + place.PathOf("drop/x") +
                                                     "\nDeletionDate=2026-11-22T12:00:00\n");
  Require(link(place.PathOf("outside/h").c_str(), place.PathOf("drop/h").c_str()) == 0, "link");
  Require(chmod(place.PathOf("data/Trash").c_str(), 0700) == 0, "chmod");
  place.MakeSymbolicLink("drop/way", "../outside");
  place.MakeSymbolicLink("drop/link", "../outside/o");
}

std::string WithNumbers(std::string_view input, const CTemporaryFolder &place) {
  std::string text;
  for (std::size_t i = 0; i < input.size(); ++i) {
    const std::size_t item =
        i + 1 < input.size() ? static_cast<std::size_t>(input[i + 1] - 'a') : std::size(kItems);
    if (std::string_view("@#~").find(input[i]) == std::string_view::npos ||
        item >= std::size(kItems)) {
      text += input[i];
      continue;
    }
    const std::string path = place.PathOf(kItems[item]);
    ItemStatus found;
    Require(Tree().Look(AT_FDCWD, path.c_str(), &found) == 0, "what was made is there");
    const auto &[inode, birth] = found.identity;
    if (input[i] == '@') text += std::to_string(inode) + ":" + std::to_string(birth);
    if (input[i] == '#') text += std::to_string(found.device) + ":" + std::to_string(inode);
    if (input[i] == '~') text += path;
    ++i;
  }
  return text;
}

/// Names, contents, modes, owners and times.
std::string PortraitOfOutside(const CTemporaryFolder &place) {
  std::string portrait;
  const auto add = [&](const std::string &path, const std::string &content) {
    struct stat item;
    Require(lstat(place.PathOf("outside/" + path).c_str(), &item) == 0, "lstat");
    for (const std::uint64_t number :
         {std::uint64_t{item.st_mode}, std::uint64_t{item.st_uid}, std::uint64_t{item.st_gid},
          static_cast<std::uint64_t>(item.st_mtim.tv_sec),
          static_cast<std::uint64_t>(item.st_mtim.tv_nsec), std::uint64_t{item.st_ino}}) {
      portrait += std::to_string(number) + " ";
    }
    portrait += path + "=" + content + "\n";
  };
  add("", "");
  for (const auto &[path, content] : place.Tree("outside")) add(path, content);
  return portrait;
}

/// Of files, in the folder and in the trash. An undo may have taken permissions from folders.
std::map<std::string, int> CountContents(const CTemporaryFolder &place) {
  namespace fs = std::filesystem;
  std::map<std::string, int> count;
  for (const char *top : {"drop", "data/Trash/files"}) {
    fs::permissions(place.PathOf(top), fs::perms::owner_all, fs::perm_options::add);
    for (const fs::directory_entry &item : fs::recursive_directory_iterator(place.PathOf(top))) {
      if (item.is_symlink()) continue;
      const bool isFolder = item.is_directory();
      fs::permissions(item, isFolder ? fs::perms::owner_all : fs::perms::owner_read,
                      fs::perm_options::add);
      if (!isFolder) {
        ++count[place.ReadFile(item.path().string().substr(place.Path().size() + 1))];
      }
    }
  }
  return count;
}

FolderIndex Find(const std::string &path, ItemStatus *found) {
  FSRef folder;
  FolderIndex index = 0;
  int descriptor = -1;
  Require(FSPathMakeRef(path.c_str(), &folder, nullptr) == noErr &&
              FindTableFolder(folder, &index, &descriptor) == noErr &&
              Tree().Look(descriptor, "", found) == 0,
          "the folder can be opened");
  return index;
}

void TakeBackRun(std::string_view lines, const CTemporaryFolder &place) {
  const std::string path = place.PathOf("drop");
  Memory().BeginRun();
  ItemStatus found;
  const FolderIndex folder = Find(path, &found);
  JournalHeader header;
  header.program = "vannerly-cli 1.0.0";
  header.time = "2026-11-22T12:00:00Z";
  header.device = found.device;
  header.identity = found.identity;
  header.path = path;
  const std::string text = WriteJournalHeader(header) + WithNumbers(lines, place);
  if (auto run = ParseJournal(text)) {
    CTakingBack work(*std::move(run), text, folder, {}, nullptr, nullptr);
    TakenBack taken;
    while (work.Next(&taken)) {
    }
  }
  FSForgetRun();
}

}  // namespace

/// The input is a journal's lines behind its header. Whatever they say, nothing outside the folder
/// changes, and every content is there as often as before.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  // The tree may have another working directory in between; libFuzzer's paths are from this one.
  static const int start = open(".", O_PATH | O_DIRECTORY | O_CLOEXEC);
  const CTemporaryFolder &place = Place();
  MakeTree(place);
  const std::string outside = PortraitOfOutside(place);
  const std::map<std::string, int> before = CountContents(place);
  TakeBackRun(TextOfInput(data, size), place);
  Require(PortraitOfOutside(place) == outside, "nothing outside the folder is changed");
  Require(CountContents(place) == before, "no content is lost, replaced or doubled");
  Require(fchdir(start) == 0, "the working directory is there");
  return 0;
}
