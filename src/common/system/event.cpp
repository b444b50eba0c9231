#include "system/event.h"

#include <time.h>

CEvent::CEvent() noexcept {
    pthread_mutex_init(&mutex, nullptr);
    pthread_cond_init(&condition, nullptr);
}

CEvent::~CEvent() {
    pthread_cond_destroy(&condition);
    pthread_mutex_destroy(&mutex);
}

void CEvent::Signal() noexcept {
    pthread_mutex_lock(&mutex);
    signalled = true;
    pthread_mutex_unlock(&mutex);
    pthread_cond_signal(&condition);
}

void CEvent::Wait() noexcept {
    pthread_mutex_lock(&mutex);
    while (!signalled) {
        pthread_cond_wait(&condition, &mutex);
    }
    signalled = false;
    pthread_mutex_unlock(&mutex);
}

void CEvent::WaitUntil(uint64_t time) noexcept {
    timespec deadline{};
    deadline.tv_sec = static_cast<time_t>(time / 1000);
    deadline.tv_nsec = static_cast<long>(time % 1000) * 1000000;
    pthread_mutex_lock(&mutex);
    while (!signalled) {
        pthread_cond_timedwait(&condition, &mutex, &deadline);
    }
    signalled = false;
    pthread_mutex_unlock(&mutex);
}
