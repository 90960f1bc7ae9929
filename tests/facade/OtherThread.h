// A second thread that makes one call and then runs an event loop of its own, until the object ends.
//
// Behind the destructor all that the call did is in sight. A sanitizer would not know it from QThread, which
// is not instrumented, hence the flag.
#pragma once

#include <QtCore/QObject>
#include <QtCore/QThread>
#include <atomic>

namespace test_support {

class OtherThread {
public:
    template <typename Call>
    explicit OtherThread(Call call) {
        context_.moveToThread(&thread_);
        QObject::connect(&thread_, &QThread::started, &context_, [this, call] {
            call();
            hasCalled_ = true;
        });
        thread_.start();
    }
    ~OtherThread() {
        thread_.quit();
        thread_.wait();
        (void)hasCalled_.load();
    }
    OtherThread(const OtherThread&) = delete;
    OtherThread& operator=(const OtherThread&) = delete;

    [[nodiscard]] QThread* thread() { return &thread_; }

private:
    std::atomic<bool> hasCalled_ = false;
    QThread thread_;
    QObject context_;
};

}  // namespace test_support
