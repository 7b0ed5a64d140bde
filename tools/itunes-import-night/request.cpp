#include "tools/itunes-import-night/request.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <span>
#include <string_view>
#include <utility>

#include "tools/itunes-check/request.h"
#include "tools/shared/command_options.h"
#include "tools/shared/text_output.h"

namespace {

constexpr char program[] = "itunes-import-night";

constexpr char usage_text[] =
    "usage: itunes-import-night -dbdir DIRECTORY -itunes-lib LIBRARY.xml\n"
    "           [-playlist-dir DIRECTORY] [-logfile FILE] [--min-share PERCENT]\n"
    "           [--prepare] [--map FROM=TO]... [--media DIR] [--page FILE.html]\n"
    "           [--verbose]\n"
    "       itunes-import-night --help | --version\n"
    "Imports the library, looks at what came of it and moves it into place. Prints\n"
    "nothing when all goes well; otherwise last night's files stay.\n"
    "  -dbdir, -playlist-dir, -itunes-lib, -logfile   as itunes-import takes them\n"
    "  --min-share PERCENT  fail where fewer records would come than this share of\n"
    "                       those that are there (80)\n"
    "  --prepare            prepare the library first, as itunes-prepare does\n"
    "  --map FROM=TO        for the preparation, which it implies\n"
    "  --media DIR          look through DIR for files that are not in their places;\n"
    "                       implies the preparation\n"
    "  --page FILE.html     write a page to look at, after a bad night too\n"
    "  --verbose            say in a good night, too, what arrived\n"
    "  --help               print this text\n"
    "  --version            print the version\n"
    "Exit status: 0 all is new and whole, 1 it is not, 2 wrong arguments.\n";

enum OptionCode : int {
    option_dbdir = 256,
    option_playlist_dir,
    option_itunes_lib,
    option_logfile,
    option_min_share,
    option_prepare,
    option_map,
    option_media,
    option_page,
    option_verbose,
    option_version,
};

constexpr option known_options[] = {
    {"dbdir", required_argument, nullptr, option_dbdir},
    {"playlist-dir", required_argument, nullptr, option_playlist_dir},
    {"itunes-lib", required_argument, nullptr, option_itunes_lib},
    {"logfile", required_argument, nullptr, option_logfile},
    {"min-share", required_argument, nullptr, option_min_share},
    {"prepare", no_argument, nullptr, option_prepare},
    {"map", required_argument, nullptr, option_map},
    {"media", required_argument, nullptr, option_media},
    {"page", required_argument, nullptr, option_page},
    {"verbose", no_argument, nullptr, option_verbose},
    {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, option_version},
    {},
};

/// The options that itunes-import has, too, and that are spelt as there.
constexpr std::string_view import_options[] = {"-dbdir", "-playlist-dir", "-itunes-lib", "-logfile"};

/// The arguments with a second dash in front of the import's options, as getopt_long wants them.
std::vector<std::string> with_second_dash(int argc, char** argv) {
    std::vector<std::string> words(argv, argv + argc);
    for (std::string& word : words) {
        if (word == "--") {
            break;
        }
        const std::string_view name = std::string_view(word).substr(0, word.find('='));
        if (std::ranges::find(import_options, name) != std::end(import_options)) {
            word.insert(0, 1, '-');
        }
    }
    return words;
}

/// The option as it is spelt in the usage text.
std::string spelling_of(int code) {
    for (const option* row = known_options; row->name != nullptr; ++row) {
        if (row->val == code) {
            return (code <= option_logfile ? "-" : "--") + std::string(row->name);
        }
    }
    return {};
}

/// Whether a value looks like one that was forgotten: an empty one, as of a variable that is not set, and the
/// option behind it.
bool is_forgotten(const char* value, const char* argument) {
    return value[0] == '\0' || (value == argument && value[0] == '-');
}

/// Adds a map; what is wrong with it, or empty.
std::string add_map(std::string_view text, std::vector<PathMap>* maps) {
    const int error = add_path_map(maps, text);
    if (error == EINVAL) {
        return "--map takes FROM=TO, not '" + escaped(text) + "'";
    }
    return error == 0 ? "" : "--map " + escaped(text) + ": " + strerror(error);
}

/// Takes one option; what is wrong with it, or empty.
std::string take_option(NightRequest* request, int code, const char* value) {
    switch (code) {
    case option_dbdir: request->database_dir = value; break;
    case option_playlist_dir: request->playlist_dir = value; break;
    case option_itunes_lib: request->library_path = value; break;
    case option_logfile: request->log_path = value; break;
    case option_min_share: {
        const std::optional<uint32_t> share = parse_min_share(value);
        if (!share) {
            return "--min-share takes a whole number from 0 to 100, not '" + escaped(value) + "'";
        }
        request->min_share = *share;
        break;
    }
    case option_map: request->prepares = true; return add_map(value, &request->maps);
    case option_media:
        request->prepares = true;
        request->media_dir = value;
        break;
    case option_page: request->page_path = value; break;
    case option_prepare: request->prepares = true; break;
    case option_verbose: request->is_verbose = true; break;
    default: break;
    }
    return {};
}

/// What is wrong with the whole, or empty.
std::string fault_of(const NightRequest& request, std::span<char*> operands) {
    if (!operands.empty()) {
        return "unknown argument '" + escaped(operands.front()) + "'";
    }
    if (request.database_dir.empty()) {
        return "-dbdir is missing";
    }
    return request.library_path.empty() ? "-itunes-lib is missing" : "";
}

} // namespace

std::optional<NightRequest> read_night_request(int argc, char** argv, int* exit_status) {
    std::vector<std::string> words = with_second_dash(argc, argv);
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    NightRequest request;
    std::string fault;
    CommandOptions options(argc, arguments.data(), "h", known_options);
    for (int code = options.next(); code != CommandOptions::end && fault.empty(); code = options.next()) {
        const char* value = CommandOptions::value();
        if (code == CommandOptions::wrong) {
            fault = options.fault();
        } else if (code == 'h' || code == option_version) {
            *exit_status = print_answer(
                program, code == 'h' ? usage_text : "itunes-import-night " ITUNES_IMPORT_VERSION "\n");
            return std::nullopt;
        } else if (value != nullptr && is_forgotten(value, arguments[static_cast<size_t>(optind - 1)])) {
            fault = "option '" + spelling_of(code) + "' needs a value";
        } else {
            fault = take_option(&request, code, value == nullptr ? "" : value);
        }
    }
    fault = fault.empty() ? fault_of(request, options.operands()) : fault;
    if (!fault.empty()) {
        *exit_status = wrong_usage(program, fault, usage_text);
        return std::nullopt;
    }
    if (request.playlist_dir.empty()) {
        request.playlist_dir = request.database_dir;
    }
    return request;
}
