// The user's trash, as desktops keep it (freedesktop.org, Trash 1.0).
//
// An item goes to the home trash, $XDG_DATA_HOME/Trash, when it is on that volume, else to the trash of its own
// volume: .Trash/$uid at the volume's root if the administrator has created .Trash there, or else .Trash-$uid, which is
// created. If neither can be used, the item is copied to the home trash.
#pragma once

#include <string>

#include "platform/darwin/descriptors/Error.h"

class CoreFileManager;

namespace quill {

/// On failure the item is where it was. A link is trashed itself, not its target. On success \p trashed is the place
/// where the item is now. Reports to the thread's TreeObserver.
darwin::Error MoveToTrash(CoreFileManager& manager, const char* path, std::string& trashed);

}  // namespace quill
