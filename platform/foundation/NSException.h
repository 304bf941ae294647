// What a file handle raises when the platform fails under it.
#pragma once

#include <system_error>

#include "host/Export.h"

namespace quill::foundation {

/// The code is the errno of the call that failed, in std::generic_category.
class QUILL_EXPORT NSException : public std::system_error {
 public:
  /// \p operation is the name of the operation that failed.
  NSException(int posixError, const char* operation);
  ~NSException() override;
};

}  // namespace quill::foundation
