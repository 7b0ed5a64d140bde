#pragma once
// The preparation of a library: written anew in the layout that the import reads, with the paths of this
// machine. It touches neither the process's signal handlers nor its working directory, so that another
// program can call it.
//
//     PrepareRequest request = {.input = "iTunes Music Library.xml", .output = "prepared.xml"};
//     const PrepareResult result = prepare_library(request);
//     if (!result.failure.empty()) { ... }

#include <functional>
#include <string>
#include <vector>

#include "tools/shared/path_map.h"
#include "tools/shared/whole_file.h"

struct PrepareRequest {
    std::string input{};         // a path, or "-" for standard input
    std::string output{};        // a path; empty or "-" for standard output
    std::vector<PathMap> maps{}; // of those that fit a path, the longest counts
    std::string media{}; // a folder to look through for files that are not in their places; empty for none
    bool looks_for_spellings = true;
    bool wants_report = false; // all that was done, not only what is amiss
    TemporaryFileWatch watch = nullptr;
    std::function<void()> at_each_look = nullptr; // called before each look for a file; may end the process
};

struct PrepareResult {
    std::string failure{}; // why there is no prepared library, escaped; empty where there is one
    std::string report{};  // lines to print; empty for none
    int look_error = 0; // the first that has left open whether a file is there, which then counts as missing
};

/// Reads the whole input and writes the output: a file beside its place, renamed once it is complete; a
/// stream once all has been read. After a failure the output is as it was, unless writing to a stream itself
/// failed.
[[nodiscard]] PrepareResult prepare_library(const PrepareRequest& request);
