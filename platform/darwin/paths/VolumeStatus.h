// Questions about the volume on which an item lies. Any thread.
#pragma once

#include <string>

namespace quill::darwin {

struct VolumeSpace {
  /// In bytes.
  double total;
  /// What an unprivileged user may still fill.
  double available;
};

/// 0, or the errno, with \p space untouched. Links are followed.
int GetVolumeSpace(const char* path, VolumeSpace& space);

/// 0, or the errno, with \p readOnly untouched. Links are followed.
int IsReadOnlyVolume(const char* path, bool& readOnly);

/// 0, or the errno. Gives the directory on which the volume of \p path, an absolute path free of links, is mounted.
int VolumeRoot(const char* path, std::string& root);

}  // namespace quill::darwin
