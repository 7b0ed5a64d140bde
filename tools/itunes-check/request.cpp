#include "tools/itunes-check/request.h"

#include <cstdio>
#include <cstring>
#include <span>

#include "common/upnp_text.h"
#include "tools/shared/command_options.h"
#include "tools/shared/text_output.h"

namespace {

constexpr char program[] = "itunes-check";

constexpr char usage_text[] = "usage: itunes-check [--list | --json] [--media DIR] [--page FILE.html]\n"
                              "                    [--items FILE] [--min-share PERCENT] [--] LIBRARY.xml\n"
                              "       itunes-check --help | --version\n"
                              "Tells what an import of the library will bring, and why the rest will not\n"
                              "arrive.\n"
                              "  --list               print a line for each track and playlist\n"
                              "  --json               print a JSON object for each, and one that sums up\n"
                              "  --media DIR          look below DIR for files that are not in their places\n"
                              "  --page FILE.html     write a page to look at\n"
                              "  --items FILE         compare with the present items file\n"
                              "  --min-share PERCENT  fail below this share of its records (80)\n"
                              "  -h, --help           print this text\n"
                              "  --version            print the version\n";

enum OptionCode : int {
    option_help = 'h',
    option_list = 256,
    option_json,
    option_items,
    option_page,
    option_media,
    option_min_share,
    option_version,
};

constexpr option known_options[] = {
    {"list", no_argument, nullptr, option_list},
    {"json", no_argument, nullptr, option_json},
    {"items", required_argument, nullptr, option_items},
    {"media", required_argument, nullptr, option_media},
    {"page", required_argument, nullptr, option_page},
    {"min-share", required_argument, nullptr, option_min_share},
    {"help", no_argument, nullptr, option_help},
    {"version", no_argument, nullptr, option_version},
    {},
};

/// Takes an option with its value into the request; says what is wrong, or returns the empty text.
std::string take_option(CheckRequest* request, int code, const char* value) {
    if (code == option_list || code == option_json) {
        const OutputForm form = code == option_list ? OutputForm::list : OutputForm::json;
        const bool is_free = request->form == OutputForm::summary || request->form == form;
        request->form = form;
        return is_free ? "" : "--list and --json exclude each other";
    }
    if (code == option_media) {
        request->media_path = value;
        return value[0] == '\0' ? "--media needs the name of a folder" : "";
    }
    if (code == option_page) {
        request->page_path = value;
        return value[0] == '\0' ? "--page needs the name of a file" : "";
    }
    if (code == option_items) {
        request->items_path = value;
        return value[0] == '\0' ? "--items needs the name of a file"
                                : ""; // as from a variable that is not set
    }
    request->min_share = parse_min_share(value);
    return request->min_share
               ? ""
               : "--min-share takes a whole number from 0 to 100, not '" + escaped(value) + "'";
}

/// Takes what is no option and looks at the whole.
std::string complete(CheckRequest* request, std::span<char*> operands) {
    if (operands.empty()) {
        return "the library is missing";
    }
    if (operands.size() > 1) {
        return "one library at a time: '" + escaped(operands[1]) + "' is one too many";
    }
    request->library_path = operands[0];
    return request->min_share && !request->items_path ? "--min-share needs --items" : "";
}

} // namespace

std::optional<uint32_t> parse_min_share(const char* text) {
    const size_t length = strlen(text);
    if (length == 0 || length > 3 || strspn(text, "0123456789") != length) {
        return std::nullopt;
    }
    const auto share = static_cast<uint32_t>(upnp_parse_int32(text));
    return share <= 100 ? std::optional(share) : std::nullopt;
}

std::optional<CheckRequest> read_check_request(int argc, char** argv, int* exit_status) {
    CheckRequest request;
    std::string fault;
    CommandOptions options(argc, argv, "h", known_options);
    for (int code = options.next(); code != CommandOptions::end && fault.empty(); code = options.next()) {
        switch (code) {
        case option_help: *exit_status = print_answer(program, usage_text); return std::nullopt;
        case option_version:
            *exit_status = print_answer(program, "itunes-check " ITUNES_IMPORT_VERSION "\n");
            return std::nullopt;
        case CommandOptions::wrong: fault = options.fault(); break;
        default: fault = take_option(&request, code, CommandOptions::value());
        }
    }
    fault = fault.empty() ? complete(&request, options.operands()) : fault;
    if (!fault.empty()) {
        *exit_status = wrong_usage(program, fault, usage_text);
        return std::nullopt;
    }
    return request;
}
