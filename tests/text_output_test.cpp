// Texts as people, programs and the shell get them.

#include "tools/shared/text_output.h"

#include <gtest/gtest.h>

#include "tools/shared/utf8.h"

TEST(Texts, AreEscapedWhereTheyWouldAct) {
    const struct {
        std::string text, escaped, json, shell;
    } rows[] = {
        {"", "", R"("")", "''"},
        {"Don't \"\\x\"", R"(Don't "\\x")", R"("Don't \"\\x\"")", R"('Don'\''t "\x"')"},
        {"\x1B[2J'\\\n", R"(\x1B[2J'\\\x0A)", R"("\u001B[2J'\\\n")", R"($'\x1B[2J\'\\\x0A')"},
        {{"\0\r\t\x13\x1F ~\x7F", 8},
         R"(\x00\x0D\x09\x13\x1F ~\x7F)",
         R"("\u0000\r\t\u0013\u001F ~\u007F")",
         R"($'\x00\x0D\x09\x13\x1F ~\x7F')"},
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
    std::string_view text = "\x7F\u0080\u07FF\u0800\uD7FF\U00010000\U0010FFFF";
    for (const char32_t code : std::u32string(U"\x7F\u0080\u07FF\u0800\uD7FF\U00010000\U0010FFFF")) {
        const Utf8Character first = utf8_first(text);
        EXPECT_EQ(first.code, code);
        text.remove_prefix(first.length);
    }
    EXPECT_EQ(text, "");
    for (const char* wrong :
         {"", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80",
          "\xF5\x80\x80\x80", "\xC2", "\xE2\x82", "\xE2\x82\xC0", "\xF0\x9F\x8E-"}) {
        EXPECT_EQ(utf8_first(wrong).length, 0U) << wrong;
    }
}
