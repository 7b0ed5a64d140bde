#pragma once
// The library location setting: a file of one line, "ituneslib=" and the location, for the media server.

/// Replaces the settings file at `path` by one whose location is empty, which resets what was recorded. Does
/// nothing for a null path. A file that cannot be opened is reported on standard output; the outcome is
/// logged.
void import_write_library_setting(const char* path);
