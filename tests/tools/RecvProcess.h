#pragma once

// ndi-recv as a child process, and a sender in this one that says exactly what it is told to.

#include "tests/tools/SenderProcess.h"

#include "pattern/TestPicture.h"

#include <QtCore/QTemporaryDir>

#include <cstdint>
#include <memory>
#include <string>

// ndi-recv with its summary in a file.
class Recv : public Tool
{
public:
    Recv(const std::string &name, const QStringList &arguments, const QString &jsonFile);

    // What the summary says; after wait().
    QJsonValue operator[](const char *key);

private:
    const QString m_jsonFile;
    QJsonObject m_json;
};

class NdiRecv : public NdiSend
{
protected:
    QString path(const char *name) const { return m_folder.filePath(QLatin1String(name)); }
    QByteArray content(const char *name) const;
    QString jsonFile() const { return path("summary.json"); }

private:
    const QTemporaryDir m_folder;
};

// Sends to one receiver at ten frames a second, which leaves a slow receiver time, paced by the runtime.
class ScriptedSender
{
public:
    ScriptedSender();

    const std::string &name() const { return m_name; }
    bool waitForReceiver() const;
    // Pictures of the pattern, with that number in their code and the timecode that belongs to it.
    void sendPattern(std::int64_t number, int width = 320, int height = 240);
    // A picture too small for the code.
    void sendPlain(std::int64_t number);
    void sendSilence(std::int64_t number, int channels);

private:
    struct Destroy {
        void operator()(NDIlib_send_instance_t sender) const { NDIlib_send_destroy(sender); }
    };

    void send(pattern::TestPicture &picture, std::int64_t number);

    const std::string m_name = uniqueName();
    std::unique_ptr<NDIlib_send_instance_type, Destroy> m_sender;
};
