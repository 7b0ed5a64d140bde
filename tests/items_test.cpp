// Items files as itunes-items prints them and as every companion reads them, and the classes of objects.

#include "tests/companion_fixture.h"

#include <sys/stat.h>

#include "server/common/upnp_class.h"
#include "server/common/upnp_items.h"
#include "server/common/upnp_property.h"
#include "tools/itunes-items/class_counts.h"
#include "tools/itunes-items/record_text.h"
#include "tools/shared/items_reader.h"

namespace {

std::string entry(const std::string& id, const std::string& value) {
    char length[8] = {};
    snprintf(length, sizeof length, "%03zX", value.size());
    return id + length + value + "\n";
}

const std::string marker = ">>>>\n";
const std::string blue = marker + entry("14", "Blue");

/// A record of `size` bytes, at least 4,107.
std::string record_of(size_t size) {
    std::string record = marker;
    while (size - record.size() > 4110) {
        record += entry("14", std::string(4090, 'v'));
    }
    return record + entry("14", std::string(size - record.size() - entry("14", "").size(), 'v'));
}

using Items = fixture::Companion;

} // namespace

TEST(ItemsRecord, IsTextForPeopleAndJsonForPrograms) {
    const struct {
        std::string entries, text, json;
    } rows[] = {
        {entry("14", ""), "(no properties)\n", "{}"},
        {entry("14", "Blue\\") + entry("03", "object"), "upnp:class: object\ndc:title: Blue\\\\\n",
         R"({"upnp:class":"object","dc:title":"Blue\\"})"},
        {entry("01", blue), "id: >>>>\\x0A14004Blue\\x0A\n", R"({"id":">>>>\n14004Blue\n"})"},
        {entry("cc", "204") + entry("FF", "255") + entry("00", "0"),
         "property 0: 0\nproperty 255: 255\nproperty 204: 204\n",
         R"({"property 0":"0","property 255":"255","property 204":"204"})"},
        // Two properties of one name, around others.
        {entry("39", "a") + entry("14", "Blue") + entry("14", "Red") + entry("24", "b"),
         "upnp:albumArtURI: b\ndc:title: Red\ndc:title: Blue\nupnp:albumArtURI: a\n",
         R"({"upnp:albumArtURI":["b","a"],"dc:title":["Red","Blue"]})"},
        {entry("14", std::string(4095, 'v')), "dc:title: " + std::string(4095, 'v') + "\n",
         R"({"dc:title":")" + std::string(4095, 'v') + "\"}"},
    };
    for (const auto& row : rows) {
        const std::string record = marker + row.entries;
        MediaObject* object =
            upnp_database_object_create_from_data(record.data(), static_cast<uint32_t>(record.size()));
        EXPECT_EQ(record_text(object), row.text);
        EXPECT_EQ(record_json(object), row.json);
        upnp_database_object_free(object);
    }
}

TEST(ItemsClasses, AreCountedInTheirOrder) {
    ClassCounts counts;
    const auto add = [&](std::string name) {
        const MediaObject object = {upnp_property_class, 1, name.data(), nullptr};
        counts.add(&object);
    };
    std::string lines = "2 (no class)\n1 object.item.imageItem.photo\n";
    counts.add(nullptr);
    add("object.item.imageItem.photo");
    for (const char other : std::string("abcdefghijklmnopqr")) { // two more than are named
        add(std::string("\n") + other);
        lines += other < 'q' ? std::string("1 \\x0A") + other + "\n" : "";
    }
    add(".D.E.L.E.T.E.D.");
    add("object.item");
    EXPECT_EQ(counts.text(), lines + "1 object.item\n2 (other classes)\n22 records\n");
}

TEST(ItemsReader, TellsWhatIsWrongAndWhere) {
    const struct {
        std::string bytes;
        ItemsState state;
        uint64_t records;
        std::string fault;
    } rows[] = {
        {"", ItemsState::whole, 0, ""},
        {blue + marker + blue, ItemsState::whole, 3, ""},
        {"<?xml", ItemsState::no_items_file, 0, "not an items file"},
        {">>>", ItemsState::damaged, 0, "damaged at byte 0: the file ends inside this entry"},
        {blue + ">>>>", ItemsState::damaged, 0, "damaged at byte 15: the file ends inside this entry"},
        {blue + marker + "14005Blue", ItemsState::damaged, 1,
         "damaged at byte 20: the file ends inside this entry"},
        {marker + "1X004Blue\n", ItemsState::damaged, 0,
         "damaged at byte 5: neither an entry nor a record begins here"},
        {blue + marker + entry("14", "a") + "14004Blues\n", ItemsState::damaged, 1,
         "damaged at byte 27: the entry's value does not end where its length says"},
        {blue + record_of(items_record_limit) + blue, ItemsState::whole, 3, ""},
        {blue + record_of(items_record_limit), ItemsState::whole, 2, ""},
        {blue + record_of(items_record_limit + 1) + blue, ItemsState::damaged, 1,
         "damaged at byte 15: the record that begins here is larger than 1 MiB"},
        {std::string(3U << 20U, 'x'), ItemsState::no_items_file, 0, "not an items file"},
    };
    const TempDir folder;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.bytes.substr(0, 40) + row.fault);
        write_file("items", row.bytes);
        const ItemsCount count = count_items("items");
        EXPECT_EQ(count.state, row.state);
        EXPECT_EQ(count.records, row.records);
        EXPECT_EQ(count.fault_text, row.fault);
    }
}

TEST(ItemsReader, TellsFilesThatCanNotBeReadFromThoseThatAreNotThere) {
    const TempDir folder;
    write_file("file", "");
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    EXPECT_EQ(count_items("nothing").state, ItemsState::absent);
    EXPECT_EQ(count_items("nothing").records, 0U);
    for (const auto& [path, error] : std::map<std::string, int>{
             {".", EISDIR}, {"file/items", ENOTDIR}, {"pipe", EINVAL}, {"/proc/self/mem", EIO}}) {
        EXPECT_EQ(count_items(path).state, ItemsState::unreadable) << path;
        EXPECT_EQ(count_items(path).fault_text, strerror(error)) << path;
        EXPECT_EQ(count_items(path).records, 0U) << path;
    }
}

// A file with a class, one without, and a record that is damaged behind its first entry.
TEST_F(Items, PrintsInThreeForms) {
    write_file("i", marker + entry("14", "Blue") + entry("03", "object.item") + marker + marker +
                        entry("14", "\x1B[2J") + "14004Blues\n");
    expect_golden(
        said({"items i", "items --json i", "items --count i", "items --help", "items --version | tr 0-9 N"}),
        "items.txt");
}

TEST_F(Items, SaysWhatFailed) {
    write_file("i", blue);
    write_file("whole", record_of(9000)); // more than is kept back
    write_file("large", blue + record_of(items_record_limit + 1));
    const std::string lost = "itunes-items: can not write standard output: No space left on device\n";
    const std::string damage =
        "standard input: damaged at byte 15: the record that begins here is larger than 1 MiB\n";
    const struct {
        const char* line;
        int status;
        std::string out, err; // or the lines before the usage
    } rows[] = {
        {"(printf '>>>>\\n14'; sleep 0.1; printf '004Blue\\n') | items", 0, "dc:title: Blue\n", ""},
        {"items -- - <i", 0, "dc:title: Blue\n", ""},
        {"items --js <large", 1, "{\"dc:title\":\"Blue\"}\n", "itunes-items: " + damage},
        {"items --count <&-", 1, "", "itunes-items: can not read standard input: Bad file descriptor\n"},
        {"items --count .", 1, "", "itunes-items: can not read .: Is a directory\n"},
        {"items -- -$(printf '\\033')", 1, "",
         "itunes-items: can not open -\\x1B: No such file or directory\n"},
        {"items whole >/dev/full", 1, "", lost},
        {"items --help >/dev/full", 1, "", lost},
        {"items i --unknown$(printf '\\033')", 2, "", "itunes-items: unknown option '--unknown\\x1B'\n"},
        {"items i -xh", 2, "", "itunes-items: unknown option '-x'\n"},
        {"items --count=3 i", 2, "", "itunes-items: option '--count' takes no value\n"},
        {"items --json --count i", 2, "", "itunes-items: either --count or --json\n"},
        {"items -- i -i", 2, "", "itunes-items: one FILE at most, not '-i'\n"},
    };
    const std::string usage = run_line("items -h").out;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        const RunResult result = run_line(row.line);
        EXPECT_EQ(result.status, row.status);
        EXPECT_EQ(result.out, row.out);
        EXPECT_EQ(result.err, row.err + (row.status == 2 ? usage : ""));
    }
}

TEST(Class, IsToldByPartsOfItsText) {
    const auto told = [](std::string text) {
        const MediaObject object = {upnp_property_class, 1, text.data(), nullptr};
        std::string answers;
        for (const auto& test :
             {upnp_database_object_is_container, upnp_database_object_is_online,
              upnp_database_object_is_image, upnp_database_object_is_video, upnp_database_object_is_audio}) {
            answers += std::to_string(test(&object));
        }
        return answers;
    };
    EXPECT_EQ(told(".D.E.L.E.T.E.D."), "00000");
    EXPECT_EQ(told("object.item.imageItem.photo"), "00100");
    EXPECT_EQ(told("object.item.videoItem.movie"), "00010");
    EXPECT_EQ(told("my.audioItem.online.container"), "11001");
}
