#include "server/common/upnp_items.h"

#include <algorithm>
#include <cstring>

#include "common/upnp_log.h"
#include "common/upnp_memory.h"
#include "common/upnp_text.h"

namespace {

constexpr uint32_t header_size = 10; // at most 9 characters of id and length, however large

// Where an entry's header can be read, a marker can.
static_assert(upnp_record_marker_length <= upnp_entry_header_length);

bool is_written(const MediaProperty* property) {
    return property->value != nullptr && property->value[0] != '\0' &&
           strcmp(property->value, upnp_deleted_marker) != 0;
}

/// The bytes of one record; reading beyond them gives zeros.
struct RecordData {
    const char* bytes;
    uint32_t size;
};

/// The hexadecimal digit at a position; any other character counts as 0.
uint32_t hex_digit(const RecordData& record, uint32_t position) {
    const char digit = position < record.size ? record.bytes[position] : '0';
    return static_cast<uint32_t>(std::max(upnp_hex_digit(digit), 0));
}

/// Returns the `length` bytes at `position` as a new text; null without memory.
char* copy_value(const RecordData& record, uint32_t position, uint32_t length) {
    auto* value = static_cast<char*>(upnp_calloc(1, length + 1));
    if (value != nullptr && position < record.size) {
        memcpy(value, record.bytes + position, std::min(length, record.size - position));
    }
    return value;
}

bool is_marker(const char* bytes) {
    return memcmp(bytes, upnp_record_marker, upnp_record_marker_length) == 0;
}

/// The bytes of the entry whose header is given, its line feed included; 0 unless the header is all digits.
uint32_t entry_size(const char* header) {
    uint32_t length = 0;
    for (uint32_t index = 0; index < upnp_entry_header_length; ++index) {
        const int32_t digit = upnp_hex_digit(header[index]);
        if (digit < 0) {
            return 0;
        }
        length = 16 * length + static_cast<uint32_t>(digit);
    }
    return upnp_entry_header_length + length % 0x1000 + 1; // without the two digits of the id
}

} // namespace

UpnpRecordEnd upnp_database_record_end(const void* data, uint32_t size) {
    if (data == nullptr || size == 0) {
        return {0, UpnpRecordEndKind::data_end};
    }
    const auto* bytes = static_cast<const char*>(data);
    if (memcmp(bytes, upnp_record_marker, std::min(size, upnp_record_marker_length)) != 0) {
        return {0, UpnpRecordEndKind::no_record};
    }
    if (size < upnp_record_marker_length) {
        return {0, UpnpRecordEndKind::cut};
    }
    uint32_t position = upnp_record_marker_length;
    while (size - position >= upnp_entry_header_length) {
        const char* entry = bytes + position;
        if (is_marker(entry)) {
            return {position, UpnpRecordEndKind::marker};
        }
        const uint32_t entry_bytes = entry_size(entry);
        if (entry_bytes == 0) {
            return {position, UpnpRecordEndKind::no_entry};
        }
        if (entry_bytes > size - position) {
            return {position, UpnpRecordEndKind::cut};
        }
        if (entry[entry_bytes - 1] != '\n') {
            return {position, UpnpRecordEndKind::open_value};
        }
        position += entry_bytes;
    }
    return {position, position == size ? UpnpRecordEndKind::data_end : UpnpRecordEndKind::cut};
}

upnp_string_t* upnp_database_object_serialize(const MediaObject* object) {
    if (object == nullptr) {
        return nullptr;
    }
    upnp_string_t* record = upnp_string_append(nullptr, upnp_record_marker);
    if (record == nullptr) {
        // Appending to null starts a new buffer: the entries would stand in it without a marker.
        return nullptr;
    }
    for (; object != nullptr; object = object->next) {
        if (!is_written(object)) {
            continue;
        }
        char header[header_size];
        upnp_format(header, sizeof header, "%02X%03X", static_cast<unsigned>(int{object->id}),
                    static_cast<unsigned>(strlen(object->value)));
        record = upnp_string_append(record, header);
        record = upnp_string_append(record, object->value);
        record = upnp_string_append(record, "\n");
    }
    return record;
}

void upnp_database_object_write(const MediaObject* object, UpnpFile* file) {
    if (file == nullptr) {
        return;
    }
    upnp_string_t* record = upnp_database_object_serialize(object);
    if (record == nullptr) {
        return;
    }
    (void)upnp_file_write(file, record->data, record->length); // a lost record is logged and the run goes on
    upnp_string_free(record);
}

MediaObject* upnp_database_object_create_from_data(const void* data, uint32_t size) {
    if (data == nullptr || size == 0) {
        return nullptr;
    }
    const RecordData record = {static_cast<const char*>(data), size};
    uint32_t limit = size;
    uint32_t position = 0;
    if (record.bytes[0] == '>') {
        if (size <= upnp_record_marker_length + upnp_entry_header_length) {
            return nullptr;
        }
        // The position moves on by the marker and the limit back: no entry is so short that it could begin in
        // the last five bytes.
        limit = size - upnp_record_marker_length;
        position = upnp_record_marker_length;
    }
    MediaObject* object = nullptr;
    do {
        const uint32_t id = 16 * hex_digit(record, position) + hex_digit(record, position + 1);
        const uint32_t length = 256 * hex_digit(record, position + 2) + 16 * hex_digit(record, position + 3) +
                                hex_digit(record, position + 4);
        if (static_cast<int32_t>(length) > static_cast<int32_t>(limit)) {
            if (upnp_log_check(upnp_log_db, 1) != 0) {
                upnp_log_message(
                    0, "LOG_DB:(upnp_database_object_create_from_data) database corrupted, value size %u",
                    length);
            }
            return object;
        }
        char* value = copy_value(record, position + upnp_entry_header_length, length);
        if (value == nullptr) {
            return object;
        }
        object = upnp_database_object_give_property(object, static_cast<int16_t>(id), value);
        position += upnp_entry_header_length + length + 1; // the line feed is skipped unseen
    } while (position < limit);
    return object;
}
