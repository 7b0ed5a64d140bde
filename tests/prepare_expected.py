#!/usr/bin/python3
# Lays out a library's files, empty, and prints what an import is to bring, as plistlib reads it, FROM being at TO:
#     prepare_expected.py LIBRARY FROM TO
# The lines are those of itunes-items and of playlist files.
import plistlib
import re
import sys
from pathlib import Path
from urllib.parse import unquote

library = plistlib.load(open(sys.argv[1], "rb"))
places, playlists = {}, []
for track in library["Tracks"].values():
    if "Location" in track and not track.get("Protected"):
        place = track["Location"]
        if track["Track Type"] == "File":
            place = unquote(place.removeprefix("file://localhost")).replace(sys.argv[2], sys.argv[3], 1)
            if "(lost)" not in place:
                Path(place).parent.mkdir(parents=True, exist_ok=True)
                Path(place).touch()
                for name, key in ("dc:title", "Name"), ("upnp:artist", "Artist"), ("upnp:album", "Album"):
                    if key in track:
                        print(f"{name}: {track[key]}")
                print(f"res: {place}")
        places[track["Track ID"]] = place
by_id = {playlist["Playlist Persistent ID"]: playlist for playlist in library["Playlists"]}
for playlist in library["Playlists"]:
    items = [places[item["Track ID"]] for item in playlist.get("Playlist Items", []) if item["Track ID"] in places]
    built_in = playlist.keys() & {"Distinguished Kind", "Smart Info"} or not playlist.get("Visible", True)
    if items and not built_in and playlist["Name"] not in ("Library", "Recently Added", "Music", "Podcasts"):
        title, parent = playlist["Name"], playlist
        while parent := by_id.get(parent.get("Parent Persistent ID")):
            title = parent["Name"] + "/" + title
        playlists.append([f"  <title>{title}</title>"] + [f'   <media src="{place}" />' for place in items])
for playlist in sorted(playlists, key=lambda lines: re.sub("[ /&?']", "_", lines[0])):
    print("\n".join(playlist))
