// Texts as people, programs and the shell get them, and command lines that are wrong.

#include "tools/shared/text_output.h"

#include <gtest/gtest.h>

#include <vector>

#include "tools/shared/command_options.h"
#include "tools/shared/utf8.h"

TEST(Texts, AreEscapedWhereTheyWouldAct) {
    const struct {
        std::string text;
        std::string escaped;
        std::string json;
        std::string shell;
    } rows[] = {
        {"", "", R"("")", "''"},
        {"Don't \"\\x\"", R"(Don't "\\x")", R"("Don't \"\\x\"")", R"('Don'\''t "\x"')"},
        {"\x1B[2J'\\\n", R"(\x1B[2J'\\\x0A)", R"("\u001B[2J'\\\n")", R"($'\x1B[2J\'\\\x0A')"},
        {{"\0\r\t\x1F ~\x7F", 7},
         R"(\x00\x0D\x09\x1F ~\x7F)",
         R"("\u0000\r\t\u001F ~\u007F")",
         R"($'\x00\x0D\x09\x1F ~\x7F')"},
        {"\xC2\x80\xC2\x9F\xC2\xA0", "\\xC2\\x80\\xC2\\x9F\xC2\xA0", "\"\\u0080\\u009F\xC2\xA0\"",
         "$'\\xC2\\x80\\xC2\\x9F\xC2\xA0'"},
        {"\u2029\u202A\u202E\u202F", "\u2029\\xE2\\x80\\xAA\\xE2\\x80\\xAE\u202F",
         "\"\u2029\\u202A\\u202E\u202F\"", "$'\u2029\\xE2\\x80\\xAA\\xE2\\x80\\xAE\u202F'"},
        {"\u2065\u2066\u2069\u206A", "\u2065\\xE2\\x81\\xA6\\xE2\\x81\\xA9\u206A",
         "\"\u2065\\u2066\\u2069\u206A\"", "$'\u2065\\xE2\\x81\\xA6\\xE2\\x81\\xA9\u206A'"},
        // A lead byte takes nothing with it that does not belong to it.
        {"\xC3\x7F\xFF\xE2\x82", "\xC3\\x7F\xFF\xE2\x82", "\"\uFFFD\\u007F\uFFFD\uFFFD\uFFFD\"",
         "$'\xC3\\x7F\xFF\xE2\x82'"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.escaped);
        EXPECT_EQ(escaped(row.text), row.escaped);
        EXPECT_EQ(json_string(row.text), row.json);
        EXPECT_EQ(shell_word(row.text), row.shell);
    }
}

TEST(Utf8, HasNoOverlongFormNoSurrogateAndAnEnd) {
    const struct {
        std::string text;
        char32_t code;
        size_t length;
    } rows[] = {
        {"", 0, 0},
        {"\x7F", 0x7F, 1},
        {"\xC1\xBF", 0, 0},
        {"\xC2\x80", 0x80, 2},
        {"\xE0\x9F\xBF", 0, 0},
        {"\xE0\xA0\x80", 0x800, 3},
        {"\xED\x9F\xBF", 0xD7FF, 3},
        {"\xED\xA0\x80", 0, 0},
        {"\xF0\x8F\xBF\xBF", 0, 0},
        {"\xF0\x90\x80\x80", 0x10000, 4},
        {"\xF4\x8F\xBF\xBF", 0x10FFFF, 4},
        {"\xF4\x90\x80\x80", 0, 0},
        {"\xF5\x80\x80\x80", 0, 0},
        {"\xC2", 0, 0},
        {"\xE2\x82", 0, 0},
        {"\xE2\x82\xC0", 0, 0},
        {"\xF0\x9F\x8E-", 0, 0},
    };
    for (const auto& row : rows) {
        const Utf8Character character = utf8_first(row.text);
        EXPECT_EQ(character.code, row.code) << row.text;
        EXPECT_EQ(character.length, row.length) << row.text;
    }
}

TEST(CommandOptions, AreReadOrSayWhatIsWrong) {
    constexpr int option_items = 256;
    const option known[] = {
        {"items", required_argument, nullptr, option_items}, {"help", no_argument, nullptr, 'h'}, {}};
    const struct {
        std::vector<std::string> words;
        std::string read; // options and their values, a bar, what is none; or the fault
    } rows[] = {
        {{}, "|"},
        {{"x", "--items", "-", "-", "-h"}, "items=- help | x -"},
        {{"--items=", "--", "--help"}, "items= | --help"},
        {{"--ite=i", "--he"}, "items=i help |"},
        {{"--items"}, "option '--items' needs a value"},
        {{"--help=3"}, "option '--help' takes no value"},
        {{"-hq"}, "help unknown option '-q'"},
        {{"--\x1B"}, "unknown option '--\\x1B'"},
    };
    for (const auto& row : rows) {
        std::vector<std::string> words = {"program"};
        words.insert(words.end(), row.words.begin(), row.words.end());
        std::vector<char*> arguments;
        for (std::string& word : words) {
            arguments.push_back(word.data());
        }
        CommandOptions options(static_cast<int>(words.size()), arguments.data(), "h", known);
        std::string read;
        int code = options.next();
        for (; code != CommandOptions::end && code != CommandOptions::wrong; code = options.next()) {
            read += code == 'h' ? "help " : std::string("items=") + CommandOptions::value() + " ";
        }
        read += code == CommandOptions::wrong ? options.fault() : "|";
        for (const char* operand : code == CommandOptions::end ? options.operands() : std::span<char*>()) {
            read += std::string(" ") + operand;
        }
        EXPECT_EQ(read, row.read);
    }
}
