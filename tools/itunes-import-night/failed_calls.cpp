#include "tools/itunes-import-night/failed_calls.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <iterator>

#include "common/upnp_fileio.h"
#include "common/upnp_memory.h"

namespace {

/// The errors that say of a path that nothing is there, and of a name that the file system has no such names.
constexpr int absence_errors[] = {ENOENT, ENOTDIR, ELOOP, EACCES};
constexpr int name_errors[] = {ENAMETOOLONG, EINVAL, EILSEQ};

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

std::array<int, call_count> first_errors; // by call; 0 for a write that took less
uint32_t refused_before = 0;

bool is_one_of(int error, const auto& errors) {
    return std::ranges::find(errors, error) != std::end(errors);
}

bool is_usual(UpnpFileCall call, int error) {
    switch (call) {
    case UpnpFileCall::stat: return is_one_of(error, absence_errors) || is_one_of(error, name_errors);
    case UpnpFileCall::unlink: return error == ENOENT || is_one_of(error, name_errors);
    case UpnpFileCall::open: return is_one_of(error, name_errors);
    default: return false;
    }
}

void note_failure(UpnpFileCall call, int error) {
    int& first = first_errors[static_cast<size_t>(call)];
    if (first == none && !is_usual(call, error)) {
        first = error;
    }
}

} // namespace

void FailedCalls::begin() {
    first_errors.fill(none);
    refused_before = upnp_mem_refused();
    upnp_file_failure_listener = note_failure;
}

std::vector<std::string> FailedCalls::end() {
    upnp_file_failure_listener = nullptr;
    std::vector<std::string> failures;
    for (size_t call = 0; call < call_count; ++call) {
        const int error = first_errors[call];
        if (error != none) {
            failures.push_back(std::string(call_texts[call]) + ": " +
                               (error == 0 ? "not all was taken" : strerror(error)));
        }
    }
    if (upnp_mem_refused() != refused_before) {
        failures.emplace_back("memory was short");
    }
    return failures;
}
