#include "tools/shared/file_look.h"

#include <cerrno>
#include <sys/stat.h>

bool is_name_error(int error) {
    return error == ENAMETOOLONG || error == EINVAL || error == EILSEQ;
}

bool is_absence_error(int error) {
    return error == ENOENT || error == ENOTDIR || error == ELOOP || error == EACCES || is_name_error(error);
}

bool FileLook::sees(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) == 0) {
        return true;
    }
    note(errno);
    return false;
}

void FileLook::note(int error) {
    if (error_ == 0 && !is_absence_error(error)) {
        error_ = error;
    }
}
