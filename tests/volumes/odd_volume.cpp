/// A volume in memory that behaves as oddly as it is told to.
///
///   odd_volume FOLDER [KEY=VALUE...]
///
/// Mounts itself on the folder, says "ready" on standard output and serves one request after the
/// other until it is unmounted. There is no volume behind it, so that no oddness of another one
/// shows through. A key can be set later, too: it is the attribute user.odd.KEY of the top folder.
///
///   times=N          times are whole multiples of N nanoseconds; 0: they never change
///   numbers=item     each item has an inode number of its own, as usual
///          =zero     all have the number 0 (=same: 42)
///          =path     the number goes with the path, so that renaming changes it
///          =changing another one at every look at the item, or, with lasts=N, at every Nth
///   flags=no         a rename cannot be told not to replace: EINVAL
///   links=own        a second name is an item of its own, with the same content
///        =no   a second name is refused: EPERM
///   types=no         listings do not tell of what kind an item is
///   case=no          names that differ in the case of ASCII letters alone are one; from the start
///   names=units      names have up to 255 units of UTF-16, not bytes
///   delay=N          every request takes N microseconds longer
///   cache=N          the kernel may remember names and attributes for N milliseconds
///   requests=        counts from nought; when read, it has a line "KIND NUMBER" for each kind

#define FUSE_USE_VERSION 35
#include <dirent.h>
#include <fuse_lowlevel.h>
#include <linux/fs.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

/// How the volume behaves, with the usual values to begin with.
std::map<std::string, std::string> odd = {
    {"cache", "0"},   {"case", "yes"},  {"delay", "0"},     {"flags", "yes"},
    {"lasts", "1"},   {"links", "yes"}, {"names", "bytes"}, {"numbers", "item"},
    {"requests", ""}, {"times", "1"},   {"types", "yes"},
};

bool Is(const char *key, std::string_view value) {
  return odd.at(key) == value;
}

long Number(const char *key) {
  return std::atol(odd.at(key).c_str());
}

std::map<std::string, long> requests;

struct NameOrder {
  static char Folded(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; }
  bool operator()(const std::string &first, const std::string &second) const {
    if (Is("case", "yes")) return first < second;
    return std::lexicographical_compare(first.begin(), first.end(), second.begin(), second.end(),
                                        [](char a, char b) { return Folded(a) < Folded(b); });
  }
};

struct Item {
  struct stat status = {};  ///< the number and size are put in when it is told
  std::shared_ptr<std::string> content = std::make_shared<std::string>();  ///< or a link's target
  std::map<std::string, Item *, NameOrder> items;
  fuse_ino_t node = 0;
  ino_t looks = 0;         ///< at its number
  Item *folder = nullptr;  ///< where it was put last,
  std::string name;        ///< and under which name

  bool IsFolder() const { return S_ISDIR(status.st_mode); }
};

/// Items stay until the end: the kernel may ask for one that has no name any more.
std::deque<Item> allItems;

// What is odd -----------------------------------------------------------------------------------

timespec Now() {
  constexpr long kSecond = 1'000'000'000;
  const long step = Number("times");
  if (step == 0) return {kSecond, 0};
  timespec now = {};
  clock_gettime(CLOCK_REALTIME, &now);
  if (step < kSecond) return {now.tv_sec, now.tv_nsec - now.tv_nsec % step};
  return {now.tv_sec - now.tv_sec % (step / kSecond), 0};
}

ino_t NumberOf(Item &item) {
  if (Is("numbers", "zero")) return 0;
  if (Is("numbers", "same")) return 42;
  if (Is("numbers", "changing"))
    return 1'000'000 * item.node + item.looks++ / static_cast<ino_t>(Number("lasts"));
  if (Is("numbers", "item")) return 1000 + item.node;
  std::string path;
  for (const Item *at = &item; at != nullptr; at = at->folder) path += at->name + '/';
  return std::hash<std::string>()(path);
}

bool IsTooLong(const std::string &name) {
  if (Is("names", "bytes")) return name.size() > 255;
  // Every byte but those that continue a character is a unit; a character of four bytes is two.
  return std::count_if(name.begin(), name.end(), [](char c) { return (c & 0xC0) != 0x80; }) +
             std::count_if(name.begin(), name.end(), [](char c) { return (c & 0xF0) == 0xF0; }) >
         255;
}

/// Whether an item of that name can be made in the folder: 0 or the error.
int RefusalToMake(const Item &folder, const std::string &name) {
  if (IsTooLong(name)) return ENAMETOOLONG;
  return folder.items.contains(name) ? EEXIST : 0;
}

// Settings --------------------------------------------------------------------------------------

std::string Counts() {
  std::string lines;
  for (const auto &[kind, count] : requests) lines += kind + ' ' + std::to_string(count) + '\n';
  return lines;
}

/// False when there is no such key.
bool Set(const std::string &key, const std::string &value) {
  if (!odd.contains(key)) return false;
  odd[key] = value;
  if (key == "requests") requests.clear();
  return true;
}

// The tree --------------------------------------------------------------------------------------

/// Nodes are counted from 1, which is the top folder's.
Item *ItemOf(fuse_ino_t node) {
  return &allItems[node - FUSE_ROOT_ID];
}

struct stat StatusOf(Item &item) {
  struct stat status = item.status;
  status.st_ino = NumberOf(item);
  status.st_size = static_cast<off_t>(item.IsFolder() ? 4096 : item.content->size());
  status.st_blksize = 4096;
  status.st_blocks = (status.st_size + 511) / 512;
  return status;
}

void Touch(Item *item) {
  item->status.st_mtim = item->status.st_ctim = Now();
}

void Put(Item *item, Item *folder, const std::string &name) {
  folder->items[name] = item;
  item->folder = folder;
  item->name = name;
  item->status.st_ctim = Now();
  Touch(folder);
}

void TakeAway(Item *folder, const std::string &name) {
  const auto found = folder->items.find(name);
  --found->second->status.st_nlink;
  found->second->status.st_ctim = Now();
  folder->items.erase(found);
  Touch(folder);
}

Item *MakeItem(mode_t mode, const fuse_ctx *maker) {
  Item &item = allItems.emplace_back();
  item.status.st_mode = mode;
  item.status.st_uid = maker->uid;
  item.status.st_gid = maker->gid;
  item.status.st_nlink = S_ISDIR(mode) ? 2 : 1;
  item.node = allItems.size();
  item.status.st_atim = Now();
  Touch(&item);
  return &item;
}

// Requests --------------------------------------------------------------------------------------

/// Every request begins with this.
void Begin(const char *kind) {
  ++requests[kind];
  if (!Is("delay", "0")) usleep(static_cast<useconds_t>(Number("delay")));
}

/// Answers with the error, if it is one.
bool Refuse(fuse_req_t request, int error) {
  if (error != 0) fuse_reply_err(request, error);
  return error != 0;
}

/// In seconds.
double CacheTime() {
  return static_cast<double>(Number("cache")) / 1000;
}

fuse_entry_param EntryOf(Item *item) {
  fuse_entry_param entry = {};
  entry.ino = item->node;
  entry.attr = StatusOf(*item);
  entry.attr_timeout = entry.entry_timeout = CacheTime();
  return entry;
}

void ReplyEntry(fuse_req_t request, Item *item) {
  const fuse_entry_param entry = EntryOf(item);
  fuse_reply_entry(request, &entry);
}

void Lookup(fuse_req_t request, fuse_ino_t parent, const char *name) {
  Begin("lookup");
  const Item *folder = ItemOf(parent);
  if (Refuse(request, IsTooLong(name) ? ENAMETOOLONG : 0)) return;
  const auto found = folder->items.find(name);
  if (Refuse(request, found == folder->items.end() ? ENOENT : 0)) return;
  ReplyEntry(request, found->second);
}

void GetAttributes(fuse_req_t request, fuse_ino_t node, fuse_file_info *) {
  Begin("getattr");
  Item *item = ItemOf(node);
  const struct stat status = StatusOf(*item);
  fuse_reply_attr(request, &status, CacheTime());
}

void SetAttributes(fuse_req_t request, fuse_ino_t node, struct stat *wanted, int which,
                   fuse_file_info *) {
  Begin("setattr");
  Item *item = ItemOf(node);
  struct stat &status = item->status;
  if ((which & FUSE_SET_ATTR_MODE) != 0) {
    status.st_mode = (status.st_mode & S_IFMT) | (wanted->st_mode & 07777);
  }
  if ((which & FUSE_SET_ATTR_UID) != 0) status.st_uid = wanted->st_uid;
  if ((which & FUSE_SET_ATTR_GID) != 0) status.st_gid = wanted->st_gid;
  if ((which & FUSE_SET_ATTR_SIZE) != 0) {
    item->content->resize(static_cast<std::size_t>(wanted->st_size));
  }
  if (Is("times", "1") && (which & FUSE_SET_ATTR_MTIME) != 0) status.st_mtim = wanted->st_mtim;
  status.st_ctim = Now();
  const struct stat now = StatusOf(*item);
  fuse_reply_attr(request, &now, CacheTime());
}

/// Makes an item and answers with it; what all kinds of items have in common.
void Make(fuse_req_t request, fuse_ino_t parent, const char *name, mode_t mode,
          const char *target) {
  Item *folder = ItemOf(parent);
  if (Refuse(request, RefusalToMake(*folder, name))) return;
  Item *item = MakeItem(mode, fuse_req_ctx(request));
  *item->content = target;
  Put(item, folder, name);
  ReplyEntry(request, item);
}

void Link(fuse_req_t request, fuse_ino_t node, fuse_ino_t parent, const char *name) {
  Begin("link");
  Item *item = ItemOf(node);
  Item *folder = ItemOf(parent);
  if (Refuse(request, Is("links", "no") ? EPERM : RefusalToMake(*folder, name))) return;
  if (Is("links", "own")) {
    Item *second = MakeItem(item->status.st_mode, fuse_req_ctx(request));
    second->content = item->content;
    item = second;
  } else {
    ++item->status.st_nlink;
  }
  Put(item, folder, name);
  ReplyEntry(request, item);
}

void Remove(fuse_req_t request, fuse_ino_t parent, const std::string &name, bool isFolder) {
  Item *folder = ItemOf(parent);
  const auto found = folder->items.find(name);
  if (Refuse(request, found == folder->items.end() ? ENOENT : 0)) return;
  const Item *item = found->second;
  int error = 0;
  if (item->IsFolder() != isFolder) error = isFolder ? ENOTDIR : EISDIR;
  if (!item->items.empty()) error = ENOTEMPTY;
  if (error == 0) TakeAway(folder, name);
  fuse_reply_err(request, error);
}

/// 0 or the error with which the rename is refused. The kernel has looked at what it knows before.
int RefusalToRename(Item *folder, const std::string &name, Item *newFolder,
                    const std::string &newName, unsigned flags) {
  if (flags != 0 && Is("flags", "no")) return EINVAL;
  if (IsTooLong(newName)) return ENAMETOOLONG;
  const auto found = folder->items.find(name);
  if (found == folder->items.end()) return ENOENT;
  const auto taken = newFolder->items.find(newName);
  const bool isTaken = taken != newFolder->items.end();
  if ((flags & RENAME_EXCHANGE) != 0) return isTaken ? 0 : ENOENT;
  if (!isTaken || found->second == taken->second) return 0;
  if ((flags & RENAME_NOREPLACE) != 0) return EEXIST;
  if (taken->second->IsFolder() != found->second->IsFolder()) {
    return taken->second->IsFolder() ? EISDIR : ENOTDIR;
  }
  return taken->second->items.empty() ? 0 : ENOTEMPTY;
}

void Rename(fuse_req_t request, fuse_ino_t parent, const char *name, fuse_ino_t newParent,
            const char *newName, unsigned flags) {
  Begin(flags == 0 ? "rename" : "rename2");
  Item *folder = ItemOf(parent);
  Item *newFolder = ItemOf(newParent);
  if (Refuse(request, RefusalToRename(folder, name, newFolder, newName, flags))) return;
  Item *item = folder->items.find(name)->second;
  const auto taken = newFolder->items.find(newName);
  Item *other = taken != newFolder->items.end() ? taken->second : nullptr;
  // Two names of one item stay as they are; a name can be given another case.
  const bool isSameName = folder == newFolder && folder->items.find(name) == taken;
  if (item == other && !isSameName) return (void)fuse_reply_err(request, 0);
  folder->items.erase(name);
  Touch(folder);
  if (other != nullptr && !isSameName) {
    TakeAway(newFolder, newName);
    if ((flags & RENAME_EXCHANGE) != 0) {
      ++other->status.st_nlink;
      Put(other, folder, name);
    }
  }
  Put(item, newFolder, newName);
  fuse_reply_err(request, 0);
}

void Read(fuse_req_t request, fuse_ino_t node, std::size_t size, off_t offset, fuse_file_info *) {
  Begin("read");
  const std::string &content = *ItemOf(node)->content;
  const std::size_t from = std::min(static_cast<std::size_t>(offset), content.size());
  fuse_reply_buf(request, content.data() + from, std::min(size, content.size() - from));
}

void Write(fuse_req_t request, fuse_ino_t node, const char *bytes, std::size_t size, off_t offset,
           fuse_file_info *) {
  Begin("write");
  Item *item = ItemOf(node);
  const auto from = static_cast<std::size_t>(offset);
  item->content->resize(std::max(item->content->size(), from + size));
  item->content->replace(from, size, bytes, size);
  Touch(item);
  fuse_reply_write(request, size);
}

/// Folders are read as they were when the reading began.
std::map<std::uint64_t, std::vector<std::pair<std::string, struct stat>>> listings;

void OpenFolder(fuse_req_t request, fuse_ino_t, fuse_file_info *file) {
  Begin("opendir");
  static std::uint64_t opened = 0;
  file->fh = ++opened;
  fuse_reply_open(request, file);
}

void ReadFolder(fuse_req_t request, fuse_ino_t node, std::size_t size, off_t offset,
                fuse_file_info *file) {
  Begin("readdir");
  const Item *folder = ItemOf(node);
  auto &listing = listings[file->fh];
  if (offset == 0) {
    struct stat itself = {};
    itself.st_mode = S_IFDIR;
    listing = {{".", itself}, {"..", itself}};
    for (const auto &[name, item] : folder->items) {
      struct stat told = {};
      told.st_mode = Is("types", "yes") ? item->status.st_mode : 0;
      told.st_ino = NumberOf(*item);
      listing.emplace_back(name, told);
    }
    // The C library takes an item without a number for none.
    for (auto &[name, told] : listing) told.st_ino = std::max<ino_t>(told.st_ino, 1);
  }
  std::string reply(size, '\0');
  std::size_t used = 0;
  for (auto at = static_cast<std::size_t>(offset); at < listing.size(); ++at) {
    const std::size_t needed =
        fuse_add_direntry(request, reply.data() + used, size - used, listing[at].first.c_str(),
                          &listing[at].second, static_cast<off_t>(at + 1));
    if (needed > size - used) break;
    used += needed;
  }
  fuse_reply_buf(request, reply.data(), used);
}

void CloseFolder(fuse_req_t request, fuse_ino_t, fuse_file_info *file) {
  listings.erase(file->fh);
  fuse_reply_err(request, 0);
}

void TellRoom(fuse_req_t request, fuse_ino_t) {
  Begin("statfs");
  struct statvfs room = {};
  room.f_bsize = room.f_frsize = 4096;
  room.f_blocks = room.f_bfree = room.f_bavail = room.f_files = room.f_ffree = 1U << 20;
  room.f_namemax = 255;
  fuse_reply_statfs(request, &room);
}

constexpr std::string_view kOdd = "user.odd.";

void SetExtendedAttribute(fuse_req_t request, fuse_ino_t node, const char *name, const char *value,
                          std::size_t size, int) {
  const std::string key = name;
  if (node != FUSE_ROOT_ID || !key.starts_with(kOdd)) {
    return (void)fuse_reply_err(request, EOPNOTSUPP);
  }
  fuse_reply_err(request, Set(key.substr(kOdd.size()), std::string(value, size)) ? 0 : EINVAL);
}

/// No item has any.
void ListExtendedAttributes(fuse_req_t request, fuse_ino_t, std::size_t size) {
  Begin("listxattr");
  if (size == 0) return (void)fuse_reply_xattr(request, 0);
  fuse_reply_buf(request, nullptr, 0);
}

void GetExtendedAttribute(fuse_req_t request, fuse_ino_t node, const char *name, std::size_t size) {
  if (node != FUSE_ROOT_ID || name != std::string(kOdd) + "requests") {
    Begin("getxattr");
    return (void)fuse_reply_err(request, ENODATA);
  }
  const std::string lines = Counts();
  if (size == 0) return (void)fuse_reply_xattr(request, lines.size());
  if (Refuse(request, size < lines.size() ? ERANGE : 0)) return;
  fuse_reply_buf(request, lines.data(), lines.size());
}

fuse_lowlevel_ops Operations() {
  fuse_lowlevel_ops operations = {};
  operations.lookup = Lookup;
  operations.getattr = GetAttributes;
  operations.setattr = SetAttributes;
  operations.readlink = [](fuse_req_t request, fuse_ino_t node) {
    Begin("readlink");
    fuse_reply_readlink(request, ItemOf(node)->content->c_str());
  };
  operations.mknod = [](fuse_req_t request, fuse_ino_t folder, const char *name, mode_t mode,
                        dev_t) {
    Begin("mknod");
    Make(request, folder, name, mode, "");
  };
  operations.mkdir = [](fuse_req_t request, fuse_ino_t folder, const char *name, mode_t mode) {
    Begin("mkdir");
    Make(request, folder, name, S_IFDIR | mode, "");
  };
  operations.symlink = [](fuse_req_t request, const char *target, fuse_ino_t folder,
                          const char *name) {
    Begin("symlink");
    Make(request, folder, name, S_IFLNK | 0777, target);
  };
  operations.unlink = [](fuse_req_t request, fuse_ino_t folder, const char *name) {
    Begin("unlink");
    Remove(request, folder, name, false);
  };
  operations.rmdir = [](fuse_req_t request, fuse_ino_t folder, const char *name) {
    Begin("rmdir");
    Remove(request, folder, name, true);
  };
  operations.rename = Rename;
  operations.link = Link;
  operations.read = Read;
  operations.write = Write;
  operations.opendir = OpenFolder;
  operations.readdir = ReadFolder;
  operations.releasedir = CloseFolder;
  operations.statfs = TellRoom;
  operations.setxattr = SetExtendedAttribute;
  operations.getxattr = GetExtendedAttribute;
  operations.listxattr = ListExtendedAttributes;
  return operations;
}

int Serve(const char *folder) {
  std::string program = "odd_volume", option = "-o", value = "default_permissions";
  if (geteuid() == 0) value += ",allow_other";  // mostly refused to anybody else
  char *words[] = {program.data(), option.data(), value.data()};
  fuse_args arguments = FUSE_ARGS_INIT(3, words);
  const fuse_lowlevel_ops operations = Operations();
  fuse_session *session = fuse_session_new(&arguments, &operations, sizeof operations, nullptr);
  if (session == nullptr || fuse_set_signal_handlers(session) != 0 ||
      fuse_session_mount(session, folder) != 0) {
    return 1;
  }
  std::puts("ready");
  (void)std::fflush(stdout);
  const int result = fuse_session_loop(session);
  fuse_session_unmount(session);
  fuse_remove_signal_handlers(session);
  fuse_session_destroy(session);
  fuse_opt_free_args(&arguments);
  return result == 0 ? 0 : 1;
}

}  // namespace

int main(int count, char **words) {
  for (int i = 2; i < count; ++i) {
    const std::string word = words[i];
    const std::size_t sign = word.find('=');
    if (sign == std::string::npos || !Set(word.substr(0, sign), word.substr(sign + 1))) {
      (void)std::fprintf(stderr, "odd_volume: what is \"%s\"?\n", word.c_str());
      return 2;
    }
  }
  if (count < 2) return 2;
  const fuse_ctx maker = {.uid = getuid(), .gid = getgid(), .pid = 0, .umask = 0};
  MakeItem(S_IFDIR | 0755, &maker);
  return Serve(words[1]);
}
