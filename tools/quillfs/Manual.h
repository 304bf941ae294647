// The manual page, for man(1).
#pragma once

#include <string>
#include <vector>

#include "tools/quillfs/Command.h"

std::string ManualPage(const std::vector<CommandGroup>& groups);
