#include <climits>
#include <cstdlib>

#include "platform/icons.h"
#include "platform/posix/resource_files.h"

struct OpaqueBundle {};

namespace {

std::optional<std::string> ResolvedPath(const std::string &path) {
  char resolved[PATH_MAX];
  if (realpath(path.c_str(), resolved) == nullptr) return std::nullopt;
  return resolved;
}

}  // namespace

std::optional<std::string> FindResourceFile(std::string_view name) {
  for (const char *folder : {VANNERLY_DATA_DIR, VANNERLY_SOURCE_RESOURCES}) {
    if (auto path = ResolvedPath(std::string(folder).append("/").append(name))) return path;
  }
  return std::nullopt;
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
