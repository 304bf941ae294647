// Scripts that teach shells to complete the commands and their options.
#pragma once

#include <string>
#include <vector>

#include "tools/quillfs/Command.h"

std::string BashCompletion(const std::vector<CommandGroup>& groups);
std::string ZshCompletion(const std::vector<CommandGroup>& groups);
std::string FishCompletion(const std::vector<CommandGroup>& groups);
