#include "platform/foundation/NSObject.h"

namespace foundation {

NSObject::~NSObject() = default;

}  // namespace foundation
