// The command line: reads the arguments and runs the one command that they name.
#pragma once

/// The status with which the program ends.
int RunProgram(int argumentCount, char** arguments);
