// Holds a mutex for a scope.
#pragma once

#include <pthread.h>

namespace zrc {

class mutex_guard {
public:
    explicit mutex_guard(pthread_mutex_t& mutex) noexcept : mutex_{mutex} { pthread_mutex_lock(&mutex_); }
    ~mutex_guard() { pthread_mutex_unlock(&mutex_); }
    mutex_guard(const mutex_guard&) = delete;
    mutex_guard& operator=(const mutex_guard&) = delete;

private:
    pthread_mutex_t& mutex_;
};

} // namespace zrc
