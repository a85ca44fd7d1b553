// The smallest scene: a test pattern looked at by a monitor. It needs neither a network nor the NDI runtime, so it is
// the first thing to try when something does not work.
//
//     tavrin-host examples/pattern.qml
//     tavrin-host --duration 5 --snapshot pattern.png examples/pattern.qml
//     tavrin-host --duration 5 examples/pattern.qml 1920x1080 59.94 clip.y4m tone.wav
//
// Arguments, all optional: the size, the frame rate, and files to record picture and sound to.

import QtQml 2.15
import Tavrin.Host 1.0

Graph {
    id: graph

    readonly property var size: (Host.arguments[0] || "1280x720").split("x")

    TestPattern {
        id: pattern
        width: Number(graph.size[0])
        height: Number(graph.size[1])
        fps: Number(Host.arguments[1] || 25)
        subtype: "UYVY"
        channels: 2
    }

    Monitor {
        id: monitor
        name: "pattern"
        recordVideo: Host.arguments[2] || ""
        recordAudio: Host.arguments[3] || ""
    }

    Link { from: pattern.videoOutput; to: monitor.videoInput }
    Link { from: pattern.audioOutput; to: monitor.audioInput }
}
