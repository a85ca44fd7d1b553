#pragma once

// Scenes that send.

#include "tests/e2e/QmlScene.h"

// Receives the sender of that name and publishes what arrives as another, the source's metadata included.
class PassingScene : public QmlScene
{
public:
    PassingScene(const QString &from, const QString &to) : QmlScene(QString(Text).arg(from, to).toUtf8()) {}

    QObject &source() { return object("source"); }
    QObject &sink() { return object("sink"); }

private:
    static constexpr char Text[] = R"qml(
        Graph {
            id: graph
            property var source: source
            property var sink: sink
            function choose() {
                const input = NDI.inputs.find(candidate => candidate.name.includes("(%1)"))
                if (input !== undefined)
                    source.input = input
            }
            NDISource { id: source }
            NDISink { id: sink; name: "%2"; metadata: source.metadata }
            Link { from: source.videoOutput; to: sink.videoInput }
            Link { from: source.audioOutput; to: sink.audioInput }
            property Connections updates: Connections { target: NDI; function onInputsChanged() { graph.choose() } }
            Component.onCompleted: choose()
        })qml";
};

// Publishes a test pattern, of 320x240 at 50 frames a second unless its properties say otherwise.
class PatternScene : public QmlScene
{
public:
    explicit PatternScene(const QString &name, const QString &properties = {})
        : QmlScene(QString(Text).arg(name, properties).toUtf8())
    {
    }

    QObject &sink() { return object("sink"); }

private:
    static constexpr char Text[] = R"qml(
        Graph {
            property var sink: sink
            TestPattern { id: pattern; width: 320; height: 240; fps: 50; %2 }
            NDISink { id: sink; name: "%1" }
            Link { from: pattern.videoOutput; to: sink.videoInput }
            Link { from: pattern.audioOutput; to: sink.audioInput }
        })qml";
};
