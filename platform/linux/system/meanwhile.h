/// Keeping a window alive during work that does not yield.
#pragma once

/// Draws what is due and answers the window system; costs next to nothing when nothing is due. Null
/// where there is no window.
inline void (*whatGoesOnMeanwhile)() = nullptr;

/// Called first in the File Manager's calls of which long work is made: deleting and sorting may
/// take seconds, and a window that answers nobody for so long is taken for a dead one. What runs
/// here may look at files but changes none.
inline void GoOnMeanwhile() {
  if (whatGoesOnMeanwhile != nullptr) whatGoesOnMeanwhile();
}
