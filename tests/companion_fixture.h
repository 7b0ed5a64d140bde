#pragma once
// Runs of the companion programs as lines of the shell, whose whole output is compared with a text in
// tests/golden/.

#include "tests/import_fixture.h"

using namespace fixture;

/// A fresh folder, and what the lines that were run in it printed.
class Companion : public testing::Test {
public:
    /// Runs lines of the shell, where `check` and `items` are the programs.
    void run(const auto&... lines) { (run_one(lines), ...); }
    void run_one(const std::string& line) {
        const RunResult result = result_of(line);
        said_ += "$ " + line + "\n" + result.out +
                 (result.err.empty() ? "" : "--- standard error\n" + result.err) + "--- status " +
                 std::to_string(result.status) + "\n\n";
    }
    static RunResult result_of(const std::string& line) {
        return run_line("check() { " TEST_EMULATOR " '" TEST_CHECK_PROGRAM "' \"$@\"; };"
                        "items() { " TEST_EMULATOR " '" TEST_ITEMS_PROGRAM "' \"$@\"; };" +
                        line);
    }

    /// Compares all that was printed; the folder is called /HERE there.
    void expect_said(const std::string& name) {
        expect_golden(replaced(said_, folder_.path(), "/HERE"), name);
    }

    const TempDir folder_;
    std::string said_;
};
