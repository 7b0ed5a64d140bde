#include "tools/itunes-check/media.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <fcntl.h>

#include "tools/shared/descriptor.h"
#include "tools/shared/library_files.h"
#include "tools/shared/text_output.h"

namespace {

constexpr size_t shown_maps = 20; // with more, a command says less than --media does

} // namespace

int find_media(const std::string& library_path, CheckedMedia* media, std::string* path) {
    *path = library_path;
    const Descriptor library(open(library_path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!library.is_open()) {
        return errno;
    }
    Places places({}, PlaceSearch::spellings);
    // A property list that is damaged is told by itunes-prepare; here the tracks in front of the damage
    // count.
    (void)add_library_files(library.number(), &places, &media->search);
    *path = media->folder;
    const int error = media->search.look_through(media->folder);
    if (error == 0) {
        media->search.match();
    }
    return error;
}

std::string media_advice(const CheckedMedia& media, const std::string& library) {
    const std::vector<MediaMap> maps = media.search.maps();
    if (maps.empty()) {
        return "";
    }
    std::string lines = "  Import a copy with the paths of the " +
                        std::to_string(media.search.found_count()) + " files that were found below\n  " +
                        escaped(media.folder) + ", of " + std::to_string(media.search.wanted_count()) +
                        " that are not in their places:\n    itunes-prepare ";
    if (maps.size() > shown_maps) {
        lines += "--media " + shell_word(media.folder) + " \\\n      ";
    } else {
        for (const MediaMap& map : maps) {
            lines += "--map " + map_start_word(map.from) + "=" + shell_word(map.to) + " \\\n      ";
        }
    }
    return lines + library + " prepared.xml\n";
}

void print_map_lines(const CheckedMedia& media) {
    for (const MediaMap& map : media.search.maps()) {
        printf("map\t%" PRIu64 "\t%s\t%s\n", map.tracks, escaped(map.from).c_str(), escaped(map.to).c_str());
    }
}

void print_map_objects(const CheckedMedia& media) {
    for (const MediaMap& map : media.search.maps()) {
        printf("{\"kind\":\"map\",\"tracks\":%" PRIu64 ",\"from\":%s,\"to\":%s}\n", map.tracks,
               json_string(map.from).c_str(), json_string(map.to).c_str());
    }
}

std::string map_start_word(const std::string& folder) {
    if (folder.find('=') == std::string::npos) {
        return shell_word(folder);
    }
    std::string address = folder.starts_with('/') ? "file://localhost" : "file://localhost/";
    for (const char character : folder) {
        switch (character) {
        case '=': address += "%3D"; break;
        case '%': address += "%25"; break;
        default: address += character;
        }
    }
    return shell_word(address);
}
