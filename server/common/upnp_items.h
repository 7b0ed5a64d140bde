#pragma once
// The items file: a stream of records, one a media object, with nothing before, between or after them. It is
// how the tool hands its objects to the media server. A record is
//
//     >>>>                         the marker and a line feed
//     14004Blue                    two hexadecimal digits of property id, three of value length in bytes,
//     0300Bobject.item             the value as stored, a line feed; one such entry a property
//
// The value is not escaped and may hold line feeds and markers: only the lengths tell where an entry ends.
// A length of 4096 or more takes a fourth digit, which the reader misparses: values must stay below it.

#include <cstdint>

#include "common/upnp_fileio.h"
#include "common/upnp_string.h"
#include "server/common/upnp_database.h"

/// The first bytes of every record.
inline constexpr char upnp_record_marker[] = ">>>>\n";
constexpr uint32_t upnp_record_marker_length = sizeof upnp_record_marker - 1;
/// The id and the length in front of a value.
constexpr uint32_t upnp_entry_header_length = 5;

/// What stands where a record ends, or where its last whole entry does if something is wrong behind it.
enum class UpnpRecordEndKind : uint32_t {
    marker,     // the marker of the next record
    data_end,   // the end of the data
    cut,        // the beginning of an entry or marker that goes on beyond the data
    no_record,  // the data does not begin with a marker; the length is 0
    no_entry,   // neither a marker nor an id and a length
    open_value, // an entry whose value is not followed by a line feed
};

struct UpnpRecordEnd {
    uint32_t length; // bytes of the marker and of the whole entries behind it
    UpnpRecordEndKind kind;
};

/// Tells where the record at the beginning of `size` bytes of data ends, by the lengths of its entries; empty
/// or null data is a record's end at 0. A caller that reads a file in pieces asks again with more of it while
/// the kind is data_end or cut and the file goes on.
[[nodiscard]] UpnpRecordEnd upnp_database_record_end(const void* data, uint32_t size);

/// Returns one record in a new buffer that the caller frees; properties without a value, empty or deleted are
/// left out. Null for a null object and without memory for the record's beginning; memory missing later makes
/// the record come out short.
[[nodiscard]] upnp_string_t* upnp_database_object_serialize(const MediaObject* object);

/// Appends the object's record to an open file with one write, whose failure the file layer logs. Does
/// nothing for a null file or where there is no record. The object stays the caller's.
void upnp_database_object_write(const MediaObject* object, UpnpFile* file);

/// Parses one record of `size` bytes into a new object that the caller frees. Data that begins with '>' is
/// taken to begin with the marker; nothing more of it is tested. Its properties come in the reverse order of
/// the entries, with the rules of adding them. Null for null data, a size of 0, and a size of 10 or less that
/// begins with '>'. A length greater than the record without its marker is logged as corruption; the entries
/// before it are returned, as they are without memory. Bytes that a length claims beyond the data read as
/// zeros.
[[nodiscard]] MediaObject* upnp_database_object_create_from_data(const void* data, uint32_t size);
