#pragma once
// Playlists as WPL documents (Windows Media Playlist: a SMIL document), written to a file that the caller has
// opened. A document is one header, its entries, one footer, in this order:
//
//     upnp_wpl_write_header(file, "M", "Road Trip", library_path, 0, 0);
//     upnp_wpl_add_media(file, "/music/a.mp3");
//     upnp_wpl_write_footer(file);
//
// Texts go in byte for byte: nothing is escaped, so a caller that needs well-formed XML passes safe texts.
// Every operation but the entry with parameters returns 1 for success and 0 for failure: a null file, a write
// that took less than the text, or a text that exceeds its 1024-byte buffer, which is cut at 1023 characters
// and written so.

#include <cstdint>

#include "common/upnp_fileio.h"

struct WplParam {
    const char* name;
    const char* value;
    int32_t value_type; // 1 is written as "ref", 2 as "object", everything else as "data"
};

struct WplMedia {
    const char* src;
    const WplParam* params; // borrowed
    int32_t param_count;
};

/// Writes the document's beginning with one write. A null `type` leaves the Type line out; one of more than
/// 93 characters is cut. A null title or source file name is written as "Unknown". The flags are true when
/// not 0. A null file is logged at level 3.
uint32_t upnp_wpl_write_header(UpnpFile* file, const char* type, const char* title, const char* orig_filename,
                               uint32_t is_network_feed, uint32_t is_user_generated);

/// Writes one entry; 0 also for a null source.
uint32_t upnp_wpl_add_media(UpnpFile* file, const char* src);

/// Writes one entry with its parameters, a null name or value as the empty text. Writes that fail do not
/// change its result: 0 only for a null file, media or source, and where a line was cut.
uint32_t upnp_wpl_add_media_params(UpnpFile* file, const WplMedia* media);

/// Writes the document's end.
uint32_t upnp_wpl_write_footer(UpnpFile* file);
