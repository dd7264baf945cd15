#include "platform/desktop/doors/door.h"

#include <filesystem>

#include "platform/desktop/text/uris.h"

namespace {

bool IsAddress(const std::string &operand) {
  const std::size_t scheme = operand.find(':');
  if (scheme == std::string::npos || scheme == 0) return false;
  return operand.compare(scheme, 3, "://") == 0 || operand.starts_with("file:");
}

bool IsThere(const std::string &path) {
  std::error_code error;
  return std::filesystem::symlink_status(path, error).type() !=
         std::filesystem::file_type::not_found;
}

}  // namespace

Admission AdmitUri(const std::string &uri) {
  if (const auto path = LocalPathFromUri(uri)) return AdmitFolder(*path, false);
  return {std::nullopt, uri, "Not a folder on this machine", false};
}

Admission AdmitOperand(const std::string &operand) {
  return IsAddress(operand) && !IsThere(operand) ? AdmitUri(operand) : AdmitFolder(operand, false);
}
