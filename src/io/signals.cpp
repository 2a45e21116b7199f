#include "io/signals.h"

#include <array>

#include "io/last_words.h"
#include "io/removal_list.h"

namespace {

constexpr std::array ending_signals{SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGXCPU};

// The signal comes again when the handler returns, and then does what it does without a handler.
void clean_and_end(int signal) {
    removal_list::remove_all();
    last_words::say(signal);
    raise(signal);
}

void set_action(int signal, void (*handler)(int), int flags) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

bool is_ignored(int signal) {
    struct sigaction action {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

void install_signal_handlers() {
    for (const int signal : ending_signals) {
        if (!is_ignored(signal)) set_action(signal, clean_and_end, static_cast<int>(SA_RESETHAND));
    }
    for (const int signal : {SIGPIPE, SIGXFSZ}) set_action(signal, SIG_IGN, 0);
}

signals_held::signals_held() {
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : ending_signals) sigaddset(&held, signal);
    pthread_sigmask(SIG_BLOCK, &held, &before_);
}

signals_held::~signals_held() {
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}
