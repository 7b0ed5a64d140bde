#include "tools/shared/descriptor.h"

#include <cerrno>

size_t read_up_to(int descriptor, void* bytes, size_t size, int* error) {
    size_t length = 0;
    *error = 0;
    while (length < size) {
        const ssize_t count = read(descriptor, static_cast<char*>(bytes) + length, size - length);
        if (count == 0 || (count < 0 && errno != EINTR)) {
            *error = count == 0 ? 0 : errno;
            break;
        }
        length += count > 0 ? static_cast<size_t>(count) : 0;
    }
    return length;
}

int write_all(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        if (count == 0) {
            return EIO; // else it would be tried for ever
        }
        bytes.remove_prefix(count > 0 ? static_cast<size_t>(count) : 0);
    }
    return 0;
}
