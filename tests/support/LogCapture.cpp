#include "tests/support/LogCapture.h"

#include <algorithm>
#include <atomic>

namespace
{

std::atomic<LogCapture *> current{nullptr};

} // namespace

LogCapture::LogCapture()
{
    current = this;
    m_previous = qInstallMessageHandler(handle);
}

LogCapture::~LogCapture()
{
    qInstallMessageHandler(m_previous);
    current = nullptr;
}

void LogCapture::handle(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    LogCapture *const capture = current;
    if (!capture)
        return;
    const std::lock_guard<std::mutex> lock(capture->m_mutex);
    const bool hasPlace = context.file || context.line != 0 || context.function;
    capture->m_lines.push_back({type, QByteArray(context.category), text, hasPlace});
    capture->m_changed.notify_all();
}

std::vector<LogCapture::Line> LogCapture::lines()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_lines;
}

int LogCapture::countLocked(QtMsgType type, const char *category, const QString &text) const
{
    return static_cast<int>(std::count_if(m_lines.begin(), m_lines.end(), [&](const Line &line) {
        return line.type == type && line.category == category && line.text == text;
    }));
}

int LogCapture::count(QtMsgType type, const char *category, const QString &text)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return countLocked(type, category, text);
}

int LogCapture::countContaining(const QString &text)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<int>(
        std::count_if(m_lines.begin(), m_lines.end(), [&](const Line &line) { return line.text.contains(text); }));
}

bool LogCapture::waitFor(QtMsgType type, const char *category, const QString &text, std::chrono::milliseconds deadline)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, deadline, [&] { return countLocked(type, category, text) > 0; });
}

void LogCapture::clear()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_lines.clear();
}
