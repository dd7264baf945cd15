/// How a tree looks to those who open, list and look at it while a plan has changed it. Stands
/// right above the disk.
#pragma once

#include <array>
#include <cstdint>
#include <set>
#include <utility>
#include <vector>

#include "platform/linux/plan/planned_tree.h"
#include "platform/linux/tree/tree_layer.h"

class CPlannedView : public CTreeLayer {
 public:
  ~CPlannedView() override;

  int OpenFolder(int folder, const char *name, FolderUse use, int *descriptor) override;
  void CloseFolder(int descriptor) override;
  int Look(int folder, const char *name, ItemStatus *status) override;
  int LookUp(const OpenedFolder &folder, const char *name, ItemStatus *status) override;
  int LookBehindLink(int folder, const char *name, ItemStatus *status) override;
  int ReadLink(int folder, const char *name, std::string *target) override;
  int List(int folder, const ItemVisitor &visit) override;
  FinderInfo ReadFinderInfo(const OpenedFolder &folder, const char *name) override;
  int ReadFile(int folder, const char *name, std::size_t most, std::string *content) override;
  ItemAttributes ReadAttributes(const OpenedFolder &folder, const char *name) override;
  int LookAtVolume(int folder, VolumeStatus *status) override;
  int CheckAccess(int folder, const char *name, int mode) override;
  void Rest() override;

 protected:
  using Identity = std::pair<std::uint64_t, std::uint64_t>;  ///< device and inode

  /// What is remembered of a folder beside its items.
  struct Folder {
    int descriptor = -1;       ///< one that is open on it on disk, a caller's or our own
    std::uint64_t device = 0;  ///< 0: it has not been looked at
    std::uint32_t mode = 0;
    std::uint32_t owner = 0;
    bool isMountPoint = false;
    bool isAppendOnly = false;
    bool isCaseKnown = false;
    std::int64_t changed = 0;  ///< when the plan has changed its names last; 0: never
  };

  /// Where an item really is: on disk, or nowhere but in the plan.
  struct Spot {
    const CPlannedTree::Item *made = nullptr;
    PlanFolder folder = 0;
    int descriptor = -1;  ///< borrowed; good until the next call
    const char *name = "";
  };

  PlanFolder FolderOf(int descriptor) const;
  Folder &FactsOf(PlanFolder folder);
  /// Finds an item; ENOENT when it is not there any more. What the disk has there is not looked at.
  /// An empty name stands for the folder itself.
  int Locate(const PlanPlace &place, Spot *spot);
  int LookAt(const Spot &spot, ItemStatus *status);
  /// The folder that the disk has at a spot.
  PlanFolder FolderAt(const Spot &spot);
  int OpenOnDisk(PlanFolder folder, int *descriptor);
  static std::int64_t Now();

  CPlannedTree tree_;
  /// Items that the plan has unlocked.
  std::set<Identity> writable_;
  std::set<Identity> mutable_;

 private:
  struct OwnDescriptor {
    PlanFolder folder = 0;
    int descriptor = -1;
  };

  void Register(PlanFolder folder, int descriptor);
  void KeepOwn(PlanFolder folder, int descriptor);
  void CloseOwn(OwnDescriptor &own);
  int OpenParent(PlanFolder folder, int from, FolderUse use, int *descriptor);
  static OpenedFolder Opened(const Spot &spot);
  void FindOutCase(const Spot &spot);
  void Invent(const CPlannedTree::Item &made, ItemStatus *status);

  std::vector<Folder> folders_;
  std::vector<PlanFolder> byDescriptor_;
  std::array<OwnDescriptor, 4> own_;
  std::size_t nextOwn_ = 0;
};
