// Receives one NDI sender and shows what arrives: format, frame rate, lost frames, latency and level.
//
//     tavrin-host examples/receive.qml               the first sender that is seen
//     tavrin-host examples/receive.qml Studio        the first one whose name contains "Studio"
//     tavrin-host --duration 10 --json figures.json examples/receive.qml Studio
//
// The sender's tally light shows that it is on the programme for as long as this runs. When the sender goes away and
// comes back, the picture does so too.

import QtQml 2.15
import Multimedia.Tavrin 1.0
import Tavrin.Host 1.0

Graph {
    id: graph

    readonly property string wanted: Host.arguments[0] || ""
    property string chosen: ""

    // Takes the first sender that fits and stays with its name. A sender that comes back may do so at another address;
    // writing the input that is there already changes nothing.
    function choose() {
        const fits = input => chosen === "" ? input.name.includes(wanted) : input.name === chosen
        const input = NDI.inputs.find(fits)
        if (input === undefined)
            return
        if (chosen === "")
            console.info("Receiving", input.name)
        chosen = input.name
        source.input = input
    }

    NDISource {
        id: source
        tallyProgram: true
        onMetadataChanged: console.info("Metadata:", JSON.stringify(metadata))
    }

    Monitor {
        id: monitor
        name: graph.chosen
        onMetadataChanged: console.info("Frame metadata:", JSON.stringify(metadata))
    }

    Link { from: source.videoOutput; to: monitor.videoInput }
    Link { from: source.audioOutput; to: monitor.audioInput }

    Connections {
        target: NDI
        function onInputsChanged() { graph.choose() }
    }

    Component.onCompleted: choose()
    onNodeFailed: console.warn(why)
}
