#include "tools/itunes-check/page.h"

#include <cerrno>
#include <ctime>
#include <string_view>

#include "common/upnp_text.h"
#include "tools/itunes-check/html_text.h"
#include "tools/itunes-check/page_frame.h"
#include "tools/shared/descriptor.h"
#include "tools/shared/items_reader.h"
#include "tools/shared/whole_file.h"

namespace {

constexpr size_t block_rows = 100;

constexpr TrackOutcome outcome_order[] = {TrackOutcome::record, TrackOutcome::missing,
                                          TrackOutcome::copy_protected, TrackOutcome::no_location,
                                          TrackOutcome::stream};

std::string now() {
    const time_t seconds = time(nullptr);
    struct tm parts = {};
    char text[32] = "";
    if (localtime_r(&seconds, &parts) != nullptr) {
        upnp_format(text, sizeof text, "%d-%02d-%02d %02d:%02d", parts.tm_year + 1900, parts.tm_mon + 1,
                    parts.tm_mday, parts.tm_hour, parts.tm_min);
    }
    return text;
}

std::string number(uint64_t value) {
    return std::to_string(value);
}

/// The title of a page's element, or what stands for it.
std::string title_html(const char* title, const char* location) {
    if (title != nullptr && *title != '\0') {
        return html_text(title);
    }
    const std::string_view path = location == nullptr ? "" : location;
    return path.empty() ? "(no title)" : html_text(path.substr(path.rfind('/') + 1));
}

std::string head(const PageContents& contents) {
    const std::string library = contents.summary == nullptr ? "" : html_text(contents.summary->library.path);
    std::string html = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"UTF-8\"/>\n"
                       "<meta http-equiv=\"Content-Security-Policy\" content=\"";
    html.append(page_policy)
        .append("\"/>\n<meta name=\"viewport\" content=\"width=device-width\"/>\n<title>");
    html.append(contents.program).append(library.empty() ? "" : ": " + library).append("</title>\n<style>");
    html.append(page_style).append("</style>\n</head>\n<body>\n<h1>");
    html.append(library.empty() ? contents.program : library).append("</h1>\n");
    for (const std::string& reason : contents.reasons) {
        html.append("<p class=\"bad\">").append(html_lines(reason)).append("</p>\n");
    }
    return html;
}

/// One bar by reason, and what its colours mean.
std::string bar(const LibraryTally& tally) {
    const uint64_t all = std::max<uint64_t>(tally.track_count(), 1);
    std::string html = "<h2>Tracks: " + number(tally.records()) + " of " + number(tally.track_count()) +
                       " will arrive</h2>\n<svg viewBox=\"0 0 1000 10\" preserveAspectRatio=\"none\" "
                       "role=\"img\" aria-label=\"the shares of the reasons below\">";
    uint64_t before = 0;
    std::string legend;
    for (const TrackOutcome outcome : outcome_order) {
        const uint64_t count = tally.tracks_of(outcome);
        const TrackOutcomeWords& words = track_outcome_words(outcome);
        if (count > 0) {
            const uint64_t start = before * 1000 / all;
            before += count;
            html.append("<rect class=\"").append(words.word).append("\" height=\"10\" x=\"");
            html.append(number(start)).append("\" width=\"").append(number(before * 1000 / all - start));
            html.append("\"/>");
            legend.append("<li><span class=\"").append(words.word).append("\">&#9632;</span> ");
            legend.append(number(count)).append(" ").append(words.text).append("</li>\n");
        }
    }
    return html + "</svg>\n<ul>\n" + legend + "</ul>\n";
}

std::string advice(const CheckSummary& summary) {
    const std::string text = what_to_do(summary);
    return text.empty() ? "" : "<h2>What to do</h2>\n<pre>" + html_lines(text) + "</pre>\n";
}

std::string losses(const CheckSummary& summary) {
    std::string rows;
    for (const LibraryLoss& loss : summary.library.losses) {
        rows.append("<li>").append(number(loss.lost.count)).append(" ").append(loss_text(loss.kind));
        for (const std::string& example : loss.lost.examples) {
            rows.append("<code>").append(html_text(example)).append("</code>");
        }
        rows.append("</li>\n");
    }
    return rows.empty() ? ""
                        : "<h2>What the import reads otherwise than the library means it</h2>\n<ul>\n" +
                              rows + "</ul>\n";
}

std::string preparation(const std::string& report) {
    return report.empty() ? "" : "<h2>What the preparation did</h2>\n<pre>" + html_lines(report) + "</pre>\n";
}

std::string folders(const CheckSummary& summary) {
    if (summary.folders.empty()) {
        return "";
    }
    std::string html = "<h2>Folders that paths begin with</h2>\n<table>\n<thead><tr><th>tracks</th>"
                       "<th>there</th><th>folder</th></tr></thead>\n<tbody>\n";
    for (const FolderGroup& group : summary.folders) {
        html.append("<tr><td>").append(number(group.tracks)).append("</td><td>");
        html.append(number(group.existing)).append("</td><td>");
        html.append(group.folder.empty() ? "(no folder)" : html_text(group.folder)).append("</td></tr>\n");
    }
    return html + "</tbody>\n</table>\n";
}

std::string list(const char* heading, const PageRows& rows) {
    return rows.count() == 0 ? ""
                             : "<details><summary>" + number(rows.count()) + " " + heading + "</summary>\n" +
                                   rows.html() + "</details>\n";
}

} // namespace

void PageRows::add(const std::string& row) {
    if (count_ % block_rows == 0) {
        html_ += count_ == 0 ? "" : are_numbered_ ? "</ol>\n" : "</ul>\n";
        html_ += are_numbered_ ? "<ol start=\"" + number(count_ + 1) + "\">\n" : "<ul>\n";
    }
    html_ += row;
    ++count_;
}

std::string PageRows::html() const {
    const char* end = are_numbered_ ? "</ol>\n</div>\n" : "</ul>\n</div>\n";
    return count_ == 0 ? "" : "<div class=\"rows\">\n" + html_ + end;
}

LibraryPage::LibraryPage(const std::optional<std::string>& items_path) : items_path_(items_path) {
    if (items_path_) {
        for_each_record_path(*items_path_, [this](std::string_view path) { present_.add(path); });
        present_.settle();
    }
}

void LibraryPage::add_track(const TrackReport& report) {
    const std::string title = title_html(report.title, report.location);
    const std::string path = report.location == nullptr ? "" : report.location;
    tracks_[report.track_id] = {report.outcome, titles_.size()};
    titles_.append(title).push_back('\0');
    std::string row = "<li>" + title;
    if (report.outcome != TrackOutcome::record) {
        row.append(" <small>").append(track_outcome_words(report.outcome).text).append("</small>");
    }
    row.append(path.empty() ? "" : "<code>" + html_text(path) + "</code>").append("</li>\n");
    if (report.outcome != TrackOutcome::record) {
        lost_.add(row);
        return;
    }
    records_.add(path);
    if (items_path_ && !present_.contains(path)) {
        added_.add(row);
    }
}

void LibraryPage::add_event(const PlaylistEvent& event) {
    if (event.kind == PlaylistEventKind::named) {
        entries_.emplace_back(true);
    } else if (event.kind == PlaylistEventKind::entry && !entries_.empty()) {
        add_entry(event);
    }
}

void LibraryPage::add_entry(const PlaylistEvent& event) {
    const auto track = tracks_.find(event.track_id);
    const bool is_known = track != tracks_.end();
    const bool has_file = is_known && track->second.outcome != TrackOutcome::missing;
    std::string row = has_file ? "<li>" : "<li class=\"gone\">";
    row += is_known ? titles_.c_str() + track->second.title : title_html(nullptr, event.location);
    entries_.back().add(row + "</li>\n");
}

std::string LibraryPage::tracks_part() const {
    return lost_.count() == 0
               ? ""
               : "<h2>Tracks that will not arrive</h2>\n<input id=\"filter\" type=\"search\" "
                 "placeholder=\"Search\" aria-label=\"Search\" hidden=\"hidden\"/>\n<p id=\"shown\">" +
                     number(lost_.count()) + " tracks</p>\n" + lost_.html();
}

std::string LibraryPage::playlists_part(const CheckSummary& summary) const {
    const std::vector<CheckedPlaylist>& playlists = summary.tally().playlists;
    if (playlists.empty()) {
        return "";
    }
    std::string html = "<h2>Playlists: " + number(summary.tally().playlist_files()) + " of " +
                       number(playlists.size()) + " will get a file</h2>\n";
    for (size_t index = 0; index < playlists.size(); ++index) {
        const CheckedPlaylist& playlist = playlists[index];
        const std::string title = playlist.title.empty() ? "(no name)" : html_text(playlist.title);
        html.append("<details><summary>").append(title).append(" <small>");
        if (playlist.outcome == CheckedOutcome::file) {
            html.append(number(playlist.entries)).append(" of ").append(number(playlist.items));
            html.append(" items, ").append(html_text(playlist.file_name)).append("</small></summary>\n");
        } else {
            html.append("no file: ").append(left_out_text(playlist.outcome));
            html.append("</small></summary>\n");
        }
        html.append(index < entries_.size() ? entries_[index].html() : "").append("</details>\n");
    }
    return html;
}

std::string LibraryPage::changes_part() const {
    if (!items_path_) {
        return "";
    }
    PathSet records = records_;
    records.settle();
    PageRows gone(false);
    for_each_record_path(*items_path_, [&](std::string_view path) {
        if (!records.contains(path)) {
            gone.add("<li>" + html_text(path) + "</li>\n");
        }
    });
    return "<h2>Since the present items file: " + number(added_.count()) + " new, " + number(gone.count()) +
           " gone</h2>\n" + list("new", added_) + list("gone", gone);
}

int LibraryPage::write(const std::string& path, const PageContents& contents) const {
    std::string html = head(contents);
    if (contents.summary != nullptr) {
        const CheckSummary& summary = *contents.summary;
        html += bar(summary.tally()) + advice(summary) + losses(summary);
        html += preparation(contents.preparation) + folders(summary);
        html += changes_part();
        html += tracks_part();
        html += playlists_part(summary);
    }
    html.append("<footer><p>").append(contents.program).append(" " ITUNES_IMPORT_VERSION ", ");
    html.append(now()).append("</p></footer>\n<script>").append(page_script);
    html.append("</script>\n</body>\n</html>\n");
    WholeFile file;
    int error = file.open(path, contents.program);
    error = error == 0 ? write_all(file.descriptor(), html) : error;
    return error == 0 ? file.publish() : error;
}
