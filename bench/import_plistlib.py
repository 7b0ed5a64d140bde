#!/usr/bin/env python3
"""The import as a Python script with plistlib: the whole library in memory, the same records and playlists.

    import_plistlib.py LIBRARY DATABASE_DIRECTORY

Writes itunes.import.items and the playlists straight into the directory, without the tool's workspace. For
libraries from generate_library the files are those of the tool, byte for byte.
"""

import os
import plistlib
import sys
from urllib.parse import unquote_to_bytes

RECORD_MARKER = b">>>>\n"

# Property ids of the items file.
CLASS, TITLE, DATE_MODIFIED, LAST_PLAYED = 3, 20, 34, 35
RES, SIZE, DURATION, PROTOCOL = 60, 61, 62, 69
RATING = 32

TEXTS = {"Artist": 22, "Album Artist": 27, "Composer": 24, "Album": 26, "Genre": 25}
NUMBERS = {"Play Count": 31, "Disc Count": 46, "Disc Number": 47}
NUMBERS_UNLESS_ZERO = {"Track Number": 30, "Bit Rate": 63, "Sample Rate": 64}

MUSIC_CLASS = b"object.item.audioItem.musicTrack"
MOVIE_CLASS = b"object.item.videoItem.movie"

SKIPPED_NAMES = ("Library", "Recently Added", "Music", "Podcasts")
UNSAFE_IN_FILE_NAMES = bytes.maketrans(b" \\/+:*<>|@$\"'&?~", b"_" * 16)

PLAYLIST_HEADER = b"""<?wpl version="1.0"?>
<smil>
 <head>
  <meta name="Generator" content="ZembraMedia"/>
  <meta name="IsNetworkFeed" content="0"/>
  <meta name="IsUserGenerated" content="0"/>
  <meta name="OrigFilename" content="%b"/>
  <meta name="Type" content="%b"/>
  <title>%b</title>
 </head>
 <body>
  <seq>
"""
PLAYLIST_ENTRY = b'   <media src="%b" />\n'
PLAYLIST_FOOTER = b"  </seq>\n </body>\n</smil>\n"


def decode(text):
    """Percent escapes are decoded in every text, and a plus sign is a blank."""
    if "%" in text or "+" in text:
        return unquote_to_bytes(text.replace("+", " "))
    return text.encode()


def saturate(number):
    return max(-0x80000000, min(number, 0x7FFFFFFF))


def modification_stamp(date):
    days = (date.year - 1980) * 366 + date.month * 31 + date.day
    seconds = days * 86400 + date.hour * 3600 + date.minute * 60 + date.second
    return (seconds + 0x80000000) % 0x100000000 - 0x80000000


def format_duration(milliseconds):
    seconds, milliseconds = divmod(milliseconds, 1000)
    minutes, seconds = divmod(seconds, 60)
    hours, minutes = divmod(minutes, 60)
    return b"%d:%02d:%02d.%03d" % (hours, minutes, seconds, milliseconds)


def location_to_path(location):
    location = location.removesuffix(b"/")
    path = location[16:] if b"localhost" in location else location[5:]
    if path[2:3] == b":":
        path = path[1:]
    if path.startswith(b"//"):
        path = path[path.find(b"/", 2):]
    return path


def read_track(track):
    """Returns the location (or None), the protocol and the properties in the order of the track's keys."""
    location, protocol, properties = None, b"d", []
    for key, value in track.items():
        if key == "Name":
            properties.append((TITLE, decode(value)))
        elif key in TEXTS:
            properties.append((TEXTS[key], decode(value)))
        elif key in NUMBERS:
            properties.append((NUMBERS[key], b"%d" % saturate(value)))
        elif key in NUMBERS_UNLESS_ZERO:
            if value != 0:
                properties.append((NUMBERS_UNLESS_ZERO[key], b"%d" % saturate(value)))
        elif key == "Rating":
            properties.append((RATING, b"%d" % max(0, min(value // 20, 5))))
        elif key == "Size":
            properties.append((SIZE, b"%d" % saturate(value)))
        elif key == "Total Time":
            properties.append((DURATION, format_duration(saturate(value))))
        elif key == "Date Modified":
            properties.append((DATE_MODIFIED, b"%d" % modification_stamp(value)))
        elif key == "Play Date UTC":
            properties.append((LAST_PLAYED, value.isoformat().encode()))
        elif key == "Compilation" and value:
            properties.append((43, b"1"))
        elif key == "Track Type":
            protocol = {"File": b"d", "URL": b"h"}.get(value, protocol)
        elif key == "Location":
            location = decode(value)
            if protocol == b"d":
                location = location_to_path(location)
            properties += [(RES, location), (PROTOCOL, protocol)]
    return location, protocol, properties


def write_record(items, properties):
    record = [RECORD_MARKER]
    for number, value in reversed(properties):
        if value:
            record.append(b"%02X%03X%b\n" % (number, len(value), value))
    items.write(b"".join(record))


def import_tracks(tracks, items):
    """Appends a record for each local track whose file exists; returns the location of every track."""
    locations = {}
    for track in tracks.values():
        if track.get("Protected"):
            continue
        location, protocol, properties = read_track(track)
        if location is None:
            continue
        if protocol == b"d" and os.path.exists(location):
            properties.append((CLASS, MOVIE_CLASS if track.get("Has Video") else MUSIC_CLASS))
            write_record(items, properties)
        locations[track["Track ID"]] = location
    return locations


def folder_path(playlist, by_id):
    """The names from the outermost folder down to the playlist's own; a circle of parents ends it."""
    names, seen = [], set()
    while playlist is not None and id(playlist) not in seen:
        seen.add(id(playlist))
        names.insert(0, decode(playlist["Name"]))
        playlist = by_id.get(playlist.get("Parent Persistent ID"))
    return b"/".join(names)


def is_skipped(playlist):
    return "Distinguished Kind" in playlist or "Smart Info" in playlist or playlist["Name"] in SKIPPED_NAMES


def export_playlists(playlists, locations, library_path, directory):
    by_id = {playlist.get("Playlist Persistent ID"): playlist for playlist in playlists}
    for playlist in playlists:
        if is_skipped(playlist):
            continue
        ids = (item["Track ID"] for item in playlist.get("Playlist Items", ()))
        entries = [locations[number] for number in ids if number in locations]
        if not entries:
            continue
        is_video = playlist.get("Videos") or entries[0].endswith((b".mov", b".mp4", b".m4v"))
        kind = b"V" if is_video else b"M"
        title = folder_path(playlist, by_id)
        name = (title + b"##" + kind).translate(UNSAFE_IN_FILE_NAMES)
        path = os.path.join(os.fsencode(directory), b"iTunes-playlist-%b.wpl" % name)
        with open(path, "wb") as output:
            output.write(PLAYLIST_HEADER % (os.fsencode(library_path), kind, title))
            output.writelines(PLAYLIST_ENTRY % entry for entry in entries)
            output.write(PLAYLIST_FOOTER)


def main():
    if len(sys.argv) != 3:
        sys.exit("usage: import_plistlib.py LIBRARY DATABASE_DIRECTORY")
    library_path, directory = sys.argv[1:]
    with open(library_path, "rb") as file:
        library = plistlib.load(file)
    with open(os.path.join(directory, "itunes.import.items"), "wb") as items:
        locations = import_tracks(library.get("Tracks", {}), items)
    export_playlists(library.get("Playlists", []), locations, library_path, directory)


if __name__ == "__main__":
    main()
