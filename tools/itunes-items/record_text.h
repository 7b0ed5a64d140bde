#pragma once
// A record as text for people and as JSON for programs. Its properties stand as the object lists them: the
// reverse of their order in the file. One that has no name is called by its number, as in "property 204".

#include <string>

#include "server/common/upnp_database.h"

/// A line a property, "dc:title: Blue", its value escaped; "(no properties)" for a null object. Every line
/// ends in a line feed.
[[nodiscard]] std::string record_text(const MediaObject* object);

/// A JSON object on one line, without a line feed; {} for a null object. Its keys stand as they first occur.
/// A property that occurs more than once, or a name that two properties share, has an array.
[[nodiscard]] std::string record_json(const MediaObject* object);
