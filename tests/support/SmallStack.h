// Runs code on a thread with a stack of 256 KB, the least that a host's pool threads are taken to have.
#pragma once

#include <pthread.h>

#include <cstddef>
#include <functional>
#include <stdexcept>

namespace test {

inline constexpr std::size_t kSmallStackBytes = std::size_t{256} * 1024;

// Returns when `body` has ended. Throws std::runtime_error when there is no such thread.
inline void RunOnSmallStack(std::function<void()> body) {
    pthread_attr_t attributes;
    pthread_t thread{};
    const auto run = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    bool started = false;
    if (pthread_attr_init(&attributes) == 0) {
        started = pthread_attr_setstacksize(&attributes, kSmallStackBytes) == 0 &&
                  pthread_create(&thread, &attributes, run, &body) == 0;
        pthread_attr_destroy(&attributes);
    }
    if (!started)
        throw std::runtime_error("no thread with a small stack");
    pthread_join(thread, nullptr);
}

}  // namespace test
