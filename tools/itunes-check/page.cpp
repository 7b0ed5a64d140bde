#include "tools/itunes-check/page.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <functional>
#include <string_view>

#include "tools/itunes-check/html_text.h"
#include "tools/itunes-check/page_frame.h"
#include "tools/shared/descriptor.h"
#include "tools/shared/items_reader.h"
#include "tools/shared/whole_file.h"

namespace {

constexpr TrackOutcome outcome_order[] = {TrackOutcome::record, TrackOutcome::missing,
                                          TrackOutcome::copy_protected, TrackOutcome::no_location,
                                          TrackOutcome::stream};

uint64_t hash_of(std::string_view path) {
    return std::hash<std::string_view>{}(path);
}

std::string now() {
    const time_t seconds = time(nullptr);
    struct tm parts = {};
    char text[32] = "";
    if (localtime_r(&seconds, &parts) != nullptr) {
        (void)strftime(text, sizeof text, "%Y-%m-%d %H:%M", &parts);
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

std::string list(const char* heading, uint64_t count, const std::string& rows) {
    return count == 0 ? ""
                      : "<details><summary>" + number(count) + " " + heading + "</summary>\n<ul>\n" + rows +
                            "</ul>\n</details>\n";
}

} // namespace

LibraryPage::LibraryPage(const std::optional<std::string>& items_path) : items_path_(items_path) {
    if (items_path_) {
        for_each_record_path(*items_path_,
                             [this](std::string_view path) { present_.push_back(hash_of(path)); });
        std::ranges::sort(present_);
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
        lost_ += row;
        return;
    }
    records_.push_back(hash_of(path));
    if (items_path_ && !std::ranges::binary_search(present_, records_.back())) {
        added_ += row;
        ++added_count_;
    }
}

void LibraryPage::add_event(const PlaylistEvent& event) {
    if (event.kind == PlaylistEventKind::named) {
        entries_begins_.push_back(entries_.size());
    } else if (event.kind == PlaylistEventKind::entry) {
        add_entry(event);
    }
}

void LibraryPage::add_entry(const PlaylistEvent& event) {
    const auto track = tracks_.find(event.track_id);
    const bool is_known = track != tracks_.end();
    const bool has_file = is_known && track->second.outcome != TrackOutcome::missing;
    entries_.append(has_file ? "<li>" : "<li class=\"gone\">");
    entries_.append(is_known ? titles_.c_str() + track->second.title : title_html(nullptr, event.location));
    entries_.append(has_file ? "</li>\n" : " <small>no file</small></li>\n");
}

std::string LibraryPage::tracks_part(const CheckSummary& summary) const {
    const uint64_t count = summary.tally().track_count() - summary.tally().records();
    return count == 0 ? ""
                      : "<h2>Tracks that will not arrive</h2>\n<input id=\"filter\" type=\"search\" "
                        "placeholder=\"Search\" aria-label=\"Search\" hidden=\"hidden\"/>\n"
                        "<p id=\"shown\">" +
                            number(count) + " tracks</p>\n<ul id=\"tracks\">\n" + lost_ + "</ul>\n";
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
        const size_t end = index + 1 < entries_begins_.size() ? entries_begins_[index + 1] : entries_.size();
        const size_t begin = index < entries_begins_.size() ? entries_begins_[index] : end;
        html.append(begin == end ? "" : "<ol>\n").append(entries_, begin, end - begin);
        html.append(begin == end ? "</details>\n" : "</ol>\n</details>\n");
    }
    return html;
}

std::string LibraryPage::changes_part() const {
    if (!items_path_) {
        return "";
    }
    std::vector<uint64_t> records = records_;
    std::ranges::sort(records);
    std::string rows;
    uint64_t count = 0;
    for_each_record_path(*items_path_, [&](std::string_view path) {
        if (!std::ranges::binary_search(records, hash_of(path))) {
            rows.append("<li>").append(html_text(path)).append("</li>\n");
            ++count;
        }
    });
    return "<h2>Since the present items file: " + number(added_count_) + " new, " + number(count) +
           " gone</h2>\n" + list("new", added_count_, added_) + list("gone", count, rows);
}

int LibraryPage::write(const std::string& path, const PageContents& contents) const {
    std::string html = head(contents);
    if (contents.summary != nullptr) {
        const CheckSummary& summary = *contents.summary;
        html += bar(summary.tally()) + advice(summary) + losses(summary) + folders(summary);
        html += changes_part();
        html += tracks_part(summary);
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
