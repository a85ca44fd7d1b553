#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/qlogging.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

// Takes every log line of the process for its own lifetime. One at a time. Thread-safe.
class LogCapture
{
public:
    struct Line {
        QtMsgType type;
        QByteArray category;
        QString text;
        bool hasPlace; // it names a file, a line or a function
    };

    LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;
    ~LogCapture();

    std::vector<Line> lines();
    // How many lines are exactly so.
    int count(QtMsgType type, const char *category, const QString &text);
    // How many lines of any level and category contain the text.
    int countContaining(const QString &text);
    // Whether that line came before the deadline.
    bool waitFor(QtMsgType type, const char *category, const QString &text,
                 std::chrono::milliseconds deadline = std::chrono::seconds(20));
    void clear();

private:
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &text);
    int countLocked(QtMsgType type, const char *category, const QString &text) const;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Line> m_lines; // guarded by m_mutex
    QtMessageHandler m_previous;
};

constexpr const char *generalLog = "Multimedia.Tavrin";
constexpr const char *sourceLog = "Multimedia.Tavrin.source";
constexpr const char *sinkLog = "Multimedia.Tavrin.sink";
constexpr const char *defaultLog = "default";
