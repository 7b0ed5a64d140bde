#!/usr/bin/env python3
"""Writes an iTunes library of any size for measurements:

    generate_library.py tracks COUNT [PLAYLISTS] DIRECTORY
    generate_library.py chain BYTES DIRECTORY
    generate_library.py alike COUNT DIRECTORY

DIRECTORY/iTunes Music Library.xml    the library
DIRECTORY/media/ARTIST/ALBUM/...      an empty file for every tenth track; the others are missing (but see `alike`)
DIRECTORY/locations                   the path of each track in order, each ended by a NUL, for `floor`

`tracks` gives 25 keys and about 1.35 kB a track (playlist items included) and rising ids. 20 playlists and
folders, or as many as asked for, hold every track once, in shuffled order. `chain` gives one track and at least
BYTES of folders, each inside the one before and each holding the track. `alike` gives COUNT files (60,000 at most)
in one folder whose names differ in case only, and as many tracks that name none of them, but names like theirs.

The same arguments give the same bytes on every machine, but for the absolute path of DIRECTORY in locations.
"""

import itertools
import re
import sys
from pathlib import Path
from urllib.parse import quote

SEED = 1
FIRST_ID, ID_STEP = 1638, 2
EXISTING_FILE_STEP = 10  # one track in so many has its file

NAME_STARTS = (
    "Amber Black Café Captain Crystal Dancing Electric Fallen Günter Hollow Iron Jeanne Kaiser Little Márta "
    "Northern Orchestra Paper Quiet Rubén Silver Tiny Umbra Velvet Wandering Yellow Zoë Søren Blind Copper "
    "Midnight Royal"
).split()
NAME_ENDS = (
    "Arrows|& the Cats|Choir|Dreamers|Ensemble|Foxes|Gardens|& Sons|Highway|Island|Jackdaws|Kings|Lanterns|"
    "Martínez|Nine|Orchestra|Parade|Quartet|Rivers|Sisters|Trio|Union|Villagers|Whisper|Archive|Band|Club|"
    "District|Engine|Brothers|Society|Trees"
).split("|")
TITLE_WORDS = (
    "Love Rain Summer Road Home Lights River Dance Shadows Heart Morning Winter City Océano Fire Letter "
    "Strangers Blue Golden Sleep Machine Forever Señorita Window Train Ghost Paradise Tomorrow Silence Sky"
).split()
ALBUM_OPENINGS = ("The", "Another", "Return of the", "Live:")
GENRES = "Alternative Blues Classical Electronic Folk Hip-Hop/Rap Jazz Pop R&B/Soul Rock World".split()

# Name, whether it is a folder, and the row of the folder that holds it.
PLAYLISTS = (
    ("By mood", True, None), ("Calm", False, 0), ("Loud", False, 0), ("Sunday morning", False, 0),
    ("By year", True, None), ("Eighties & before", True, 4), ("Vinyl", False, 5), ("Tapes", False, 5),
    ("Nineties", False, 4), ("2000 to 2009", False, 4), ("Travel", True, None), ("Road trip", False, 10),
    ("Été à la mer", False, 10), ("Night train", False, 10), ("Party", False, None), ("Dinner", False, None),
    ("Running 5 km", False, None), ("Rock/Best of", False, None), ("Children", False, None),
    ("New & unheard", False, None),
)

HEAD = """<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple Computer//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
\t<key>Major Version</key><integer>1</integer>
\t<key>Minor Version</key><integer>1</integer>
\t<key>Date</key><date>2013-11-25T17:39:21Z</date>
\t<key>Application Version</key><string>11.1.3</string>
\t<key>Features</key><integer>5</integer>
\t<key>Show Content Ratings</key><true/>
\t<key>Music Folder</key><string>%s</string>
\t<key>Library Persistent ID</key><string>608BF56C222CC7C7</string>
\t<key>Tracks</key>
\t<dict>
"""
BETWEEN = "\t</dict>\n\t<key>Playlists</key>\n\t<array>\n"
FOOT = "\t</array>\n</dict>\n</plist>\n"


class Random:
    """SplitMix64, so that no library's random numbers decide what comes out."""

    def __init__(self, seed):
        self.state = seed

    def below(self, limit):
        self.state = (self.state + 0x9E3779B97F4A7C15) % 2**64
        mixed = (self.state ^ (self.state >> 30)) * 0xBF58476D1CE4E5B9 % 2**64
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EB % 2**64
        return (mixed ^ (mixed >> 31)) % limit

    def pick(self, texts):
        return texts[self.below(len(texts))]


def escape_markup(text):
    """iTunes writes markup characters as decimal references."""
    return re.sub("[&<>]", lambda match: f"&#{ord(match[0])};", text)


def file_url(path):
    """As iTunes writes the location of a file: percent escapes, but an ampersand as a reference."""
    return escape_markup("file://localhost" + quote(path, safe="-_.~/!*'(),:@$;=&"))


def string(key, value):
    return f"\t\t\t<key>{key}</key><string>{escape_markup(value)}</string>\n"


def integer(key, value):
    return f"\t\t\t<key>{key}</key><integer>{value}</integer>\n"


def date(key, random):
    year, month, day = 2005 + random.below(9), 1 + random.below(12), 1 + random.below(28)
    hour, minute, second = random.below(24), random.below(60), random.below(60)
    value = f"{year}-{month:02}-{day:02}T{hour:02}:{minute:02}:{second:02}Z"
    return f"\t\t\t<key>{key}</key><date>{value}</date>\n"


def albums(random):
    """Every artist has a name of its own, and every album of an artist too: no two tracks share a file."""
    combinations = len(NAME_STARTS) * len(NAME_ENDS)
    for number in itertools.count():
        mixed = number % combinations * 397 % combinations  # odd, so each combination comes once
        artist = f"{NAME_STARTS[mixed // len(NAME_ENDS)]} {NAME_ENDS[mixed % len(NAME_ENDS)]}"
        if number >= combinations:
            artist += f" {number // combinations + 1}"
        for opening in ALBUM_OPENINGS[: 1 + random.below(len(ALBUM_OPENINGS))]:
            album = f"{opening} {random.pick(TITLE_WORDS)}"
            yield artist, album, random.pick(GENRES), 1965 + random.below(49), 8 + random.below(7)


def tracks(random, directory):
    """Yields the path and the dictionary's lines of one track after the other."""
    ids = itertools.count(FIRST_ID, ID_STEP)
    for artist, album, genre, year, track_count in albums(random):
        folder = f"{directory}/media/{artist}/{album}"
        for number in range(1, track_count + 1):
            track_id = next(ids)
            is_mp3 = random.below(4) != 0
            title = random.pick(TITLE_WORDS)
            if random.below(2) != 0:
                title += " " + random.pick(TITLE_WORDS)
            path = f"{folder}/{number:02} {title}.{'mp3' if is_mp3 else 'm4a'}"
            yield path, "".join((
                f"\t\t<key>{track_id}</key>\n\t\t<dict>\n",
                integer("Track ID", track_id),
                string("Name", title),
                string("Artist", artist),
                string("Album Artist", artist),
                string("Composer", random.pick(NAME_STARTS)),
                string("Album", album),
                string("Genre", genre),
                string("Kind", "MPEG audio file" if is_mp3 else "AAC audio file"),
                integer("Size", 2_000_000 + random.below(9_000_000)),
                integer("Total Time", 120_000 + random.below(300_000)),
                integer("Disc Number", 1),
                integer("Disc Count", 1),
                integer("Track Number", number),
                integer("Track Count", track_count),
                integer("Year", year),
                integer("BPM", 60 + random.below(120)),
                date("Date Modified", random),
                date("Date Added", random),
                integer("Bit Rate", 192 if is_mp3 else 256),
                integer("Sample Rate", 44100),
                integer("Play Count", random.below(60)),
                date("Play Date UTC", random),
                integer("Rating", 20 * random.below(6)),
                string("Track Type", "File"),
                f"\t\t\t<key>Location</key><string>{file_url(path)}</string>\n\t\t</dict>\n",
            ))


def alike_name(number):
    """The same 16 letters for every number below 65,536, each time in other cases."""
    return "".join(chr(code - 32 * (number >> bit & 1)) for bit, code in enumerate(b"abcdefghijklmnop"))


def alike_tracks(directory, count):
    """Makes the files, then yields what `tracks` yields."""
    folder = directory / "media"
    folder.mkdir(exist_ok=True)
    for number in range(count):
        (folder / alike_name(number)).touch()
    for number in range(count):
        path = f"{folder}/{alike_name(65_535 - number % 5_000)}"
        yield path, "".join((
            f"\t\t<key>{number + 1}</key>\n\t\t<dict>\n",
            integer("Track ID", number + 1),
            string("Name", f"Song {number}"),
            string("Track Type", "File"),
            f"\t\t\t<key>Location</key><string>{file_url(path)}</string>\n\t\t</dict>\n",
        ))


def with_some_files(rows):
    """Makes the file of every tenth track."""
    for index, (path, text) in enumerate(rows):
        if index % EXISTING_FILE_STEP == 0:
            Path(path).parent.mkdir(parents=True, exist_ok=True)
            Path(path).touch()
        yield path, text


def playlist(index, name, is_folder, parent, playlist_id, ids):
    """Name, ids, flags, items: the order in which iTunes exports a library."""
    item = "\t\t\t\t<dict>\n\t\t\t\t\t<key>Track ID</key><integer>%d</integer>\n\t\t\t\t</dict>\n"
    return "".join((
        "\t\t<dict>\n",
        string("Name", name),
        integer("Playlist ID", playlist_id),
        string("Playlist Persistent ID", f"{0x5EED << 48 | index:016X}"),
        "" if parent is None else string("Parent Persistent ID", f"{0x5EED << 48 | parent:016X}"),
        "\t\t\t<key>All Items</key><true/>\n",
        "\t\t\t<key>Folder</key><true/>\n" if is_folder else "",
        "\t\t\t<key>Playlist Items</key>\n\t\t\t<array>\n",
        *(item % number for number in ids),
        "\t\t\t</array>\n\t\t</dict>\n",
    ))


def playlists(random, count, playlist_count):
    """Deals the tracks out. With fewer tracks than playlists the last ones are left out: iTunes writes no
    items for an empty playlist."""
    ids = list(range(FIRST_ID, FIRST_ID + count * ID_STEP, ID_STEP))
    for left in range(count, 1, -1):
        other = random.below(left)
        ids[left - 1], ids[other] = ids[other], ids[left - 1]
    extra = ((f"Mix {number}", False, None) for number in itertools.count(len(PLAYLISTS) + 1))
    rows = itertools.islice(itertools.chain(PLAYLISTS, extra), min(playlist_count, count))
    for index, row in enumerate(rows):
        share = count // playlist_count + (index < count % playlist_count)
        yield playlist(index, *row, FIRST_ID + count * ID_STEP + index * 3, ids[:share])
        del ids[:share]


def folder_chain(size):
    for index in itertools.count():
        parent = index - 1 if index > 0 else None
        text = playlist(index, f"F{index}", True, parent, FIRST_ID + ID_STEP + index * 3, [FIRST_ID])
        yield text
        size -= len(text)
        if size <= 0:
            return


def write_library(directory, rows, playlist_texts):
    with (
        open(directory / "iTunes Music Library.xml", "w", encoding="utf-8", newline="\n") as library,
        open(directory / "locations", "w", encoding="utf-8") as locations,
    ):
        library.write(HEAD % file_url(f"{directory}/media/"))
        for path, text in rows:
            library.write(text)
            locations.write(path + "\0")
        library.write(BETWEEN)
        library.writelines(playlist_texts)
        library.write(FOOT)


def main():
    kind, *numbers, directory = sys.argv[1:] if len(sys.argv) > 3 else ("", "")
    if kind not in ("tracks", "chain", "alike") or not all(map(str.isdecimal, numbers)):
        sys.exit(__doc__)
    directory = Path(directory).resolve()
    directory.mkdir(parents=True, exist_ok=True)
    random = Random(SEED)
    size, playlist_count = map(int, [*numbers, len(PLAYLISTS)][:2])
    if kind == "alike":
        write_library(directory, alike_tracks(directory, size), [])
        return
    rows = with_some_files(tracks(random, directory))
    if kind == "chain":
        write_library(directory, itertools.islice(rows, 1), folder_chain(size))
    else:
        write_library(directory, itertools.islice(rows, size), playlists(random, size, playlist_count))


if __name__ == "__main__":
    main()
