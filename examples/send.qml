// Publishes a test pattern with its tone as an NDI sender.
//
//     tavrin-host examples/send.qml            as "Pattern"
//     tavrin-host examples/send.qml Studio     as "Studio"

import QtQml 2.15
import Multimedia.Tavrin 1.0
import Tavrin.Host 1.0

Graph {
    TestPattern {
        id: pattern
        width: 1920
        height: 1080
        fps: 60
        subtype: "UYVY"
        sampleRate: 48000
        channels: 2
    }

    NDISink {
        id: sink
        name: Host.arguments[0] || "Pattern"
        metadata: ({ application: "tavrin-host", scene: "send.qml" })
    }

    Link { from: pattern.videoOutput; to: sink.videoInput }
    Link { from: pattern.audioOutput; to: sink.audioInput }

    onNodeFailed: console.warn(why)
}
