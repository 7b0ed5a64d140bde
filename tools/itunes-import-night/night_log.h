#pragma once
// The log of a night: the lines that an import writes, where it writes them.

#include <string>

class NightLog {
public:
    NightLog() = default;
    ~NightLog();
    NightLog(const NightLog&) = delete;
    NightLog& operator=(const NightLog&) = delete;

    /// Opens the file as an import does; nothing is logged where there is none. What the logger has to say of
    /// its own troubles goes nowhere from then on: standard output leads to /dev/null.
    void open(const std::string& path);

    /// Writes a line, if there is a log.
    void write(const std::string& line);

    /// Whether all lines arrived so far. What was lost has been said.
    [[nodiscard]] bool is_good() const { return is_good_; }

private:
    void fail(int error);

    std::string path_;
    bool is_open_ = false;
    bool is_good_ = true;
};
