#include "tools/shared/command_options.h"

#include <cstdio>
#include <string_view>

#include "tools/shared/text_output.h"

namespace {

constexpr int value_missing = ':';
constexpr int exit_usage = 2;

std::string quoted(std::string_view text) {
    return "'" + escaped(text) + "'";
}

} // namespace

CommandOptions::CommandOptions(int argc, char** argv, const char* short_names, const option* long_names)
    : argc_(argc), argv_(argv), short_names_(std::string(":") + short_names), long_names_(long_names) {}

int CommandOptions::next() {
    const int result = getopt_long(argc_, argv_, short_names_.c_str(), long_names_, nullptr);
    if (result != wrong && result != value_missing) {
        return result;
    }
    fault_ = describe(result);
    return wrong;
}

/// A name that is unknown leaves its text alone; what else is wrong tells the number of its option.
std::string CommandOptions::describe(int result) const {
    const char* trouble = result == value_missing ? " needs a value" : " takes no value";
    if (optopt == 0) {
        return "unknown option " + quoted(argv_[optind - 1]);
    }
    for (const option* row = long_names_; row->name != nullptr; ++row) {
        if (row->val == optopt) {
            return "option " + quoted("--" + std::string(row->name)) + trouble;
        }
    }
    const std::string name = {'-', static_cast<char>(optopt)};
    return result == value_missing ? "option " + quoted(name) + trouble : "unknown option " + quoted(name);
}

std::span<char*> CommandOptions::operands() const {
    return {argv_ + optind, static_cast<size_t>(argc_ - optind)};
}

int print_answer(const char* program, const char* text) {
    put_output(text);
    return finish_output(program) ? 0 : 1;
}

int wrong_usage(const char* program, const std::string& fault, const char* usage_text) {
    fprintf(stderr, "%s: %s\n%s", program, fault.c_str(), usage_text);
    return exit_usage;
}
