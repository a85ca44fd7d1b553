// Receives so many senders and sends each of them on, every one in a graph of its own.
//
//     tavrin-host bench/streams.qml Camera 3        "Camera 1" to "Camera 3", as "Camera 1 out" to "Camera 3 out"

import QtQml 2.15
import Multimedia.Tavrin 1.0
import Tavrin.Host 1.0

QtObject {
    id: scene

    property list<QtObject> bridges

    property Component bridge: Component {
        Graph {
            id: graph

            property string name

            function choose() {
                const input = NDI.inputs.find(candidate => candidate.name.endsWith("(" + name + ")"))
                // Writing the same input again changes nothing.
                if (input !== undefined)
                    source.input = input
            }

            NDISource { id: source }
            NDISink { id: sink; name: graph.name + " out" }
            Link { from: source.videoOutput; to: sink.videoInput }
            Link { from: source.audioOutput; to: sink.audioInput }

            onNodeFailed: console.warn(name, why)
            Component.onCompleted: choose()
        }
    }

    property Connections updates: Connections {
        target: NDI
        function onInputsChanged() { scene.chooseAll() }
    }

    function chooseAll() {
        for (let index = 0; index < bridges.length; ++index)
            bridges[index].choose()
    }

    Component.onCompleted: {
        const count = Number(Host.arguments[1])
        if (!(count >= 1)) {
            console.error("Usage: streams.qml NAME COUNT")
            Qt.exit(64)
            return
        }
        for (let index = 1; index <= count; ++index)
            bridges.push(bridge.createObject(scene, { name: Host.arguments[0] + " " + index }))
    }
}
