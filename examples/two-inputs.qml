// Two independent receivers on the same sender, or on two: each has its own graph, clock and monitor, as two mixers
// that happen to run in one program.
//
//     tavrin-host examples/two-inputs.qml                   the first sender, twice
//     tavrin-host examples/two-inputs.qml Camera1 Camera2   one sender each

import QtQml 2.15
import Multimedia.Tavrin 1.0
import Tavrin.Host 1.0

QtObject {
    id: scene

    // The first sender whose name contains the text.
    function find(text) {
        return NDI.inputs.find(candidate => candidate.name.includes(text))
    }

    function choose() {
        const first = find(Host.arguments[0] || "")
        const second = find(Host.arguments[1] || Host.arguments[0] || "")
        // Writing the same input again changes nothing.
        if (first !== undefined)
            firstSource.input = first
        if (second !== undefined)
            secondSource.input = second
    }

    property Graph firstGraph: Graph {
        NDISource { id: firstSource; tallyProgram: true }
        Monitor { id: firstMonitor; name: "first" }
        Link { from: firstSource.videoOutput; to: firstMonitor.videoInput }
        Link { from: firstSource.audioOutput; to: firstMonitor.audioInput }
    }

    property Graph secondGraph: Graph {
        NDISource { id: secondSource; tallyPreview: true }
        Monitor { id: secondMonitor; name: "second" }
        Link { from: secondSource.videoOutput; to: secondMonitor.videoInput }
        Link { from: secondSource.audioOutput; to: secondMonitor.audioInput }
    }

    property Connections updates: Connections {
        target: NDI
        function onInputsChanged() { scene.choose() }
    }

    Component.onCompleted: choose()
}
