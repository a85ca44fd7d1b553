#pragma once

// Being asked to end, and waiting for input until then. One source file for each kind of system.

namespace nditools
{

// From now on the first Ctrl-C or request to terminate only sets interrupted(), and ends waits for input; a second one
// ends the process. Called once, before there are other threads, on the thread that is to ask interrupted() time and
// again: on Windows only that one learns of a program's wish that this one close.
void catchInterrupts();
bool interrupted();

// Waits until there are bytes to read, or their end. False once the program is interrupted, also when that was before.
bool waitUntilReadable(int descriptor);

} // namespace nditools
