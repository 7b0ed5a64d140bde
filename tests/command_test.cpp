// Runs the built program on small trees. Each file in commands/ holds cases in a format of its own:
//
//     case NAME                 begins a case in a fresh folder
//     file PATH / dir PATH      lays out a file (its lines follow, each behind '|') or a folder
//     link PATH TARGET          lays out a symbolic link
//     run ARGUMENTS             runs itunes-import in the folder; "..." holds blanks, "" is empty
//     items ARGUMENTS           runs itunes-items
//     status N                  expected; 0 unless given
//     out / err                 expected lines follow; nothing unless given, but the allocator's note on err
//     wrote / made / gone PATH  files, folders and losses expected of the run
//
// A line is \U for the usage text, \WTtitle for the head of a playlist of type T, \F for its foot, or a text
// with the escapes of the tables, whose final \c keeps the line feed away. Log times read "TIME ". Everything
// not mentioned stays as it was, so stray files fail too.

#include "tests/support.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace {

constexpr char allocator_note[] = "upnp_malloc: MemCriticalSection not initialized\n";

struct Line {
    std::string word;                // "case", "run", ...
    std::vector<std::string> values; // the other words
    std::string text;                // the '|' lines below it
};
using Case = std::vector<Line>;

/// The text with its first "%s" replaced, if there is one.
std::string put(std::string text, const std::string& value) {
    const size_t place = text.find("%s");
    return place == std::string::npos ? text : text.replace(place, 2, value);
}

/// The text of a line behind its '|', with the escapes of this format and then those of every table.
std::string line_text(const std::string& line) {
    if (line.starts_with("\\W")) {
        return put(put(read_file(source_path("tests/commands/head.txt")), line.substr(2, 1)), line.substr(3));
    }
    if (line.starts_with("\\F")) { return "  </seq>\n </body>\n</smil>\n"; }
    if (line.starts_with("\\U")) { return read_file(source_path("tests/commands/usage.txt")); }
    return line.ends_with("\\c") ? unescape(line.substr(0, line.size() - 2)) : unescape(line) + "\n";
}

std::vector<std::string> words_of(const std::string& line) {
    std::vector<std::string> words;
    std::istringstream stream(line);
    for (std::string word; stream >> std::quoted(word);) { words.push_back(word); }
    return words;
}

std::map<std::string, Case> read_cases(const fs::path& path) {
    std::map<std::string, Case> cases;
    Case* current = nullptr;
    std::ifstream file(path.extension() == ".case" ? path : "/dev/null");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with('|') && current != nullptr) {
            current->back().text += line_text(line.substr(1));
        } else if (!line.empty() && !line.starts_with('#')) {
            std::vector<std::string> words = words_of(line);
            if (words[0] == "case") {
                current = &cases[line.substr(5)];
            } else {
                current->push_back({words[0], {words.begin() + 1, words.end()}, ""});
            }
        }
    }
    return cases;
}

Tree masked_tree() {
    Tree tree = read_tree(".");
    for (auto& [path, bytes] : tree) { bytes = mask_times(bytes); }
    return tree;
}

bool is_layout(const std::string& word) { return word == "file" || word == "dir" || word == "link"; }

bool is_run(const std::string& word) { return word == "run" || word == "items"; }

class CommandCase : public testing::Test {
public:
    explicit CommandCase(Case lines) : lines_(std::move(lines)) {}

private:
    void TestBody() override {
        const TempDir folder;
        for (auto line = lines_.begin(); line != lines_.end();) {
            if (is_run(line->word)) {
                line = check_run(line);
            } else {
                lay_out(*line++);
            }
        }
    }

    static void lay_out(const Line& line) {
        if (line.word == "dir") {
            fs::create_directories(line.values.at(0));
        } else if (line.word == "link") {
            fs::create_symlink(line.values.at(1), line.values.at(0));
        } else {
            ASSERT_EQ(line.word, "file");
            write_file(line.values.at(0), line.text);
        }
    }

    /// Runs the program and compares; returns the line behind what it expects.
    Case::iterator check_run(Case::iterator line) {
        Tree expected = masked_tree();
        const bool is_import = line->word == "run";
        const RunResult result = is_import ? run_import(line->values) : run_program(TEST_ITEMS_PROGRAM, line->values);
        RunResult wanted = {0, "", is_import ? allocator_note : ""};
        for (++line; line != lines_.end() && !is_layout(line->word) && !is_run(line->word); ++line) {
            if (line->word == "status") {
                wanted.status = std::stoi(line->values.at(0));
            } else if (line->word == "out" || line->word == "err") {
                (line->word == "out" ? wanted.out : wanted.err) = line->text;
            } else if (line->word == "gone") {
                EXPECT_EQ(expected.erase(line->values.at(0)), 1U) << line->values.at(0);
            } else if (line->word == "wrote" || line->word == "made") {
                expected[line->values.at(0) + (line->word == "made" ? "/" : "")] = line->text;
            } else {
                ADD_FAILURE() << "unknown word " << line->word;
            }
        }
        wanted.out = put(wanted.out, TEST_PROGRAM);
        EXPECT_EQ(result.status, wanted.status);
        EXPECT_EQ(mask_times(result.out), wanted.out);
        EXPECT_EQ(result.err, wanted.err);
        EXPECT_EQ(masked_tree(), expected);
        return line;
    }

    Case lines_;
};

const bool registered = [] {
    for (const fs::directory_entry& entry : fs::directory_iterator(source_path("tests/commands"))) {
        for (const auto& [name, lines] : read_cases(entry.path())) {
            std::string test = name;
            std::ranges::replace(test, ' ', '_');
            testing::RegisterTest(entry.path().stem().c_str(), test.c_str(), nullptr, nullptr, __FILE__, __LINE__,
                                  [lines = lines] { return new CommandCase(lines); });
        }
    }
    return true;
}();

} // namespace

// Each shell line starts the program as a careless parent would; its lines go to standard output.
TEST(Command, OutputsThatFailEndNoRunAndSpoilNoFile) {
    const TempDir folder;
    std::string library =
        "<key>Track ID</key>\n<key>Location</key><string>file:l.xml</string>\n</dict>\n<key>Playlists</key>\n";
    for (int playlist = 0; playlist < 200; ++playlist) { // each logs a line: its name is too long for a file
        const std::string id = "<string>" + std::to_string(playlist) + std::string(240, 'n') + "</string>\n";
        library += "<key>Name</key>" + id + "<key>Playlist Persistent ID</key>" + id +
                   "<key>Playlist Items</key>\n<key>Track ID</key>\n";
    }
    write_file("l.xml", library);
    write_file("db/other", "");
    const std::string program = TEST_EMULATOR " " TEST_PROGRAM " -dbdir db -itunes-lib l.xml -logfile ";
    // Valgrind writes files of its own, so it does not start within such a limit.
    const std::string limit = program.starts_with("valgrind") ? "" : "ulimit -f 0; ";
    for (const std::string& line : {program + ". >&-", "(sleep 0.2; " + program + ". || echo $? >failed) | true",
                                    "(" + limit + program + "log)"}) {
        EXPECT_EQ(system(("{ " + line + "; } 2>/dev/null").c_str()), 0) << line;
        EXPECT_EQ(read_file("failed"), "") << line;
        const std::string items = read_file("db/itunes.import.items");
        EXPECT_TRUE(items.empty() || items == ">>>>\n03020object.item.audioItem.musicTrack\n45001d\n3C005l.xml\n")
            << items;
    }
}
