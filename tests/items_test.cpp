// itunes-items on small files, the ends of records that it goes by, and the classes that it counts.

#include "tests/support.h"

#include "server/common/upnp_class.h"
#include "server/common/upnp_items.h"
#include "server/common/upnp_property.h"

namespace {

/// Runs the program where a file "i" holds the items.
void check(const std::vector<std::string>& arguments, const std::string& items, int status,
           const std::string& out, const std::string& err = "") {
    SCOPED_TRACE(testing::PrintToString(arguments) + " of " + items.substr(0, 80));
    const TempDir folder;
    write_file("i", items);
    const RunResult result = run_program(TEST_ITEMS_PROGRAM, arguments);
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(result.out, out);
    EXPECT_EQ(result.err, err);
}

std::string entry(const char* id, const std::string& value) {
    char length[8] = {};
    snprintf(length, sizeof length, "%03zX", value.size());
    return id + (length + value) + "\n";
}

const std::string marker = ">>>>\n";
const std::string blue = marker + "14004Blue\n";

} // namespace

TEST(Items, PrintsRecordsForPeopleAndForPrograms) {
    const std::string long_value(4095, 'v');
    check({"--", "i"}, marker + entry("14", long_value) + entry("16", long_value), 0,
          "upnp:artist: " + long_value + "\ndc:title: " + long_value + "\n");
    const std::string items = marker + "CF00244\n03006object\n" + entry("01", marker + "14003x") +
                              "14004Blue\n" + marker + marker + "CC003abc\n210042005\n200017\nD0001x\n" +
                              entry("39", "a\x1b[2J\\\"\n\x7f") + entry("24", "\xC3\xA9\xFF\xC3");
    check({"i"}, items, 0,
          "dc:title: Blue\nid: >>>>\\x0A14003x\nupnp:class: object\nqx:wav_header_size: 44\n\n(no "
          "properties)\n\n"
          "upnp:albumArtURI: \xC3\xA9\xFF\xC3\nupnp:albumArtURI: a\\x1B[2J\\\\\"\\x0A\\x7F\n"
          "property 208: x\nqx:rating: 5\nproperty 204: abc\n");
    check({"--json", "i"}, items, 0,
          R"({"dc:title":"Blue","id":">>>>\n14003x","upnp:class":"object","qx:wav_header_size":"44"})"
          "\n{}\n"
          R"({"upnp:albumArtURI":["é��","a\u001B[2J\\\"\n\u007F"],"property 208":"x","qx:rating":"5",)"
          R"("property 204":"abc"})"
          "\n");
    // Overlong forms, a surrogate and what lies beyond the last character are no characters; their limits are.
    const std::string limits = "\xE0\xA0\x80\xED\x9F\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF";
    check({"--json", "i"},
          marker + entry("14", "\xC1\xBF\xE0\x9F\xED\xA0\xF0\x8F\xF4\x90" + limits + "\xC2\x9B"), 0,
          "{\"dc:title\":\"����������" + limits + "\\u009B\"}\n");
}

TEST(Items, CountsByClassAndInAll) {
    std::string items = blue;
    std::string lines = "2 (no class)\n";
    for (const char other : std::string("abcdefghijklmnopqr")) { // two more than are named
        items += marker + entry("03", std::string("\n") + other);
        lines += other < 'q' ? std::string("1 \\x0A") + other + "\n" : "";
    }
    items += marker + entry("03", "object.item") + marker + entry("03", "object.item") + marker;
    check({"--count", "i"}, items, 0, lines + "2 object.item\n2 (other classes)\n22 records\n");
    check({"--count", "i"}, "", 0, "0 records\n");
}

TEST(Items, SaysWhatIsWrongBehindWhatIsPrinted) {
    const std::string damaged = "itunes-items: i: damaged at byte ";
    const std::string bad_length = blue + marker + "14001a\n14004Blues\n";
    const std::string at_27 = damaged + "27: the entry's value does not end where its length says\n";
    check({"i"}, bad_length, 1, "dc:title: Blue\n\ndc:title: a\n", at_27);
    check({"--count", "i"}, bad_length, 1, "1 (no class)\n1 records\n", at_27);
    check({"i"}, blue + "16004Ba", 1, "dc:title: Blue\n", damaged + "15: the file ends inside this entry\n");
    check({"i"}, marker + "1X004Blue\n", 1, "", damaged + "5: neither an entry nor a record begins here\n");
    std::string large = marker;
    while (large.size() < 1 << 20) {
        large += entry("14", std::string(4090, 'v'));
    } // 256 entries and a marker
    check({"--count", "i"}, blue + large.substr(0, large.size() - 4096) + blue, 0,
          "3 (no class)\n3 records\n");
    check({"i"}, blue + large + blue, 1, "dc:title: Blue\n",
          damaged + "15: the record that begins here is larger than 1 MiB\n");
    check({"--count", "i"}, "<?xml", 1, "", "itunes-items: i: not an items file\n");
    check({"--", "-\x1b"}, "", 1, "", "itunes-items: can not open -\\x1B: No such file or directory\n");
    check({"--count", "."}, "", 1, "", "itunes-items: can not read .: Is a directory\n");
}

TEST(Items, TellsWrongArgumentsAndServesScripts) {
    const std::string usage = run_program(TEST_ITEMS_PROGRAM, {"--help"}).out;
    EXPECT_TRUE(usage.starts_with("usage: itunes-items [--count | --json] [--] [FILE]\n"));
    check({"--version"}, "", 0, "itunes-items 1.0.0\n");
    check({"i", "--unknown"}, blue, 2, "", usage);
    check({"--json", "--count", "i"}, blue, 2, "", usage);
    check({"--", "i", "-i"}, blue, 2, "", usage);
    const TempDir folder;
    write_file("i", blue);
    const std::string program = TEST_EMULATOR " " TEST_ITEMS_PROGRAM;
    EXPECT_EQ(system(("(cat i; sleep 0.1; cat i) | " + program + " - >out").c_str()), 0);
    EXPECT_EQ(read_file("out"), "dc:title: Blue\n\ndc:title: Blue\n");
    EXPECT_EQ(WEXITSTATUS(system((program + " i >/dev/full 2>err").c_str())), 1);
    EXPECT_EQ(read_file("err"), "itunes-items: can not write standard output: No space left on device\n");
}

TEST(RecordEnd, IsFoundByTheLengthsAlone) {
    using Kind = UpnpRecordEndKind;
    const std::vector<std::tuple<std::string, uint32_t, Kind>> rows = {
        {"", 0, Kind::data_end},
        {">>>", 0, Kind::cut},
        {"14004Blue\n", 0, Kind::no_record},
        {blue, 15, Kind::data_end},
        {blue + blue, 15, Kind::marker},
        {blue + ">>>>", 15, Kind::cut},
        {marker + entry("14", "a\n" + blue) + blue, 28, Kind::marker},
        {marker + "cf00a0123456789\n", 21, Kind::data_end},
        {marker + "14001", 5, Kind::cut},
        {marker + "14001ab\n", 5, Kind::open_value},
        {blue + "14 04Blue\n", 15, Kind::no_entry},
    };
    for (const auto& [data, length, kind] : rows) {
        const std::vector<char> exact(data.begin(), data.end());
        const UpnpRecordEnd end = upnp_database_record_end(exact.data(), static_cast<uint32_t>(exact.size()));
        EXPECT_EQ(end.length, length) << data;
        EXPECT_EQ(end.kind, kind) << data;
    }
}

TEST(Class, IsToldByPartsOfItsText) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        // container, online, image, video, audio
        {".D.E.L.E.T.E.D.", "00000"},
        {"object.container", "10000"},
        {"object.item.imageItem.photo", "00100"},
        {"object.item.videoItem.movie", "00010"},
        {"my.audioItem.online.container", "11001"}};
    for (auto [text, wanted] : rows) {
        const MediaObject object = {upnp_property_class, 1, text.data(), nullptr};
        std::string told;
        for (const auto& test :
             {upnp_database_object_is_container, upnp_database_object_is_online,
              upnp_database_object_is_image, upnp_database_object_is_video, upnp_database_object_is_audio}) {
            told += std::to_string(test(&object));
            EXPECT_EQ(test(nullptr), 0);
        }
        EXPECT_EQ(told, wanted) << text;
    }
}
