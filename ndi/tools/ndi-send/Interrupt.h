#pragma once

// What concerns the process rather than the program: being asked to end, and standard input as bytes.

namespace ndisend
{

// From now on the first Ctrl-C or request to terminate only sets interrupted(), and ends a read that waits; a second
// one ends the process. Called by the main thread, which is the one that reads.
void catchInterrupts();
bool interrupted();

// No translation of line ends on the systems that do it.
void makeStandardInputBinary();

} // namespace ndisend
