// Tells ThreadSanitizer of the order that QThreadPool and QFuture make between threads.
//
// Both make it inside Qt, which is not instrumented: the pool hands a task over under its mutex, and what a
// task has given back goes with the last holder of the future, which a count of references finds. So the
// sanitizer sees no order between the thread that fills a task and the one that runs it, nor between that one
// and the thread that drops the result. The functions below stand in front of Qt's own of the same names and
// say it. They excuse nothing: what a thread does behind start() still races with the task.
#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>

#include <QtCore/QFutureInterface>
#include <QtCore/QThreadPool>

namespace {

// Their addresses alone count. One serves for all tasks, as one mutex does in the pool.
char handOver;
char lastHolder;

// Qt's function of this name in the linker's sense.
template <typename Function>
Function next(const char* symbol) {
    void* const found = dlsym(RTLD_NEXT, symbol);
    if (found == nullptr)
        qFatal("Qt has no %s", symbol);
    return reinterpret_cast<Function>(found);
}

}  // namespace

void QThreadPool::start(QRunnable* runnable, int priority) {
    static const auto real =
        next<void (*)(QThreadPool*, QRunnable*, int)>("_ZN11QThreadPool5startEP9QRunnablei");
    __tsan_release(&handOver);
    real(this, runnable, priority);
}

// The first thing that QtConcurrent asks when a task runs.
bool QFutureInterfaceBase::isCanceled() const {
    static const auto real =
        next<bool (*)(const QFutureInterfaceBase*)>("_ZNK20QFutureInterfaceBase10isCanceledEv");
    __tsan_acquire(&handOver);
    return real(this);
}

// Whether others hold the result still; who learns that nobody does destroys it.
bool QFutureInterfaceBase::derefT() const noexcept {
    static const auto real =
        next<bool (*)(const QFutureInterfaceBase*)>("_ZNK20QFutureInterfaceBase6derefTEv");
    __tsan_release(&lastHolder);
    const bool isHeld = real(this);
    __tsan_acquire(&lastHolder);
    return isHeld;
}
