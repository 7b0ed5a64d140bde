// What tells people which options a program has: its usage text, its manual page and its completions.

#include "tests/support.h"

#include <algorithm>
#include <set>

namespace {

/// The words of a text, without the punctuation around options.
std::vector<std::string> words_of(std::string text) {
    for (char& letter : text) {
        letter = std::string_view("\n[]|,").find(letter) == std::string_view::npos ? letter : ' ';
    }
    return split(text, ' ');
}

/// Options, one a line in their order, but for those of one letter, which stand beside a longer one.
std::string listed(const std::set<std::string>& options) {
    std::string list;
    for (const std::string& option : options) {
        list += option.starts_with('-') && option.size() > 2 ? option + "\n" : "";
    }
    return list;
}

std::string usage_text(const std::string& program) {
    if (program == "itunes-import") { // prints it where it fails, and keeps quiet about one
        return read_file(source_path("tests/golden/usage.txt")) + " -init";
    }
    return run_line(program.substr(program.rfind('-') + 1) + " --help").out;
}

/// The flags in those lines of a manual page that begin so: the words behind Fl up to the next macro.
std::string flags(const std::string& page, const std::vector<std::string>& beginnings) {
    std::set<std::string> options;
    for (const std::string& line : split(page, '\n')) {
        const bool is_meant =
            std::ranges::any_of(beginnings, [&](const auto& each) { return line.starts_with(each); });
        bool is_flag = false;
        for (const std::string& word : words_of(is_meant ? line : "")) {
            const bool is_macro =
                word.size() == 2 + size_t{word.starts_with('.')} && isupper(word[word.size() - 2]) != 0;
            is_flag = is_macro ? word.ends_with("Fl") : is_flag;
            options.insert(is_flag && !is_macro ? "-" + word : "");
        }
    }
    return listed(options);
}

/// What the completion of bash offers behind a hyphen.
std::string completed(const std::string& program) {
    const RunResult result = run_line("cd '" + source_path("completions") +
                                      "'; bash -c 'source \"$1.bash\"; COMP_WORDS=(\"$1\" -) COMP_CWORD=1;"
                                      " \"_${1//-/_}\"; printf \"%s\\n\" \"${COMPREPLY[@]}\"' - " +
                                      program);
    const std::vector<std::string> lines = split(result.out, '\n');
    return listed({lines.begin(), lines.end()}) + result.err;
}

/// What the completion of zsh offers for itunes-import: the beginnings of its quoted rows. It reads the options of
/// the companions from their usage texts itself.
std::string completed_by_zsh() {
    std::set<std::string> options;
    for (const std::string& piece : split(read_file(source_path("completions/_itunes-import")), '\'')) {
        options.insert(piece.substr(0, piece.find('[')));
    }
    return listed(options);
}

} // namespace

TEST(Pages, NameTheOptionsOfTheUsage) {
    for (const std::string program :
         {"itunes-import", "itunes-items", "itunes-check", "itunes-prepare", "itunes-import-night"}) {
        SCOPED_TRACE(program);
        const std::vector<std::string> words = words_of(usage_text(program));
        const std::string options = listed({words.begin(), words.end()});
        const std::string page = read_file(source_path("docs/" + program + ".1"));
        const std::string synopsis = page.substr(0, page.find("\n.Sh DESCRIPTION"));
        EXPECT_GT(options.size(), 20U);
        EXPECT_EQ(flags(page, {".It Fl "}), options);
        EXPECT_EQ(flags(synopsis, {".Fl ", ".Op Fl "}), options);
        EXPECT_EQ(completed(program), options);
        EXPECT_EQ(program == "itunes-import" ? completed_by_zsh() : options, options);
    }
}
