// Media objects, their properties and their records.

#include "tests/support.h"

#include <climits>
#include <sstream>

#include "common/upnp_log.h"
#include "common/upnp_memory.h"
#include "server/common/upnp_items.h"
#include "server/common/upnp_property.h"

namespace {

/// An object that is built step by step; its owned values are copies of the texts.
struct Object {
    MediaObject* first = nullptr;
    ~Object() { upnp_database_object_free(first); }
    Object& add(int16_t id, const std::string& value) {
        first = upnp_database_object_add_property(first, id, upnp_strdup(value.c_str()), 0);
        return *this;
    }
    Object& lend(int16_t id, char* value) {
        first = upnp_database_object_add_property(first, id, value, 1);
        return *this;
    }
    Object& set(int16_t id, const char* value) {
        first = upnp_database_object_set_property(first, id, upnp_strdup(value), 0);
        return *this;
    }
    Object& number(int16_t id, int32_t value) {
        first = db_object_createobject_set_numprop(first, id, value);
        return *this;
    }
    Object& padded(int16_t id, int32_t value) {
        first = db_object_createobject_set_numprop_padded(first, id, value);
        return *this;
    }
    Object& remove(int16_t id) {
        first = upnp_database_object_remove_property(first, id);
        return *this;
    }
    std::string listing() const { return take_listing(upnp_database_object_copy(first, nullptr)); }
    std::string valid(int16_t id) const {
        const char* value = upnp_database_object_get_valid_property(first, id);
        return value == nullptr ? "(none)" : value;
    }
    std::string record() const {
        upnp_string_t* record = upnp_database_object_serialize(first);
        std::string bytes = record == nullptr ? "(none)" : std::string(record->data, record->length);
        upnp_string_free(record);
        return bytes;
    }
};

std::string read_back(const std::string& record) {
    return take_listing(
        upnp_database_object_create_from_data(record.data(), static_cast<uint32_t>(record.size())));
}

class Objects : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(upnp_mem_in_use(), before_); }

private:
    int32_t before_ = (upnp_mem_init(), upnp_mem_in_use());
};
using Records = Objects;

} // namespace

TEST_F(Objects, HoldWhatWasAddedNewestFirst) {
    char empty[] = "";
    char short_date[] = "2008-01-0";
    EXPECT_EQ(Object().add(20, "A").add(22, "B").add(20, "C").listing(), "20=C 22=B 20=A ");
    EXPECT_EQ(Object().add(20, "").lend(20, empty).lend(33, short_date).listing(), "");
    EXPECT_EQ(Object().add(33, "2008-01-01").add(300, "x").listing(), "300=x 33=2008-01-01 ");
    EXPECT_EQ(Object().add(20, "A").add(22, "B").add(20, "C").remove(20).remove(99).listing(), "22=B 20=A ");
    EXPECT_EQ(Object().add(20, "A").add(22, "B").remove(20).listing(), "22=B ");
    EXPECT_EQ(Object().add(20, "A").remove(20).listing(), "");
}

TEST_F(Objects, ClampRatingsAndNothingElse) {
    expect_answers(
        {{"7", "5"}, {"-2", "0"}, {"0", "0"}, {"5", "5"}, {"6", "5"}, {"x", "x"}, {"3000000000", "5"}},
        [](const std::string& value) {
            EXPECT_EQ(Object().add(31, value).listing(), "31=" + value + " ");
            EXPECT_EQ(Object().set(31, value.c_str()).listing(), "31=" + value + " ");
            EXPECT_EQ(Object().add(32, "1").set(32, value.c_str()).valid(32),
                      Object().add(32, value).valid(32));
            return Object().add(32, value).valid(32);
        });
    char lent[] = "12";
    EXPECT_EQ(Object().lend(32, lent).number(31, 9).padded(30, -3).listing(), "30=-3 31=9 32=5 ");
    EXPECT_EQ(Object().number(32, -4).listing() + Object().number(32, 9).number(32, 6).listing(),
              "32=0 32=5 ");
}

TEST_F(Objects, TakeNumbersInPlaceOfOldOnes) {
    EXPECT_EQ(Object().add(20, "A").number(31, 3).number(31, INT32_MIN).listing(), "31=-2147483648 20=A ");
    EXPECT_EQ(Object().padded(30, 8).padded(46, 9).padded(47, 0).padded(48, 1).listing(),
              "48=01 47=0 46=9 30=08 ");
}

TEST_F(Objects, NeverFreeWhatIsLent) {
    char lent[] = "lent";
    char other[] = "other";
    Object object;
    object.lend(26, lent).number(26, 1).set(26, "owned").set(26, "");
    EXPECT_EQ(object.listing(), "26= ");
    object.first = upnp_database_object_set_property(object.first, 26, lent, 1);
    object.first = upnp_database_object_set_property(object.first, 26, lent, 1);
    object.first = upnp_database_object_set_property(object.first, 22, other, 1);
    EXPECT_EQ(object.listing(), "22=other 26=lent ");
    object.set(26, "owned");
    object.first =
        upnp_database_object_set_property(object.first, 26, object.first->next->value, 0); // its own
    EXPECT_EQ(object.remove(22).listing(), "26=owned ");
}

TEST_F(Objects, AnswerQuestions) {
    const std::string marker = upnp_deleted_marker;
    const auto ago = [](int64_t seconds) { return std::to_string(time(nullptr) - seconds); };
    EXPECT_EQ(Object().add(49, ago(5'270'395)).valid(50), ago(5'270'395));
    EXPECT_EQ(Object().add(49, "1").valid(50) + Object().valid(50) + Object().valid(51),
              "(none)(none)(none)");
    for (const std::string& time : {ago(5'270'400), marker, std::string("-9223372036854775808")}) {
        EXPECT_EQ(Object().add(49, time).valid(50), "(none)") << time;
    }
    EXPECT_EQ(Object().add(32, "4").valid(51) + Object().add(32, "3").valid(51), "4(none)");
    EXPECT_EQ(Object().add(32, marker).valid(51) + Object().add(32, "\xFF").valid(51), "(none)\xFF");
    EXPECT_EQ(Object().add(22, "Artist").valid(21) + Object().add(20, marker).valid(20), "(none)(none)");
    EXPECT_EQ(upnp_database_object_get_property(Object().add(20, marker).first, 20), marker);
    expect_answers({{"12x", "12"}, {"3000000000", "2147483647"}, {"8", "8"}, {"", "7"}, {marker, "7"}},
                   [](const std::string& value) {
                       Object object;
                       object.add(61, "1").set(61, value.c_str());
                       return std::to_string(upnp_database_object_get_long(object.first, 61, 7));
                   });
    uint32_t size = 0;
    upnp_database_object_free(
        upnp_database_object_copy(Object().add(20, "12345").add(26, marker).first, &size));
    EXPECT_EQ(size, 5U + 16U + 15U + 16U);
}

TEST(Properties, AreTheseAndNoOthers) {
    std::ostringstream table;
    table << "id A B online type separator default name, and the id that the name finds\n";
    for (int32_t id = 0; id < 255; ++id) {
        const PropertyDescriptor* row = upnp_database_property_descriptor(id);
        EXPECT_EQ(row, upnp_database_property_descriptor(id));
        if (row->id != 0) {
            EXPECT_EQ(row->id, id);
            table << id << ' ' << row->flag_a << ' ' << row->flag_b << ' ' << row->is_online << ' '
                  << static_cast<int>(row->type) << ' ' << (row->separator == 0 ? '-' : row->separator) << ' '
                  << (row->default_value == nullptr ? "-" : row->default_value) << ' '
                  << (row->name == nullptr ? "-" : row->name) << ' ' << upnp_database_property_id(row->name)
                  << '\n';
        } else {
            EXPECT_EQ(row->name, nullptr);
        }
    }
    expect_golden(table.str(), "properties.txt");
    for (const int32_t id : {-1, 255, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(upnp_database_property_descriptor(id), nullptr);
    }
    expect_answers(
        {{"upnp:albumArtist2", "26"}, {"resonance", "60"}, {"nothing", "0"}, {"", "0"}},
        [](const std::string& name) { return std::to_string(upnp_database_property_id(name.c_str())); });
}

TEST_F(Records, HoldWhatIsThereWithItsLength) {
    const std::string marker = upnp_deleted_marker;
    char value[] = "xy";
    const std::string longest(4095, 'L');
    Object four;
    four.add(207, "44").add(22, marker).add(1, "%n\n>>>>\n").add(20, "Blue").add(26, "x").set(26, "");
    EXPECT_EQ(four.record(), ">>>>\n14004Blue\n01008%n\n>>>>\n\nCF00244\n");
    EXPECT_EQ(read_back(four.record()), "207=44 1=%n\n>>>>\n 20=Blue ");
    EXPECT_EQ(Object().record() + Object().add(22, marker).record(), "(none)>>>>\n");
    EXPECT_EQ(Object().lend(-1, value).record(), ">>>>\nFFFFFFFF0xy\n");
    EXPECT_EQ(Object().add(1, "a").add(20, longest).record(), ">>>>\n14FFF" + longest + "\n01001a\n");
    EXPECT_EQ(read_back(Object().add(1, "a").add(20, longest).record()), "1=a 20=" + longest + " ");
    EXPECT_EQ(Object().add(20, longest + "L").record(), ">>>>\n141000" + longest + "L\n");
    EXPECT_EQ(read_back(Object().add(20, longest + "L").record()), "20=0" + longest.substr(0, 255) + " ");
    const TempDir folder;
    UpnpFile* file = upnp_file_open_write("f");
    upnp_database_object_write(four.first, file);
    upnp_database_object_write(nullptr, file);
    upnp_file_close(file);
    EXPECT_EQ(read_file("f"), four.record());
}

TEST_F(Records, AreReadHoweverDamaged) {
    expect_answers({{"14004Blue\n", "20=Blue "},
                    {">>>>\n14004Blue\n1A002xy\n", "26=xy 20=Blue "},
                    {">>>>\n1a00bobject.item\n", "26=object.item "},
                    {">>>>\nZ4004Blue\n", "4=Blue "},
                    {">????14004Blue\n", "20=Blue "},
                    {">>>>\n", ""},
                    {">>>>\n14001", ""},
                    {">>>>\n140001", ""},
                    {">>>>\n1400AB\n", ""},
                    {">>>>\n1400ABlueBl", "20=BlueBl "},
                    {">>>>\n1400ABlueBlueB", "20=BlueBlueB "},
                    {"14007xx", "20=xx "},
                    {"14008xx", ""},
                    {"14004Blue\n16FFFx\n", "20=Blue "},
                    {"14004Blue\n16", "20=Blue "},
                    {"FF001x\n00001y\n", "0=y 255=x "},
                    {"2000175\n210072008-01\n", "32=5 "},
                    {"1", ""},
                    {">", ""}},
                   [](const std::string& record) {
                       std::string answer;
                       // In a heap block of just its size, in which the address sanitizer sees any byte read
                       // outside; every shorter piece of it too.
                       for (size_t size = 1; size <= record.size(); ++size) {
                           const std::vector<char> exact(record.data(), record.data() + size);
                           answer = take_listing(upnp_database_object_create_from_data(
                               exact.data(), static_cast<uint32_t>(size)));
                       }
                       return answer;
                   });
    upnp_log_init(nullptr);
    upnp_log_set_mask(upnp_log_db);
    EXPECT_EQ(mask_times(stdout_of([] { read_back("16FFFx"); })),
              "TIME LOG_DB:(upnp_database_object_create_from_data) database corrupted, value size 4095\n");
    upnp_log_set_mask(upnp_log_system);
    EXPECT_EQ(stdout_of([] { read_back("16FFFx"); }), "");
    upnp_log_set_mask(0);
    upnp_log_close();
}
