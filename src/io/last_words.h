#pragma once

// A line that a signal leaves in a file when it ends the run.

namespace last_words {

// From now on the line goes to this descriptor, which is open for appending; -1: nowhere.
void leave_in(int descriptor);
// "failed: ended by signal N", if there is a descriptor. May be called by a signal handler.
void say(int signal);

}  // namespace last_words
