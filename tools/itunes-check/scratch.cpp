#include "tools/itunes-check/scratch.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tools/shared/directory_stream.h"
#include "tools/shared/ending_signals.h"

namespace {

constexpr int exit_failed = 1;
constexpr size_t path_limit = 511; // leaves room for what the import puts below it in its path buffers

void remove_files(const std::string& directory) {
    DirectoryStream entries(directory.c_str());
    while (const dirent* entry = entries.next()) {
        (void)unlink((directory + "/" + entry->d_name).c_str());
    }
}

/// Removes the scratch directory. An import makes one directory in it, which holds files alone; nothing is
/// followed, and nothing deeper or above is ever entered.
void remove_scratch(const std::string& directory) {
    DirectoryStream entries(directory.c_str());
    while (const dirent* entry = entries.next()) {
        const std::string path = directory + "/" + entry->d_name;
        struct stat status = {};
        if (lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
            remove_files(path);
            (void)rmdir(path.c_str());
        }
    }
    (void)rmdir(directory.c_str());
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

/// How the child ended.
struct ChildEnd {
    int status = 0;        // as waitpid has it
    int signal_number = 0; // that ended the child, or is to end this process; 0 for none
};

/// Waits until the child is gone; ends it at a signal.
ChildEnd wait_for(pid_t child, const sigset_t& signals) {
    int status = 0;
    while (waitpid(child, &status, WNOHANG) == 0) {
        int number = 0;
        if (sigwait(&signals, &number) == 0 && number != SIGCHLD) {
            (void)kill(child, SIGKILL);
            (void)waitpid(child, &status, 0);
            return {status, number};
        }
    }
    return {status, WIFSIGNALED(status) ? WTERMSIG(status) : 0};
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
    return exit_failed;
}

/// The child process: does the work and ends.
[[noreturn]] void work_and_exit(const char* program, const ScratchWork& work, const std::string& directory) {
    int status = exit_failed;
    try {
        status = work(directory);
    } catch (const std::bad_alloc&) {
        fprintf(stderr, "%s: out of memory\n", program);
    }
    exit(status);
}

} // namespace

int run_in_scratch(const char* program, const ScratchWork& work) {
    const char* parent = getenv("TMPDIR");
    std::string directory = parent == nullptr || parent[0] == '\0' ? "/tmp" : parent;
    directory += "/itunes-check-XXXXXX";
    if (directory.size() > path_limit) {
        errno = ENAMETOOLONG;
        return fail(program, "a directory below TMPDIR");
    }
    (void)signal(SIGCHLD, SIG_DFL); // ignored, it would take the child's status away
    const sigset_t signals = awaited_signals();
    sigset_t earlier_mask;
    (void)sigprocmask(SIG_BLOCK, &signals, &earlier_mask);
    if (mkdtemp(directory.data()) == nullptr) {
        return fail(program, "a directory below TMPDIR");
    }
    (void)fflush(nullptr); // else both processes print what is left
    const pid_t child = fork();
    if (child == 0) {
        (void)sigprocmask(SIG_SETMASK, &earlier_mask, nullptr);
        work_and_exit(program, work, directory);
    }
    const ChildEnd end = child > 0 ? wait_for(child, signals) : ChildEnd();
    const int result = child < 0 ? fail(program, "a process") : WEXITSTATUS(end.status);
    remove_scratch(directory);
    if (end.signal_number != 0) {
        end_by(end.signal_number);
    }
    (void)sigprocmask(SIG_SETMASK, &earlier_mask, nullptr);
    return result;
}
