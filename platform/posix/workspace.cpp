#include "platform/workspace.h"

#include "platform/file_manager.h"

namespace {

/// Whether the text names one item of a folder, and nothing above or below it.
bool IsItemName(const std::string &name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
         name.find('\0') == std::string::npos;
}

OSStatus MoveItem(const std::string &source, const std::string &name, const FSRef &folder) {
  if (!IsItemName(name)) return paramErr;
  const std::string path = std::string(source).append("/").append(name);
  FSRef item;
  const OSStatus status = FSPathMakeRef(path.c_str(), &item, nullptr);
  return status == noErr ? FSMoveObject(item, folder, &item) : status;
}

}  // namespace

NSWorkspace &NSWorkspace::sharedWorkspace() {
  static NSWorkspace workspace;
  return workspace;
}

bool NSWorkspace::performFileOperation(std::string_view operation, const std::string &source,
                                       const std::string &destination,
                                       const std::vector<std::string> &files, int *tag) {
  *tag = paramErr;
  if (operation != NSWorkspaceMoveOperation) return false;
  FSRef folder;
  bool isFolder = false;
  *tag = FSPathMakeRef(destination.c_str(), &folder, &isFolder);
  if (*tag == noErr && !isFolder) *tag = dirNFErr;
  for (auto name = files.begin(); name != files.end() && *tag == noErr; ++name) {
    *tag = MoveItem(source, *name, folder);
  }
  return *tag == noErr;
}
