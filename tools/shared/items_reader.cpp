#include "tools/shared/items_reader.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "server/common/upnp_database.h"
#include "server/common/upnp_items.h"
#include "server/common/upnp_property.h"
#include "tools/shared/descriptor.h"

namespace {

/// Whether the record may go on behind the window.
bool is_open(UpnpRecordEndKind kind) {
    return kind == UpnpRecordEndKind::data_end || kind == UpnpRecordEndKind::cut;
}

const char* damage_reason(UpnpRecordEndKind kind) {
    switch (kind) {
    case UpnpRecordEndKind::marker:
    case UpnpRecordEndKind::data_end: break;
    case UpnpRecordEndKind::cut: return "the file ends inside this entry";
    case UpnpRecordEndKind::no_record: return "no record begins here"; // at the file's first byte only
    case UpnpRecordEndKind::no_entry: return "neither an entry nor a record begins here";
    case UpnpRecordEndKind::open_value: return "the entry's value does not end where its length says";
    }
    return nullptr;
}

ItemsCount unreadable(int error) {
    return {ItemsState::unreadable, 0, error, strerror(error)};
}

ItemsState state_of(ItemsFault fault) {
    switch (fault) {
    case ItemsFault::none: return ItemsState::whole;
    case ItemsFault::read_error: return ItemsState::unreadable;
    case ItemsFault::no_items_file: return ItemsState::no_items_file;
    case ItemsFault::damaged: break;
    }
    return ItemsState::damaged;
}

ItemsCount count_open_file(int descriptor) {
    ItemsReader reader(descriptor);
    uint64_t records = 0;
    for (ItemsRecord record = reader.next(); !record.data.empty(); record = reader.next()) {
        records += record.is_whole ? 1 : 0;
    }
    return {state_of(reader.fault()), records, reader.error(), reader.fault_text()};
}

} // namespace

// With room for the marker behind the largest record.
ItemsReader::ItemsReader(int descriptor)
    : descriptor_(descriptor), window_(items_record_limit + upnp_record_marker_length) {}

/// Drops what was read from the window and fills it up, so that a record that comes in small pieces is not
/// searched again for each of them.
void ItemsReader::fill_window() {
    length_ -= start_;
    memmove(window_.data(), window_.data() + start_, length_);
    offset_ += start_;
    start_ = 0;
    if (!at_end_) {
        const size_t got =
            read_up_to(descriptor_, window_.data() + length_, window_.size() - length_, &error_);
        length_ += static_cast<uint32_t>(got);
        at_end_ = length_ < window_.size();
    }
}

/// The last whole entries, behind which something is wrong.
ItemsRecord ItemsReader::end_with(ItemsFault fault, const char* reason, uint32_t length) {
    const ItemsRecord record = {{window_.data() + start_, length}, false};
    start_ += length;
    fault_ = error_ == 0 ? fault : ItemsFault::read_error;
    reason_ = reason;
    return record;
}

ItemsRecord ItemsReader::next() {
    if (fault_ != ItemsFault::none) {
        return {};
    }
    UpnpRecordEnd end = upnp_database_record_end(window_.data() + start_, length_ - start_);
    if (is_open(end.kind) && !at_end_) {
        fill_window();
        end = upnp_database_record_end(window_.data(), length_);
    }
    if (end.length > items_record_limit || (is_open(end.kind) && !at_end_)) {
        return end_with(ItemsFault::damaged, "the record that begins here is larger than 1 MiB", 0);
    }
    const char* reason = damage_reason(end.kind);
    if (reason != nullptr) {
        const bool is_other = end.kind == UpnpRecordEndKind::no_record;
        return end_with(is_other ? ItemsFault::no_items_file : ItemsFault::damaged, reason, end.length);
    }
    if (end.length == 0 && error_ != 0) {
        return end_with(ItemsFault::read_error, "", 0);
    }
    const ItemsRecord record = {{window_.data() + start_, end.length}, true};
    start_ += end.length;
    return record;
}

std::string ItemsReader::fault_text() const {
    switch (fault_) {
    case ItemsFault::none: break;
    case ItemsFault::read_error: return strerror(error_);
    case ItemsFault::no_items_file: return "not an items file";
    case ItemsFault::damaged: return "damaged at byte " + std::to_string(offset()) + ": " + reason_;
    }
    return {};
}

void for_each_record_path(const std::string& path, const std::function<void(std::string_view)>& use) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    ItemsReader reader(file.number());
    for (ItemsRecord record = reader.next(); !record.data.empty(); record = reader.next()) {
        MediaObject* object = upnp_database_object_create_from_data(
            record.data.data(), static_cast<uint32_t>(record.data.size()));
        const char* media_path = upnp_database_object_get_property(object, upnp_property_res);
        use(media_path == nullptr ? "" : media_path);
        upnp_database_object_free(object);
    }
}

ItemsCount count_items(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        return errno == ENOENT ? ItemsCount{ItemsState::absent, 0, 0, {}} : unreadable(errno);
    }
    if (!S_ISREG(status.st_mode)) { // a pipe would keep the program waiting for somebody who writes
        return unreadable(S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
    }
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return file.is_open() ? count_open_file(file.number()) : unreadable(errno);
}
