#include "tests/support/tree_change_fault.h"

namespace {

class CFaultLayer final : public CTreeLayer {
 public:
  int Change(const TreeChange &change) override {
    if (const int error = fault(change); error != 0) return error;
    return CTreeLayer::Change(change);
  }
  TreeChangeFault fault = nullptr;
};

CFaultLayer layer;

}  // namespace

void SetTreeChangeFault(TreeChangeFault fault) {
  RemoveLayer(&layer);
  layer.fault = fault;
  if (fault != nullptr) PutLayerOnDisk(&layer);
}
