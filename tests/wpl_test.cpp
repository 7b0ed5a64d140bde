// The texts of WPL documents, and what happens at the ends of their buffers.

#include "tests/support.h"

#include "common/upnp_log.h"
#include "server/common/upnp_wpl.h"

namespace {

/// What `write` puts into a fresh file.
template <typename Write>
std::string written(uint32_t expected_result, Write write) {
    const TempDir folder;
    UpnpFile* file = upnp_file_open_write("wpl");
    EXPECT_EQ(write(file), expected_result);
    upnp_file_close(file);
    return read_file("wpl");
}

std::string header(const std::string& feed, const std::string& user, const std::string& origin,
                   const std::string& type_line, const std::string& title) {
    return "<?wpl version=\"1.0\"?>\n<smil>\n <head>\n  <meta name=\"Generator\" content=\"ZembraMedia\"/>\n"
           "  <meta name=\"IsNetworkFeed\" content=\"" +
           feed +
           "\"/>\n"
           "  <meta name=\"IsUserGenerated\" content=\"" +
           user +
           "\"/>\n"
           "  <meta name=\"OrigFilename\" content=\"" +
           origin + "\"/>\n" + type_line + "  <title>" + title + "</title>\n </head>\n <body>\n  <seq>\n";
}

std::string type_line(const std::string& type) {
    return "  <meta name=\"Type\" content=\"" + type + "\"/>\n";
}

} // namespace

TEST(Wpl, WritesTheHeader) {
    const std::string long_type = repeat("t", 93);
    const std::string cut_type = repeat("t", 94);
    const size_t room = 1023 - header("0", "0", "", type_line("M"), "").size();
    const std::string fitting = repeat("x", room);
    const std::string too_long = fitting + "x";
    const struct {
        const char* name;
        const char *type, *title, *origin;
        uint32_t feed, user, result;
        std::string text;
    } rows[] = {
        {"all given", "M", "A & <\"B\"", "/l.xml", 2, 1, 1,
         header("1", "1", "/l.xml", type_line("M"), "A & <\"B\"")},
        {"nothing given", nullptr, nullptr, nullptr, 0, 0, 1, header("0", "0", "Unknown", "", "Unknown")},
        {"empty type", "", "%s", "", 0, 0, 1, header("0", "0", "", type_line(""), "%s")},
        {"longest type", long_type.c_str(), "T", "O", 0, 0, 1,
         header("0", "0", "O", type_line(long_type), "T")},
        {"cut type", cut_type.c_str(), "T", "O", 0, 0, 1,
         header("0", "0", "O", type_line(cut_type).substr(0, 126), "T")},
        {"fits exactly", "M", fitting.c_str(), "", 0, 0, 1, header("0", "0", "", type_line("M"), fitting)},
        {"cut", "M", too_long.c_str(), "", 0, 0, 0,
         header("0", "0", "", type_line("M"), too_long).substr(0, 1023)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(written(row.result,
                          [&](UpnpFile* file) {
                              return upnp_wpl_write_header(file, row.type, row.title, row.origin, row.feed,
                                                           row.user);
                          }),
                  row.text);
    }
}

TEST(Wpl, WritesEntriesAndFooter) {
    const auto entry = [](const std::string& src) { return "   <media src=\"" + src + "\" />\n"; };
    const std::string longest = repeat("x", 1003);
    for (const std::string& src : {std::string("/m/a&%n.mp3"), std::string(), longest}) {
        EXPECT_EQ(written(1, [&](UpnpFile* file) { return upnp_wpl_add_media(file, src.c_str()); }),
                  entry(src));
    }
    EXPECT_EQ(written(0, [&](UpnpFile* file) { return upnp_wpl_add_media(file, (longest + "x").c_str()); }),
              entry(longest + "x").substr(0, 1023));
    EXPECT_EQ(written(1, [](UpnpFile* file) { return upnp_wpl_write_footer(file); }),
              "  </seq>\n </body>\n</smil>\n");
}

TEST(Wpl, WritesEntriesWithParameters) {
    const WplParam params[] = {{"n1", "v&", 1}, {"n2", "v2", 2}, {"n3", nullptr, 3}, {"n4", "v4", -1}};
    const std::string opening = "    <media src=\"s\" >\n";
    const std::string closing = "    </media>\n";
    const auto line = [](const std::string& name, const std::string& value, const std::string& type) {
        return "      <param name=\"" + name + "\" value=\"" + value + "\" valuetype=\"" + type + "\" />\n";
    };
    const struct {
        WplMedia media;
        uint32_t result;
        std::string text;
    } rows[] = {
        {{"s", params, 4},
         1,
         opening + line("n1", "v&", "ref") + line("n2", "v2", "object") + line("n3", "", "data") +
             line("n4", "v4", "data") + closing},
        {{"s", params, 0}, 1, opening + closing},
        {{"s", nullptr, 3}, 1, opening + closing},
        {{nullptr, params, 1}, 0, ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(
            written(row.result, [&](UpnpFile* file) { return upnp_wpl_add_media_params(file, &row.media); }),
            row.text);
    }
}

TEST(Wpl, FailsOnANullFileAndAFullDisk) {
    upnp_log_init(nullptr);
    upnp_log_set_mask(upnp_log_plugin);
    EXPECT_EQ(
        mask_times(stdout_of([] { EXPECT_EQ(upnp_wpl_write_header(nullptr, "M", "T", "O", 0, 0), 0U); })),
        "TIME server/common/upnp_wpl.cpp:29: File not open \n");
    const WplMedia media = {"s", nullptr, 0};
    EXPECT_EQ(stdout_of([&] {
                  EXPECT_EQ(upnp_wpl_add_media(nullptr, "s"), 0U);
                  EXPECT_EQ(upnp_wpl_add_media_params(nullptr, &media), 0U);
                  EXPECT_EQ(upnp_wpl_write_footer(nullptr), 0U);
              }),
              "");
    UpnpFile* full = upnp_file_open_write("/dev/full");
    EXPECT_EQ(upnp_wpl_write_header(full, "M", "T", "O", 0, 0), 0U);
    EXPECT_EQ(upnp_wpl_add_media(full, "s"), 0U);
    EXPECT_EQ(upnp_wpl_write_footer(full), 0U);
    EXPECT_EQ(upnp_wpl_add_media_params(full, &media), 1U) << "its writes are not looked at";
    upnp_file_close(full);
    upnp_log_set_mask(0);
    upnp_log_close();
}
