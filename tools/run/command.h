// The command icode-run.
#pragma once

namespace icode::run {

// Executes the unit that the command line names, on a thread with a large stack. Gives the exit
// status: the program's own, 125 after a fault of the program, 1 for a bad file or command line.
int run_command(int argc, char** argv);

} // namespace icode::run
