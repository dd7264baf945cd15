#include "platform/desktop/door.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "platform/desktop/uris.h"

namespace {

namespace fs = std::filesystem;

/// The user's home folder: where the environment says, and where the system says.
bool IsHome(const fs::path &path) {
  std::error_code error;
  const char *environment = std::getenv("HOME");
  if (environment != nullptr && fs::equivalent(path, environment, error)) return true;
  const passwd *user = getpwuid(getuid());
  return user != nullptr && fs::equivalent(path, user->pw_dir, error);
}

}  // namespace

ItemAtDoor LetIn(const std::string &path) {
  std::error_code error;
  const fs::path given(path);
  const bool isFolder = fs::is_directory(given, error);
  if (error) return {{}, {}, error.message()};
  // A folder is meant as the place it is; of anything else the item itself is meant, a link too.
  const fs::path whole = fs::absolute(given, error);
  const fs::path place = isFolder ? fs::canonical(whole, error)
                                  : fs::canonical(whole.parent_path(), error) / whole.filename();
  if (error) return {{}, {}, error.message()};
  if (place == place.root_path()) return {{}, {}, "The root folder is not flattened"};
  if (IsHome(place)) return {{}, {}, "Your home folder is not flattened"};

  FSRef item;
  if (const OSStatus status = FSPathMakeRef(place.c_str(), &item, nullptr); status != noErr)
    return {{}, {}, "Cannot be used (error " + std::to_string(status) + ")"};
  return {item, place.string(), {}};
}

ItemAtDoor LetInOperand(const std::string &operand) {
  std::error_code error;
  const bool exists = fs::symlink_status(operand, error).type() != fs::file_type::not_found;
  const std::size_t scheme = operand.find(':');
  if (exists || scheme == std::string::npos || scheme == 0) return LetIn(operand);
  if (const auto path = LocalPathFromUri(operand)) return LetIn(*path);
  if (operand.compare(scheme, 3, "://") == 0 || operand.starts_with("file:"))
    return {{}, {}, "Not a folder on this machine"};
  return LetIn(operand);
}
