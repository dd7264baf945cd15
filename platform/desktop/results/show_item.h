/// Items in the user's file manager.
#pragma once

#include <string>

/// Shows an item, by its absolute path as bytes, in the folder that it lies in: marked there, where
/// the file manager can do so (freedesktop.org file manager interface). Of an item that is not
/// there any more the nearest folder is opened that is.
void ShowItemInFolder(const std::string &path);
