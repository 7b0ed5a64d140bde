// The record format: writer and reader, and what the reader makes of damaged data.

#include "tests/support.h"

#include "common/upnp_log.h"
#include "common/upnp_memory.h"
#include "server/common/upnp_items.h"

namespace {

MediaObject* add(MediaObject* object, int16_t id, const std::string& value) {
    return upnp_database_object_add_property(object, id, upnp_strdup(value.c_str()), 0);
}

std::string record_of(const MediaObject* object) {
    upnp_string_t* record = upnp_database_object_serialize(object);
    std::string text = record == nullptr ? "none" : std::string(record->data, record->length);
    upnp_string_free(record);
    return text;
}

/// The properties that the reader finds, first to last, as "id:value " words. The data is a heap block of
/// just its size, so that the address sanitizer sees any read outside.
std::string parse(const std::string& data, uint32_t size) {
    const std::vector<char> exact(data.begin(), data.begin() + size);
    MediaObject* object = upnp_database_object_create_from_data(exact.data(), size);
    std::string text;
    for (const MediaProperty* property = object; property != nullptr; property = property->next) {
        text += std::to_string(property->id) + ":" + property->value + " ";
    }
    upnp_database_object_free(object);
    return text;
}

} // namespace

TEST(Record, HoldsWhatIsStoredAndNothingElse) {
    char empty[] = "";
    MediaProperty emptied = {22, 1, empty, nullptr};
    MediaProperty valueless = {22, 1, nullptr, nullptr};
    MediaObject* deleted = add(nullptr, 20, upnp_deleted_marker);
    EXPECT_EQ(record_of(nullptr), "none");
    EXPECT_EQ(record_of(&emptied), ">>>>\n");
    EXPECT_EQ(record_of(&valueless), ">>>>\n");
    EXPECT_EQ(record_of(deleted), ">>>>\n");
    upnp_database_object_free(deleted);
    MediaObject* object =
        add(add(add(add(nullptr, 207, "44"), 1, "%n\n>>>>\n"), 3, "object.item"), 20, "Blue");
    EXPECT_EQ(record_of(object), ">>>>\n14004Blue\n0300Bobject.item\n01008%n\n>>>>\n\nCF00244\n");
    upnp_database_object_free(object);
    MediaProperty negative = {-1, 1, empty, nullptr};
    char value[] = "xy";
    negative.value = value;
    EXPECT_EQ(record_of(&negative), ">>>>\nFFFFFFFF0xy\n") << "the header is cut at nine characters";
}

TEST(Record, IsAppendedToAFile) {
    const TempDir folder;
    MediaObject* object = add(nullptr, 20, "Blue");
    UpnpFile* file = upnp_file_open_write("items");
    upnp_database_object_write(object, file);
    upnp_database_object_write(nullptr, file);
    upnp_database_object_write(object, nullptr);
    upnp_database_object_write(object, file);
    upnp_file_close(file);
    upnp_database_object_free(object);
    EXPECT_EQ(read_file("items"), ">>>>\n14004Blue\n>>>>\n14004Blue\n");
}

TEST(Record, ReadsBackReversedUpTo4095Bytes) {
    for (const size_t length : {size_t{1}, size_t{4095}}) {
        MediaObject* object = add(add(nullptr, 20, "A"), 22, repeat("B", length));
        const std::string record = record_of(object);
        EXPECT_EQ(parse(record, static_cast<uint32_t>(record.size())),
                  "20:A 22:" + repeat("B", length) + " ");
        upnp_database_object_free(object);
    }
    MediaObject* object = add(nullptr, 22, repeat("B", 4096));
    const std::string record = record_of(object);
    EXPECT_EQ(record.substr(0, 12), ">>>>\n161000B");
    EXPECT_NE(parse(record, static_cast<uint32_t>(record.size())), "22:" + repeat("B", 4096) + " ");
    upnp_database_object_free(object);
}

TEST(Record, ReaderStaysInsideDamagedData) {
    const struct {
        const char* name;
        const char* data;
        const char* properties;
    } rows[] = {
        {"no marker", "14004Blue\n", "20:Blue "},
        {"lower-case digits", ">>>>\n1a00bobject.item\n", "26:object.item "},
        {"digits that are none", ">>>>\nZ4004Blue\n", "4:Blue "},
        {"marker of one sign", ">????14004Blue\n", "20:Blue "},
        {"marker alone", ">>>>\n", ""},
        {"ten bytes", ">>>>\n14001", ""},
        {"eleven bytes", ">>>>\n140001", ""},
        {"length beyond the data, within the record", ">>>>\n1400AB\n", ""},
        {"value reads as zeros beyond the data", ">>>>\n1400ABlueBl", "20:BlueBl "},
        {"corrupt length after a good entry", "14004Blue\n16FFFx\n", "20:Blue "},
        {"header cut short", "14004Blue\n16", "20:Blue "},
        {"id of no property", "FF001x\n00001y\n", "0:y 255:x "},
        {"rating", "2000175\n", "32:5 "},
        {"one byte", "1", ""},
        {"sign alone", ">", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::string data = row.data;
        EXPECT_EQ(parse(data, static_cast<uint32_t>(data.size())), row.properties);
        for (uint32_t size = 1; size < data.size(); ++size) {
            (void)parse(data, size);
        }
    }
    EXPECT_EQ(upnp_database_object_create_from_data(nullptr, 5), nullptr);
    EXPECT_EQ(upnp_database_object_create_from_data("x", 0), nullptr);
}

TEST(Record, ReaderLogsACorruptLength) {
    upnp_log_init(nullptr);
    upnp_log_set_mask(upnp_log_db);
    EXPECT_EQ(mask_times(stdout_of([] { EXPECT_EQ(parse("16FFFx\n", 7), ""); })),
              "TIME LOG_DB:(upnp_database_object_create_from_data) database corrupted, value size 4095\n");
    upnp_log_set_mask(0);
    upnp_log_close();
}
