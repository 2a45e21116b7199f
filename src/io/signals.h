#pragma once

// What signals do to a run: those that end it remove first what it must not leave behind
// and say so in the summary of a strict run, and a pipe that nobody reads
// or a file that grows too large is a failed write.

#include <csignal>

// For the start of the program. A signal that is ignored stays so.
void install_signal_handlers();

// Signals that end the run wait while an object of this class lives.
class signals_held {
  public:
    signals_held();
    ~signals_held();
    signals_held(const signals_held&) = delete;
    signals_held& operator=(const signals_held&) = delete;

  private:
    sigset_t before_{};
};
