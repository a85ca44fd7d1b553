// Tells the thread sanitizer about the order that Qt keeps. Qt itself is not built with the sanitizer, so what its
// locks, its event queues and its thread pool hand from one thread to another looks unordered. This library stands
// between the program and those functions of Qt; each calls the real one and says what it orders:
//   what is done before posting, emitting, starting or reporting comes before
//   what is done on the other side: in an event handler, in a job, after waiting.
// It hides no report: it only adds the edges that Qt's documentation promises.

#include <QtCore/QCoreApplication>
#include <QtCore/QDeadlineTimer>
#include <QtCore/QFutureInterface>
#include <QtCore/QMutex>
#include <QtCore/QThread>
#include <QtCore/QThreadPool>

#include <atomic>
#include <chrono>
#include <thread>

#include <dlfcn.h>

// The sanitizer's runtime is in every program that this library is loaded into but the shell's helpers.
extern "C" {
[[gnu::weak]] void __tsan_acquire(void *address);
[[gnu::weak]] void __tsan_release(void *address);
}

namespace
{

// One place for all of Qt's queues: an edge too many between two of them is the price of not knowing their insides.
char queues;

void acquire(const void *address = &queues)
{
    if (__tsan_acquire)
        __tsan_acquire(const_cast<void *>(address));
}

void release(const void *address = &queues)
{
    if (__tsan_release)
        __tsan_release(const_cast<void *>(address));
}

// Qt's own function behind the one of that name here.
template <typename Function>
Function *real(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

// Threads that are within an emission. Qt copies a queued connection's arguments there, so what orders the copies comes
// when the emission is over; their event may be delivered a little before that.
std::atomic<int> emissions{0};
thread_local int ownEmissions = 0;

void awaitEmissionsOfOthers()
{
    // A thread may stay in an emission for long, in a slot that it calls itself.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(2);
    while (emissions.load(std::memory_order_relaxed) > ownEmissions && std::chrono::steady_clock::now() < deadline)
        std::this_thread::yield();
}

bool beforeEvent(void **)
{
    awaitEmissionsOfOthers();
    acquire();
    return false;
}

// Qt calls back before each event that it delivers, on the thread that delivers it.
[[gnu::constructor]] void registerWithQt()
{
    QInternal::registerCallback(QInternal::EventNotifyCallback, beforeEvent);
}

} // namespace

void QMutex::lock() noexcept
{
    static auto *const next = real<void(QMutex *)>("_ZN6QMutex4lockEv");
    next(this);
    acquire(this);
}

bool QMutex::tryLock(int timeout) noexcept
{
    static auto *const next = real<bool(QMutex *, int)>("_ZN6QMutex7tryLockEi");
    const bool locked = next(this, timeout);
    if (locked)
        acquire(this);
    return locked;
}

void QMutex::unlock() noexcept
{
    static auto *const next = real<void(QMutex *)>("_ZN6QMutex6unlockEv");
    release(this);
    next(this);
}

bool QFutureInterfaceBase::derefT() const
{
    static auto *const next = real<bool(const QFutureInterfaceBase *)>("_ZNK20QFutureInterfaceBase6derefTEv");
    release();
    const bool left = next(this);
    acquire();
    return left;
}

bool QFutureInterfaceBase::isCanceled() const
{
    static auto *const next = real<bool(const QFutureInterfaceBase *)>("_ZNK20QFutureInterfaceBase10isCanceledEv");
    acquire();
    return next(this);
}

void QFutureInterfaceBase::reportFinished()
{
    static auto *const next = real<void(QFutureInterfaceBase *)>("_ZN20QFutureInterfaceBase14reportFinishedEv");
    release();
    next(this);
}

void QMetaObject::activate(QObject *sender, const QMetaObject *meta, int signal, void **arguments)
{
    static auto *const next =
        real<void(QObject *, const QMetaObject *, int, void **)>("_ZN11QMetaObject8activateEP7QObjectPKS_iPPv");
    ++ownEmissions;
    emissions.fetch_add(1, std::memory_order_relaxed);
    release();
    next(sender, meta, signal, arguments);
    release();
    emissions.fetch_sub(1, std::memory_order_relaxed);
    --ownEmissions;
}

void QCoreApplication::postEvent(QObject *receiver, QEvent *event, int priority)
{
    static auto *const next =
        real<void(QObject *, QEvent *, int)>("_ZN16QCoreApplication9postEventEP7QObjectP6QEventi");
    release();
    next(receiver, event, priority);
}

void QThreadPool::start(QRunnable *job, int priority)
{
    static auto *const next = real<void(QThreadPool *, QRunnable *, int)>("_ZN11QThreadPool5startEP9QRunnablei");
    release();
    next(this, job, priority);
}

bool QThreadPool::waitForDone(int milliseconds)
{
    static auto *const next = real<bool(QThreadPool *, int)>("_ZN11QThreadPool11waitForDoneEi");
    const bool done = next(this, milliseconds);
    acquire();
    return done;
}

bool QThread::wait(QDeadlineTimer deadline)
{
    static auto *const next = real<bool(QThread *, QDeadlineTimer)>("_ZN7QThread4waitE14QDeadlineTimer");
    const bool done = next(this, deadline);
    acquire();
    return done;
}
