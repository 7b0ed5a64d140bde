#!/usr/bin/env python3
"""The import as a Python script with plistlib: the whole library in memory, the same records and playlists.

    import_plistlib.py LIBRARY DATABASE_DIRECTORY

Writes itunes.import.items and the playlists straight into the directory, without a workspace and flushes. It
knows what generated libraries hold, local music, and gives the import's files for them, byte for byte.
"""

import os
import plistlib
import sys
from urllib.parse import unquote_to_bytes

RECORD_MARKER = b">>>>\n"

# Property ids of the items file.
CLASS, RATING, DATE_MODIFIED, LAST_PLAYED = 3, 32, 34, 35
RES, SIZE, DURATION, PROTOCOL = 60, 61, 62, 69
TEXTS = {"Name": 20, "Artist": 22, "Album Artist": 27, "Composer": 24, "Album": 26, "Genre": 25}
NUMBERS = {"Play Count": 31, "Disc Count": 46, "Disc Number": 47}
NUMBERS_UNLESS_ZERO = {"Track Number": 30, "Bit Rate": 63, "Sample Rate": 64}

MUSIC_CLASS = b"object.item.audioItem.musicTrack"
UNSAFE_IN_FILE_NAMES = bytes.maketrans(b" \\/+:*<>|@$\"'&?~", b"_" * 16)

PLAYLIST_HEADER = b"""<?wpl version="1.0"?>
<smil>
 <head>
  <meta name="Generator" content="ZembraMedia"/>
  <meta name="IsNetworkFeed" content="0"/>
  <meta name="IsUserGenerated" content="0"/>
  <meta name="OrigFilename" content="%b"/>
  <meta name="Type" content="M"/>
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


def read_track(track):
    """Returns the location and the properties in the order of the track's keys."""
    location, properties = None, []
    for key, value in track.items():
        if key in TEXTS:
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
        elif key == "Location":
            location = decode(value).removeprefix(b"file://localhost")
            properties += [(RES, location), (PROTOCOL, b"d")]
    return location, properties


def write_record(items, properties):
    record = [RECORD_MARKER]
    for number, value in reversed(properties):
        if value:
            record.append(b"%02X%03X%b\n" % (number, len(value), value))
    items.write(b"".join(record))


def import_tracks(tracks, items):
    """Appends a record for each track whose file exists; returns the location of every track."""
    locations = {}
    for track in tracks.values():
        location, properties = read_track(track)
        if os.path.exists(location):
            write_record(items, [*properties, (CLASS, MUSIC_CLASS)])
        locations[track["Track ID"]] = location
    return locations


def folder_path(playlist, by_id):
    """The names from the outermost folder down to the playlist's own."""
    names = []
    while playlist is not None:
        names.insert(0, decode(playlist["Name"]))
        playlist = by_id.get(playlist.get("Parent Persistent ID"))
    return b"/".join(names)


def export_playlists(playlists, locations, library_path, directory):
    by_id = {playlist["Playlist Persistent ID"]: playlist for playlist in playlists}
    for playlist in playlists:
        entries = [locations[item["Track ID"]] for item in playlist["Playlist Items"]]
        title = folder_path(playlist, by_id)
        name = (title + b"##M").translate(UNSAFE_IN_FILE_NAMES)
        path = os.path.join(os.fsencode(directory), b"iTunes-playlist-%b.wpl" % name)
        with open(path, "wb") as output:
            output.write(PLAYLIST_HEADER % (os.fsencode(library_path), title))
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
