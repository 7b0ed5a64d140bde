#pragma once
// Whole imports: small libraries built from tracks and playlists, runs of the built program on them, and what
// such a run leaves.
//
//     lay_out(track(1, "a.mp3"), playlist("P", "p1", {1}));
//     EXPECT_EQ(import(), imported("", {{"db/iTunes-playlist-P##M.wpl", wpl('M', "P", {"a.mp3"})}}));

#include "tests/support.h"

/// Lines of a library: a key with its string, with its integer, and one that is true.
std::string text(const std::string& key, const std::string& value);
std::string number(const std::string& key, const std::string& value);
std::string flag(const std::string& key);

/// The dictionary of a track, with further lines in front of its location.
std::string track(int id, const std::string& location, const std::string& lines = "");

/// A playlist, or a folder with the further line flag("Folder"), in the order in which iTunes writes them.
std::string playlist(const std::string& name, const std::string& persistent_id,
                     const std::vector<int>& tracks, const std::string& lines = "");
std::string folder(const std::string& name, const std::string& persistent_id, const std::string& parent = "");

/// Writes the library l.xml, and the empty file that each word of `files` names.
void lay_out(const std::string& tracks, const std::string& playlists = "", const std::string& files = "");

/// What a run changed below the folder it ran in: what is new or has other bytes, log times masked, and what
/// is `gone`; and beside it as "status", "stdout" and "stderr" whatever differs from a run that went well,
/// which prints nothing but the allocator's note.
inline const std::string gone = "(gone)";
Tree run(const std::vector<std::string>& arguments, const std::string& redirection = "");

/// Runs with -dbdir db -itunes-lib l.xml and further arguments.
Tree import(const std::vector<std::string>& arguments = {});

/// What a first import leaves: the items, the workspace, and whatever else.
Tree imported(const std::string& items, Tree others = {});

/// The playlist that an import of l.xml writes, and the head of any.
std::string wpl(char type, const std::string& title, const std::vector<std::string>& sources);
std::string wpl_head(const std::string& file, const std::string& type_line, const std::string& title,
                     const std::string& feed = "0", const std::string& generated = "0");

/// A fresh folder that holds an empty db.
class Import : public testing::Test {
protected:
    Import();
    void TearDown() override; // reads l.xml once more, in this process, and counts what that leaves

    TempDir folder_;
};
