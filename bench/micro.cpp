/// The calls that a run makes for every file, each measured by itself on real files below $TMPDIR.
///
///   micro [--benchmark_filter=REGEX] [--benchmark_format=json]

#include <benchmark/benchmark.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "app/display/status_display.h"
#include "app/start_up_cli.h"
#include "engine/folder_walk.h"
#include "engine/move_name.h"
#include "fsutil/move_item.h"
#include "platform/terminal/terminal.h"
#include "prefs/preferences.h"

namespace {

namespace fs = std::filesystem;

constexpr int kFolders = 100;
constexpr int kFilesAFolder = 100;

/// The folder of this process, removed at the end:
///   config/vannerly/preferences.toml   tree/folder I/document I J.txt
///   from/free.txt  from/taken.txt      to/taken.txt
class CPlace {
 public:
  CPlace() {
    std::string path = fs::temp_directory_path() / "vannerly-micro-XXXXXX";
    if (mkdtemp(path.data()) == nullptr) std::abort();
    path_ = path;
    for (int i = 0; i < kFolders; ++i) {
      const std::string folder = "tree/folder " + std::to_string(i);
      for (int j = 0; j < kFilesAFolder; ++j)
        MakeFile(folder + "/document " + std::to_string(i) + " " + std::to_string(j) + ".txt");
    }
    MakeFile("from/free.txt");
    MakeFile("from/taken.txt");
    MakeFile("to/taken.txt");
    MakeFile("config/vannerly/preferences.toml", "RenameDuplicates = true\nOperation = 1\n");
  }
  ~CPlace() { fs::remove_all(path_); }
  CPlace(const CPlace &) = delete;
  CPlace &operator=(const CPlace &) = delete;

  std::string PathOf(const std::string &relative) const { return path_ / relative; }

  FSRef Ref(const std::string &relative) const {
    FSRef ref;
    if (FSPathMakeRef(PathOf(relative).c_str(), &ref, nullptr) != noErr) std::abort();
    return ref;
  }

 private:
  void MakeFile(const std::string &relative, const char *content = "") const {
    fs::create_directories(fs::path(PathOf(relative)).parent_path());
    std::ofstream(PathOf(relative)) << content;
  }

  fs::path path_;
};

const CPlace *place;

void WalkTree(benchmark::State &state) {
  const FSRef tree = place->Ref("tree");
  const auto count = [](bool, std::uint32_t, const FSCatalogInfo *, const FSRef *, const FSSpec *,
                        const HFSUniStr255 *, void *items) {
    ++*static_cast<std::int64_t *>(items);
    return false;
  };
  std::int64_t items = 0;
  for (auto _ : state) {
    if (IterateFolderTree(tree, 0, kFSCatInfoNodeFlags, false, false, kDescendSkipPackages, count,
                          &items) != noErr) {
      state.SkipWithError("The walk failed.");
    }
  }
  if (items != state.iterations() * kFolders * (kFilesAFolder + 1))
    state.SkipWithError("Items are missing.");
  state.SetItemsProcessed(items);
}
BENCHMARK(WalkTree)->Name("IterateFolderTree (10,100 items)")->Unit(benchmark::kMicrosecond);

void MakeMoveName(benchmark::State &state, const char *file, bool isTaken) {
  const FSRef destination = place->Ref("to");
  const FSRef item = place->Ref(file);
  for (auto _ : state) {
    const auto name = MakeUniqueMoveName(destination, item);
    if (name.has_value() != isTaken) state.SkipWithError("Not the name that was expected.");
    benchmark::DoNotOptimize(name);
  }
}
BENCHMARK_CAPTURE(MakeMoveName, free, "from/free.txt", false)->Name("MakeUniqueMoveName (free)");
BENCHMARK_CAPTURE(MakeMoveName, taken, "from/taken.txt", true)->Name("MakeUniqueMoveName (taken)");

/// From one folder to the other and back, two moves a turn.
void MoveThereAndBack(benchmark::State &state, std::optional<std::u16string_view> there,
                      std::optional<std::u16string_view> back) {
  const FSRef from = place->Ref("from");
  const FSRef to = place->Ref("to");
  FSRef item = place->Ref("from/free.txt");
  for (auto _ : state) {
    FSRef moved;
    if (MoveItemWithNewName(item, to, there, kTextEncodingUnknown, &moved) != noErr ||
        MoveItemWithNewName(moved, from, back, kTextEncodingUnknown, &item) != noErr) {
      state.SkipWithError("A move failed.");
      break;
    }
  }
  state.SetItemsProcessed(2 * state.iterations());
}
BENCHMARK_CAPTURE(MoveThereAndBack, same, std::nullopt, std::nullopt)
    ->Name("2 x MoveItemWithNewName (same name)");
BENCHMARK_CAPTURE(MoveThereAndBack, other, u"other.txt", u"free.txt")
    ->Name("2 x MoveItemWithNewName (new name)");

void ShowText(benchmark::State &state) {
  for (auto _ : state) SetStatusText("Moving File: document 1000 10.txt", 1);
}
BENCHMARK(ShowText)->Name("SetStatusText");

template <auto kGetter>
void ReadPreference(benchmark::State &state) {
  for (auto _ : state) benchmark::DoNotOptimize(kGetter());
}
BENCHMARK(ReadPreference<GetRenameDuplicates>)->Name("GetRenameDuplicates (synchronizes)");
BENCHMARK(ReadPreference<GetOperation>)->Name("GetOperation (does not)");

}  // namespace

int main(int argumentCount, char **arguments) {
  benchmark::Initialize(&argumentCount, arguments);
  if (benchmark::ReportUnrecognizedArguments(argumentCount, arguments)) return 2;
  const CPlace files;
  place = &files;
  (void)setenv("XDG_CONFIG_HOME", files.PathOf("config").c_str(), 1);
  (void)setenv("XDG_STATE_HOME", files.PathOf("state").c_str(), 1);
  // The window of a program that was given no folder; its event loop returns at once.
  StartTerminal(true);
  (void)std::signal(SIGINT, SIG_DFL);
  StartUpOnTerminal();
  FlattenOnTerminal();
  benchmark::RunSpecifiedBenchmarks();
  place = nullptr;
}
