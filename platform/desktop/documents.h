/// Items that other programs hand over: in a drag, or over the session bus.
#pragma once

#include <QMimeData>
#include <QStringList>
#include <optional>
#include <vector>

#include "platform/file_manager.h"

/// The items of a drag, one entry for each; none where an entry is no item on this machine.
std::vector<std::optional<FSRef>> ItemsOfDrag(const QMimeData &data);

/// Sends the open-documents event for those of the addresses that name items on this machine;
/// nothing when none does.
void OpenUris(const QStringList &uris);
