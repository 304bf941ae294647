// The command line: reads the arguments and runs the one command that they name.
#pragma once

/// Returns the exit status.
int RunProgram(int argumentCount, char** arguments);
