#include <climits>
#include <cstdlib>

#include "platform/icons.h"
#include "platform/linux/system/resource_files.h"

struct OpaqueBundle {};

namespace {

std::optional<std::string> ResolvedPath(const std::string &path) {
  char resolved[PATH_MAX];
  if (realpath(path.c_str(), resolved) == nullptr) return std::nullopt;
  return resolved;
}

/// The folder that comes with the program: where it lies from the folder of the program's own file
/// (proc(5)), so that an installation can be moved; else where it was meant to be installed.
std::string DataFolder() {
  if (const auto program = ResolvedPath("/proc/self/exe")) {
    const std::string folder = program->substr(0, program->rfind('/') + 1);
    if (auto path = ResolvedPath(folder + VANNERLY_DATA_FROM_PROGRAM)) return *path;
  }
  return VANNERLY_DATA_DIR;
}

}  // namespace

std::optional<std::string> FindResourceFile(std::string_view name) {
  // Found once: when the program is replaced while it runs, its old file has no folder any more.
  static const std::string folder = DataFolder();
  return ResolvedPath(std::string(folder).append("/").append(name));
}

CFBundleRef CFBundleGetMainBundle() {
  static OpaqueBundle bundle;
  return &bundle;
}

std::optional<std::string> CFBundleCopyResourceURL(CFBundleRef bundle, std::string_view name,
                                                   std::string_view extension) {
  if (bundle == nullptr) return std::nullopt;
  const auto find = [name](std::string_view ending) {
    return FindResourceFile(std::string(name).append(".").append(ending));
  };
  if (extension != "icns") return find(extension);
  auto icon = find("svg");
  return icon ? icon : find("png");
}

bool CFURLGetFSRef(const std::string &url, FSRef *ref) {
  return FSPathMakeRef(url.c_str(), ref, nullptr) == noErr;
}
