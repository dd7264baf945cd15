/// Rectangles and regions of a window, in pixels.
#pragma once

#include <memory>

#include "platform/types.h"

struct Point {
  std::int16_t v;
  std::int16_t h;
};

struct Rect {
  std::int16_t top;
  std::int16_t left;
  std::int16_t bottom;
  std::int16_t right;
};

/// A rectangular region.
struct Region {
  Rect bounds;
};
using RgnHandle = Region *;

/// Makes an empty region that its owner lets go.
inline std::unique_ptr<Region> NewRgn() {
  return std::make_unique<Region>();
}

inline void RectRgn(RgnHandle region, const Rect &rect) {
  region->bounds = rect;
}

/// Moves each side of `rect` inwards, by `dh` across and `dv` down.
inline void InsetRect(Rect *rect, std::int16_t dh, std::int16_t dv) {
  rect->top = static_cast<std::int16_t>(rect->top + dv);
  rect->left = static_cast<std::int16_t>(rect->left + dh);
  rect->bottom = static_cast<std::int16_t>(rect->bottom - dv);
  rect->right = static_cast<std::int16_t>(rect->right - dh);
}
