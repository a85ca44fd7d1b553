#pragma once

// ndi-send as a child process, and what its tests feed it and read from it.

#include "tests/tools/Receiver.h"

#include <QtCore/QByteArray>
#include <QtCore/QJsonObject>
#include <QtCore/QProcess>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <gtest/gtest.h>

#include <string>

// Ends the program, should the test have left it running.
class Sender
{
public:
    explicit Sender(const QStringList &arguments);
    ~Sender();

    Sender(const Sender &) = delete;
    Sender &operator=(const Sender &) = delete;

    const std::string &name() const { return m_name; }

    bool waitForLine(const std::string &line);
    // To its standard input, which stays open.
    void write(const QByteArray &bytes);
    void interrupt() { m_process.terminate(); }
    // The exit status; -1 when the program crashed or did not end.
    int wait();

    const std::string &output() const { return m_output; }
    std::string errors();

private:
    const std::string m_name;
    QProcess m_process;
    std::string m_output;
};

QStringList words(const char *text);
QJsonObject readJson(const QString &path);
void writeFile(const QString &path, const QByteArray &bytes);
// 64x48 at 50 frames a second, each frame of one grey, so that a picture tells which one it is: 40 + number.
QByteArray greyFilm(int frames);

class NdiSend : public testing::Test
{
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(NDIlib_initialize()); }
    static void TearDownTestSuite() { NDIlib_destroy(); }
};
