// Media objects, their properties and their records.

#include "tests/support.h"

#include <climits>

#include "common/upnp_memory.h"
#include "server/common/upnp_items.h"
#include "server/common/upnp_property.h"

namespace {

/// An object that is built step by step; what is not lent to it is copied.
struct Object {
    MediaObject* first = nullptr;
    ~Object() { upnp_database_object_free(first); }
    Object& become(MediaObject* object) { return first = object, *this; }
    Object& add(int16_t id, const std::string& value) {
        return become(upnp_database_object_add_property(first, id, upnp_strdup(value.c_str()), 0));
    }
    Object& lend(int16_t id, char* value) {
        return become(upnp_database_object_add_property(first, id, value, 1));
    }
    Object& set(int16_t id, const std::string& value) {
        return become(upnp_database_object_set_property(first, id, upnp_strdup(value.c_str()), 0));
    }
    Object& set_lent(int16_t id, char* value) {
        return become(upnp_database_object_set_property(first, id, value, 1));
    }
    Object& number(int16_t id, int32_t value) {
        return become(db_object_createobject_set_numprop(first, id, value));
    }
    Object& padded(int16_t id, int32_t value) {
        return become(db_object_createobject_set_numprop_padded(first, id, value));
    }
    Object& remove(int16_t id) { return become(upnp_database_object_remove_property(first, id)); }
    std::string listing() const { return take_listing(upnp_database_object_copy(first, nullptr)); }
    std::string valid(int16_t id) const {
        return take(upnp_strdup(upnp_database_object_get_valid_property(first, id)));
    }
    std::string record() const {
        upnp_string_t* record = upnp_database_object_serialize(first);
        std::string bytes = record == nullptr ? "(none)" : std::string(record->data, record->length);
        upnp_string_free(record);
        return bytes;
    }
};

/// What the reader makes of data in a heap block of just its size, in which the address sanitizer sees any
/// byte that is read outside.
std::string read_record(const std::string& record) {
    const std::vector<char> exact(record.begin(), record.end());
    return take_listing(
        upnp_database_object_create_from_data(exact.data(), static_cast<uint32_t>(exact.size())));
}

class Objects : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(upnp_mem_in_use(), before_); }

    const std::string marker_ = upnp_deleted_marker;
    const int32_t before_ = (upnp_mem_init(), upnp_mem_in_use());
};

} // namespace

TEST_F(Objects, HoldWhatWasAddedNewestFirst) {
    char empty[] = "";
    char short_date[] = "2008-01-0";
    EXPECT_EQ(Object().add(20, "").lend(20, empty).lend(33, short_date).listing(), "");
    EXPECT_EQ(Object().add(20, "A").add(22, "B").add(20, "C").remove(20).remove(99).listing(), "22=B 20=A ");
    EXPECT_EQ(Object().add(20, "A").add(33, "2008-01-01").add(20, "C").listing(), "20=C 33=2008-01-01 20=A ");
}

TEST_F(Objects, ClampRatingsAndNothingElse) {
    const std::pair<const char*, const char*> rows[] = {
        {"7", "5"}, {"-2", "0"}, {"0", "0"}, {"5x", "5x"}, {"6", "5"}, {"x", "x"}, {"3000000000", "5"}};
    for (const auto& [given, kept] : rows) {
        EXPECT_EQ(Object().add(32, given).valid(32) + Object().add(32, "1").set(32, given).valid(32),
                  std::string(kept) + kept);
        EXPECT_EQ(Object().add(31, given).valid(31) + Object().add(31, "1").set(31, given).valid(31),
                  std::string(given) + given);
    }
    char lent[] = "12";
    EXPECT_EQ(Object().lend(32, lent).number(31, 9).padded(30, -3).listing(), "30=-3 31=9 32=5 ");
}

TEST_F(Objects, ReplaceWhatIsSetAndNeverFreeWhatIsLent) {
    char lent[] = "lent";
    Object object;
    EXPECT_EQ(object.add(20, "A").number(31, 3).number(31, INT_MIN).listing(), "31=-2147483648 20=A ");
    EXPECT_EQ(object.lend(26, lent).number(26, 1).set(26, "owned").set(26, "").set(22, "B").listing(),
              "22=B 26= 31=-2147483648 20=A ");
    EXPECT_EQ(object.set_lent(20, lent).set_lent(20, lent).set_lent(21, lent).valid(20), "lent");
    object.set(21, "own");
    object.become(upnp_database_object_set_property(object.first, 21, object.first->value, 0)); // its own
    EXPECT_EQ(object.valid(21), "own");
    EXPECT_EQ(Object().padded(1, 8).padded(2, 9).padded(3, 0).padded(4, 1).listing(), "4=01 3=0 2=9 1=08 ");
}

TEST_F(Objects, AnswerQuestions) {
    const auto ago = [](int64_t seconds) { return std::to_string(time(nullptr) - seconds); };
    EXPECT_EQ(Object().add(49, ago(5'270'395)).valid(50), ago(5'270'395));
    for (const std::string& time : {ago(5'270'400), marker_, std::string("-9223372036854775808")}) {
        EXPECT_EQ(Object().add(49, time).valid(50), "(none)") << time;
    }
    EXPECT_EQ(Object().add(32, "4").valid(51) + Object().add(32, "3").valid(51), "4(none)");
    EXPECT_EQ(Object().set(32, "\xFF").valid(51) + Object().add(32, marker_).valid(51), "\xFF(none)");
    EXPECT_EQ(Object().add(20, ".d.e.l.e.t.e.d.").valid(20), ".d.e.l.e.t.e.d.");
    EXPECT_EQ(Object().add(22, "Artist").valid(21) + Object().add(20, marker_).valid(20), "(none)(none)");
    EXPECT_EQ(upnp_database_object_get_property(Object().add(20, marker_).first, 20), marker_);
    const std::pair<std::string, int32_t> rows[] = {
        {"12x", 12}, {"3000000000", INT_MAX}, {"-3000000000", INT_MIN}, {"8", 8}, {"", 7}, {marker_, 7}};
    for (const auto& [value, number] : rows) {
        EXPECT_EQ(upnp_database_object_get_long(Object().add(61, "1").set(61, value).first, 61, 7), number)
            << value;
    }
}

TEST_F(Objects, AreWrittenAsRecords) {
    const std::string longest(4095, 'L');
    char value[] = "xy";
    Object four;
    four.add(207, "44").add(22, marker_).add(1, "%n\n>>>>\n").add(20, "Blue").add(26, "x").set(26, "");
    EXPECT_EQ(four.record(), ">>>>\n14004Blue\n01008%n\n>>>>\n\nCF00244\n");
    EXPECT_EQ(read_record(four.record()), "207=44 1=%n\n>>>>\n 20=Blue ");
    EXPECT_EQ(Object().add(1, ".d.e.l.e.t.e.d.").record(), ">>>>\n0100F.d.e.l.e.t.e.d.\n");
    EXPECT_EQ(Object().record() + Object().add(22, marker_).record(), "(none)>>>>\n");
    EXPECT_EQ(Object().lend(-1, value).record(), ">>>>\nFFFFFFFF0xy\n");
    const std::string record = Object().add(1, "a").add(20, longest).record();
    EXPECT_EQ(record, ">>>>\n14FFF" + longest + "\n01001a\n");
    EXPECT_EQ(read_record(record), "1=a 20=" + longest + " ");
    EXPECT_EQ(Object().add(20, longest + "L").record(), ">>>>\n141000" + longest + "L\n");
    EXPECT_EQ(read_record(Object().add(20, longest + "L").record()), "20=0" + longest.substr(0, 255) + " ");
    const TempDir folder;
    MediaObject no_value = {1, 1, nullptr, nullptr};
    UpnpFile* file = upnp_file_open_write("f");
    upnp_database_object_write(four.first, file);
    upnp_database_object_write(&no_value, file);
    upnp_file_close(file);
    EXPECT_EQ(read_file("f"), four.record() + ">>>>\n");
}

TEST_F(Objects, AreReadFromRecordsHoweverDamaged) {
    const std::pair<std::string, const char*> rows[] = {
        {"14004Blue\n", "20=Blue "},
        {">>>>\n1a00bobject.item\n1A002xy\n", "26=xy 26=object.item "},
        {">????Z4004Blue\n", "4=Blue "},
        {">>>>\n140001", ""},
        {">>>>\n1400AB\n", ""},
        {">>>>\n1400ABlueBl", "20=BlueBl "},
        {">>>>\n1400ABlueBlueB", "20=BlueBlueB "},
        {"14007xx", "20=xx "},
        {"14008xx", ""},
        {"14004Blue\n16FFFx\n", "20=Blue "},
        {"14004Blue\n16", "20=Blue "},
        {"FF001x\n00001y\n", "0=y 255=x "},
        {"2000175\n21001x\n", "32=5 "}};
    for (const auto& [record, listing] : rows) {
        for (size_t size = 1; size <= record.size(); ++size) { // every piece of it reads nothing outside
            const std::string read = read_record(record.substr(0, size));
            EXPECT_TRUE(size < record.size() || read == listing) << record << " gives " << read;
        }
    }
}

TEST(Properties, AreTheseAndNoOthers) {
    std::string table = "id A B online type separator default name, and the id that the name finds\n";
    for (int32_t id = -1; id < 256; ++id) {
        const PropertyDescriptor* row = upnp_database_property_descriptor(id);
        EXPECT_EQ(row == nullptr, id == -1 || id == 255) << id;
        if (row != nullptr && row->id != 0) {
            char line[100];
            snprintf(line, sizeof line, "%d %d %d %d %d %c %s %s %d\n", row->id, row->flag_a, row->flag_b,
                     row->is_online, static_cast<int>(row->type), row->separator == 0 ? '-' : row->separator,
                     row->default_value == nullptr ? "-" : row->default_value,
                     row->name == nullptr ? "-" : row->name, upnp_database_property_id(row->name));
            table += row->id == id ? line : "under another id";
        }
    }
    expect_golden(table, "properties.txt");
    EXPECT_EQ(upnp_database_property_id("upnp:albumArtist2"), 26) << "the first whole name that begins it";
    EXPECT_EQ(upnp_database_property_id("nothing") + upnp_database_property_id("DC:TITLE"), 0);
}
