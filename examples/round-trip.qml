// A sender received, sent out again under another name, and received once more. The monitors show both ends; their
// pictures stand side by side in a snapshot.
//
//     tavrin-host examples/round-trip.qml Studio Copy
//     tavrin-host --duration 10 --snapshot both.png examples/round-trip.qml Studio Copy
//
// The first sender whose name contains "Studio" goes out as "Copy".

import QtQml 2.15
import Multimedia.Tavrin 1.0
import Tavrin.Host 1.0

Graph {
    id: graph

    readonly property string wanted: Host.arguments[0] || ""
    property string chosen: ""

    function isOwn(candidate) {
        return candidate.name.includes("(" + sink.name + ")")
    }

    // Takes the first sender that fits, and stays with its name; and what this scene sends itself.
    function choose() {
        const fits = candidate => chosen === "" ? candidate.name.includes(wanted) && !isOwn(candidate)
                                                : candidate.name === chosen
        const input = NDI.inputs.find(fits)
        if (input !== undefined) {
            chosen = input.name
            watched.input = input
            passed.input = input
        }
        const own = NDI.inputs.find(isOwn)
        if (own !== undefined)
            returned.input = own
    }

    NDISource {
        id: watched
        tallyProgram: true
        onMetadataChanged: console.info("Metadata:", JSON.stringify(metadata))
    }
    Monitor { id: before; name: "in" }
    Link { from: watched.videoOutput; to: before.videoInput }
    Link { from: watched.audioOutput; to: before.audioInput }

    NDISource {
        id: passed
        tallyProgram: true
    }
    NDISink {
        id: sink
        name: Host.arguments[1] || "Round trip"
        metadata: passed.metadata
    }
    Link { from: passed.videoOutput; to: sink.videoInput }
    Link { from: passed.audioOutput; to: sink.audioInput }

    NDISource { id: returned }
    Monitor { id: after; name: "out" }
    Link { from: returned.videoOutput; to: after.videoInput }
    Link { from: returned.audioOutput; to: after.audioInput }

    Connections {
        target: NDI
        function onInputsChanged() { graph.choose() }
    }

    Component.onCompleted: choose()
    onNodeFailed: console.warn(why)
}
