#include "tools/shared/whole_file.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <initializer_list>
#include <sys/stat.h>

#include "common/upnp_text.h"
#include "tools/shared/ending_signals.h"

namespace {

constexpr int links_limit = 40; // as the system has it
constexpr int names_tried = 100;
constexpr mode_t permissions = 0777;
constexpr mode_t new_permissions = 0666; // without what the umask takes

/// The signals that end a program are held back while it lives.
class SignalBlock {
public:
    SignalBlock() {
        sigset_t signals;
        (void)sigemptyset(&signals);
        for (const int number : ending_signals) {
            (void)sigaddset(&signals, number);
        }
        (void)sigprocmask(SIG_BLOCK, &signals, &earlier_);
    }
    ~SignalBlock() { (void)sigprocmask(SIG_SETMASK, &earlier_, nullptr); }
    SignalBlock(const SignalBlock&) = delete;
    SignalBlock& operator=(const SignalBlock&) = delete;

private:
    sigset_t earlier_{};
};

/// The descriptor that the path names in this process; -1 for none.
int named_descriptor(std::string_view path) {
    if (path == "/dev/stdout") {
        return STDOUT_FILENO;
    }
    if (path == "/dev/stderr") {
        return STDERR_FILENO;
    }
    for (const std::string_view folder : {"/dev/fd/", "/proc/self/fd/"}) {
        const std::string_view digits = path.starts_with(folder) ? path.substr(folder.size()) : "";
        if (!digits.empty() && digits.size() < 6 &&
            digits.find_first_not_of("0123456789") == std::string_view::npos) {
            return upnp_parse_int32(std::string(digits).c_str());
        }
    }
    return -1;
}

/// Gives the new file what the one at `path` has; 0 or the error's number.
int keep_permissions(const std::string& path, int descriptor) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        return 0; // a new file, as the umask has it
    }
    if (fchown(descriptor, status.st_uid, status.st_gid) != 0) {
        // Not everyone may; the file is then this user's.
    }
    return fchmod(descriptor, status.st_mode & permissions) == 0 ? 0 : errno;
}

std::string unused_name(std::string_view program, int attempt) {
    timespec now = {};
    (void)clock_gettime(CLOCK_REALTIME, &now);
    char number[32];
    (void)snprintf(number, sizeof number, "%05x%06x", static_cast<unsigned>(getpid()) & 0xFFFFFU,
                   static_cast<unsigned>(now.tv_nsec + attempt) & 0xFFFFFFU);
    return "." + std::string(program) + "." + number;
}

int make_unnamed(const std::string& folder) {
    const int descriptor = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (descriptor >= 0) {
        return descriptor;
    }
    std::string name = folder + "/itunes-prepare-XXXXXX"; // not every file system has files without names
    const int named = mkostemp(name.data(), O_CLOEXEC);
    if (named >= 0) {
        (void)unlink(name.c_str());
    }
    return named;
}

} // namespace

std::string folder_of(std::string_view path) {
    const size_t slash = path.rfind('/');
    return std::string(path.substr(0, slash == std::string_view::npos ? 0 : slash + 1));
}

bool is_same_file(const std::string& path, const std::string& other) {
    struct stat status = {};
    struct stat other_status = {};
    return stat(path.c_str(), &status) == 0 && stat(other.c_str(), &other_status) == 0 &&
           status.st_dev == other_status.st_dev && status.st_ino == other_status.st_ino;
}

std::string followed_links(std::string_view path, int* descriptor) {
    std::string place(path);
    *descriptor = named_descriptor(place);
    for (int links = 0; *descriptor < 0 && links < links_limit; ++links) {
        char target[PATH_MAX];
        const ssize_t length = readlink(place.c_str(), target, sizeof target);
        if (length <= 0 || length == sizeof target) {
            break;
        }
        const std::string_view text(target, static_cast<size_t>(length));
        place = (text.starts_with('/') ? "" : folder_of(place)).append(text);
        *descriptor = named_descriptor(place);
    }
    return place;
}

OutputTarget output_target(const std::string& path) {
    OutputTarget target;
    (void)followed_links(path, &target.descriptor);
    struct stat status = {};
    if (target.descriptor >= 0) {
        target.is_stream = true;
    } else if (stat(path.c_str(), &status) == 0) {
        target.is_stream = !S_ISREG(status.st_mode);
    } else if (errno != ENOENT) {
        target.error = errno;
    }
    return target;
}

Descriptor unnamed_file(const std::string& folder) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here changes the environment
    const char* wanted = getenv("TMPDIR");
    for (const std::string& place : {folder, std::string(wanted != nullptr ? wanted : ""),
                                     std::string("/tmp"), std::string("/var/tmp"), std::string(".")}) {
        const int descriptor = place.empty() ? -1 : make_unnamed(place);
        if (descriptor >= 0) {
            return Descriptor(descriptor);
        }
    }
    return {};
}

void WholeFile::tell(const char* path) {
    if (watch_ != nullptr) {
        watch_(path);
    }
}

int WholeFile::open(std::string_view path, std::string_view program, TemporaryFileWatch watch) {
    if (output_target(std::string(path)).is_stream) {
        return EINVAL;
    }
    int named = -1;
    path_ = followed_links(path, &named);
    watch_ = watch;
    const std::string folder = folder_of(path_);
    for (int attempt = 0; attempt < names_tried && !descriptor_.is_open(); ++attempt) {
        std::string name = folder + unused_name(program, attempt);
        const SignalBlock block;
        descriptor_ =
            Descriptor(::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, new_permissions));
        if (!descriptor_.is_open() && errno != EEXIST) {
            return errno;
        }
        if (descriptor_.is_open()) {
            beside_ = std::move(name);
            tell(beside_.c_str());
        }
    }
    return descriptor_.is_open() ? keep_permissions(path_, descriptor_.number()) : EEXIST;
}

int WholeFile::publish() {
    if (fsync(descriptor_.number()) != 0 || descriptor_.close() != 0) {
        return errno;
    }
    {
        const SignalBlock block;
        if (rename(beside_.c_str(), path_.c_str()) != 0) {
            return errno;
        }
        beside_.clear();
        tell(nullptr);
    }
    const std::string folder = folder_of(path_);
    const Descriptor place(::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Not every folder can be opened, and not every file system flushes one.
    return !place.is_open() || fsync(place.number()) == 0 || errno == EINVAL ? 0 : errno;
}

void WholeFile::remove() {
    if (!beside_.empty()) {
        const SignalBlock block;
        (void)unlink(beside_.c_str());
        tell(nullptr);
    }
}
