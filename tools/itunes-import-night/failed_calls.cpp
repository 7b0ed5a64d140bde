#include "tools/itunes-import-night/failed_calls.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <iterator>

#include "common/upnp_fileio.h"
#include "common/upnp_memory.h"
#include "tools/shared/file_look.h"

namespace {

constexpr const char* call_texts[] = {
    "opening a file failed",
    "closing a file failed",
    "flushing a file failed",
    "writing failed",
    "reading failed",
    "going back in the library failed",
    "looking for a file failed",
    "renaming a file failed",
    "deleting a file failed",
    "making a directory failed",
};
constexpr size_t call_count = std::size(call_texts);
static_assert(call_count == static_cast<size_t>(UpnpFileCall::mkdir) + 1);

constexpr int none = -1;
constexpr int not_all_taken = 0; // by a write, which has no error then

std::array<int, call_count> first_errors; // by call

bool is_usual(UpnpFileCall call, int error) {
    switch (call) {
    case UpnpFileCall::stat: return is_absence_error(error);
    case UpnpFileCall::unlink: return error == ENOENT || is_name_error(error);
    case UpnpFileCall::open: return is_name_error(error);
    default: return false;
    }
}

void note_failure(UpnpFileCall call, int error) {
    int& first = first_errors[static_cast<size_t>(call)];
    // On a full disk one write takes less, and only the next one says why.
    if ((first == none || first == not_all_taken) && !is_usual(call, error)) {
        first = error;
    }
}

} // namespace

void FailedCalls::begin() {
    first_errors.fill(none);
    upnp_file_failure_listener = note_failure;
}

std::vector<std::string> FailedCalls::end() {
    upnp_file_failure_listener = nullptr;
    std::vector<std::string> failures;
    for (size_t call = 0; call < call_count; ++call) {
        const int error = first_errors[call];
        if (error != none) {
            failures.push_back(std::string(call_texts[call]) + ": " +
                               (error == not_all_taken ? "not all was taken" : strerror(error)));
        }
    }
    if (upnp_mem_refused() != 0) {
        failures.emplace_back("memory was short");
    }
    return failures;
}
