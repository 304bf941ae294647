// Questions about the volume on which an item lies. Any thread.
#pragma once

namespace darwin {

/// 0, or the errno, with \p readOnly untouched. Links are followed.
int IsReadOnlyVolume(const char* path, bool& readOnly);

}  // namespace darwin
