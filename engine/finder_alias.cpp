#include "engine/finder_alias.h"

#include <string>

#include "engine/script_runner.h"

bool MakeFinderAlias(std::u16string_view filePath, std::u16string_view folderPath, OSErr *error) {
  std::u16string source = u"tell application \"Finder\" \rmake new alias file at  POSIX file \"";
  source.append(folderPath).append(u"\" to POSIX file \"").append(filePath);
  source += u"\" \r end tell";
  *error = RunAppleScriptSource(source);
  return *error == noErr;
}
