#include "bench/Support.h"

namespace bench {

void RegisterGLib() {}

}  // namespace bench
