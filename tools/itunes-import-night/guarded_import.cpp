#include "tools/itunes-import-night/guarded_import.h"

#include <new>

#include "common/upnp_fileio.h"
#include "itunes/import_observer.h"
#include "itunes/import_run.h"
#include "itunes/library_walk.h"
#include "tools/itunes-import-night/failed_calls.h"

namespace {

/// Stands between the import and the listener: the import knows no exceptions, and is where signals are
/// looked at.
class ImportGuard {
public:
    ImportGuard(const ImportObserver& listener, const std::function<void()>& end_where_ordered)
        : listener_(listener), end_where_ordered_(end_where_ordered) {}
    ImportGuard(const ImportGuard&) = delete;
    ImportGuard& operator=(const ImportGuard&) = delete;

    [[nodiscard]] const ImportObserver& observer() const { return observer_; }
    [[nodiscard]] bool is_out_of_memory() const { return is_out_of_memory_; }

private:
    void pass_on(const auto& function, const auto* value) {
        if (is_out_of_memory_) {
            return;
        }
        try {
            end_where_ordered_();
            function(listener_.context, value);
        } catch (const std::bad_alloc&) {
            is_out_of_memory_ = true;
        }
    }

    const ImportObserver& listener_;
    const std::function<void()>& end_where_ordered_;
    bool is_out_of_memory_ = false;
    const ImportObserver observer_ = {
        this,
        [](void* context, const char* line) {
            auto* self = static_cast<ImportGuard*>(context);
            self->pass_on(self->listener_.on_line, line);
        },
        [](void* context, const TrackReport* report) {
            auto* self = static_cast<ImportGuard*>(context);
            self->pass_on(self->listener_.on_track, report);
        },
        [](void* context, const PlaylistEvent* event) {
            auto* self = static_cast<ImportGuard*>(context);
            self->pass_on(self->listener_.on_playlist, event);
        },
    };
};

} // namespace

ImportResult run_guarded_import(const GuardedImport& import) {
    TallyListener listener(import.library_path, import.options);
    const ImportGuard guard(listener.observer(), import.end_where_ordered);
    FailedCalls::begin();
    UpnpFile* items = upnp_file_open_write(import.items_path.c_str());
    import_observer = &guard.observer();
    itunes_read_library(import.library_path.c_str(), items);
    import_observer = nullptr;
    upnp_file_sync(items);
    upnp_file_close(items);
    ImportResult result;
    result.failures = FailedCalls::end();
    if (guard.is_out_of_memory()) {
        throw std::bad_alloc();
    }
    result.tally = listener.finish(import_run.temp_dir);
    return result;
}
