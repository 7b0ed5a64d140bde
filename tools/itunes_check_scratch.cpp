#include "tools/itunes_check_scratch.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int ending_signals[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGXCPU};

/// Removes the directory `name` of the directory `parent` with everything below it, as deep as the import
/// makes it. Links are removed, not followed.
void remove_tree(int parent, const char* name, int depth) {
    const int descriptor = openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    DIR* stream = descriptor < 0 ? nullptr : fdopendir(descriptor);
    for (const dirent* entry = nullptr; stream != nullptr && (entry = readdir(stream)) != nullptr;) {
        const bool is_dot = strcmp(entry->d_name, ".") == 0 || strcmp(entry->d_name, "..") == 0;
        if (!is_dot && unlinkat(descriptor, entry->d_name, 0) != 0 && depth > 0) {
            remove_tree(descriptor, entry->d_name, depth - 1);
        }
    }
    if (stream != nullptr) {
        (void)closedir(stream);
    }
    (void)unlinkat(parent, name, AT_REMOVEDIR);
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
    remove_tree(AT_FDCWD, directory, 2);
    if (signal_number != 0) {
        end_by(signal_number);
    }
    (void)sigprocmask(SIG_SETMASK, &earlier_mask, nullptr);
    return result;
}
