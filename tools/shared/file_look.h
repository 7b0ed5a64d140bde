#pragma once
// A look for files, which notes what leaves open whether one is there: a failing disk or network drive, not a path at
// which there is nothing, or nothing for this user.

#include <string>

/// Whether the system has refused the name itself, which no file there can have.
[[nodiscard]] bool is_name_error(int error);

/// Whether an error says of a path that nothing is to be had there, as the import takes it.
[[nodiscard]] bool is_absence_error(int error);

class FileLook {
public:
    /// Whether something is at the path; false also where that stays open.
    [[nodiscard]] bool sees(const std::string& path);

    /// Notes what a look at a path or a directory has met, 0 for nothing.
    void note(int error);

    /// The first error that has left something open; 0 for none.
    [[nodiscard]] int error() const { return error_; }

private:
    int error_ = 0;
};
