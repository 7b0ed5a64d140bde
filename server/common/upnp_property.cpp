#include "server/common/upnp_property.h"

#include <cstddef>
#include <cstring>

namespace {

constexpr int32_t cached_ids = 255;      // ids 0 to 254 have a slot in the cache
constexpr size_t descriptor_count = 140; // rows before the terminating one

// The terminating row and the two reserved ids aside, every row is one property of the server's database.
// clang-format off
constexpr PropertyDescriptor property_descriptors[] = {
    // id  A  B  name                        online sep  type                        default
    {  1, 0, 0, "id",                              0, 0,   PropertyType::number,       nullptr},
    {  2, 0, 0, "parentID",                        0, 0,   PropertyType::text,         nullptr},
    {  3, 0, 0, "upnp:class",                      0, 0,   PropertyType::text,         nullptr},
    {  4, 0, 0, "qx:groupid",                      0, 0,   PropertyType::text,         nullptr},
    {  5, 0, 0, "refID",                           0, 0,   PropertyType::text,         nullptr},
    {  6, 0, 0, "restricted",                      0, 0,   PropertyType::boolean,      "1"},
    {  7, 0, 0, "childCount",                      0, 0,   PropertyType::number,       nullptr},
    {  8, 0, 0, "searchable",                      0, 0,   PropertyType::boolean,      "1"},
    { 10, 0, 0, "updateID",                        0, 0,   PropertyType::number,       nullptr},
    { 11, 0, 0, "qx:itemData",                     0, 0,   PropertyType::data,         nullptr},
    { 12, 0, 0, "DLNA_PN",                         0, 0,   PropertyType::text,         nullptr},
    { 13, 0, 0, "dlna.managed",                    0, 0,   PropertyType::text,         nullptr},
    { 14, 0, 0, "qx:sort",                         0, 0,   PropertyType::text,         "+dc:title"},
    { 15, 0, 0, "qx:childCountContainer",          0, 0,   PropertyType::number,       "0"},
    { 16, 0, 0, "qx:ChildCountItems",              0, 0,   PropertyType::number,       nullptr},
    { 17, 0, 0, "qx:MaxItems",                     0, 0,   PropertyType::number,       "0"},
    { 18, 0, 0, "qx:currentsort",                  0, 0,   PropertyType::text,         "+dc:title"},
    { 19, 0, 0, "qx:containerData",                0, 0,   PropertyType::data,         nullptr},
    { 20, 1, 1, "dc:title",                        0, 0,   PropertyType::text,         nullptr},
    { 21, 1, 1, "dc:creator",                      0, 0,   PropertyType::text,         nullptr},
    { 22, 1, 1, "upnp:artist",                     0, 0,   PropertyType::text,         nullptr},
    { 23, 1, 1, "upnp:actor",                      0, 0,   PropertyType::text,         nullptr},
    { 24, 1, 1, "upnp:author",                     0, 0,   PropertyType::text,         nullptr},
    { 25, 1, 1, "upnp:genre",                      0, ',', PropertyType::text,         nullptr},
    { 26, 1, 1, "upnp:album",                      0, 0,   PropertyType::text,         nullptr},
    { 27, 1, 1, "upnp:albumArtist",                0, 0,   PropertyType::text,         nullptr},
    { 28, 1, 1, "dc:description",                  0, 0,   PropertyType::text,         nullptr},
    { 29, 0, 0, "upnp:icon",                       0, 0,   PropertyType::text,         nullptr},
    { 30, 1, 1, "upnp:originalTrackNumber",        0, 0,   PropertyType::small_number, "0"},
    { 31, 1, 1, "qx:playcount",                    0, 0,   PropertyType::number,       "0"},
    { 32, 1, 1, "qx:rating",                       0, 0,   PropertyType::small_number, "0"},
    { 33, 1, 1, "dc:date",                         0, 0,   PropertyType::date,         nullptr},
    { 34, 1, 0, "qx:modificationTime",             0, 0,   PropertyType::time,         nullptr},
    { 49, 1, 0, "qx:addedTime",                    0, 0,   PropertyType::time,         nullptr},
    { 50, 0, 0, "qx:addedLast60",                  0, 0,   PropertyType::boolean,      "0"},
    { 51, 0, 0, "qx:highrated",                    0, 0,   PropertyType::boolean,      "0"},
    { 35, 1, 1, "qx:lastPlayedTime",               0, 0,   PropertyType::text,         nullptr},
    { 53, 0, 0, "qx:lastUpdated",                  0, 0,   PropertyType::time,         nullptr},
    { 54, 0, 1, "qx:userGeneratedPlaylist",        0, 0,   PropertyType::boolean,      "0"},
    { 55, 0, 0, "qx:protected",                    0, 0,   PropertyType::boolean,      "0"},
    { 36, 0, 0, "upnp:albumArtURI",                0, 0,   PropertyType::text,         nullptr},
    { 37, 0, 0, "qx:albumArtOffset",               0, 0,   PropertyType::number,       nullptr},
    { 38, 0, 0, "qx:albumArtLength",               0, 0,   PropertyType::number,       nullptr},
    { 39, 0, 0, "qx:albumArtResolution",           0, 0,   PropertyType::text,         nullptr},
    { 40, 0, 1, "qx:avKeywords",                   0, 0,   PropertyType::text,         nullptr},
    { 41, 0, 1, "qx:orientation",                  0, 0,   PropertyType::small_number, "0"},
    { 43, 0, 1, "qx:compilation",                  0, 0,   PropertyType::boolean,      "0"},
    { 44, 0, 0, "upnp:playlist",                   0, 0,   PropertyType::small_number, nullptr},
    { 45, 0, 1, "qx:aspectRatio",                  0, 0,   PropertyType::text,         nullptr},
    { 46, 0, 1, "qx:numberOfDiscs",                0, 0,   PropertyType::small_number, "1"},
    { 47, 0, 1, "qx:numberOfThisDisc",             0, 0,   PropertyType::small_number, "1"},
    { 48, 0, 0, "qx:playlistContainerID",          0, 0,   PropertyType::number,       nullptr},
    { 52, 0, 0, "qx:playlistLocationID",           0, 0,   PropertyType::small_number, nullptr},
    { 60, 0, 0, "res",                             0, 0,   PropertyType::text,         nullptr},
    { 61, 0, 0, "size",                            0, 0,   PropertyType::size,         nullptr},
    { 62, 1, 0, "duration",                        0, 0,   PropertyType::time,         nullptr},
    { 63, 0, 0, "bitrate",                         0, 0,   PropertyType::number,       nullptr},
    { 64, 0, 0, "sampleFrequency",                 0, 0,   PropertyType::number,       nullptr},
    { 65, 0, 0, "bitsPerSample",                   0, 0,   PropertyType::small_number, nullptr},
    { 66, 0, 0, "nrAudioChannels",                 0, 0,   PropertyType::small_number, "2"},
    { 67, 0, 0, "resolution",                      0, 0,   PropertyType::text,         nullptr},
    { 68, 0, 0, "colorDepth",                      0, 0,   PropertyType::text,         nullptr},
    { 69, 0, 0, "protocol",                        0, 0,   PropertyType::protocol,     nullptr},
    { 70, 0, 1, "importUri",                       0, 0,   PropertyType::text,         nullptr},
    { 71, 0, 0, "subtitle",                        0, 0,   PropertyType::text,         nullptr},
    { 72, 0, 0, "chapterFile",                     0, 0,   PropertyType::text,         nullptr},
    { 73, 0, 0, "chapterNumber",                   0, 0,   PropertyType::text,         nullptr},
    { 74, 0, 0, "chapterOffset",                   0, 0,   PropertyType::text,         nullptr},
    { 75, 0, 0, "chapterDuration",                 0, 0,   PropertyType::text,         nullptr},
    { 76, 1, 0, "qx:extension",                    0, 0,   PropertyType::text,         nullptr},
    { 77, 0, 0, "timeseekInfo",                    0, 0,   PropertyType::text,         nullptr},
    { 78, 0, 0, "bitrateConstant",                 0, 0,   PropertyType::boolean,      "1"},
    { 79, 0, 0, "protection",                      0, 0,   PropertyType::text,         nullptr},
    { 57, 0, 1, "upnp:albumArtURI",                0, 0,   PropertyType::text,         nullptr},
    { 80, 0, 0, "ifo",                             0, 0,   PropertyType::text,         nullptr},
    { 81, 0, 1, "ifoimportUri",                    0, 0,   PropertyType::text,         nullptr},
    { 82, 0, 0, "thumbnail",                       0, 0,   PropertyType::text,         nullptr},
    { 83, 0, 0, "thumbnailResolution",             0, 0,   PropertyType::text,         nullptr},
    { 84, 0, 0, "mimeType",                        0, 0,   PropertyType::text,         nullptr},
    { 85, 0, 0, "resOnline",                       0, 0,   PropertyType::text,         nullptr},
    { 86, 0, 0, "nowPlayingInfoUrl",               0, 0,   PropertyType::text,         nullptr},
    { 90, 0, 0, "qx:onlineMaxListeners",           1, 0,   PropertyType::number,       "0"},
    { 91, 0, 0, "qx:onlineChannel",                1, 0,   PropertyType::text,         nullptr},
    { 92, 0, 0, "qx:onlineAdFrequency",            1, 0,   PropertyType::text,         nullptr},
    { 93, 0, 0, "qx:online_stream",                1, 0,   PropertyType::text,         nullptr},
    { 94, 0, 0, "qx:supportsUpload",               1, 0,   PropertyType::text,         nullptr},
    { 95, 0, 1, "qx:current_song_title",           1, 0,   PropertyType::text,         nullptr},
    { 96, 0, 1, "qx:current_song_duration",        1, 0,   PropertyType::text,         nullptr},
    { 97, 0, 1, "qx:current_song_albumArtURI",     1, 0,   PropertyType::text,         nullptr},
    { 98, 0, 1, "qx:current_song_artist",          1, 0,   PropertyType::text,         nullptr},
    { 99, 0, 1, "qx:current_song_album",           1, 0,   PropertyType::text,         nullptr},
    {100, 0, 1, "qx:current_song_playtime",        1, 0,   PropertyType::text,         nullptr},
    {114, 0, 1, "qx:current_song_beginDate",       1, 0,   PropertyType::text,         nullptr},
    {101, 0, 0, "qx:supTargetAlbum",               1, 0,   PropertyType::text,         nullptr},
    {102, 0, 0, "qx:albumList",                    1, 0,   PropertyType::text,         nullptr},
    {103, 0, 0, "qx:supportsUserSub",              1, 0,   PropertyType::text,         nullptr},
    {104, 0, 0, "qx:subscribedUsers",              1, 0,   PropertyType::text,         nullptr},
    {105, 0, 0, "qx:supportsTagSub",               1, 0,   PropertyType::text,         nullptr},
    {106, 0, 0, "qx:subscribedTags",               1, 0,   PropertyType::text,         nullptr},
    {107, 0, 0, "qx:online_source",                1, 0,   PropertyType::text,         nullptr},
    {132, 0, 0, "qx:online_item",                  1, 0,   PropertyType::text,         nullptr},
    {116, 0, 1, "qx:replaced_by_ad",               1, 0,   PropertyType::text,         nullptr},
    {119, 0, 1, "qx:web_link",                     1, 0,   PropertyType::text,         nullptr},
    {127, 0, 1, "qx:content_info_file",            1, 0,   PropertyType::text,         nullptr},
    {133, 0, 1, "qx:content_info_url",             1, 0,   PropertyType::text,         nullptr},
    {115, 1, 1, "qx:onlineServiceAccessCount",     1, 0,   PropertyType::text,         nullptr},
    {128, 0, 0, "qx:onlineServiceId",              1, 0,   PropertyType::text,         nullptr},
    {129, 1, 0, "qx:onlineServiceTitle",           1, 0,   PropertyType::text,         nullptr},
    {130, 1, 0, "qx:onlineServiceName",            1, 0,   PropertyType::text,         nullptr},
    {131, 0, 0, "qx:onlineFeedData",               1, 0,   PropertyType::text,         nullptr},
    {108, 0, 0, "qx:metadataUrl",                  1, 0,   PropertyType::text,         nullptr},
    {109, 0, 0, "qx:vorlinkId",                    1, 0,   PropertyType::text,         nullptr},
    {134, 0, 0, "qx:onlineServiceUserName",        1, 0,   PropertyType::text,         nullptr},
    {135, 0, 0, "qx:onlineServicePassword",        1, 0,   PropertyType::text,         nullptr},
    {137, 0, 0, "qx:onlineServiceUserId",          1, 0,   PropertyType::text,         nullptr},
    {136, 0, 0, "qx:onlineServiceSessionKey",      1, 0,   PropertyType::text,         nullptr},
    {138, 0, 0, "qx:onlineServiceBaseUrl",         1, 0,   PropertyType::text,         nullptr},
    {139, 0, 0, "qx:onlineServiceComment",         0, 0,   PropertyType::text,         nullptr},
    {117, 0, 0, "qx:onlineServiceUserUpdateUrl",   1, 0,   PropertyType::text,         nullptr},
    {118, 0, 0, "qx:onlineServiceTagUpdateUrl",    1, 0,   PropertyType::text,         nullptr},
    {112, 0, 0, "qx:onlineServiceAdUrl",           1, 0,   PropertyType::text,         nullptr},
    {111, 0, 0, "qx:onlineServiceAccessRights",    1, 0,   PropertyType::text,         nullptr},
    {110, 0, 0, "qx:onlineServiceTargetService",   1, 0,   PropertyType::text,         nullptr},
    {180, 0, 0, "qx:playlistRoot",                 0, 0,   PropertyType::text,         nullptr},
    {181, 0, 0, "qx:smartplaylist",                0, 0,   PropertyType::boolean,      "0"},
    {190, 0, 0, "qx:capturedate",                  0, 0,   PropertyType::date,         nullptr},
    {154, 0, 0, "qx:custom",                       0, 0,   PropertyType::text,         nullptr},
    {192, 0, 0, "qx:location",                     0, 0,   PropertyType::small_number, "0"},
    {197, 0, 0, "qx:transcoding_priority",         0, 0,   PropertyType::text,         nullptr},
    {198, 0, 0, "qx:transcoding_status",           0, 0,   PropertyType::text,         nullptr},
    {200, 0, 0, "qx:reselem_id",                   0, 0,   PropertyType::text,         nullptr},
    {201, 0, 0, "qx:seek_id",                      0, 0,   PropertyType::text,         nullptr},
    {203, 0, 0, "qx:oem_user_id",                  1, 0,   PropertyType::text,         nullptr},
    {204, 0, 0, nullptr,                           0, 0,   PropertyType::text,         nullptr},
    {205, 0, 0, nullptr,                           0, 0,   PropertyType::text,         nullptr},
    {206, 0, 0, "qx:aggregationSource",            0, 0,   PropertyType::text,         nullptr},
    {207, 0, 0, "qx:wav_header_size",              0, 0,   PropertyType::number,       "0"},
    {182, 0, 0, "qx:dtcp_uploadinfo",              0, 0,   PropertyType::text,         nullptr},
    {183, 0, 0, "upnp:radioBand",                  0, 0,   PropertyType::text,         nullptr},
    {162, 0, 0, "dlna:cleartextSize",              0, 0,   PropertyType::text,         nullptr},
    {  0, 0, 0, nullptr,                           0, 0,   PropertyType::text,         nullptr},
};
// clang-format on

consteval bool ids_are_unique_and_in_range() {
    for (size_t row = 0; row < descriptor_count; ++row) {
        const int16_t id = property_descriptors[row].id;
        if (id < 1 || id > 207) {
            return false;
        }
        for (size_t other = 0; other < row; ++other) {
            if (property_descriptors[other].id == id) {
                return false;
            }
        }
    }
    return property_descriptors[descriptor_count].id == 0;
}

consteval bool only_the_reserved_ids_are_nameless() {
    for (size_t row = 0; row < descriptor_count; ++row) {
        const PropertyDescriptor& descriptor = property_descriptors[row];
        if ((descriptor.name == nullptr) != (descriptor.id == 204 || descriptor.id == 205)) {
            return false;
        }
    }
    return true;
}

static_assert(sizeof property_descriptors / sizeof property_descriptors[0] == descriptor_count + 1);
static_assert(ids_are_unique_and_in_range());
static_assert(only_the_reserved_ids_are_nameless());

PropertyDescriptor descriptor_cache[cached_ids]; // by id; filled on first use
bool descriptor_cache_filled = false;

} // namespace

int16_t upnp_database_property_id(const char* name) {
    if (name == nullptr) {
        return 0;
    }
    for (const PropertyDescriptor& descriptor : property_descriptors) {
        if (descriptor.name != nullptr && strcmp(descriptor.name, name) == 0) {
            return descriptor.id;
        }
    }
    for (const PropertyDescriptor& descriptor : property_descriptors) {
        if (descriptor.name != nullptr && strncmp(descriptor.name, name, strlen(descriptor.name)) == 0) {
            return descriptor.id;
        }
    }
    return 0;
}

const PropertyDescriptor* upnp_database_property_descriptor(int32_t id) {
    if (!descriptor_cache_filled) {
        for (size_t row = 0; row < descriptor_count; ++row) {
            descriptor_cache[property_descriptors[row].id] = property_descriptors[row];
        }
        descriptor_cache_filled = true;
    }
    return id < 0 || id >= cached_ids ? nullptr : &descriptor_cache[id];
}
