#include "platform/workspace.h"

#include "platform/file_manager.h"

namespace {

/// Whether the text names one item of a folder, and nothing above or below it.
bool IsItemName(const std::string &name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
         name.find('\0') == std::string::npos;
}

}  // namespace

NSWorkspace &NSWorkspace::sharedWorkspace() {
  static NSWorkspace workspace;
  return workspace;
}

bool NSWorkspace::performFileOperation(std::string_view operation, const std::string &source,
                                       const std::string &destination,
                                       const std::vector<std::string> &files, int *tag) {
  *tag = 0;
  if (operation != NSWorkspaceMoveOperation) return false;
  FSRef folder;
  bool isFolder = false;
  if (FSPathMakeRef(destination.c_str(), &folder, &isFolder) != noErr || !isFolder) return false;
  for (const std::string &name : files) {
    if (!IsItemName(name)) return false;
    const std::string path = std::string(source).append("/").append(name);
    FSRef item;
    if (FSPathMakeRef(path.c_str(), &item, nullptr) != noErr) return false;
    if (FSMoveObject(item, folder, &item) != noErr) return false;
  }
  return true;
}
