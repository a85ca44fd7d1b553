#pragma once

// The programs as child processes, and what their tests feed them and read from them.

#include "tests/tools/Receiver.h"

#include <QtCore/QByteArray>
#include <QtCore/QJsonObject>
#include <QtCore/QProcess>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <gtest/gtest.h>

#include <string>

// Lines as they are inside a program, whatever the system ends them with outside.
std::string plainLines(QByteArray text);

// A program as a child process. Ends it, should the test have left it running.
class Tool
{
public:
    Tool(const char *program, const QStringList &arguments);
    ~Tool();

    Tool(const Tool &) = delete;
    Tool &operator=(const Tool &) = delete;

    bool waitForOutput(const std::string &part);
    bool waitForLine(const std::string &line) { return waitForOutput(line + "\n"); }
    // To its standard input, which stays open.
    void write(const QByteArray &bytes);
    void interrupt() { m_process.terminate(); }
    void kill();
    // The exit status; -1 when the program crashed or was killed. One that does not end fails the test.
    int wait();

    const std::string &output() const { return m_output; }
    std::string errors();

private:
    QProcess m_process;
    std::string m_output;
};

// A name that no other sender has.
std::string uniqueName();

class Sender : public Tool
{
public:
    explicit Sender(const QStringList &arguments, const std::string &name = uniqueName());

    const std::string &name() const { return m_name; }

private:
    const std::string m_name;
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
