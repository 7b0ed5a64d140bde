#include "tools/itunes-check/scratch.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/wait.h>
#include <unistd.h>

#include "common/upnp_dirwalk.h"
#include "common/upnp_fileio.h"

namespace {

constexpr int ending_signals[] = {SIGHUP,  SIGINT,  SIGQUIT, SIGTERM, SIGXCPU,
                                  SIGPIPE, SIGALRM, SIGUSR1, SIGUSR2};

void remove_files(const char* directory) {
    for (UpnpDirWalk* walk = upnp_dir_open(directory); walk != nullptr; walk = upnp_dir_next(walk)) {
        (void)upnp_file_unlink(walk->entry_path);
    }
}

/// Removes the scratch directory. An import makes one directory in it, which holds files alone, and no name that
/// a walk would hide; nothing is followed, and nothing deeper or above is ever entered.
void remove_scratch(const char* directory) {
    for (UpnpDirWalk* walk = upnp_dir_open(directory); walk != nullptr; walk = upnp_dir_next(walk)) {
        if (walk->is_directory != 0 && walk->is_link == 0) {
            remove_files(walk->entry_path);
            (void)rmdir(walk->entry_path);
        }
    }
    (void)rmdir(directory);
}

/// The signals to wait for: those that would end this process, and the child's end.
sigset_t awaited_signals() {
    sigset_t signals;
    (void)sigemptyset(&signals);
    (void)sigaddset(&signals, SIGCHLD);
    for (const int number : ending_signals) {
        struct sigaction action = {};
        if (sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
            (void)sigaddset(&signals, number);
        }
    }
    return signals;
}

/// Waits until the child is gone and returns its status as waitpid has it; ends it at a signal.
int wait_for(pid_t child, const sigset_t* signals, int* signal_number) {
    int status = 0;
    while (waitpid(child, &status, WNOHANG) == 0) {
        int number = 0;
        if (sigwait(signals, &number) == 0 && number != SIGCHLD) {
            *signal_number = number;
            (void)kill(child, SIGKILL);
            (void)waitpid(child, &status, 0);
            return status;
        }
    }
    if (WIFSIGNALED(status)) {
        *signal_number = WTERMSIG(status);
    }
    return status;
}

void end_by(int signal_number) {
    sigset_t signals;
    (void)sigemptyset(&signals);
    (void)sigaddset(&signals, signal_number);
    (void)signal(signal_number, SIG_DFL);
    (void)raise(signal_number);
    (void)sigprocmask(SIG_UNBLOCK, &signals, nullptr);
}

int fail(const char* program, const char* what) {
    fprintf(stderr, "%s: can not make %s: %s\n", program, what, strerror(errno));
    return -1;
}

} // namespace

int scratch_run(const char* program, ScratchWork work, void* context) {
    const char* parent = getenv("TMPDIR");
    if (parent == nullptr || parent[0] == '\0') {
        parent = "/tmp";
    }
    char directory[scratch_path_limit];
    const int length = snprintf(directory, sizeof directory, "%s/itunes-check-XXXXXX", parent);
    if (length < 0 || length >= static_cast<int>(sizeof directory)) {
        errno = ENAMETOOLONG;
        return fail(program, "a directory below TMPDIR");
    }
    (void)signal(SIGCHLD, SIG_DFL); // ignored, it would take the child's status away
    const sigset_t signals = awaited_signals();
    sigset_t earlier_mask;
    (void)sigprocmask(SIG_BLOCK, &signals, &earlier_mask);
    if (mkdtemp(directory) == nullptr) {
        return fail(program, "a directory below TMPDIR");
    }
    (void)fflush(nullptr); // else both processes print what is left
    const pid_t child = fork();
    if (child == 0) {
        (void)sigprocmask(SIG_SETMASK, &earlier_mask, nullptr);
        exit(work(directory, context));
    }
    int status = 0;
    int signal_number = 0;
    if (child > 0) {
        status = wait_for(child, &signals, &signal_number);
    }
    const int result = child < 0 ? fail(program, "a process") : WEXITSTATUS(status);
    remove_scratch(directory);
    if (signal_number != 0) {
        end_by(signal_number);
    }
    (void)sigprocmask(SIG_SETMASK, &earlier_mask, nullptr);
    return result;
}
