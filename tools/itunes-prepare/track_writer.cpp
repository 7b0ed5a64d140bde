#include "tools/itunes-prepare/track_writer.h"

#include "tools/shared/library_keys.h"
#include "tools/shared/library_location.h"
#include "tools/shared/library_reader.h"

namespace {

/// Makes the line of a key with its value.
LineReading make_line(std::string* line, const LibraryKey& row, PlistElement element, std::string_view text) {
    switch (element) {
    case PlistElement::integer: return make_integer_line(line, row.name, text);
    case PlistElement::date: return make_date_line(line, row.name, "date", text);
    case PlistElement::string:
        return (row.elements & library_element_date) != 0
                   ? make_date_line(line, row.name, "string", text)
                   : make_string_line(line, row.name, {as_references(text)}, text);
    default:
        make_flag_line(line, row.name, element == PlistElement::boolean_false ? "false" : "true");
        return LineReading::same;
    }
}

} // namespace

void TrackWriter::begin(std::string_view key) {
    number_ = key;
    line_count_ = 0;
    type_.clear();
    location_.reset();
    is_protected_ = false;
}

/// The line of a key: a second value takes the place of the first.
std::string* TrackWriter::line_of(const LibraryKey* key) {
    for (size_t index = 0; index < line_count_; ++index) {
        if (lines_[index].key == key) {
            return &lines_[index].text;
        }
    }
    if (line_count_ == lines_.size()) {
        lines_.emplace_back();
    }
    lines_[line_count_].key = key;
    return &lines_[line_count_++].text;
}

void TrackWriter::note(LineReading reading, std::string_view key) {
    if (reading != LineReading::same) {
        report_->count(reading == LineReading::too_long ? PrepareReport::too_long
                                                        : PrepareReport::read_otherwise,
                       std::string(key) + " of track " + number_);
    }
}

void TrackWriter::add(std::string_view key, PlistElement element, std::string_view text) {
    if (key == "Track ID") {
        if (element == PlistElement::integer) {
            (void)library_integer(text, &number_);
        }
        return;
    }
    const LibraryKey* row = track_key_row(key, element);
    std::string number;
    if (row == nullptr || (element == PlistElement::integer && !library_integer(text, &number))) {
        return;
    }
    if (key == "Location") {
        location_ = text;
        return;
    }
    const bool is_integer = element == PlistElement::integer;
    note(make_line(line_of(row), *row, element, is_integer ? number : text), key);
    if (key == "Track Type") {
        type_ = text;
    }
    is_protected_ = is_protected_ || key == "Protected";
}

/// Makes the track's Location line, and counts what becomes of its file.
LineReading TrackWriter::make_location() {
    const bool is_stream = type_ == "URL";
    const std::optional<std::string> path = is_stream ? std::nullopt : path_of_location(*location_);
    if (!path || is_protected_) {
        report_->count(PrepareReport::other);
    }
    if (!path) {
        return make_string_line(&location_line_, "Location", {as_references(*location_)}, *location_);
    }
    if (is_protected_) {
        return make_location_line(&location_line_, places_->mapped(*path));
    }
    const Place place = places_->find(*path);
    if (place.is_mapped) {
        report_->count(PrepareReport::mapped);
    }
    switch (place.state) {
    case Place::State::not_looked_for: break;
    case Place::State::found: report_->count(PrepareReport::found); break;
    case Place::State::respelled: report_->count(PrepareReport::respelled, place.path); break;
    case Place::State::elsewhere: report_->count(PrepareReport::elsewhere); break;
    case Place::State::missing: report_->count(PrepareReport::missing, place.path); break;
    }
    return make_location_line(&location_line_, place.path);
}

void TrackWriter::end() {
    report_->count_track();
    const int32_t track_id = library_track_id(number_).value_or(0);
    number_ = std::to_string(track_id);
    location_line_.clear();
    bool has_location = location_.has_value();
    if (has_location) {
        const LineReading reading = make_location();
        note(reading, "Location");
        has_location = reading != LineReading::too_long;
    } else {
        report_->count(PrepareReport::other);
    }
    if (!is_protected_) {
        playable_->add(track_id, has_location);
    }
    output_->write("\t\t<key>" + number_ + "</key>\n\t\t<dict>\n\t\t\t<key>Track ID</key><integer>" +
                   number_ + "</integer>\n");
    for (size_t index = 0; index < line_count_; ++index) {
        output_->write(lines_[index].text);
    }
    output_->write(location_line_); // last: it counts after the type
    output_->write("\t\t</dict>\n");
}
