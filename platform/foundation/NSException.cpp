#include "platform/foundation/NSException.h"

namespace quill::foundation {

NSException::NSException(int posixError, const char* operation)
    : std::system_error(posixError, std::generic_category(), operation) {}

// Out of line, so that the type information is in the library alone, and an exception that it throws is caught by type
// in the program.
NSException::~NSException() = default;

}  // namespace quill::foundation
