#pragma once

#include "tests/e2e/CollectingSink.h"
#include "tests/e2e/QmlScene.h"

// A running scene with the module's source and a sink that collects: it takes the sender whose name contains `wanted`.
class Scene : public QmlScene
{
public:
    explicit Scene(const QString &wanted)
        : QmlScene(R"(
            Graph {
                id: graph
                property string wanted
                property var source: ndi
                property CollectingSink sink: collector
                onWantedChanged: choose()
                function choose() {
                    const input = NDI.inputs.find(candidate => wanted !== "" && candidate.name.includes(wanted))
                    if (input !== undefined)
                        ndi.input = input
                }
                NDISource { id: ndi; tallyProgram: true }
                CollectingSink { id: collector }
                Link { from: ndi.videoOutput; to: collector.videoInput }
                Link { from: ndi.audioOutput; to: collector.audioInput }
                Connections {
                    target: NDI
                    function onInputsChanged() { graph.choose() }
                }
            })")
    {
        if (isLoaded())
            want(wanted);
    }

    QObject &source() { return object("source"); }
    CollectingSink &sink() { return static_cast<CollectingSink &>(object("sink")); }
    void want(const QString &name) { graph().setProperty("wanted", name); }

    // Waits for that many more pictures and buffers of sound.
    bool receives(std::size_t pictures, std::size_t buffers)
    {
        const std::size_t picturesBefore = sink().video().count();
        const std::size_t buffersBefore = sink().audio().count();
        return waitUntil([&] {
            return sink().video().count() >= picturesBefore + pictures &&
                   sink().audio().count() >= buffersBefore + buffers;
        });
    }
};
