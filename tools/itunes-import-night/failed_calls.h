#pragma once
// Hears of the system calls and allocations that fail while the import's own code works. The import goes on
// where a write, a flush or a look at its place in the library fails, and what it lost then shows nowhere
// else.
//
//     FailedCalls::begin();
//     itunes_read_library(path, items);
//     for (const std::string& reason : FailedCalls::end()) ...

#include <string>
#include <vector>

class FailedCalls {
public:
    /// Listens from now on. One at a time: the file layer has one listener.
    static void begin();

    /// Listens no more. What failed since, for people, each kind of call once. What an import of a sound
    /// library on a sound machine meets is none of it: a media file that is not there, a name that the file
    /// system refuses.
    [[nodiscard]] static std::vector<std::string> end();
};
