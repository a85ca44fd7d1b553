// What the soak runs: a bridge that is disturbed from within. One source moves between two senders, another stays with
// the second; what is on air goes out, comes back, and is looked at.
//
//     tavrin-host tools/soak/scene.qml FIRST SECOND OUT SECONDS
//
// Every so many seconds it does one of three things, in turn: the moving source gets another input, the output gets the
// other source, a storm of metadata texts goes out. Each is a line of the log, "Disturbance: ...".

import QtQml 2.15
import Multimedia.Tavrin 1.0
import Tavrin.Host 1.0

Graph {
    id: graph

    property bool movingOnAir: true
    property bool movingToFirst: true
    property int steps: 0
    readonly property NDISource onAir: movingOnAir ? moving : steady

    // The sender of that very name, whatever the machine is called.
    function find(name) {
        return NDI.inputs.find(candidate => candidate.name.endsWith("(" + name + ")"))
    }

    function assign(source, name) {
        const input = find(name)
        // Writing the same input again changes nothing.
        if (input !== undefined)
            source.input = input
    }

    function choose() {
        assign(moving, Host.arguments[movingToFirst ? 0 : 1])
        assign(steady, Host.arguments[1])
        assign(returned, Host.arguments[2])
    }

    function disturb() {
        const kinds = [["input switched", () => { movingToFirst = !movingToFirst; choose() }],
                       ["output switched", () => movingOnAir = !movingOnAir],
                       ["node metadata storm", () => storm.restart()]]
        const [name, action] = kinds[steps++ % kinds.length]
        console.info("Disturbance:", name)
        action()
    }

    NDISource {
        id: moving
        tallyProgram: graph.movingOnAir
        tallyPreview: !graph.movingOnAir
    }

    NDISource {
        id: steady
        tallyProgram: !graph.movingOnAir
    }

    NDISink {
        id: sink
        name: Host.arguments[2]
    }

    // Reading the output back lets the storms arrive as node metadata too.
    NDISource {
        id: returned
        property int texts: 0
        onMetadataChanged: ++texts
    }

    Monitor { id: before; name: "in" }
    Monitor { id: after; name: "out" }
    Link { from: graph.onAir.videoOutput; to: sink.videoInput }
    Link { from: graph.onAir.audioOutput; to: sink.audioInput }
    Link { from: graph.movingOnAir ? steady.videoOutput : moving.videoOutput; to: before.videoInput }
    Link { from: graph.movingOnAir ? steady.audioOutput : moving.audioOutput; to: before.audioInput }
    Link { from: returned.videoOutput; to: after.videoInput }
    Link { from: returned.audioOutput; to: after.audioInput }

    // 300 values in 3 seconds, from 1 to 64 Ki characters.
    Timer {
        id: storm
        property int sent: 0
        interval: 10
        repeat: true
        onTriggered: {
            sink.metadata = { number: sent, text: "x".repeat(1024 << (sent % 7)) }
            if (++sent % 300 === 0) {
                stop()
                console.info("Metadata texts:", sent, "sent,", returned.texts, "received")
            }
        }
    }

    Timer {
        interval: 1000 * (Number(Host.arguments[3]) || 25)
        running: true
        repeat: true
        onTriggered: graph.disturb()
    }

    Connections {
        target: NDI
        function onInputsChanged() { graph.choose() }
    }

    Component.onCompleted: {
        if (Host.arguments.length >= 3) {
            choose()
        } else {
            console.error("Usage: scene.qml FIRST SECOND OUT [SECONDS]")
            Qt.exit(64)
        }
    }
    onNodeFailed: console.warn(why)
}
