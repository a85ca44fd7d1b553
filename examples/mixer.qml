// Two senders in, one out: switches between them every few seconds. The tally lights follow: programme for the sender
// that is on air, preview for the other. Both are received all the time, so a switch comes with the next frame, and the
// output is one sender throughout.
//
//     tavrin-host examples/mixer.qml Camera1 Camera2                  every 3 seconds, as "Mixer"
//     tavrin-host examples/mixer.qml Camera1 Camera2 Programme 10     every 10 seconds, as "Programme"

import QtQml 2.15
import Multimedia.Tavrin 1.0
import Tavrin.Host 1.0

Graph {
    id: graph

    property bool firstOnAir: true
    readonly property NDISource onAir: firstOnAir ? first : second
    readonly property NDISource next: firstOnAir ? second : first

    function choose() {
        for (const [source, wanted] of [[first, Host.arguments[0]], [second, Host.arguments[1]]]) {
            const input = NDI.inputs.find(candidate => candidate.name.includes(wanted))
            // Writing the same input again changes nothing.
            if (input !== undefined)
                source.input = input
        }
    }

    NDISource {
        id: first
        tallyProgram: graph.firstOnAir
        tallyPreview: !graph.firstOnAir
    }

    NDISource {
        id: second
        tallyProgram: !graph.firstOnAir
        tallyPreview: graph.firstOnAir
    }

    NDISink {
        id: programme
        name: Host.arguments[2] || "Mixer"
        metadata: ({ onAir: graph.onAir.input.name })
    }

    Monitor {
        id: preview
        name: "preview"
    }

    Link { from: graph.onAir.videoOutput; to: programme.videoInput }
    Link { from: graph.onAir.audioOutput; to: programme.audioInput }
    Link { from: graph.next.videoOutput; to: preview.videoInput }
    Link { from: graph.next.audioOutput; to: preview.audioInput }

    Timer {
        interval: 1000 * (Number(Host.arguments[3]) || 3)
        running: true
        repeat: true
        onTriggered: graph.firstOnAir = !graph.firstOnAir
    }

    Connections {
        target: NDI
        function onInputsChanged() { graph.choose() }
    }

    onNodeFailed: console.warn(why)
    Component.onCompleted: {
        if (Host.arguments.length >= 2) {
            choose()
        } else {
            console.error("Name two senders: mixer.qml FIRST SECOND [NAME [SECONDS]]")
            Qt.exit(64)
        }
    }
}
