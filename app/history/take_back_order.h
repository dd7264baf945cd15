/// What is to be taken back, found in the history.
#pragma once

#include <optional>
#include <string>

#include "engine/take_back_run.h"

/// The order to take back the newest run, in the folder or, when it is null, anywhere. None when
/// there is no such run, or when its folder is not where it was; `reason` then says why, in words
/// for the user, and `path` is that folder's, or empty when there is no such run.
std::optional<TakeBackOrder> FindTakeBackOrder(TakeBack how, const FSRef *folder, std::string *path,
                                               std::string *reason);
