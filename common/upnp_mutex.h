#pragma once
// A critical section that its owner may enter again: a plain POSIX mutex plus the owner's thread id and a
// count. The logger needs one, because the file layer that it writes through logs its own failures.

#include <atomic>
#include <cstdint>
#include <pthread.h>

struct upnp_mutex_t {
    pthread_mutex_t mutex;
    std::atomic<pthread_t> owner; // 0 when free; read by threads that do not hold the mutex
    int32_t recursion_count;      // extra entries by the owner
};

/// Makes the mutex ready and free. A failure is noted on standard error as "can't init mutex", and the mutex
/// is then usable all the same, in its statically initialised form.
void upnp_mutex_init(upnp_mutex_t* mutex);

/// Enters the section, waiting while another thread is in it; the owner enters again at once.
void upnp_mutex_lock(upnp_mutex_t* mutex);

/// Leaves the section once; the outermost leave frees it.
void upnp_mutex_unlock(upnp_mutex_t* mutex);

/// Gives up a mutex that nobody holds. upnp_mutex_init makes it usable again.
void upnp_mutex_destroy(upnp_mutex_t* mutex);

/// Holds the section from here to the end of the scope; nothing for null.
class UpnpMutexGuard {
public:
    explicit UpnpMutexGuard(upnp_mutex_t* mutex) : mutex_(mutex) { upnp_mutex_lock(mutex_); }
    ~UpnpMutexGuard() { upnp_mutex_unlock(mutex_); }
    UpnpMutexGuard(const UpnpMutexGuard&) = delete;
    UpnpMutexGuard& operator=(const UpnpMutexGuard&) = delete;

private:
    upnp_mutex_t* mutex_;
};
