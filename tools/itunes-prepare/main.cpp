// itunes-prepare: writes an iTunes library anew in the layout that itunes-import reads, with the paths of
// this machine.

#include <csignal>
#include <cstdio>
#include <cstring>
#include <unistd.h>

#include "tools/itunes-prepare/options.h"
#include "tools/itunes-prepare/prepare.h"
#include "tools/shared/companion_main.h"
#include "tools/shared/ending_signals.h"

namespace {

constexpr size_t path_size = 4096;

char temporary_path[path_size]; // of the unfinished output, empty for none; changes while no signal comes

void watch_temporary_file(const char* path) {
    const size_t length = path == nullptr ? 0 : strnlen(path, path_size - 1);
    memcpy(temporary_path, path == nullptr ? "" : path, length);
    temporary_path[length] = '\0';
}

/// Removes the unfinished output and lets the signal end the program.
void end_by_signal(int number) {
    if (temporary_path[0] != '\0') {
        (void)unlink(temporary_path);
    }
    (void)signal(number, SIG_DFL);
    (void)raise(number); // comes once the handler has returned
}

void handle_signals() {
    for (const int number : ending_signals) {
        struct sigaction action = {};
        action.sa_handler = end_by_signal;
        struct sigaction earlier = {};
        if (sigaction(number, nullptr, &earlier) == 0 && earlier.sa_handler != SIG_IGN) {
            (void)sigaction(number, &action, nullptr);
        }
    }
}

int run(int argc, char** argv) {
    handle_signals();
    PrepareRequest request;
    request.watch = watch_temporary_file;
    const std::optional<int> status = read_options(argc, argv, &request);
    if (status) {
        return *status;
    }
    const PrepareResult result = prepare_library(request);
    if (!result.failure.empty()) {
        fprintf(stderr, "itunes-prepare: %s\n", result.failure.c_str());
        return 1;
    }
    fputs(result.report.c_str(), stderr);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    return companion_main("itunes-prepare", run, argc, argv);
}
