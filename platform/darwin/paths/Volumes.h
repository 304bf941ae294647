// Questions about the volume on which an item lies. Names are looked up as NameLookup says. Any thread.
#pragma once

#include <string>

#include "platform/darwin/descriptors/Error.h"

namespace quill::darwin {

struct VolumeSpace {
  /// In bytes.
  double total;
  /// What an unprivileged user may still fill.
  double available;
};

/// Links are followed.
Error GetVolumeSpace(const char* path, VolumeSpace& space);

/// Links are followed.
Error IsReadOnlyVolume(const char* path, bool& readOnly);

/// The directory on which the volume of \p path, an absolute path free of links, is mounted.
Error GetVolumeRoot(const char* path, std::string& root);

}  // namespace quill::darwin
