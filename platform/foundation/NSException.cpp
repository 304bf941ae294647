#include "platform/foundation/NSException.h"

namespace quill::foundation {

NSException::NSException(int posixError, const char* operation)
    : std::system_error(posixError, std::generic_category(), operation) {}

NSException::~NSException() = default;

}  // namespace quill::foundation
