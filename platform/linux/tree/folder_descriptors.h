/// What an event loop does between two pieces of work.
#pragma once

/// Closes every descriptor that the File Manager keeps open on folders, so that an idle program
/// keeps no volume from being unmounted. References stay valid.
void CloseFolderDescriptors();
