#!/usr/bin/python3
# Lists the playlists of a folder through a real client and compares: wpl_client.py FOLDER
#
# Runs under Debian's own Python, for which python3-gi is packaged. Exit status 1 where the entries of a file differ
# or none could be compared, 77 where the client is not installed. Of the files that are not well-formed XML, those
# that the client does not read are left out.

import re
import sys
from contextlib import suppress
from pathlib import Path
from urllib.parse import unquote
from xml.etree import ElementTree

try:
    import gi

    gi.require_version("TotemPlParser", "1.0")
    from gi.repository import TotemPlParser
except (ImportError, ValueError) as missing:
    print(f"skipped: wpl_client: {missing}; needs python3-gi, gir1.2-totemplparser-1.0 and shared-mime-info")
    sys.exit(77)

outcomes = []
for path in sorted(Path(sys.argv[1]).glob("*.wpl")):
    entries, strict = [], False
    parser = TotemPlParser.Parser()
    parser.connect("entry-parsed", lambda _parser, uri, _: entries.append(unquote(uri.removeprefix("file://"))))
    parser.parse(path.absolute().as_uri(), False)
    with suppress(ElementTree.ParseError):
        strict = ElementTree.parse(path) is not None
    written = re.findall(r'^   <media src="(.*)" />$', path.read_text(), re.MULTILINE)
    outcomes.append("in order" if entries == written else "DIFFERS" if strict else "left out")
    print(f"{path.name}: {len(written)} entries, {outcomes[-1]}{'' if strict else ' (not well-formed XML)'}")
sys.exit("in order" not in outcomes or "DIFFERS" in outcomes)
