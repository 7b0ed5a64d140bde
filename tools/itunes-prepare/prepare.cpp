#include "tools/itunes-prepare/prepare.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/itunes-prepare/library_writer.h"
#include "tools/itunes-prepare/prepare_report.h"
#include "tools/shared/library_files.h"
#include "tools/shared/text_output.h"

namespace {

constexpr char program[] = "itunes-prepare";
constexpr size_t block_size = 1U << 16;

std::string reason(int error) {
    return strerror(error); // NOLINT(concurrency-mt-unsafe): the text is copied at once
}

std::string shown_output(const PrepareRequest& request) {
    return request.output.empty() || request.output == "-" ? "standard output" : escaped(request.output);
}

OutputTarget target_of(const std::string& output) {
    return output.empty() || output == "-" ? OutputTarget{STDOUT_FILENO, true, 0} : output_target(output);
}

PlaceSearch search_of(const PrepareRequest& request) {
    if (request.looks_for_spellings) {
        return PlaceSearch::spellings;
    }
    return request.wants_report || !request.media.empty() ? PlaceSearch::as_it_is : PlaceSearch::none;
}

class Preparation {
public:
    explicit Preparation(const PrepareRequest& request)
        : request_(request), places_(request.maps, search_of(request), request.at_each_look) {}

    PrepareResult run() {
        const OutputTarget target = target_of(request_.output);
        if (!open_input() || !find_media()) {
            return std::move(result_);
        }
        if (target.error != 0) {
            fail_writing(target.error);
        } else if (target.is_stream) {
            write_stream(target);
        } else {
            write_file();
        }
        if (result_.failure.empty()) {
            result_.report = counts_.text(request_.wants_report);
        }
        result_.look_error = places_.error() != 0 ? places_.error() : media_.folder().error();
        return std::move(result_);
    }

private:
    bool open_input() {
        input_ = Descriptor(request_.input == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                                  : open(request_.input.c_str(), O_RDONLY | O_CLOEXEC));
        char none = 0;
        // A directory opens, but does not read.
        if (!input_.is_open() || read(input_.number(), &none, 0) != 0) {
            result_.failure = "can not open " + escaped(request_.input) + ": " + reason(errno);
            return false;
        }
        return true;
    }

    /// Keeps what comes through a pipe: the input is read twice.
    int make_seekable() {
        if (lseek(input_.number(), 0, SEEK_CUR) >= 0) {
            return 0;
        }
        Descriptor kept = unnamed_file("");
        const int error = kept.is_open() ? copy(input_.number(), kept.number()) : errno;
        if (error != 0 || lseek(kept.number(), 0, SEEK_SET) != 0) {
            return error != 0 ? error : errno;
        }
        input_ = std::move(kept);
        return 0;
    }

    /// Looks for files that are not in their places; false where that failed, with its failure noted.
    bool find_media() {
        if (request_.media.empty()) {
            return true;
        }
        const int keeping_error = make_seekable();
        const off_t start = lseek(input_.number(), 0, SEEK_CUR);
        if (keeping_error != 0 || start < 0) {
            result_.failure = "can not keep " + escaped(request_.input) + ": " + reason(keeping_error);
            return false;
        }
        const PropertyListResult reading = add_library_files(input_.number(), &places_, &media_);
        if (reading.state == PropertyListState::unreadable) { // damage is told by the second reading
            fail_reading(reading.error);
            return false;
        }
        const int error = media_.look_through(request_.media, request_.at_each_look);
        if (error != 0 || lseek(input_.number(), start, SEEK_SET) < 0) {
            result_.failure = "can not read " + escaped(request_.media) + ": " + reason(error);
            return false;
        }
        media_.match();
        places_.use_media(&media_);
        for (const UnreadableFolder& folder : media_.folder().unreadable()) {
            counts_.count(PrepareReport::unreadable, folder.path + ": " + reason(folder.error));
        }
        return true;
    }

    void fail_reading(int error) {
        result_.failure = "can not read " + escaped(request_.input) + ": " + reason(error);
    }

    void fail_writing(int error) {
        result_.failure = "can not write " + shown_output(request_) + ": " + reason(error);
    }

    /// Writes the library to the descriptor; false where that failed, with its failure noted.
    bool write_library(int descriptor, const std::string& folder) {
        BufferedWriter output(descriptor);
        LibraryWriter writer(&output, &places_, &counts_, folder);
        const PropertyListResult reading = read_library(input_.number(), &writer);
        const int error = writer.finish();
        if (!writer.failure().empty()) {
            result_.failure = writer.failure();
        } else if (reading.state == PropertyListState::unreadable) {
            fail_reading(reading.error);
        } else if (reading.state == PropertyListState::damaged) {
            result_.failure = escaped(request_.input) + ": line " + std::to_string(reading.line) +
                              ", column " + std::to_string(reading.column) + ": " + reading.reason;
        } else if (error != 0) {
            fail_writing(error);
        }
        return result_.failure.empty();
    }

    /// A stream gets nothing before the whole input has been read.
    void write_stream(const OutputTarget& target) {
        const Descriptor waiting = unnamed_file("");
        if (!waiting.is_open()) {
            result_.failure = "can not make a temporary file: " + reason(errno);
            return;
        }
        if (!write_library(waiting.number(), "")) {
            return;
        }
        Descriptor opened;
        if (target.descriptor < 0) {
            opened = Descriptor(open(request_.output.c_str(), O_WRONLY | O_CLOEXEC));
        }
        const int descriptor = target.descriptor < 0 ? opened.number() : target.descriptor;
        const bool is_ready = descriptor >= 0 && lseek(waiting.number(), 0, SEEK_SET) == 0;
        const int error = !is_ready ? errno : copy(waiting.number(), descriptor);
        if (error != 0) {
            fail_writing(error);
        }
    }

    static int copy(int source, int target) {
        std::string block(block_size, '\0');
        for (;;) {
            int error = 0;
            const size_t length = read_up_to(source, block.data(), block.size(), &error);
            error = error == 0 ? write_all(target, {block.data(), length}) : error;
            if (error != 0 || length == 0) {
                return error;
            }
        }
    }

    void write_file() {
        WholeFile file;
        int error = file.open(request_.output, program, request_.watch);
        if (error == 0) {
            const std::string folder = folder_of(request_.output);
            if (!write_library(file.descriptor(), folder.empty() ? "." : folder)) {
                return;
            }
            error = file.publish();
        }
        if (error != 0) {
            fail_writing(error);
        }
    }

    const PrepareRequest& request_;
    Places places_;
    MediaSearch media_;
    Descriptor input_;
    PrepareReport counts_;
    PrepareResult result_;
};

} // namespace

PrepareResult prepare_library(const PrepareRequest& request) {
    return Preparation(request).run();
}
