// All of the host that differs between operating systems.

#include "host/Console.h"

#include <QtCore/qglobal.h>

#ifdef Q_OS_WIN
#include <QtCore/QAbstractNativeEventFilter>
#include <QtCore/QCoreApplication>

#include <windows.h>

#include <io.h>
#include <stdio.h>
#else
#include <QtCore/QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>
#endif

#include <atomic>
#include <cstdio>

namespace host
{

namespace
{

constexpr int ForcedExitCode = 130; // what shells report for a program ended by Ctrl-C

std::atomic<int> interrupts{0};

#ifdef Q_OS_WIN

std::atomic<Interrupt *> listener{nullptr};

void onRequest()
{
    if (++interrupts > 1)
        TerminateProcess(GetCurrentProcess(), ForcedExitCode);
    if (Interrupt *const object = listener)
        QMetaObject::invokeMethod(object, &Interrupt::interrupted, Qt::QueuedConnection);
}

// Runs on a thread that the system makes for it.
BOOL WINAPI onControl(DWORD)
{
    onRequest();
    return TRUE;
}

// Who started the program without a console shared with it asks its main thread to close.
class CloseRequests : public QAbstractNativeEventFilter
{
public:
    bool nativeEventFilter(const QByteArray &, void *message, long *) override
    {
        const auto *const posted = static_cast<const MSG *>(message);
        if (posted->hwnd || posted->message != WM_CLOSE)
            return false;
        onRequest();
        return true;
    }
};

CloseRequests closeRequests;

#else

int wakePipe[2] = {-1, -1}; // written by the signal handler, read by the notifier

void onSignal(int)
{
    if (++interrupts > 1)
        _exit(ForcedExitCode);
    const char byte = 1;
    if (write(wakePipe[1], &byte, 1) < 0)
        _exit(ForcedExitCode);
}

#endif

} // namespace

#ifdef Q_OS_WIN

const char *const NdiRuntimeFile = "Processing.NDI.Lib.x64.dll";

Interrupt::Interrupt(QObject *parent) : QObject(parent)
{
    interrupts = 0;
    listener = this;
    SetConsoleCtrlHandler(&onControl, TRUE);
    QCoreApplication::instance()->installNativeEventFilter(&closeRequests);
}

Interrupt::~Interrupt()
{
    QCoreApplication::instance()->removeNativeEventFilter(&closeRequests);
    SetConsoleCtrlHandler(&onControl, FALSE);
    listener = nullptr;
}

// An ordinary end would stop the other threads in the middle of what they do and then have the libraries clean up
// behind themselves, which waits for ever for a lock that such a thread has held.
int endProcess(int exitCode)
{
    std::fflush(nullptr);
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(exitCode));
    return exitCode;
}

bool isTerminal()
{
    return _isatty(_fileno(stdout)) != 0;
}

#else

const char *const NdiRuntimeFile = "libndi.so.6";

Interrupt::Interrupt(QObject *parent) : QObject(parent)
{
    interrupts = 0;
    if (pipe(wakePipe) != 0)
        return;
    fcntl(wakePipe[0], F_SETFD, FD_CLOEXEC);
    fcntl(wakePipe[1], F_SETFD, FD_CLOEXEC);
    auto *const notifier = new QSocketNotifier(wakePipe[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] {
        char byte = 0;
        if (read(wakePipe[0], &byte, 1) == 1)
            Q_EMIT interrupted();
    });
    std::signal(SIGINT, &onSignal);
    std::signal(SIGTERM, &onSignal);
}

Interrupt::~Interrupt()
{
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    close(wakePipe[0]);
    close(wakePipe[1]);
}

int endProcess(int exitCode)
{
    return exitCode;
}

bool isTerminal()
{
    return isatty(STDOUT_FILENO) != 0;
}

#endif

} // namespace host
