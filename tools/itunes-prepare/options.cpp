#include "tools/itunes-prepare/options.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <getopt.h>
#include <string>
#include <string_view>

#include "tools/shared/command_options.h"
#include "tools/shared/text_output.h"

namespace {

constexpr char program[] = "itunes-prepare";
constexpr char usage_text[] = "usage: itunes-prepare [--media DIR] [--map FROM=TO]... [--no-probe]\n"
                              "                      [--report] [--] INPUT.xml [OUTPUT.xml]\n"
                              "       itunes-prepare --help | --version\n"
                              "Writes an iTunes library in the layout that itunes-import reads: to standard\n"
                              "output without OUTPUT.xml, from standard input where INPUT.xml is \"-\".\n"
                              "  --media DIR    look below DIR for files that are not in their places\n"
                              "  --map FROM=TO  paths that begin with FROM begin with TO instead\n"
                              "  --no-probe     look for no other spelling of paths that do not exist\n"
                              "  --report       print what was done, not only what is amiss\n"
                              "  -h, --help     print this text\n"
                              "  --version      print the version\n";
constexpr char version_text[] = "itunes-prepare " ITUNES_IMPORT_VERSION "\n";

constexpr int option_map = 256;
constexpr int option_no_probe = 257;
constexpr int option_report = 258;
constexpr int option_version = 259;
constexpr int option_media = 260;
constexpr option long_names[] = {
    {"media", required_argument, nullptr, option_media},
    {"map", required_argument, nullptr, option_map},
    {"no-probe", no_argument, nullptr, option_no_probe},
    {"report", no_argument, nullptr, option_report},
    {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, option_version},
    {},
};

/// Adds a map; what is wrong with it, or nothing.
std::string add_map(std::string_view text, std::vector<PathMap>* maps) {
    const int error = add_path_map(maps, text);
    if (error == EINVAL) {
        return "--map takes FROM=TO";
    }
    // NOLINTNEXTLINE(concurrency-mt-unsafe)
    return error == 0 ? "" : std::string("the working directory is not to be had: ") + strerror(error);
}

} // namespace

std::optional<int> read_options(int argc, char** argv, PrepareRequest* request) {
    CommandOptions options(argc, argv, "h", long_names);
    std::string fault;
    for (int result = options.next(); result != CommandOptions::end && fault.empty();
         result = options.next()) {
        switch (result) {
        case option_map: fault = add_map(options.value(), &request->maps); break;
        case option_media:
            request->media = options.value();
            fault = request->media.empty() ? "--media takes a folder" : "";
            break;
        case option_no_probe: request->looks_for_spellings = false; break;
        case option_report: request->wants_report = true; break;
        case 'h': return print_answer(program, usage_text);
        case option_version: return print_answer(program, version_text);
        default: fault = options.fault(); break;
        }
    }
    const std::span<char*> files = options.operands();
    if (fault.empty() &&
        (files.empty() || files.size() > 2 || *files.front() == '\0' || *files.back() == '\0')) {
        fault = "one or two files are wanted";
    }
    if (!fault.empty()) {
        return wrong_usage(program, fault, usage_text);
    }
    request->input = files.front();
    request->output = files.size() > 1 ? files.back() : "";
    return std::nullopt;
}
