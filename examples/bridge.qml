// Receives one NDI sender and publishes what arrives as another: picture, sound, the metadata that rides on their frames
// and that which comes beside them.
//
//     tavrin-host examples/bridge.qml                    the first sender that is seen, as "Bridge"
//     tavrin-host examples/bridge.qml Studio Copy        the first one whose name contains "Studio", as "Copy"
//
// The output keeps its connections while the input goes away and comes back.

import QtQml 2.15
import Multimedia.Tavrin 1.0
import Tavrin.Host 1.0

Graph {
    id: graph

    readonly property string wanted: Host.arguments[0] || ""
    property string chosen: ""

    // Takes the first sender that fits and stays with its name. What this scene sends itself is never taken.
    function choose() {
        const fits = input => chosen === "" ? input.name.includes(wanted) && !input.name.includes("(" + sink.name)
                                            : input.name === chosen
        const input = NDI.inputs.find(fits)
        if (input === undefined)
            return
        if (chosen === "")
            console.info("Passing on", input.name, "as", sink.name)
        chosen = input.name
        source.input = input
    }

    NDISource {
        id: source
        tallyProgram: true
    }

    NDISink {
        id: sink
        name: Host.arguments[1] || "Bridge"
        metadata: source.metadata
    }

    Link { from: source.videoOutput; to: sink.videoInput }
    Link { from: source.audioOutput; to: sink.audioInput }

    Connections {
        target: NDI
        function onInputsChanged() { graph.choose() }
    }

    Component.onCompleted: choose()
    onNodeFailed: console.warn(why)
}
