#pragma once
// The options of a companion's command line: getopt_long, which keeps quiet here so that what is wrong is
// said with its values escaped.
//
//     constexpr option known_options[] = {{"help", no_argument, nullptr, 'h'},
//                                         {"items", required_argument, nullptr, option_items}, {}};
//     CommandOptions options(argc, argv, "h", known_options);
//     for (int code = options.next(); code != CommandOptions::end; code = options.next()) {
//         switch (code) {
//         case option_items: items_path = options.value(); break;
//         case CommandOptions::wrong: return wrong_usage("itunes-check", options.fault(), usage_text);
//         }
//     }
//     for (const char* operand : options.operands()) ...
//
// An option without a short name has a number above 255, so that it is none of the short ones.

#include <getopt.h>
#include <span>
#include <string>

class CommandOptions {
public:
    static constexpr int end = -1;
    static constexpr int wrong = '?';

    /// Texts and rows have to outlive the object; `long_names` ends in an empty row. The order of `argv`
    /// changes as getopt_long changes it. One object at a time: getopt_long has one state.
    CommandOptions(int argc, char** argv, const char* short_names, const option* long_names);

    /// The number of the next option, `end` behind the last one, or `wrong`.
    [[nodiscard]] int next();

    /// The value of the option that next() told, null for one without.
    [[nodiscard]] static const char* value() { return optarg; }

    /// What was wrong with it, for people: "unknown option '--x'".
    [[nodiscard]] const std::string& fault() const { return fault_; }

    /// Behind the last option: what is none.
    [[nodiscard]] std::span<char*> operands() const;

private:
    std::string describe(int result) const;

    int argc_;
    char** argv_;
    std::string short_names_; // behind a colon, which keeps getopt_long silent
    const option* long_names_;
    std::string fault_;
};

/// Prints what was asked for, the usage or the version, and closes standard output. Returns the exit status:
/// 0, or 1 where it got lost.
int print_answer(const char* program, const char* text);

/// Says on standard error what is wrong, as a line of `program`, then the usage, and returns the exit status
/// of wrong usage: 2. Values in `fault` are escaped already.
int wrong_usage(const char* program, const std::string& fault, const char* usage_text);
