#include "tools/itunes-import-night/ending_signals.h"

#include <csignal>
#include <unistd.h>

namespace {

constexpr int ending_signals[] = {SIGHUP, SIGINT, SIGTERM};
constexpr int signal_status_base = 128; // what a shell adds

volatile std::sig_atomic_t noted_signal = 0;

} // namespace

void catch_ending_signals() {
    (void)signal(SIGPIPE, SIG_IGN);
    (void)signal(SIGXFSZ, SIG_IGN);
    for (const int number : ending_signals) {
        struct sigaction action = {};
        if (sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
            action = {};
            action.sa_handler = [](int noted) { noted_signal = noted; };
            action.sa_flags = SA_RESTART; // no call of the import is to fail for it
            (void)sigaction(number, &action, nullptr);
        }
    }
}

int ending_signal() {
    return noted_signal;
}

void end_by_signal(int number) {
    (void)signal(number, SIG_DFL);
    (void)raise(number);
    _exit(signal_status_base + number); // where the signal is blocked
}
