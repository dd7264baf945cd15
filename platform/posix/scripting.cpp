#include "platform/scripting.h"

#include <cerrno>
#include <cstring>
#include <map>
#include <string>

#include "platform/file_manager.h"
#include "platform/posix/alias_script.h"
#include "platform/posix/disk_names.h"
#include "platform/posix/item_location.h"
#include "platform/posix/tree_changes.h"

/// The component and the scripts that it holds compiled.
struct OpaqueComponent {
  std::map<OSAID, AliasScript> scripts;
  OSAID lastScriptID = kOSANullScript;
};

namespace {

constexpr std::string_view kComponentName = "AppleScript";

/// The bytes of an existing item's path, and a reference to the item.
bool FindItem(const std::u16string &text, std::string *path, FSRef *item, bool *isFolder) {
  return TextToDisk(text, path) && FSPathMakeRef(path->c_str(), item, isFolder) == noErr;
}

/// Makes the link under the first name that is free. The list of names has no end: a folder that
/// holds a thousand aliases of the same name takes one more.
bool MakeAlias(const OpenedFolder &folder, const std::string &name, const std::string &target) {
  int error = MakeSymbolicLink(folder, name.c_str(), target.c_str());
  for (std::uint64_t number = 1; error == EEXIST; ++number) {
    std::string next = name + " alias";
    if (number > 1) next += ' ' + std::to_string(number);
    error = MakeSymbolicLink(folder, next.c_str(), target.c_str());
  }
  return error == 0;
}

bool RunScript(const AliasScript &script) {
  std::string filePath;
  std::string folderPath;
  FSRef file;
  FSRef folder;
  bool isFolder = false;
  if (!FindItem(script.file, &filePath, &file, nullptr)) return false;
  if (!FindItem(script.folder, &folderPath, &folder, &isFolder) || !isFolder) return false;
  const std::string name(NameOnDisk(file));
  if (name == "/") return false;
  OpenedFolder opened{-1, 0};
  if (FindTableFolder(folder, &opened.index, &opened.descriptor) != noErr) return false;
  return MakeAlias(opened, name, filePath);
}

}  // namespace

ComponentInstance OpenDefaultComponent(OSType type, OSType subtype) {
  static OpaqueComponent appleScript;
  return type == FourChars("osa ") && subtype == FourChars("ascr") ? &appleScript : nullptr;
}

OSStatus OSAScriptingComponentName(ComponentInstance component, AEDesc *name) {
  if (component == nullptr) return paramErr;
  *name = AEDesc();
  name->descriptorType = typeText;
  name->data.assign(kComponentName.begin(), kComponentName.end());
  return noErr;
}

OSStatus OSACompile(ComponentInstance component, const AEDesc &source, std::int32_t /*mode*/,
                    OSAID *scriptID) {
  if (component == nullptr) return paramErr;
  if (source.descriptorType != typeUnicodeText || source.data.size() % 2 != 0) {
    return errAECoercionFail;
  }
  std::u16string text(source.data.size() / 2, u'\0');
  if (!text.empty()) std::memcpy(text.data(), source.data.data(), source.data.size());
  std::optional<AliasScript> script = ParseAliasScript(text);
  if (!script) return OSASyntaxError;
  *scriptID = ++component->lastScriptID;
  component->scripts.emplace(*scriptID, *std::move(script));
  return noErr;
}

OSStatus OSAExecute(ComponentInstance component, OSAID scriptID, OSAID /*context*/,
                    std::int32_t /*mode*/, OSAID *resultID) {
  if (component == nullptr) return paramErr;
  const auto script = component->scripts.find(scriptID);
  if (script == component->scripts.end()) return paramErr;
  if (!RunScript(script->second)) return errOSAScriptError;
  // An alias has no value to keep, so the result is the null script.
  *resultID = kOSANullScript;
  return noErr;
}

OSStatus OSADispose(ComponentInstance component, OSAID scriptID) {
  if (component == nullptr) return paramErr;
  if (scriptID == kOSANullScript) return noErr;
  return component->scripts.erase(scriptID) == 1 ? noErr : paramErr;
}
