#include "common/upnp_mutex.h"

#include <cstdio>

void upnp_mutex_init(upnp_mutex_t* mutex) {
    if (mutex == nullptr) {
        return;
    }
    if (pthread_mutex_init(&mutex->mutex, nullptr) != 0) {
        fputs("can't init mutex\n", stderr);
        static const pthread_mutex_t static_form = PTHREAD_MUTEX_INITIALIZER;
        mutex->mutex = static_form;
    }
    mutex->owner.store(0, std::memory_order_relaxed);
    mutex->recursion_count = 0;
}

void upnp_mutex_lock(upnp_mutex_t* mutex) {
    if (mutex == nullptr) {
        return;
    }
    // A relaxed read is enough: only this thread ever stores its own id here.
    const pthread_t self = pthread_self();
    if (mutex->owner.load(std::memory_order_relaxed) == self) {
        ++mutex->recursion_count;
        return;
    }
    pthread_mutex_lock(&mutex->mutex);
    mutex->owner.store(self, std::memory_order_relaxed);
}

void upnp_mutex_unlock(upnp_mutex_t* mutex) {
    if (mutex == nullptr) {
        return;
    }
    if (mutex->owner.load(std::memory_order_relaxed) == pthread_self() && mutex->recursion_count > 0) {
        --mutex->recursion_count;
        return;
    }
    mutex->owner.store(0, std::memory_order_relaxed);
    pthread_mutex_unlock(&mutex->mutex);
}

void upnp_mutex_destroy(upnp_mutex_t* mutex) {
    if (mutex != nullptr) {
        pthread_mutex_destroy(&mutex->mutex);
    }
}
