#include "tests/support/temporary_folder.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace fs = std::filesystem;

CTemporaryFolder::CTemporaryFolder()
    : path_(fs::canonical(fs::temp_directory_path()).string() + "/vannerly-XXXXXX") {
  if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("mkdtemp " + path_);
  fs::permissions(path_, fs::perms(0755));
}

CTemporaryFolder::~CTemporaryFolder() {
  try {
    Remove({});
  } catch (const std::exception &error) {
    std::fprintf(stderr, "%s stays: %s\n", path_.c_str(), error.what());
  }
}

std::string CTemporaryFolder::PathOf(std::string_view relative) const {
  return path_ + "/" + std::string(relative);
}

void CTemporaryFolder::MakeFolder(std::string_view relative) const {
  fs::create_directories(PathOf(relative));
}

void CTemporaryFolder::WriteFile(std::string_view relative, std::string_view content) const {
  const fs::path path = PathOf(relative);
  fs::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary);
  if (!(file << content).flush()) throw std::runtime_error("write " + path.string());
}

void CTemporaryFolder::MakeSymbolicLink(std::string_view relative, std::string_view target) const {
  const fs::path path = PathOf(relative);
  fs::create_directories(path.parent_path());
  fs::create_symlink(target, path);
}

std::string CTemporaryFolder::ReadFile(std::string_view relative) const {
  std::ifstream file(PathOf(relative), std::ios::binary);
  if (!file) throw std::runtime_error("read " + PathOf(relative));
  return {std::istreambuf_iterator<char>(file), {}};
}

bool CTemporaryFolder::Exists(std::string_view relative) const {
  return fs::exists(fs::symlink_status(PathOf(relative)));
}

CTemporaryFolder::Contents CTemporaryFolder::Tree(std::string_view relative) const {
  const std::string top = PathOf(relative);
  Contents contents;
  for (const fs::directory_entry &item : fs::recursive_directory_iterator(top)) {
    const std::string path =
        item.path().string().substr(relative.empty() ? top.size() : top.size() + 1);
    if (item.is_symlink()) {
      contents[path] = "-> " + fs::read_symlink(item).string();
    } else if (item.is_directory()) {
      contents[path + "/"] = "";
    } else {
      contents[path] = item.is_regular_file()
                           ? ReadFile(item.path().string().substr(path_.size() + 1))
                           : "special";
    }
  }
  return contents;
}

void CTemporaryFolder::Remove(std::string_view relative) const {
  const fs::path path = relative.empty() ? fs::path(path_) : fs::path(PathOf(relative));
  if (!fs::exists(fs::symlink_status(path))) throw std::runtime_error("no " + path.string());
  // Whoever owns a folder without permissions can still open it up.
  if (fs::is_directory(fs::symlink_status(path))) {
    fs::permissions(path, fs::perms::owner_all, fs::perm_options::add);
    for (const fs::directory_entry &item : fs::recursive_directory_iterator(path)) {
      if (item.is_directory() && !item.is_symlink())
        fs::permissions(item, fs::perms::owner_all, fs::perm_options::add);
    }
  }
  fs::remove_all(path);
}
