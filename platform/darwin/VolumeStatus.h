// Questions about the volume on which an item lies. Any thread.
#pragma once

namespace darwin {

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

}  // namespace darwin
