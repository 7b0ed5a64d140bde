#include "tests/fuzz/targets.h"

#include <string>
#include <string_view>
#include <vector>

#include "common/upnp_dirwalk.h"
#include "common/upnp_memory.h"
#include "common/upnp_text.h"
#include "itunes/import_run.h"
#include "itunes/library_values.h"
#include "itunes/library_walk.h"
#include "itunes/plist_scanner.h"
#include "itunes/track_reader.h"
#include "server/common/upnp_items.h"
#include "tests/support.h"

namespace {

void require(bool condition) {
    if (!condition) {
        abort();
    }
}

/// The items split by their own lengths end where the file ends.
void require_whole_records(const std::string& items) {
    UpnpRecordEnd end = {};
    for (size_t start = 0; start < items.size(); start += end.length) {
        end = upnp_database_record_end(items.data() + start, static_cast<uint32_t>(items.size() - start));
        require(end.kind == UpnpRecordEndKind::marker || end.kind == UpnpRecordEndKind::data_end);
    }
}

} // namespace

void fuzz_value(const uint8_t* data, size_t size) {
    const int32_t before = upnp_mem_in_use();
    for (const char* tag : {"string", "integer", "date"}) {
        std::vector<char> line(data, data + size);
        line.push_back('\0');
        char* value = itunes_get_value(line.data(), tag);
        if (value != nullptr) {
            require(strlen(value) < size);
            (void)itunes_modification_stamp(value);
            upnp_free(itunes_format_duration(upnp_parse_int32(value)));
            upnp_free(itunes_location_to_path(value));
            upnp_free(value);
        }
    }
    require(upnp_mem_in_use() == before);
}

void fuzz_library(const uint8_t* data, size_t size) {
    static const TempDir folder; // of the process: one library, one items file, the playlists of one run
    write_file("library", std::string(reinterpret_cast<const char*>(data), size));
    mkdir("temp", 0700);
    upnp_copy_text(import_run.temp_dir, sizeof import_run.temp_dir, "temp");
    const int32_t before = upnp_mem_in_use();
    unlink("items");
    UpnpFile* items = upnp_file_open_write("items");
    itunes_read_library("library", items);
    upnp_file_close(items);
    require(upnp_mem_in_use() == before);
    require_whole_records(read_file("items"));
    for (UpnpDirWalk* walk = upnp_dir_open("temp"); walk != nullptr; walk = upnp_dir_next(walk)) {
        require(std::string_view(walk->entry_name).starts_with("iTunes-playlist-"));
        require(read_file(walk->entry_path).ends_with("  </seq>\n </body>\n</smil>\n"));
        unlink(walk->entry_path);
    }
}

void fuzz_record(const uint8_t* data, size_t size) {
    const int32_t before = upnp_mem_in_use();
    const std::vector<uint8_t> exact(data, data + size);
    require(upnp_database_record_end(exact.data(), static_cast<uint32_t>(size)).length <= size);
    MediaObject* object = upnp_database_object_create_from_data(exact.data(), static_cast<uint32_t>(size));
    upnp_string_t* record = upnp_database_object_serialize(object);
    if (record != nullptr) {
        require_whole_records(record->data);
        upnp_database_object_free(upnp_database_object_create_from_data(record->data, record->length));
    }
    upnp_string_free(record);
    upnp_database_object_free(object);
    require(upnp_mem_in_use() == before);
}
